// The driver's version and the class names the library offers: named by the component, the
// object registry and the device log alike, and kept here so that none of them includes
// another for it.
#pragma once

namespace KelmorNames {

// In the description document, the answer of Version and the head of each device log.
constexpr char DriverVersion[] = "10.1.8.6";
// The classes GetClassObject makes, in the order GetClassNames gives, "|" between them.
constexpr wchar_t ClassNames[] = L"InputDevice|CardReaderDevice";

}
