// Delivers one block over and over from Java, for the benchmark of the serial road.
package com.tavrel.piodevice;

public final class SerialPump {
    private SerialPump() {}

    public static void pump(long handle, byte[] block, int count) {
        for (int i = 0; i < count; ++i)
            PSerialPort.PSerialPortStoreData(handle, block);
    }

    public static void pumpBare(long handle, byte[] block, int count) {
        for (int i = 0; i < count; ++i)
            bare(handle, block);
    }

    static native void bare(long handle, byte[] data);
}
