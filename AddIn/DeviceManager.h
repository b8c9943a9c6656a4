// DeviceManager: the process-wide table of open devices by text id, the rules checked
// before a device exists, the one-attempt test of settings, and the settings catalogue.
#pragma once

#include "PError.h"
#include "PPropertyBag.h"
#include "PString.h"

#include <memory>
#include <vector>

class Device;
class PVKSettings;

// Ids read "<extension name>#<number>", the number being the count of devices in the table
// plus one. The table owns its devices; a caller that got one keeps it alive while it uses it.
// Thread-safety: every operation may be called from any thread, also from inside a device's
// input delivery. The table's mutex is never held while a device is opened, closed or
// deleted. Lock order: the component registry's mutex, then this one.
// Failure: operations answer null or false and keep the reason as the last error of the
// calling thread, which a later success does not clear.
class DeviceManager {
public:
    // A new, closed device entered under a new id, written to *id. Null when the name is
    // empty, id is null, or the new id is held by a live device (the number comes from the
    // count, so it repeats after a device in the middle has gone): the live one stays.
    static std::shared_ptr<Device> create(const PString& extensionName, PString* id);
    // Null for an id not in the table ("Bad device Id").
    static std::shared_ptr<Device> get(const PString& id);
    // Takes the device out of the table, closes it and lets it go; false for an id not in
    // the table ("Bad device id").
    static bool destroy(const PString& id);
    // Closes and lets go of every device; the table is empty after.
    static void close();
    // Every id, in the table's order.
    static std::vector<PString> DevicesIds();
    // The last error of the calling thread; read it after a failed call (a thread that never
    // failed may see the error of a thread that ended before it under the same id).
    static PError getLastError();

    // The rule checked before any device exists: "Port" 0 with "Suffix" -1 (compared by
    // their text) is keyboard mode without a message end, code 100. The error goes to out
    // when out is not null.
    static bool isSettingsAllowed(const PPropertyBag& settings, PError* out);
    // No rule to compare by: false for every bag.
    static bool isAlreadyOpened(const PPropertyBag& settings);
    // One open of a temporary "Test" device with callbacks that do nothing; the device goes
    // again at once. False with the device's error as the last error.
    static bool test(const PPropertyBag& settings);

    // Fills the store with the settings catalogue in the current language, with the serial
    // ports and Bluetooth devices of this moment. False for null, with nothing done.
    static bool fillSettings(PVKSettings* settings);
};
