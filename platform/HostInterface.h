// The host platform's add-in interface: the value record, the component's abstract bases,
// the allocator and the connection. Laid out to match the host byte for byte.
#pragma once

#include <cstddef>
#include <cstdint>

// Type codes of tVariant::vt.
enum TYPEVAR : uint16_t {
    VTYPE_EMPTY = 0,
    VTYPE_NULL = 1,
    VTYPE_I2 = 2,
    VTYPE_I4 = 3,
    VTYPE_R4 = 4,
    VTYPE_R8 = 5,
    VTYPE_PSTR = 8,
    VTYPE_ERROR = 10,
    VTYPE_BOOL = 11,
    VTYPE_VARIANT = 12,
    VTYPE_I1 = 13,
    VTYPE_UI1 = 14,
    VTYPE_UI2 = 15,
    VTYPE_UI4 = 16,
    VTYPE_I8 = 17,
    VTYPE_UI8 = 18,
    VTYPE_INT = 19,
    VTYPE_UINT = 20,
    VTYPE_HRESULT = 21,
    VTYPE_PWSTR = 22,
    VTYPE_BLOB = 23,
};

// One value exchanged with the host. Numbers live at offset 0; strings and blobs keep a
// pointer there and their length at offset 8 (bytes for VTYPE_PSTR and VTYPE_BLOB,
// 16-bit units for VTYPE_PWSTR). The type code sits at offset 60.
struct tVariant {
    union {
        int8_t i8Val;
        int16_t shortVal;
        int32_t lVal;
        int intVal;
        unsigned int uintVal;
        int64_t llVal;
        uint8_t ui8Val;
        uint16_t ushortVal;
        uint32_t ulVal;
        uint64_t ullVal;
        int32_t errCode;
        long hRes;
        float fltVal;
        double dblVal;
        bool bVal;
        char chVal;
        char16_t wchVal;
        char* pstrVal;
        char16_t* pwstrVal;
        void* pInterfaceVal;
        tVariant* pvarVal;
    };
    union {
        uint32_t strLen;
        uint32_t wstrLen;
    };
    unsigned char reserved_[44];
    int32_t cbElements;
    uint16_t vt;
    uint16_t padding_;
};
typedef tVariant _tVariant;

static_assert(sizeof(tVariant) == 64, "tVariant is 64 bytes");
static_assert(offsetof(tVariant, pstrVal) == 0, "value or pointer at offset 0");
static_assert(offsetof(tVariant, strLen) == 8, "length at offset 8");
static_assert(offsetof(tVariant, wstrLen) == 8, "length at offset 8");
static_assert(offsetof(tVariant, cbElements) == 56, "element count at offset 56");
static_assert(offsetof(tVariant, vt) == 60, "type code at offset 60");
static_assert(sizeof(((tVariant*)nullptr)->vt) == 2, "type code is 16-bit");

// Allocator of the host. What the component hands over through it belongs to the host.
class IMemoryManager {
public:
    virtual ~IMemoryManager() {}
    virtual bool allocMemory(void** memory, unsigned long size) = 0;
    virtual void freeMemory(void** memory) = 0;
};

// Connection to the host, given to Init. The slot order is fixed by the host's binary
// interface; only reportError, setEventBufferDepth and externalEvent are used here.
class IAddInDefBase {
public:
    virtual ~IAddInDefBase() {}
    virtual bool reportError(unsigned short level, const char16_t* source, const char16_t* text,
                             long code) = 0;
    virtual bool read(char16_t* name, tVariant* value, long* errorCode, char16_t** errorText) = 0;
    virtual bool write(char16_t* name, tVariant* value) = 0;
    virtual bool registerProfileAs(char16_t* profileName) = 0;
    virtual bool setEventBufferDepth(long depth) = 0;
    virtual long getEventBufferDepth() = 0;
    virtual bool externalEvent(char16_t* source, char16_t* name, char16_t* data) = 0;
    virtual void cleanEventBuffer() = 0;
    virtual bool setStatusLine(char16_t* text) = 0;
    virtual void resetStatusLine() = 0;
};

// Numbers understood by IAddInDefBaseEx::queryInterface.
enum HostInterfaceId : int {
    eHostMessageBox = 0,
    eHostPlatformInfo = 1,
    eHostAndroidHelper = 2,
};

class IAddInDefBaseEx : public IAddInDefBase {
public:
    // 1: IHostPlatformInfo, 2: the Android helper (see HostAndroid.h), or null.
    virtual void* queryInterface(int id) = 0;
};

// Application kinds reported in HostAppInfo::application.
enum HostAppType : int32_t {
    eAppUnknown = -1,
    eAppThinClient = 0,
    eAppThickClient = 1,
    eAppWebClient = 2,
    eAppServer = 3,
    eAppExtConn = 4,
    eAppMobileClient = 5,
    eAppMobileServer = 6,
};

struct HostAppInfo {
    const char16_t* version;
    const char16_t* userAgent;
    int32_t application;
};
static_assert(offsetof(HostAppInfo, application) == 16, "application type is the third field");

class IHostPlatformInfo {
public:
    virtual const HostAppInfo* getPlatformInfo() = 0;
};

// Bases of a component, in the order the host expects them.
class IInitDoneBase {
public:
    virtual ~IInitDoneBase() {}
    virtual bool Init(void* connection) = 0;
    virtual bool setMemManager(void* memoryManager) = 0;
    virtual long GetInfo() = 0;
    virtual void Done() = 0;
};

class ILanguageExtenderBase {
public:
    virtual ~ILanguageExtenderBase() {}
    virtual bool RegisterExtensionAs(char16_t** extensionName) = 0;
    virtual long GetNProps() = 0;
    virtual long FindProp(const char16_t* name) = 0;
    virtual const char16_t* GetPropName(long num, long alias) = 0;
    virtual bool GetPropVal(long num, tVariant* value) = 0;
    virtual bool SetPropVal(long num, tVariant* value) = 0;
    virtual bool IsPropReadable(long num) = 0;
    virtual bool IsPropWritable(long num) = 0;
    virtual long GetNMethods() = 0;
    virtual long FindMethod(const char16_t* name) = 0;
    virtual const char16_t* GetMethodName(long num, long alias) = 0;
    virtual long GetNParams(long num) = 0;
    virtual bool GetParamDefValue(long num, long param, tVariant* value) = 0;
    virtual bool HasRetVal(long num) = 0;
    virtual bool CallAsProc(long num, tVariant* params, long count) = 0;
    virtual bool CallAsFunc(long num, tVariant* result, tVariant* params, long count) = 0;
};

class LocaleBase {
public:
    virtual ~LocaleBase() {}
    virtual void SetLocale(const char16_t* locale) = 0;
};

class UserLanguageBase {
public:
    virtual ~UserLanguageBase() {}
    virtual void SetUserInterfaceLanguageCode(const char16_t* code) = 0;
};

class IComponentBase : public IInitDoneBase,
                       public ILanguageExtenderBase,
                       public LocaleBase,
                       public UserLanguageBase {
public:
    virtual ~IComponentBase() {}
};

// Attach types answered by GetAttachType.
enum AttachType { eCanAttachNotIsolated = 1, eCanAttachIsolated = 2, eCanAttachAny = 3 };

// Signatures of the library's exported entry points.
extern "C" {
typedef const char16_t* (*GetClassNamesFn)();
typedef long (*GetClassObjectFn)(const char16_t* name, IComponentBase** slot);
typedef long (*DestroyObjectFn)(IComponentBase** slot);
typedef int (*GetAttachTypeFn)();
typedef int (*SetPlatformCapabilitiesFn)(int capabilities);
}
