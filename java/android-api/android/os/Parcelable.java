// Compile-only declaration of the platform interface (its members left out).
package android.os;

public interface Parcelable {
}
