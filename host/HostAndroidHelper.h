// The test host's Android helper: an android.app.Activity and class look-up through the
// application class loader, as the platform's helper does on a device.
#pragma once

#include "HostAndroid.h"
#include "PJNIGuards.h"

#include <atomic>
#include <string>

// Made on a thread that may call into the VM; any thread may use it afterwards. Native threads
// see only the boot class loader, so look-ups go through the system (application) loader.
class HostAndroidHelper : public IHostAndroidHelper {
public:
    // Creates the activity; isValid() tells whether that worked.
    explicit HostAndroidHelper(JavaVM* vm);
    ~HostAndroidHelper();
    HostAndroidHelper(const HostAndroidHelper&) = delete;
    HostAndroidHelper& operator=(const HostAndroidHelper&) = delete;

    bool isValid() const { return m_activity && m_loadClass != nullptr; }

    // A global reference that lives as long as the helper.
    jobject getActivity() override;
    // A new local reference, or null with no exception left pending.
    jclass findClass(const char16_t* className) override;

    // Calls the static method `method` of the form (String)Z on a class found as findClass
    // does; false when the class or method is missing or Java threw (nothing stays pending).
    bool callStaticBoolean(const char16_t* className, const char* method,
                           const std::string& argument);

    // How many look-ups reached the helper.
    int findClassCount() const { return m_findClassCount.load(); }

private:
    JNIEnv* env() const;

    JavaVM* m_vm;
    PJNIGlobalRef m_loader;  // the system class loader
    jmethodID m_loadClass = nullptr;
    PJNIGlobalRef m_activity;
    std::atomic<int> m_findClassCount{0};
};
