// The JNI-free facade of the Java connection, for the component.
#include "PJavaConnection.h"
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

}
