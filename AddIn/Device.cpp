// Device: the connection mode and classes chosen from the settings, their parameters and
// wiring, the open and the close; the device log.
#include "Device.h"

#include "DeviceManager.h"
#include "KelmorNames.h"
#include "PDeviceFactory.h"
#include "PJavaConnection.h"
#include "PKeyCodes.h"
#include "PKeyboardInputProcessor.h"
#include "PLocale.h"
#include "PLogger.h"
#include "PSerialInputProcessor.h"
#include "PSysLog.h"
#include "PTimer.h"

#include <cctype>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <sstream>
#include <thread>

struct DevicePrivate {
    // Serialises the opens of one device; close never takes it.
    std::mutex openMutex;
    // Guards every field below; held for copies only, never across a call out.
    mutable std::mutex mutex;
    PError lastError;
    PPropertyBag settings;
    std::shared_ptr<PIOCustomDevice> ioDevice;
    std::shared_ptr<PInputProcessor> processor;
    PDebugMessageHandler debugHandler;
    // Shared with the system-log handler, which the I/O device and the processor keep.
    std::shared_ptr<PSysLog> sysLog;
    // An open is under way; a close meanwhile sets closeRequested and leaves the I/O device
    // to that open.
    bool opening = false;
    bool closeRequested = false;
};

namespace {

enum class Mode { Keyboard, Broadcast, Tcp, Udp, Bluetooth, Serial, None };

const char kTimeFormat[] = "%Y-%m-%d::%H:%M:%S";
const int kTruncateMode = 48;  // std::ios::out | std::ios::trunc
const int kAppendMode = 17;    // std::ios::out | std::ios::app

std::string threadIdText()
{
    std::ostringstream out;
    out << std::this_thread::get_id();
    return out.str();
}

// One line of the device log.
std::string logLine(const DebugMessageContext& context, const std::string& name,
                    const std::string& text)
{
    static const char* const marks[] = {"[D]", "[W]", "[F]"};
    std::string line = context.level < 3 ? marks[context.level] : "";
    line += "{" + threadIdText() + "}(" + getCurrentTimeString(kTimeFormat) + ")" + name + ": ";
    // The text ends at its first zero byte.
    line += text.c_str();
    line += "\n";
    return line;
}

// The Java side's log beside ours: "_java" before the first dot, or behind a path without one.
std::string javaLogPath(const std::string& path)
{
    const std::vector<PString> pieces = PString(path).split(u'.');
    if (pieces.size() <= 1)
        return path + "_java";
    return pieces[0].toStdString() + "_java." + pieces[1].toStdString();
}

// Throws a bilingual error of the open.
[[noreturn]] void fail(int code, const char* english, const char* russian, int line)
{
    throw PError(code, pTr(PString(english), PString(russian)), strake::moduleFromFile(__FILE__),
                 PString("bool Device::open(const PPropertyBag&, PIODevice::Callback, "
                         "PIODevice::ErrorCallback)"),
                 line);
}

int intOf(const PPropertyBag& settings, const char* key, int fallback, bool* ok = nullptr)
{
    return settings.value(PString(key), PVariant(fallback)).toInt(ok);
}

PString textOf(const PPropertyBag& settings, const char* key, const char* fallback = "")
{
    return settings.value(PString(key), PVariant(PString(fallback))).toPString();
}

// A text of one byte; a byte of 0x80 or above is no UTF-8 alone and leaves it empty.
PString byteText(int value)
{
    return PString(std::string(1, static_cast<char>(value & 0xFF)));
}

PString prefixText(const PPropertyBag& settings)
{
    bool ok = false;
    const int value = settings.value(PString("Prefix")).toInt(&ok);
    return ok && value >= 0 ? byteText(value) : PString();
}

PString suffixText(const PPropertyBag& settings)
{
    bool ok = false;
    const int value = settings.value(PString("Suffix")).toInt(&ok);
    if (!ok || value == 0)
        return PString("\r");
    if (value < 0)
        return PString();
    return value <= 255 ? byteText(value) : PString("\r\n");
}

// A network address: "tcp://HOST:PORT" or "udp://HOST:PORT", the host maybe in brackets.
struct NetworkAddress {
    bool valid = false;
    PString host;
    unsigned short port = 0;
};

bool hasScheme(const std::string& value, const char* scheme)
{
    const std::string head(scheme);
    if (value.size() < head.size())
        return false;
    for (size_t i = 0; i < head.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(value[i])) != head[i])
            return false;
    }
    return true;
}

