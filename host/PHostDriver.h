// PHostDriver: the driver's device methods as the platform's equipment subsystem calls them,
// by name, over one attached PHostComponent, with results a test or a person can read.
#pragma once

#include "PHostLibrary.h"

#include <string>
#include <vector>

// What GetLastError answered: its code and text.
struct PHostLastError {
    long code = 0;
    std::u16string text;
};

// Not owning the component, which must outlive it. Every call goes through FindMethod and
// CallAsFunc under the name given (English by default, Russian with `russianNames`); a name
// the component does not know makes the call answer false. Same thread rules as the component.
class PHostDriver {
public:
    explicit PHostDriver(PHostComponent& component, bool russianNames = false);

    // GetParameters; the parameters XML, empty when the call failed.
    std::u16string getParameters();
    bool setParameter(const std::u16string& name, const std::u16string& value);
    // Open; the device id, empty on failure (then lastError() tells why).
    std::u16string open();
    bool close(const std::u16string& id);
    // DeviceTest; the text of param 0 in *text, and whether param 1 came back as empty text.
    bool deviceTest(std::u16string* text = nullptr, bool* secondIsEmptyText = nullptr);
    PHostLastError lastError();

private:
    const char16_t* name(const char16_t* english, const char16_t* russian) const;

    PHostComponent& m_component;
    bool m_russian;
};

// One line per event, "source | name | data", for failure messages.
std::string describeEvents(const std::vector<PHostExternalEvent>& events);
