/*
 * A run directory for the channel's services, as long as the program runs, and the ends of a channel as they travel.
 */
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "fuzz/input.h"
#include "platform/src/msg_chan_frame.h"

inline constexpr char FUZZ_SERVICE[] = "/dev/fuzz";

/* The directory; its service has the socket file "dev_fuzz". Gone at the end of a replay; libFuzzer ends
 * without a word, so whoever runs it sets TMPDIR. */
inline const std::string &fuzz_run_dir()
{
    static const std::string dir = [] {
        const std::string made = mkdtemp((std::filesystem::temp_directory_path() / "fuzz_chan_XXXXXX").string().data());
        setenv("MSG_CHAN_DIR", made.c_str(), 1);
        setenv("PLATFORM_NODE_ID", "7", 1);
        return made;
    }();
    return dir;
}

inline sockaddr_un fuzz_address()
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    (fuzz_run_dir() + "/dev_fuzz").copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

inline void fuzz_remove_run_dir()
{
    std::filesystem::remove_all(fuzz_run_dir());
}

inline constexpr hello_frame FUZZ_HELLO = {{frame_hello, sizeof(hello_body), 0, 0},
                                           {.he_protocol = chan_protocol, .he_version = 1}};

/* All of it, as far as the other end takes it at once. */
inline void fuzz_put(int fd, const void *bytes, size_t len)
{
    [[maybe_unused]] const ssize_t sent = send(fd, bytes, len, MSG_NOSIGNAL | MSG_DONTWAIT);
}
