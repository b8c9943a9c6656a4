// KelmorNative: the driver component. For now a component with no methods and no properties.
#include "AddInNative.h"

#include <cstring>

KelmorNative::KelmorNative() : m_extentionName("InputDevice") {}

KelmorNative::~KelmorNative() = default;

void KelmorNative::setExtentionName(const PString& name)
{
    m_extentionName = name;
}

PString KelmorNative::extentionName() const
{
    return m_extentionName;
}

bool KelmorNative::Init(void* connection)
{
    m_connection = static_cast<IAddInDefBase*>(connection);
    return m_connection != nullptr;
}

bool KelmorNative::setMemManager(void* memoryManager)
{
    m_memoryManager = static_cast<IMemoryManager*>(memoryManager);
    return m_memoryManager != nullptr;
}

long KelmorNative::GetInfo()
{
    return 2000;
}

void KelmorNative::Done() {}

bool KelmorNative::RegisterExtensionAs(char16_t** extensionName)
{
    if (!extensionName || !m_memoryManager)
        return false;
    const std::u16string& name = m_extentionName.toTavrelString();
    const unsigned long bytes = (name.size() + 1) * sizeof(char16_t);
    void* block = nullptr;
    if (!m_memoryManager->allocMemory(&block, bytes) || !block)
        return false;
    std::memcpy(block, name.c_str(), bytes);
    *extensionName = static_cast<char16_t*>(block);
    return true;
}

long KelmorNative::GetNProps() { return 0; }
long KelmorNative::FindProp(const char16_t*) { return -1; }
const char16_t* KelmorNative::GetPropName(long, long) { return nullptr; }
bool KelmorNative::GetPropVal(long, tVariant*) { return false; }
bool KelmorNative::SetPropVal(long, tVariant*) { return false; }
bool KelmorNative::IsPropReadable(long) { return false; }
bool KelmorNative::IsPropWritable(long) { return false; }
long KelmorNative::GetNMethods() { return 0; }
long KelmorNative::FindMethod(const char16_t*) { return -1; }
const char16_t* KelmorNative::GetMethodName(long, long) { return nullptr; }
long KelmorNative::GetNParams(long) { return 0; }
bool KelmorNative::GetParamDefValue(long, long, tVariant*) { return false; }
bool KelmorNative::HasRetVal(long) { return false; }
bool KelmorNative::CallAsProc(long, tVariant*, long) { return false; }
bool KelmorNative::CallAsFunc(long, tVariant*, tVariant*, long) { return false; }
void KelmorNative::SetLocale(const char16_t*) {}
void KelmorNative::SetUserInterfaceLanguageCode(const char16_t*) {}
