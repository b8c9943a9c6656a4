// DeviceManager: the table of devices by id, the last errors, the settings rule and the test.
#include "DeviceManager.h"

#include "Device.h"
#include "PLocale.h"

#include <deque>
#include <map>
#include <mutex>
#include <thread>

namespace {

struct DeviceManagerPrivate {
    std::mutex mutex;  // guards devices; never held while a device is opened, closed or deleted
    std::map<PString, std::shared_ptr<Device>> devices;
};

// Never destroyed, and so never closes the devices at exit: a process that ends with devices
// open leaves them to the end of the process, whose companions' threads may deliver meanwhile.
DeviceManagerPrivate& registry()
{
    static auto* instance = new DeviceManagerPrivate;
    return *instance;
}

// The last error of each thread that failed lately. Two components that fail at once on two
// threads each read their own; the list is short, so threads that come and go cost nothing
// lasting.
struct LastErrors {
    static constexpr size_t Kept = 32;
    std::mutex mutex;  // guards errors
    std::deque<std::pair<std::thread::id, PError>> errors;
};

LastErrors& lastErrors()
{
    static auto* instance = new LastErrors;  // never destroyed, like the table
    return *instance;
}

void setLastError(const PError& error)
{
    LastErrors& all = lastErrors();
    const std::thread::id self = std::this_thread::get_id();
    std::lock_guard<std::mutex> lock(all.mutex);
    for (auto it = all.errors.begin(); it != all.errors.end(); ++it) {
        if (it->first == self) {
            all.errors.erase(it);
            break;
        }
    }
    if (all.errors.size() >= LastErrors::Kept)
        all.errors.pop_front();
    all.errors.emplace_back(self, error);
}

void fail(const PString& english, const PString& russian, const char* method, int line)
{
    setLastError(PError(PError::GeneralFailure, pTr(english, russian),
                        strake::moduleFromFile(__FILE__), PString(method), line));
}

}

std::shared_ptr<Device> DeviceManager::create(const PString& extensionName, PString* id)
{
    if (extensionName.isEmpty()) {
        fail("Bad extention name", "Отсутствует имя расширения или оно задано непарвильно",
             __PRETTY_FUNCTION__, __LINE__);
        return nullptr;
    }
    if (!id) {
        fail("Cant create device Id", "Невозможно создать Id для устройства", __PRETTY_FUNCTION__,
             __LINE__);
        return nullptr;
    }
    DeviceManagerPrivate& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    // Counted under the lock, so that two creates at once never get one number.
    const PString newId = extensionName + PString("#" + std::to_string(r.devices.size() + 1));
    if (r.devices.count(newId) != 0) {
        fail(PString("Device id ") + newId + PString(" is held by an open device: close a device first"),
             PString("Идентификатор ") + newId +
                 PString(" занят открытым устройством: сначала отключите устройство"),
             __PRETTY_FUNCTION__, __LINE__);
        return nullptr;
    }
    auto device = std::make_shared<Device>();
    r.devices.emplace(newId, device);
    *id = newId;
    return device;
}

std::shared_ptr<Device> DeviceManager::get(const PString& id)
{
    {
        DeviceManagerPrivate& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        auto found = r.devices.find(id);
        if (found != r.devices.end())
            return found->second;
    }
    fail("Bad device Id", "Неверный Id устройства", __PRETTY_FUNCTION__, __LINE__);
    return nullptr;
}

bool DeviceManager::destroy(const PString& id)
{
    std::shared_ptr<Device> device;
    {
        DeviceManagerPrivate& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        auto found = r.devices.find(id);
        if (found != r.devices.end()) {
            device = std::move(found->second);
            r.devices.erase(found);
        }
    }
    if (!device) {
        fail("Bad device id", "Неверный Id", __PRETTY_FUNCTION__, __LINE__);
        return false;
    }
    // Outside the table's lock: a host may close a device from inside a delivery, and the
    // delivery of another device may want the table meanwhile.
    device->close();
    return true;
}

void DeviceManager::close()
{
    std::map<PString, std::shared_ptr<Device>> devices;
    {
        DeviceManagerPrivate& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        devices.swap(r.devices);
    }
    for (auto& entry : devices)
        entry.second->close();
    // The devices go with the map, unless an Open under way still holds one.
}

std::vector<PString> DeviceManager::DevicesIds()
{
    DeviceManagerPrivate& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    std::vector<PString> ids;
    ids.reserve(r.devices.size());
    for (const auto& entry : r.devices)
        ids.push_back(entry.first);
    return ids;
}

PError DeviceManager::getLastError()
{
    LastErrors& all = lastErrors();
    const std::thread::id self = std::this_thread::get_id();
    std::lock_guard<std::mutex> lock(all.mutex);
    for (const auto& entry : all.errors) {
        if (entry.first == self)
            return entry.second;
    }
    return PError();
}

bool DeviceManager::isSettingsAllowed(const PPropertyBag& settings, PError* out)
{
    PError error;
    try {
        PPropertyBag keyboardWithoutEnd;
        keyboardWithoutEnd.addValue(PString("Port"), PVariant(PString("0")));
        keyboardWithoutEnd.addValue(PString("Suffix"), PVariant(PString("-1")));
        if (settings.isEqual(keyboardWithoutEnd, {PString("Port"), PString("Suffix")}))
            error = P_ERROR(PError::BadArgument,
                            pTr("Keyboard mode without suffix is not allowed. Set suffix in settings.",
                                "Использование клавиатурного режима без суффикса не допускается. "
                                "Установите суффикс."));
    } catch (...) {
        error = P_ERROR(PError::GeneralFailure,
                        pTr("unexpected error while check settings",
                            "Непредивденная ошибка во время проверки настроек"));
    }
    if (error.isError() && out)
        *out = error;
    return !error.isError();
}

bool DeviceManager::isAlreadyOpened(const PPropertyBag&)
{
    return false;
}

bool DeviceManager::test(const PPropertyBag& settings)
{
    PString id;
    const std::shared_ptr<Device> device = create(PString("Test"), &id);
    if (!device)
        return false;
    const bool opened =
        device->open(settings, [](PEvent*) {}, [](const PError&) {});
    if (!opened)
        setLastError(device->getLastError());
    destroy(id);
    return opened;
}
