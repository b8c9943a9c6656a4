// Code page recoding and the Java side's log file.
package com.tavrel.strake;

import static org.junit.Assert.*;

import java.io.File;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import org.junit.Test;

public class MyCharsetEncoderTest {
    @Test
    public void everyCodePageOfTheTableRoundTripsItsOwnTextAndUnknownNamesAndNullsGiveEmptyAnswers() {
        String[][] rows = {
            {"CP775", "Ąž"}, {"CP866", "Привет"}, {"CP1251", "Привет"}, {"CP1257", "Ąž"},
            {"CP1258", "Đà"}, {"CP20127", "plain"}, {"KOI8-R", "Привет"}, {"UTF-8", "Привет €"},
        };
        for (String[] row : rows)
            assertEquals(row[0], row[1], MyCharsetEncoder.decode(MyCharsetEncoder.encode(row[1], row[0]), row[0]));
        assertArrayEquals(new byte[] {(byte) 0xcf}, MyCharsetEncoder.encode("П", "CP1251"));
        assertArrayEquals("a?".getBytes(), MyCharsetEncoder.encode("aП", "CP20127"));
        assertEquals(0, MyCharsetEncoder.encode("x", "NO-SUCH").length + MyCharsetEncoder.encode(null, "UTF-8").length
                        + MyCharsetEncoder.encode("x", null).length);
        assertEquals("", MyCharsetEncoder.decode(new byte[] {1}, "NO-SUCH") + MyCharsetEncoder.decode(null, "UTF-8"));
    }

    @Test
    public void logLinesAreAppendedToTheLogFile() throws Exception {
        File file = File.createTempFile("kelmor", ".txt");
        try {
            PLogger.setLogFile(file.getPath());
            PLogger.log("first");
            PLogger.log("второй");
            PLogger.setLogFile(null);
            PLogger.log("not written");
            String text = new String(Files.readAllBytes(file.toPath()), StandardCharsets.UTF_8);
            assertTrue(text, text.matches("\\d{4}-\\d\\d-\\d\\d [\\d:.]+ first\n[\\d: .-]+ второй\n"));
        } finally {
            file.delete();
        }
    }
}
