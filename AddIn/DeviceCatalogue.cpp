// DeviceManager::fillSettings: every setting a user can choose, with its captions in both
// languages, its default and its choice list.
#include "DeviceManager.h"

#include "PDeviceFactory.h"
#include "PKeyCodes.h"
#include "PKeyTranslation.h"
#include "PLocale.h"
#include "PLogger.h"
#include "PVKSettings.h"

#include <string>

namespace {

using Types = PXMLParametersBuilder::ParametersTypes;
using Choices = PVKSettings::Choices;

// Codes 0 to 127 labelled "<code>(<name or character>)", then "<NONE>".
Choices symbolList()
{
    Choices rows;
    for (int code = 0; code < 128; ++code) {
        std::string name = strake::getCharName(static_cast<char>(code));
        if (name.empty())
            name.assign(1, static_cast<char>(code));
        const std::string value = std::to_string(code);
        rows.emplace_back(PString(value), PString(value + "(" + name + ")"));
    }
    rows.emplace_back(PString("-1"), PString("<NONE>"));
    return rows;
}

const Choices& prefixList()
{
    static const Choices rows = symbolList();
    return rows;
}

const Choices& suffixList()
{
    static const Choices rows = [] {
        Choices list = symbolList();
        // 0x0D0A: every suffix above 255 is read as the pair CR LF.
        list.emplace_back(PString("3338"), PString("auto CRLF"));
        return list;
    }();
    return rows;
}

const Choices& gsList()
{
    static const Choices rows = [] {
        Choices list{{PString("-1"), PString("<NONE>")}};
        for (unsigned int index = 0; strake::getGSKeyCodeForIndex(index) >= 0; ++index) {
            const int code = strake::getGSKeyCodeForIndex(index);
            list.emplace_back(PString(std::to_string(index)),
                              strake::getKeyName(static_cast<unsigned int>(code)));
        }
        return list;
    }();
    return rows;
}

// Rows labelled with an Android constant's name, valued with its string: the prefix and the
// name without its first word, unless the pair gives the value's tail itself.
Choices androidList(const char* prefix, std::initializer_list<const char*> names,
                    std::initializer_list<std::pair<const char*, const char*>> exceptions = {})
{
    Choices rows{{PString("NONE"), PString("NONE")}};
    for (const char* name : names) {
        std::string tail(name);
        tail.erase(0, tail.find('_') + 1);
        for (const auto& exception : exceptions) {
            if (std::string(exception.first) == name)
                tail = exception.second;
        }
        rows.emplace_back(PString(prefix + tail), PString(name));
    }
    return rows;
}

const Choices& standardActions()
{
    static const Choices rows = androidList(
        "android.intent.action.",
        {"ACTION_MAIN", "ACTION_VIEW", "ACTION_ATTACH_DATA", "ACTION_EDIT", "ACTION_PICK",
         "ACTION_CHOOSER", "ACTION_GET_CONTENT", "ACTION_DIAL", "ACTION_CALL", "ACTION_SEND",
         "ACTION_SENDTO", "ACTION_ANSWER", "ACTION_INSERT", "ACTION_DELETE", "ACTION_RUN",
         "ACTION_SYNC", "ACTION_PICK_ACTIVITY", "ACTION_SEARCH", "ACTION_WEB_SEARCH",
         "ACTION_FACTORY_TEST", "ACTION_TIME_TICK", "ACTION_TIME_CHANGED",
         "ACTION_TIMEZONE_CHANGED", "ACTION_BOOT_COMPLETED", "ACTION_PACKAGE_ADDED",
         "ACTION_PACKAGE_CHANGED", "ACTION_PACKAGE_REMOVED", "ACTION_PACKAGE_RESTARTED",
         "ACTION_PACKAGE_DATA_CLEARED", "ACTION_PACKAGES_SUSPENDED", "ACTION_PACKAGES_UNSUSPENDED",
         "ACTION_UID_REMOVED", "ACTION_BATTERY_CHANGED", "ACTION_POWER_CONNECTED",
         "ACTION_POWER_DISCONNECTED", "ACTION_SHUTDOWN"},
        {{"ACTION_GET_CONTENT", "CONTENT"}, {"ACTION_PICK_ACTIVITY", "ACTIVITY"}});
    return rows;
}

const Choices& standardCategories()
{
    static const Choices rows = androidList(
        "android.intent.category.",
        {"CATEGORY_DEFAULT", "CATEGORY_BROWSABLE", "CATEGORY_TAB", "CATEGORY_ALTERNATIVE",
         "CATEGORY_SELECTED_ALTERNATIVE", "CATEGORY_LAUNCHER", "CATEGORY_INFO", "CATEGORY_HOME",
         "CATEGORY_PREFERENCE", "CATEGORY_TEST", "CATEGORY_CAR_DOCK", "CATEGORY_DESK_DOCK",
         "CATEGORY_LE_DESK_DOCK", "CATEGORY_HE_DESK_DOCK", "CATEGORY_CAR_MODE",
         "CATEGORY_APP_MARKET", "CATEGORY_VR_HOME"});
    return rows;
}

const Choices& standardExtras()
{
    static const Choices rows = androidList(
        "android.intent.extra.",
        {"EXTRA_ALARM_COUNT", "EXTRA_BCC", "EXTRA_CC", "EXTRA_CHANGED_COMPONENT_NAME",
         "EXTRA_DATA_REMOVED", "EXTRA_DOCK_STATE", "EXTRA_DOCK_STATE_HE_DESK",
         "EXTRA_DOCK_STATE_LE_DESK", "EXTRA_DOCK_STATE_CAR", "EXTRA_DOCK_STATE_DESK",
         "EXTRA_DOCK_STATE_UNDOCKED", "EXTRA_DONT_KILL_APP", "EXTRA_EMAIL",
         "EXTRA_INITIAL_INTENTS", "EXTRA_INTENT", "EXTRA_KEY_EVENT", "EXTRA_ORIGINATING_URI",
         "EXTRA_PHONE_NUMBER", "EXTRA_REFERRER", "EXTRA_REMOTE_INTENT_TOKEN", "EXTRA_REPLACING",
         "EXTRA_SHORTCUT_ICON", "EXTRA_SHORTCUT_ICON_RESOURCE", "EXTRA_SHORTCUT_INTENT",
         "EXTRA_STREAM", "EXTRA_SHORTCUT_NAME", "EXTRA_SUBJECT", "EXTRA_TEMPLATE", "EXTRA_TEXT",
         "EXTRA_TITLE", "EXTRA_UID"});
    return rows;
}

// Each value labelled with itself.
Choices selfLabelled(std::initializer_list<const char*> values)
{
    Choices rows;
    for (const char* value : values)
        rows.emplace_back(PString(value), PString(value));
    return rows;
}

PString textOf(const PVariant& value)
{
    // Bytes are decoded text; the UTF-8 form reads both kinds alike.
    return PString(value.toStdString());
}

// The three fixed rows, the serial ports, then the paired Bluetooth devices.
Choices deviceList(PDeviceFactory& factory)
{
    Choices rows{{PString("0"), pTr("Keyboard", "Клавиатура")},
                 {PString("DEV_KEYBOARD"), pTr("Keyboard 9.0", "Клавиатура 9.0")},
                 {PString("BROADCAST"), PString("Broadcast")}};
    for (const PSerialPortEntry& port : factory.serialPorts())
        rows.emplace_back(PString(std::to_string(port.number)), port.name);
    const PString address("address"), name("name"), info("info");
    for (const PBluetoothEntry& device : factory.bluetoothDevices()) {
        const PString value = textOf(device.value(address));
        PString label = value;
        if (device.hasKey(name))
            label = textOf(device.value(name));
        else if (device.hasKey(info))
            label = textOf(device.value(info));
        rows.emplace_back(value, label);
    }
    return rows;
}

}

