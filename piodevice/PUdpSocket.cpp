// PUdpSocket: the open frame around the Java companion, datagrams and reported errors.
#include "PUdpSocket.h"

#include "PJavaDevice.h"

#include <atomic>
#include <exception>
#include <string>

const char* const PUdpSocket::JavaClass = "com.tavrel.piodevice.PUdpSocket";

struct PUdpSocketPrivate {
    PString address;
    unsigned short port = 5000;
    PDeviceBuffers buffers;
    PDeviceCompanion companion;
    std::atomic<int> errorCode{0};  // mirrors the last error's code for isOpen()
};

PUdpSocket::PUdpSocket() : d(new PUdpSocketPrivate) {}

PUdpSocket::~PUdpSocket()
{
    close();
    d->companion.take();
}

void PUdpSocket::setAddress(const PString& address)
{
    d->address = address;
}

void PUdpSocket::setPort(unsigned short port)
{
    d->port = port;
}

PString PUdpSocket::address() const
{
    return d->address;
}

unsigned short PUdpSocket::port() const
{
    return d->port;
}

bool PUdpSocket::bindTo(const PString& address, unsigned short port, int flags)
{
    setAddress(address);
    setPort(port);
    return open(flags);
}

bool PUdpSocket::broadcast(unsigned short port, int flags)
{
    setPort(port);
    setAddress(PString("BROADCAST"));
    return open((flags & ~OpenRead) | OpenWrite);
}

bool PUdpSocket::open(int flags)
{
    if (isOpen())
        return true;
    PJavaDevice::keepError(*this, d->errorCode, PError());
    PError error;
    try {
        if (d->address.isEmpty())
            P_THROW(PError::GeneralFailure, "no device address set");
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        d->buffers.open(flags & OpenRead, flags & OpenWrite);
        auto companion =
            d->companion.prepare(*this, PString(JavaClass), !d->companion.isValid());
        const PString parameters = PJavaDevice::parameterText({
            {"timeout", parameter(PString("timeout"), PVariant(5000)).toPString()},
            {"address", d->address},
            {"port", PString(std::to_string(d->port))},
            {"flags", PString(std::to_string(flags))},
        });
        // Open before the companion starts its reader: the first datagram may come at once.
        PIODevice::open(flags);
        if (!companion->callBoolean("open", parameters)) {
            const PError javaError = getLastError();
            if (javaError.isError())
                throw javaError;
            P_THROW(PError::DeviceFailure, "Failed to open udp socket. Check connection.");
        }
    } catch (...) {
        error = PJavaDevice::caughtError();
    }
    if (error.isError()) {
        close();
        PJavaDevice::keepError(*this, d->errorCode, error);
    }
    return !error.isError();
}

bool PUdpSocket::close()
{
    auto companion = d->companion.get();
    if (companion && companion->isValid())
        companion->callVoid("close");
    d->buffers.close();
    PIODevice::close();
    return true;
}

bool PUdpSocket::isOpen() const
{
    return PIODevice::isOpen() && d->errorCode == 0
        && d->buffers.isOpen() && d->companion.isValid();
}

PIODevice::SizeType PUdpSocket::availibleBytes() const
{
    return d->buffers.read.availibleBytes();
}

PIODevice::SizeType PUdpSocket::read(char* data, SizeType size)
{
    return d->buffers.read.read(data, size);
}

PIODevice::SizeType PUdpSocket::peek(char* data, SizeType size)
{
    return d->buffers.read.peek(data, size);
}

PIODevice::SizeType PUdpSocket::write(const char* data, SizeType size)
{
    PError error;
    const SizeType written = PJavaDevice::write(isOpen(), d->companion.get(), data, size, &error);
    if (error.isError())
        PJavaDevice::keepError(*this, d->errorCode, error);
    return written;
}

int PUdpSocket::capabilities() const
{
    return 0;
}

PIODevice::SizeType PUdpSocket::skip(SizeType size)
{
    return d->buffers.read.skip(size);
}

bool PUdpSocket::waitForReadyRead(int msecs)
{
    return d->buffers.read.waitForReadyRead(msecs);
}

bool PUdpSocket::waitForBytesWriten(int)
{
    return isOpen();
}

PError PUdpSocket::getLastError() const
{
    return PJavaDevice::lastError(PJavaDevice::keptError(*this), d->companion.get());
}

void PUdpSocket::onReceive(const PByteArray& data)
{
    d->buffers.read.write(data.constChars(), data.size());
}

void PUdpSocket::onReceive(const char* data, unsigned long size)
{
    d->buffers.read.write(data, size);
}

void PUdpSocket::onBytesWriten(const unsigned long&) {}

void PUdpSocket::onError(const PError& error)
{
    PJavaDevice::reportError(*this, d->buffers, d->errorCode, error);
}

void PUdpSocket::deliver(const PByteArray& datagram)
{
    onReceive(datagram);
    const Callback notify = callback();
    if (notify && isOpen()) {
        PJavaDevice::SocketEvent made(datagram, "udpsocket", "udp");
        notify(made.event());
    }
}
