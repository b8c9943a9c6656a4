// A socket of the test on 127.0.0.1 standing for a network scanner or its peer.
#pragma once

#include "PseudoTerminal.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace kelmortest {

// Closed with the object.
struct LoopbackSocket {
    explicit LoopbackSocket(int type) : fd(socket(AF_INET, type, 0)) {}
    ~LoopbackSocket()
    {
        if (fd >= 0)
            ::close(fd);
    }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    // Binds to a free port of 127.0.0.1 and answers it; 0 when that failed.
    unsigned short bindAny()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0
            || getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return 0;
        return ntohs(address.sin_port);
    }
    // bindAny, then listens; the port, or 0.
    unsigned short listenAny(int backlog = 128)
    {
        const unsigned short port = bindAny();
        return port && listen(fd, backlog) == 0 ? port : 0;
    }
    // Accepts one connection; -1 after ten seconds without one.
    int accept()
    {
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, 10000) <= 0)
            return -1;
        return ::accept(fd, nullptr, nullptr);
    }
    int fd;
};

}
