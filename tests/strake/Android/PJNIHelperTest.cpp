// PJNIHelper in a real VM: connection, the class and object tables, threads and the lock, the
// library loader, and the JNI-free facade over them.
#include "PJNITestFixture.h"
#include "PJavaConnection.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace kelmortest;

namespace {

TEST_F(PJNITest, connectKeepsItsActivityAndRefusesHostsWithoutHelper)
{
    jobject activity = PJNIHelper::getActivity();
    ASSERT_NE(activity, nullptr);
    AndroidHost other(&androidHelper());
    EXPECT_TRUE(PJNIHelper::connect(&other));
    EXPECT_EQ(PJNIHelper::getActivity(), activity);

    PJNIHelper::disconnect();
    EXPECT_FALSE(PJNIHelper::connect(nullptr));
    AndroidHost withoutHelper(nullptr);
    EXPECT_FALSE(PJNIHelper::connect(&withoutHelper));
    EXPECT_FALSE(PJNIHelper::isConnected());
    EXPECT_FALSE(PJNIHelper::getClass(kProbe).isValid());
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("PJNIHelper not properly initialized"));
    EXPECT_FALSE(PJNIHelper::createClassObj(kProbe, kDeviceConstructor, nullptr, jlong(0)));
    EXPECT_TRUE(PJNIHelper::connect(&m_host));
}

TEST_F(PJNITest, withoutVmEveryOperationFailsQuietly)
{
    JNI_OnUnload(PHostJvm::vm(), nullptr);
    EXPECT_EQ(strake::getJniEnv(), nullptr);
    EXPECT_FALSE(PJNIHelper::getClass(kProbe).isValid());
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("jni is not available"));
    EXPECT_EQ(PJNIHelper::str2jstr(PString("x")), nullptr);
    EXPECT_TRUE(PJNIHelper::jbyteArray2byteArray(nullptr).isEmpty());
    EXPECT_EQ(PJNIHelper::getPendingErrors().message(), PString("JNIEnv is unaccessible"));
    EXPECT_FALSE(PJNIHelper::disconnect());
    JNI_OnLoad(PHostJvm::vm(), nullptr);
}

