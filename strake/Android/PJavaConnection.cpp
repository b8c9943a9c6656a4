// The JNI-free facade of the Java connection, for the component.
#include "PJavaConnection.h"
#include "PJNIGuards.h"
#include "PJNIHelper.h"

namespace strake {

bool connectJava(IAddInDefBaseEx* host, const PString& javaLibrary)
{
    const bool connected = PJNIHelper::connect(host);
    PJNIHelper::registerJavaLibraryForDelayedLoad(javaLibrary);
    return connected;
}

bool disconnectJava()
{
    return PJNIHelper::disconnect();
}

bool callJavaStaticWithText(const PString& className, const PString& method, const PString& text)
{
    PJNIClass cls = PJNIHelper::getClass(className);
    if (!getJniEnv() || !cls.isValid())
        return false;
    PJNILocalRef argument = PJNILocalRef::string(text);
    cls.callStaticVoidMethod(method, "(Ljava/lang/String;)V", argument.get());
    return !cls.lastError().isError();
}

}
