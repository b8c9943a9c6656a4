// Test fake: the API level a test runs the companions at.
package android.os;

public class Build {
    public static class VERSION {
        public static int SDK_INT = 34;
    }
}
