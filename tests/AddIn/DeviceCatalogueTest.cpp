// The settings catalogue, compared whole with a document written out here from the tables of
// what a user may choose, in both languages, with and without ports and paired devices.
#include "DeviceManager.h"

#include "PLocale.h"
#include "PVKSettings.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using kelmortest::RecordingFactory;

struct Row {
    std::string value, ru, en;
};
using Rows = std::vector<Row>;

Rows same(std::initializer_list<const char*> values)
{
    Rows rows;
    for (const char* v : values)
        rows.push_back({v, v, v});
    return rows;
}

Rows symbols(bool withCrLf)
{
    static const char* const names[] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                        "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                        "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                        "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",
                                        "SPACE"};
    Rows rows;
    for (int c = 0; c < 128; ++c) {
        const std::string shown = c <= 32 ? names[c] : c == 127 ? "DEL" : std::string(1, char(c));
        const std::string label = std::to_string(c) + "(" + shown + ")";
        rows.push_back({std::to_string(c), label, label});
    }
    rows.push_back({"-1", "<NONE>", "<NONE>"});
    if (withCrLf)
        rows.push_back({"3338", "auto CRLF", "auto CRLF"});
    return rows;
}

// "NONE", then for each tail: value prefix + its value tail, label word + "_" + tail.
Rows android(const std::string& word, const std::string& prefix, const std::string& tails)
{
    Rows rows{{"NONE", "NONE", "NONE"}};
    std::istringstream in(tails);
    std::string tail;
    while (in >> tail) {
        std::string valueTail = tail == "GET_CONTENT" ? "CONTENT" : tail == "PICK_ACTIVITY" ? "ACTIVITY" : tail;
        const std::string label = word + "_" + tail;
        rows.push_back({prefix + valueTail, label, label});
    }
    return rows;
}

struct Param {
    const char* name;
    const char* ru;
    const char* en;
    const char* type;
    std::string defaultValue;
    const char* ruDescription;
    const char* enDescription;
    Rows rows;
    bool readOnlyForm;
};

struct Group {
    const char* ru;
    const char* en;
    std::vector<Param> params;
};

std::string escaped(const std::string& text, bool attribute)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += attribute ? "&quot;" : "\""; break;
        case '\'': out += attribute ? "&apos;" : "'"; break;
        default: out += c;
        }
    }
    return out;
}

