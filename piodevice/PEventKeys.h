// PEventKeys: the names of the values that travel in device events and the processor
// parameters copied into them, written once for devices, processors and the component.
#pragma once

#include "PString.h"

// Each function answers the same PString for the life of the process; safe from any thread.
namespace PEventKeys {

// Processor parameters; the first four are also copied into each message event.
const PString& PrefixKey();
const PString& SuffixKey();
const PString& OutputDataTypeKey();
const PString& EquipmentTypeKey();
const PString& DevIdKey();
const PString& EventNameKey();
const PString& COMEncodingKey();
const PString& GSKeyCodeKey();
const PString& PreviewModeKey();

// Values of a data event on the input path.
const PString& InputKey();
const PString& KeyboardInputKey();
const PString& StolenKey();
const PString& AcceptStatusKey();
const PString& UnprocessedInputKey();
// What the serial and Bluetooth devices say of themselves in each event.
const PString& DevIdEventKey();
const PString& DevTypeEventKey();
const PString& DevStateEventKey();
const PString& DevAliasEventKey();
// What the socket and broadcast devices say of themselves in each event.
const PString& IdKey();
const PString& TypeKey();
const PString& StateKey();

}
