// Loading the add-in library and driving one of its components as the platform does.
#include "PHostLibrary.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace {
template <class F>
F entry(void* handle, const char* name)
{
    return reinterpret_cast<F>(dlsym(handle, name));
}
}

PHostLibrary::PHostLibrary(const std::string& path)
{
    m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        const char* why = dlerror();
        m_error = why ? why : "cannot load " + path;
        return;
    }
    getClassNames = entry<GetClassNamesFn>(m_handle, "GetClassNames");
    getClassObject = entry<GetClassObjectFn>(m_handle, "GetClassObject");
    destroyObject = entry<DestroyObjectFn>(m_handle, "DestroyObject");
    getAttachType = entry<GetAttachTypeFn>(m_handle, "GetAttachType");
    setPlatformCapabilities = entry<SetPlatformCapabilitiesFn>(m_handle, "SetPlatformCapabilities");
    if (!getClassNames || !getClassObject || !destroyObject || !getAttachType ||
        !setPlatformCapabilities) {
        m_error = path + " lacks an entry point";
        dlclose(m_handle);
        m_handle = nullptr;
        getClassNames = nullptr;
        getClassObject = nullptr;
        destroyObject = nullptr;
        getAttachType = nullptr;
        setPlatformCapabilities = nullptr;
    }
}

PHostLibrary::~PHostLibrary()
{
    // KELMOR_HOST_KEEP_LOADED keeps the code mapped, so that a leak report at exit can name
    // the library's functions.
    const char* keep = std::getenv("KELMOR_HOST_KEEP_LOADED");
    if (m_handle && !(keep && *keep))
        dlclose(m_handle);
}

PHostCall::PHostCall(PHostMemoryManager& memory, std::vector<tVariant> values)
    : params(std::move(values)), m_memory(&memory)
{
    std::memset(&result, 0, sizeof result);
    for (const tVariant& value : params)
        if (hostValueHoldsBlock(value) && memory.owns(value.pstrVal))
            m_given.push_back(value.pstrVal);
}

PHostCall::PHostCall(PHostCall&& other) noexcept
    : index(other.index), answered(other.answered), result(other.result),
      params(std::move(other.params)), m_memory(other.m_memory), m_given(std::move(other.m_given))
{
    std::memset(&other.result, 0, sizeof other.result);
    other.params.clear();
    other.m_given.clear();
}

PHostCall::~PHostCall()
{
    // A component that wrote over a parameter replaced the pointer: the host's own block
    // is freed apart from what the component put there.
    for (tVariant& value : params) {
        for (void*& given : m_given)
            if (hostValueHoldsBlock(value) && given == value.pstrVal)
                given = nullptr;
        m_memory->release(value);
    }
    for (void* given : m_given)
        if (given)
            m_memory->freeMemory(&given);
    m_memory->release(result);
}

PHostComponent::PHostComponent(PHostLibrary& library, const std::u16string& className,
                               PHostMemoryManager* memory, PHostConnection* connection)
    : m_library(library), m_memory(memory), m_connection(connection)
{
    if (!m_memory) {
        m_ownMemory.reset(new PHostMemoryManager);
        m_memory = m_ownMemory.get();
    }
    if (!m_connection) {
        m_ownConnection.reset(new PHostConnection);
        m_connection = m_ownConnection.get();
    }
    if (library.getClassObject)
        library.getClassObject(className.c_str(), &m_object);
}

PHostComponent::~PHostComponent()
{
    if (m_object)
        m_library.destroyObject(&m_object);
}

bool PHostComponent::attach(const std::u16string& locale, bool withMemoryManager)
{
    if (!m_object)
        return false;
    if (withMemoryManager)
        m_object->setMemManager(static_cast<IMemoryManager*>(m_memory));
    if (!m_object->Init(static_cast<IAddInDefBaseEx*>(m_connection)))
        return false;
    m_object->SetLocale(locale.c_str());
    char16_t* name = nullptr;
    if (m_object->RegisterExtensionAs(&name))
        m_extensionName = take(name);
    return true;
}

PHostCall PHostComponent::call(const std::u16string& name, std::vector<tVariant> params)
{
    const long index = m_object ? m_object->FindMethod(name.c_str()) : -1;
    if (index < 0) {
        PHostCall failed(*m_memory, std::move(params));
        return failed;
    }
    return callAt(index, std::move(params));
}

PHostCall PHostComponent::callAt(long index, std::vector<tVariant> params)
{
    PHostCall call(*m_memory, std::move(params));
    call.index = index;
    if (m_object)
        call.answered = m_object->CallAsFunc(index, &call.result,
                                             call.params.empty() ? nullptr : call.params.data(),
                                             static_cast<long>(call.params.size()));
    return call;
}

std::u16string PHostComponent::take(const char16_t* handed)
{
    if (!handed)
        return std::u16string();
    std::u16string copy(handed);
    void* block = const_cast<char16_t*>(handed);
    m_memory->freeMemory(&block);
    return copy;
}
