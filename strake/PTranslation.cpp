// The translation table, its XML loader and the built-in bilingual document.
#include "PTranslation.h"

#include "PLocale.h"
#include "PPropertyBag.h"

#include <map>
#include <mutex>
#include <tinyxml2.h>

#define TRANSLATION_ERROR(code, message) \
    P_MODULE_ERROR("jni/../../strake/PTranslation", code, message)

using PTextById = KeyValue<PString, PString>;

struct PTranslationPrivate {
    mutable std::mutex mutex;  // guards table
    KeyValue<int, PTextById> table;
};

namespace {

// The library's own user-visible texts in both languages, keyed by a stable id.
const char* const kBuiltInDocument = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<localization>
    <strings>
        <string sid="Driver.Name">
            <locale lid="ru_RU">Tavrel: Драйвер устройств ввода</locale>
            <locale lid="en_US">Tavrel: Input device driver</locale>
        </string>
        <string sid="Driver.Description">
            <locale lid="ru_RU">Драйвер для подключения устройств ввода</locale>
            <locale lid="en_US">Driver for input devices</locale>
        </string>
        <string sid="Driver.EquipmentType">
            <locale lid="ru_RU">Устройств ввода</locale>
            <locale lid="en_US">Input device</locale>
        </string>
        <string sid="Settings.Page">
            <locale lid="ru_RU">Параметры</locale>
            <locale lid="en_US">Parameters</locale>
        </string>
        <string sid="Settings.Group.Common">
            <locale lid="ru_RU">Общие</locale>
            <locale lid="en_US">Common</locale>
        </string>
        <string sid="Settings.Group.Keyboard">
            <locale lid="ru_RU">Клавиатура</locale>
            <locale lid="en_US">Keyboard</locale>
        </string>
        <string sid="Settings.Group.COM">
            <locale lid="ru_RU">COM порт</locale>
            <locale lid="en_US">COM port</locale>
        </string>
        <string sid="Settings.Group.Broadcast">
            <locale lid="ru_RU">Broadcast</locale>
            <locale lid="en_US">Broadcast</locale>
        </string>
        <string sid="Settings.Group.Log">
            <locale lid="ru_RU">Лог</locale>
            <locale lid="en_US">Log</locale>
        </string>
        <string sid="Param.BluetoothDevice">
            <locale lid="ru_RU">Устройство</locale>
            <locale lid="en_US">Device</locale>
        </string>
        <string sid="Param.Prefix">
            <locale lid="ru_RU">Префикс</locale>
            <locale lid="en_US">Prefix</locale>
        </string>
        <string sid="Param.Suffix">
            <locale lid="ru_RU">Суффикс</locale>
            <locale lid="en_US">Suffix</locale>
        </string>
        <string sid="Param.OutputDataType">
            <locale lid="ru_RU">Тип выходных данных</locale>
            <locale lid="en_US">Output data type</locale>
        </string>
        <string sid="Param.GSSymbolKey">
            <locale lid="ru_RU">Символ GS</locale>
            <locale lid="en_US">GS symbol</locale>
        </string>
        <string sid="Param.Timeout">
            <locale lid="ru_RU">Таймаут клавиатуры (мс)</locale>
            <locale lid="en_US">Timeout keyboard (ms)</locale>
        </string>
        <string sid="Param.DataBits">
            <locale lid="ru_RU">Бит данных</locale>
            <locale lid="en_US">Data bits</locale>
        </string>
        <string sid="Param.StopBits">
            <locale lid="ru_RU">Стоп бит</locale>
            <locale lid="en_US">Stop bits</locale>
        </string>
        <string sid="Param.Parity">
            <locale lid="ru_RU">Четность</locale>
            <locale lid="en_US">Parity</locale>
        </string>
        <string sid="Param.Speed">
            <locale lid="ru_RU">Скорость</locale>
            <locale lid="en_US">Speed</locale>
        </string>
        <string sid="Param.COMEncoding">
            <locale lid="ru_RU">Кодировка COM-порта</locale>
            <locale lid="en_US">Serial encoding</locale>
        </string>
        <string sid="Param.StandardAction">
            <locale lid="ru_RU">Standard android.intent.action.</locale>
            <locale lid="en_US">Standard android.intent.action.</locale>
        </string>
        <string sid="Param.StandardCategory">
            <locale lid="ru_RU">Standard android.intent.category.</locale>
            <locale lid="en_US">Standard android.intent.category.</locale>
        </string>
        <string sid="Param.StandardExtra">
            <locale lid="ru_RU">Standard Intent Extra</locale>
            <locale lid="en_US">Standard Extra</locale>
        </string>
        <string sid="Param.Extra">
            <locale lid="ru_RU">Пользовательсктй Intent Extra</locale>
            <locale lid="en_US">User Intent Extra</locale>
        </string>
        <string sid="Param.ExtraType">
            <locale lid="ru_RU">Тип данных</locale>
            <locale lid="en_US">Extra data type</locale>
        </string>
        <string sid="Param.Action">
            <locale lid="ru_RU">Пользовательское Intent Action</locale>
            <locale lid="en_US">User Intent Action</locale>
        </string>
        <string sid="Param.Category">
            <locale lid="ru_RU">Пользовательская Intent Category</locale>
            <locale lid="en_US">User Intent Category</locale>
        </string>
        <string sid="Param.LogType">
            <locale lid="ru_RU">Тип лога</locale>
            <locale lid="en_US">Log Type</locale>
        </string>
        <string sid="Param.LogFilePath">
            <locale lid="ru_RU">Лог файл</locale>
            <locale lid="en_US">Log file</locale>
        </string>
        <string sid="Param.StandardAction.Description">
            <locale lid="ru_RU">Стандартные действия перечисленные в документации Android</locale>
            <locale lid="en_US">Standad actions specified in Android documentation</locale>
        </string>
        <string sid="Param.StandardCategory.Description">
            <locale lid="ru_RU">Стандартные категории перечисленные в документации Android</locale>
            <locale lid="en_US">Standad catigories specified in Android documentation</locale>
        </string>
        <string sid="Param.StandardExtra.Description">
            <locale lid="ru_RU">Стандартные поля (Extra) перечисленные в документации Android</locale>
            <locale lid="en_US">Standad Extras specified in Android documentation</locale>
        </string>
        <string sid="Param.Extra.Description">
            <locale lid="ru_RU">Имя поля с данными</locale>
            <locale lid="en_US">Extra data key</locale>
        </string>
        <string sid="Param.ExtraType.Description">
            <locale lid="ru_RU">Тип данных передаваемый полем Extra</locale>
            <locale lid="en_US">Extra data type</locale>
        </string>
        <string sid="Param.Action.Description">
            <locale lid="ru_RU">ID произвольного действия</locale>
            <locale lid="en_US">Custom user action id</locale>
        </string>
        <string sid="Param.Category.Description">
            <locale lid="ru_RU">ID произвольной категории</locale>
            <locale lid="en_US">Custom user category id</locale>
        </string>
        <string sid="Param.LogType.Description">
            <locale lid="ru_RU">Тип лога</locale>
            <locale lid="en_US">Log Type</locale>
        </string>
        <string sid="Param.LogFilePath.Description">
            <locale lid="ru_RU">Пусть к файлу для логирования операций</locale>
            <locale lid="en_US">Path to log file to trace exchange</locale>
        </string>
        <string sid="Choice.OutputDataType.String">
            <locale lid="ru_RU">Строка</locale>
            <locale lid="en_US">String</locale>
        </string>
        <string sid="Choice.Parity.No">
            <locale lid="ru_RU">Нет</locale>
            <locale lid="en_US">No</locale>
        </string>
        <string sid="Choice.Parity.Odd">
            <locale lid="ru_RU">Нечетно</locale>
            <locale lid="en_US">Odd</locale>
        </string>
        <string sid="Choice.Parity.Even">
            <locale lid="ru_RU">Четно</locale>
            <locale lid="en_US">Even</locale>
        </string>
        <string sid="Choice.LogType.File">
            <locale lid="ru_RU">В файл</locale>
            <locale lid="en_US">To file</locale>
        </string>
        <string sid="Choice.LogType.System">
            <locale lid="ru_RU">Системный журнал</locale>
            <locale lid="en_US">System Log</locale>
        </string>
        <string sid="Choice.Device.Keyboard">
            <locale lid="ru_RU">Клавиатура</locale>
            <locale lid="en_US">Keyboard</locale>
        </string>
        <string sid="Choice.Device.Keyboard90">
            <locale lid="ru_RU">Клавиатура 9.0</locale>
            <locale lid="en_US">Keyboard 9.0</locale>
        </string>
        <string sid="Error.BadDeviceId">
            <locale lid="ru_RU">Неверный Id устройства</locale>
            <locale lid="en_US">Bad device Id</locale>
        </string>
        <string sid="Error.BadId">
            <locale lid="ru_RU">Неверный Id</locale>
            <locale lid="en_US">Bad device id</locale>
        </string>
        <string sid="Error.BadExtensionName">
            <locale lid="ru_RU">Отсутствует имя расширения или оно задано непарвильно</locale>
            <locale lid="en_US">Bad extention name</locale>
        </string>
        <string sid="Error.CantCreateDeviceId">
            <locale lid="ru_RU">Невозможно создать Id для устройства</locale>
            <locale lid="en_US">Cant create device Id</locale>
        </string>
        <string sid="Error.KeyboardWithoutSuffix">
            <locale lid="ru_RU">Использование клавиатурного режима без суффикса не допускается. Установите суффикс.</locale>
            <locale lid="en_US">Keyboard mode without suffix is not allowed. Set suffix in settings.</locale>
        </string>
        <string sid="Error.UnexpectedSettingsCheck">
            <locale lid="ru_RU">Непредивденная ошибка во время проверки настроек</locale>
            <locale lid="en_US">unexpected error while check settings</locale>
        </string>
        <string sid="Error.CallbackNotSet">
            <locale lid="ru_RU">Не задана функция оповещения</locale>
            <locale lid="en_US">Callback function not set</locale>
        </string>
        <string sid="Error.WrongDevice">
            <locale lid="ru_RU">Устройство задано не верно</locale>
            <locale lid="en_US">Wrond device id</locale>
        </string>
        <string sid="Error.CreateDeviceFailed">
            <locale lid="ru_RU">Не удалось создать устройство</locale>
            <locale lid="en_US">Failed to create device</locale>
        </string>
        <string sid="Error.OpenDeviceFailed">
            <locale lid="ru_RU">Не удалось открыть устройство. Проверьте связь.</locale>
            <locale lid="en_US">Failed to open device. Check connection</locale>
        </string>
        <string sid="Error.AlreadyOpened">
            <locale lid="ru_RU">Устройство с такими параметрами уже открыто</locale>
            <locale lid="en_US">Device with such parameters already opened</locale>
        </string>
        <string sid="Error.IntentActionNotSet">
            <locale lid="ru_RU">Не задан идентификатор Intent Action</locale>
            <locale lid="en_US">Intent Action name not set</locale>
        </string>
        <string sid="Error.IntentExtraNotSet">
            <locale lid="ru_RU">Не задан Intent Extra</locale>
            <locale lid="en_US">Intent Extra not set</locale>
        </string>
    </strings>
</localization>
)xml";

