// The library's exported entry points, driven through dlopen as the host drives them.
#include "HostInterface.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <elf.h>

#include <atomic>
#include <fstream>
#include <iterator>
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

// Names of the symbols the shared object defines in its dynamic symbol table.
std::set<std::string> exportedSymbols(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<char> image((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::set<std::string> names;
    if (image.size() < sizeof(Elf64_Ehdr))
        return names;
    const auto* header = reinterpret_cast<const Elf64_Ehdr*>(image.data());
    const auto* sections = reinterpret_cast<const Elf64_Shdr*>(image.data() + header->e_shoff);
    for (int i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_DYNSYM)
            continue;
        const Elf64_Shdr& strings = sections[sections[i].sh_link];
        const auto* symbols = reinterpret_cast<const Elf64_Sym*>(image.data() + sections[i].sh_offset);
        const size_t count = sections[i].sh_size / sizeof(Elf64_Sym);
        for (size_t s = 1; s < count; ++s) {
            if (symbols[s].st_shndx == SHN_UNDEF)
                continue;
            const int binding = ELF64_ST_BIND(symbols[s].st_info);
            if (binding != STB_GLOBAL && binding != STB_WEAK)
                continue;
            names.insert(image.data() + strings.sh_offset + symbols[s].st_name);
        }
    }
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