std::vector<Group> catalogue(const Rows& devices)
{
    const Rows gs = [] {
        Rows rows{{"-1", "<NONE>", "<NONE>"}};
        std::istringstream names("F1 F2 F3 F4 F5 F6 F7 F8 F9 F10 F11 F12 INSERT DEL HOME END PGUP PGDN "
                                 "CAPSLOCK ALTR NumpadEnter SPACE TAB ArrowUp ArrowDn LeftAlt RightAlt");
        std::string name;
        for (int i = 0; names >> name; ++i)
            rows.push_back({std::to_string(i), name, name});
        return rows;
    }();
    return {
        {"Общие", "Common", {
            {"BluetoothDevice", "Устройство", "Device", "String", "DEV_KEYBOARD", "", "", devices, false},
            {"Prefix", "Префикс", "Prefix", "Number", "-1", "", "", symbols(false), false},
            {"Suffix", "Суффикс", "Suffix", "Number", "3338", "", "", symbols(true), false},
            {"OutputDataType", "Тип выходных данных", "Output data type", "Number", "0", "", "",
             {{"0", "Строка", "String"}, {"1", "Base64", "Base64"}}, false}}},
        {"Клавиатура", "Keyboard", {
            {"GSSymbolKey", "Символ GS", "GS symbol", "Number", "7", "", "", gs, false},
            {"Timeout", "Таймаут клавиатуры (мс)", "Timeout keyboard (ms)", "Number", "75", "", "", {}, true}}},
        {"COM порт", "COM port", {
            {"DataBits", "Бит данных", "Data bits", "Number", "8", "", "",
             same({"1", "2", "3", "4", "5", "6", "7", "8"}), false},
            {"StopBits", "Стоп бит", "Stop bits", "Number", "0", "", "", {{"0", "1", "1"}, {"2", "2", "2"}}, false},
            {"Parity", "Четность", "Parity", "Number", "0", "", "",
             {{"0", "Нет", "No"}, {"1", "Нечетно", "Odd"}, {"2", "Четно", "Even"}}, false},
            {"Speed", "Скорость", "Speed", "Number", "9600", "", "",
             same({"110", "300", "600", "1200", "2400", "4800", "9600", "14400", "19200", "38400",
                   "56000", "57600", "115200", "128000", "256000"}), false},
            {"COMEncoding", "Кодировка COM-порта", "Serial encoding", "String", "UTF-8", "", "",
             same({"UTF-8", "Windows-1251"}), false}}},
        {"Broadcast", "Broadcast", {
            {"StandardAction", "Standard android.intent.action.", "Standard android.intent.action.",
             "String", "NONE", "Стандартные действия перечисленные в документации Android",
             "Standad actions specified in Android documentation",
             android("ACTION", "android.intent.action.",
                     "MAIN VIEW ATTACH_DATA EDIT PICK CHOOSER GET_CONTENT DIAL CALL SEND SENDTO ANSWER "
                     "INSERT DELETE RUN SYNC PICK_ACTIVITY SEARCH WEB_SEARCH FACTORY_TEST TIME_TICK "
                     "TIME_CHANGED TIMEZONE_CHANGED BOOT_COMPLETED PACKAGE_ADDED PACKAGE_CHANGED "
                     "PACKAGE_REMOVED PACKAGE_RESTARTED PACKAGE_DATA_CLEARED PACKAGES_SUSPENDED "
                     "PACKAGES_UNSUSPENDED UID_REMOVED BATTERY_CHANGED POWER_CONNECTED "
                     "POWER_DISCONNECTED SHUTDOWN"), false},
            {"StandardCategory", "Standard android.intent.category.", "Standard android.intent.category.",
             "String", "NONE", "Стандартные категории перечисленные в документации Android",
             "Standad catigories specified in Android documentation",
             android("CATEGORY", "android.intent.category.",
                     "DEFAULT BROWSABLE TAB ALTERNATIVE SELECTED_ALTERNATIVE LAUNCHER INFO HOME "
                     "PREFERENCE TEST CAR_DOCK DESK_DOCK LE_DESK_DOCK HE_DESK_DOCK CAR_MODE APP_MARKET "
                     "VR_HOME"), false},
            {"StandardExtra", "Standard Intent Extra", "Standard Extra", "String", "NONE",
             "Стандартные поля (Extra) перечисленные в документации Android",
             "Standad Extras specified in Android documentation",
             android("EXTRA", "android.intent.extra.",
                     "ALARM_COUNT BCC CC CHANGED_COMPONENT_NAME DATA_REMOVED DOCK_STATE "
                     "DOCK_STATE_HE_DESK DOCK_STATE_LE_DESK DOCK_STATE_CAR DOCK_STATE_DESK "
                     "DOCK_STATE_UNDOCKED DONT_KILL_APP EMAIL INITIAL_INTENTS INTENT KEY_EVENT "
                     "ORIGINATING_URI PHONE_NUMBER REFERRER REMOTE_INTENT_TOKEN REPLACING SHORTCUT_ICON "
                     "SHORTCUT_ICON_RESOURCE SHORTCUT_INTENT STREAM SHORTCUT_NAME SUBJECT TEMPLATE TEXT "
                     "TITLE UID"), false},
            {"Extra", "Пользовательсктй Intent Extra", "User Intent Extra", "String", "",
             "Имя поля с данными", "Extra data key", {}, false},
            {"ExtraType", "Тип данных", "Extra data type", "String", "String",
             "Тип данных передаваемый полем Extra", "Extra data type",
             same({"ByteArray", "CharArray", "String"}), false},
            {"Action", "Пользовательское Intent Action", "User Intent Action", "String", "",
             "ID произвольного действия", "Custom user action id", {}, false},
            {"Category", "Пользовательская Intent Category", "User Intent Category", "String", "",
             "ID произвольной категории", "Custom user category id", {}, false}}},
        {"Лог", "Log", {
            {"LogType", "Тип лога", "Log Type", "Number", "-1", "Тип лога", "Log Type",
             {{"-1", "NONE", "NONE"}, {"0", "В файл", "To file"}, {"1", "Системный журнал", "System Log"}},
             false},
            {"LogFilePath", "Лог файл", "Log file", "String", "/storage/emulated/0/Download/kelmor.txt",
             "Пусть к файлу для логирования операций", "Path to log file to trace exchange", {}, false}}},
    };
}

