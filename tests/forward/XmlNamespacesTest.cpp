// The namespace check applied to every XML part of a workbook a sheet is added to.

#include "forward/XmlNamespaces.h"

#include <gtest/gtest.h>

#include <pugixml.hpp>

using namespace quvo;

namespace {

QString problemOf(const char* xml)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(xml)) << xml;
    return namespaceProblem(document);
}

} // namespace

TEST(XmlNamespaces, Names)
{
    for (const char* name : {"r", "x14ac", "_a", "mc", "a.b-c_1", "\u00e9t\u00e9"})
        EXPECT_TRUE(isXmlName(QString::fromUtf8(name))) << name;
    for (const char* name : {"", "2", "-a", ".a", "a:b", "a b", "a/b"})
        EXPECT_FALSE(isXmlName(QString::fromUtf8(name))) << name;
}

TEST(XmlNamespaces, SoundPartsPass)
{
    EXPECT_EQ(problemOf("<workbook xmlns=\"urn:main\" xmlns:r=\"urn:rel\"><sheets><sheet name=\"A\" r:id=\"rId1\"/>"
                        "</sheets></workbook>"),
              QString());
    // A prefix declared further down, the xml prefix without a declaration, a prefix used
    // on the element that declares it.
    EXPECT_EQ(problemOf("<a xmlns=\"urn:a\"><b xmlns:x=\"urn:x\"><x:c x:d=\"1\" xml:space=\"preserve\"/></b>"
                        "<mc:e xmlns:mc=\"urn:mc\"/></a>"),
              QString());
}

TEST(XmlNamespaces, APrefixThatIsNoNameIsRefused)
{
    // (A name like "2:id" itself is refused by the parser already; a declaration is not.)
    EXPECT_EQ(problemOf("<workbook xmlns:2=\"urn:rel\" xmlns:r=\"urn:rel\"><sheet r:id=\"rId1\"/></workbook>"),
              QStringLiteral("the namespace prefix \"2\" is not a name"));
}

TEST(XmlNamespaces, AnUndeclaredPrefixIsRefused)
{
    EXPECT_EQ(problemOf("<workbook xmlns=\"urn:main\"><sheet r:id=\"rId1\"/></workbook>"),
              QStringLiteral("the namespace prefix of \"r:id\" is not declared"));
    EXPECT_EQ(problemOf("<x:workbook/>"), QStringLiteral("the namespace prefix of \"x:workbook\" is not declared"));
}

TEST(XmlNamespaces, ADeclarationReachesOnlyItsOwnElement)
{
    // Declared on the first sheet, used on its sibling.
    EXPECT_EQ(problemOf("<s><a xmlns:r=\"urn:rel\" r:id=\"1\"/><b r:id=\"2\"/></s>"),
              QStringLiteral("the namespace prefix of \"r:id\" is not declared"));
    // Declared on a child that comes before a deeper sibling subtree.
    EXPECT_EQ(problemOf("<s><a><c xmlns:r=\"urn:rel\"/></a><b><d r:id=\"2\"/></b></s>"),
              QStringLiteral("the namespace prefix of \"r:id\" is not declared"));
}

TEST(XmlNamespaces, OtherBrokenNamesAreRefused)
{
    EXPECT_EQ(problemOf("<a xmlns:r=\"\"/>"), QStringLiteral("the namespace prefix \"r\" is declared without a namespace"));
    EXPECT_EQ(problemOf("<a xmlns:r=\"urn:r\"><r:b:c/></a>"), QStringLiteral("\"r:b:c\" is not a name"));
    EXPECT_EQ(problemOf("<a b:=\"1\"/>"), QStringLiteral("\"b:\" is not a name"));
}

TEST(XmlNamespaces, DeepPartsAreWalkedWithoutRecursion)
{
    std::string xml;
    constexpr int Depth = 200000;
    for (int i = 0; i < Depth; ++i)
        xml += "<a>";
    xml += "<r:b/>";
    for (int i = 0; i < Depth; ++i)
        xml += "</a>";
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(xml.c_str()));
    EXPECT_EQ(namespaceProblem(document), QStringLiteral("the namespace prefix of \"r:b\" is not declared"));
}
