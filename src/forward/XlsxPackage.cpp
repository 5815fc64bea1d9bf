#include "forward/XlsxPackage.h"

#include "forward/XlsxFiles.h"
#include "forward/XlsxSheetWriter.h"
#include "forward/XmlNamespaces.h"
#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUrl>

#include <pugixml.hpp>
#include <zip.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

namespace quvo::xlsx {

namespace {

// --- Names of the package format -------------------------------------------------------

constexpr char RelationshipsNs[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr char OfficeDocumentType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";
constexpr char WorksheetType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet";
constexpr char StylesType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles";
constexpr char SharedStringsType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings";
constexpr char DrawingType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/drawing";
constexpr char ChartType[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/chart";
constexpr char ExtendedPropertiesType[] =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties";
constexpr char StrictNamespaceStart[] = "http://purl.oclc.org/ooxml/";
constexpr char StylesContentType[] = "application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml";
constexpr int FirstCustomNumberFormat = 164;
constexpr qsizetype LargePart = 64 * 1024; // unpacked bytes

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

RuntimeError damaged(const QString& file, const QString& detail)
{
    return RuntimeError(QStringLiteral("The workbook \"%1\" cannot be extended because it is damaged or not a "
                                       "workbook (%2).")
                            .arg(shown(file), detail));
}

RuntimeError strictFormat(const QString& file)
{
    return RuntimeError(QStringLiteral("The workbook \"%1\" is saved as Strict Open XML, which cannot be extended. "
                                       "Save it as an ordinary Excel Workbook (.xlsx) first.")
                            .arg(shown(file)));
}

// --- Part names --------------------------------------------------------------------------

QString folderOf(const QString& part)
{
    const qsizetype slash = part.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : part.left(slash + 1);
}

QString relationshipsPartOf(const QString& part)
{
    const qsizetype slash = part.lastIndexOf(QLatin1Char('/'));
    return folderOf(part) + QStringLiteral("_rels/") + part.mid(slash + 1) + QStringLiteral(".rels");
}

// The part a relationship target names, relative to the part the relationship is of;
// empty when it leaves the package.
QString resolveTarget(const QString& sourcePart, const QString& target)
{
    QString path = QUrl::fromPercentEncoding(target.toUtf8());
    if (path.contains(QStringLiteral("://")))
        return {};
    path = path.startsWith(QLatin1Char('/')) ? path.mid(1) : folderOf(sourcePart) + path;
    QStringList kept;
    for (const QString& segment : path.split(QLatin1Char('/'))) {
        if (segment.isEmpty() || segment == QLatin1String("."))
            continue;
        if (segment == QLatin1String("..")) {
            if (kept.isEmpty())
                return {};
            kept.removeLast();
        } else {
            kept.append(segment);
        }
    }
    return kept.join(QLatin1Char('/'));
}

// `part` as a target relative to the folder of `sourcePart` (both in the same tree).
QString relativeTarget(const QString& sourcePart, const QString& part)
{
    const QString from = folderOf(sourcePart);
    if (part.startsWith(from))
        return part.mid(from.size());
    return QLatin1Char('/') + part;
}

// --- XML ---------------------------------------------------------------------------------

std::string utf8(const QString& text)
{
    return text.toStdString();
}

QString qtext(const char* text)
{
    return QString::fromUtf8(text);
}

QString localName(const pugi::xml_node& node)
{
    const QString name = qtext(node.name());
    const qsizetype colon = name.indexOf(QLatin1Char(':'));
    return colon < 0 ? name : name.mid(colon + 1);
}

QString prefixOf(const pugi::xml_node& node)
{
    const QString name = qtext(node.name());
    const qsizetype colon = name.indexOf(QLatin1Char(':'));
    return colon < 0 ? QString() : name.left(colon);
}

std::string qualified(const QString& prefix, const char* local)
{
    return prefix.isEmpty() ? std::string(local) : utf8(prefix) + ':' + local;
}

pugi::xml_node childNamed(const pugi::xml_node& parent, const char* local)
{
    for (pugi::xml_node child : parent.children()) {
        if (child.type() == pugi::node_element && localName(child) == QLatin1String(local))
            return child;
    }
    return {};
}

std::vector<pugi::xml_node> childrenNamed(const pugi::xml_node& parent, const char* local)
{
    std::vector<pugi::xml_node> found;
    for (pugi::xml_node child : parent.children()) {
        if (child.type() == pugi::node_element && localName(child) == QLatin1String(local))
            found.push_back(child);
    }
    return found;
}

// The namespace an element's name is in, as declared on the element itself (where
// workbook parts declare it).
QString namespaceOf(const pugi::xml_node& element)
{
    const QString prefix = prefixOf(element);
    const std::string declaration = prefix.isEmpty() ? std::string("xmlns") : "xmlns:" + utf8(prefix);
    return qtext(element.attribute(declaration.c_str()).value());
}

struct ByteWriter : pugi::xml_writer {
    QByteArray bytes;
    void write(const void* data, size_t size) override
    {
        bytes.append(static_cast<const char*>(data), static_cast<qsizetype>(size));
    }
};

QByteArray serialize(const pugi::xml_document& doc)
{
    // The parts are written as UTF-8, whatever they were read as.
    for (pugi::xml_node node : doc.children()) {
        if (node.type() == pugi::node_declaration && node.attribute("encoding"))
            node.attribute("encoding").set_value("UTF-8");
    }
    ByteWriter writer;
    doc.save(writer, "", pugi::format_raw, pugi::encoding_utf8);
    return writer.bytes;
}

std::string serialize(const pugi::xml_node& node)
{
    std::ostringstream out;
    node.print(out, "", pugi::format_raw);
    return out.str();
}

// Parses one part. Document type declarations are refused outright: parts of a workbook
// never need one, and entity declarations are how XML documents are made to explode.
std::unique_ptr<pugi::xml_document> parseXml(const QByteArray& bytes, const QString& part, const QString& file)
{
    auto doc = std::make_unique<pugi::xml_document>();
    constexpr unsigned flags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_declaration | pugi::parse_doctype
        | pugi::parse_ws_pcdata | pugi::parse_comments | pugi::parse_pi;
    const pugi::xml_parse_result result = doc->load_buffer(bytes.constData(), static_cast<size_t>(bytes.size()), flags);
    if (!result)
        throw damaged(file, QStringLiteral("%1: %2").arg(part, qtext(result.description())));
    for (pugi::xml_node node : doc->children()) {
        if (node.type() == pugi::node_doctype)
            throw RuntimeError(QStringLiteral("The workbook \"%1\" cannot be extended: its part %2 contains a document "
                                              "type declaration, which workbooks never need and this program does "
                                              "not read.")
                                   .arg(shown(file), part));
    }
    if (!doc->document_element())
        throw damaged(file, QStringLiteral("%1 is empty").arg(part));
    return doc;
}

// A relationships part as a list.
struct Relationship {
    QString id, type, target; // target resolved to a part name (empty for external ones)
    pugi::xml_node node;
};

std::vector<Relationship> relationshipsOf(const pugi::xml_document& rels, const QString& sourcePart)
{
    std::vector<Relationship> list;
    for (pugi::xml_node node : childrenNamed(rels.document_element(), "Relationship")) {
        const bool external = QString::fromUtf8(node.attribute("TargetMode").value()) == QLatin1String("External");
        list.push_back({qtext(node.attribute("Id").value()), qtext(node.attribute("Type").value()),
                        external ? QString() : resolveTarget(sourcePart, qtext(node.attribute("Target").value())),
                        node});
    }
    return list;
}

// --- Selected sheets ---------------------------------------------------------------------

bool isNameCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.' || c == ':'
        || static_cast<unsigned char>(c) >= 0x80;
}

// A sheet part without the tabSelected mark on its windows (<sheetView ...>), or nothing
// when no window has it. The windows come before the sheet's cells; only their start tags
// are read and changed, and every other byte of the part stays as it is, so a large sheet
// is never parsed as a whole.
std::optional<QByteArray> withoutTabSelected(const QByteArray& xml)
{
    qsizetype end = xml.indexOf("sheetData");
    if (end < 0)
        end = xml.size();
    QByteArray result;
    qsizetype copied = 0;
    for (qsizetype open = xml.indexOf('<'); open >= 0 && open < end; open = xml.indexOf('<', open + 1)) {
        qsizetype p = open + 1;
        const qsizetype nameStart = p;
        while (p < xml.size() && isNameCharacter(xml[p]))
            ++p;
        const QByteArray name = xml.mid(nameStart, p - nameStart);
        if (name != "sheetView" && !name.endsWith(":sheetView"))
            continue;
        // The attributes, up to the end of the start tag; values may hold anything but
        // their own quote.
        for (;;) {
            const qsizetype spaceStart = p;
            while (p < xml.size() && std::isspace(static_cast<unsigned char>(xml[p])))
                ++p;
            if (p >= xml.size() || xml[p] == '>' || xml[p] == '/')
                break;
            const qsizetype attributeStart = p;
            while (p < xml.size() && isNameCharacter(xml[p]))
                ++p;
            const QByteArray attribute = xml.mid(attributeStart, p - attributeStart);
            const auto skipBlanks = [&] {
                while (p < xml.size() && std::isspace(static_cast<unsigned char>(xml[p])))
                    ++p;
            };
            skipBlanks();
            if (p >= xml.size() || xml[p] != '=')
                return std::nullopt; // not a tag this reads; left alone
            ++p;
            skipBlanks();
            if (p >= xml.size() || (xml[p] != '"' && xml[p] != '\''))
                return std::nullopt;
            const char quote = xml[p];
            const qsizetype valueEnd = xml.indexOf(quote, p + 1);
            if (valueEnd < 0)
                return std::nullopt;
            const QByteArray value = xml.mid(p + 1, valueEnd - p - 1).trimmed();
            p = valueEnd + 1;
            if (attribute == "tabSelected" && (value == "1" || value == "true")) {
                result.append(xml.constData() + copied, spaceStart - copied);
                copied = p;
            }
        }
    }
    if (copied == 0)
        return std::nullopt;
    result.append(xml.constData() + copied, xml.size() - copied);
    return result;
}

// --- Reading a zip archive ---------------------------------------------------------------

class ZipReader {
public:
    ZipReader(const QString& path, const QString& file, const PackageLimits& limits) : m_file(file)
    {
        int error = 0;
        m_zip = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
        if (!m_zip) {
            if (error == ZIP_ER_NOZIP)
                throw RuntimeError(QStringLiteral("\"%1\" is not an Excel workbook (.xlsx) that can be extended: it is "
                                                  "not a zip package.")
                                       .arg(shown(file)));
            zip_error_t zipError;
            zip_error_init_with_code(&zipError, error);
            const QString reason = QString::fromUtf8(zip_error_strerror(&zipError));
            zip_error_fini(&zipError);
            throw damaged(file, reason);
        }
        try {
            index(limits);
        } catch (...) {
            zip_discard(m_zip);
            throw;
        }
    }
    ~ZipReader() { zip_discard(m_zip); }
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    // Part names compare without regard to letter case in a package.
    bool has(const QString& part) const { return m_entries.count(part.toLower()) != 0; }
    QString entryName(const QString& part) const
    {
        const auto it = m_entries.find(part.toLower());
        return it == m_entries.end() ? part : it->second.name;
    }
    std::vector<QString> names() const
    {
        std::vector<QString> list;
        for (const auto& [key, entry] : m_entries)
            list.push_back(entry.name);
        return list;
    }

    // The declared unpacked size of a part (0 when absent).
    qint64 size(const QString& part) const
    {
        const auto it = m_entries.find(part.toLower());
        return it == m_entries.end() ? 0 : static_cast<qint64>(it->second.size);
    }

    QByteArray read(const QString& part) const
    {
        const auto it = m_entries.find(part.toLower());
        if (it == m_entries.end())
            throw damaged(m_file, QStringLiteral("the part %1 is missing").arg(part));
        const Entry& entry = it->second;
        zip_file_t* file = zip_fopen_index(m_zip, entry.index, 0);
        if (!file)
            throw damaged(m_file, QStringLiteral("%1: %2").arg(part, qtext(zip_strerror(m_zip))));
        // Never more than the size the archive declares (and the caps allowed).
        QByteArray bytes(static_cast<qsizetype>(entry.size), Qt::Uninitialized);
        zip_int64_t done = 0;
        while (done < static_cast<zip_int64_t>(entry.size)) {
            const zip_int64_t n = zip_fread(file, bytes.data() + done, entry.size - static_cast<zip_uint64_t>(done));
            if (n < 0) {
                const QString reason = qtext(zip_error_strerror(zip_file_get_error(file)));
                zip_fclose(file);
                throw damaged(m_file, QStringLiteral("%1: %2").arg(part, reason));
            }
            if (n == 0)
                break;
            done += n;
        }
        zip_fclose(file);
        if (done != static_cast<zip_int64_t>(entry.size))
            throw damaged(m_file, QStringLiteral("%1 is shorter than declared").arg(part));
        return bytes;
    }

private:
    struct Entry {
        QString name;
        zip_uint64_t index = 0;
        zip_uint64_t size = 0;
    };

    void index(const PackageLimits& limits)
    {
        const zip_int64_t count = zip_get_num_entries(m_zip, 0);
        if (count > limits.maxEntries)
            throw RuntimeError(QStringLiteral("The workbook \"%1\" has %2 entries, more than the %3 this program reads.")
                                   .arg(shown(m_file))
                                   .arg(count)
                                   .arg(limits.maxEntries));
        qint64 total = 0;
        for (zip_int64_t i = 0; i < count; ++i) {
            zip_stat_t st;
            zip_stat_init(&st);
            if (zip_stat_index(m_zip, static_cast<zip_uint64_t>(i), 0, &st) != 0)
                throw damaged(m_file, qtext(zip_strerror(m_zip)));
            const QString name = QString::fromUtf8(st.name);
            checkName(name);
            if ((st.valid & ZIP_STAT_ENCRYPTION_METHOD) && st.encryption_method != ZIP_EM_NONE)
                throw RuntimeError(QStringLiteral("The workbook \"%1\" is encrypted. Remove its password and save it "
                                                  "again before extending it.")
                                       .arg(shown(m_file)));
            const qint64 size = (st.valid & ZIP_STAT_SIZE) ? static_cast<qint64>(st.size) : 0;
            total += size;
            if (size > limits.maxEntrySize || total > limits.maxTotalSize)
                throw RuntimeError(QStringLiteral("The workbook \"%1\" unpacks to more than this program reads "
                                                  "(%2 MB for one part, %3 MB in all); it is not extended.")
                                       .arg(shown(m_file))
                                       .arg(limits.maxEntrySize / (1024 * 1024))
                                       .arg(limits.maxTotalSize / (1024 * 1024)));
            if (!m_entries.emplace(name.toLower(), Entry{name, static_cast<zip_uint64_t>(i), st.size}).second)
                throw damaged(m_file, QStringLiteral("the part %1 is there twice").arg(name));
        }
    }

    // Entry names are package part names: relative, "/"-separated, nothing that could
    // point outside a folder it were unpacked to.
    void checkName(const QString& name) const
    {
        const bool unsafe = name.isEmpty() || name.startsWith(QLatin1Char('/')) || name.contains(QLatin1Char('\\'))
            || name.contains(QLatin1Char(':')) || name.contains(QChar(0))
            || name.split(QLatin1Char('/')).contains(QStringLiteral(".."));
        if (unsafe)
            throw RuntimeError(QStringLiteral("The workbook \"%1\" contains an entry with an unsafe name (\"%2\"); it is "
                                              "not extended.")
                                   .arg(shown(m_file), name));
    }

    QString m_file;
    zip_t* m_zip = nullptr;
    std::map<QString, Entry> m_entries; // key: lower-case name
};

// --- A workbook package read for patching ----------------------------------------------

struct Package {
    QString file; // as shown in messages
    std::unique_ptr<ZipReader> zip;
    QString workbookPart;
    std::unique_ptr<pugi::xml_document> contentTypes, workbook, workbookRels, styles, app;
    QString stylesPart, appPart;

    QString workbookRelsPart() const { return relationshipsPartOf(workbookPart); }
};

std::unique_ptr<Package> readPackage(const QString& path, const QString& file, const PackageLimits& limits)
{
    auto pkg = std::make_unique<Package>();
    pkg->file = file;
    pkg->zip = std::make_unique<ZipReader>(path, file, limits);
    const ZipReader& zip = *pkg->zip;
    const auto xmlPart = [&](const QString& part) {
        // A compression bomb within the limits of a whole entry is still far too much to parse.
        if (zip.size(part) > limits.maxParsedPartSize)
            throw RuntimeError(QStringLiteral("The workbook \"%1\" has a part %2 of %3 MB, more than the %4 MB this "
                                              "program reads; it is not extended.")
                                   .arg(shown(file), zip.entryName(part))
                                   .arg(zip.size(part) / (1024 * 1024))
                                   .arg(limits.maxParsedPartSize / (1024 * 1024)));
        auto doc = parseXml(zip.read(zip.entryName(part)), part, file);
        if (const QString problem = namespaceProblem(*doc); !problem.isEmpty())
            throw damaged(file, QStringLiteral("%1: %2").arg(part, problem));
        return doc;
    };

    if (!zip.has(QStringLiteral("[Content_Types].xml")) || !zip.has(QStringLiteral("_rels/.rels")))
        throw RuntimeError(QStringLiteral("\"%1\" is not an Excel workbook (.xlsx) that can be extended: it is a zip "
                                          "archive without the parts of a workbook.")
                               .arg(shown(file)));
    pkg->contentTypes = xmlPart(QStringLiteral("[Content_Types].xml"));
    const auto rootRels = xmlPart(QStringLiteral("_rels/.rels"));
    for (const Relationship& rel : relationshipsOf(*rootRels, QString())) {
        if (rel.type.startsWith(QLatin1String(StrictNamespaceStart)))
            throw strictFormat(file);
        if (rel.type == QLatin1String(OfficeDocumentType))
            pkg->workbookPart = rel.target;
        else if (rel.type == QLatin1String(ExtendedPropertiesType))
            pkg->appPart = rel.target;
    }
    if (pkg->workbookPart.isEmpty() || !zip.has(pkg->workbookPart))
        throw RuntimeError(QStringLiteral("\"%1\" is not an Excel workbook (.xlsx) that can be extended: it has no "
                                          "workbook part.")
                               .arg(shown(file)));
    pkg->workbookPart = zip.entryName(pkg->workbookPart);

    // The main part must be a spreadsheet of the XML kind (not a text document, not the
    // binary workbook format).
    QString mainType;
    for (pugi::xml_node node : childrenNamed(pkg->contentTypes->document_element(), "Override")) {
        if (resolveTarget(QString(), qtext(node.attribute("PartName").value())).compare(pkg->workbookPart, Qt::CaseInsensitive) == 0)
            mainType = qtext(node.attribute("ContentType").value());
    }
    if (!mainType.startsWith(QLatin1String("application/vnd.openxmlformats-officedocument.spreadsheetml."))
        && !mainType.startsWith(QLatin1String("application/vnd.ms-excel.sheet.macroEnabled."))
        && !mainType.startsWith(QLatin1String("application/vnd.ms-excel.template.macroEnabled.")))
        throw RuntimeError(QStringLiteral("\"%1\" is not an Excel workbook (.xlsx) that can be extended (its main part "
                                          "is \"%2\").")
                               .arg(shown(file), mainType.isEmpty() ? QStringLiteral("of no known kind") : mainType));

    pkg->workbook = xmlPart(pkg->workbookPart);
    const QString workbookNs = namespaceOf(pkg->workbook->document_element());
    if (workbookNs.startsWith(QLatin1String(StrictNamespaceStart)))
        throw strictFormat(file);
    if (!childNamed(pkg->workbook->document_element(), "sheets"))
        throw damaged(file, QStringLiteral("the workbook part lists no sheets"));

    if (!zip.has(pkg->workbookRelsPart()))
        throw damaged(file, QStringLiteral("the part %1 is missing").arg(pkg->workbookRelsPart()));
    pkg->workbookRels = xmlPart(pkg->workbookRelsPart());
    for (const Relationship& rel : relationshipsOf(*pkg->workbookRels, pkg->workbookPart)) {
        if (rel.type == QLatin1String(StylesType) && zip.has(rel.target))
            pkg->stylesPart = zip.entryName(rel.target);
    }
    if (!pkg->stylesPart.isEmpty())
        pkg->styles = xmlPart(pkg->stylesPart);
    if (!pkg->appPart.isEmpty() && zip.has(pkg->appPart)) {
        pkg->appPart = zip.entryName(pkg->appPart);
        pkg->app = xmlPart(pkg->appPart);
    } else {
        pkg->appPart.clear();
    }
    return pkg;
}

QStringList sheetNamesOf(const Package& pkg)
{
    QStringList names;
    for (pugi::xml_node sheet : childrenNamed(childNamed(pkg.workbook->document_element(), "sheets"), "sheet"))
        names.append(qtext(sheet.attribute("name").value()));
    return names;
}

// --- Merging cell formats ------------------------------------------------------------------

// Brings cell formats of the new sheets' styles part into the existing one: fonts,
// fills, borders and number formats are reused when an identical one is there and
// appended otherwise, and so are the cell formats themselves.
class StyleMerger {
public:
    StyleMerger(pugi::xml_document& target, const pugi::xml_document& source) : m_target(target), m_source(source)
    {
        m_prefix = prefixOf(target.document_element());
    }

    bool changed() const { return m_changed; }

    int cellFormat(int sourceIndex)
    {
        const auto known = m_xfs.find(sourceIndex);
        if (known != m_xfs.end())
            return known->second;
        const auto sourceXfs = childrenNamed(childNamed(m_source.document_element(), "cellXfs"), "xf");
        if (sourceIndex < 0 || sourceIndex >= static_cast<int>(sourceXfs.size()))
            throw RuntimeError(QStringLiteral("The new sheet refers to a cell format that does not exist."));
        pugi::xml_document scratch;
        pugi::xml_node xf = copyInto(scratch, sourceXfs[static_cast<std::size_t>(sourceIndex)]);
        remapAttribute(xf, "fontId", [&](int id) { return item("fonts", "font", id); });
        remapAttribute(xf, "fillId", [&](int id) { return item("fills", "fill", id); });
        remapAttribute(xf, "borderId", [&](int id) { return item("borders", "border", id); });
        remapAttribute(xf, "numFmtId", [&](int id) { return numberFormat(id); });
        // The new cells hang off the workbook's own normal style.
        if (xf.attribute("xfId"))
            xf.attribute("xfId").set_value("0");
        const int index = appendUnique("cellXfs", xf);
        m_xfs.emplace(sourceIndex, index);
        return index;
    }

private:
    static const std::vector<const char*>& sectionOrder()
    {
        static const std::vector<const char*> order = {"numFmts", "fonts", "fills", "borders", "cellStyleXfs", "cellXfs"};
        return order;
    }

    // The section of the target, created in its place when missing.
    pugi::xml_node section(const char* local)
    {
        pugi::xml_node root = m_target.document_element();
        if (pugi::xml_node found = childNamed(root, local))
            return found;
        const auto& order = sectionOrder();
        auto it = std::find_if(order.begin(), order.end(), [&](const char* name) { return std::strcmp(name, local) == 0; });
        for (++it; it != order.end(); ++it) {
            if (pugi::xml_node later = childNamed(root, *it))
                return root.insert_child_before(qualified(m_prefix, local).c_str(), later);
        }
        // Nothing that belongs after it: before the first element of the tail
        // (cellStyles, dxfs, ...) or at the end.
        for (pugi::xml_node child : root.children()) {
            if (child.type() == pugi::node_element
                && std::none_of(order.begin(), order.end(), [&](const char* name) { return localName(child) == QLatin1String(name); }))
                return root.insert_child_before(qualified(m_prefix, local).c_str(), child);
        }
        return root.append_child(qualified(m_prefix, local).c_str());
    }

    // A copy of a source element with the target's namespace prefix.
    pugi::xml_node copyInto(pugi::xml_node parent, const pugi::xml_node& source)
    {
        pugi::xml_node copy = parent.append_child(qualified(m_prefix, utf8(localName(source)).c_str()).c_str());
        for (pugi::xml_attribute attribute : source.attributes())
            copy.append_attribute(attribute.name()) = attribute.value();
        for (pugi::xml_node child : source.children()) {
            if (child.type() == pugi::node_element)
                copyInto(copy, child);
            else
                copy.append_copy(child);
        }
        return copy;
    }

    template <typename Map>
    void remapAttribute(pugi::xml_node node, const char* name, Map map)
    {
        if (pugi::xml_attribute attribute = node.attribute(name))
            attribute.set_value(map(attribute.as_int()));
    }

    int item(const char* sectionName, const char* itemName, int sourceIndex)
    {
        const auto items = childrenNamed(childNamed(m_source.document_element(), sectionName), itemName);
        if (sourceIndex < 0 || sourceIndex >= static_cast<int>(items.size()))
            throw RuntimeError(QStringLiteral("The new sheet refers to a %1 that does not exist.").arg(qtext(itemName)));
        pugi::xml_document scratch;
        return appendUnique(sectionName, copyInto(scratch, items[static_cast<std::size_t>(sourceIndex)]));
    }

    int numberFormat(int sourceId)
    {
        if (sourceId < FirstCustomNumberFormat)
            return sourceId; // built in: the same in every workbook
        QString code;
        for (pugi::xml_node format : childrenNamed(childNamed(m_source.document_element(), "numFmts"), "numFmt")) {
            if (format.attribute("numFmtId").as_int() == sourceId)
                code = qtext(format.attribute("formatCode").value());
        }
        pugi::xml_node formats = section("numFmts");
        int highest = FirstCustomNumberFormat - 1;
        for (pugi::xml_node format : childrenNamed(formats, "numFmt")) {
            if (qtext(format.attribute("formatCode").value()) == code)
                return format.attribute("numFmtId").as_int();
            highest = std::max(highest, format.attribute("numFmtId").as_int());
        }
        pugi::xml_node added = formats.append_child(qualified(m_prefix, "numFmt").c_str());
        added.append_attribute("numFmtId") = highest + 1;
        added.append_attribute("formatCode") = utf8(code).c_str();
        updateCount(formats);
        m_changed = true;
        return highest + 1;
    }

    int appendUnique(const char* sectionName, const pugi::xml_node& node)
    {
        pugi::xml_node target = section(sectionName);
        const std::string wanted = serialize(node);
        int index = 0;
        for (pugi::xml_node existing : target.children()) {
            if (existing.type() != pugi::node_element)
                continue;
            if (serialize(existing) == wanted)
                return index;
            ++index;
        }
        target.append_copy(node);
        updateCount(target);
        m_changed = true;
        return index;
    }

    static void updateCount(pugi::xml_node section)
    {
        int count = 0;
        for (pugi::xml_node child : section.children())
            count += child.type() == pugi::node_element ? 1 : 0;
        if (!section.attribute("count"))
            section.append_attribute("count");
        section.attribute("count").set_value(count);
    }

    pugi::xml_document& m_target;
    const pugi::xml_document& m_source;
    QString m_prefix;
    std::map<int, int> m_xfs;
    bool m_changed = false;
};

// --- Grafting ------------------------------------------------------------------------------

class Graft {
public:
    Graft(Package& pkg, const ZipReader& parts, const QString& partsFile) : m_pkg(pkg), m_parts(parts), m_partsFile(partsFile)
    {
        for (const QString& name : pkg.zip->names())
            m_taken.insert(name.toLower());
    }

    // Adds the sheets of the one-sheet-per-model workbook `m_parts` to the package; the
    // sheet `active` (an index into `sheets`, -1 for none) becomes the one the workbook
    // opens on.
    void run(const std::vector<SheetModel*>& sheets, int active)
    {
        const auto xmlPart = [&](const QString& part) {
            return parseXml(m_parts.read(m_parts.entryName(part)), part, m_partsFile);
        };
        m_partsContentTypes = xmlPart(QStringLiteral("[Content_Types].xml"));
        const QString partsWorkbook = QStringLiteral("xl/workbook.xml");
        const auto partsWorkbookDoc = xmlPart(partsWorkbook);
        const auto partsRels = xmlPart(relationshipsPartOf(partsWorkbook));
        std::map<QString, QString> sheetTargets;
        QString partsStyles, partsStrings;
        for (const Relationship& rel : relationshipsOf(*partsRels, partsWorkbook)) {
            if (rel.type == QLatin1String(WorksheetType))
                sheetTargets[rel.id] = rel.target;
            else if (rel.type == QLatin1String(StylesType))
                partsStyles = rel.target;
            else if (rel.type == QLatin1String(SharedStringsType))
                partsStrings = rel.target;
        }
        if (!partsStrings.isEmpty())
            m_strings = xmlPart(partsStrings);
        m_partsStyles = xmlPart(partsStyles);
        prepareStyles(partsStyles);

        const auto partsSheets = childrenNamed(childNamed(partsWorkbookDoc->document_element(), "sheets"), "sheet");
        if (partsSheets.size() != sheets.size())
            throw RuntimeError(QStringLiteral("The new sheets could not be prepared."));
        const int sheetsBefore = static_cast<int>(sheetNodes().size());
        const bool activating = active >= 0 && active < static_cast<int>(sheets.size());
        if (activating)
            deselectSheetsOfFile();
        for (std::size_t i = 0; i < sheets.size(); ++i) {
            const QString rId = qtext(partsSheets[i].attribute("r:id").value());
            addSheet(sheets[i]->name(), sheetTargets.at(rId), activating && static_cast<int>(i) == active);
        }
        if (activating)
            setActiveTab(sheetsBefore + active);
        if (m_styles && m_styles->changed())
            m_changes[m_pkg.stylesPart] = serialize(*m_pkg.styles);
        ensureDefault(QStringLiteral("rels"), QStringLiteral("application/vnd.openxmlformats-package.relationships+xml"));
        m_changes[QStringLiteral("[Content_Types].xml")] = serialize(*m_pkg.contentTypes);
        m_changes[m_pkg.workbookRelsPart()] = serialize(*m_pkg.workbookRels);
        m_changes[m_pkg.workbookPart] = serialize(*m_pkg.workbook);
        if (m_pkg.app)
            m_changes[m_pkg.appPart] = serialize(*m_pkg.app);
    }

    const std::map<QString, QByteArray>& changes() const { return m_changes; }

private:
    void prepareStyles(const QString& partsStyles)
    {
        if (!m_pkg.styles) {
            // A workbook without a styles part takes the new one as it is.
            m_pkg.stylesPart = freePart(folderOf(m_pkg.workbookPart), QStringLiteral("styles"), QString());
            m_changes[m_pkg.stylesPart] = m_parts.read(m_parts.entryName(partsStyles));
            addOverride(m_pkg.stylesPart, QString::fromLatin1(StylesContentType));
            addWorkbookRelationship(QString::fromLatin1(StylesType), m_pkg.stylesPart);
            return;
        }
        m_styles = std::make_unique<StyleMerger>(*m_pkg.styles, *m_partsStyles);
    }

    int mapStyle(int index)
    {
        return m_styles ? m_styles->cellFormat(index) : index;
    }

    // "<folder><stem>N.xml" with the next number not used in the package; a part without
    // a number when `numbered` is empty and the plain name is free. A name is free when
    // neither the part nor its relationships part is in the package: a relationships part
    // left without its part is not overwritten.
    QString freePart(const QString& folder, const QString& stem, const QString& numbered)
    {
        const auto isFree = [&](const QString& part) {
            return !m_taken.count(part.toLower()) && !m_taken.count(relationshipsPartOf(part).toLower());
        };
        if (numbered.isEmpty() && isFree(folder + stem + QStringLiteral(".xml"))) {
            const QString part = folder + stem + QStringLiteral(".xml");
            m_taken.insert(part.toLower());
            return part;
        }
        const QRegularExpression pattern(QStringLiteral("^%1%2(\\d+)\\.xml$")
                                             .arg(QRegularExpression::escape(folder.toLower()),
                                                  QRegularExpression::escape(stem.toLower())));
        int highest = 0;
        for (const QString& name : m_taken) {
            const QRegularExpressionMatch match = pattern.match(name);
            if (match.hasMatch())
                highest = std::max(highest, match.captured(1).toInt());
        }
        QString part;
        do
            part = folder + stem + QString::number(++highest) + QStringLiteral(".xml");
        while (!isFree(part));
        m_taken.insert(part.toLower());
        return part;
    }

    QString partsContentType(const QString& part) const
    {
        for (pugi::xml_node node : childrenNamed(m_partsContentTypes->document_element(), "Override")) {
            if (resolveTarget(QString(), qtext(node.attribute("PartName").value())) == part)
                return qtext(node.attribute("ContentType").value());
        }
        throw RuntimeError(QStringLiteral("The new sheets could not be prepared (no content type for %1).").arg(part));
    }

    // The new relationship parts are typed by their extension.
    void ensureDefault(const QString& extension, const QString& contentType)
    {
        pugi::xml_node root = m_pkg.contentTypes->document_element();
        for (pugi::xml_node node : childrenNamed(root, "Default")) {
            if (qtext(node.attribute("Extension").value()).compare(extension, Qt::CaseInsensitive) == 0)
                return;
        }
        pugi::xml_node node = root.prepend_child(qualified(prefixOf(root), "Default").c_str());
        node.append_attribute("Extension") = utf8(extension).c_str();
        node.append_attribute("ContentType") = utf8(contentType).c_str();
    }

    void addOverride(const QString& part, const QString& contentType)
    {
        pugi::xml_node root = m_pkg.contentTypes->document_element();
        pugi::xml_node node = root.append_child(qualified(prefixOf(root), "Override").c_str());
        node.append_attribute("PartName") = utf8(QLatin1Char('/') + part).c_str();
        node.append_attribute("ContentType") = utf8(contentType).c_str();
    }

    QString addWorkbookRelationship(const QString& type, const QString& part)
    {
        pugi::xml_node root = m_pkg.workbookRels->document_element();
        std::set<QString> ids;
        for (pugi::xml_node node : childrenNamed(root, "Relationship"))
            ids.insert(qtext(node.attribute("Id").value()));
        int n = static_cast<int>(ids.size()) + 1;
        while (ids.count(QStringLiteral("rId%1").arg(n)))
            ++n;
        const QString id = QStringLiteral("rId%1").arg(n);
        pugi::xml_node node = root.append_child(qualified(prefixOf(root), "Relationship").c_str());
        node.append_attribute("Id") = utf8(id).c_str();
        node.append_attribute("Type") = utf8(type).c_str();
        node.append_attribute("Target") = utf8(relativeTarget(m_pkg.workbookPart, part)).c_str();
        return id;
    }

    // The prefix the workbook part uses for the relationships namespace, declared on the
    // root element when it has none.
    QString relationshipPrefix()
    {
        pugi::xml_node root = m_pkg.workbook->document_element();
        std::set<QString> prefixes;
        for (pugi::xml_attribute attribute : root.attributes()) {
            const QString name = qtext(attribute.name());
            if (!name.startsWith(QLatin1String("xmlns:")))
                continue;
            prefixes.insert(name.mid(6));
            if (qtext(attribute.value()) == QLatin1String(RelationshipsNs))
                return name.mid(6);
        }
        QString prefix = QStringLiteral("r");
        while (prefixes.count(prefix))
            prefix += QLatin1Char('r');
        root.append_attribute(utf8(QStringLiteral("xmlns:") + prefix).c_str()) = RelationshipsNs;
        return prefix;
    }

    std::vector<pugi::xml_node> sheetNodes() const
    {
        return childrenNamed(childNamed(m_pkg.workbook->document_element(), "sheets"), "sheet");
    }

    // The workbook opens on the tab `index` (counting every sheet from 0): the first
    // window's activeTab. A workbook part without windows gets one.
    void setActiveTab(int index)
    {
        pugi::xml_node root = m_pkg.workbook->document_element();
        pugi::xml_node views = childNamed(root, "bookViews");
        if (!views)
            views = root.insert_child_before(qualified(prefixOf(root), "bookViews").c_str(), childNamed(root, "sheets"));
        pugi::xml_node view = childNamed(views, "workbookView");
        if (!view)
            view = views.append_child(qualified(prefixOf(root), "workbookView").c_str());
        if (!view.attribute("activeTab"))
            view.append_attribute("activeTab");
        view.attribute("activeTab").set_value(index);
        // The tab bar starts at the first sheet or later; it must not start behind the new one.
        if (pugi::xml_attribute first = view.attribute("firstSheet"); first && first.as_int() > index)
            first.set_value(index);
    }

    // The sheets of the file that are selected (tabSelected) are selected no more: a new
    // sheet that the workbook opens on is the only selected one, as a spreadsheet program
    // leaves it when it adds a sheet (two selected tabs would be a group, and what is typed
    // into one would go into both). Only the parts that have the mark are rewritten.
    void deselectSheetsOfFile()
    {
        for (const Relationship& rel : relationshipsOf(*m_pkg.workbookRels, m_pkg.workbookPart)) {
            const bool sheetLike = rel.type.endsWith(QLatin1String("/worksheet")) || rel.type.endsWith(QLatin1String("/chartsheet"))
                || rel.type.endsWith(QLatin1String("/dialogsheet")) || rel.type.endsWith(QLatin1String("/xlMacrosheet"));
            if (!sheetLike || rel.target.isEmpty() || !m_pkg.zip->has(rel.target))
                continue;
            const QString part = m_pkg.zip->entryName(rel.target);
            if (const std::optional<QByteArray> changed = withoutTabSelected(m_pkg.zip->read(part)))
                m_changes[part] = *changed;
        }
    }

    void addSheet(const QString& name, const QString& partsSheet, bool selected)
    {
        const QString folder = folderOf(m_pkg.workbookPart);
        const QString sheetPart = freePart(folder + QStringLiteral("worksheets/"), QStringLiteral("sheet"), QStringLiteral("n"));
        m_changes[sheetPart] = sheetXml(partsSheet, selected);
        addOverride(sheetPart, partsContentType(partsSheet));

        const QString partsSheetRels = relationshipsPartOf(partsSheet);
        if (m_parts.has(partsSheetRels)) {
            auto rels = parseXml(m_parts.read(m_parts.entryName(partsSheetRels)), partsSheetRels, m_partsFile);
            for (const Relationship& rel : relationshipsOf(*rels, partsSheet)) {
                if (rel.type != QLatin1String(DrawingType))
                    throw RuntimeError(QStringLiteral("The new sheet has a part of a kind that cannot be added (%1).").arg(rel.type));
                const QString drawing = addDrawing(rel.target);
                rel.node.attribute("Target").set_value(utf8(relativeTarget(sheetPart, drawing)).c_str());
            }
            m_changes[relationshipsPartOf(sheetPart)] = serialize(*rels);
        }

        const QString id = addWorkbookRelationship(QString::fromLatin1(WorksheetType), sheetPart);
        pugi::xml_node root = m_pkg.workbook->document_element();
        const QString relPrefix = relationshipPrefix();
        pugi::xml_node sheets = childNamed(root, "sheets");
        int highestId = 0;
        for (pugi::xml_node sheet : childrenNamed(sheets, "sheet"))
            highestId = std::max(highestId, sheet.attribute("sheetId").as_int());
        pugi::xml_node sheet = sheets.append_child(qualified(prefixOf(root), "sheet").c_str());
        sheet.append_attribute("name") = utf8(name).c_str();
        sheet.append_attribute("sheetId") = highestId + 1;
        sheet.append_attribute(qualified(relPrefix, "id").c_str()) = utf8(id).c_str();
        addApplicationTitle(name);
    }

    QString addDrawing(const QString& partsDrawing)
    {
        const QString drawing = freePart(folderOf(m_pkg.workbookPart) + QStringLiteral("drawings/"), QStringLiteral("drawing"), QStringLiteral("n"));
        m_changes[drawing] = m_parts.read(m_parts.entryName(partsDrawing));
        addOverride(drawing, partsContentType(partsDrawing));
        const QString partsRels = relationshipsPartOf(partsDrawing);
        if (m_parts.has(partsRels)) {
            auto rels = parseXml(m_parts.read(m_parts.entryName(partsRels)), partsRels, m_partsFile);
            for (const Relationship& rel : relationshipsOf(*rels, partsDrawing)) {
                if (rel.type != QLatin1String(ChartType))
                    throw RuntimeError(QStringLiteral("The new sheet has a part of a kind that cannot be added (%1).").arg(rel.type));
                const QString chart = freePart(folderOf(m_pkg.workbookPart) + QStringLiteral("charts/"), QStringLiteral("chart"), QStringLiteral("n"));
                m_changes[chart] = m_parts.read(m_parts.entryName(rel.target));
                addOverride(chart, partsContentType(rel.target));
                rel.node.attribute("Target").set_value(utf8(relativeTarget(drawing, chart)).c_str());
            }
            m_changes[relationshipsPartOf(drawing)] = serialize(*rels);
        }
        return drawing;
    }

    // The new sheet's XML: cell formats renumbered into the merged styles, shared
    // strings turned into inline strings (the workbook's own string table stays as it
    // is), and selected only when it is the sheet the workbook opens on.
    QByteArray sheetXml(const QString& partsSheet, bool selected)
    {
        auto doc = parseXml(m_parts.read(m_parts.entryName(partsSheet)), partsSheet, m_partsFile);
        pugi::xml_node root = doc->document_element();
        std::vector<pugi::xml_node> strings;
        if (m_strings)
            strings = childrenNamed(m_strings->document_element(), "si");
        for (pugi::xml_node view : childrenNamed(childNamed(root, "sheetViews"), "sheetView")) {
            view.remove_attribute("tabSelected");
            if (selected)
                view.append_attribute("tabSelected") = "1";
        }
        for (pugi::xml_node column : childrenNamed(childNamed(root, "cols"), "col")) {
            if (pugi::xml_attribute style = column.attribute("style"))
                style.set_value(mapStyle(style.as_int()));
        }
        for (pugi::xml_node row : childrenNamed(childNamed(root, "sheetData"), "row")) {
            if (pugi::xml_attribute style = row.attribute("s"))
                style.set_value(mapStyle(style.as_int()));
            for (pugi::xml_node cell : childrenNamed(row, "c")) {
                if (pugi::xml_attribute style = cell.attribute("s"))
                    style.set_value(mapStyle(style.as_int()));
                if (std::strcmp(cell.attribute("t").value(), "s") != 0)
                    continue;
                const int index = cell.child("v").text().as_int(-1);
                if (index < 0 || index >= static_cast<int>(strings.size()))
                    throw RuntimeError(QStringLiteral("The new sheet refers to a text that does not exist."));
                cell.remove_child("v");
                cell.attribute("t").set_value("inlineStr");
                pugi::xml_node inlineString = cell.append_child("is");
                for (pugi::xml_node part : strings[static_cast<std::size_t>(index)].children())
                    inlineString.append_copy(part);
            }
        }
        return serialize(*doc);
    }

    // docProps/app.xml lists the sheet titles after a "Worksheets" count; the new title
    // goes at the end of that group. A layout this does not recognise is left as it is
    // (spreadsheet programs rewrite these properties when they save).
    void addApplicationTitle(const QString& name)
    {
        if (!m_pkg.app)
            return;
        pugi::xml_node root = m_pkg.app->document_element();
        pugi::xml_node pairs = childNamed(childNamed(root, "HeadingPairs"), "vector");
        pugi::xml_node titles = childNamed(childNamed(root, "TitlesOfParts"), "vector");
        if (!pairs || !titles)
            return;
        const auto variants = childrenNamed(pairs, "variant");
        const auto names = childrenNamed(titles, "lpstr");
        const int sheetCount = static_cast<int>(childrenNamed(childNamed(m_pkg.workbook->document_element(), "sheets"), "sheet").size()) - 1;
        int before = 0;
        for (std::size_t i = 0; i + 1 < variants.size(); i += 2) {
            const QString heading = qtext(childNamed(variants[i], "lpstr").text().get());
            pugi::xml_node countNode = childNamed(variants[i + 1], "i4");
            if (!countNode)
                return;
            const int count = countNode.text().as_int();
            const bool worksheets = heading == QLatin1String("Worksheets") || (i == 0 && count == sheetCount);
            if (worksheets) {
                if (before + count > static_cast<int>(names.size()))
                    return;
                const QString prefix = prefixOf(titles);
                pugi::xml_node title = before + count == 0
                    ? titles.prepend_child(qualified(prefix, "lpstr").c_str())
                    : titles.insert_child_after(qualified(prefix, "lpstr").c_str(), names[static_cast<std::size_t>(before + count - 1)]);
                title.text().set(utf8(name).c_str());
                countNode.text().set(count + 1);
                titles.attribute("size").set_value(static_cast<int>(names.size()) + 1);
                return;
            }
            before += count;
        }
    }

    Package& m_pkg;
    const ZipReader& m_parts;
    QString m_partsFile;
    std::unique_ptr<pugi::xml_document> m_partsContentTypes, m_partsStyles, m_strings;
    std::unique_ptr<StyleMerger> m_styles;
    std::set<QString> m_taken; // part names in use, lower case
    std::map<QString, QByteArray> m_changes;
};

// Copies `from` into the already created file `to`.
void copyFile(const QString& from, const QString& to)
{
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly))
        throw RuntimeError(QStringLiteral("\"%1\" cannot be read: %2").arg(shown(from), source.errorString()));
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw RuntimeError(QStringLiteral("\"%1\" cannot be written: %2").arg(shown(to), target.errorString()));
    QByteArray buffer(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 n = source.read(buffer.data(), buffer.size());
        if (n < 0)
            throw RuntimeError(QStringLiteral("\"%1\" cannot be read: %2").arg(shown(from), source.errorString()));
        if (n == 0)
            break;
        if (target.write(buffer.constData(), n) != n)
            throw RuntimeError(QStringLiteral("\"%1\" cannot be written: %2").arg(shown(to), target.errorString()));
    }
    if (!target.flush())
        throw RuntimeError(QStringLiteral("\"%1\" cannot be written: %2").arg(shown(to), target.errorString()));
}

// Replaces and adds entries of the archive at `path` (a copy of the original); libzip
// copies every other entry as it is, without unpacking it.
void applyChanges(const QString& path, const std::map<QString, QByteArray>& changes, const ZipReader& original)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), 0, &error);
    if (!zip)
        throw RuntimeError(QStringLiteral("The copy of the workbook could not be opened for writing."));
    for (const auto& [part, bytes] : changes) {
        const QString name = original.has(part) ? original.entryName(part) : part;
        const QByteArray encoded = name.toUtf8();
        // libzip compresses an entry that replaces one of the same method at its best (and
        // slowest) level, whatever is asked; a large part that changes is therefore removed
        // and added again, and then compressed at DeflateLevel. Small ones keep their place
        // in the archive.
        if (original.has(part) && bytes.size() > LargePart) {
            const zip_int64_t old = zip_name_locate(zip, encoded.constData(), ZIP_FL_ENC_UTF_8);
            if (old >= 0 && zip_delete(zip, static_cast<zip_uint64_t>(old)) != 0) {
                const QString reason = qtext(zip_strerror(zip));
                zip_discard(zip);
                throw RuntimeError(QStringLiteral("The workbook could not be updated: %1").arg(reason));
            }
        }
        zip_source_t* source = zip_source_buffer(zip, bytes.constData(), static_cast<zip_uint64_t>(bytes.size()), 0);
        const zip_int64_t index =
            source ? zip_file_add(zip, encoded.constData(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8) : -1;
        if (index < 0 || zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, DeflateLevel) != 0) {
            if (source && index < 0)
                zip_source_free(source);
            const QString reason = qtext(zip_strerror(zip));
            zip_discard(zip);
            throw RuntimeError(QStringLiteral("The workbook could not be updated: %1").arg(reason));
        }
    }
    if (zip_close(zip) != 0) {
        const QString reason = qtext(zip_strerror(zip));
        zip_discard(zip);
        throw RuntimeError(QStringLiteral("The workbook could not be written: %1").arg(reason));
    }
}