int localeOfCode(const char* lid)
{
    return PString(lid).contains(PString("ru")) ? PLocale::Russian : PLocale::English;
}

void badFormat()
{
    throw TRANSLATION_ERROR(PError::BadArgument, "Bad xml localization format");
}

}

PTranslation::PTranslation() : d(new PTranslationPrivate) {}

PTranslation::~PTranslation() = default;

PString PTranslation::tr(const PString& id, const PString& fallback, int locale) const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    if (!d->table.hasKey(locale))
        return fallback;
    return d->table.value(locale).value(id, fallback);
}

void PTranslation::setTr(const PString& id, int locale, const PString& text)
{
    std::lock_guard<std::mutex> lock(d->mutex);
    PTextById texts = d->table.value(locale);
    texts.setValue(id, text);
    d->table.setValue(locale, texts);
}

bool PTranslation::load(const std::string& xml, PError* error)
{
    PError local;
    std::map<std::string, std::map<int, std::string>> read;
    try {
        tinyxml2::XMLDocument document;
        if (document.Parse(xml.c_str(), xml.size()) != tinyxml2::XML_SUCCESS)
            throw TRANSLATION_ERROR(PError::BadArgument, "Bad xml");
        const tinyxml2::XMLElement* root = document.FirstChildElement("localization");
        const tinyxml2::XMLElement* strings = root ? root->FirstChildElement("strings") : nullptr;
        if (!strings)
            badFormat();
        for (const tinyxml2::XMLElement* string = strings->FirstChildElement(); string;
             string = string->NextSiblingElement()) {
            const char* sid = string->Attribute("sid");
            if (std::string(string->Value()) != "string" || !sid)
                badFormat();
            for (const tinyxml2::XMLElement* locale = string->FirstChildElement(); locale;
                 locale = locale->NextSiblingElement()) {
                const char* lid = locale->Attribute("lid");
                const char* text = locale->GetText();
                if (std::string(locale->Value()) != "locale" || !lid || !text || !*text)
                    badFormat();
                read[sid][localeOfCode(lid)] = text;
            }
        }
    } catch (...) {
        local = PError::fromCurrentException(TRANSLATION_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    if (!PError::settle(local, error))
        return false;
    for (const auto& string : read)
        for (const auto& text : string.second)
            setTr(PString(string.first), text.first, PString(text.second));
    return true;
}

bool PTranslation::isEmpty() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->table.empty();
}

void PTranslation::clear()
{
    std::lock_guard<std::mutex> lock(d->mutex);
    d->table.clear();
}

namespace strake {

PTranslation* getTranslation()
{
    static auto* translation = new PTranslation;  // never destroyed: read while the process ends
    return translation;
}

PString tr(const PString& id, const PString& fallback)
{
    return getTranslation()->tr(id, fallback, PLocale::getDefaultLocaleId());
}

std::string getUTF8XmlLocalization()
{
    return kBuiltInDocument;
}

}
