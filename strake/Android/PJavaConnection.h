// The process's Java connection for code that sees no JNI types: the component's Init and the
// bring-down of the last component.
#pragma once

#include "PString.h"

class IAddInDefBaseEx;

namespace strake {

// Connects the JNI layer through the host's Android helper, then hands the library's Java
// name to the Java loader. False when the host offers no helper or activity (a host without
// Java); the loader's failure stays in the layer's last error.
bool connectJava(IAddInDefBaseEx* host, const PString& javaLibrary);
// Drops every Java reference of the layer; false when there is no VM to do it with.
bool disconnectJava();
// Calls the static void method of the class that takes one String, with the text. False when
// Java can't be reached (no VM, no connection, no such class or method); a Java exception is
// cleared and counts as a call made.
bool callJavaStaticWithText(const PString& className, const PString& method, const PString& text);

}
