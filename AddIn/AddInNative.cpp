// KelmorNative: start and end, the language switch, the method table and its small handlers.
#include "AddInNative.h"

#include "PJavaConnection.h"
#include "PLocale.h"
#include "PVKObjectManager.h"
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

const char* const KelmorNative::DriverVersion = "10.1.8.6";

struct KelmorNativePrivate {
    PString extensionName = PString("InputDevice");
    PString equipmentType;  // guarded by the component's exclusive lock
};

KelmorNative::KelmorNative()
    : PlatformNativeBaseEx(PString(DriverVersion), PVKObjectManager::classNames()),
      d(new KelmorNativePrivate)
{
}

KelmorNative::~KelmorNative() = default;

bool KelmorNative::Init(void* connection)
{
    PError error;
    try {
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
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (error.isError())
        pushError(ErrorLevel, error);
    return !error.isError();
}

long KelmorNative::GetInfo()
{
    return InterfaceRevision;
}

void KelmorNative::Done()
{
    PError error;
    try {
        PExclusiveCall exclusive(*this);
        if (isInitialized())
            PlatformNativeBase::Done();
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (error.isError())
        pushError(ErrorLevel, error);
}

bool KelmorNative::RegisterExtensionAs(char16_t** out)
{
    if (!out)
        return false;
    try {
        char16_t* name = strake::AllocAndConvert(memoryManager(), d->extensionName.utf16(), nullptr);
        if (!name)
            return false;
        *out = name;
        return true;
    } catch (...) {
        return false;
    }
}

void KelmorNative::SetLocale(const char16_t* locale)
{
    try {
        const bool russian = PString(locale).contains(PString("ru"));
        PLocale::setDefaultLocaleId(russian ? PLocale::Russian : PLocale::English);
    } catch (...) {
        // Only memory exhaustion can get here; the language stays as it was.
    }
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

bool KelmorNative::notImplemented(tVariant* result, const char* method)
{
    const PString name(method);
    setLastError(P_ERROR(PError::NotImplemented,
                         pTr(name + PString(" is not implemented yet"),
                             PString("Метод ") + name + PString(" пока не реализован"))));
    strake::bool2var(result, false);
    return true;
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

bool KelmorNative::getParameters(tVariant* result, tVariant*, long, IMemoryManager*)
{
    return notImplemented(result, "GetParameters");
}

bool KelmorNative::setParameter(tVariant* result, tVariant*, long, IMemoryManager*)
{
    return notImplemented(result, "SetParameter");
}

bool KelmorNative::open(tVariant* result, tVariant*, long, IMemoryManager*)
{
    return notImplemented(result, "Open");
}

bool KelmorNative::close(tVariant* result, tVariant*, long, IMemoryManager*)
{
    return notImplemented(result, "Close");
}

bool KelmorNative::test(tVariant* result, tVariant*, long, IMemoryManager*)
{
    return notImplemented(result, "DeviceTest");
}

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
