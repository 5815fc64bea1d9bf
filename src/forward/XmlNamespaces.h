#pragma once
// Whether an XML part is sound in its namespaces, as strict spreadsheet readers require: every
// element and attribute name is a name or prefix:name, every prefix is declared where it is
// used, and every declared prefix is a name. A lenient parser takes "xmlns:2" or an undeclared
// "r:id" without a word; a workbook holding them does not open elsewhere, and a sheet added
// to it would not either.

#include <QString>
#include <QStringView>

namespace pugi {
class xml_document;
}

namespace quvo {

// A name without a colon: a letter or "_", then letters, digits, "_", "-" or "."; characters
// beyond ASCII count as letters.
bool isXmlName(QStringView name);

// What is wrong with the part's namespaces, in words for a message; empty when nothing is.
QString namespaceProblem(const pugi::xml_document& document);

} // namespace quvo
