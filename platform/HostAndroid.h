// The host's Android helper, reached through IAddInDefBaseEx::queryInterface(eHostAndroidHelper).
// Only the JNI layer includes this header.
#pragma once

#include <jni.h>

class IHostAndroidHelper {
public:
    // The activity of the host application; a reference the host keeps alive.
    virtual jobject getActivity() = 0;
    // Finds a class by its dotted name ("com.tavrel.strake.PLibLoader") through the
    // application's class loader; a local reference of the calling thread, or null.
    virtual jclass findClass(const char16_t* className) = 0;
};
