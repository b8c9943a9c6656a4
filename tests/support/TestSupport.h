// Helpers shared by the test programs: where the built library lies.
#pragma once

#include <string>

namespace kelmortest {

// Path of the built libkelmor.so (the KELMOR_LIBRARY environment variable wins).
std::string libraryPath();

}