std::string expectedDocument(bool russian, const Rows& devices)
{
    auto pick = [russian](const std::string& ru, const std::string& en) { return russian ? ru : en; };
    auto attr = [](const char* name, const std::string& value) {
        return std::string(" ") + name + "=\"" + escaped(value, true) + "\"";
    };
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings>\n";
    out += "    <Page" + attr("Caption", pick("Параметры", "Parameters")) + ">\n";
    for (const Group& group : catalogue(devices)) {
        out += "        <Group" + attr("Caption", pick(group.ru, group.en)) + ">\n";
        for (const Param& p : group.params) {
            out += "            <Parameter" + attr("Name", p.name) + attr("Caption", pick(p.ru, p.en)) +
                   attr("Description", pick(p.ruDescription, p.enDescription)) +
                   attr("TypeValue", p.type) + attr("DefaultValue", p.defaultValue);
            if (p.readOnlyForm) {
                out += attr("ReadOnly", "False") + "/>\n";
            } else if (p.rows.empty()) {
                out += "/>\n";
            } else {
                out += ">\n                <ChoiceList>\n";
                for (const Row& row : p.rows)
                    out += "                    <Item" + attr("Value", row.value) + ">" +
                           escaped(pick(row.ru, row.en), false) + "</Item>\n";
                out += "                </ChoiceList>\n            </Parameter>\n";
            }
        }
        out += "        </Group>\n";
    }
    return out + "    </Page>\n</Settings>\n";
}

class DeviceCatalogueTest : public ::testing::Test {
protected:
    void TearDown() override { PLocale::setDefaultLocaleId(PLocale::English); }
};

TEST_F(DeviceCatalogueTest, documentIsTheWholeCatalogueInEitherLanguage)
{
    auto factory = std::make_shared<RecordingFactory>();
    kelmortest::FactoryScope scope(factory);
    const Rows fixed{{"0", "Клавиатура", "Keyboard"},
                     {"DEV_KEYBOARD", "Клавиатура 9.0", "Keyboard 9.0"},
                     {"BROADCAST", "Broadcast", "Broadcast"}};
    Rows listed = fixed;
    for (const char* n : {"1", "2", "3", "4"})
        listed.push_back({n, std::string("COM") + n, std::string("COM") + n});
    listed.push_back({"00:11:22:33:44:55", "Zebra DS2278", "Zebra DS2278"});
    listed.push_back({"AA:BB:CC:DD:EE:FF", "[no name]", "[no name]"});
    listed.push_back({"01:02:03:04:05:06", "01:02:03:04:05:06", "01:02:03:04:05:06"});
    listed.push_back({"10:20:30:40:50:60", "Сканер <1> & co", "Сканер <1> & co"});

    for (bool withLists : {false, true}) {
        if (withLists)
            kelmortest::fillFakeLists(*factory);
        for (bool russian : {false, true}) {
            SCOPED_TRACE(std::string(withLists ? "lists, " : "no lists, ") + (russian ? "ru" : "en"));
            PLocale::setDefaultLocaleId(russian ? PLocale::Russian : PLocale::English);
            PVKSettings settings;
            ASSERT_TRUE(DeviceManager::fillSettings(&settings));
            EXPECT_EQ(settings.getXML().toStdString(), expectedDocument(russian, withLists ? listed : fixed));
            const PPropertyBag bag = settings.getSettings();
            EXPECT_EQ(bag.size(), 20u);
            EXPECT_EQ(bag.value("GSSymbolKey").toPString(), PString("7"));
            EXPECT_FALSE(bag.hasKey("Port"));
        }
    }
    EXPECT_FALSE(DeviceManager::fillSettings(nullptr));
}

}
