/*
 * Files of routes: text lines or MRT, as the first bytes say.
 */
#include <cstring>

#include "tests/tools/memory_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    memory_input bytes({data, data + size}, 1000);
    const auto reader = route_reader_for(bytes);
    route next;
    read_problem problem;
    while (reader->next(&next, &problem) != read_status::end) {
    }
    reader->cut();
    reader->notes();
    return 0;
}
