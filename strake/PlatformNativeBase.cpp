// The host's component interface answered from the method and property table.
#include "PlatformNativeBase.h"

#include "StrakeVariant.h"

#include <string>

namespace {
const char* const kModule = "jni/../../strake/PlatformNativeBase";
}

struct PlatformNativeBasePrivate {
    PString version;
    PString extensionName;
    mutable std::mutex errorMutex;  // guards lastError
    PError lastError;
};

void PlatformNativeBase::reportCurrentException(const char* function, int line,
                                                PError::StandardText standard)
{
    const PError error = PError::fromCurrentException(
        PError(PError::GeneralFailure, PString(), PString(kModule), PString(function), line), standard);
    if (error.isError())
        pushError(ErrorLevel, error);
}

PMethod PlatformNativeBase::methodAt(long index, const char* function, int line) const
{
    PMethod method = getMethod(static_cast<unsigned long>(index));
    if (!method.isValid())
        throw PError(PError::GeneralFailure,
                     PString("no method found for index ") + PString(std::to_string(index)),
                     PString(kModule), PString(function), line);
    return method;
}

PProperty PlatformNativeBase::propertyAt(long index, const char* message, const char* function,
                                         int line) const
{
    PProperty property = getProperty(static_cast<unsigned long>(index));
    if (!property.isValid())
        throw PError(PError::GeneralFailure, PString(message) + PString(std::to_string(index)),
                     PString(kModule), PString(function), line);
    return property;
}

// Errors carry the signature of the host operation, also when raised inside its lambda.
#define HOST_SITE const char* const site = __PRETTY_FUNCTION__
#define METHOD_AT(index) methodAt(index, site, __LINE__)
#define PROPERTY_AT(index) propertyAt(index, "no prop found for index ", site, __LINE__)
#define HOST_CALL(failed, work) hostCall(failed, site, __LINE__, work)

PlatformNativeBase::PlatformNativeBase() : d(new PlatformNativeBasePrivate) {}

PlatformNativeBase::PlatformNativeBase(const PString& version, const PString& extensionName)
    : PlatformNativeBase()
{
    d->version = version;
    d->extensionName = extensionName;
}

PlatformNativeBase::~PlatformNativeBase() = default;

bool PlatformNativeBase::Init(void* connection)
{
    m_connection = static_cast<IAddInDefBase*>(connection);
    return isInitialized();
}

bool PlatformNativeBase::setMemManager(void* memoryManager)
{
    m_memoryManager = static_cast<IMemoryManager*>(memoryManager);
    return m_memoryManager != nullptr;
}

long PlatformNativeBase::GetInfo()
{
    return InterfaceRevision;
}

void PlatformNativeBase::Done() {}

void PlatformNativeBase::SetUserInterfaceLanguageCode(const char16_t* code)
{
    SetLocale(code);
}

bool PlatformNativeBase::RegisterExtensionAs(char16_t** out)
{
    HOST_SITE;
    if (!m_memoryManager || !out)
        return false;
    return HOST_CALL(false, [&] {
        char16_t* name = strake::AllocAndConvert(m_memoryManager, d->extensionName.utf16(), nullptr);
        if (!name)
            return false;
        *out = name;
        return true;
    });
}

long PlatformNativeBase::GetNProps()
{
    return static_cast<long>(propertiesCount());
}

long PlatformNativeBase::FindProp(const char16_t* name)
{
    HOST_SITE;
    if (!name)
        return -1;
    return HOST_CALL(-1L, [&] { return findProperty(PString(name)); });
}

const char16_t* PlatformNativeBase::GetPropName(long index, long alias)
{
    HOST_SITE;
    return HOST_CALL(static_cast<const char16_t*>(nullptr), [&]() -> const char16_t* {
        const PProperty property = PROPERTY_AT(index);
        const PString name = alias == 0 ? property.name() : propAlias(property.name());
        return strake::AllocAndConvert(m_memoryManager, name.utf16(), nullptr);
    });
}

bool PlatformNativeBase::GetPropVal(long index, tVariant* value)
{
    HOST_SITE;
    return HOST_CALL(false, [&] {
        const PProperty property = PROPERTY_AT(index);
        PError error;
        if (!property.getValue(value, m_memoryManager, &error))
            throw error;
        return true;
    });
}

bool PlatformNativeBase::SetPropVal(long index, tVariant* value)
{
    HOST_SITE;
    return HOST_CALL(false, [&] {
        // A setter gets no allocator: nothing to hand over, nothing to copy.
        PProperty property = PROPERTY_AT(index);
        PError error;
        if (!property.setValue(value, &error))
            throw error;
        return true;
    });
}

