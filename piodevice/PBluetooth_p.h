// The record of PBluetooth, for code that prepares one around a connected socket.
#pragma once

#include "PBluetooth.h"
#include "PBuffer.h"
#include "PJavaCompanion.h"
#include "PJavaDevice.h"

struct PBluetoothCompanionHolder {
    // An android.bluetooth.BluetoothSocket that is connected already.
    PJavaReference connectedSocket;
    PDeviceCompanion companion;
};

struct PBluetoothPrivate {
    PString deviceId;
    PDeviceBuffers buffers;
    PBluetoothCompanionHolder holder;
};
