// Compile-only declaration of the platform class.
package android.content;

public class Intent {
    public Intent(String action) { throw new RuntimeException("Stub!"); } // API 1

    public Intent setPackage(String packageName) { throw new RuntimeException("Stub!"); } // API 4

    public String getAction() { throw new RuntimeException("Stub!"); } // API 1

    public android.os.Bundle getExtras() { throw new RuntimeException("Stub!"); } // API 1

    public boolean hasExtra(String name) { throw new RuntimeException("Stub!"); } // API 1

    public String getStringExtra(String name) { throw new RuntimeException("Stub!"); } // API 1

    public byte[] getByteArrayExtra(String name) { throw new RuntimeException("Stub!"); } // API 1

    public char[] getCharArrayExtra(String name) { throw new RuntimeException("Stub!"); } // API 1

    public boolean getBooleanExtra(String name, boolean defaultValue) { throw new RuntimeException("Stub!"); } // API 1

    public <T extends android.os.Parcelable> T getParcelableExtra(String name) { throw new RuntimeException("Stub!"); } // API 1
}
