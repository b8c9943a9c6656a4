// A Java object for the JNI layer's tests: results of each type, throwers and a call back.
package com.tavrel.kelmortest;

import android.app.Activity;
import java.util.concurrent.atomic.AtomicInteger;

public class JniProbe {
    public static final AtomicInteger calls = new AtomicInteger();

    private final Activity activity;
    private final long address;

    public JniProbe(Activity activity, long address) {
        this.activity = activity;
        this.address = address;
    }

    public JniProbe(int refused) {
        throw new IllegalArgumentException("refused " + refused);
    }

    public boolean hasActivity() {
        return activity != null;
    }

    public int addressLow() {
        return (int) address;
    }

    public int twice(int value) {
        return 2 * value;
    }

    public String echo(String text) {
        return text;
    }

    public byte[] reversed(byte[] data) {
        byte[] out = new byte[data.length];
        for (int i = 0; i < data.length; ++i)
            out[i] = data[data.length - 1 - i];
        return out;
    }

    public void count() {
        calls.incrementAndGet();
    }

    public void failVoid() {
        throw new IllegalStateException("void");
    }

    public boolean failBoolean() {
        throw new IllegalStateException("boolean");
    }

    public int failInt() {
        throw new IllegalStateException("int");
    }

    public String failString() {
        throw new IllegalStateException("string");
    }

    public byte[] failBytes() {
        throw new IllegalStateException("bytes");
    }

    /** Calls native code, which may call Java again on this thread. */
    public boolean callBack(long token) {
        return nativeCallBack(token);
    }

    public static native boolean nativeCallBack(long token);

    public static boolean isTwentyBytes(byte[] data) {
        return data != null && data.length == 20;
    }

    public static int staticTwice(int value) {
        return 2 * value;
    }

    public static String staticEcho(String text) {
        return text;
    }

    public static byte[] staticBytes(int count) {
        byte[] out = new byte[count];
        for (int i = 0; i < count; ++i)
            out[i] = (byte) i;
        return out;
    }

    public static int callCount() {
        return calls.get();
    }

    public static void staticCount() {
        calls.incrementAndGet();
    }

    public static Throwable chained() {
        return new RuntimeException("outer", new IllegalStateException("inner"));
    }

    public static Throwable withoutFrames(String message) {
        Throwable t = new Exception(message);
        t.setStackTrace(new StackTraceElement[0]);
        return t;
    }
}
