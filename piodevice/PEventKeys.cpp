// PEventKeys: one constant PString per key, made at first use.
#include "PEventKeys.h"

#define P_KEY(name, text)                                                                          \
    const PString& PEventKeys::name()                                                              \
    {                                                                                              \
        static const PString key(text);                                                            \
        return key;                                                                                \
    }

P_KEY(PrefixKey, "Prefix")
P_KEY(SuffixKey, "Suffix")
P_KEY(OutputDataTypeKey, "OutputDataType")
P_KEY(EquipmentTypeKey, "EquipmentType")
P_KEY(DevIdKey, "DevId")
P_KEY(EventNameKey, "EventName")
P_KEY(COMEncodingKey, "COMEncoding")
P_KEY(GSKeyCodeKey, "GSKeyCode")
P_KEY(PreviewModeKey, "PreviewMode")
P_KEY(InputKey, "input")
P_KEY(KeyboardInputKey, "keyboard_input")
P_KEY(StolenKey, "stolen")
P_KEY(AcceptStatusKey, "acceptStatus")
P_KEY(UnprocessedInputKey, "unprocessed_input")
P_KEY(DevIdEventKey, "dev_id")
P_KEY(DevTypeEventKey, "dev_type")
P_KEY(DevStateEventKey, "dev_state")
P_KEY(DevAliasEventKey, "dev_alias")
P_KEY(IdKey, "id")
P_KEY(TypeKey, "type")
P_KEY(StateKey, "state")

#undef P_KEY
