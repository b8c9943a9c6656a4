// PXmlNode, PXmlElement, PXmlDocument: the handles, and the guard that keeps them off freed nodes.
#include "PXmlNodes.h"

#include "PError.h"

#include <tinyxml2.h>

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

struct PXmlDocumentHolder {
    std::unique_ptr<XMLDocument> document;
    // Bumped whenever tinyxml2 frees the nodes of the document (new content, clear), so that a
    // handle made before can tell that its pointer is stale.
    unsigned long generation = 0;
};

namespace {

const char kModule[] = "jni/../../strake/PXmlNodes";

std::unique_ptr<XMLDocument> newDocument()
{
    auto document = std::make_unique<XMLDocument>(true, tinyxml2::PRESERVE_WHITESPACE);
    document->InsertFirstChild(document->NewDeclaration());
    return document;
}

// A handle of the given kind on a node found from `origin`, inside the same document.
template <class Handle>
Handle handleOn(XMLNode* node, const PXmlNodePrivate& origin)
{
    if (!node)
        return Handle();
    auto* record = new PXmlNodePrivate;
    record->node = node;
    record->document = origin.document;
    record->generation = origin.generation;
    return Handle(record);
}

XMLElement* asElement(XMLNode* node)
{
    return node ? node->ToElement() : nullptr;
}

} // namespace

// ---- PXmlNode

PXmlNode::PXmlNode() : d(std::make_shared<PXmlNodePrivate>()) {}

PXmlNode::PXmlNode(PXmlNodePrivate* record) : PXmlNode(record, PlainNode) {}

PXmlNode::PXmlNode(PXmlNodePrivate* record, int type)
    : d(record ? std::shared_ptr<PXmlNodePrivate>(record) : std::make_shared<PXmlNodePrivate>())
{
    d->type = type;
}

PXmlNode::~PXmlNode() = default;

XMLNode* PXmlNode::xmlNode() const
{
    if (d->type == NoNode || !d->node)
        return nullptr;
    if (const auto& holder = d->document) {
        if (!holder->document || holder->generation != d->generation)
            return nullptr;
    }
    return d->node;
}

bool PXmlNode::isValid() const
{
    return xmlNode() != nullptr;
}

PXmlNode PXmlNode::parent() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlNode>(node ? node->Parent() : nullptr, *d);
}

PXmlNode PXmlNode::previousSibling() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlNode>(node ? node->PreviousSibling() : nullptr, *d);
}

PXmlNode PXmlNode::nextSibling() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlNode>(node ? node->NextSibling() : nullptr, *d);
}

PXmlElement PXmlNode::parentElement() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlElement>(node ? asElement(node->Parent()) : nullptr, *d);
}

PXmlElement PXmlNode::previousSiblingElement() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlElement>(node ? node->PreviousSiblingElement() : nullptr, *d);
}

PXmlElement PXmlNode::nextSiblingElement() const
{
    XMLNode* node = xmlNode();
    return handleOn<PXmlElement>(node ? node->NextSiblingElement() : nullptr, *d);
}

PXmlElement PXmlNode::firstChildElement(const PString& name) const
{
    XMLNode* node = xmlNode();
    if (!node || (d->type != ElementNode && d->type != DocumentNode))
        return PXmlElement();
    const std::string utf8 = name.toStdString();
    return handleOn<PXmlElement>(node->FirstChildElement(utf8.empty() ? nullptr : utf8.c_str()),
                                 *d);
}

PXmlNode PXmlNode::appendChild(const PXmlNode& child)
{
    XMLNode* parent = xmlNode();
    XMLNode* node = child.xmlNode();
    if (!parent || !node)
        return PXmlNode();
    // tinyxml2 would accept each of these and leave a tree that it can neither print nor free:
    // a child in a text node, a document inside a node, a node inside its own subtree, or a
    // node of another document that the other document would free.
    if (!parent->ToElement() && !parent->ToDocument())
        return PXmlNode();
    if (node->ToDocument() || node->GetDocument() != parent->GetDocument())
        return PXmlNode();
    for (const XMLNode* up = parent; up; up = up->Parent()) {
        if (up == node)
            return PXmlNode();
    }
    return handleOn<PXmlNode>(parent->InsertEndChild(node), *d);
}

PVariant PXmlNode::value() const
{
    XMLNode* node = xmlNode();
    const char* text = node ? node->Value() : nullptr;
    return text ? PVariant(PString(text)) : PVariant();
}

