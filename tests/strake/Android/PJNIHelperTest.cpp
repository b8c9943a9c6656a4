// The JNI layer in a real VM: connection, class and object tables, the call family, threads,
// exceptions, references, the library loader and the Java logger's writer.
#include "JvmTest.h"
#include "PHostConnection.h"
#include "PJNIHelper.h"
#include "PLogger.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>
#include <vector>

extern "C" void Java_com_tavrel_strake_PLogger_PLoggerWrite(JNIEnv*, jclass, jlong, jstring);

using namespace std::string_literals;

namespace {

const PString kProbe("com.tavrel.kelmortest.JniProbe");
const char kDeviceConstructor[] = "(Landroid/app/Activity;J)V";

using PHostJvm::androidHelper;

// The test host's connection with the given Android helper, or none.
struct AndroidHost : PHostConnection {
    explicit AndroidHost(IHostAndroidHelper* helper) { setAndroidHelper(helper); }
};

// JniProbe.nativeCallBack: calls Java again through the object whose address is the token.
jboolean JNICALL nativeCallBack(JNIEnv*, jclass, jlong token)
{
    auto* probe = reinterpret_cast<PJNIClassObject*>(static_cast<intptr_t>(token));
    return probe->callIntMethod("twice", "(I)I", 21) == 42 ? JNI_TRUE : JNI_FALSE;
}

class PJNIHelperTest : public kelmortest::JvmTest {
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

    static PJNIClassObject* newProbe(jlong address = 7)
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

TEST_F(PJNIHelperTest, connectKeepsItsActivityAndRefusesHostsWithoutHelper)
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
    EXPECT_EQ(PJNIHelper::createClassObj(kProbe, kDeviceConstructor, nullptr, jlong(0)), nullptr);
    EXPECT_TRUE(PJNIHelper::connect(&m_host));
}

TEST_F(PJNIHelperTest, withoutVmEveryOperationFailsQuietly)
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

TEST_F(PJNIHelperTest, classIsAskedOfTheHostOnceAndOddNamesFailWithoutPendingException)
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

TEST_F(PJNIHelperTest, callFamilyGivesEveryResultTypeOfObjectsAndClasses)
{
    PJNIClassObject* probe = newProbe(0x1234);
    PJNIClassObject* second = newProbe();
    ASSERT_NE(probe, nullptr);
    ASSERT_TRUE(probe->isValid());
    EXPECT_NE(probe->getId(), second->getId());
    EXPECT_EQ(probe->getJClass(), second->getJClass());

    EXPECT_TRUE(probe->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(probe->callIntMethod("addressLow", "()I"), 0x1234);
    const PString text(u"Код\u0000€\U0001F600;"s);
    jstring javaText = PJNIHelper::str2jstr(text);
    EXPECT_EQ(probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;", javaText),
              text);
    const unsigned char bytes[] = {0, 1, 0x1D, 0xFF};
    jbyteArray javaBytes = PJNIHelper::byteArray2jbyteArray(PByteArray(bytes, 4));
    EXPECT_EQ(probe->callByteArrayMethod("reversed", "([B)[B", javaBytes),
              PByteArray(std::string("\xFF\x1D\x01\x00", 4)));
    jbyteArray empty = PJNIHelper::byteArray2jbyteArray(nullptr, 0);
    EXPECT_TRUE(probe->callByteArrayMethod("reversed", "([B)[B", empty).isEmpty());
    EXPECT_EQ(probe->lastError().code(), 0);

    PJNIClass cls = PJNIHelper::getClass(kProbe);
    const int counted = cls.callStaticIntMethod("callCount", "()I");
    probe->callVoidMethod("count", "()V");
    cls.callStaticVoidMethod("staticCount", "()V");
    EXPECT_EQ(cls.callStaticIntMethod("callCount", "()I"), counted + 2);
    EXPECT_TRUE(cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z",
                                            PJNIHelper::byteArray2jbyteArray("01234567890123456789", 20)));
    EXPECT_EQ(cls.callStaticStringMethod("staticEcho", "(Ljava/lang/String;)Ljava/lang/String;",
                                         javaText),
              text);
    EXPECT_EQ(cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 3),
              PByteArray(std::string("\x00\x01\x02", 3)));
    EXPECT_EQ(cls.lastError().code(), 0);
    EXPECT_EQ(cls.createObject("()V"), nullptr);
    EXPECT_EQ(cls.lastError().message(), PString("Not Implemented"));
    EXPECT_EQ(probe->callIntMethod({}, PString("twice")), 0);
    EXPECT_EQ(probe->lastError().code(), 1);

