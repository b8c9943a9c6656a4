// The JNI-free facade of the Java connection, in a real VM.
#include "PJNITestFixture.h"
#include "PJavaConnection.h"

#include <gtest/gtest.h>

using namespace kelmortest;

namespace {

TEST_F(PJNITest, facadeConnectsRegistersTheLibraryAndDropsEverything)
{
    ASSERT_TRUE(strake::disconnectJava());
    EXPECT_FALSE(PJNIHelper::isConnected());
    EXPECT_FALSE(strake::connectJava(nullptr, PString("kelmor_facade")));

    ASSERT_TRUE(strake::connectJava(&m_host, PString("kelmor_facade")));
    const PJNILocalRef name = PJNILocalRef::string(PString("kelmor_facade"));
    EXPECT_TRUE(PJNIHelper::getLibsLoader().callStaticBooleanMethod(
        "isRegistered", "(Ljava/lang/String;)Z", name.asString()));

    EXPECT_TRUE(strake::disconnectJava());
    EXPECT_FALSE(PJNIHelper::isConnected());
}

}
