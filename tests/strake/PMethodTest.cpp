// A bound method's checks and run, a property's reads and writes, and the table of both.
#include "PMethod.h"

#include "PHostMemoryManager.h"
#include "PProperty.h"
#include "PVKExtention.h"
#include "StrakeVariant.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Recorder {
    int calls = 0;
    int resultTypeSeen = -1;
    IMemoryManager* allocatorSeen = nullptr;
};

PMethod recordingMethod(const char* signature, Recorder& recorder)
{
    return PMethod(PString("Probe"), PMethodSemantic::fromString(signature),
                   [&recorder](tVariant* result, tVariant*, long, IMemoryManager* manager) {
                       ++recorder.calls;
                       recorder.resultTypeSeen = result ? result->vt : -1;
                       recorder.allocatorSeen = manager;
                       return false;
                   });
}

// Each refusal's code, as the host sees it, is pinned by KelmorNativeTest.
TEST(PMethodTest, onlyAcceptedCallsReachTheHandlerWithAnEmptyResultAndTheCopysAllocator)
{
    Recorder recorder;
    PMethod method = recordingMethod("BOOL(WSTR,REF)", recorder);
    tVariant result;
    tVariant params[2] = {};
    EXPECT_THROW(method(&result, params, 0, nullptr), PError);
    PError error;
    EXPECT_FALSE(method(nullptr, params, 2, &error));
    EXPECT_EQ(recorder.calls, 0);

    PMethod unbound(PString("Unbound"), PMethodSemantic::fromString("VOID()"), nullptr);
    EXPECT_FALSE(unbound.isValid());
    EXPECT_FALSE(unbound(nullptr, nullptr, 0, &error));
    EXPECT_EQ(error.code(), 114);

    PMethod table = recordingMethod("BOOL(WSTR)", recorder);
    PHostMemoryManager memory;
    PMethod call = table;
    call.setAllocator(&memory);
    std::memset(&result, 0xAB, sizeof result);
    // The handler's false is its own business: the call itself succeeded and clears the old error.
    EXPECT_TRUE(call(&result, params, 1, &error));
    EXPECT_EQ(error.code(), 0);
    EXPECT_EQ(recorder.calls, 1);
    EXPECT_EQ(recorder.resultTypeSeen, VTYPE_EMPTY);
    EXPECT_EQ(recorder.allocatorSeen, &memory);
    const tVariant zero = {};
    EXPECT_EQ(std::memcmp(&result, &zero, sizeof result), 0);

    // The table's copy keeps no allocator.
    table(&result, params, 1, nullptr);
    EXPECT_EQ(recorder.allocatorSeen, nullptr);

    Recorder procedure;
    EXPECT_TRUE(recordingMethod("VOID()", procedure)(nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(procedure.resultTypeSeen, -1);
}

TEST(PPropertyTest, writesAreCheckedAndNotifiedOnlyWhenTheSetterTakesThem)
{
    int stored = 0;
    int notified = 0;
    bool accept = true;
    PProperty property(
        PString("Speed"), PSemanticEntry(VTYPE_I4, true),
        [&](tVariant* value, IMemoryManager*) { return strake::int2var(value, stored, VTYPE_I4); },
        [&](const tVariant* value) {
            if (accept)
                stored = value->lVal;
            return accept;
        },
        [&](const tVariant&) { ++notified; });

    tVariant value = {};
    strake::int2var(&value, 9600, VTYPE_UI4);
    PError error;
    EXPECT_TRUE(property.setValue(&value, &error));
    EXPECT_EQ(stored, 9600);
    EXPECT_EQ(notified, 1);

    accept = false;
    EXPECT_TRUE(property.setValue(&value, &error));
    EXPECT_EQ(notified, 1);

    // Refusals by the host's calls are PlatformNativeBaseTest's; without an error they throw.
    strake::double2var(&value, 1.5, VTYPE_R8);
    EXPECT_THROW(property(&value), PError);
    EXPECT_EQ(property.getValue(&error).lVal, 9600);

    PProperty readOnly(PString("Name"), PSemanticEntry(VTYPE_PWSTR, false),
                       [](tVariant* value, IMemoryManager* manager) {
                           return strake::wstr2var(value, L"scanner", manager);
                       });
    EXPECT_TRUE(readOnly.isReadable());
    EXPECT_FALSE(readOnly.isWritable());
    value = {};
    EXPECT_TRUE(readOnly.setValue(&value, nullptr));

    PHostMemoryManager memory;
    readOnly.setAllocator(&memory);
    ASSERT_TRUE(readOnly.getValue(&value, &error));
    EXPECT_EQ(hostTextOf(value), u"scanner");
    memory.release(value);

    PProperty unreadable(PString("Secret"), PSemanticEntry(VTYPE_PWSTR, false), nullptr);
    EXPECT_FALSE(unreadable.isValid());
    EXPECT_FALSE(unreadable.getValue(&value, &error));
    EXPECT_EQ(error.code(), 105);
    EXPECT_FALSE(PProperty(PString("Void"), PSemanticEntry(), [](tVariant*, IMemoryManager*) {
                     return true;
                 }).isValid());
}

PMethod method(const char* name, const char* signature = "VOID()")
{
    return PMethod(PString(name), PMethodSemantic::fromString(signature),
                   [](tVariant*, tVariant*, long, IMemoryManager*) { return true; });
}

PProperty property(const char* name)
{
    return PProperty(PString(name), PSemanticEntry(VTYPE_I4, false),
                     [](tVariant*, IMemoryManager*) { return true; });
}

TEST(PVKExtentionTest, namesAndAliasesFindPositionsExactly)
{
    PVKExtention table;
    table.addMethod(method("Open"), PString("Подключить"));
    table.addMethod(method("Act", "BOOL(WSTR)"), PString("Действие"));
    table.addMethod(method("Act", "BOOL(WSTR)"), PString("Действие"));
    table.addMethod(method("Close"), PString());
    table.addProperty(property("Speed"), PString(";Скорость;;Baud;"));
    table.addProperty(property("Port"), PString());
    EXPECT_EQ(table.methodsCount(), 4u);
    EXPECT_EQ(table.propertiesCount(), 2u);
    auto expectPositions = [&table](std::initializer_list<std::pair<const char*, int>> methods,
                                    std::initializer_list<std::pair<const char*, int>> properties) {
        for (const auto& [name, index] : methods)
            EXPECT_EQ(table.findMethod(PString(name)), index) << name;
        for (const auto& [name, index] : properties)
            EXPECT_EQ(table.findProperty(PString(name)), index) << name;
    };
    // An empty method alias is a key like any other; properties keep every non-empty alias.
    expectPositions({{"Open", 0}, {"Подключить", 0}, {"Act", 2}, {"Действие", 2}, {"Nothing", -1}, {"", 3}},
                    {{"Скорость", 0}, {"Baud", 0}, {"Port", 1}, {"", -1}});
    EXPECT_EQ(table.methodAlias(PString("Open")), PString("Подключить"));
    EXPECT_TRUE(table.methodAlias(PString("Nothing")).isEmpty());
    EXPECT_EQ(table.propAlias(PString("Speed")), PString("Скорость"));
    EXPECT_TRUE(table.propAlias(PString("Port")).isEmpty());
    EXPECT_EQ(table.getMethod(1ul).name(), PString("Act"));
    EXPECT_FALSE(table.getMethod(4ul).isValid());

    table.changeMethodAlias(PString("Open"), PString("Открыть"));
    table.changeMethodAlias(PString("Nothing"), PString("Ничто"));
    table.changePropAlias(PString("Speed"), PString("Rate"));
    table.changePropAlias(PString("Port"), PString("Порт"));
    EXPECT_EQ(table.methodAlias(PString("Open")), PString("Открыть"));
    expectPositions({{"Открыть", 0}, {"Подключить", -1}, {"Ничто", -1}},
                    {{"Rate", 0}, {"Скорость", -1}, {"Baud", 0}, {"Порт", 1}});
}

}