    JNIEnv* env = PHostJvm::env();
    env->DeleteLocalRef(javaText);
    env->DeleteLocalRef(javaBytes);
    env->DeleteLocalRef(empty);
    PJNIHelper::destroyClassObj(probe);
    PJNIHelper::destroyClassObj(second);
    PJNIHelper::destroyClassObj(nullptr);
}

TEST_F(PJNIHelperTest, failedCallsLeaveNoPendingExceptionAndRunNoJava)
{
    PJNIClassObject* probe = newProbe();
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

    PJNIClassObject* refused = PJNIHelper::createClassObj(kProbe, "(I)V", 5);
    ASSERT_NE(refused, nullptr);
    EXPECT_FALSE(refused->isValid());
    EXPECT_FALSE(refused->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(refused->lastError().message(), PString("Invalid class object to call"));
    EXPECT_EQ(PJNIHelper::createClassObj(kProbe, "(Z)V", JNI_TRUE), nullptr);
    EXPECT_FALSE(env->ExceptionCheck());
    PJNIHelper::destroyClassObj(refused);
    PJNIHelper::destroyClassObj(probe);
}

TEST_F(PJNIHelperTest, disconnectDeletesEveryGlobalReferenceAndInvalidatesHandles)
{
    PJNIHelper::getLibsLoader();  // the VM's own references for these classes are made now
    PJNIHelper::disconnect();
    const long before = PHostJvm::globalRefCount();
    ASSERT_GE(before, 0);

    ASSERT_TRUE(PJNIHelper::connect(&m_host));
    PJNIClassObject* first = newProbe();
    PJNIClassObject* second = newProbe();
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
    PJNIHelper::destroyClassObj(first);
    PJNIHelper::destroyClassObj(second);
}

TEST_F(PJNIHelperTest, unknownNativeThreadIsAttachedForGoodAndManyThreadsCallTogether)
{
    JavaVM* vm = PHostJvm::vm();
    PJNIClassObject* probe = newProbe();
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
    PJNIHelper::destroyClassObj(probe);

    constexpr int threads = 8;
    constexpr int calls = 2000;
    std::vector<PJNIClassObject*> probes;
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
    for (PJNIClassObject* p : probes)
        PJNIHelper::destroyClassObj(p);
}

TEST_F(PJNIHelperTest, hundredThousandCallsFromOneNativeThreadLeakNoLocalReference)
{
    PJNIClassObject* probe = newProbe();
    std::thread caller([probe] {
        JNIEnv* env = strake::getJniEnv();
        PJNIClass cls = PJNIHelper::getClass(kProbe);
        jstring text = PJNIHelper::str2jstr(PString("scan"));
        int good = 0;
        for (int i = 0; i < 100000; ++i) {
            switch (i % 3) {
            case 0:
                good += probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;",
                                                text) == PString("scan");
                break;
            case 1:
                good += cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 20).size() == 20;
                break;
            default:
                good += probe->callBooleanMethod("hasActivity", "()Z");
            }
        }
        EXPECT_EQ(good, 100000);
        env->DeleteLocalRef(text);
    });
    caller.join();
    PJNIHelper::destroyClassObj(probe);
    // The JNI checker reports a thread whose local references outgrow their capacity; the
    // fixture fails the test on any such report.
}

TEST_F(PJNIHelperTest, javaCallingBackIntoNativeCodeMayCallJavaAgain)
{
    JNIEnv* env = PHostJvm::env();
    PJNIClass cls = PJNIHelper::getClass(kProbe);
    JNINativeMethod method{const_cast<char*>("nativeCallBack"), const_cast<char*>("(J)Z"),
                           reinterpret_cast<void*>(&nativeCallBack)};
    ASSERT_EQ(env->RegisterNatives(cls.getJClass(), &method, 1), JNI_OK);
    PJNIClassObject* probe = newProbe();
    EXPECT_TRUE(probe->callBooleanMethod("callBack", "(J)Z", reinterpret_cast<jlong>(probe)));
    // The lock is free again for everyone else.
    std::thread other([] {
        PJNIHelper::exclusiveCallBegin();
        PJNIHelper::exclusiveCallEnd();
    });
    other.join();
    PJNIHelper::destroyClassObj(probe);
}

