#include "forward/XmlNamespaces.h"

#include <pugixml.hpp>

#include <utility>
#include <vector>

namespace quvo {

bool isXmlName(QStringView name)
{
    if (name.isEmpty())
        return false;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t c = name.at(i).unicode();
        const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80;
        const bool other = (c >= u'0' && c <= u'9') || c == u'-' || c == u'.';
        if (!(letter || (i > 0 && other)))
            return false;
    }
    return true;
}

namespace {

const QString XmlnsPrefix = QStringLiteral("xmlns:");

// Walks the elements (the walk itself is not recursive, so a deeply nested part costs no
// stack) and keeps the prefixes declared by the elements enclosing the current one.
class NamespaceCheck : public pugi::xml_tree_walker {
public:
    QString problem;

    bool for_each(pugi::xml_node& node) override
    {
        if (node.type() != pugi::node_element)
            return true;
        const int level = depth();
        while (!m_declared.empty() && m_declared.back().first >= level)
            m_declared.pop_back();
        problem = check(node, level);
        return problem.isEmpty();
    }

private:
    QString check(const pugi::xml_node& element, int level)
    {
        for (const pugi::xml_attribute attribute : element.attributes()) {
            const QString name = QString::fromUtf8(attribute.name());
            if (!name.startsWith(XmlnsPrefix))
                continue;
            const QString prefix = name.mid(XmlnsPrefix.size());
            if (!isXmlName(prefix))
                return QStringLiteral("the namespace prefix \"%1\" is not a name").arg(prefix);
            if (*attribute.value() == '\0')
                return QStringLiteral("the namespace prefix \"%1\" is declared without a namespace").arg(prefix);
            m_declared.emplace_back(level, prefix);
        }
        if (QString why = qualifiedNameProblem(QString::fromUtf8(element.name())); !why.isEmpty())
            return why;
        for (const pugi::xml_attribute attribute : element.attributes()) {
            const QString name = QString::fromUtf8(attribute.name());
            if (name == QLatin1String("xmlns") || name.startsWith(XmlnsPrefix))
                continue;
            if (QString why = qualifiedNameProblem(name); !why.isEmpty())
                return why;
        }
        return {};
    }

    // A name, or a declared prefix, a colon and a name.
    QString qualifiedNameProblem(const QString& name) const
    {
        const qsizetype colon = name.indexOf(QLatin1Char(':'));
        const QString prefix = colon < 0 ? QString() : name.left(colon);
        const QString local = colon < 0 ? name : name.mid(colon + 1);
        if (!isXmlName(local) || (colon >= 0 && !isXmlName(prefix)))
            return QStringLiteral("\"%1\" is not a name").arg(name);
        if (colon >= 0 && prefix != QLatin1String("xml") && !isDeclared(prefix))
            return QStringLiteral("the namespace prefix of \"%1\" is not declared").arg(name);
        return {};
    }

    bool isDeclared(const QString& prefix) const
    {
        for (const auto& [level, declared] : m_declared) {
            if (declared == prefix)
                return true;
        }
        return false;
    }

    std::vector<std::pair<int, QString>> m_declared; // level of the declaring element, prefix
};

} // namespace

QString namespaceProblem(const pugi::xml_document& document)
{
    NamespaceCheck check;
    pugi::xml_node walked = document; // a handle: the walk changes nothing
    walked.traverse(check);
    return check.problem;
}

} // namespace quvo
