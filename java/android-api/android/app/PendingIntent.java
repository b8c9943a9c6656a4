// Compile-only declaration of the platform class; the device provides the real one.
package android.app;

import android.content.Context;
import android.content.Intent;

public final class PendingIntent {
    public static final int FLAG_IMMUTABLE = 67108864; // API 23

    public static PendingIntent getBroadcast(Context context, int requestCode, Intent intent, int flags) { // API 1
        throw new RuntimeException("Stub!");
    }
}