PXmlElement PXmlNode::getElement(const PString& path) const
{
    if (!isValid())
        return PXmlElement();
    const std::vector<PString> pieces = path.split(u'/');
    if (pieces.empty())
        return PXmlElement();
    PXmlElement found = firstChildElement(pieces.front());
    for (size_t i = 1; i < pieces.size() && found.isValid(); ++i)
        found = found.firstChildElement(pieces[i]);
    return found;
}

// ---- PXmlElement

PXmlElement::PXmlElement() : PXmlNode(nullptr, ElementNode) {}

PXmlElement::PXmlElement(PXmlNodePrivate* record) : PXmlNode(record, ElementNode) {}

PString PXmlElement::name() const
{
    return value().toPString();
}

PString PXmlElement::text() const
{
    const XMLElement* element = asElement(xmlNode());
    const char* text = element ? element->GetText() : nullptr;
    return text ? PString(text) : PString();
}

PVariant PXmlElement::attribute(const PString& name, const PVariant& fallback) const
{
    const XMLElement* element = asElement(xmlNode());
    if (!element)
        return fallback;
    const char* value = element->Attribute(name.toStdString().c_str());
    return PVariant(value ? PString(value) : PString());
}

std::vector<PString> PXmlElement::attributes() const
{
    std::vector<PString> names;
    const XMLElement* element = asElement(xmlNode());
    if (!element)
        return names;
    for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next())
        names.emplace_back(a->Name());
    return names;
}

bool PXmlElement::setAttribute(const PString& name, const PVariant& value)
{
    XMLElement* element = asElement(xmlNode());
    if (!element)
        return false;
    element->SetAttribute(name.toStdString().c_str(), value.toStdString().c_str());
    return true;
}

// ---- PXmlDocument

PXmlDocument::PXmlDocument() : PXmlNode(nullptr, DocumentNode)
{
    d->document = std::make_shared<PXmlDocumentHolder>();
    d->document->document = newDocument();
    d->node = d->document->document.get();
}

PXmlDocument::PXmlDocument(PXmlNodePrivate* record) : PXmlNode(record, DocumentNode) {}

// The tinyxml2 document goes with the last handle on it, node handles included; clearing it
// here would pull it away from copies that are still in use.
PXmlDocument::~PXmlDocument() = default;

bool PXmlDocument::setContent(const std::string& utf8, bool namespaceProcessing,
                              PString* errorMessage, int* errorLine, int* errorColumn)
{
    PError error;
    try {
        if (const auto& holder = d->document) {
            if (!holder->document) {
                holder->document = newDocument();
                d->node = holder->document.get();
            }
            // Parse frees every node of the old content.
            d->generation = ++holder->generation;
        }
        XMLDocument* document = d->node ? d->node->ToDocument() : nullptr;
        if (!document)
            throw P_MODULE_ERROR(kModule, PError::GeneralFailure, "no document");
        if (document->Parse(utf8.data(), utf8.size()) != tinyxml2::XML_SUCCESS)
            throw P_MODULE_ERROR(kModule, PError::BadArgument, "xml format error");
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (error.isError() && errorMessage)
        *errorMessage = error.toString();
    return !error.isError();
}

bool PXmlDocument::setContent(const PString& text, bool namespaceProcessing,
                              PString* errorMessage, int* errorLine, int* errorColumn)
{
    return setContent(text.toStdString(), namespaceProcessing, errorMessage, errorLine,
                      errorColumn);
}

bool PXmlDocument::setContent(const char* utf8, bool namespaceProcessing, PString* errorMessage,
                              int* errorLine, int* errorColumn)
{
    return setContent(std::string(utf8 ? utf8 : ""), namespaceProcessing, errorMessage, errorLine,
                      errorColumn);
}

PString PXmlDocument::toString() const
{
    XMLNode* node = xmlNode();
    XMLDocument* document = node ? node->ToDocument() : nullptr;
    if (!document)
        return PString();
    tinyxml2::XMLPrinter printer(nullptr, true, 0);
    document->Print(&printer);
    return PString(std::string(printer.CStr()));
}

PXmlElement PXmlDocument::createElement(const PString& name)
{
    XMLNode* node = xmlNode();
    XMLDocument* document = node ? node->ToDocument() : nullptr;
    if (!document)
        return PXmlElement();
    return handleOn<PXmlElement>(document->NewElement(name.toStdString().c_str()), *d);
}

void PXmlDocument::clear()
{
    if (const auto& holder = d->document) {
        holder->document.reset();
        ++holder->generation;
    }
    d->node = nullptr;
}
