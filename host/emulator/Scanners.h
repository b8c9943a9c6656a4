// Simulated scanners for the programs that drive the library: a serial or Bluetooth scanner
// behind a pseudo-terminal and a network scanner behind a local TCP server.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace kelmorhost {

// A pseudo-terminal: the program holds the master, the device opens the slave.
struct Pty {
    int master = -1;
    std::string slave;
    Pty()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
            slave = ptsname(master);
    }
    ~Pty()
    {
        if (master >= 0)
            ::close(master);
    }
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;
    bool send(const std::string& bytes) const
    {
        return ::write(master, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
};

// A local TCP server standing for a network scanner: talks to the last connection it took.
struct Server {
    int listener = -1;
    int peer = -1;
    int port = 0;
    Server()
    {
        listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            ::listen(listener, 4) != 0 ||
            ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            return;
        port = ntohs(address.sin_port);
    }
    ~Server()
    {
        if (peer >= 0)
            ::close(peer);
        if (listener >= 0)
            ::close(listener);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    // Takes a connection that came within the timeout in place of the one before it.
    bool accept(int timeoutMs)
    {
        pollfd ready{listener, POLLIN, 0};
        if (::poll(&ready, 1, timeoutMs) <= 0)
            return false;
        const int taken = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (taken < 0)
            return false;
        if (peer >= 0)
            ::close(peer);
        peer = taken;
        return true;
    }
    bool send(const std::string& bytes) const
    {
        return ::send(peer, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
};

}
