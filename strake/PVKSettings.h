// PVKSettings, a component's parameter store, and PXMLParametersBuilder, the parameters
// document that the host turns into its settings form.
#pragma once

#include "HostInterface.h"
#include "PError.h"
#include "PGlobal.h"
#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

struct PXMLParametersBuilderPrivate;
struct PVKSettingsPrivate;

// Builds the "Settings" document page by page and group by group: each add goes behind the
// current page or group, and an add without a place for it does nothing.
// An object with identity: not copyable, movable. Belongs to one thread at a time.
// Failure: nothing is reported; only lack of memory throws.
class PXMLParametersBuilder {
public:
    enum ParametersTypes : int { Boolean = 1, Number = 2, String = 3 };
    // Value first, then the text shown for it.
    using Choices = std::vector<std::pair<PString, PString>>;

    PXMLParametersBuilder();
    ~PXMLParametersBuilder();
    PXMLParametersBuilder(PXMLParametersBuilder&&) noexcept;
    PXMLParametersBuilder& operator=(PXMLParametersBuilder&&) noexcept;
    P_DISABLE_COPY(PXMLParametersBuilder)

    // A new page behind the current one, which it replaces; there is no current group after.
    void addPage(const PString& caption);
    // A new group behind the current group of the current page; nothing without a page.
    void addGroup(const PString& caption);
    // A parameter at the end of the current group; nothing without a group. The list stands
    // as a "ChoiceList" child when it has rows, and the parameter has no "ReadOnly".
    void addParameter(const PString& name, const PString& caption, const PString& description,
                      ParametersTypes type, const PString& defaultValue, const Choices& choices);
    // The same without a list and with a "ReadOnly" attribute.
    void addParameter(const PString& name, const PString& caption, const PString& description,
                      ParametersTypes type, const PString& defaultValue, bool readOnly);
    // Back to the declaration and an empty root.
    void clear();
    // The document in the printer's indented form; the encoding name takes no part.
    PString toString(const PString& encoding) const;

private:
    std::unique_ptr<PXMLParametersBuilderPrivate> d;
};

// Turns a host value into the stored value; it may throw.
using PVKSettingsConverter = std::function<PVariant(tVariant*)>;

struct PVKSettingsParameterMetadata {
    bool hidden = false;    // a value without a place in the document
    bool readOnly = false;  // as declared; writes do not look at it
    PVKSettingsConverter converter;
    PXMLParametersBuilder::ParametersTypes type = PXMLParametersBuilder::String;
    PVariant value;  // starts as the text of the default
};

// The parameters of a component: their values, and the document that shows them.
// An object with identity: not copyable, movable. No lock of its own: the owner serialises
// access (the component's exclusive lock covers writes).
// Failure: setParameter answers false and keeps the reason in getLastError(); nothing throws
// but lack of memory.
class PVKSettings {
public:
    using ParametersTypes = PXMLParametersBuilder::ParametersTypes;
    using Choices = PXMLParametersBuilder::Choices;

    PVKSettings();
    ~PVKSettings();
    PVKSettings(PVKSettings&&) noexcept;
    PVKSettings& operator=(PVKSettings&&) noexcept;
    P_DISABLE_COPY(PVKSettings)

    void addPage(const PString& caption);
    void addGroup(const PString& caption);
    // Makes or replaces the entry of name with the default as its value (a text); the
    // document gets the parameter unless it is hidden.
    void addParameter(const PString& name, const PString& caption, const PString& description,
                      ParametersTypes type, const PString& defaultValue, const Choices& choices,
                      bool hidden = false, PVKSettingsConverter converter = {});
    void addParameter(const PString& name, const PString& caption, const PString& description,
                      ParametersTypes type, const PString& defaultValue, bool readOnly,
                      bool hidden = false, PVKSettingsConverter converter = {});

    // Stores the host's value under an existing name, through the entry's converter when it
    // has one. False, with the reason in getLastError(), for a null value (code 2), an
    // unknown name or a value of no PVariant form (code 100), or a converter that threw.
    bool setParameter(const PString& name, tVariant* value);

    PString getXML() const;
    // Every parameter's name and value, hidden ones too.
    PPropertyBag getSettings() const;
    // Empties the document, the entries and the last error.
    void clear();
    bool empty() const;
    PError getLastError() const;

private:
    std::unique_ptr<PVKSettingsPrivate> d;
};
