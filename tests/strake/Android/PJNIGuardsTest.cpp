// The JNI resource owners in a real VM, values across JNI, and the Java logger's native writer.
#include "PJNIGuards.h"
#include "PJNITestFixture.h"
#include "PLogger.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>

extern "C" void Java_com_tavrel_strake_PLogger_PLoggerWrite(JNIEnv*, jclass, jlong, jstring);

using namespace kelmortest;

namespace {

// The VM's checker reports local references outgrowing their capacity: the fixture fails on it.
TEST_F(PJNITest, localOwnersDeleteWhatTheyHoldOnceOnAnyPath)
{
    std::thread caller([] {
        for (int i = 0; i < 20000; ++i) {
            PJNILocalRef text = PJNILocalRef::string(PString("scan"));
            PJNILocalRef moved(std::move(text));
            EXPECT_FALSE(text);
            moved = PJNILocalRef::bytes(PByteArray("0123"));  // the string goes here
            ASSERT_TRUE(moved);
            if (i % 1000 == 0) {
                EXPECT_EQ(PJNIHelper::jbyteArray2byteArray(moved.asBytes()), PByteArray("0123"));
            }
            jobject kept = moved.release();
            EXPECT_FALSE(moved);
            PJNILocalRef(strake::getJniEnv(), kept);  // owned again, and deleted at once
        }
    });
    caller.join();
}

TEST_F(PJNITest, globalOwnersDeleteTheirReferenceOnce)
{
    JNIEnv* env = PHostJvm::env();
    const long before = PHostJvm::globalRefCount();
    const PJNILocalRef text = PJNILocalRef::string(PString("pinned"));
    {
        PJNIGlobalRef first(env, text.get());
        EXPECT_EQ(PHostJvm::globalRefCount(), before + 1);
        PJNIGlobalRef second(std::move(first));
        EXPECT_FALSE(first);
        PJNIGlobalRef slot;
        EXPECT_FALSE(slot);
        slot = std::move(second);
        EXPECT_EQ(PJNIHelper::jstr2str(static_cast<jstring>(slot.get())), PString("pinned"));
        EXPECT_EQ(PHostJvm::globalRefCount(), before + 1);
        PJNIGlobalRef other(env, text.get());
        slot = std::move(other);  // the first reference goes here
        EXPECT_EQ(PHostJvm::globalRefCount(), before + 1);
        EXPECT_FALSE(PJNIGlobalRef(env, nullptr));
        EXPECT_FALSE(PJNIGlobalRef(nullptr, text.get()));
    }
    EXPECT_EQ(PHostJvm::globalRefCount(), before);
}

TEST_F(PJNITest, stringCharsAndArrayElementsAreHandedBack)
{
    JNIEnv* env = PHostJvm::env();
    const PJNILocalRef text = PJNILocalRef::string(PString(u"Код 7"));
    PJNIStringChars chars(env, text.asString());
    ASSERT_TRUE(chars);
    EXPECT_STREQ(chars.get(), "Код 7");
    PJNIStringChars moved(std::move(chars));
    EXPECT_FALSE(chars);
    EXPECT_STREQ(moved.get(), "Код 7");
    EXPECT_FALSE(PJNIStringChars(env, nullptr));
    EXPECT_FALSE(PJNIStringChars(nullptr, text.asString()));

    const PJNILocalRef array = PJNILocalRef::bytes(PByteArray("abc"));
    {
        PJNIByteArrayElements written(env, array.asBytes(), PJNIByteArrayElements::WriteBack);
        ASSERT_EQ(written.size(), 3);
        written.data()[0] = 'x';
        PJNIByteArrayElements dropped(env, array.asBytes());
        ASSERT_TRUE(dropped);
        dropped.data()[1] = 'y';
        dropped.reset();
        EXPECT_FALSE(dropped);
    }
    // This VM hands out copies: a read-only owner's change is dropped, a written one kept.
    EXPECT_EQ(PJNIHelper::jbyteArray2byteArray(array.asBytes()), PByteArray("xbc"));
    EXPECT_FALSE(PJNIByteArrayElements(env, nullptr));
}

TEST_F(PJNITest, bytesAndStringsCrossWholeAndNullsGiveEmptyValues)
{
    JNIEnv* env = PHostJvm::env();
    const std::string raw("\x00\x1D\xFFz", 4);
    const PJNILocalRef owned(env, strake::str2jbyteArray(env, raw));
    jbyteArray array = owned.asBytes();
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
}

TEST_F(PJNITest, exceptionInfoGivesMessageAndWholeChain)
{
    const PJNILocalRef owned(callStaticObject("chained", "()Ljava/lang/Throwable;", nullptr));
    jthrowable chained = owned.asThrowable();
    EXPECT_EQ(PJNIHelper::getJavaExeptionInfo(chained), PString("outer"));
    const std::string chain = PJNIHelper::getJavaExeptionInfoEx(chained).toStdString();
    EXPECT_EQ(chain.rfind("java.lang.RuntimeException: outer\n    com.tavrel.kelmortest.JniProbe.chained(", 0), 0u)
        << chain;
    EXPECT_NE(chain.find("\nCaused by: java.lang.IllegalStateException: inner\n    "), std::string::npos)
        << chain;

    const PJNILocalRef message = PJNILocalRef::string(PString("lonely"));
    const PJNILocalRef bare(
        callStaticObject("withoutFrames", "(Ljava/lang/String;)Ljava/lang/Throwable;", message.asString()));
    EXPECT_EQ(PJNIHelper::getJavaExeptionInfoEx(bare.asThrowable()), PString("java.lang.Exception: lonely"));
    EXPECT_TRUE(PJNIHelper::getJavaExeptionInfo(nullptr).isEmpty());
}

TEST_F(PJNITest, javaLoggerWritesTaggedLinesToTheNativeLogger)
{
    JNIEnv* env = PHostJvm::env();
    std::ostringstream stream;
    PLogger logger(&stream);
    const PJNILocalRef text = PJNILocalRef::string(PString(u"скан 1"));
    Java_com_tavrel_strake_PLogger_PLoggerWrite(env, nullptr, reinterpret_cast<jlong>(&logger), text.asString());
    Java_com_tavrel_strake_PLogger_PLoggerWrite(env, nullptr, 0, text.asString());
    EXPECT_EQ(stream.str(), "JAVA: скан 1\n\r");
}

}
