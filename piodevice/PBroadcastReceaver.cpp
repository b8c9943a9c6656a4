// PBroadcastDataField and PBroadcastReceaver: the companion's parameters, its open and close,
// and the two native functions through which caught intents arrive.
#include "PBroadcastReceaver.h"

#include "PEvent.h"
#include "PEventKeys.h"
#include "PJavaCompanion.h"
#include "PJavaHandles.h"
#include "PLocale.h"
#include "PLogger.h"
#include "PXmlNodes.h"
#include "StrakeText.h"

#include <atomic>
#include <mutex>

namespace {

const char kJavaClass[] = "com.tavrel.piodevice.PBroadcastReceaver";

}

PBroadcastDataField::PBroadcastDataField() = default;

PBroadcastDataField::PBroadcastDataField(const PString& name, int type)
{
    d->name = name;
    d->type = type;
}

PString PBroadcastDataField::typeName(int type)
{
    static const char* const names[] = {"void", "bool", "byte",  "char",   "short",
                                        "int",  "long", "float", "double", "string"};
    const int element = type & ~ArrayBit;
    if (element < 0 || element > 9)
        return PString();
    PString name(names[element]);
    return (type & ArrayBit) ? name + "[]" : name;
}

struct PBroadcastReceaverPrivate {
    // Set by a successful open, cleared by close; deliveries read it on their own threads.
    std::atomic<bool> opened{false};
    PString signalName;
    PString categoryName;
    std::set<PBroadcastDataField> fields;
    // Guards the companion pointer, which open sets on the host's thread while a delivery
    // asks isOpen() on its own. Never held over a Java call: a caller copies the pointer.
    mutable std::mutex companionLock;
    std::shared_ptr<PJavaCompanion> companion;
    // The handle the companion was made with; it lives exactly as long as the companion.
    PJavaHandle handle;

    std::shared_ptr<PJavaCompanion> currentCompanion() const
    {
        std::lock_guard<std::mutex> guard(companionLock);
        return companion;
    }
    void setCompanion(std::shared_ptr<PJavaCompanion> made)
    {
        std::lock_guard<std::mutex> guard(companionLock);
        companion.swap(made);
        // The one replaced goes here, outside the lock.
    }
};

PBroadcastReceaver::PBroadcastReceaver() : d(new PBroadcastReceaverPrivate) {}

PBroadcastReceaver::PBroadcastReceaver(const PString& signalName) : PBroadcastReceaver()
{
    d->signalName = signalName;
}

PBroadcastReceaver::~PBroadcastReceaver()
{
    close();
    // Unlike a companion that waits for a later open, one whose device is gone has nothing
    // left to serve: its handle and its global reference go now, not at disconnect.
    d->handle.detach();
    d->setCompanion(nullptr);
}

void PBroadcastReceaver::setSignalName(const PString& name)
{
    d->signalName = name;
}

void PBroadcastReceaver::setSignalCategoryName(const PString& name)
{
    d->categoryName = name;
}

void PBroadcastReceaver::setFieldsDesc(const std::set<PBroadcastDataField>& fields)
{
    d->fields = fields;
}

PString PBroadcastReceaver::parametersText() const
{
    PString text = PString("action_name=") + d->signalName + ";";
    if (!d->categoryName.isEmpty())
        text = text + "action_category_name=" + d->categoryName + ";";
    text = text + "fields=";
    bool first = true;
    for (const PBroadcastDataField& field : d->fields) {
        if (!first)
            text = text + ",";
        first = false;
        text = text + field.name() + "(" + PString(std::to_string(field.type())) + ")";
    }
    return text + ";";
}

bool PBroadcastReceaver::isOpen() const
{
    if (!d->opened.load())
        return false;
    std::lock_guard<std::mutex> guard(d->companionLock);
    return d->companion && d->companion->isValid();
}

