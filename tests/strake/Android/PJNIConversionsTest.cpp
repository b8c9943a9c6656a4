// Strings, byte arrays and throwables across JNI, and the Java logger's native writer, in a
// real VM.
#include "PJNITestFixture.h"
#include "PLogger.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

extern "C" void Java_com_tavrel_strake_PLogger_PLoggerWrite(JNIEnv*, jclass, jlong, jstring);

using namespace kelmortest;

namespace {

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
        callStaticObject("withoutFrames", "(Ljava/lang/String;)Ljava/lang/Throwable;",
                         message.asString()));
    EXPECT_EQ(PJNIHelper::getJavaExeptionInfoEx(bare.asThrowable()),
              PString("java.lang.Exception: lonely"));
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
