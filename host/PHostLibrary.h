// PHostLibrary and PHostComponent: the add-in library loaded with dlopen as the platform
// loads it, and one component made through its entry points and called through its vtable.
#pragma once

#include "HostInterface.h"
#include "PHostConnection.h"
#include "PHostMemoryManager.h"

#include <memory>
#include <string>
#include <vector>

// The loaded library and its five entry points. Unloaded by the destructor (unless the
// environment sets KELMOR_HOST_KEEP_LOADED); components made from it must be gone by then. A library that failed to load has isLoaded() false and
// errorText() saying why; its entry points are then null.
class PHostLibrary {
public:
    explicit PHostLibrary(const std::string& path);
    ~PHostLibrary();
    PHostLibrary(const PHostLibrary&) = delete;
    PHostLibrary& operator=(const PHostLibrary&) = delete;

    bool isLoaded() const { return m_handle != nullptr; }
    const std::string& errorText() const { return m_error; }

    GetClassNamesFn getClassNames = nullptr;
    GetClassObjectFn getClassObject = nullptr;
    DestroyObjectFn destroyObject = nullptr;
    GetAttachTypeFn getAttachType = nullptr;
    SetPlatformCapabilitiesFn setPlatformCapabilities = nullptr;

private:
    void* m_handle = nullptr;
    std::string m_error;
};

class PHostComponent;

// One call's values as the host holds them afterwards: the result and the parameters, with
// whatever the component wrote into them. The destructor frees their strings and blobs
// through the host's manager, as the platform does once it has read them.
class PHostCall {
public:
    PHostCall(PHostMemoryManager& memory, std::vector<tVariant> params);
    ~PHostCall();
    PHostCall(PHostCall&& other) noexcept;
    PHostCall(const PHostCall&) = delete;
    PHostCall& operator=(const PHostCall&) = delete;
    PHostCall& operator=(PHostCall&&) = delete;

    long index = -1;       // the method's index, -1 when FindMethod did not know the name
    bool answered = false; // what CallAsFunc answered
    tVariant result;
    std::vector<tVariant> params;

    std::u16string resultText() const { return hostTextOf(result); }
    std::u16string paramText(size_t i) const { return hostTextOf(params.at(i)); }

private:
    PHostMemoryManager* m_memory;
    std::vector<void*> m_given;  // the host's own blocks in params before the call
};

// A component of the library, with a memory manager and a connection of its own (or given,
// not owned). Destroyed through DestroyObject. Calls go only through IComponentBase.
class PHostComponent {
public:
    PHostComponent(PHostLibrary& library, const std::u16string& className,
                   PHostMemoryManager* memory = nullptr, PHostConnection* connection = nullptr);
    ~PHostComponent();
    PHostComponent(const PHostComponent&) = delete;
    PHostComponent& operator=(const PHostComponent&) = delete;

    bool isValid() const { return m_object != nullptr; }
    // DestroyObject now, instead of at the end; its answer. The component is invalid after it.
    long destroy() { return m_library.destroyObject(&m_object); }
    IComponentBase* operator->() const { return m_object; }
    IComponentBase* object() const { return m_object; }
    PHostMemoryManager& memory() { return *m_memory; }
    PHostConnection& connection() { return *m_connection; }

    // What the platform does before the first method call: setMemManager (unless told not
    // to), Init, SetLocale and RegisterExtensionAs. False when Init answered false.
    bool attach(const std::u16string& locale = u"en_US", bool withMemoryManager = true);
    // The name RegisterExtensionAs answered in attach.
    const std::u16string& extensionName() const { return m_extensionName; }

    // FindMethod, then CallAsFunc with the parameters; strings among them should be made by
    // memory().text() so that the host can free them.
    PHostCall call(const std::u16string& name, std::vector<tVariant> params = {});
    // CallAsFunc by index with exactly the given parameters.
    PHostCall callAt(long index, std::vector<tVariant> params);
    // A copy of a host string the component handed over by GetMethodName, GetPropName or
    // RegisterExtensionAs, freed at once; empty for null.
    std::u16string take(const char16_t* handed);

private:
    PHostLibrary& m_library;
    std::unique_ptr<PHostMemoryManager> m_ownMemory;
    std::unique_ptr<PHostConnection> m_ownConnection;
    PHostMemoryManager* m_memory;
    PHostConnection* m_connection;
    IComponentBase* m_object = nullptr;
    std::u16string m_extensionName;
};