bool PlatformNativeBase::IsPropReadable(long index)
{
    HOST_SITE;
    return HOST_CALL(false, [&] { return PROPERTY_AT(index).isReadable(); });
}

bool PlatformNativeBase::IsPropWritable(long index)
{
    HOST_SITE;
    // This operation's message has never had a blank before the index; hosts may match it.
    return HOST_CALL(false, [&] {
        return propertyAt(index, "no prop found for index", site, __LINE__)
            .isWritable();
    });
}

long PlatformNativeBase::GetNMethods()
{
    return static_cast<long>(methodsCount());
}

long PlatformNativeBase::FindMethod(const char16_t* name)
{
    HOST_SITE;
    if (!name)
        return -1;
    return HOST_CALL(-1L, [&] { return findMethod(PString(name)); });
}

const char16_t* PlatformNativeBase::GetMethodName(long index, long alias)
{
    HOST_SITE;
    return HOST_CALL(static_cast<const char16_t*>(nullptr), [&]() -> const char16_t* {
        const PMethod method = METHOD_AT(index);
        const PString name = alias == 0 ? method.name() : methodAlias(method.name());
        return strake::AllocAndConvert(m_memoryManager, name.utf16(), nullptr);
    });
}

long PlatformNativeBase::GetNParams(long index)
{
    HOST_SITE;
    return HOST_CALL(0L, [&] {
        return static_cast<long>(METHOD_AT(index).semantics().parametersCount());
    });
}

bool PlatformNativeBase::GetParamDefValue(long index, long param, tVariant* value)
{
    HOST_SITE;
    return HOST_CALL(false, [&] {
        const PVariant def = METHOD_AT(index).semantics().defValue(static_cast<unsigned long>(param));
        return def.isValid() && strake::make_variant(value, def, m_memoryManager);
    });
}

bool PlatformNativeBase::HasRetVal(long index)
{
    HOST_SITE;
    return HOST_CALL(false, [&] { return METHOD_AT(index).semantics().hasRetValue(); });
}

bool PlatformNativeBase::CallAsProc(long index, tVariant* params, long count)
{
    HOST_SITE;
    return HOST_CALL(false, [&] {
        const PMethod method = METHOD_AT(index);
        if (method.hasRetValue())
            throw PError(PError::GeneralFailure,
                         PString("no proc-method found for index ") +
                             PString(std::to_string(index)),
                         PString(kModule), PString(site), __LINE__);
        method.call(nullptr, params, count, m_memoryManager, nullptr);
        return true;
    });
}

bool PlatformNativeBase::CallAsFunc(long index, tVariant* result, tVariant* params, long count)
{
    HOST_SITE;
    return HOST_CALL(false, [&] {
        METHOD_AT(index).call(result, params, count, m_memoryManager, nullptr);
        return true;
    });
}

bool PlatformNativeBase::isInitialized() const
{
    return m_connection != nullptr;
}

PError PlatformNativeBase::getLastError() const
{
    std::lock_guard<std::mutex> lock(d->errorMutex);
    return d->lastError;
}

void PlatformNativeBase::setLastError(const PError& error)
{
    std::lock_guard<std::mutex> lock(d->errorMutex);
    d->lastError = error;
}

void PlatformNativeBase::pushError(int level, const PString& source, const PError& error)
{
    try {
        setLastError(error);
        if (m_connection)
            m_connection->reportError(static_cast<unsigned short>(level), source.utf16(),
                                      error.message().utf16(), static_cast<long>(error.code()));
    } catch (...) {
        // A report that cannot be built is dropped: this runs on the way out to the host.
    }
}

void PlatformNativeBase::pushError(int level, const PError& error)
{
    pushError(level, d->extensionName, error);
}

PString PlatformNativeBase::version() const
{
    return d->version;
}

PString PlatformNativeBase::extensionName() const
{
    return d->extensionName;
}

PlatformNativeBaseEx::PlatformNativeBaseEx() : m_exclusive(new std::mutex) {}

PlatformNativeBaseEx::PlatformNativeBaseEx(const PString& version, const PString& extensionName)
    : PlatformNativeBase(version, extensionName), m_exclusive(new std::mutex)
{
}

PlatformNativeBaseEx::~PlatformNativeBaseEx() = default;

void PlatformNativeBaseEx::exclusiveCallBegin()
{
    m_exclusive->lock();
}

void PlatformNativeBaseEx::exclusiveCallEnd()
{
    m_exclusive->unlock();
}
