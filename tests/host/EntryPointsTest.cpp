// The library's exported entry points, driven through dlopen as the host drives them.
#include "HostInterface.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cctype>
#include <cstdio>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

// The exported functions of the library. It stays loaded: its threads may outlive a test.
class EntryPointsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(getClassNames && getClassObject && destroyObject && getAttachType && setPlatformCapabilities)
            << dlerror();
    }

    void* library = dlopen(kelmortest::libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* symbol(const char* name) const { return library ? dlsym(library, name) : nullptr; }
    GetClassNamesFn getClassNames = reinterpret_cast<GetClassNamesFn>(symbol("GetClassNames"));
    GetClassObjectFn getClassObject = reinterpret_cast<GetClassObjectFn>(symbol("GetClassObject"));
    DestroyObjectFn destroyObject = reinterpret_cast<DestroyObjectFn>(symbol("DestroyObject"));
    GetAttachTypeFn getAttachType = reinterpret_cast<GetAttachTypeFn>(symbol("GetAttachType"));
    SetPlatformCapabilitiesFn setPlatformCapabilities =
        reinterpret_cast<SetPlatformCapabilitiesFn>(symbol("SetPlatformCapabilities"));
};

TEST_F(EntryPointsTest, namesItsTwoClassesAndRefusesEveryOtherName)
{
    EXPECT_EQ(std::u16string(getClassNames()), u"InputDevice|CardReaderDevice");
    EXPECT_EQ(getClassNames(), getClassNames());
    EXPECT_EQ(getAttachType(), 3);
    for (int capabilities : {-1, 0, 3, 1000})
        EXPECT_EQ(setPlatformCapabilities(capabilities), 3);
    for (const char16_t* name : {u"СканерШтрихкода", u"inputdevice", u"InputDevice ", u"",
                                 u"InputDevice|CardReaderDevice"}) {
        IComponentBase* slot = nullptr;
        EXPECT_EQ(getClassObject(name, &slot), 0);
        EXPECT_EQ(slot, nullptr);
    }
    IComponentBase* slot = nullptr;
    EXPECT_EQ(getClassObject(nullptr, &slot), 0);
    EXPECT_EQ(getClassObject(u"InputDevice", nullptr), 0);
}

TEST_F(EntryPointsTest, makesDistinctObjectsAndDestroysEachOnce)
{
    IComponentBase* first = nullptr;
    IComponentBase* second = nullptr;
    const long a = getClassObject(u"InputDevice", &first);
    const long b = getClassObject(u"CardReaderDevice", &second);
    ASSERT_NE(a, 0);
    ASSERT_NE(b, 0);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, reinterpret_cast<long>(first));

    // A filled slot is answered with its own object; the name is not looked at.
    IComponentBase* filled = first;
    EXPECT_EQ(getClassObject(u"Nonsense", &filled), a);
    EXPECT_EQ(filled, first);

    IComponentBase* copy = first;
    EXPECT_EQ(destroyObject(&first), 0);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(destroyObject(&first), -1);
    // An address the registry no longer holds is ignored.
    EXPECT_EQ(destroyObject(&copy), 0);
    EXPECT_EQ(destroyObject(&second), 0);
    EXPECT_EQ(destroyObject(nullptr), -1);
}

TEST_F(EntryPointsTest, hostThreadsCreateAndDestroyConcurrently)
{
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, &failures, t] {
            for (int i = 0; i < 200; ++i) {
                IComponentBase* slot = nullptr;
                if (getClassObject(t % 2 ? u"InputDevice" : u"CardReaderDevice", &slot) == 0)
                    ++failures;
                if (destroyObject(&slot) != 0)
                    ++failures;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
}

// Names of the global and weak symbols the shared object defines, as nm lists them.
std::set<std::string> exportedSymbols(const std::string& path)
{
    std::set<std::string> names;
    FILE* nm = popen(("nm -D --defined-only --without-symbol-versions -P '" + path + "'").c_str(), "r");
    char name[512];
    char type = 0;
    while (nm && std::fscanf(nm, "%511s %c%*[^\n]", name, &type) == 2) {
        if (std::isupper(static_cast<unsigned char>(type)) || type == 'w' || type == 'v')
            names.insert(name);
    }
    if (nm)
        pclose(nm);
    return names;
}

TEST(ExportListTest, onlyEntryPointsAndJniFunctionsAreExported)
{
    const std::set<std::string> names = exportedSymbols(kelmortest::libraryPath());
    const std::set<std::string> entries = {"GetClassNames", "GetClassObject", "DestroyObject",
                                           "GetAttachType", "SetPlatformCapabilities"};
    for (const auto& entry : entries)
        EXPECT_EQ(names.count(entry), 1u) << entry;
    for (const auto& name : names) {
        EXPECT_TRUE(entries.count(name) || name == "JNI_OnLoad" || name == "JNI_OnUnload" || name.rfind("Java_", 0) == 0)
            << "unexpected export " << name;
    }
}

}
