// The five exported entry points and the registry of component objects.
#include "PVKObjectManager.h"

#include "AddInNative.h"
#include "DeviceManager.h"
#include "KelmorNames.h"
#include "PCallGate.h"
#include "PGlobal.h"
#include "PJavaConnection.h"
#include "PLogger.h"
#include "PString.h"
#include "PTranslation.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace {

const PString gClassNamesWide(KelmorNames::ClassNames);
const std::u16string gClassNames = gClassNamesWide.toTavrelString();

struct PVKObjectManagerPrivate {
    std::mutex mutex;  // guards objects; held across a component's construction and destruction
    std::map<uint64_t, IComponentBase*> objects;
};

// Never destroyed: a host may still destroy a component from its own static destructors.
PVKObjectManagerPrivate& registry()
{
    static auto* instance = new PVKObjectManagerPrivate;
    return *instance;
}

uint64_t keyOf(const IComponentBase* object)
{
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(object));
}

}

void PVKObjectManager::destroy(IComponentBase* object)
{
    PVKObjectManagerPrivate& r = registry();
    // The host's handlers under way for this component end first, outside the mutex, which
    // such a handler may want. A thread inside a handler itself doesn't wait: the other
    // handler may be waiting for it; those deliveries then touch only the host's connection.
    std::shared_ptr<PCallGate> handlers;
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        auto found = r.objects.find(keyOf(object));
        if (found != r.objects.end())
            handlers = static_cast<KelmorNative*>(found->second)->handlerGate();
    }
    if (handlers && KelmorNative::insideHostHandler())
        handlers->shut();
    else if (handlers)
        handlers->close();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto found = r.objects.find(keyOf(object));
    if (found != r.objects.end()) {
        delete found->second;
        r.objects.erase(found);
    }
    // The last component takes the process-wide state down; the next one builds it again.
    if (r.objects.empty()) {
        DeviceManager::close();
        if (!strake::getTranslation()->isEmpty())
            strake::getTranslation()->clear();
        strake::disconnectJava();
    }
}

size_t PVKObjectManager::count()
{
    PVKObjectManagerPrivate& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.objects.size();
}

const PString& PVKObjectManager::classNames()
{
    return gClassNamesWide;
}

bool PVKObjectManager::isClassName(const PString& name)
{
    const std::string wanted = name.toStdString();
    if (wanted.empty() || wanted.find('|') != std::string::npos)
        return false;
    return ("|" + gClassNamesWide.toStdString() + "|").find("|" + wanted + "|") != std::string::npos;
}

extern "C" KELMOR_EXPORT const char16_t* GetClassNames()
{
    trace("Strake", "GetClassNames");
    return gClassNames.c_str();
}

extern "C" KELMOR_EXPORT long GetClassObject(const char16_t* name, IComponentBase** slot)
{
    if (!slot)
        return 0;
    if (*slot)
        return static_cast<long>(reinterpret_cast<intptr_t>(*slot));
    try {
        const PString className(name);
        if (!PVKObjectManager::isClassName(className))
            return static_cast<long>(reinterpret_cast<intptr_t>(*slot));
        KelmorNative* object = nullptr;
        {
            PVKObjectManagerPrivate& r = registry();
            std::lock_guard<std::mutex> lock(r.mutex);
            if (r.objects.empty() && strake::getTranslation()->isEmpty())
                strake::getTranslation()->load(strake::getUTF8XmlLocalization(), nullptr);
            object = new KelmorNative();
            r.objects[keyOf(object)] = object;
        }
        object->setExtentionName(className);
        *slot = object;
        return static_cast<long>(reinterpret_cast<intptr_t>(object));
    } catch (...) {
        return 0;
    }
}

extern "C" KELMOR_EXPORT long DestroyObject(IComponentBase** slot)
{
    if (!slot || !*slot)
        return -1;
    try {
        PVKObjectManager::destroy(*slot);
    } catch (...) {
        // A destructor that fails still leaves the slot cleared: the host must not reuse it.
    }
    *slot = nullptr;
    return 0;
}

extern "C" KELMOR_EXPORT int GetAttachType()
{
    return eCanAttachAny;
}

extern "C" KELMOR_EXPORT int SetPlatformCapabilities(int)
{
    return 3;
}
