/*
 * Stands between the library and the platform. While nothing is noted, which is whenever something is measured, it only passes
 * on.
 */
#include "exchanges.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <mutex>

#include <platform/msg_chan.h>

namespace
{
const auto real_send = reinterpret_cast<decltype(&msg_send)>(dlsym(RTLD_NEXT, "msg_send"));
std::vector<exchange> *notes;
std::mutex notes_lock;

/* The channel does not tell how long a reply was: it ends with the last byte that is no longer as it was. */
int send_and_note(uint32_t chan, const void *msg, size_t len, void *reply, size_t room)
{
    constexpr uint8_t untouched = 0xA5;
    std::vector<uint8_t> area(room, untouched);
    if (const int result = real_send(chan, msg, len, area.data(), room))
        return result;
    const auto end = std::find_if(area.rbegin(), area.rend(), [](uint8_t byte) { return byte != untouched; });
    const auto answered = static_cast<size_t>(area.rend() - end);
    std::copy_n(area.data(), answered, static_cast<uint8_t *>(reply));
    const std::lock_guard guard(notes_lock);
    notes->push_back({len, answered});
    return 0;
}
} // namespace

int msg_send(uint32_t chan, const void *msg, size_t len, void *reply, size_t room)
{
    return notes ? send_and_note(chan, msg, len, reply, room) : real_send(chan, msg, len, reply, room);
}

std::vector<exchange> note_exchanges(const std::function<void()> &work)
{
    std::vector<exchange> noted;
    notes = &noted;
    try {
        work();
    } catch (...) {
        notes = nullptr;
        throw;
    }
    notes = nullptr;
    return noted;
}
