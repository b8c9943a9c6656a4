// PXmlNode, PXmlElement, PXmlDocument: value handles for reading and building XML over tinyxml2.
#pragma once

#include "PString.h"
#include "PVariant.h"

#include <memory>
#include <string>
#include <vector>

namespace tinyxml2 {
class XMLNode;
}

// Owns the tinyxml2 document of a PXmlDocument; defined in PXmlNodes.cpp.
struct PXmlDocumentHolder;
class PXmlElement;

struct PXmlNodePrivate {
    int type = 0;
    tinyxml2::XMLNode* node = nullptr; // not owned
    // Set on every handle that comes from a PXmlDocument: keeps the document alive while the
    // handle lives, and lets the handle notice that the document was cleared or parsed anew.
    std::shared_ptr<PXmlDocumentHolder> document;
    unsigned long generation = 0;
};

// A handle on a node. A copy is the same handle (the record is shared, not copied).
// Navigation never fails: on a handle that is not valid, or where there is no such node, it
// yields a handle that is not valid, so calls can be chained and isValid() tested at the end.
// A handle into a PXmlDocument keeps that document alive; it goes invalid when the document is
// cleared or given new content.
// Thread-safety: a document and all handles into it belong to one thread at a time.
class PXmlNode {
public:
    enum NodeType : int { NoNode = 0, PlainNode = 1, ElementNode = 2, DocumentNode = 10 };

    PXmlNode();
    // Takes the record over (it is deleted with the last handle) and makes it a plain node.
    explicit PXmlNode(PXmlNodePrivate* record);
    virtual ~PXmlNode();

    int type() const { return d->type; }
    // A type and a node that is still there.
    bool isValid() const;

    PXmlNode parent() const;
    PXmlNode previousSibling() const;
    PXmlNode nextSibling() const;
    PXmlElement parentElement() const;
    PXmlElement previousSiblingElement() const;
    PXmlElement nextSiblingElement() const;
    // The first child element called `name`, of any name when `name` is empty. Only an element
    // or a document has child elements here: a plain node yields an invalid handle.
    PXmlElement firstChildElement(const PString& name = PString()) const;
    // Moves `child` (a node of the same document, not a document and not an ancestor of this
    // node) behind the last child of this node. Answers a plain node on it, or an invalid handle
    // and no change when that is not possible.
    PXmlNode appendChild(const PXmlNode& child);
    // The node's value as text (an element's name, a text node's text); invalid when there is
    // no node or it has no value.
    PVariant value() const;
    // Follows a path of element names such as "action/fields/field", taking the first child of
    // each name at each step (no back-tracking). An empty path or a missing step gives an
    // invalid handle.
    PXmlElement getElement(const PString& path) const;

protected:
    PXmlNode(PXmlNodePrivate* record, int type);
    // The tinyxml2 node when the handle is valid, else null.
    tinyxml2::XMLNode* xmlNode() const;

    std::shared_ptr<PXmlNodePrivate> d;
};

class PXmlElement : public PXmlNode {
public:
    // Type 2 with no node: not valid.
    PXmlElement();
    // Takes the record over and makes it an element handle.
    explicit PXmlElement(PXmlNodePrivate* record);

    PString name() const;
    // The element's text, empty when it has none or the handle holds no element.
    PString text() const;
    // The attribute's value as text; an empty text when the element lacks it. `fallback` is
    // answered only when the handle is not valid or holds no element.
    PVariant attribute(const PString& name, const PVariant& fallback = PVariant()) const;
    // The attribute names in document order.
    std::vector<PString> attributes() const;
    // Creates or overwrites the attribute with value.toStdString(); false on a handle that holds
    // no element.
    bool setAttribute(const PString& name, const PVariant& value);
};

// Owns a tinyxml2 document (entities processed, white space preserved). Copies share it.
class PXmlDocument : public PXmlNode {
public:
    // An empty document holding only an XML declaration.
    PXmlDocument();
    // Takes the record over as a document handle; the handle does not own the node.
    explicit PXmlDocument(PXmlNodePrivate* record);
    ~PXmlDocument() override;

    // Parses the whole text, replacing the content; handles got before go invalid. A parse
    // failure answers false (code 100, "xml format error") and, when errorMessage is given,
    // writes the error's toString() there. Never throws. The bool and the two ints take no part.
    bool setContent(const std::string& utf8, bool namespaceProcessing = false,
                    PString* errorMessage = nullptr, int* errorLine = nullptr,
                    int* errorColumn = nullptr);
    bool setContent(const PString& text, bool namespaceProcessing = false,
                    PString* errorMessage = nullptr, int* errorLine = nullptr,
                    int* errorColumn = nullptr);
    // UTF-8; a null pointer is an empty text.
    bool setContent(const char* utf8, bool namespaceProcessing = false,
                    PString* errorMessage = nullptr, int* errorLine = nullptr,
                    int* errorColumn = nullptr);

    // The document in compact form, empty once cleared.
    PString toString() const;
    // A new element of this document, placed nowhere yet (see appendChild); invalid once cleared.
    PXmlElement createElement(const PString& name);
    // Destroys the document for every copy of this handle and for every handle into it.
    void clear();
};
