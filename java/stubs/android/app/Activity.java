// Desktop stand-in for the Android activity, so that native signatures naming it resolve.
package android.app;

public class Activity {
    public Activity() {}
}