NetworkAddress networkAddress(const std::string& value)
{
    NetworkAddress address;
    const std::string rest = value.substr(6);
    const size_t colon = rest.rfind(':');
    if (colon == std::string::npos)
        return address;
    std::string host = rest.substr(0, colon);
    const std::string port = rest.substr(colon + 1);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos)
        return address;
    const long number = std::strtol(port.c_str(), nullptr, 10);
    if (number < 1 || number > 65535)
        return address;
    address.valid = true;
    address.host = PString(host);
    address.port = static_cast<unsigned short>(number);
    return address;
}

Mode modeOf(const PString& port)
{
    if (port == PString("0") || port == PString("DEV_KEYBOARD"))
        return Mode::Keyboard;
    if (port == PString("BROADCAST"))
        return Mode::Broadcast;
    // Network values come before the Bluetooth row, which any text of their length would take.
    const std::string text = port.toStdString();
    if (hasScheme(text, "tcp://"))
        return Mode::Tcp;
    if (hasScheme(text, "udp://"))
        return Mode::Udp;
    if (port.size() >= 12)
        return Mode::Bluetooth;
    if (PVariant(port).toInt() <= 65534)
        return Mode::Serial;
    return Mode::None;
}

const char* modeLogText(Mode mode)
{
    switch (mode) {
    case Mode::Keyboard: return "Keyboard mode";
    case Mode::Broadcast: return "Android broadcast mode";
    case Mode::Tcp: return "TCP socket mode";
    case Mode::Udp: return "UDP socket mode";
    case Mode::Bluetooth: return "Bluetooth mode";
    case Mode::Serial: return "Serial mode";
    default: return nullptr;
    }
}

int broadcastFieldType(const PString& type)
{
    if (type == PString("String"))
        return 9;
    if (type == PString("ByteArray"))
        return 0x10002;
    if (type == PString("CharArray"))
        return 0x10003;
    return 0;
}

// The I/O device of a mode and the flags it opens with.
struct Made {
    std::shared_ptr<PIOCustomDevice> device;
    int flags = PIODevice::OpenRead;
};

Made makeKeyboard(PDeviceFactory& factory, const PPropertyBag& settings)
{
    PDeviceSpec spec;
    spec.kind = PDeviceSpec::Keyboard;
    Made made{factory.make(spec), intOf(settings, "AppType", 0) == 2 ? 0x3001 : 0x2001};
    if (made.device) {
        made.device->setParameter(PString("timeout"), PVariant(intOf(settings, "Timeout", 25)));
        made.device->setParameter(PString("ignore_state"), PVariant(true));
        made.device->setParameter(PString("HID"), PVariant(textOf(settings, "KeyboardDevice")));
    }
    return made;
}

Made makeBroadcast(PDeviceFactory& factory, const PPropertyBag& settings, const PString& prefix,
                   const PString& suffix)
{
    // Free values win over the standard ones of the catalogue's lists.
    auto chosen = [&settings](const char* free, const char* standard) {
        const PString value = textOf(settings, free);
        return value.isEmpty() ? textOf(settings, standard) : value;
    };
    PDeviceSpec spec;
    spec.kind = PDeviceSpec::BroadcastReceaver;
    spec.signalName = chosen("Action", "StandardAction");
    spec.signalCategoryName = chosen("Category", "StandardCategory");
    spec.fieldName = chosen("Extra", "StandardExtra");
    spec.fieldType = broadcastFieldType(textOf(settings, "ExtraType"));
    const PString none("NONE");
    if (spec.signalName.isEmpty() || spec.signalName == none)
        fail(PError::MissingBroadcastSetting, "Intent Action name not set",
             "Не задан идентификатор Intent Action", __LINE__);
    if (spec.fieldName.isEmpty() || spec.fieldName == none)
        fail(PError::MissingBroadcastSetting, "Intent Extra not set", "Не задан Intent Extra",
             __LINE__);
    Made made{factory.make(spec), PIODevice::OpenRead};
    if (made.device) {
        made.device->setParameter(PString("Prefix"), PVariant(prefix));
        made.device->setParameter(PString("Suffix"), PVariant(suffix));
    }
    return made;
}

