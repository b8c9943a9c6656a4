// The JNI resource owners in a real VM: each frees what it holds exactly once.
#include "PJNIGuards.h"
#include "PJNITestFixture.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>

using namespace kelmortest;

namespace {

static_assert(!std::is_default_constructible<PJNILocalRef>::value, "a local owner needs a ref");
static_assert(!std::is_copy_constructible<PJNILocalRef>::value &&
                  !std::is_copy_constructible<PJNIGlobalRef>::value &&
                  !std::is_copy_constructible<PJNIStringChars>::value &&
                  !std::is_copy_constructible<PJNIByteArrayElements>::value,
              "owners are move-only");
static_assert(std::is_nothrow_move_constructible<PJNILocalRef>::value &&
                  std::is_nothrow_move_assignable<PJNIGlobalRef>::value,
              "moves cannot fail");

// The VM's checker reports a native thread whose local references outgrow their capacity,
// and the fixture fails the test on any report: an owner that deleted nothing would show.
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

}
