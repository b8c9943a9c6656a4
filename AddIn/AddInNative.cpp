// KelmorNative: start and end, the language switch, the method table, the settings, the
// device methods and the delivery of input to the host.
#include "AddInNative.h"

#include "Device.h"
#include "DeviceManager.h"
#include "KelmorNames.h"
#include "PCallGate.h"
#include "PEvent.h"
#include "PEventKeys.h"
#include "PJavaConnection.h"
#include "PLocale.h"
#include "PVKSettings.h"
#include "StrakeVariant.h"

#include <cstring>

namespace {

struct MethodRow {
    const char16_t* name;
    const char16_t* alias;
    const char* signature;
    bool (KelmorNative::*handler)(tVariant*, tVariant*, long, IMemoryManager*);
};

}

const char* const KelmorNative::DriverVersion = KelmorNames::DriverVersion;

namespace {

// The texts handed to the host with an event. They are not const for the host, so it gets
// copies; kept per thread, so that a code costs no allocation once they have grown. A call
// made from inside the host's handler on the same thread (depth above 0) has its own.
struct HostTexts {
    std::u16string source;
    std::u16string message;
    std::u16string data;
    int depth = 0;
};
thread_local HostTexts hostTexts;

// The bytes as UTF-16, as PString reads UTF-8; plain ASCII, the common code, is widened as it is.
void utf16Of(const PByteArray& bytes, std::u16string& out)
{
    const unsigned char* begin = bytes.constData();
    const unsigned char* end = begin + bytes.size();
    bool ascii = true;
    for (const unsigned char* at = begin; at != end && ascii; ++at)
        ascii = *at < 0x80;
    if (ascii)
        out.assign(begin, end);
    else
        out = PString(reinterpret_cast<const char*>(begin), bytes.size()).toTavrelString();
}

}

// One event on its way to the host: the connection it goes to and its texts, which belong to
// the delivering thread. Filled while the delivery reads the component and sent after it let
// go, so that the host's handler runs with nothing of the component held: the host may
// destroy the component meanwhile, from that handler or from another thread, and nobody
// waits for the handler to return.
struct KelmorHostEvent {
    IAddInDefBase* host = nullptr;
    HostTexts* texts = nullptr;
    std::unique_ptr<HostTexts> nested;

    void send()
    {
        if (!host)
            return;
        struct Depth {
            int& depth;
            explicit Depth(int& d) : depth(d) { ++depth; }
            ~Depth() { --depth; }
        } inside(hostTexts.depth);
        host->externalEvent(&texts->source[0], &texts->message[0], &texts->data[0]);
    }
};

struct KelmorNativePrivate {
    PString extensionName = PString("InputDevice");
    PString equipmentType;  // guarded by the component's exclusive lock
    PVKSettings settings;   // guarded by the component's exclusive lock
    // Devices read the component through this gate: it closes before the component goes, so
    // input of a device that outlives its component (the host did not Close it) reaches
    // nothing. A delivery holds it only while it reads the component, never over the host's
    // handler: closing it waits for a few copies at most, so it may be closed with the object
    // registry's mutex held, which that handler may want.
    std::shared_ptr<PCallGate> inputGate = std::make_shared<PCallGate>();
    // Devices call the host's handler through this one; see handlerGate().
    std::shared_ptr<PCallGate> handlerGate = std::make_shared<PCallGate>();
};

KelmorNative::KelmorNative()
    : PlatformNativeBaseEx(PString(DriverVersion), PString(KelmorNames::ClassNames)),
      d(new KelmorNativePrivate)
{
}

KelmorNative::~KelmorNative()
{
    // Waits only for deliveries that are reading the component on other threads; those in the
    // host's handler hold nothing of it.
    d->handlerGate->shut();
    d->inputGate->close();
}

std::shared_ptr<PCallGate> KelmorNative::handlerGate() const
{
    return d->handlerGate;
}

bool KelmorNative::insideHostHandler()
{
    return hostTexts.depth > 0;
}

bool KelmorNative::Init(void* connection)
{
    return hostCall(false, __PRETTY_FUNCTION__, __LINE__, [&] {
        PExclusiveCall exclusive(*this);
        if (!isInitialized()) {
            // Java first: the devices that this component opens make their companions there.
            strake::connectJava(static_cast<IAddInDefBaseEx*>(connection),
                                PString("com_tavrel_Kelmor"));
            PlatformNativeBase::Init(connection);
            if (isInitialized())
                this->connection()->setEventBufferDepth(EventBufferDepth);
            // Built once, also when a host calls Init again after one without a connection.
            if (methodsCount() == 0) {
                initSetters();
                initProperties();
                initMethods();
            }
        }
        return true;
    }, PError::StandardText::Kept);
}

long KelmorNative::GetInfo()
{
    return InterfaceRevision;
}

