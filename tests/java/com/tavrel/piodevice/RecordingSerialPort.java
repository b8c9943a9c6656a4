// The recording stand-in for PSerialPort.
package com.tavrel.piodevice;

import android.app.Activity;

public class RecordingSerialPort extends RecordingCompanion {
    public RecordingSerialPort(Activity activity, long handle) {
        super(activity, handle);
    }

    @Override
    protected void deliver(byte[] data) {
        PSerialPort.PSerialPortStoreData(handle, data);
    }
}
