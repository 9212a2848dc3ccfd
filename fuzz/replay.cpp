/*
 * Runs a fuzz target over the files of a folder and over every prefix of each, as the tests do.
 */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    size_t files = 0;
    for (int i = 1; i < argc; i++) {
        for (const auto &file : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream in(file.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
            for (size_t size = 0; size <= bytes.size(); size++) {
                /* A block of its own for each, so that a sanitizer sees the first byte behind it. */
                const std::vector<uint8_t> input(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
                LLVMFuzzerTestOneInput(input.data(), input.size());
            }
            files++;
        }
    }
    std::printf("%zu inputs and their prefixes\n", files);
    return files == 0;
}
