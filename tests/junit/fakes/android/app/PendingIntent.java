// Test fake of the pending intent: keeps what it was made of for the fake USB service to send.
package android.app;

import android.content.Context;
import android.content.Intent;

public final class PendingIntent {
    public static final int FLAG_IMMUTABLE = 67108864;
    public final Context context;
    public final Intent intent;
    public final int flags;

    private PendingIntent(Context context, Intent intent, int flags) {
        this.context = context;
        this.intent = intent;
        this.flags = flags;
    }

    public static PendingIntent getBroadcast(Context context, int requestCode, Intent intent, int flags) {
        return new PendingIntent(context, intent, flags);
    }
}
