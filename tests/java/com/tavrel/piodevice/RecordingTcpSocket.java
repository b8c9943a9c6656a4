// The recording stand-in for PTcpSocket.
package com.tavrel.piodevice;

import android.app.Activity;

public class RecordingTcpSocket extends RecordingCompanion {
    public RecordingTcpSocket(Activity activity, long handle) {
        super(activity, handle);
    }

    @Override
    protected void deliver(byte[] data) {
        PTcpSocket.PTcpSocketStoreData(handle, data);
    }
}