void KelmorNative::Done()
{
    hostCall(false, __PRETTY_FUNCTION__, __LINE__, [&] {
        PExclusiveCall exclusive(*this);
        if (isInitialized())
            PlatformNativeBase::Done();
        return true;
    }, PError::StandardText::Kept);
}

bool KelmorNative::RegisterExtensionAs(char16_t** out)
{
    if (!out)
        return false;
    return hostCall(false, __PRETTY_FUNCTION__, __LINE__, [&] {
        char16_t* name = strake::AllocAndConvert(memoryManager(), d->extensionName.utf16(), nullptr);
        if (!name)
            return false;
        *out = name;
        return true;
    });
}

void KelmorNative::SetLocale(const char16_t* locale)
{
    hostCall(false, __PRETTY_FUNCTION__, __LINE__, [&] {
        const bool russian = PString(locale).contains(PString("ru"));
        PLocale::setDefaultLocaleId(russian ? PLocale::Russian : PLocale::English);
        // The labels of the form follow the language; values set before are gone with them.
        rebuildSettings();
        return true;
    });
}

void KelmorNative::rebuildSettings()
{
    PVKSettings fresh;
    DeviceManager::fillSettings(&fresh);
    PExclusiveCall exclusive(*this);
    d->settings = std::move(fresh);
}

void KelmorNative::setExtentionName(const PString& name)
{
    d->extensionName = name;
}

PString KelmorNative::getExtentionName() const
{
    return d->extensionName;
}

void KelmorNative::setEquipmentType(const PString& type)
{
    d->equipmentType = type;
}

PString KelmorNative::equipmentType() const
{
    return d->equipmentType;
}

void KelmorNative::initMethods()
{
    // The positions are the host's method indexes. DoAdditionalAction stands twice, as hosts
    // have always seen it; a look-up by name finds the later row.
    static const MethodRow rows[] = {
        {u"GetDescription", u"ПолучитьОписание", "BOOL(REF)", &KelmorNative::getDescription},
        {u"GetParameters", u"ПолучитьПараметры", "BOOL(REF)", &KelmorNative::getParameters},
        {u"SetParameter", u"УстановитьПараметр", "BOOL(WSTR,REF)", &KelmorNative::setParameter},
        {u"Open", u"Подключить", "BOOL(REF)", &KelmorNative::open},
        {u"Close", u"Отключить", "BOOL(WSTR)", &KelmorNative::close},
        {u"DeviceTest", u"ТестУстройства", "BOOL(REF,REF)", &KelmorNative::test},
        {u"GetAdditionalActions", u"ПолучитьДополнительныеДействия", "BOOL(REF)",
         &KelmorNative::getAdditionalActions},
        {u"DoAdditionalAction", u"ВыполнитьДополнительноеДействие", "BOOL(WSTR)",
         &KelmorNative::doAdditionalAction},
        {u"DoAdditionalAction", u"ВыполнитьДополнительноеДействие", "BOOL(WSTR)",
         &KelmorNative::doAdditionalAction},
        {u"GetInterfaceRevision", u"ПолучитьРевизиюИнтерфейса", "REF()",
         &KelmorNative::getInterfaceRevision},
        {u"GetLastError", u"ПолучитьОшибку", "REF(REF)", &KelmorNative::GetLastError},
        {u"Version", u"ПолучитьНомерВерсии", "REF()", &KelmorNative::getVersion},
    };
    for (const MethodRow& row : rows) {
        auto handler = row.handler;
        addMethod(PMethod(PString(row.name), PMethodSemantic::fromString(row.signature),
                          [this, handler](tVariant* result, tVariant* params, long count,
                                          IMemoryManager* manager) {
                              return (this->*handler)(result, params, count, manager);
                          }),
                  PString(row.alias));
    }
}

void KelmorNative::initProperties() {}

void KelmorNative::initSetters() {}

void KelmorNative::textOut(tVariant* slot, const PString& text, IMemoryManager* manager)
{
    // An empty text keeps the slot's old pointer; whatever the host had there (a number, its
    // own string) must not be taken for text of ours, so the slot starts empty.
    strake::empty2var(slot);
    if (!strake::_tavrelstr2var(slot, text.toTavrelString(), manager))
        throw P_ERROR(PError::GeneralFailure, pTr("The host gave no memory for the answer",
                                                  "Платформа не выделила память для ответа"));
}