TEST_F(PJNIHelperTest, exclusiveLockIsOwnedNotCounted)
{
    PJNIHelper::exclusiveCallBegin();
    std::atomic<bool> entered{false};
    std::thread other([&] {
        PJNIHelper::exclusiveCallEnd();  // not the owner: nothing happens
        PJNIHelper::exclusiveCallBegin();
        entered = true;
        PJNIHelper::exclusiveCallEnd();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered.load());
    PJNIHelper::exclusiveCallBegin();  // the owner again: free
    PJNIHelper::exclusiveCallEnd();    // and the first end releases
    other.join();
    EXPECT_TRUE(entered.load());
}

TEST_F(PJNIHelperTest, exceptionInfoGivesMessageAndWholeChain)
{
    JNIEnv* env = PHostJvm::env();
    auto chained = static_cast<jthrowable>(callStaticObject("chained", "()Ljava/lang/Throwable;", nullptr));
    EXPECT_EQ(PJNIHelper::getJavaExeptionInfo(chained), PString("outer"));
    const std::string chain = PJNIHelper::getJavaExeptionInfoEx(chained).toStdString();
    EXPECT_EQ(chain.rfind("java.lang.RuntimeException: outer\n    com.tavrel.kelmortest.JniProbe.chained(", 0), 0u)
        << chain;
    EXPECT_NE(chain.find("\nCaused by: java.lang.IllegalStateException: inner\n    "), std::string::npos)
        << chain;

    jstring message = PJNIHelper::str2jstr(PString("lonely"));
    auto bare = static_cast<jthrowable>(
        callStaticObject("withoutFrames", "(Ljava/lang/String;)Ljava/lang/Throwable;", message));
    EXPECT_EQ(PJNIHelper::getJavaExeptionInfoEx(bare), PString("java.lang.Exception: lonely"));
    EXPECT_TRUE(PJNIHelper::getJavaExeptionInfo(nullptr).isEmpty());
    env->DeleteLocalRef(chained);
    env->DeleteLocalRef(bare);
    env->DeleteLocalRef(message);
}

TEST_F(PJNIHelperTest, libraryLoaderLoadsOnceAndTakesRegistrations)
{
    const PString library(kelmortest::libraryPath());
    EXPECT_TRUE(PJNIHelper::loadJavaLibrary(library));
    EXPECT_TRUE(PJNIHelper::loadJavaLibrary(library));
    EXPECT_FALSE(PJNIHelper::loadJavaLibrary(PString("no_such_library")));
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("fail to load library no_such_library"));

    PJNIHelper::registerJavaLibraryForDelayedLoad(PString("kelmor_later"));
    jstring name = PJNIHelper::str2jstr(PString("kelmor_later"));
    EXPECT_TRUE(PJNIHelper::getLibsLoader().callStaticBooleanMethod(
        "isRegistered", "(Ljava/lang/String;)Z", name));
    PHostJvm::env()->DeleteLocalRef(name);

    PJNIHelper::disconnect();
    EXPECT_FALSE(PJNIHelper::getLibsLoader().isValid());
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("JNI is not connected"));
    PJNIHelper::registerJavaLibraryForDelayedLoad(PString("kelmor_later"));  // skipped silently
    EXPECT_FALSE(PJNIHelper::loadJavaLibrary(PString("kelmor_later")));
    EXPECT_EQ(PJNIHelper::getLastError().message(), PString("LibLoader is unaccessible"));
}

TEST_F(PJNIHelperTest, bytesAndStringsCrossWholeAndNullsGiveEmptyValues)
{
    JNIEnv* env = PHostJvm::env();
    const std::string raw("\x00\x1D\xFFz", 4);
    jbyteArray array = strake::str2jbyteArray(env, raw);
    EXPECT_EQ(strake::jbyteArray2str(env, array), raw);
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    ASSERT_TRUE(strake::jbyteArray2ByteArray(env, array, &buffer, &length));
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), length), raw);
    EXPECT_EQ(buffer[4], 0);
    delete[] buffer;
    EXPECT_FALSE(strake::jbyteArray2ByteArray(env, array, nullptr, &length));
    EXPECT_FALSE(strake::jbyteArray2ByteArray(nullptr, array, &buffer, &length));
    EXPECT_FALSE(strake::jbyteArray2ByteArray(env, nullptr, &buffer, &length));
    EXPECT_TRUE(strake::jbyteArray2ByteArray(env, nullptr).isEmpty());
    EXPECT_EQ(strake::str2jstr<char16_t>(nullptr, u"x"), nullptr);
    EXPECT_TRUE(strake::jstr2str<char16_t>(env, nullptr).empty());
    EXPECT_EQ(strake::byteArray2jbyteArray(nullptr, "x", 1), nullptr);
    env->DeleteLocalRef(array);
}

TEST_F(PJNIHelperTest, javaLoggerWritesTaggedLinesToTheNativeLogger)
{
    JNIEnv* env = PHostJvm::env();
    std::ostringstream stream;
    PLogger logger(&stream);
    jstring text = PJNIHelper::str2jstr(PString(u"скан 1"));
    Java_com_tavrel_strake_PLogger_PLoggerWrite(env, nullptr, reinterpret_cast<jlong>(&logger), text);
    Java_com_tavrel_strake_PLogger_PLoggerWrite(env, nullptr, 0, text);
    EXPECT_EQ(stream.str(), "JAVA: скан 1\n\r");
    env->DeleteLocalRef(text);
}

}
