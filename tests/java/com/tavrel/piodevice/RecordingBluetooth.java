// The recording stand-in for PBluetooth.
package com.tavrel.piodevice;

import android.app.Activity;

public class RecordingBluetooth extends RecordingCompanion {
    public RecordingBluetooth(Activity activity, long handle) {
        super(activity, handle);
    }

    @Override
    protected void deliver(byte[] data) {
        PBluetooth.PBluetoothDataSend(handle, data);
    }
}
