// PlatformNativeBase: the host's index-based component interface answered from a PVKExtention
// table; PlatformNativeBaseEx adds the lock for calls that must not overlap.
#pragma once

#include "HostInterface.h"
#include "PError.h"
#include "PGlobal.h"
#include "PVKExtention.h"

#include <memory>
#include <mutex>

struct PlatformNativeBasePrivate;

// A component derives from this, fills the table in its Init and supplies SetLocale.
// Every host operation ends its own exceptions: a failure becomes a reportError of level
// 1003 on the connection (and the last error), and the operation answers false, 0 or null.
// The operations that answer from the table are final; those a component supplies itself
// (Init, Done, RegisterExtensionAs, SetLocale) end theirs in hostCall, the same ladder.
// Strings handed to the host come from the host's memory manager and are the host's.
// Thread-safety: the table is read without a lock once built; the last error has its own
// lock, so any thread may read or write it.
class PlatformNativeBase : public IComponentBase, public PVKExtention {
public:
    enum : long { InterfaceRevision = 3003 };
    enum : int { ErrorLevel = 1003 };

    PlatformNativeBase();
    PlatformNativeBase(const PString& version, const PString& extensionName);
    ~PlatformNativeBase() override;
    P_DISABLE_COPY(PlatformNativeBase)

    // Stores the host's IAddInDefBase; true when it is not null.
    bool Init(void* connection) override;
    // Stores the host's IMemoryManager; true when it is not null.
    bool setMemManager(void* memoryManager) final;
    long GetInfo() override;
    void Done() override;
    void SetUserInterfaceLanguageCode(const char16_t* code) final;

    // The extension name in host memory; false (and *out untouched) without a memory
    // manager or an out pointer.
    bool RegisterExtensionAs(char16_t** out) override;
    long GetNProps() final;
    long FindProp(const char16_t* name) final;
    const char16_t* GetPropName(long index, long alias) final;
    bool GetPropVal(long index, tVariant* value) final;
    bool SetPropVal(long index, tVariant* value) final;
    bool IsPropReadable(long index) final;
    bool IsPropWritable(long index) final;
    long GetNMethods() final;
    long FindMethod(const char16_t* name) final;
    const char16_t* GetMethodName(long index, long alias) final;
    long GetNParams(long index) final;
    bool GetParamDefValue(long index, long param, tVariant* value) final;
    bool HasRetVal(long index) final;
    bool CallAsProc(long index, tVariant* params, long count) final;
    bool CallAsFunc(long index, tVariant* result, tVariant* params, long count) final;

    // A connection was given to Init.
    virtual bool isInitialized() const;

    PError getLastError() const;
    void setLastError(const PError& error);
    // Keeps the error as the last one and reports it to the host's reportError, when
    // there is a connection. Throws nothing.
    void pushError(int level, const PString& source, const PError& error);
    // The same with the extension name as source.
    void pushError(int level, const PError& error);

    PString version() const;
    PString extensionName() const;

protected:
    IAddInDefBase* connection() const { return m_connection; }
    IMemoryManager* memoryManager() const { return m_memoryManager; }

    // The one frame of a host operation: runs work and answers its result. What work throws
    // becomes the error of the one catch ladder (a standard exception's text kept or dropped
    // as standard says, the site given as function and line otherwise), which is reported by
    // pushError of ErrorLevel; the answer is then failed. Nothing escapes into the host.
    template <class R, class Work>
    R hostCall(R failed, const char* function, int line, Work&& work,
               PError::StandardText standard = PError::StandardText::Dropped) noexcept
    {
        try {
            try {
                return work();
            } catch (...) {
                reportCurrentException(function, line, standard);
            }
        } catch (...) {
            // Only memory exhaustion while reporting can get here; the host still gets an answer.
        }
        return failed;
    }

private:
    // Reports the exception being handled; called only from inside a catch block.
    void reportCurrentException(const char* function, int line, PError::StandardText standard);
    PMethod methodAt(long index, const char* function, int line) const;
    PProperty propertyAt(long index, const char* message, const char* function, int line) const;

    IAddInDefBase* m_connection = nullptr;      // not owned: the host's
    IMemoryManager* m_memoryManager = nullptr;  // not owned: the host's
    std::unique_ptr<PlatformNativeBasePrivate> d;
};

// Adds one non-recursive lock that a component's handlers take around work that must not
// overlap (its settings). A handler that holds it must not enter another exclusive call of
// the same object.
class PlatformNativeBaseEx : public PlatformNativeBase {
public:
    PlatformNativeBaseEx();
    PlatformNativeBaseEx(const PString& version, const PString& extensionName);
    ~PlatformNativeBaseEx() override;

    // Throws std::system_error when the lock itself fails.
    void exclusiveCallBegin();
    void exclusiveCallEnd();

private:
    std::unique_ptr<std::mutex> m_exclusive;  // guards the derived component's settings
};

// Holds a component's exclusive lock for a scope.
class PExclusiveCall {
public:
    explicit PExclusiveCall(PlatformNativeBaseEx& component) : m_component(component)
    {
        m_component.exclusiveCallBegin();
    }
    ~PExclusiveCall() { m_component.exclusiveCallEnd(); }
    P_DISABLE_COPY(PExclusiveCall)

private:
    PlatformNativeBaseEx& m_component;
};
