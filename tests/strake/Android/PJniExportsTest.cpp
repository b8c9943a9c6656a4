// The functions the VM finds by name: the Java logger's writer.
#include "PJNITestFixture.h"
#include "PLogger.h"

#include <gtest/gtest.h>

#include <sstream>

extern "C" void Java_com_tavrel_strake_PLogger_PLoggerWrite(JNIEnv*, jclass, jlong, jstring);

using namespace kelmortest;

namespace {

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
