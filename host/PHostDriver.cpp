// PHostDriver: the driver's device methods called by name.
#include "PHostDriver.h"

PHostDriver::PHostDriver(PHostComponent& component, bool russianNames)
    : m_component(component), m_russian(russianNames)
{
}

const char16_t* PHostDriver::name(const char16_t* english, const char16_t* russian) const
{
    return m_russian ? russian : english;
}

namespace {

bool answeredTrue(const PHostCall& call)
{
    return call.answered && call.result.vt == VTYPE_BOOL && call.result.bVal;
}

}

std::u16string PHostDriver::getParameters()
{
    PHostCall call = m_component.call(name(u"GetParameters", u"ПолучитьПараметры"), {hostEmptyValue()});
    return answeredTrue(call) ? call.paramText(0) : std::u16string();
}

bool PHostDriver::setParameter(const std::u16string& parameter, const std::u16string& value)
{
    PHostMemoryManager& memory = m_component.memory();
    return answeredTrue(m_component.call(name(u"SetParameter", u"УстановитьПараметр"),
                                         {memory.text(parameter), memory.text(value)}));
}

std::u16string PHostDriver::open()
{
    PHostCall call = m_component.call(name(u"Open", u"Подключить"), {hostEmptyValue()});
    return answeredTrue(call) ? call.paramText(0) : std::u16string();
}

bool PHostDriver::close(const std::u16string& id)
{
    return answeredTrue(
        m_component.call(name(u"Close", u"Отключить"), {m_component.memory().text(id)}));
}

bool PHostDriver::deviceTest(std::u16string* text, bool* secondIsEmptyText)
{
    PHostCall call = m_component.call(name(u"DeviceTest", u"ТестУстройства"),
                                      {hostEmptyValue(), hostEmptyValue()});
    if (text)
        *text = call.paramText(0);
    if (secondIsEmptyText)
        *secondIsEmptyText = call.params.at(1).vt == VTYPE_PWSTR && call.paramText(1).empty();
    return answeredTrue(call);
}

PHostLastError PHostDriver::lastError()
{
    PHostCall call = m_component.call(name(u"GetLastError", u"ПолучитьОшибку"), {hostEmptyValue()});
    return {call.result.vt == VTYPE_HRESULT || call.result.vt == VTYPE_I4 ? long(call.result.lVal) : -1,
            call.paramText(0)};
}

std::string describeEvents(const std::vector<PHostExternalEvent>& events)
{
    std::string text;
    for (const PHostExternalEvent& event : events)
        text += hostToUtf8(event.source) + " | " + hostToUtf8(event.name) + " | " +
                hostToUtf8(event.data) + "\n";
    return text.empty() ? "(no events)\n" : text;
}
