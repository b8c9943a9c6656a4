// The functions the Java runtime finds by name in the library: load, unload and the Java
// logger's writer.
#include "PJNIHelper.h"
#include "PLogger.h"

#include <jni.h>

#include <cstdint>

extern "C" KELMOR_EXPORT jint JNI_OnLoad(JavaVM* vm, void*)
{
    PJNIHelper::setJavaVM(vm);
    return JNI_VERSION_1_6;
}

extern "C" KELMOR_EXPORT void JNI_OnUnload(JavaVM*, void*)
{
    PJNIHelper::setJavaVM(nullptr);
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_strake_PLogger_PLoggerWrite(JNIEnv* env, jclass,
                                                                         jlong logger,
                                                                         jstring text)
{
    try {
        trace("Strake", "Java_com_tavrel_strake_PLogger_PLoggerWrite");
        auto* target = reinterpret_cast<PLogger*>(static_cast<intptr_t>(logger));
        if (!target) {
            trace("Strake", "Java_com_tavrel_strake_PLogger_PLoggerWrite : no object");
            return;
        }
        const std::string line =
            "JAVA: " + PString(strake::jstr2str<char16_t>(env, text)).toStdString() + "\n\r";
        *target << line;
    } catch (...) {
        // Nothing may reach the Java caller.
    }
}
