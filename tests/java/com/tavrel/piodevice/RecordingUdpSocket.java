// The recording stand-in for PUdpSocket.
package com.tavrel.piodevice;

import android.app.Activity;

public class RecordingUdpSocket extends RecordingCompanion {
    public RecordingUdpSocket(Activity activity, long handle) {
        super(activity, handle);
    }

    @Override
    protected void deliver(byte[] data) {
        PUdpSocket.PUdpSocketStoreData(handle, data);
    }
}
