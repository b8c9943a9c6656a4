// Helpers shared by the test programs: where the built library lies.
#pragma once

#include <chrono>
#include <cstdlib>
#include <string>

namespace kelmortest {

// How long a stress loop may run before it stops short of its cycle count: under TSan every
// thread start and JNI call costs many times more, so there time ends it, elsewhere the count.
#if defined(__SANITIZE_THREAD__)
#define KELMOR_TEST_UNDER_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KELMOR_TEST_UNDER_TSAN 1
#endif
#endif
#if defined(KELMOR_TEST_UNDER_TSAN)
inline constexpr std::chrono::seconds kStressTime{15};
#else
inline constexpr std::chrono::seconds kStressTime{120};
#endif

// Path of the built libkelmor.so (the KELMOR_LIBRARY environment variable wins).
inline std::string libraryPath()
{
    const char* fromEnvironment = std::getenv("KELMOR_LIBRARY");
    return fromEnvironment && *fromEnvironment ? fromEnvironment : KELMOR_LIBRARY_PATH;
}

}
