// PJNIHelper in a real VM: connection, tables, threads, the loader and every kind of call.
#include "PJNITestFixture.h"
#include "PJavaConnection.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

using namespace kelmortest;
using namespace std::string_literals;

namespace {

TEST_F(PJNITest, connectKeepsItsActivityAndRefusesHostsWithoutHelper)
{
    jobject activity = PJNIHelper::getActivity();
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

    ASSERT_TRUE(PJNIHelper::connect(&m_host));
    PJNIClassObjectPtr first = newProbe();
    PJNIClassObjectPtr second = newProbe();
    PJNIClass loader = PJNIHelper::getLibsLoader();
    ASSERT_TRUE(loader.isValid());
    // activity, two classes, two objects
    EXPECT_EQ(PHostJvm::globalRefCount(), before + 5);

    ASSERT_TRUE(PJNIHelper::disconnect());
    EXPECT_EQ(PHostJvm::globalRefCount(), before);
    EXPECT_FALSE(loader.isValid());
    EXPECT_FALSE(first->isValid());
    EXPECT_FALSE(first->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(first->lastError().message(), PString("Invalid class object to call"));
}

// A device outliving a bring-down must not free the next connection's object in a reused slot.
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

TEST_F(PJNITest, unknownNativeThreadIsAttachedForItsLifeAndManyThreadsCallTogether)
{
    JavaVM* vm = PHostJvm::vm();
    JNIEnv* mainEnv = strake::getJniEnv();
    jclass threadClass = mainEnv->FindClass("java/lang/Thread");
    jmethodID current = mainEnv->GetStaticMethodID(threadClass, "currentThread", "()Ljava/lang/Thread;");
    jmethodID isAlive = mainEnv->GetMethodID(threadClass, "isAlive", "()Z");
    jobject freshThread = nullptr;
    PJNIClassObjectPtr probe = newProbe();
    std::thread fresh([&] {
        JNIEnv* env = nullptr;
        EXPECT_EQ(vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6), JNI_EDETACHED);
        JNIEnv* attached = strake::getJniEnv();
        ASSERT_NE(attached, nullptr);
        EXPECT_EQ(probe->callIntMethod("twice", "(I)I", 4), 8);
        EXPECT_EQ(vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6), JNI_OK);
        EXPECT_EQ(env, attached);
        jclass cls = env->FindClass("java/lang/Thread");
        jobject self = env->CallStaticObjectMethod(cls, current);
        ASSERT_FALSE(env->ExceptionCheck());
        freshThread = env->NewGlobalRef(self);
        env->DeleteLocalRef(self);
        env->DeleteLocalRef(cls);
    });
    fresh.join();
    probe.reset();
    // Ended, it is detached: a runtime that finds a thread ending attached aborts the process.
    ASSERT_NE(freshThread, nullptr);
    EXPECT_FALSE(mainEnv->CallBooleanMethod(freshThread, isAlive));
    EXPECT_FALSE(mainEnv->ExceptionCheck());
    mainEnv->DeleteGlobalRef(freshThread);
    mainEnv->DeleteLocalRef(threadClass);

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


// JniProbe.nativeCallBack: calls Java again through the object whose address is the token.
jboolean JNICALL nativeCallBack(JNIEnv*, jclass, jlong token)
{
    auto* probe = reinterpret_cast<PJNIClassObject*>(static_cast<intptr_t>(token));
    return probe->callIntMethod("twice", "(I)I", 21) == 42 ? JNI_TRUE : JNI_FALSE;
}

TEST_F(PJNITest, callFamilyGivesEveryResultTypeOfObjectsAndClasses)
{
    PJNIClassObjectPtr probe = newProbe(0x1234);
    PJNIClassObjectPtr second = newProbe();
    ASSERT_TRUE(probe->isValid());
    EXPECT_NE(probe->getId(), second->getId());
    EXPECT_EQ(probe->getJClass(), second->getJClass());

    EXPECT_TRUE(probe->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(probe->callIntMethod("addressLow", "()I"), 0x1234);
    const PString text(u"Код\u0000€\U0001F600;"s);
    const PJNILocalRef javaText = PJNILocalRef::string(text);
    EXPECT_EQ(probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;", javaText.asString()),
              text);
    const unsigned char bytes[] = {0, 1, 0x1D, 0xFF};
    const PJNILocalRef javaBytes = PJNILocalRef::bytes(PByteArray(bytes, 4));
    EXPECT_EQ(probe->callByteArrayMethod("reversed", "([B)[B", javaBytes.asBytes()),
              PByteArray(std::string("\xFF\x1D\x01\x00", 4)));
    const PJNILocalRef empty(PJNIHelper::byteArray2jbyteArray(nullptr, 0));
    EXPECT_TRUE(probe->callByteArrayMethod("reversed", "([B)[B", empty.asBytes()).isEmpty());
    EXPECT_EQ(probe->lastError().code(), 0);

    PJNIClass cls = PJNIHelper::getClass(kProbe);
    const int counted = cls.callStaticIntMethod("callCount", "()I");
    probe->callVoidMethod("count", "()V");
    cls.callStaticVoidMethod("staticCount", "()V");
    EXPECT_EQ(cls.callStaticIntMethod("callCount", "()I"), counted + 2);
    EXPECT_TRUE(cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z",
                                            PJNILocalRef::bytes(PByteArray("01234567890123456789")).asBytes()));
    EXPECT_EQ(cls.callStaticStringMethod("staticEcho", "(Ljava/lang/String;)Ljava/lang/String;",
                                         javaText.asString()),
              text);
    EXPECT_EQ(cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 3),
              PByteArray(std::string("\x00\x01\x02", 3)));
    EXPECT_EQ(cls.lastError().code(), 0);
    EXPECT_EQ(cls.createObject("()V"), nullptr);
    EXPECT_EQ(cls.lastError().message(), PString("Not Implemented"));
    EXPECT_EQ(probe->callIntMethod({}, PString("twice")), 0);
    EXPECT_EQ(probe->lastError().code(), 1);