TEST_F(PJNITest, classIsAskedOfTheHostOnceAndOddNamesFailWithoutPendingException)
{
    const int before = androidHelper().findClassCount();
    EXPECT_TRUE(PJNIHelper::getClass(kProbe).isValid());
    EXPECT_TRUE(PJNIHelper::getClass(kProbe).isValid());
    EXPECT_EQ(androidHelper().findClassCount(), before + 1);
    PJNIHelper::disconnect();
    ASSERT_TRUE(PJNIHelper::connect(&m_host));
    EXPECT_TRUE(PJNIHelper::getClass(kProbe).isValid());
    EXPECT_EQ(androidHelper().findClassCount(), before + 2);
    EXPECT_TRUE(PJNIHelper::getClass(PString("com/tavrel/kelmortest/JniProbe")).isValid());

    for (const char* name : {"", "no.such.Class", "com.tavrel kelmortest.JniProbe", "[[[;", "\xD0\x99"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(PJNIHelper::getClass(PString(name)).isValid());
        const PError error = PJNIHelper::getLastError();
        EXPECT_EQ(error.code(), 2);
        EXPECT_EQ(error.message(), PString("class ") + PString(name) + PString(" not found"));
        EXPECT_FALSE(PHostJvm::env()->ExceptionCheck());
    }
}

TEST_F(PJNITest, disconnectDeletesEveryGlobalReferenceAndInvalidatesHandles)
{
    PJNIHelper::getLibsLoader();  // the VM's own references for these classes are made now
    PJNIHelper::disconnect();
    const long before = PHostJvm::globalRefCount();
    ASSERT_GE(before, 0);

    ASSERT_TRUE(PJNIHelper::connect(&m_host));
    PJNIClassObjectPtr first = newProbe();
    PJNIClassObjectPtr second = newProbe();
    PJNIClass loader = PJNIHelper::getLibsLoader();
    ASSERT_TRUE(loader.isValid());
    // activity, two classes, two objects
    EXPECT_EQ(PHostJvm::globalRefCount(), before + 5);

    ASSERT_TRUE(PJNIHelper::disconnect());
    EXPECT_EQ(PHostJvm::globalRefCount(), before);
    EXPECT_FALSE(PJNIHelper::isConnected());
    EXPECT_FALSE(loader.isValid());
    EXPECT_FALSE(first->isValid());
    EXPECT_FALSE(first->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(first->lastError().message(), PString("Invalid class object to call"));
}

// A device can outlive a bring-down (a Java thread still holds it); when it goes at last, the
// object the next connection made, maybe in the VM's reused reference slot, must stay valid.
TEST_F(PJNITest, objectOutlivingADisconnectLeavesTheNextConnectionsObjectsAlone)
{
    for (int round = 0; round < 50; ++round) {
        PJNIClassObjectPtr stale = newProbe();
        ASSERT_TRUE(PJNIHelper::disconnect());
        ASSERT_TRUE(PJNIHelper::connect(&m_host));
        PJNIClassObjectPtr fresh = newProbe();
        stale.reset();
        ASSERT_TRUE(fresh->isValid()) << "round " << round;
        EXPECT_TRUE(fresh->callBooleanMethod("hasActivity", "()Z"));
    }
}

TEST_F(PJNITest, unknownNativeThreadIsAttachedForGoodAndManyThreadsCallTogether)
{
    JavaVM* vm = PHostJvm::vm();
    PJNIClassObjectPtr probe = newProbe();
    std::thread fresh([&] {
        JNIEnv* env = nullptr;
        EXPECT_EQ(vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6), JNI_EDETACHED);
        JNIEnv* attached = strake::getJniEnv();
        ASSERT_NE(attached, nullptr);
        EXPECT_EQ(probe->callIntMethod("twice", "(I)I", 4), 8);
        EXPECT_EQ(vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6), JNI_OK);
        EXPECT_EQ(env, attached);
    });
    fresh.join();
    probe.reset();

    constexpr int threads = 8;
    constexpr int calls = 2000;
    std::vector<PJNIClassObjectPtr> probes;
    for (int i = 0; i < threads; ++i)
        probes.push_back(newProbe(i));
    std::atomic<int> completed{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            PJNIClass cls = PJNIHelper::getClass(kProbe);
            for (int i = 0; i < calls; ++i) {
                if (probes[t]->callIntMethod("twice", "(I)I", i) == 2 * i
                    && cls.callStaticIntMethod("staticTwice", "(I)I", t) == 2 * t)
                    ++completed;
            }
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(completed.load(), threads * calls);
}

TEST_F(PJNITest, exclusiveLockIsOwnedNotCounted)
{
    PJNIHelper::exclusiveCallBegin();
    std::atomic<bool> endCalled{false};
    std::atomic<bool> released{false};
    std::atomic<bool> enteredAfterRelease{false};
    std::thread other([&] {
        PJNIHelper::exclusiveCallEnd();  // not the owner: nothing happens
        endCalled = true;
        PJNIHelper::exclusiveCallBegin();
        enteredAfterRelease = released.load();
        PJNIHelper::exclusiveCallEnd();
    });
    while (!endCalled)
        std::this_thread::yield();
    for (int i = 0; i < 1000; ++i)  // time for a lock that wrongly let the other in
        std::this_thread::yield();
    PJNIHelper::exclusiveCallBegin();  // the owner again: free
    released = true;
    PJNIHelper::exclusiveCallEnd();    // and the first end releases
    other.join();
    EXPECT_TRUE(enteredAfterRelease.load());
}

TEST_F(PJNITest, libraryLoaderLoadsOnceAndTakesRegistrationsAlsoThroughTheFacade)
{
    const PString library(kelmortest::libraryPath());
    EXPECT_TRUE(PJNIHelper::loadJavaLibrary(library));
    EXPECT_TRUE(PJNIHelper::loadJavaLibrary(library));
    EXPECT_FALSE(PJNIHelper::loadJavaLibrary(PString("no_such_library")));
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("fail to load library no_such_library"));

    auto registered = [](const char* name) {
        const PJNILocalRef text = PJNILocalRef::string(PString(name));
        return PJNIHelper::getLibsLoader().callStaticBooleanMethod("isRegistered", "(Ljava/lang/String;)Z",
                                                                   text.asString());
    };
    PJNIHelper::registerJavaLibraryForDelayedLoad(PString("kelmor_later"));
    EXPECT_TRUE(registered("kelmor_later"));

    // The JNI-free facade connects and registers in one call.
    ASSERT_TRUE(strake::disconnectJava());
    EXPECT_FALSE(PJNIHelper::isConnected());
    EXPECT_FALSE(strake::connectJava(nullptr, PString("kelmor_facade")));
    ASSERT_TRUE(strake::connectJava(&m_host, PString("kelmor_facade")));
    EXPECT_TRUE(registered("kelmor_facade"));
    EXPECT_TRUE(strake::disconnectJava());

    EXPECT_FALSE(PJNIHelper::getLibsLoader().isValid());
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("JNI is not connected"));
    PJNIHelper::registerJavaLibraryForDelayedLoad(PString("kelmor_later"));  // skipped silently
    EXPECT_FALSE(PJNIHelper::loadJavaLibrary(PString("kelmor_later")));
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("LibLoader is unaccessible"));
}

}
