// The Java side of the broadcast device: a receiver for one action (and category) that hands
// the data extra of each intent it catches to native code.
package com.tavrel.piodevice;

import android.app.Activity;
import android.content.BroadcastReceiver;
import android.content.Context;
import android.content.Intent;
import android.content.IntentFilter;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Base64;
import java.util.List;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * open takes "action_name=A;[action_category_name=C;]fields=name(type),...;" and registers a
 * receiver; close unregisters it. Every intent caught becomes one call of
 * PBroadcastReceaverSendString with the extras as XML, whatever their type: the native side
 * then appends the device's suffix to a code that lacks it, so a scanner application that
 * sends a bare code still gives one message per intent. The XML is
 * {@code <action><fields><field key="name" value="Base64"/>...</fields></action>}, one field
 * per extra of the list that the intent carries, in the list's order; the first is the data.
 * Extras are read by their type code: 9 String (sent as UTF-8), 65538 byte[] (every byte as it
 * is), 65539 char[] (sent as UTF-8); an extra of another type, or missing, is left out, and an
 * intent with none of them is not sent.
 * The desktop has no system bus: {@link #sendBroadcast} delivers through an in-JVM one, on the
 * calling thread. No thread of its own; close waits for nothing.
 */
public class PBroadcastReceaver {
    private static final Context bus = new Context();
    private static final AtomicInteger registered = new AtomicInteger();

    private final Context context;
    private final long handle;
    private Receiver receiver; // guarded by this

    private static final class Field {
        final String name;
        final int type;

        Field(String name, int type) {
            this.name = name;
            this.type = type;
        }
    }

    private final class Receiver extends BroadcastReceiver {
        final List<Field> fields;
        volatile boolean closed;

        Receiver(List<Field> fields) {
            this.fields = fields;
        }

        @Override
        public void onReceive(Context from, Intent intent) {
            if (closed)
                return;
            String xml = extrasXml(intent, fields);
            if (xml != null && !closed)
                PBroadcastReceaverSendString(handle, xml);
        }
    }

    public PBroadcastReceaver(Activity activity, long handle) {
        this.context = activity != null ? activity : bus;
        this.handle = handle;
    }

    /** Registers the receiver the parameters describe; false without an action or a field. */
    public synchronized boolean open(String parameters) {
        close();
        String action = null;
        String category = null;
        List<Field> fields = new ArrayList<>();
        for (String item : (parameters == null ? "" : parameters).split(";")) {
            int equals = item.indexOf('=');
            if (equals < 0)
                continue;
            String key = item.substring(0, equals);
            String value = item.substring(equals + 1);
            if (key.equals("action_name"))
                action = value;
            else if (key.equals("action_category_name"))
                category = value;
            else if (key.equals("fields"))
                fields = parseFields(value);
        }
        if (action == null || action.isEmpty() || fields.isEmpty())
            return false;
        IntentFilter filter = new IntentFilter(action);
        if (category != null && !category.isEmpty())
            filter.addCategory(category);
        Receiver made = new Receiver(fields);
        context.registerReceiver(made, filter);
        receiver = made;
        registered.incrementAndGet();
        return true;
    }

    public synchronized void close() {
        if (receiver == null)
            return;
        receiver.closed = true;
        try {
            context.unregisterReceiver(receiver);
        } catch (IllegalArgumentException alreadyGone) {
            // Nothing to undo.
        }
        receiver = null;
        registered.decrementAndGet();
    }

    /** Sends the intent to every receiver of the JVM whose filter matches it, on this thread. */
    public static void sendBroadcast(Intent intent) {
        bus.sendBroadcast(intent);
    }

    /** How many companions have a receiver registered now. */
    public static int registeredReceivers() {
        return registered.get();
    }

    /** The extras XML of the intent for these fields, or null when it carries none of them. */
    static String extrasXml(Intent intent, List<Field> fields) {
        StringBuilder xml = new StringBuilder("<action><fields>");
        boolean any = false;
        for (Field field : fields) {
            byte[] value = extraBytes(intent, field);
            if (value == null)
                continue;
            any = true;
            xml.append("<field key=\"").append(escape(field.name)).append("\" value=\"")
                    .append(Base64.getEncoder().encodeToString(value)).append("\"/>");
        }
        return any ? xml.append("</fields></action>").toString() : null;
    }

    private static byte[] extraBytes(Intent intent, Field field) {
        switch (field.type) {
        case 9: {
            String text = intent.getStringExtra(field.name);
            return text == null ? null : text.getBytes(StandardCharsets.UTF_8);
        }
        case 0x10002:
            return intent.getByteArrayExtra(field.name);
        case 0x10003: {
            char[] chars = intent.getCharArrayExtra(field.name);
            return chars == null ? null : new String(chars).getBytes(StandardCharsets.UTF_8);
        }
        default:
            return null;
        }
    }

    private static List<Field> parseFields(String text) {
        List<Field> fields = new ArrayList<>();
        for (String item : text.split(",")) {
            int open = item.lastIndexOf('(');
            if (open <= 0 || !item.endsWith(")"))
                continue;
            try {
                fields.add(new Field(item.substring(0, open),
                        Integer.parseInt(item.substring(open + 1, item.length() - 1))));
            } catch (NumberFormatException badType) {
                // Skipped.
            }
        }
        return fields;
    }

    private static String escape(String text) {
        StringBuilder out = new StringBuilder(text.length());
        for (char c : text.toCharArray()) {
            switch (c) {
            case '&': out.append("&amp;"); break;
            case '<': out.append("&lt;"); break;
            case '>': out.append("&gt;"); break;
            case '"': out.append("&quot;"); break;
            case '\'': out.append("&apos;"); break;
            default: out.append(c);
            }
        }
        return out.toString();
    }

    static native void PBroadcastReceaverSendData(long handle, byte[] data);

    static native void PBroadcastReceaverSendString(long handle, String xml);
}