void checkNotLocked(const QString& path)
{
    const QString lock = lockFileOf(path);
    if (!lock.isEmpty())
        throw RuntimeError(lockedMessage(path, lock));
}

QString checkedFile(const QString& path)
{
    if (path.trimmed().isEmpty())
        throw RuntimeError(QStringLiteral("No workbook file was given."));
    const QFileInfo info(path);
    if (info.suffix().compare(QLatin1String("xls"), Qt::CaseInsensitive) == 0)
        throw RuntimeError(QStringLiteral("\"%1\" is an Excel 97-2003 workbook (.xls). Only .xlsx workbooks can be "
                                          "extended: open it in your spreadsheet program and save it as .xlsx first.")
                               .arg(shown(path)));
    if (info.isDir())
        throw RuntimeError(folderGivenMessage(path));
    if (!info.exists())
        throw RuntimeError(QStringLiteral("The workbook \"%1\" cannot be found.").arg(shown(path)));
    if (!info.isFile())
        throw RuntimeError(QStringLiteral("\"%1\" is not a workbook file.").arg(shown(path)));
    const QString file = info.canonicalFilePath();
    checkNotLocked(path);
    if (file != info.absoluteFilePath())
        checkNotLocked(file);

    QFile probe(file);
    if (!probe.open(QIODevice::ReadOnly))
        throw RuntimeError(QStringLiteral("The workbook \"%1\" cannot be read: %2").arg(shown(path), probe.errorString()));
    const QByteArray magic = probe.read(8);
    // Password-protected .xlsx files and the old binary format are both compound files.
    if (magic.startsWith(QByteArray::fromHex("D0CF11E0A1B11AE1")))
        throw RuntimeError(QStringLiteral("The workbook \"%1\" is encrypted with a password or saved in the old binary "
                                          "format. Only unprotected .xlsx workbooks can be extended: remove the "
                                          "password or save it as .xlsx first.")
                               .arg(shown(path)));
    if (!info.isWritable())
        throw RuntimeError(QStringLiteral("The workbook \"%1\" is read-only.").arg(shown(path)));
    return file;
}

} // namespace

