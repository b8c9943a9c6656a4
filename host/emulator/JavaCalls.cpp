// The program's few direct calls into the Java side: system properties, the companions'
// static entry points and the serial port list.
#include "KelmorHost.h"
#include "PHostJvm.h"

#include <cstring>

namespace kelmorhost {

std::string fromBase64(const std::string& text)
{
    static const std::string digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned value = 0;
    int bits = 0;
    for (char c : text) {
        const size_t digit = digits.find(c);
        if (digit == std::string::npos)
            break;
        value = (value << 6) | static_cast<unsigned>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>((value >> bits) & 0xFF);
        }
    }
    return out;
}

bool callJava(const char* className, const char* method, const char* signature,
              const std::vector<std::string>& texts)
{
    JNIEnv* env = PHostJvm::env();
    auto cls = static_cast<jclass>(PHostJvm::androidHelper().findClass(fromUtf8(className).c_str()));
    if (!env || !cls)
        return false;
    std::vector<jvalue> values(texts.size());
    for (size_t i = 0; i < texts.size(); ++i)
        values[i].l = env->NewStringUTF(texts[i].c_str());
    jmethodID id = env->GetStaticMethodID(cls, method, signature);
    const char returned = signature[std::strlen(signature) - 1];
    if (id && returned == 'I')
        env->CallStaticIntMethodA(cls, id, values.data());
    else if (id && returned == 'V')
        env->CallStaticVoidMethodA(cls, id, values.data());
    else if (id)
        env->DeleteLocalRef(env->CallStaticObjectMethodA(cls, id, values.data()));
    const bool failed = !id || env->ExceptionCheck();
    env->ExceptionClear();
    for (jvalue& value : values)
        env->DeleteLocalRef(value.l);
    env->DeleteLocalRef(cls);
    return !failed;
}

bool broadcast(const std::string& action, const std::string& extra, const std::string& value)
{
    JNIEnv* env = PHostJvm::env();
    auto intentClass = static_cast<jclass>(PHostJvm::androidHelper().findClass(u"android.content.Intent"));
    if (!intentClass)
        return false;
    jstring a = env->NewStringUTF(action.c_str());
    jstring e = env->NewStringUTF(extra.c_str());
    jstring v = env->NewStringUTF(value.c_str());
    jobject intent = env->NewObject(intentClass, env->GetMethodID(intentClass, "<init>", "(Ljava/lang/String;)V"), a);
    if (intent)
        env->DeleteLocalRef(env->CallObjectMethod(
            intent, env->GetMethodID(intentClass, "putExtra", "(Ljava/lang/String;Ljava/lang/String;)Landroid/content/Intent;"), e, v));
    auto receiver = static_cast<jclass>(PHostJvm::androidHelper().findClass(u"com.tavrel.piodevice.PBroadcastReceaver"));
    if (intent && receiver)
        env->CallStaticVoidMethod(receiver, env->GetStaticMethodID(receiver, "sendBroadcast", "(Landroid/content/Intent;)V"), intent);
    const bool failed = !intent || !receiver || env->ExceptionCheck();
    env->ExceptionClear();
    for (jobject ref : {static_cast<jobject>(intentClass), static_cast<jobject>(receiver), static_cast<jobject>(a),
                        static_cast<jobject>(e), static_cast<jobject>(v), intent})
        if (ref)
            env->DeleteLocalRef(ref);
    return !failed;
}

bool setProperty(const std::string& key, const std::string& value)
{
    JNIEnv* env = PHostJvm::env();
    jclass system = env->FindClass("java/lang/System");
    jmethodID set = env->GetStaticMethodID(
        system, "setProperty", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;");
    jstring k = env->NewStringUTF(key.c_str());
    jstring v = env->NewStringUTF(value.c_str());
    jobject old = env->CallStaticObjectMethod(system, set, k, v);
    const bool failed = env->ExceptionCheck();
    env->ExceptionClear();
    for (jobject ref : {static_cast<jobject>(system), static_cast<jobject>(k), static_cast<jobject>(v), old})
        env->DeleteLocalRef(ref);
    return !failed;
}

std::vector<std::string> serialPorts()
{
    JNIEnv* env = PHostJvm::env();
    std::vector<std::string> ports;
    auto cls = static_cast<jclass>(PHostJvm::androidHelper().findClass(u"com.tavrel.piodevice.PSerialPort"));
    jmethodID list = cls ? env->GetStaticMethodID(cls, "availibleDevices",
                                                  "(Landroid/app/Activity;)Ljava/lang/String;")
                         : nullptr;
    auto answer = list ? static_cast<jstring>(env->CallStaticObjectMethod(cls, list, nullptr)) : nullptr;
    env->ExceptionClear();
    if (answer) {
        const char* chars = env->GetStringUTFChars(answer, nullptr);
        std::string text = chars ? chars : "";
        if (chars)
            env->ReleaseStringUTFChars(answer, chars);
        env->DeleteLocalRef(answer);
        for (size_t at = 0, end; (end = text.find(';', at)) != std::string::npos; at = end + 1)
            ports.push_back(fromBase64(text.substr(at, end - at)));
    }
    if (cls)
        env->DeleteLocalRef(cls);
    return ports;
}

std::string property(const std::string& key)
{
    JNIEnv* env = PHostJvm::env();
    jclass system = env->FindClass("java/lang/System");
    jstring k = env->NewStringUTF(key.c_str());
    auto value = static_cast<jstring>(env->CallStaticObjectMethod(
        system, env->GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;"), k));
    env->ExceptionClear();
    std::string text;
    if (value) {
        const char* chars = env->GetStringUTFChars(value, nullptr);
        text = chars ? chars : "";
        if (chars)
            env->ReleaseStringUTFChars(value, chars);
        env->DeleteLocalRef(value);
    }
    env->DeleteLocalRef(k);
    env->DeleteLocalRef(system);
    return text;
}

std::string serialPortNumber(const std::string& path)
{
    const std::string known = property("kelmor.serial.ports");
    if (("," + known + ",").find("," + path + ",") == std::string::npos)
        setProperty("kelmor.serial.ports", known.empty() ? path : known + "," + path);
    const std::vector<std::string> ports = serialPorts();
    for (size_t i = 0; i < ports.size(); ++i)
        if (ports[i] == path)
            return std::to_string(i + 1);
    return {};
}

}
