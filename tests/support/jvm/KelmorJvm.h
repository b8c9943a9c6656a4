// The test programs' one Java VM: made at first use with the library's jars, checked JNI and
// its output captured, plus a count of the VM's JNI global references.
#pragma once

#include "HostAndroidHelper.h"
#include "HostInterface.h"

#include <jni.h>

#include <string>

namespace kelmortest {

// The process's VM, created on first use with kelmor.jar and the test classes on the class
// path and -Xcheck:jni on. Aborts the program when the VM can't be made.
JavaVM* jvm();
// Makes the VM without -Xcheck:jni, for measurements; call before the first jvm().
void useUncheckedJvm();
// The calling thread's env, attaching it as a daemon if the VM doesn't know it yet.
JNIEnv* jvmEnv();

// Everything the VM printed (its warnings, the checker's reports) since the last call.
std::string takeJvmOutput();
// The number of JNI global references the VM holds now, all owners together; -1 when the VM
// can't tell.
long jniGlobalRefCount();

// The test host's Android helper for the whole program, made on first use.
HostAndroidHelper& androidHelper();

// A host connection that offers an Android helper and nothing else.
class AndroidHostConnection : public IAddInDefBaseEx {
public:
    explicit AndroidHostConnection(IHostAndroidHelper* helper = &androidHelper()) : m_helper(helper) {}
    void* queryInterface(int id) override { return id == eHostAndroidHelper ? m_helper : nullptr; }
    bool reportError(unsigned short, const char16_t*, const char16_t*, long) override { return false; }
    bool read(char16_t*, tVariant*, long*, char16_t**) override { return false; }
    bool write(char16_t*, tVariant*) override { return false; }
    bool registerProfileAs(char16_t*) override { return false; }
    bool setEventBufferDepth(long) override { return false; }
    long getEventBufferDepth() override { return 0; }
    bool externalEvent(char16_t*, char16_t*, char16_t*) override { return false; }
    void cleanEventBuffer() override {}
    bool setStatusLine(char16_t*) override { return false; }
    void resetStatusLine() override {}

private:
    IHostAndroidHelper* m_helper;
};

}
