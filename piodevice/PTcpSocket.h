// PTcpSocket, the device of a TCP connection driven by its Java companion.
#pragma once

#include "PIODevice.h"

#include <memory>

struct PTcpSocketPrivate;

// The native face of com.tavrel.piodevice.PTcpSocket: hands the companion one parameter
// string (or a socket that is already connected) at open, keeps what it delivers in the read
// buffer and hands it to the callback, and takes the errors that the companion reports by
// itself: such an error closes the device at once (isOpen() false, waiters woken) until the
// next open. close drops the companion, and the next open makes a new one.
// Made with std::make_shared (the companion calls back through a handle, PJavaHandles.h).
// The address and port are set before open; open, close and write run on the host's thread,
// deliveries and errors on the companion's. The last error is guarded: the companion's error
// thread may write it while the host reads it.
class PTcpSocket : public PIOCustomDevice {
public:
    static const char* const JavaClass;

    PTcpSocket();
    PTcpSocket(const PString& address, const unsigned short& port);
    // Takes over a prepared record, which may hold a connected socket.
    explicit PTcpSocket(PTcpSocketPrivate* record);
    // The source is closed first (its companion was made for its own handle) and keeps a
    // fresh record; callbacks and parameters stay with each object.
    PTcpSocket(PTcpSocket&& other);
    PTcpSocket& operator=(PTcpSocket&& other);
    ~PTcpSocket() override;

    void setAddress(const PString& address);
    void setPort(const unsigned short& port);
    PString address() const;
    unsigned short port() const;
    // close(), the address and port, then open(flags).
    bool connectToHost(const PString& address, const unsigned short& port, int flags);

    // "timeout=..;address=..;port=..;flags=..;" to the companion's open, or the connected
    // socket to its setConnected. False with the reason in getLastError().
    bool open(int flags) override;
    // Buffers first (waiters wake), then the companion's close; always true.
    bool close() override;
    // Companion valid, open state, a buffer open and no error reported.
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
    // Always true.
    bool waitForBytesWriten(int msecs) override;
    // The device's own error, or else the companion's message or call error.
    PError getLastError() const override;
    virtual bool waitForConnected(int msecs);

    void onReceive(const PByteArray& data);
    void onReceive(const char* data, unsigned long size);
    void onBytesWriten(const unsigned long& count);
    // The error callback, then, under the exclusive lock, closed state and buffers and the
    // error kept.
    void onError(const PError& error);

private:
    void keepError(const PError& error);
    void receive(const PByteArray& data, const char* debugText);

    std::unique_ptr<PTcpSocketPrivate> d;
};
