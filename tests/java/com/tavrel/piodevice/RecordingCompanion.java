// A stand-in for the device companions that records every call and fails as a test asks.
package com.tavrel.piodevice;

import android.app.Activity;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;

/** Delivers through the native method of the class deliverAs names. */
public class RecordingCompanion {
    /** What a test sets by name; reset() makes a new one with these defaults. */
    public static final class Settings {
        public volatile boolean openResult = true;
        public volatile String errorMessage = "";
        public volatile boolean throwing = false;
        public volatile boolean openThrows = false;
        public volatile boolean pumping = false;
        public volatile String listAnswer = "";
        public volatile boolean listThrows = false;
        /** A block that open delivers before it returns, as a reader that finds data at once. */
        public volatile String deliverOnOpen = null;
        public volatile String deliverAs = "";
    }

    private static final List<String> calls = Collections.synchronizedList(new ArrayList<>());
    private static volatile Settings settings = new Settings();
    private static final byte[] pumpBlock = "0123456789ABCDEFGHI\r".getBytes();
    private static volatile long lastHandle;

    private interface Delivery {
        void deliver(long handle, byte[] data);
    }

    private final long handle;
    private final Delivery delivery;
    private volatile boolean open;

    public RecordingCompanion(Activity activity, long handle) {
        this.handle = handle;
        this.delivery = delivery(settings.deliverAs);
        lastHandle = handle;
        record("new");
    }

    public static void reset() {
        calls.clear();
        settings = new Settings();
    }

    public static void setFlag(String field, boolean value) throws ReflectiveOperationException {
        Settings.class.getField(field).setBoolean(settings, value);
    }

    public static void setText(String field, String value) throws ReflectiveOperationException {
        Settings.class.getField(field).set(settings, value);
    }

    public static long lastHandle() {
        return lastHandle;
    }

    public static String calls() {
        synchronized (calls) { // the join iterates
            return String.join("\n", calls);
        }
    }

    protected static void record(String call) {
        calls.add(call);
        if (settings.throwing)
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
        if (settings.openThrows)
            throw new IllegalStateException("open refused");
        open = settings.openResult;
        String early = settings.deliverOnOpen;
        if (open && early != null)
            delivery.deliver(handle, early.getBytes());
        if (open && settings.pumping) {
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
        return settings.openResult;
    }

    public String getLastErrorMessage() {
        record("getLastErrorMessage");
        return settings.errorMessage;
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
        if (settings.listThrows)
            throw new IllegalStateException("no list");
        return settings.listAnswer;
    }
}
