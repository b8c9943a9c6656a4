// The Java log on Android goes to the system log under the tag the native side set.
package com.tavrel.strake;

import static org.junit.Assert.*;

import android.util.Log;
import java.util.Arrays;
import org.junit.Test;

public class PLoggerTest {
    @Test
    public void linesGoToTheSystemLogUnderTheTagOrStrakeWithoutOne() {
        Log.lines.clear();
        PLogger.setTag("Kelmor");
        PLogger.log("scanner connected");
        PLogger.setTag(null);
        PLogger.log(null);
        assertEquals(Arrays.asList("Kelmor: scanner connected", "Strake: "), Log.lines);
    }
}
