// The JNI layer's fixture: a VM, the layer connected through the test host, the JniProbe class.
#pragma once

#include "JvmTest.h"
#include "PHostConnection.h"
#include "PJNIHelper.h"

#include <gtest/gtest.h>

namespace kelmortest {

using PHostJvm::androidHelper;

const PString kProbe("com.tavrel.kelmortest.JniProbe");
const char kDeviceConstructor[] = "(Landroid/app/Activity;J)V";

struct AndroidHost : PHostConnection {
    explicit AndroidHost(IHostAndroidHelper* helper) { setAndroidHelper(helper); }
};

// Each test starts connected, with the host's Android helper; newProbe makes a JniProbe.
class PJNITest : public kelmortest::JvmTest {
protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        JNI_OnLoad(PHostJvm::vm(), nullptr);
        ASSERT_TRUE(androidHelper().isValid());
        ASSERT_TRUE(PJNIHelper::connect(&m_host));
    }
    void TearDown() override
    {
        PJNIHelper::disconnect();
        JvmTest::TearDown();
    }

    static PJNIClassObjectPtr newProbe(jlong address = 7)
    {
        return PJNIHelper::createClassObj(kProbe, kDeviceConstructor, PJNIHelper::getActivity(),
                                          address);
    }
    static jobject callStaticObject(const char* name, const char* signature, jstring argument)
    {
        JNIEnv* env = PHostJvm::env();
        jclass cls = PJNIHelper::getClass(kProbe).getJClass();
        jobject result = env->CallStaticObjectMethod(
            cls, env->GetStaticMethodID(cls, name, signature), argument);
        EXPECT_FALSE(env->ExceptionCheck());
        return result;
    }

    AndroidHost m_host{&androidHelper()};
};

}
