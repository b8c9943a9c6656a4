// PVKSettings and PXMLParametersBuilder: the parameter store and its document.
#include "PVKSettings.h"

#include "StrakeVariant.h"

#include <map>
#include <tinyxml2.h>

struct PXMLParametersBuilderPrivate {
    tinyxml2::XMLDocument document;
    // Not owned: nodes of the document, null when there is none.
    tinyxml2::XMLElement* root = nullptr;
    tinyxml2::XMLElement* page = nullptr;
    tinyxml2::XMLElement* group = nullptr;
};

namespace {

const char* typeValue(PXMLParametersBuilder::ParametersTypes type, bool withChoices)
{
    switch (type) {
    case PXMLParametersBuilder::Boolean:
        return withChoices ? "Boolean" : "Bool";
    case PXMLParametersBuilder::Number:
        return "Number";
    case PXMLParametersBuilder::String:
        return "String";
    default:
        return "";
    }
}

// The element of one parameter at the end of the current group, or null without a group.
tinyxml2::XMLElement* newParameter(PXMLParametersBuilderPrivate& d, const PString& name,
                                   const PString& caption, const PString& description,
                                   const char* type, const PString& defaultValue)
{
    if (!d.group)
        return nullptr;
    tinyxml2::XMLElement* parameter = d.document.NewElement("Parameter");
    parameter->SetAttribute("Name", name.toStdString().c_str());
    parameter->SetAttribute("Caption", caption.toStdString().c_str());
    parameter->SetAttribute("Description", description.toStdString().c_str());
    parameter->SetAttribute("TypeValue", type);
    parameter->SetAttribute("DefaultValue", defaultValue.toStdString().c_str());
    d.group->InsertEndChild(parameter);
    return parameter;
}

}

PXMLParametersBuilder::PXMLParametersBuilder() : d(new PXMLParametersBuilderPrivate)
{
    clear();
}

PXMLParametersBuilder::~PXMLParametersBuilder() = default;
PXMLParametersBuilder::PXMLParametersBuilder(PXMLParametersBuilder&&) noexcept = default;
PXMLParametersBuilder& PXMLParametersBuilder::operator=(PXMLParametersBuilder&&) noexcept = default;

void PXMLParametersBuilder::addPage(const PString& caption)
{
    if (!d->root)
        return;
    tinyxml2::XMLElement* page = d->document.NewElement("Page");
    page->SetAttribute("Caption", caption.toStdString().c_str());
    if (d->page)
        d->root->InsertAfterChild(d->page, page);
    else
        d->root->InsertFirstChild(page);
    d->page = page;
    d->group = nullptr;
}

void PXMLParametersBuilder::addGroup(const PString& caption)
{
    if (!d->page)
        return;
    tinyxml2::XMLElement* group = d->document.NewElement("Group");
    group->SetAttribute("Caption", caption.toStdString().c_str());
    if (d->group)
        d->page->InsertAfterChild(d->group, group);
    else
        d->page->InsertFirstChild(group);
    d->group = group;
}

void PXMLParametersBuilder::addParameter(const PString& name, const PString& caption,
                                         const PString& description, ParametersTypes type,
                                         const PString& defaultValue, const Choices& choices)
{
    tinyxml2::XMLElement* parameter =
        newParameter(*d, name, caption, description, typeValue(type, true), defaultValue);
    if (!parameter || choices.empty())
        return;
    tinyxml2::XMLElement* list = d->document.NewElement("ChoiceList");
    parameter->InsertEndChild(list);
    for (const auto& choice : choices) {
        tinyxml2::XMLElement* item = d->document.NewElement("Item");
        item->SetAttribute("Value", choice.first.toStdString().c_str());
        item->SetText(choice.second.toStdString().c_str());
        list->InsertEndChild(item);
    }
}

void PXMLParametersBuilder::addParameter(const PString& name, const PString& caption,
                                         const PString& description, ParametersTypes type,
                                         const PString& defaultValue, bool readOnly)
{
    tinyxml2::XMLElement* parameter =
        newParameter(*d, name, caption, description, typeValue(type, false), defaultValue);
    if (parameter)
        parameter->SetAttribute("ReadOnly", readOnly ? "True" : "False");
}

