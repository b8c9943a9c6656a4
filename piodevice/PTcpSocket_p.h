// The record of PTcpSocket, for code that prepares one around a connected socket.
#pragma once

#include "PBuffer.h"
#include "PJavaCompanion.h"
#include "PJavaDevice.h"
#include "PTcpSocket.h"

#include <atomic>

struct PTcpSocketCompanionHolder {
    // A java.net.Socket that is connected already; handed to the companion instead of an
    // address, and dropped at close.
    PJavaReference connectedSocket;
    PDeviceCompanion companion;
};

struct PTcpSocketPrivate {
    PString address;
    unsigned short port = 0;
    PDeviceBuffers buffers;
    PTcpSocketCompanionHolder holder;
    // The code of the last error, readable without the exclusive lock that guards the error.
    std::atomic<int> errorCode{0};
};
