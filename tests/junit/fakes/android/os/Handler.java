// Test fake of the handler: only a type, since the fake context delivers broadcasts at once.
package android.os;

public class Handler {
    public Handler(Looper looper) {}
}
