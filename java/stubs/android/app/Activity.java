// Desktop stand-in for the Android activity: a context, so that native signatures naming it
// resolve and companions can register receivers with it.
package android.app;

import android.content.Context;

public class Activity extends Context {
    public Activity() {}
}