Made makeBluetooth(PDeviceFactory& factory, const PPropertyBag& settings, const PString& port)
{
    PDeviceSpec spec;
    spec.kind = PDeviceSpec::Bluetooth;
    spec.address = port;
    Made made{factory.make(spec), PIODevice::OpenRead};
    if (made.device)
        made.device->setParameter(PString("timeout"), PVariant(intOf(settings, "Timeout", 75)));
    return made;
}

Made makeNetwork(PDeviceFactory& factory, Mode mode, const PString& port)
{
    const NetworkAddress address = networkAddress(port.toStdString());
    if (!address.valid)
        return Made();
    PDeviceSpec spec;
    spec.kind = mode == Mode::Tcp ? PDeviceSpec::TcpSocket : PDeviceSpec::UdpSocket;
    // A datagram socket without a host listens on every address.
    spec.address = address.host.isEmpty() && mode == Mode::Udp ? PString("0.0.0.0") : address.host;
    spec.port = address.port;
    Made made{factory.make(spec), PIODevice::OpenRead};
    // The socket's own connect timeout: the catalogue's Timeout is the keyboard's.
    if (made.device)
        made.device->setParameter(PString("timeout"), PVariant(5000));
    return made;
}

Made makeSerial(PDeviceFactory& factory, const PPropertyBag& settings, const PString& port)
{
    const int number = PVariant(port).toInt();
    PSerialPortEntry entry;
    for (const PSerialPortEntry& candidate : factory.serialPorts()) {
        if (candidate.number == number) {
            entry = candidate;
            break;
        }
    }
    PDeviceSpec spec;
    spec.kind = PDeviceSpec::SerialPort;
    spec.portId = entry.portId.toStdString();
    spec.baudRate = intOf(settings, "Speed", 0);
    spec.charSize = static_cast<signed char>(intOf(settings, "DataBits", 0));
    spec.stopBits = intOf(settings, "StopBits", 0);
    spec.parity = intOf(settings, "Parity", 0);
    spec.flowControl = 0;
    const char eol = static_cast<char>(intOf(settings, "Suffix", 0) & 0xFF);
    spec.eol = eol == 0 ? '\r' : eol;
    Made made{factory.make(spec), PIODevice::OpenRead};
    if (made.device)
        made.device->setParameter(PString("alias"), PVariant(entry.name));
    return made;
}

// The I/O device's calls reach the processor through these, and touch nothing of the Device,
// so it may close, or be deleted, from inside a call. The input callback owns the processor:
// the I/O device keeps it, and so the processor, while a delivery may still come (every
// scanned code passes here, and pinning a weak one would cost two atomic writes each);
// unwire() cuts the processor off the component when the Device lets go of them. The error
// callback pins the processor for the call. Nothing the processor throws goes back into the
// device.
void wire(PIOCustomDevice& device, const std::shared_ptr<PInputProcessor>& processor)
{
    device.setCallback([processor](PEvent* event) {
        try {
            processor->processInput(event);
        } catch (...) {
            if (auto handler = processor->debugMessageHandler())
                pDebug(handler) << "Device: input dropped: "
                                << PError::fromCurrentException().toString().toStdString();
        }
    });
    std::weak_ptr<PInputProcessor> weak = processor;
    device.setErrorCallback([weak](const PError& error) {
        const std::shared_ptr<PInputProcessor> pinned = weak.lock();
        if (!pinned)
            return;
        try {
            pinned->processError(error);
        } catch (...) {
            // An error about an error has nowhere to go.
        }
    });
}

// A delivery that comes later (one already under way, or a device that outlives the Device
// in a companion's hands) reaches the processor and goes no further.
void unwire(const std::shared_ptr<PInputProcessor>& processor)
{
    if (processor) {
        processor->setCallback(nullptr);
        processor->setErrorCallback(nullptr);
    }
}

}

Device::Device() : d(new DevicePrivate) {}

Device::~Device()
{
    close();
}