bool DeviceManager::fillSettings(PVKSettings* settings)
{
    if (!settings)
        return false;
    const std::shared_ptr<PDeviceFactory> factory = PDeviceFactory::current();
    PVKSettings& s = *settings;
    const PString none;
    const Choices noChoices;

    s.addPage(pTr("Parameters", "Параметры"));

    s.addGroup(pTr("Common", "Общие"));
    s.addParameter("BluetoothDevice", pTr("Device", "Устройство"), none, Types::String,
                   "DEV_KEYBOARD", deviceList(*factory));
    s.addParameter("Prefix", pTr("Prefix", "Префикс"), none, Types::Number, "-1", prefixList());
    s.addParameter("Suffix", pTr("Suffix", "Суффикс"), none, Types::Number, "3338", suffixList());
    s.addParameter("OutputDataType", pTr("Output data type", "Тип выходных данных"), none,
                   Types::Number, "0", Choices{{"0", pTr("String", "Строка")}, {"1", "Base64"}});

    s.addGroup(pTr("Keyboard", "Клавиатура"));
    s.addParameter("GSSymbolKey", pTr("GS symbol", "Символ GS"), none, Types::Number,
                   PString(std::to_string(strake::getGSKeyCodeIndex(pKeyCode(PKeyCodes::F8)))),
                   gsList());
    s.addParameter("Timeout", pTr("Timeout keyboard (ms)", "Таймаут клавиатуры (мс)"), none,
                   Types::Number, "75", false);

    s.addGroup(pTr("COM port", "COM порт"));
    s.addParameter("DataBits", pTr("Data bits", "Бит данных"), none, Types::Number, "8",
                   selfLabelled({"1", "2", "3", "4", "5", "6", "7", "8"}));
    s.addParameter("StopBits", pTr("Stop bits", "Стоп бит"), none, Types::Number, "0",
                   Choices{{"0", "1"}, {"2", "2"}});
    s.addParameter("Parity", pTr("Parity", "Четность"), none, Types::Number, "0",
                   Choices{{"0", pTr("No", "Нет")}, {"1", pTr("Odd", "Нечетно")},
                           {"2", pTr("Even", "Четно")}});
    s.addParameter("Speed", pTr("Speed", "Скорость"), none, Types::Number, "9600",
                   selfLabelled({"110", "300", "600", "1200", "2400", "4800", "9600", "14400",
                                 "19200", "38400", "56000", "57600", "115200", "128000",
                                 "256000"}));
    s.addParameter("COMEncoding", pTr("Serial encoding", "Кодировка COM-порта"), none,
                   Types::String, "UTF-8", selfLabelled({"UTF-8", "Windows-1251"}));

    s.addGroup(PString("Broadcast"));
    s.addParameter("StandardAction", "Standard android.intent.action.",
                   pTr("Standad actions specified in Android documentation",
                       "Стандартные действия перечисленные в документации Android"),
                   Types::String, "NONE", standardActions());
    s.addParameter("StandardCategory", "Standard android.intent.category.",
                   pTr("Standad catigories specified in Android documentation",
                       "Стандартные категории перечисленные в документации Android"),
                   Types::String, "NONE", standardCategories());
    s.addParameter("StandardExtra", pTr("Standard Extra", "Standard Intent Extra"),
                   pTr("Standad Extras specified in Android documentation",
                       "Стандартные поля (Extra) перечисленные в документации Android"),
                   Types::String, "NONE", standardExtras());
    s.addParameter("Extra", pTr("User Intent Extra", "Пользовательсктй Intent Extra"),
                   pTr("Extra data key", "Имя поля с данными"), Types::String, none, noChoices);
    s.addParameter("ExtraType", pTr("Extra data type", "Тип данных"),
                   pTr("Extra data type", "Тип данных передаваемый полем Extra"), Types::String,
                   "String", selfLabelled({"ByteArray", "CharArray", "String"}));
    s.addParameter("Action", pTr("User Intent Action", "Пользовательское Intent Action"),
                   pTr("Custom user action id", "ID произвольного действия"), Types::String, none,
                   noChoices);
    s.addParameter("Category", pTr("User Intent Category", "Пользовательская Intent Category"),
                   pTr("Custom user category id", "ID произвольной категории"), Types::String,
                   none, noChoices);

    s.addGroup(pTr("Log", "Лог"));
    s.addParameter("LogType", pTr("Log Type", "Тип лога"), pTr("Log Type", "Тип лога"),
                   Types::Number, "-1",
                   Choices{{"-1", "NONE"}, {"0", pTr("To file", "В файл")},
                           {"1", pTr("System Log", "Системный журнал")}});
    s.addParameter("LogFilePath", pTr("Log file", "Лог файл"),
                   pTr("Path to log file to trace exchange", "Пусть к файлу для логирования операций"),
                   Types::String, PString(pGetDefaultLogFilePath() + "kelmor.txt"), noChoices);
    return true;
}
