// Test fake of the looper: only a type.
package android.os;

public final class Looper {}
