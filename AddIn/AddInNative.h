// KelmorNative: the driver component the host creates by class name, with its method table.
#pragma once

#include "PlatformNativeBase.h"
#include "PPropertyBag.h"
#include "PString.h"

#include <memory>

class PCallGate;
class PEvent;
struct KelmorNativePrivate;
struct KelmorHostEvent;

// The one component class. Made and destroyed only through the object registry. The host
// calls it on any of its threads; the table is built once by Init and then only read.
class KelmorNative : public PlatformNativeBaseEx {
public:
    static const char* const DriverVersion;  // KelmorNames::DriverVersion
    enum : long { EventBufferDepth = 4096 };
    enum : int { OpenAttempts = 3 };

    KelmorNative();
    ~KelmorNative() override;

    // Stores the connection, asks the host for its event buffer and builds the method table,
    // once: a second Init changes nothing. A failure is reported to the host as an error of
    // level 1003 and answers false.
    bool Init(void* connection) override;
    long GetInfo() override;
    void Done() override;
    // The class name the component was made for, in host memory; false without a memory
    // manager or an out pointer.
    bool RegisterExtensionAs(char16_t** out) override;
    // Russian for every component of the process when the code contains "ru", else English.
    void SetLocale(const char16_t* locale) override;

    // The class name the host asked for; "InputDevice" until set. Set once, right after
    // construction, before the host sees the object.
    void setExtentionName(const PString& name);
    PString getExtentionName() const;
    PString extentionName() const { return getExtentionName(); }
    // The equipment type chosen by the host; call with the exclusive lock held.
    void setEquipmentType(const PString& type);
    PString equipmentType() const;

    // The end of the input road: one external event of the host per message, on the
    // delivering thread. The event stays the caller's.
    void onInputEvent(PEvent* event);
    // The first half of onInputEvent, all that reads the component: the connection and the
    // texts of the event into out. False when nothing goes to the host.
    bool takeInputEvent(PEvent* event, KelmorHostEvent& out);
    // The gate through which devices call the host's handler. DestroyObject closes it before
    // it takes the registry's mutex: it waits there, holding no lock, for handlers under way
    // on other threads, so that no event reaches the host's connection once it returns.
    std::shared_ptr<PCallGate> handlerGate() const;
    // True on a thread that is inside the host's handler of some component: such a thread
    // must not wait for a handler on another thread, which may be waiting for it.
    static bool insideHostHandler();
    // Errors a device reports after it opened go no further.
    void onDeviceError(const PError& error);

protected:
    virtual void initMethods();
    virtual void initProperties();
    virtual void initSetters();

private:
    bool getDescription(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool getParameters(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool setParameter(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool open(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool close(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool test(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool getAdditionalActions(tVariant* result, tVariant* params, long count,
                              IMemoryManager* manager);
    bool doAdditionalAction(tVariant* result, tVariant* params, long count,
                            IMemoryManager* manager);
    bool getInterfaceRevision(tVariant* result, tVariant* params, long count,
                              IMemoryManager* manager);
    bool GetLastError(tVariant* result, tVariant* params, long count, IMemoryManager* manager);
    bool getVersion(tVariant* result, tVariant* params, long count, IMemoryManager* manager);

    // The settings bag a device gets: the store's values and what the component adds
    // ("EventName", "EquipmentType", "AppType").
    PPropertyBag deviceSettings() const;
    // The application type the host reports; -1 when it tells none.
    int appType() const;
    // The store filled anew in the current language, replacing the old one.
    void rebuildSettings();
    // Host text into a slot; when the host gives no memory the call fails with code 2.
    void textOut(tVariant* slot, const PString& text, IMemoryManager* manager);

    std::unique_ptr<KelmorNativePrivate> d;
};