bool Device::open(const PPropertyBag& settings, PIODevice::Callback input,
                  PIODevice::ErrorCallback error)
{
    std::lock_guard<std::mutex> serialised(d->openMutex);
    close();  // what an earlier open left running goes first
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->opening = true;
        d->closeRequested = false;
    }
    PError held;
    std::shared_ptr<PIOCustomDevice> device;
    std::shared_ptr<PInputProcessor> processor;
    try {
        if (!input || !error)
            fail(PError::GeneralFailure, "Callback function not set", "Не задана функция оповещения",
                 __LINE__);
        PError refusal;
        if (!DeviceManager::isSettingsAllowed(settings, &refusal))
            throw refusal;
        if (DeviceManager::isAlreadyOpened(settings))
            fail(PError::DeviceFailure, "Device with such parameters already opened",
                 "Устройсво с такими параметрами уже открыто", __LINE__);

        initDebug(settings);
        const PDebugMessageHandler log = debugMessageHandler();
        if (log) {
            PDebug message = pDebug(log);
            message << "version = " << KelmorNames::DriverVersion << "\n";
            for (const PString& key : settings.keys())
                message << key.toStdString() << " = " << settings.value(key).toStdString() << "\n";
        }

        const PString prefix = prefixText(settings);
        const PString suffix = suffixText(settings);
        PString port = textOf(settings, "Port");
        const PString bluetooth = textOf(settings, "BluetoothDevice", "-1");
        if (bluetooth != PString("-1"))
            port = bluetooth;
        if (port.isEmpty())
            fail(PError::GeneralFailure, "Wrond device id", "Устройство задано не верно", __LINE__);

        const Mode mode = modeOf(port);
        if (mode == Mode::Keyboard)
            processor = std::make_shared<PKeyboardInputProcessor>();
        else
            processor = std::make_shared<PSerialInputProcessor>();
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            d->processor = processor;
        }
        processor->setParameter(PString("Prefix"), PVariant(prefix));
        processor->setParameter(PString("Suffix"), PVariant(suffix));
        for (const char* key : {"OutputDataType", "EquipmentType", "DevId", "EventName"})
            processor->setParameter(PString(key), settings.value(PString(key)));
        processor->setParameter(PString("COMEncoding"),
                                settings.value(PString("COMEncoding"), PVariant(PString("UTF-8"))));
        const int gsIndex = intOf(settings, "GSSymbolKey",
                                  strake::getGSKeyCodeIndex(pKeyCode(PKeyCodes::F8)));
        processor->setParameter(PString("GSKeyCode"),
                                PVariant(strake::getGSKeyCodeForIndex(static_cast<unsigned int>(gsIndex))));
        processor->setParameter(PString("IgnoreKeyboardState"), PVariant(true));
        processor->setParameter(PString("MessageRegenerationMode"), PVariant(true));
        processor->setCallback(std::move(input));
        processor->setErrorCallback(std::move(error));

        if (log && modeLogText(mode))
            pDebug(log) << modeLogText(mode);
        const std::shared_ptr<PDeviceFactory> factory = PDeviceFactory::current();
        Made made;
        switch (mode) {
        case Mode::Keyboard: made = makeKeyboard(*factory, settings); break;
        case Mode::Broadcast: made = makeBroadcast(*factory, settings, prefix, suffix); break;
        case Mode::Tcp:
        case Mode::Udp: made = makeNetwork(*factory, mode, port); break;
        case Mode::Bluetooth: made = makeBluetooth(*factory, settings, port); break;
        case Mode::Serial: made = makeSerial(*factory, settings, port); break;
        case Mode::None: break;
        }
        device = made.device;
        if (!device)
            fail(PError::GeneralFailure, "Failed to create device", "Не удалось создать устройство",
                 __LINE__);
        wire(*device, processor);
        if (log) {
            device->setDebugMessageHandler(log);
            processor->setDebugMessageHandler(log);
        }
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            d->ioDevice = device;
        }

        const bool opened = device->open(made.flags);
        bool closedMeanwhile = false;
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            closedMeanwhile = d->closeRequested;
            d->opening = false;
            d->closeRequested = false;
            if (opened && !closedMeanwhile)
                d->settings = settings;
        }
        if (closedMeanwhile) {
            device->close();
            fail(PError::GeneralFailure, "Device was closed while it was being opened",
                 "Устройство закрыто во время подключения", __LINE__);
        }
        if (!opened)
            fail(PError::GeneralFailure, "Failed to open device. Check connection",
                 "Не удалось открыть устройство. Проверьте связь.", __LINE__);
        if (log)
            pDebug(log) << "Device succesefully opened";
    } catch (...) {
        held = PError::fromCurrentException();
    }
    if (!held.isError())
        return true;

    setLastError(held);
    // The processor this attempt made is cut off even when a close took it from the Device
    // before the attempt wired it.
    unwire(processor);
    std::shared_ptr<PIOCustomDevice> ioDevice;
    std::shared_ptr<PSysLog> sysLog;
    PDebugMessageHandler handler;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->opening = false;
        d->closeRequested = false;
        ioDevice.swap(d->ioDevice);
        processor.swap(d->processor);
        sysLog.swap(d->sysLog);
        handler.swap(d->debugHandler);
    }
    // What the attempt made goes with these locals, outside the lock.
    return false;
}

