// Helpers shared by the test programs.
#include "TestSupport.h"

#include <cstdlib>

namespace kelmortest {

std::string libraryPath()
{
    const char* fromEnvironment = std::getenv("KELMOR_LIBRARY");
    if (fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return KELMOR_LIBRARY_PATH;
}

}
