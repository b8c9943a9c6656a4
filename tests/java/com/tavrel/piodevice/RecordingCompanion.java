// A stand-in for the device companions that records every call and fails as a test asks.
package com.tavrel.piodevice;

import android.app.Activity;
import java.util.ArrayList;
import java.util.List;

/** Delivers through the native method of the class deliverAs names; settings are static. */
public class RecordingCompanion {
    private static final List<String> calls = new ArrayList<>(); // guarded by itself
    public static volatile boolean openResult = true;
    public static volatile String errorMessage = "";
    public static volatile boolean throwing = false;
    public static volatile boolean openThrows = false;
    public static volatile boolean pumping = false;
    private static final byte[] pumpBlock = "0123456789ABCDEFGHI\r".getBytes();
    public static volatile String listAnswer = "";
    private static volatile long lastHandle;
    public static volatile boolean listThrows = false;
    /** A block that open delivers before it returns, as a reader that finds data at once. */
    public static volatile String deliverOnOpen = null;
    public static volatile String deliverAs = "";

    private interface Delivery {
        void deliver(long handle, byte[] data);
    }

    private final long handle;
    private final Delivery delivery;
    private volatile boolean open;

    public RecordingCompanion(Activity activity, long handle) {
        this.handle = handle;
        this.delivery = delivery(deliverAs);
        lastHandle = handle;
        record("new");
    }

    public static void reset() {
        synchronized (calls) {
            calls.clear();
        }
        openResult = true;
        errorMessage = "";
        throwing = false;
        openThrows = false;
        deliverAs = "";
        pumping = false;
        listAnswer = "";
        listThrows = false;
        deliverOnOpen = null;
    }

    public static void setFlag(String field, boolean value) throws ReflectiveOperationException {
        RecordingCompanion.class.getField(field).setBoolean(null, value);
    }

    public static void setText(String field, String value) throws ReflectiveOperationException {
        RecordingCompanion.class.getField(field).set(null, value);
    }

    public static long lastHandle() {
        return lastHandle;
    }

    public static String calls() {
        synchronized (calls) {
            return String.join("\n", calls);
        }
    }

    protected static void record(String call) {
        synchronized (calls) {
            calls.add(call);
        }
        if (throwing)
            throw new IllegalStateException("refused: " + call);
    }

    private static Delivery delivery(String kind) {
        switch (kind) {
        case "serial":
            return PSerialPort::PSerialPortStoreData;
        case "tcp":
            return PTcpSocket::PTcpSocketStoreData;
        case "udp":
            return PUdpSocket::PUdpSocketStoreData;
        case "bluetooth":
            return PBluetooth::PBluetoothDataSend;
        default:
            return (handle, data) -> {};
        }
    }

    public boolean open(String parameters) {
        record("open " + parameters);
        if (openThrows)
            throw new IllegalStateException("open refused");
        open = openResult;
        String early = deliverOnOpen;
        if (open && early != null)
            delivery.deliver(handle, early.getBytes());
        if (open && pumping) {
            CompanionThreads.start("pump", () -> {
                while (open)
                    delivery.deliver(handle, pumpBlock);
            });
        }
        return open;
    }

    public void close() {
        open = false;
        record("close");
    }

    public boolean write(byte[] data) {
        record("write " + new String(data));
        return openResult;
    }

    public String getLastErrorMessage() {
        record("getLastErrorMessage");
        return errorMessage;
    }

    public boolean isOpen() {
        record("isOpen");
        return open;
    }

    public static String availibleDevices(Activity activity) {
        return list("availibleDevices");
    }

    public static String availibleDevicesInfo(Activity activity) {
        return list("availibleDevicesInfo");
    }

    public static String availibleDevices() {
        return list("availibleDevices");
    }

    private static String list(String call) {
        record(call);
        if (listThrows)
            throw new IllegalStateException("no list");
        return listAnswer;
    }
}
