// Fuzz target: PXmlDocument::setContent and getElement. The input is a path, a line feed and
// the XML text; the whole tree is walked and printed, and handles are used across a re-parse.
#include "PXmlNodes.h"

#include <cstdint>
#include <cstdlib>
#include <string>

static void check(bool condition)
{
    if (!condition)
        std::abort();
}

static void walk(const PXmlElement& element, int depth)
{
    if (depth > 200)
        return;
    element.name();
    element.text();
    for (const PString& name : element.attributes())
        check(element.attribute(name, PVariant(1)).isText());
    for (PXmlElement child = element.firstChildElement(); child.isValid();
         child = child.nextSiblingElement()) {
        check(child.parentElement().isValid() || depth == 0);
        walk(child, depth + 1);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t cut = input.find('\n');
    const std::string path = cut == std::string::npos ? "action/fields/field" : input.substr(0, cut);
    const std::string xml = cut == std::string::npos ? input : input.substr(cut + 1);

    PXmlDocument document;
    PString message;
    const bool parsed = document.setContent(xml, false, &message, nullptr, nullptr);
    check(parsed == message.isEmpty());
    PXmlElement found = document.getElement(PString(path));
    if (found.isValid()) {
        found.attribute(PString("value"), PVariant()).toStdString();
        found.setAttribute(PString("seen"), PVariant(1));
    }
    walk(document.firstChildElement(), 0);
    document.toString();

    // Handles from the old content must go invalid, never reach freed nodes.
    document.setContent(PString("<a/>"));
    check(!found.isValid());
    found.attributes();
    found.appendChild(document.createElement(PString("x")));
    return 0;
}