bool Device::isOpened() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->ioDevice && d->processor;
}

bool Device::close()
{
    std::shared_ptr<PIOCustomDevice> ioDevice;
    std::shared_ptr<PInputProcessor> processor;
    std::shared_ptr<PSysLog> sysLog;
    PDebugMessageHandler handler;
    bool openUnderWay = false;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        ioDevice.swap(d->ioDevice);
        processor.swap(d->processor);
        sysLog.swap(d->sysLog);
        handler.swap(d->debugHandler);
        openUnderWay = d->opening;
        if (openUnderWay)
            d->closeRequested = true;
    }
    unwire(processor);
    // An open under way (maybe this very thread, inside the I/O device's open) closes the
    // device itself when its open returns.
    if (ioDevice && !openUnderWay)
        ioDevice->close();
    // The processor goes with the I/O device.
    return true;
}

PError Device::getLastError() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->lastError;
}

PPropertyBag Device::settings() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->settings;
}

void Device::setLastError(const PError& error)
{
    if (const PDebugMessageHandler log = debugMessageHandler())
        pDebug(log) << error.toString().toStdString();
    std::lock_guard<std::mutex> lock(d->mutex);
    d->lastError = error;
}

PDebugMessageHandler Device::debugMessageHandler() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->debugHandler;
}

void Device::initDebug(const PPropertyBag& settings)
{
    PDebugMessageHandler handler;
    std::shared_ptr<PSysLog> sysLog;
    const int logType = intOf(settings, "LogType", -1);
    // Made only for a log: an open without one pays nothing for it.
    std::string name;
    if (logType == 0 || logType == 1) {
        if (settings.hasKey(PString("DevId")))
            name = textOf(settings, "DevId").toStdString();
        else
            name = "Kelmor_" + threadIdText() + "_" +
                   std::to_string(PRandom::randomI(0, std::numeric_limits<unsigned int>::max()));
    }

    if (logType == 0) {
        const std::string path = textOf(settings, "LogFilePath").toStdString();
        const bool cleanUp = settings.value(PString("AutoCleanUpLog"), PVariant(true)).toBool();
        const int mode = cleanUp ? kTruncateMode : kAppendMode;
        {
            PLogger opened(path, mode);
            opened << "log opened " + getCurrentTimeString(kTimeFormat) + "\n";
        }
        handler = [name, path](const DebugMessageContext& context, const std::string& text) {
            if (path.empty())
                return;
            // Opened and closed per message: no descriptor stays open between messages.
            PLogger file(path, kAppendMode);
            if (file.isOpened())
                file << logLine(context, name, text);
        };
        const std::string javaPath = path.empty() ? std::string() : javaLogPath(path);
        if (!javaPath.empty()) {
            { PLogger created(javaPath, mode); }
            strake::callJavaStaticWithText(PString("com.tavrel.strake.PLogger"),
                                           PString("setLogFile"), PString(javaPath));
        }
    } else if (logType == 1) {
        sysLog = std::make_shared<PSysLog>();
        PPropertyBag tag;
        tag.addValue(PString("tag"), PVariant(PString("Kelmor")));
        if (sysLog->open(tag)) {
            std::shared_ptr<PSysLog> target = sysLog;
            handler = [name, target](const DebugMessageContext& context, const std::string& text) {
                if (target->isOpen()) {
                    const std::string line = logLine(context, name, text);
                    target->write(context.level, line.c_str(), line.size());
                }
            };
        } else {
            sysLog.reset();
        }
    }
    std::lock_guard<std::mutex> lock(d->mutex);
    d->debugHandler.swap(handler);
    d->sysLog.swap(sysLog);
    // The former handler and system log go after the lock, with these locals.
}
