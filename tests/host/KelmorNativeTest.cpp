// The driver component driven through the loaded library exactly as the platform drives it.
#include "PHostLibrary.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <thread>

namespace {

struct Row {
    const char16_t* name;
    const char16_t* alias;
    long index;  // what FindMethod answers for the name
    long params;  // every method answers a value
};

// The host's view of the table, row by row.
const Row kRows[] = {
    {u"GetDescription", u"ПолучитьОписание", 0, 1},
    {u"GetParameters", u"ПолучитьПараметры", 1, 1},
    {u"SetParameter", u"УстановитьПараметр", 2, 2},
    {u"Open", u"Подключить", 3, 1},
    {u"Close", u"Отключить", 4, 1},
    {u"DeviceTest", u"ТестУстройства", 5, 2},
    {u"GetAdditionalActions", u"ПолучитьДополнительныеДействия", 6, 1},
    {u"DoAdditionalAction", u"ВыполнитьДополнительноеДействие", 8, 1},
    {u"DoAdditionalAction", u"ВыполнитьДополнительноеДействие", 8, 1},
    {u"GetInterfaceRevision", u"ПолучитьРевизиюИнтерфейса", 9, 0},
    {u"GetLastError", u"ПолучитьОшибку", 10, 1},
    {u"Version", u"ПолучитьНомерВерсии", 11, 0},
};

// The description document as the host receives it in English.
std::u16string englishDescription()
{
    std::ifstream in(std::string(KELMOR_SOURCE_DIR) + "/tests/host/data/description-en.xml");
    const std::string utf8((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return std::u16string(utf8.begin(), utf8.end());  // ASCII
}

tVariant hostInt(int32_t value)
{
    tVariant v = hostEmptyValue();
    v.vt = VTYPE_I4;
    v.lVal = value;
    return v;
}

// Each test gets an attached InputDevice component of its own.
class KelmorNativeTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { library = new PHostLibrary(kelmortest::libraryPath()); }
    static void TearDownTestSuite()
    {
        delete library;
        library = nullptr;
    }

    void SetUp() override
    {
        ASSERT_TRUE(library->isLoaded()) << library->errorText();
        ASSERT_TRUE(component.attach());
    }

    // Every block handed over was the host's and came back to it; the language goes back to English.
    void TearDown() override
    {
        component->SetLocale(u"en_US");
        EXPECT_EQ(memory.liveBlocks(), 0u);
        EXPECT_EQ(memory.foreignBlocks(), 0u);
    }

    // GetLastError as the host calls it: the code in the result, the text in the parameter.
    PHostCall lastError() { return component.call(u"GetLastError", {hostEmptyValue()}); }

    static PHostLibrary* library;
    PHostMemoryManager memory;
    PHostComponent component{*library, u"InputDevice", &memory};
};

PHostLibrary* KelmorNativeTest::library = nullptr;

TEST_F(KelmorNativeTest, everyRowIsFoundByNameAndAliasAndNamedInHostMemory)
{
    // The host's bases follow each other, one vtable pointer each, in the host's order.
    IComponentBase* object = component.object();
    auto offset = [object](void* base) { return static_cast<char*>(base) - reinterpret_cast<char*>(object); };
    EXPECT_EQ((std::vector<long>{offset(static_cast<IInitDoneBase*>(object)),
                                 offset(static_cast<ILanguageExtenderBase*>(object)),
                                 offset(static_cast<LocaleBase*>(object)), offset(static_cast<UserLanguageBase*>(object))}),
              (std::vector<long>{0, 8, 16, 24}));
    ASSERT_EQ(component->GetNMethods(), 12);
    for (long i = 0; i < 12; ++i) {
        const Row& row = kRows[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(component->FindMethod(row.name), row.index);
        EXPECT_EQ(component->FindMethod(row.alias), row.index);
        EXPECT_EQ(component->GetNParams(i), row.params);
        EXPECT_TRUE(component->HasRetVal(i));
        const char16_t* name = component->GetMethodName(i, 0);
        const char16_t* alias = component->GetMethodName(i, 1);
        EXPECT_TRUE(memory.owns(name));
        EXPECT_TRUE(memory.owns(alias));
        EXPECT_EQ(component.take(name), row.name);
        EXPECT_EQ(component.take(alias), row.alias);
    }
    for (const char16_t* name : {u"open", u"OPEN", u"", static_cast<const char16_t*>(nullptr)})
        EXPECT_EQ(component->FindMethod(name), -1);
    EXPECT_EQ(component->GetNProps(), 0);
    EXPECT_EQ(component->FindProp(u"Open"), -1);
    EXPECT_TRUE(component.connection().errors().empty());
}

// Out parameters replace whatever the host put there, of any type.
TEST_F(KelmorNativeTest, smallMethodsAnswerInTheirOwnTypes)
{
    PHostCall version = component.call(u"ПолучитьНомерВерсии");
    EXPECT_EQ(version.result.vt, VTYPE_PWSTR);
    EXPECT_EQ(version.resultText(), u"10.1.8.6");
    EXPECT_EQ(version.result.pwstrVal[version.result.wstrLen], 0) << "a text ends in a zero unit";

    PHostCall revision = component.call(u"GetInterfaceRevision");
    EXPECT_EQ(revision.result.vt, VTYPE_I4);
    EXPECT_EQ(revision.result.lVal, 3003);
    EXPECT_EQ(component->GetInfo(), 3003);

    PHostCall error = component.call(u"GetLastError", {hostInt(5)});
    EXPECT_EQ(error.result.vt, VTYPE_HRESULT);
    EXPECT_EQ(error.result.lVal, 0);
    EXPECT_EQ(error.params[0].vt, VTYPE_PWSTR);
    EXPECT_EQ(hostTextOf(error.params[0]), u"");

    // The host still frees its own text.
    PHostCall actions = component.call(u"GetAdditionalActions", {memory.text(u"old text")});
    EXPECT_EQ(actions.result.vt, VTYPE_BOOL);
    EXPECT_TRUE(actions.result.bVal);
    EXPECT_EQ(hostTextOf(actions.params[0]), u"");

    for (long index : {7L, 8L}) {
        PHostCall action = component.callAt(index, {index == 7 ? memory.text(u"Calibrate") : hostInt(5)});
        EXPECT_TRUE(action.result.bVal);
        EXPECT_EQ(action.params[0].vt, VTYPE_NULL);
    }
    EXPECT_FALSE(component.call(u"Close", {hostInt(5)}).result.bVal);
    EXPECT_FALSE(lastError().paramText(0).empty());
    EXPECT_TRUE(component.connection().errors().empty());
}

TEST_F(KelmorNativeTest, descriptionAndMessagesFollowTheLanguage)
{
    PHostCall english = component.call(u"GetDescription", {hostEmptyValue()});
    EXPECT_TRUE(english.result.bVal);
    EXPECT_EQ(english.paramText(0), englishDescription());

    {
        PHostComponent reader(*library, u"CardReaderDevice", &memory);
        ASSERT_TRUE(reader.attach());
        EXPECT_EQ(reader.call(u"ПолучитьОписание", {hostEmptyValue()}).paramText(0), englishDescription());
    }

    component->SetLocale(u"ru_RU");
    const std::u16string russian = component.call(u"GetDescription", {hostEmptyValue()}).paramText(0);
    EXPECT_NE(russian.find(u"Name=\"Tavrel: Драйвер устройств ввода\" \n"), std::u16string::npos);

    // The language is chosen when the error is made: an error kept from before keeps its text.
    EXPECT_FALSE(component.call(u"Close", {memory.text(u"InputDevice#404")}).result.bVal);
    component->SetLocale(u"en");
    const PHostCall kept = lastError();
    EXPECT_EQ(kept.result.lVal, 2);
    EXPECT_EQ(kept.paramText(0), u"Неверный Id устройства");

    struct Case {
        const char16_t* code;
        bool russian;
    };
    for (const Case& c : {Case{u"ru_RU", true}, Case{u"xxruyy", true}, Case{u"RU", false},
                          Case{u"", false}, Case{u"en_US", false}}) {
        component->SetUserInterfaceLanguageCode(c.code);
        EXPECT_FALSE(component.call(u"Отключить", {memory.text(u"InputDevice#404")}).result.bVal);
        const PHostCall error = lastError();
        EXPECT_EQ(error.result.lVal, 2);
        EXPECT_EQ(error.paramText(0), c.russian ? u"Неверный Id устройства" : u"Bad device Id")
            << hostToUtf8(c.code);
    }
}

// Bad indexes and broken signatures are refused before any handler runs, with one report each.
TEST_F(KelmorNativeTest, badIndexesAndBrokenSignaturesAreRefusedWithOneReportEach)
{
    const long version = component->FindMethod(u"Version");
    const long description = component->FindMethod(u"GetDescription");
    tVariant result = hostEmptyValue();
    tVariant param = hostEmptyValue();
    EXPECT_EQ(component->GetMethodName(12, 0), nullptr);
    EXPECT_EQ(component->GetMethodName(-1, 1), nullptr);
    EXPECT_EQ(component->GetNParams(1000), 0);
    EXPECT_FALSE(component->HasRetVal(-5));
    EXPECT_FALSE(component->CallAsFunc(12, &result, nullptr, 0));
    EXPECT_FALSE(component->GetParamDefValue(40, 0, &result));
    EXPECT_EQ(component->GetPropName(0, 0), nullptr);
    EXPECT_FALSE(component->IsPropWritable(3));
    EXPECT_EQ(lastError().paramText(0), u"no prop found for index3");
    EXPECT_FALSE(component->CallAsFunc(version, &result, &param, 1));
    EXPECT_FALSE(component->CallAsFunc(description, &result, nullptr, 1));
    EXPECT_FALSE(component->CallAsFunc(description, &result, &param, -1));
    EXPECT_FALSE(component->CallAsFunc(description, nullptr, &param, 1));
    EXPECT_FALSE(component->CallAsProc(version, nullptr, 0));

    const std::pair<long, std::u16string> reports[] = {
        {2, u"no method found for index 12"},   {2, u"no method found for index -1"},
        {2, u"no method found for index 1000"}, {2, u"no method found for index -5"},
        {2, u"no method found for index 12"},   {2, u"no method found for index 40"},
        {2, u"no prop found for index 0"},      {2, u"no prop found for index3"},
        {113, u""}, {113, u""}, {113, u""}, {112, u""}, {2, u"no proc-method found for index 11"},
    };
    const auto errors = component.connection().errors();
    ASSERT_EQ(errors.size(), std::size(reports));
    for (size_t i = 0; i < errors.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(errors[i].level, 1003);
        EXPECT_EQ(errors[i].source, u"InputDevice|CardReaderDevice");
        EXPECT_EQ(errors[i].code, reports[i].first);
        EXPECT_EQ(errors[i].text, reports[i].second);
    }
    EXPECT_EQ(lastError().result.lVal, 2);
    EXPECT_EQ(result.vt, VTYPE_EMPTY);
    EXPECT_EQ(param.vt, VTYPE_EMPTY);
}

TEST_F(KelmorNativeTest, startAndEndCallsAreSafeToRepeatAndAHostWithoutMemoryGetsFailures)
{
    PHostComponent unmanaged(*library, u"InputDevice", &memory);
    ASSERT_TRUE(unmanaged.attach(u"en_US", false));
    EXPECT_TRUE(unmanaged.extensionName().empty());
    char16_t* untouched = nullptr;
    EXPECT_FALSE(unmanaged->RegisterExtensionAs(&untouched));
    EXPECT_EQ(untouched, nullptr);
    EXPECT_FALSE(unmanaged->RegisterExtensionAs(nullptr));
    EXPECT_EQ(unmanaged->GetMethodName(0, 0), nullptr);

    PHostCall version = unmanaged.call(u"Version");
    EXPECT_FALSE(version.answered);
    ASSERT_EQ(unmanaged.connection().errors().size(), 1u);
    EXPECT_EQ(unmanaged.connection().errors()[0].code, 2);
    // What needs no memory still works.
    PHostCall revision = unmanaged.call(u"GetInterfaceRevision");
    EXPECT_EQ(revision.result.lVal, 3003);

    unmanaged->setMemManager(&memory);
    memory.setRefuseAllocations(true);
    EXPECT_FALSE(unmanaged.call(u"GetDescription", {hostEmptyValue()}).answered);
    EXPECT_EQ(unmanaged->GetMethodName(0, 0), nullptr);
    memory.setRefuseAllocations(false);
    EXPECT_EQ(unmanaged.call(u"Version").resultText(), u"10.1.8.6");

    PHostComponent reader(*library, u"CardReaderDevice", &memory);
    ASSERT_TRUE(reader.isValid());
    EXPECT_EQ(reader->GetNMethods(), 0);
    ASSERT_TRUE(reader.attach());
    EXPECT_EQ(reader.extensionName(), u"CardReaderDevice");
    EXPECT_EQ(reader.connection().getEventBufferDepth(), 4096);

    EXPECT_TRUE(reader->Init(static_cast<IAddInDefBaseEx*>(&reader.connection())));
    EXPECT_EQ(reader->GetNMethods(), 12);
    reader->Done();
    reader->Done();
    EXPECT_EQ(reader.call(u"Version").resultText(), u"10.1.8.6");
    EXPECT_TRUE(reader.connection().errors().empty());

    // A host that passes no connection still gets the table once, however often it tries.
    PHostComponent bare(*library, u"InputDevice", &memory);
    bare->setMemManager(&memory);
    bare->Init(nullptr);
    bare->Init(nullptr);
    EXPECT_EQ(bare->GetNMethods(), 12);
    EXPECT_FALSE(bare.call(u"Version", {hostEmptyValue()}).answered);
}

TEST_F(KelmorNativeTest, concurrentHostThreadsShareOneComponent)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 200; ++i) {
                if (t % 2)
                    component.call(u"Close", {hostEmptyValue()});
                EXPECT_TRUE(lastError().answered);
                EXPECT_EQ(component.call(u"Version").resultText(), u"10.1.8.6");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(lastError().result.lVal, 2);
}

// The form takes only its own names. A port no mode takes: Open and DeviceTest fail with its reason and readable, empty out parameters.
TEST_F(KelmorNativeTest, settingsTakeOnlyTheirOwnNamesAndAFailedOpenOrTestEmptiesItsOutParameters)
{
    PHostCall form = component.call(u"ПолучитьПараметры", {hostEmptyValue()});
    EXPECT_TRUE(form.result.bVal);
    // The document itself is compared whole in DeviceManagerTest.
    EXPECT_NE(form.paramText(0).find(u"Name=\"Prefix\""), std::u16string::npos);
    // "EquipmentType" is the component's own and never reaches the store; a name of neither is refused.
    EXPECT_TRUE(component.call(u"УстановитьПараметр", {memory.text(u"EquipmentType"), memory.text(u"InputDevice")})
                    .result.bVal);
    EXPECT_FALSE(component.call(u"SetParameter", {memory.text(u"Port"), hostInt(1)}).result.bVal);
    EXPECT_EQ(lastError().result.lVal, 100);
    EXPECT_EQ(lastError().paramText(0), u"Wrong parameter name");
    ASSERT_TRUE(component.call(u"SetParameter", {memory.text(u"BluetoothDevice"), memory.text(u"65535")}).result.bVal);

    tVariant stale = memory.text(u"stale");
    PHostCall open = component.call(u"Open", {stale});
    EXPECT_TRUE(open.answered);
    EXPECT_FALSE(open.result.bVal);
    EXPECT_EQ(open.params[0].vt, VTYPE_EMPTY);
    const PHostCall error = lastError();
    EXPECT_EQ(error.result.lVal, 2);
    EXPECT_EQ(error.paramText(0), u"Failed to create device");

    PHostCall test = component.call(u"ТестУстройства", {hostEmptyValue(), hostEmptyValue()});
    EXPECT_FALSE(test.result.bVal);
    for (const tVariant& param : test.params) {
        EXPECT_EQ(param.vt, VTYPE_PWSTR);
        EXPECT_EQ(param.wstrLen, 0u);
    }
    EXPECT_EQ(lastError().paramText(0), u"Failed to create device");
}

}
