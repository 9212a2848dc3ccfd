/*
 * Files of routes, by the reader that the build names. What was read is written and read again, and is the same then.
 */
#include <cstdlib>

#include "tests/tools/memory_input.h"

static void require_same_again(const route &read)
{
    const json object = route_file_object(read);
    route again = {};
    if (parse_route_object(object, &again) != nullptr || route_file_object(again) != object)
        std::abort();
    route_file_line(read);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    memory_input bytes({data, data + size}, 1000);
    const auto reader = FUZZ_READER(bytes);
    route next;
    read_problem problem;
    for (read_status status; (status = reader->next(&next, &problem)) != read_status::end;)
        if (status == read_status::ok)
            require_same_again(next);
    reader->cut();
    reader->notes();
    return 0;
}