WorkbookFileInfo inspectWorkbookFile(const QString& path, const PackageLimits& limits)
{
    const QString file = checkedFile(path);
    const auto pkg = readPackage(file, path, limits);
    // The new file is written beside the old one and renamed over it: the folder must
    // take a new file.
    const QString folder = QFileInfo(file).absolutePath();
    const QString probe = createTemporaryBeside(folder, QFileInfo(file).fileName());
    QFile::remove(probe);
    return {file, sheetNamesOf(*pkg)};
}

PreparedWorkbook prepareSheetsForWorkbookFile(const QString& path, const std::vector<SheetModel*>& sheets,
                                              int activeSheet, const PackageLimits& limits)
{
    const QString file = checkedFile(path);
    auto pkg = readPackage(file, path, limits);

    // Final names first: the chart references are written with them.
    QStringList taken = sheetNamesOf(*pkg);
    for (SheetModel* sheet : sheets) {
        const bool clash = std::any_of(taken.begin(), taken.end(), [&](const QString& name) {
            return name.compare(sheet->name(), Qt::CaseInsensitive) == 0;
        });
        if (clash || !isValidSheetName(sheet->name()))
            sheet->setName(nextSheetName(taken));
        taken.append(sheet->name());
    }

    QTemporaryDir scratch;
    if (!scratch.isValid())
        throw RuntimeError(QStringLiteral("No temporary folder is available: %1").arg(scratch.errorString()));
    const QString partsFile = scratch.filePath(QStringLiteral("sheets.xlsx"));
    writeWorkbookFile(partsFile, std::vector<const SheetModel*>(sheets.begin(), sheets.end()), 0);
    const ZipReader parts(partsFile, partsFile, PackageLimits{});

    Graft graft(*pkg, parts, partsFile);
    graft.run(sheets, activeSheet);

    const QString temporary = createTemporaryBeside(QFileInfo(file).absolutePath(), QFileInfo(file).fileName());
    try {
        copyFile(file, temporary);
        applyChanges(temporary, graft.changes(), *pkg->zip);
        temporaryWritten(temporary);
        keepOwnerAndMode(file, temporary);
        syncToDisk(temporary);
    } catch (...) {
        QFile::remove(temporary);
        throw;
    }
    return {file, temporary};
}

