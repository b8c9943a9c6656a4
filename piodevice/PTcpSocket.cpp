// PTcpSocket: the open frame around the Java companion, deliveries and reported errors.
#include "PTcpSocket.h"
#include "PTcpSocket_p.h"

#include <string>

const char* const PTcpSocket::JavaClass = "com.tavrel.piodevice.PTcpSocket";

PTcpSocket::PTcpSocket() : d(new PTcpSocketPrivate) {}

PTcpSocket::PTcpSocket(const PString& address, const unsigned short& port) : PTcpSocket()
{
    d->address = address;
    d->port = port;
}

PTcpSocket::PTcpSocket(PTcpSocketPrivate* record) : d(record ? record : new PTcpSocketPrivate) {}

PTcpSocket::PTcpSocket(PTcpSocket&& other) : d(new PTcpSocketPrivate)
{
    *this = std::move(other);
}

PTcpSocket& PTcpSocket::operator=(PTcpSocket&& other)
{
    if (this != &other) {
        close();
        other.close();
        d.swap(other.d);
    }
    return *this;
}

PTcpSocket::~PTcpSocket()
{
    close();
}

void PTcpSocket::setAddress(const PString& address)
{
    d->address = address;
}

void PTcpSocket::setPort(const unsigned short& port)
{
    d->port = port;
}

PString PTcpSocket::address() const
{
    return d->address;
}

unsigned short PTcpSocket::port() const
{
    return d->port;
}

bool PTcpSocket::connectToHost(const PString& address, const unsigned short& port, int flags)
{
    close();
    setAddress(address);
    setPort(port);
    return open(flags);
}

void PTcpSocket::keepError(const PError& error)
{
    PJavaDevice::keepError(*this, d->errorCode, error);
}

bool PTcpSocket::open(int flags)
{
    if (isOpen())
        return true;
    keepError(PError());
    PError error;
    try {
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        PTcpSocketCompanionHolder& holder = d->holder;
        if (holder.connectedSocket.isNull() && d->address.isEmpty())
            P_THROW(PError::GeneralFailure, "no device address set");
        d->buffers.open(flags & OpenRead, flags & OpenWrite);
        auto companion =
            holder.companion.prepare(*this, PString(JavaClass), !holder.companion.exists());
        // Open before the companion starts its reader: a block it reads at once (codes a
        // scanner kept while the link was down) must reach the callback, not be dropped.
        PIODevice::open(flags);
        if (!holder.connectedSocket.isNull()) {
            companion->callVoid("setConnected", "(Ljava/net/Socket;J)V", holder.connectedSocket,
                                static_cast<int64_t>(flags));
        } else {
            const PString parameters = PJavaDevice::parameterText({
                {"timeout", parameter(PString("timeout"), PVariant(5000)).toPString()},
                {"address", d->address},
                {"port", PString(std::to_string(d->port))},
                {"flags", PString(std::to_string(flags))},
            });
            if (!companion->callBoolean("open", parameters)) {
                const PError javaError = getLastError();
                if (javaError.isError())
                    throw javaError;
                P_THROW(PError::DeviceFailure, "Failed to open tcp socket. Check connection.");
            }
        }
    } catch (...) {
        error = PJavaDevice::caughtError();
    }
    if (error.isError()) {
        PIODevice::close();
        PJavaDevice::debugLine(*this, error.toString().toStdString());
        keepError(error);
    }
    return !error.isError();
}

bool PTcpSocket::close()
{
    d->buffers.close();
    PTcpSocketCompanionHolder& holder = d->holder;
    if (auto companion = holder.companion.take()) {
        if (companion->isValid())
            companion->callVoid("close");
        holder.connectedSocket.reset();
    }
    PIODevice::close();
    return true;
}

bool PTcpSocket::isOpen() const
{
    return PIODevice::isOpen() && d->errorCode == 0
        && d->buffers.isOpen() && d->holder.companion.isValid();
}

PIODevice::SizeType PTcpSocket::availibleBytes() const
{
    return d->buffers.read.availibleBytes();
}

PIODevice::SizeType PTcpSocket::read(char* data, SizeType size)
{
    return d->buffers.read.read(data, size);
}

PIODevice::SizeType PTcpSocket::peek(char* data, SizeType size)
{
    return d->buffers.read.peek(data, size);
}

PIODevice::SizeType PTcpSocket::write(const char* data, SizeType size)
{
    PError error;
    const SizeType written =
        PJavaDevice::write(isOpen(), d->holder.companion.get(), data, size, &error);
    if (error.isError())
        keepError(error);
    return written;
}

int PTcpSocket::capabilities() const
{
    return 0;
}

PIODevice::SizeType PTcpSocket::skip(SizeType size)
{
    return d->buffers.read.skip(size);
}

bool PTcpSocket::waitForReadyRead(int msecs)
{
    return d->buffers.read.waitForReadyRead(msecs);
}

bool PTcpSocket::waitForBytesWriten(int)
{
    return true;
}

bool PTcpSocket::waitForConnected(int)
{
    return isOpen();
}

PError PTcpSocket::getLastError() const
{
    return PJavaDevice::lastError(PJavaDevice::keptError(*this), d->holder.companion.get());
}

void PTcpSocket::receive(const PByteArray& data, const char* debugText)
{
    PJavaDevice::debugLine(*this, debugText + std::to_string(data.size()));
    d->buffers.read.write(data.constChars(), data.size());
    const Callback notify = callback();
    if (notify && isOpen()) {
        PJavaDevice::debugLine(*this, "callback called");
        PJavaDevice::SocketEvent made(data, "tcpsocket", "tcp");
        notify(made.event());
    }
}

void PTcpSocket::onReceive(const PByteArray& data)
{
    receive(data, "PTcpSocket::onReceive bytearray size = ");
}

void PTcpSocket::onReceive(const char* data, unsigned long size)
{
    receive(PByteArray(reinterpret_cast<const unsigned char*>(data), size),
            "PTcpSocket::onReceive data size = ");
}

void PTcpSocket::onBytesWriten(const unsigned long&) {}

void PTcpSocket::onError(const PError& error)
{
    PJavaDevice::reportError(*this, d->buffers, d->errorCode, error);
}
