// The calling thread's JNIEnv and the free conversions of strings and byte arrays across JNI:
// what the JNI guards and the helper both need, with nothing of either behind it.
#pragma once

#include "PByteArray.h"

#include <jni.h>

#include <string>

namespace strake {

// The calling thread's env. A thread the VM doesn't know is attached as a daemon for the rest
// of its life. Null without a VM (JNI_OnLoad not run) or when the VM refuses.
JNIEnv* getJniEnv();

// A new local Java string of the UTF-16 units; null for a null env.
template <class Char>
jstring str2jstr(JNIEnv* env, const std::basic_string<Char>& text);
template <>
jstring str2jstr<char16_t>(JNIEnv* env, const std::basic_string<char16_t>& text);

// The UTF-16 units of a Java string; empty for a null env or a null string.
template <class Char>
std::basic_string<Char> jstr2str(JNIEnv* env, const jstring& text);
template <>
std::basic_string<char16_t> jstr2str<char16_t>(JNIEnv* env, const jstring& text);

// A new local Java byte array holding the bytes (empty for null bytes); null for a null env.
jbyteArray byteArray2jbyteArray(JNIEnv* env, const char* bytes, unsigned long length);
jbyteArray str2jbyteArray(JNIEnv* env, std::string bytes);

// Copies a Java byte array into a new buffer of length + 1 bytes, the last one 0. The caller
// owns the buffer (delete[]). False, with nothing allocated, for a null env, array or
// out-parameter.
bool jbyteArray2ByteArray(JNIEnv* env, jbyteArray array, unsigned char** buffer,
                          unsigned long* length);
// The same as a value; empty on the same failures.
PByteArray jbyteArray2ByteArray(JNIEnv* env, jbyteArray array);
std::string jbyteArray2str(JNIEnv* env, jbyteArray array);

// Appends the throwable's toString and frames, then those of each cause behind
// "\nCaused by: ", to out. The method ids: Throwable.getCause, Throwable.getStackTrace,
// Throwable.toString, StackTraceElement.toString. A Java failure on the way ends the walk.
void append_exception_trace_messages(JNIEnv& env, std::string& out, jthrowable throwable,
                                     jmethodID getCause, jmethodID getStackTrace,
                                     jmethodID throwableToString, jmethodID frameToString);

}
