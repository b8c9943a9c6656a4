// parseIniData's byte state machine and PINIReader's file access.
#include "PINIReader.h"

#include "StrakeText.h"

#include <cctype>
#include <fstream>
#include <iterator>

namespace {

const char kModule[] = "jni/../../strake/PINIReader";
const char kWrongFormat[] = "wrong ini format";

enum class State { Name, Value, Comment };

} // namespace

namespace strake {

PPropertyBag parseIniData(const std::string& text, PError* error)
{
    PPropertyBag bag;
    PError result;
    try {
        State state = State::Name;
        std::string name;
        std::string value;
        for (const char ch : text) {
            if (ch == '\0')
                break;
            if (ch == '\n') {
                name = trimed<char>(name);
                value = trimed<char>(value);
                if (state == State::Name && !name.empty())
                    throw P_MODULE_ERROR(kModule, PError::BadArgument, kWrongFormat);
                if (!name.empty() && !value.empty())
                    bag.addValue(PString(name), PVariant(value));
                name.clear();
                value.clear();
                state = State::Name;
                continue;
            }
            if (state == State::Comment)
                continue;
            switch (ch) {
            case '=':
                if (state == State::Value)
                    throw P_MODULE_ERROR(kModule, PError::BadArgument, kWrongFormat);
                state = State::Value;
                break;
            case '[':
                if (state == State::Name)
                    throw P_MODULE_ERROR(kModule, PError::NotImplemented, PString());
                throw P_MODULE_ERROR(kModule, PError::BadArgument, kWrongFormat);
            case ']':
                throw P_MODULE_ERROR(kModule, PError::BadArgument, kWrongFormat);
            case ';':
                state = State::Comment;
                break;
            default:
                // The cast keeps bytes above 0x7F out of isprint's undefined range where char
                // is signed.
                if (std::isprint(static_cast<unsigned char>(ch)))
                    (state == State::Name ? name : value) += ch;
                break;
            }
        }
    } catch (...) {
        result = PError::fromCurrentException();
    }
    if (result.isError())
        bag.clear();
    PError::settle(result, error);
    return bag;
}

}

PINIReader::PINIReader(const PString& path)
{
    d->path = path;
}

PINIReader::~PINIReader() = default;

void PINIReader::setFilePath(const PString& path)
{
    d->path = path;
    d->settings.clear();
}

PPropertyBag PINIReader::getSettings()
{
    if (!d->settings.empty())
        return d->settings;
    PError error;
    try {
        if (d->path.isEmpty())
            throw P_MODULE_ERROR(kModule, PError::GeneralFailure, "bad file path");
        std::ifstream file(d->path.toStdString(), std::ios::binary);
        if (!file)
            throw P_MODULE_ERROR(kModule, PError::DeviceFailure, "cant access file");
        const std::string content((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
        if (content.empty())
            throw P_MODULE_ERROR(kModule, PError::GeneralFailure,
                                 "failed to read, or file is empty");
        d->settings = strake::parseIniData(content, &error);
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (error.isError())
        d->settings.clear();
    d->lastError = error;
    return d->settings;
}

PPropertyBag PINIReader::readSettings(const PString& path, PError* error)
{
    PINIReader reader(path);
    PPropertyBag settings = reader.getSettings();
    if (error)
        *error = reader.lastError();
    return settings;
}