bool KelmorNative::getDescription(tVariant* result, tVariant* params, long, IMemoryManager* manager)
{
    const PString version(DriverVersion);
    const PString attributes[][2] = {
        {"Name", pTr("Tavrel: Input device driver", "Tavrel: Драйвер устройств ввода")},
        {"Description", pTr("Driver for input devices", "Драйвер для подключения устройств ввода")},
        {"EquipmentType", pTr("Input device", "Устройств ввода")},
        {"IntegrationComponent", "false"},
        {"MainDriverInstalled", "true"},
        {"DriverVersion", version},
        {"IntegrationComponentVersion", version},
        {"DownloadURL", ""},
        {"LogIsEnabled", "false"},
        {"LogPath", ""},
    };
    PString document("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DriverDescription \n");
    for (const auto& attribute : attributes)
        document += attribute[0] + PString("=\"") + attribute[1] + PString("\" \n");
    document += PString("/> \n");
    textOut(&params[0], document, manager);
    strake::bool2var(result, true);
    return true;
}

bool KelmorNative::getParameters(tVariant* result, tVariant* params, long, IMemoryManager* manager)
{
    rebuildSettings();
    PString xml;
    {
        PExclusiveCall exclusive(*this);
        xml = d->settings.getXML();
    }
    textOut(&params[0], xml, manager);
    strake::bool2var(result, true);
    return true;
}

bool KelmorNative::setParameter(tVariant* result, tVariant* params, long, IMemoryManager*)
{
    const PString name = strake::var2pstring(&params[0]);
    bool stored = true;
    {
        PExclusiveCall exclusive(*this);
        if (name == PString("EquipmentType")) {
            d->equipmentType = strake::var2var(&params[1]).toPString();
        } else if (!d->settings.setParameter(name, &params[1])) {
            stored = false;
            setLastError(d->settings.getLastError());
        }
    }
    strake::bool2var(result, stored);
    return true;
}

namespace {

// The keys the component adds are no keys of the catalogue: setValue alone would drop them.
void putValue(PPropertyBag& bag, const PString& key, const PVariant& value)
{
    if (!bag.addValue(key, value))
        bag.setValue(key, value);
}

}

PPropertyBag KelmorNative::deviceSettings() const
{
    PPropertyBag settings;
    PString equipmentType;
    {
        PExclusiveCall exclusive(const_cast<KelmorNative&>(*this));
        settings = d->settings.getSettings();
        equipmentType = d->equipmentType;
    }
    static const PString names[][2] = {
        {"InputDevice", "Barcode"},
        {"СканерШтрихкода", "Штрихкод"},
        {"УстройствоВвода", "Штрихкод"},
        {"CardReaderDevice", "TrackData"},
        {"СчитывательМагнитныхКарт", "ДанныеКарты"},
        {"ДанныеКарты", "ДанныеКарты"},
    };
    PString eventName;
    for (const auto& row : names) {
        if (row[0] == equipmentType) {
            eventName = row[1];
            break;
        }
    }
    if (settings.value(PEventKeys::OutputDataTypeKey()).toInt() == 1)
        eventName += PString("Base64");
    putValue(settings, PEventKeys::EventNameKey(), PVariant(eventName));
    putValue(settings, PEventKeys::EquipmentTypeKey(), PVariant(equipmentType));
    putValue(settings, PString("AppType"), PVariant(appType()));
    return settings;
}

int KelmorNative::appType() const
{
    auto* host = static_cast<IAddInDefBaseEx*>(connection());
    if (!host)
        return eAppUnknown;
    auto* platform = static_cast<IHostPlatformInfo*>(host->queryInterface(eHostPlatformInfo));
    const HostAppInfo* info = platform ? platform->getPlatformInfo() : nullptr;
    return info ? info->application : eAppUnknown;
}

bool KelmorNative::open(tVariant* result, tVariant* params, long, IMemoryManager* manager)
{
    PPropertyBag settings = deviceSettings();
    PError error;
    try {
        if (DeviceManager::isAlreadyOpened(settings))
            throw P_ERROR(PError::DeviceFailure,
                          pTr("Device with such parameters already opened",
                              "Устройство с такими параметрами уже открыто"));
        PString id;
        std::shared_ptr<Device> device = DeviceManager::create(getExtentionName(), &id);
        if (!device)
            throw DeviceManager::getLastError();
        putValue(settings, PEventKeys::DevIdKey(), PVariant(id));

        // The callbacks hold the gate, not the component: a device may outlive it.
        const std::shared_ptr<PCallGate> gate = d->inputGate;
        const std::shared_ptr<PCallGate> handlerGate = d->handlerGate;
        KelmorNative* const component = this;
        auto input = [gate, handlerGate, component](PEvent* event) {
            KelmorHostEvent out;
            {
                PCallGate::Pass pass(*gate);
                if (!pass || !component->takeInputEvent(event, out))
                    return;
            }
            PCallGate::Pass inHandler(*handlerGate);
            if (inHandler)
                out.send();
        };
        auto deviceError = [gate, component](const PError& failure) {
            PCallGate::Pass pass(*gate);
            if (pass)
                component->onDeviceError(failure);
        };
        for (int attempt = 0; attempt < OpenAttempts; ++attempt) {
            if (device->open(settings, input, deviceError))
                break;
        }
        if (device->isOpened()) {
            textOut(&params[0], id, manager);
            strake::bool2var(result, true);
            return true;
        }
        error = device->getLastError();
        DeviceManager::destroy(id);
    } catch (...) {
        error = PError::fromCurrentException();
    }
    strake::empty2var(&params[0]);
    strake::bool2var(result, false);
    setLastError(error);
    return true;
}