void commitPreparedWorkbook(const PreparedWorkbook& prepared, const std::function<void()>& beforeCommit)
{
    try {
        if (beforeCommit)
            beforeCommit();
        checkNotLocked(prepared.file);
        moveIntoPlace(prepared.temporary, prepared.file, true);
    } catch (...) {
        QFile::remove(prepared.temporary);
        throw;
    }
}

void discardPreparedWorkbook(const PreparedWorkbook& prepared)
{
    QFile::remove(prepared.temporary);
}

void addSheetsToWorkbookFile(const QString& path, const std::vector<SheetModel*>& sheets,
                             const std::function<void()>& beforeCommit, const PackageLimits& limits, int activeSheet)
{
    commitPreparedWorkbook(prepareSheetsForWorkbookFile(path, sheets, activeSheet, limits), beforeCommit);
}

QString nextSheetName(const QStringList& taken)
{
    for (int n = static_cast<int>(taken.size()) + 1;; ++n) {
        const QString name = QStringLiteral("Sheet%1").arg(n);
        const bool used = std::any_of(taken.begin(), taken.end(), [&](const QString& other) {
            return other.compare(name, Qt::CaseInsensitive) == 0;
        });
        if (!used)
            return name;
    }
}

bool isValidSheetName(const QString& name)
{
    if (name.isEmpty() || name.size() > 31 || name.startsWith(QLatin1Char('\'')) || name.endsWith(QLatin1Char('\'')))
        return false;
    for (const QChar c : name) {
        if (QStringLiteral("[]:*?/\\").contains(c) || c.unicode() < 0x20)
            return false;
    }
    return true;
}

} // namespace quvo::xlsx
