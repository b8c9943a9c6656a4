// A pseudo-terminal standing for a scanner on a serial line; the companion opens its slave.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace kelmortest {

// Reads from fd (a terminal or a socket) until size bytes came; what came within ten seconds.
inline std::string readFor(int fd, size_t size)
{
    std::string got;
    while (got.size() < size) {
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, 10000) <= 0)
            break;
        char buffer[256];
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count <= 0)
            break;
        got.append(buffer, static_cast<size_t>(count));
    }
    return got;
}

struct PseudoTerminal {
    PseudoTerminal()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
            slave = ptsname(master);
    }
    ~PseudoTerminal()
    {
        if (master >= 0)
            ::close(master);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // True when every byte went in.
    [[nodiscard]] bool send(const std::string& bytes) const
    {
        return ::write(master, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    int master = -1;
    std::string slave;
};

}
