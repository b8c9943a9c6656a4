// kelmor-host: loads libkelmor.so as the host platform does, makes one component of each
// class, lists its methods with their aliases and asks it for its version and description.
#include "PHostLibrary.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

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

// Lists the component's table and answers; false when it could not be attached.
bool show(PHostComponent& component)
{
    if (!component.attach())
        return false;
    std::printf("  registered as %s\n", hostToUtf8(component.extensionName()).c_str());
    for (long i = 0; i < component->GetNMethods(); ++i) {
        const std::u16string name = component.take(component->GetMethodName(i, 0));
        const std::u16string alias = component.take(component->GetMethodName(i, 1));
        std::printf("  %2ld %s / %s, %ld parameter(s)%s\n", i, hostToUtf8(name).c_str(),
                    hostToUtf8(alias).c_str(), component->GetNParams(i),
                    component->HasRetVal(i) ? ", returns a value" : "");
    }
    PHostCall version = component.call(u"Version");
    std::printf("  version: %s\n", hostToUtf8(version.resultText()).c_str());
    tVariant out;
    std::memset(&out, 0, sizeof out);
    PHostCall description = component.call(u"GetDescription", {out});
    std::printf("  description:\n%s", hostToUtf8(description.paramText(0)).c_str());
    for (const PHostReportedError& error : component.connection().errors())
        std::printf("  error %u %ld: %s\n", error.level, error.code,
                    hostToUtf8(error.text).c_str());
    return version.answered && description.answered;
}

}

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : KELMOR_LIBRARY_PATH;
    PHostLibrary library(path);
    if (!library.isLoaded()) {
        std::fprintf(stderr, "%s\n", library.errorText().c_str());
        return 1;
    }
    const char16_t* names = library.getClassNames();
    std::printf("library: %s\nclasses: %s\nattach type: %d\n", path,
                hostToUtf8(names).c_str(), library.getAttachType());
    int failures = 0;
    for (const auto& name : splitNames(names)) {
        std::printf("%s:\n", hostToUtf8(name).c_str());
        PHostComponent component(library, name);
        if (!component.isValid() || !show(component)) {
            std::printf("  cannot be used\n");
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
