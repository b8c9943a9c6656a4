// A pseudo-terminal standing for a scanner on a serial line: the test holds the master, a
// companion opens the slave by its path.
#pragma once

#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace kelmortest {

struct PseudoTerminal {
    PseudoTerminal()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
            slave = ptsname(master);
    }
    ~PseudoTerminal() { closeMaster(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    void closeMaster()
    {
        if (master >= 0)
            ::close(master);
        master = -1;
    }
    // True when every byte went in.
    [[nodiscard]] bool send(const std::string& bytes) const
    {
        return ::write(master, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    // Reads from the master until size bytes came; what came within ten seconds.
    std::string receive(size_t size) const
    {
        std::string got;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (got.size() < size && std::chrono::steady_clock::now() < deadline) {
            pollfd ready{master, POLLIN, 0};
            if (poll(&ready, 1, 100) <= 0)
                continue;
            char buffer[256];
            const ssize_t count = ::read(master, buffer, sizeof buffer);
            if (count <= 0)
                break;
            got.append(buffer, static_cast<size_t>(count));
        }
        return got;
    }

    int master = -1;
    std::string slave;
};

}
