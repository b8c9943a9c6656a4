// Build-wide macros: symbol export and source locations for errors.
#pragma once

// Marks a function that the host or the Java runtime finds by name in libkelmor.so.
#define KELMOR_EXPORT __attribute__((visibility("default")))

#define P_DISABLE_COPY(Class)                                                                      \
    Class(const Class&) = delete;                                                                  \
    Class& operator=(const Class&) = delete;
