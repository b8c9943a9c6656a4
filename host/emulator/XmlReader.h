// Reads the settings form, flat: each element in document order with its attributes, its
// direct text and its depth. Enough for the form the library writes; not a general parser.
#pragma once

#include <cctype>
#include <string>
#include <utility>
#include <vector>

namespace kelmorhost {

struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;
    int depth = 0;

    std::string attribute(const std::string& key) const
    {
        for (const auto& pair : attributes)
            if (pair.first == key)
                return pair.second;
        return {};
    }
};

inline std::string xmlUnescape(const std::string& text)
{
    static const std::pair<const char*, char> entities[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}};
    std::string out;
    for (size_t i = 0; i < text.size();) {
        bool matched = false;
        for (const auto& entity : entities) {
            const std::string key = entity.first;
            if (text.compare(i, key.size(), key) == 0) {
                out += entity.second;
                i += key.size();
                matched = true;
                break;
            }
        }
        if (!matched)
            out += text[i++];
    }
    return out;
}

inline std::vector<XmlElement> readXml(const std::string& xml)
{
    std::vector<XmlElement> elements;
    std::vector<size_t> open;  // indexes of the elements not yet closed
    size_t i = 0;
    while ((i = xml.find('<', i)) != std::string::npos) {
        const size_t end = xml.find('>', i);
        if (end == std::string::npos)
            break;
        const std::string tag = xml.substr(i + 1, end - i - 1);
        const size_t textEnd = xml.find('<', end);
        if (tag.empty() || tag[0] == '?' || tag[0] == '!') {
            i = end + 1;
            continue;
        }
        if (tag[0] == '/') {
            if (!open.empty())
                open.pop_back();
            i = end + 1;
            continue;
        }
        XmlElement element;
        element.depth = static_cast<int>(open.size());
        size_t p = 0;
        while (p < tag.size() && !std::isspace(static_cast<unsigned char>(tag[p])) && tag[p] != '/')
            element.name += tag[p++];
        while (true) {
            const size_t eq = tag.find('=', p);
            if (eq == std::string::npos)
                break;
            size_t keyStart = p;
            while (keyStart < eq && std::isspace(static_cast<unsigned char>(tag[keyStart])))
                ++keyStart;
            const size_t q1 = tag.find('"', eq);
            const size_t q2 = q1 == std::string::npos ? q1 : tag.find('"', q1 + 1);
            if (q2 == std::string::npos)
                break;
            element.attributes.emplace_back(tag.substr(keyStart, eq - keyStart),
                                            xmlUnescape(tag.substr(q1 + 1, q2 - q1 - 1)));
            p = q2 + 1;
        }
        const bool selfClosed = tag.back() == '/';
        if (!selfClosed && textEnd != std::string::npos)
            element.text = xmlUnescape(xml.substr(end + 1, textEnd - end - 1));
        elements.push_back(element);
        if (!selfClosed)
            open.push_back(elements.size() - 1);
        i = end + 1;
    }
    return elements;
}

}
