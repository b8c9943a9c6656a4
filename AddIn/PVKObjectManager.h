// The registry of component objects behind the exported entry points.
#pragma once

#include "HostInterface.h"
#include "PString.h"

#include <cstddef>

// Owns every component object the host was given. Thread-safety: the registry mutex
// serialises creation and destruction; it is held across a component's constructor and
// destructor, never across a call of the host's.
class PVKObjectManager {
public:
    // Destroys the object when the registry holds it; anything else is ignored. Waits first,
    // without the registry mutex, for the host's handlers that the object's devices are
    // running on other threads, unless the caller is inside such a handler itself.
    static void destroy(IComponentBase* object);
    // Number of live component objects.
    static size_t count();
    // The classes the library offers, "InputDevice|CardReaderDevice", behind GetClassNames.
    // Lives as long as the process.
    static const PString& classNames();
    // True for one name of the list; false for the whole list, an empty name or any other.
    static bool isClassName(const PString& name);
};

extern "C" {
const char16_t* GetClassNames();
long GetClassObject(const char16_t* name, IComponentBase** slot);
long DestroyObject(IComponentBase** slot);
int GetAttachType();
int SetPlatformCapabilities(int capabilities);
}