bool KelmorNative::close(tVariant* result, tVariant* params, long, IMemoryManager*)
{
    const PString id = strake::var2pstring(&params[0]);
    PError error;
    if (std::shared_ptr<Device> device = DeviceManager::get(id)) {
        if (!device->close())
            error = device->getLastError();
    } else {
        error = DeviceManager::getLastError();
    }
    DeviceManager::destroy(id);
    strake::bool2var(result, !error.isError());
    if (error.isError())
        setLastError(error);
    return true;
}

bool KelmorNative::test(tVariant* result, tVariant* params, long, IMemoryManager* manager)
{
    PError error;
    try {
        if (!DeviceManager::test(deviceSettings()))
            error = DeviceManager::getLastError();
    } catch (...) {
        error = PError::fromCurrentException();
    }
    const bool passed = !error.isError();
    textOut(&params[0], passed ? pTr("Successfull connect", "Успешное подключение") : PString(),
            manager);
    textOut(&params[1], PString(), manager);
    strake::bool2var(result, passed);
    if (!passed)
        setLastError(error);
    return true;
}

void KelmorNative::onInputEvent(PEvent* event)
{
    KelmorHostEvent out;
    if (takeInputEvent(event, out))
        out.send();
}

bool KelmorNative::takeInputEvent(PEvent* event, KelmorHostEvent& out)
{
    if (!event)
        return false;
    // The event is the processor's, held for the length of this call: its values are borrowed.
    const PVariant& inputValue = event->borrowValue(PEventKeys::InputKey());
    const PByteArray converted = inputValue.bytesOf() ? PByteArray() : inputValue.toByteArray();
    const PByteArray& input = inputValue.bytesOf() ? *inputValue.bytesOf() : converted;
    IAddInDefBase* host = connection();
    if (!host || input.isEmpty())
        return false;
    const PVariant& nameValue = event->borrowValue(PEventKeys::EventNameKey());
    const PVariant& idValue = event->borrowValue(PEventKeys::DevIdKey());
    const PString convertedName = nameValue.textOf() ? PString() : nameValue.toPString();
    const PString convertedId = idValue.textOf() ? PString() : idValue.toPString();
    const PString& eventName = nameValue.textOf() ? *nameValue.textOf() : convertedName;
    const PString& deviceId = idValue.textOf() ? *idValue.textOf() : convertedId;
    if (eventName.isEmpty()) {
        setLastError(P_ERROR(PError::BadArgument, PString("bad event name")));
        return false;
    }
    if (deviceId.isEmpty()) {
        setLastError(P_ERROR(PError::BadArgument, PString(" obtained bad device id")));
        return false;
    }
    if (hostTexts.depth > 0)
        out.nested.reset(new HostTexts);
    HostTexts& texts = out.nested ? *out.nested : hostTexts;
    utf16Of(input, texts.data);
    if (texts.data.empty())
        return false;
    texts.source = deviceId.toTavrelString();
    texts.message = eventName.toTavrelString();
    out.host = host;
    out.texts = &texts;
    return true;
}

void KelmorNative::onDeviceError(const PError&) {}

bool KelmorNative::getAdditionalActions(tVariant* result, tVariant* params, long,
                                        IMemoryManager* manager)
{
    textOut(&params[0], PString(), manager);
    strake::bool2var(result, true);
    return true;
}

bool KelmorNative::doAdditionalAction(tVariant* result, tVariant* params, long, IMemoryManager*)
{
    strake::null2var(&params[0]);
    strake::bool2var(result, true);
    return true;
}

bool KelmorNative::getInterfaceRevision(tVariant* result, tVariant*, long, IMemoryManager*)
{
    strake::int2var(result, static_cast<unsigned long>(GetInfo()), VTYPE_I4);
    return true;
}

bool KelmorNative::GetLastError(tVariant* result, tVariant* params, long, IMemoryManager* manager)
{
    const PError error = getLastError();
    textOut(&params[0], error.message(), manager);
    strake::int2var(result, static_cast<unsigned long>(static_cast<long>(error.code())),
                    VTYPE_HRESULT);
    return true;
}

bool KelmorNative::getVersion(tVariant* result, tVariant*, long, IMemoryManager* manager)
{
    textOut(result, PString(DriverVersion), manager);
    return true;
}
