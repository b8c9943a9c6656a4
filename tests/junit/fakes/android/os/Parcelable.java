// Test fake of the parcelable marker.
package android.os;

public interface Parcelable {
}
