// PUdpSocket, the device of datagrams driven by its Java companion.
#pragma once

#include "PIODevice.h"

#include <memory>

struct PUdpSocketPrivate;

// The native face of com.tavrel.piodevice.PUdpSocket. The companion interprets the address:
// a local address to receive on, a peer to send to, or "BROADCAST". Each datagram that it
// delivers is one event and goes to the read buffer; an error that it reports closes the
// device as PTcpSocket's does. The companion, made at the first open, stays until the
// destructor. Made with std::make_shared (PJavaHandles.h); threads as PTcpSocket.
class PUdpSocket : public PIOCustomDevice {
public:
    static const char* const JavaClass;

    PUdpSocket();
    ~PUdpSocket() override;

    void setAddress(const PString& address);
    void setPort(unsigned short port);
    PString address() const;
    unsigned short port() const;
    // The address and port, then open(flags).
    bool bindTo(const PString& address, unsigned short port, int flags);
    // The port and the address "BROADCAST", then open for writing only.
    bool broadcast(unsigned short port, int flags);

    // "timeout=..;address=..;port=..;flags=..;" to the companion's open; a failure closes the
    // device again and leaves the reason in getLastError().
    bool open(int flags) override;
    bool close() override;
    // As PTcpSocket: companion valid, open state, a buffer open and no error reported.
    bool isOpen() const override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;
    int capabilities() const override;
    SizeType skip(SizeType size) override;
    bool waitForReadyRead(int msecs) override;
    // isOpen().
    bool waitForBytesWriten(int msecs) override;
    PError getLastError() const override;

    // Stores the bytes in the read buffer, nothing else.
    void onReceive(const PByteArray& data);
    void onReceive(const char* data, unsigned long size);
    void onBytesWriten(const unsigned long& count);
    // As PTcpSocket::onError.
    void onError(const PError& error);
    // One datagram from the companion: stored, then one event to the callback while open.
    void deliver(const PByteArray& datagram);

private:
    std::unique_ptr<PUdpSocketPrivate> d;
};