void PXMLParametersBuilder::clear()
{
    d->document.Clear();
    d->document.InsertFirstChild(d->document.NewDeclaration());
    d->root = d->document.NewElement("Settings");
    d->document.InsertEndChild(d->root);
    d->page = nullptr;
    d->group = nullptr;
}

PString PXMLParametersBuilder::toString(const PString&) const
{
    tinyxml2::XMLPrinter printer;
    d->document.Print(&printer);
    return PString(printer.CStr());
}

struct PVKSettingsPrivate {
    PError lastError;
    std::map<PString, PVKSettingsParameterMetadata> parameters;
    PXMLParametersBuilder builder;
};

namespace {

PError settingsError(int code, const char* message, int line)
{
    return PError(code, PString(message), PString("jni/../../strake/PVKSettings"),
                  PString("bool PVKSettings::setParameter(const PString&, tVariant*)"), line);
}

}

PVKSettings::PVKSettings() : d(new PVKSettingsPrivate) {}
PVKSettings::~PVKSettings() = default;
PVKSettings::PVKSettings(PVKSettings&&) noexcept = default;
PVKSettings& PVKSettings::operator=(PVKSettings&&) noexcept = default;

void PVKSettings::addPage(const PString& caption)
{
    d->builder.addPage(caption);
}

void PVKSettings::addGroup(const PString& caption)
{
    d->builder.addGroup(caption);
}

void PVKSettings::addParameter(const PString& name, const PString& caption,
                               const PString& description, ParametersTypes type,
                               const PString& defaultValue, const Choices& choices, bool hidden,
                               PVKSettingsConverter converter)
{
    PVKSettingsParameterMetadata& entry = d->parameters[name];
    entry.hidden = hidden;
    entry.readOnly = false;
    entry.converter = std::move(converter);
    entry.type = type;
    entry.value = PVariant(defaultValue);
    if (!hidden)
        d->builder.addParameter(name, caption, description, type, defaultValue, choices);
}

void PVKSettings::addParameter(const PString& name, const PString& caption,
                               const PString& description, ParametersTypes type,
                               const PString& defaultValue, bool readOnly, bool hidden,
                               PVKSettingsConverter converter)
{
    PVKSettingsParameterMetadata& entry = d->parameters[name];
    entry.hidden = hidden;
    entry.readOnly = readOnly;
    entry.converter = std::move(converter);
    entry.type = type;
    entry.value = PVariant(defaultValue);
    if (!hidden)
        d->builder.addParameter(name, caption, description, type, defaultValue, readOnly);
}

bool PVKSettings::setParameter(const PString& name, tVariant* value)
{
    PError error;
    try {
        if (!value)
            throw settingsError(PError::GeneralFailure, "Parameter value corrupted", __LINE__);
        auto found = d->parameters.find(name);
        if (found == d->parameters.end())
            throw settingsError(PError::BadArgument, "Wrong parameter name", __LINE__);
        if (found->second.converter) {
            found->second.value = found->second.converter(value);
        } else {
            PVariant converted = strake::var2var(value);
            if (!converted.isValid())
                throw settingsError(PError::BadArgument, "Wrong parameter type/value", __LINE__);
            found->second.value = converted;
        }
    } catch (const PError& raised) {
        error = raised;
    } catch (...) {
        // What a converter throws carries no text the host could use.
        error = PError(PError::GeneralFailure, PString());
    }
    d->lastError = error;
    return !error.isError();
}

PString PVKSettings::getXML() const
{
    return d->builder.toString(PString("UTF-8"));
}

PPropertyBag PVKSettings::getSettings() const
{
    PPropertyBag bag;
    for (const auto& entry : d->parameters)
        bag.addValue(entry.first, entry.second.value);
    return bag;
}

void PVKSettings::clear()
{
    d->builder.clear();
    d->lastError = PError();
    d->parameters.clear();
}

bool PVKSettings::empty() const
{
    return d->parameters.empty();
}

PError PVKSettings::getLastError() const
{
    return d->lastError;
}