    PJNIHelper::destroyClassObj(nullptr);
}

TEST_F(PJNITest, failedCallsLeaveNoPendingExceptionAndRunNoJava)
{
    PJNIClassObjectPtr probe = newProbe();
    PJNIClass cls = PJNIHelper::getClass(kProbe);
    JNIEnv* env = PHostJvm::env();

    // A Java exception is wiped and is no error of ours: the result alone tells.
    probe->callVoidMethod("failVoid", "()V");
    EXPECT_FALSE(probe->callBooleanMethod("failBoolean", "()Z"));
    EXPECT_EQ(probe->callIntMethod("failInt", "()I"), 0);
    EXPECT_TRUE(probe->callStringMethod("failString", "()Ljava/lang/String;").isEmpty());
    EXPECT_TRUE(probe->callByteArrayMethod("failBytes", "()[B").isEmpty());
    EXPECT_EQ(probe->lastError().code(), 0);
    EXPECT_FALSE(env->ExceptionCheck());

    const int counted = cls.callStaticIntMethod("callCount", "()I");
    EXPECT_FALSE(probe->callBooleanMethod("count", "(I)Z", 1));
    EXPECT_EQ(probe->lastError().code(), 2);
    EXPECT_EQ(probe->lastError().message(), PString("method count not fount"));
    EXPECT_FALSE(cls.callStaticBooleanMethod("nope", "()Z"));
    EXPECT_EQ(cls.lastError().message(), PString("method nope not fount"));
    EXPECT_EQ(cls.callStaticIntMethod("callCount", "()I"), counted);
    EXPECT_EQ(cls.lastError().code(), 0);
    EXPECT_FALSE(env->ExceptionCheck());

    PJNIClassObjectPtr refused = PJNIHelper::createClassObj(kProbe, "(I)V", 5);
    ASSERT_NE(refused, nullptr);
    EXPECT_FALSE(refused->isValid());
    EXPECT_FALSE(PJNIHelper::createClassObj(kProbe, "(Z)V", JNI_TRUE));
    EXPECT_FALSE(env->ExceptionCheck());
}

TEST_F(PJNITest, hundredThousandCallsFromOneNativeThreadLeakNoLocalReference)
{
    PJNIClassObjectPtr probe = newProbe();
    std::thread caller([&probe] {
        PJNIClass cls = PJNIHelper::getClass(kProbe);
        const PJNILocalRef text = PJNILocalRef::string(PString("scan"));
        int good = 0;
        for (int i = 0; i < 100000; ++i) {
            switch (i % 3) {
            case 0:
                good += probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;",
                                                text.asString()) == PString("scan");
                break;
            case 1:
                good += cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 20).size() == 20;
                break;
            default:
                good += probe->callBooleanMethod("hasActivity", "()Z");
            }
        }
        EXPECT_EQ(good, 100000);
    });
    caller.join();  // the JNI checker reports a thread whose local references outgrow capacity
}

TEST_F(PJNITest, javaCallingBackIntoNativeCodeMayCallJavaAgain)
{
    JNIEnv* env = PHostJvm::env();
    PJNIClass cls = PJNIHelper::getClass(kProbe);
    JNINativeMethod method{const_cast<char*>("nativeCallBack"), const_cast<char*>("(J)Z"),
                           reinterpret_cast<void*>(&nativeCallBack)};
    ASSERT_EQ(env->RegisterNatives(cls.getJClass(), &method, 1), JNI_OK);
    PJNIClassObjectPtr probe = newProbe();
    EXPECT_TRUE(probe->callBooleanMethod("callBack", "(J)Z", reinterpret_cast<jlong>(probe.get())));
    // The lock is free again for everyone else.
    std::thread other([] {
        PJNIHelper::exclusiveCallBegin();
        PJNIHelper::exclusiveCallEnd();
    });
    other.join();
}

}
