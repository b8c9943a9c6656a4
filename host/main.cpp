// kelmor-host: loads libkelmor.so as the host platform does, lists its classes and creates
// and destroys one component of each.
#include "HostInterface.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string toUtf8(const char16_t* text)
{
    std::string out;
    for (; text && *text; ++text) {
        char32_t c = *text;
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::vector<std::u16string> splitNames(const char16_t* names)
{
    std::vector<std::u16string> result(1);
    for (; names && *names; ++names) {
        if (*names == u'|')
            result.emplace_back();
        else
            result.back() += *names;
    }
    return result;
}

}

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : KELMOR_LIBRARY_PATH;
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return 1;
    }
    auto getClassNames = reinterpret_cast<GetClassNamesFn>(dlsym(library, "GetClassNames"));
    auto getClassObject = reinterpret_cast<GetClassObjectFn>(dlsym(library, "GetClassObject"));
    auto destroyObject = reinterpret_cast<DestroyObjectFn>(dlsym(library, "DestroyObject"));
    auto getAttachType = reinterpret_cast<GetAttachTypeFn>(dlsym(library, "GetAttachType"));
    if (!getClassNames || !getClassObject || !destroyObject || !getAttachType) {
        std::fprintf(stderr, "%s lacks an entry point\n", path);
        return 1;
    }
    const char16_t* names = getClassNames();
    std::printf("library: %s\nclasses: %s\nattach type: %d\n", path, toUtf8(names).c_str(),
                getAttachType());
    int failures = 0;
    for (const auto& name : splitNames(names)) {
        IComponentBase* object = nullptr;
        long address = getClassObject(name.c_str(), &object);
        long destroyed = destroyObject(&object);
        std::printf("%s: created %s, destroyed %s\n", toUtf8(name.c_str()).c_str(),
                    address ? "yes" : "no", destroyed == 0 ? "yes" : "no");
        if (!address || destroyed != 0)
            ++failures;
    }
    dlclose(library);
    return failures == 0 ? 0 : 1;
}
