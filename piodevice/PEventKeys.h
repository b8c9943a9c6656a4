// PEventKeys: the names of the values that travel in device events and the processor
// parameters copied into them, written once for devices, processors and the component.
#pragma once

#include "PString.h"

// Each function answers the same PString for the life of the process, made at its first
// use and never destroyed (a delivery may still look a key up while the process ends); safe
// from any thread. Inline: a scanned code looks up some twenty keys on its way.
#define P_KEY(name, text)                                                                          \
    inline const PString& name()                                                                   \
    {                                                                                              \
        static const PString& key = *new PString(text);                                            \
        return key;                                                                                \
    }

namespace PEventKeys {

// Processor parameters; the first four are also copied into each message event.
P_KEY(PrefixKey, "Prefix")
P_KEY(SuffixKey, "Suffix")
P_KEY(OutputDataTypeKey, "OutputDataType")
P_KEY(EquipmentTypeKey, "EquipmentType")
P_KEY(DevIdKey, "DevId")
P_KEY(EventNameKey, "EventName")
P_KEY(COMEncodingKey, "COMEncoding")
P_KEY(GSKeyCodeKey, "GSKeyCode")
P_KEY(PreviewModeKey, "PreviewMode")

// Values of a data event on the input path.
P_KEY(InputKey, "input")
P_KEY(KeyboardInputKey, "keyboard_input")
P_KEY(StolenKey, "stolen")
P_KEY(AcceptStatusKey, "acceptStatus")
P_KEY(UnprocessedInputKey, "unprocessed_input")
// What the serial and Bluetooth devices say of themselves in each event.
P_KEY(DevIdEventKey, "dev_id")
P_KEY(DevTypeEventKey, "dev_type")
P_KEY(DevStateEventKey, "dev_state")
P_KEY(DevAliasEventKey, "dev_alias")
// What the socket and broadcast devices say of themselves in each event.
P_KEY(IdKey, "id")
P_KEY(TypeKey, "type")
P_KEY(StateKey, "state")

}

#undef P_KEY
