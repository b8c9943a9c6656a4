// KelmorNative: the driver component the host creates by class name.
#pragma once

#include "HostInterface.h"
#include "PString.h"

// The component object. Made and destroyed only through the object registry.
class KelmorNative : public IComponentBase {
public:
    KelmorNative();
    ~KelmorNative() override;
    KelmorNative(const KelmorNative&) = delete;
    KelmorNative& operator=(const KelmorNative&) = delete;

    // The class name the host asked for; "InputDevice" until set.
    void setExtentionName(const PString& name);
    PString extentionName() const;

    bool Init(void* connection) override;
    bool setMemManager(void* memoryManager) override;
    long GetInfo() override;
    void Done() override;
    bool RegisterExtensionAs(char16_t** extensionName) override;
    long GetNProps() override;
    long FindProp(const char16_t* name) override;
    const char16_t* GetPropName(long num, long alias) override;
    bool GetPropVal(long num, tVariant* value) override;
    bool SetPropVal(long num, tVariant* value) override;
    bool IsPropReadable(long num) override;
    bool IsPropWritable(long num) override;
    long GetNMethods() override;
    long FindMethod(const char16_t* name) override;
    const char16_t* GetMethodName(long num, long alias) override;
    long GetNParams(long num) override;
    bool GetParamDefValue(long num, long param, tVariant* value) override;
    bool HasRetVal(long num) override;
    bool CallAsProc(long num, tVariant* params, long count) override;
    bool CallAsFunc(long num, tVariant* result, tVariant* params, long count) override;
    void SetLocale(const char16_t* locale) override;
    void SetUserInterfaceLanguageCode(const char16_t* code) override;

private:
    PString m_extentionName;
    IAddInDefBase* m_connection = nullptr;
    IMemoryManager* m_memoryManager = nullptr;
};
