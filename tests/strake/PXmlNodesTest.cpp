// Tests of the XML handles: reading, building, and handles that outlive or lose their document.
#include "PXmlNodes.h"

#include <gtest/gtest.h>

namespace {

PXmlDocument parsed(const char* text)
{
    PXmlDocument document;
    EXPECT_TRUE(document.setContent(std::string(text)));
    return document;
}

TEST(PXmlNodesTest, childrenAreWalkedWithTheirAttributesAndFoundByTheFirstOfEachName)
{
    PXmlDocument document = parsed(
        "<Devices><usb id=\"1\" productName=\"Сканер\"/><x id=\"2\" vendorId=\"\"/></Devices>");
    std::vector<std::pair<PString, PString>> seen;
    for (PXmlElement device = document.getElement(PString("Devices")).firstChildElement();
         device.isValid(); device = device.nextSiblingElement()) {
        seen.emplace_back(device.name(), device.attribute(PString("id")).toPString());
        EXPECT_EQ(device.attribute(PString("productName"), PVariant("fallback")).toPString(),
                  device.name() == PString("usb") ? PString("Сканер") : PString());
    }
    EXPECT_EQ(seen, (std::vector<std::pair<PString, PString>>{{PString("usb"), PString("1")}, {PString("x"), PString("2")}}));

    PXmlElement usb = document.getElement(PString("Devices/usb"));
    EXPECT_EQ(usb.attributes(), (std::vector<PString>{PString("id"), PString("productName")}));
    EXPECT_EQ(PXmlElement().attribute(PString("id"), PVariant(7)).toInt(), 7);
    EXPECT_TRUE(PXmlElement().attributes().empty());

    PXmlDocument extras = parsed("<action><fields><field key=\"k1\" value=\"QQ==\"/>"
                                 "<field key=\"k2\"/></fields></action>");
    EXPECT_EQ(extras.getElement(PString("action/fields/field")).attribute(PString("key")).toPString(),
              PString("k1"));

    EXPECT_EQ(parsed("<a><b>text</b></a>").getElement(PString("a/b")).text(), PString("text"));
    EXPECT_FALSE(parsed("<a/>").getElement(PString("a/b")).isValid());
    EXPECT_FALSE(parsed("<a><b/></a>").getElement(PString()).isValid());
    EXPECT_FALSE(parsed("<a><b/></a>").getElement(PString("a/x/b")).isValid());
    // No back-tracking to a later sibling of the same name.
    EXPECT_FALSE(parsed("<a><b/><b><c/></b></a>").getElement(PString("a/b/c")).isValid());
    EXPECT_FALSE(PXmlNode().getElement(PString("a")).isValid());
}

TEST(PXmlNodesTest, plainNodesHaveNoChildElementsButTheirElementHandlesDo)
{
    PXmlDocument document = parsed("<r><first/><second><inner/></second></r>");
    PXmlElement first = document.getElement(PString("r/first"));

    PXmlNode plain = first.nextSibling();
    EXPECT_EQ(plain.type(), PXmlNode::PlainNode);
    EXPECT_EQ(plain.value().toPString(), PString("second"));
    EXPECT_FALSE(plain.firstChildElement().isValid());
    EXPECT_TRUE(first.nextSiblingElement().firstChildElement(PString("inner")).isValid());

    PXmlElement root = first.parentElement();
    EXPECT_EQ(root.name(), PString("r"));
    EXPECT_EQ(first.nextSiblingElement().previousSiblingElement().name(), PString("first"));
    EXPECT_FALSE(first.previousSibling().isValid());
    // The root's parent is the document: a node, but no element.
    EXPECT_TRUE(root.parent().isValid());
    EXPECT_FALSE(root.parentElement().isValid());
    EXPECT_FALSE(root.parent().value().isValid());

    PXmlElement none;
    EXPECT_FALSE(none.parent().nextSibling().previousSibling().isValid());
    EXPECT_FALSE(none.parentElement().nextSiblingElement().firstChildElement().isValid());
    EXPECT_TRUE(none.name().isEmpty() && none.text().isEmpty() && !none.value().isValid());
    EXPECT_FALSE(none.setAttribute(PString("a"), PVariant(1)));
}

TEST(PXmlNodesTest, badXmlFailsWithFormatErrorText)
{
    PXmlDocument document;
    PString message;
    for (const char* text : {"", "<a>", "<a></b>", "<a x=1/>", "text only"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(document.setContent(std::string(text), false, &message, nullptr, nullptr));
        EXPECT_TRUE(message.contains(PString("[100]xml format error")));
        EXPECT_TRUE(message.contains(PString("PXmlNodes")));
    }
    EXPECT_TRUE(document.setContent(PString("<ok/>")));
    EXPECT_TRUE(document.getElement(PString("ok")).isValid());
}

// Whole built documents are compared in PVKSettingsTest and DeviceManagerTest.

TEST(PXmlNodesTest, appendChildRefusesMovesThatWouldBreakTheTree)
{
    PXmlDocument document = parsed("<a><b><c/></b>text</a>");
    PXmlDocument other = parsed("<z/>");
    const PString before = document.toString();
    PXmlElement a = document.getElement(PString("a"));
    PXmlElement c = document.getElement(PString("a/b/c"));
    PXmlNode text = a.firstChildElement().nextSibling();
    ASSERT_TRUE(text.isValid());

    EXPECT_FALSE(c.appendChild(a).isValid());     // an ancestor into its descendant
    EXPECT_FALSE(c.appendChild(c).isValid());     // a node into itself
    EXPECT_FALSE(c.appendChild(document).isValid());
    EXPECT_FALSE(c.appendChild(other.getElement(PString("z"))).isValid());
    EXPECT_FALSE(text.appendChild(document.createElement(PString("n"))).isValid());
    EXPECT_FALSE(a.appendChild(PXmlNode()).isValid());
    EXPECT_FALSE(PXmlElement().appendChild(a).isValid());
    EXPECT_EQ(document.toString(), before);
    EXPECT_EQ(other.toString(), PString("<z/>"));

    EXPECT_TRUE(a.appendChild(c).isValid());
    EXPECT_EQ(document.toString(), PString("<a><b/>text<c/></a>"));
}

TEST(PXmlNodesTest, handlesGoInvalidWhenTheDocumentIsClearedOrReparsedAndKeepItAliveOtherwise)
{
    PXmlDocument document = parsed("<a><b/></a>");
    PXmlDocument copy = document;
    PXmlElement b = document.getElement(PString("a/b"));
    ASSERT_TRUE(b.isValid());

    EXPECT_TRUE(document.setContent(std::string("<a><b/></a>")));
    EXPECT_FALSE(b.isValid());
    EXPECT_FALSE(b.parent().isValid());
    EXPECT_FALSE(b.setAttribute(PString("x"), PVariant(1)));

    b = document.getElement(PString("a/b"));
    PXmlElement loose = document.createElement(PString("loose"));
    copy.clear();
    EXPECT_FALSE(document.isValid());
    EXPECT_FALSE(b.isValid());
    EXPECT_FALSE(loose.isValid());
    EXPECT_TRUE(document.toString().isEmpty());
    EXPECT_FALSE(document.createElement(PString("x")).isValid());

    EXPECT_TRUE(document.setContent(std::string("<n/>")));
    EXPECT_TRUE(copy.getElement(PString("n")).isValid());
    EXPECT_FALSE(b.isValid());

    PXmlElement field;
    {
        PXmlDocument document = parsed("<action><fields><field key=\"k\"/></fields></action>");
        field = document.getElement(PString("action/fields/field"));
    }
    EXPECT_EQ(field.attribute(PString("key")).toPString(), PString("k"));
    EXPECT_EQ(field.parentElement().parentElement().name(), PString("action"));
}

}