bool PBroadcastReceaver::open(int)
{
    if (isOpen())
        return true;
    // Still set when a disconnect left the companion dead: only this open may set it again.
    d->opened = false;
    PError error;
    try {
        if (d->signalName.isEmpty())
            P_THROW(PError::GeneralFailure,
                    pTr("Broadcast event name not set", "Не задано имя оповещения"));
        if (d->fields.empty())
            P_THROW(PError::GeneralFailure, pTr("Broadcast data fields not specified",
                                                "Не заданы поля данных оповещения"));
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure,
                    pTr("JNI not connected", "Не удалось подключить интерфейс JNI"));
        auto self = std::static_pointer_cast<PBroadcastReceaver>(weak_from_this().lock());
        if (!self)
            P_THROW(PError::GeneralFailure,
                    "Broadcast receiver device must be made with std::make_shared");

        std::shared_ptr<PJavaCompanion> companion = d->currentCompanion();
        if (companion && !companion->isValid()) {
            // Left dead by a disconnect, or its constructor failed: make a new one.
            d->handle.detach();
            d->setCompanion(nullptr);
            companion.reset();
        }
        if (!companion) {
            d->handle.attach(self);
            companion = PJavaCompanion::create(kJavaClass, d->handle.value());
            d->setCompanion(companion);
        }
        if (!companion || !companion->isValid()) {
            PError made = strake::javaLastError();
            if (!made.isError())
                made = P_ERROR(PError::GeneralFailure,
                               PString("class ") + kJavaClass + " could not be made");
            throw made;
        }
        if (!companion->callBoolean("open", parametersText())) {
            PError refused = companion->lastError();
            if (!refused.isError())
                refused = P_ERROR(PError::GeneralFailure,
                                  pTr("Broadcast receiver not registered",
                                      "Приёмник оповещений не зарегистрирован"));
            throw refused;
        }
        d->opened = true;
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (error.isError()) {
        setLastError(error);
        trace("Strake", error.toString().toStdString().c_str());
    }
    return !error.isError();
}

bool PBroadcastReceaver::close()
{
    const bool wasOpen = isOpen();
    // Cleared first: a delivery from here on is dropped.
    d->opened = false;
    if (wasOpen) {
        if (const std::shared_ptr<PJavaCompanion> companion = d->currentCompanion())
            companion->callVoid("close");
    }
    return true;
}

PIODevice::SizeType PBroadcastReceaver::availibleBytes() const
{
    return 0;
}

PIODevice::SizeType PBroadcastReceaver::read(char*, SizeType)
{
    return 0;
}

PIODevice::SizeType PBroadcastReceaver::peek(char*, SizeType)
{
    return 0;
}

PIODevice::SizeType PBroadcastReceaver::write(const char*, SizeType)
{
    return 0;
}

int PBroadcastReceaver::capabilities() const
{
    return 0;
}

bool PBroadcastReceaver::inputFromXml(const PString& xml, const PByteArray& suffix,
                                      PByteArray* input)
{
    PXmlDocument document;
    if (!document.setContent(xml))
        return false;
    const PXmlElement field = document.getElement("action/fields/field");
    if (!field.isValid())
        return false;
    std::string bytes = strake::base642Raw(field.attribute("value").toStdString());
    const std::string tail = suffix.toStdString();
    const bool ended = bytes.size() > tail.size()
        && bytes.compare(bytes.size() - tail.size(), tail.size(), tail) == 0;
    if (!ended)
        bytes += tail;
    if (input)
        *input = PByteArray(bytes);
    return true;
}

void PBroadcastReceaver::deliver(const PByteArray& input)
{
    if (!isOpen())
        return;
    const Callback call = callback();
    if (!call)
        return;
    PIODeviceEvent event;
    event.setValue(PEventKeys::KeyboardInputKey(), PVariant(PByteArray()));
    event.setValue(PEventKeys::InputKey(), PVariant(input));
    event.setValue(PEventKeys::IdKey(), PVariant("broadcast_reseaver"));
    event.setValue(PEventKeys::TypeKey(), PVariant("broadcast_reseaver"));
    event.setValue(PEventKeys::StateKey(), PVariant(0));
    call(&event);
}

void PBroadcastReceaver::deliverData(int64_t handle, const PByteArray& data)
{
    if (auto device = PJavaHandles::find<PBroadcastReceaver>(handle))
        device->deliver(data);
}

void PBroadcastReceaver::deliverString(int64_t handle, const PString& xml)
{
    auto device = PJavaHandles::find<PBroadcastReceaver>(handle);
    if (!device || !device->isOpen())
        return;
    PByteArray input;
    const PByteArray suffix(device->parameter("Suffix", PString()).toPString().toStdString());
    if (inputFromXml(xml, suffix, &input))
        device->deliver(input);
}
