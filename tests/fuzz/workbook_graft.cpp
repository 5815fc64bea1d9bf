// Fuzz target: arbitrary bytes as the existing workbook that forwarding adds its sheet to.
//
// The bytes are the file "book.xlsx". An input that begins with the line "ENTRIES" is a
// package described part by part instead, so that the fuzzer can change the XML inside
// (in a real archive it is compressed and guarded by a check sum):
//   ENTRIES
//   @@@ [Content_Types].xml
//   <?xml ...?><Types ...>...</Types>
//   @@@ _rels/.rels
//   ...
// Each "@@@ " line names a part; its content runs to the next "\n@@@ ". The target packs
// them with libzip into "book.xlsx", which is then the file the checks compare against.
//
// The backend opens the file as forwarding does
// (Workbooks.Open), a new sheet is added behind the last one and given a small table and
// a line chart, and the application is handed back, which grafts the sheet into the file.
//
// Invariants:
// - either the workbook is refused (at Open or at the graft) with a message, and the file
//   is byte for byte what it was;
// - or the result is a zip archive that libzip opens with its consistency checks, that
//   the backend opens again with the old sheet names followed by the new one, and whose
//   entries other than the patched parts ([Content_Types].xml, the workbook part, its
//   relationships, styles, app properties) are byte for byte the original ones, stored
//   data included, but for sheets that lose their tabSelected mark (the new sheet is the
//   one the workbook opens on) and change in nothing else;
// - no temporary file is left in the workbook's folder or in the temporary folder.

#include "FuzzSupport.h"

#include "forward/ExcelObjects.h"
#include "forward/XlsxBackend.h"
#include "forward/XlsxPackage.h"
#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <zip.h>

#include <cstring>
#include <map>
#include <optional>
#include <utility>
#include <vector>

using namespace quvo;
using quvo::fuzz::printable;

namespace {

struct Paths {
    QString folder, book, temp;
};

const Paths& paths()
{
    static const Paths p = [] {
        Paths made;
        made.folder = fuzz::scratchFolder() + QStringLiteral("/workbook");
        made.temp = fuzz::scratchFolder() + QStringLiteral("/tmp");
        QDir().mkpath(made.folder);
        QDir().mkpath(made.temp);
        made.book = made.folder + QStringLiteral("/book.xlsx");
        // QTemporaryDir and friends go here, so that whatever they leave is seen.
        qputenv("TMPDIR", QFile::encodeName(made.temp));
        return made;
    }();
    return p;
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fuzz::fail(__FILE__, __LINE__, "file readable", path + QStringLiteral(": ") + file.errorString());
    return file.readAll();
}

// One entry as the archive stores it: its name, compression and stored (compressed) bytes.
struct StoredEntry {
    zip_uint16_t method = 0;
    zip_uint64_t size = 0;
    zip_uint32_t crc = 0;
    QByteArray stored;
    bool operator==(const StoredEntry&) const = default;
};

// Every entry of an archive, read without unpacking; nothing when libzip, with its
// consistency checks, does not open it.
std::optional<std::map<QString, StoredEntry>> storedEntries(const QString& path)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (!zip)
        return std::nullopt;
    std::map<QString, StoredEntry> entries;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t st;
        zip_stat_init(&st);
        if (zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &st) != 0) {
            zip_discard(zip);
            return std::nullopt;
        }
        StoredEntry entry;
        entry.method = st.comp_method;
        entry.size = st.size;
        entry.crc = st.crc;
        zip_file_t* file = zip_fopen_index(zip, static_cast<zip_uint64_t>(i), ZIP_FL_COMPRESSED);
        if (file) {
            char buffer[16384];
            zip_int64_t n = 0;
            while ((n = zip_fread(file, buffer, sizeof buffer)) > 0 && entry.stored.size() < (64 << 20))
                entry.stored.append(buffer, static_cast<qsizetype>(n));
            zip_fclose(file);
        }
        entries[QString::fromUtf8(st.name)] = entry;
    }
    zip_discard(zip);
    return entries;
}

// An entry unpacked; empty when it cannot be read.
QByteArray unpackedEntry(const QString& path, const QString& name)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
    if (!zip)
        return {};
    QByteArray bytes;
    if (zip_file_t* file = zip_fopen(zip, name.toUtf8().constData(), 0)) {
        char buffer[16384];
        zip_int64_t n = 0;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0 && bytes.size() < (64 << 20))
            bytes.append(buffer, static_cast<qsizetype>(n));
        zip_fclose(file);
    }
    zip_discard(zip);
    return bytes;
}

// True when `after` is `before` with some tabSelected marks ("1" or "true", with the blank
// before them) taken out, and nothing else changed.
bool onlyDeselected(const QByteArray& before, const QByteArray& after)
{
    static const QRegularExpression mark(
        QStringLiteral("\\s*\\btabSelected\\s*=\\s*(\"\\s*(1|true)\\s*\"|'\\s*(1|true)\\s*')"));
    const QString old = QString::fromLatin1(before); // byte for character, both ways
    QByteArray rebuilt;
    qsizetype from = 0;
    bool removed = false;
    for (const QRegularExpressionMatch& match : mark.globalMatch(old)) {
        rebuilt += before.mid(from, match.capturedStart() - from);
        const QByteArray text = match.captured().toLatin1();
        if (after.mid(rebuilt.size(), text.size()) == text)
            rebuilt += text; // this one was kept
        else
            removed = true;
        from = match.capturedEnd();
    }
    rebuilt += before.mid(from);
    return removed && rebuilt == after;
}

// The parts the graft may rewrite: the content types, the workbook part, its
// relationships, the styles and the application properties. The package's own
// relationships and every sheet, drawing, chart and string table stay as they are (a
// sheet may only lose its tabSelected mark).
constexpr int MostPatchedParts = 5;
bool mayBePatched(const QString& name)
{
    const QString lower = name.toLower();
    return lower != QLatin1String("_rels/.rels")
        && (lower.endsWith(QLatin1String(".xml")) || lower.endsWith(QLatin1String(".rels")));
}

constexpr char EntriesHeader[] = "ENTRIES\n";
constexpr char EntryMark[] = "\n@@@ ";

// Packs an input of the "ENTRIES" form into a zip archive at `path`. Parts libzip does not
// take (a name twice, say) are left out.
void packEntries(const QByteArray& input, const QString& path)
{
    std::vector<std::pair<QByteArray, QByteArray>> parts;
    const QByteArray mark(EntryMark);
    qsizetype at = input.indexOf(mark, qsizetype(std::strlen(EntriesHeader)) - 1);
    while (at >= 0) {
        const qsizetype nameStart = at + mark.size();
        const qsizetype nameEnd = input.indexOf('\n', nameStart);
        if (nameEnd < 0)
            break;
        const qsizetype next = input.indexOf(mark, nameEnd);
        const qsizetype end = next < 0 ? input.size() : next;
        parts.emplace_back(input.mid(nameStart, nameEnd - nameStart), input.mid(nameEnd + 1, end - nameEnd - 1));
        at = next;
    }
    QFile::remove(path);
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!zip)
        fuzz::fail(__FILE__, __LINE__, "archive created", QString::number(error));
    for (const auto& [name, content] : parts) {
        zip_source_t* source = zip_source_buffer(zip, content.constData(), static_cast<zip_uint64_t>(content.size()), 0);
        if (source && zip_file_add(zip, name.constData(), source, ZIP_FL_ENC_GUESS) < 0)
            zip_source_free(source);
    }
    if (zip_get_num_entries(zip, 0) == 0) {
        zip_discard(zip); // libzip writes no file for an empty archive: an empty file stands for it
        QFile empty(path);
        if (!empty.open(QIODevice::WriteOnly))
            fuzz::fail(__FILE__, __LINE__, "archive created", empty.errorString());
        return;
    }
    if (zip_close(zip) != 0) {
        const QString reason = QString::fromUtf8(zip_strerror(zip));
        zip_discard(zip);
        fuzz::fail(__FILE__, __LINE__, "archive written", reason);
    }
}

// The sheet forwarding writes, in small: a title, a table with a frame, a line chart.
void writeSheet(ExcelWorksheet& sheet)
{
    sheet.Cells(2, QStringLiteral("B"))->setValue(QStringLiteral("Bench <supply> & \"probe\""));
    const char* rows[][3] = {{"TIME", "DATA", "MODE"},
                             {"12:00:00", "1.234E-3", "VDC"},
                             {"12:00:05", "ERROR", ""},
                             {"12:00:10", "-0.5", "VDC"}};
    for (int i = 0; i < 4; ++i) {
        for (int c = 0; c < 3; ++c) {
            auto cell = sheet.Cells(4 + i, QString(QChar(u'B' + c)));
            cell->setNumberFormat(i == 0 || c != 1 ? xl::TextFormat : xl::GeneralFormat);
            cell->setValue(QString::fromLatin1(rows[i][c]));
        }
    }
    auto frame = sheet.Range(QStringLiteral("B4:D7"));
    for (const std::int16_t edge : {xl::xlEdgeTop, xl::xlEdgeBottom, xl::xlEdgeLeft, xl::xlEdgeRight})
        frame->Borders(edge)->setWeight(xl::xlMedium);
    frame->Borders(xl::xlInsideHorizontal)->setWeight(xl::xlThin);
    sheet.Cells(4, QStringLiteral("F"))->setValue(QStringLiteral("MAX"));
    auto anchor = sheet.Range(QStringLiteral("F8"));
    auto chart = sheet.ChartObjects()->Add(anchor->Left(), anchor->Top(), 400, 200)->Chart();
    ChartWizardArguments arguments;
    arguments.Source = sheet.Range(QStringLiteral("B5:C7"));
    arguments.HasLegend = false;
    arguments.Title = QStringLiteral("Bench");
    chart->ChartWizard(arguments);
    chart->Axes(xl::xlValue)->setHasMajorGridlines(true);
}

void checkNothingLeft()
{
    const QStringList inFolder = fuzz::entriesOf(paths().folder);
    FUZZ_CHECK(inFolder == QStringList{QStringLiteral("book.xlsx")},
               QStringLiteral("left beside the workbook: %1").arg(inFolder.join(QLatin1String(", "))));
    const QStringList inTemp = fuzz::entriesOf(paths().temp);
    FUZZ_CHECK(inTemp.isEmpty(), QStringLiteral("left in the temporary folder: %1").arg(inTemp.join(QLatin1String(", "))));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::ensureApplication();
    const Paths& p = paths();
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (input.startsWith(EntriesHeader)) {
        packEntries(input, p.book);
    } else {
        QFile book(p.book);
        if (!book.open(QIODevice::WriteOnly | QIODevice::Truncate) || book.write(input) != input.size())
            fuzz::fail(__FILE__, __LINE__, "workbook written", book.errorString());
    }
    const QByteArray original = fileBytes(p.book);

    QStringList reported;
    XlsxSettings settings;
    settings.reportFailure = [&](const QString& message) { reported.append(message); };
    XlsxConnector connector(settings);
    auto app = connector.CreateObject();
    app->setVisible(false);

    QString refusal;
    try {
        auto workbook = app->Workbooks()->Open(p.book);
        auto sheets = workbook->Worksheets();
        auto sheet = sheets->Add();
        sheet->Move(sheets->Item(sheets->Count()));
        writeSheet(*sheet);
        app->setVisible(true); // hands the application back: the sheet is grafted in
    } catch (const RuntimeError& e) {
        refusal = e.description();
    }
    app.reset();
    checkNothingLeft();

    const QByteArray after = fileBytes(p.book);
    if (!refusal.isEmpty() || !reported.isEmpty()) {
        FUZZ_CHECK(!refusal.trimmed().isEmpty(), QStringLiteral("refused without a message; reported: %1").arg(reported.join(QLatin1String(" | "))));
        FUZZ_CHECK(after == original, QStringLiteral("the refused workbook was changed (%1)").arg(refusal));
        return 0;
    }
    FUZZ_CHECK(connector.writtenFiles().size() == 1, QStringLiteral("%1 files written").arg(connector.writtenFiles().size()));

    // The result: a sound archive, the old sheets and the new one last, the rest unchanged.
    const QString copyPath = p.temp + QStringLiteral("/original.xlsx");
    {
        QFile copy(copyPath);
        if (!copy.open(QIODevice::WriteOnly) || copy.write(original) != original.size())
            fuzz::fail(__FILE__, __LINE__, "copy written", copy.errorString());
    }
    const auto source = storedEntries(copyPath);
    QStringList namesBefore;
    try {
        namesBefore = xlsx::inspectWorkbookFile(copyPath).sheetNames;
    } catch (const RuntimeError& e) {
        fuzz::fail(__FILE__, __LINE__, "the extended workbook was a workbook", e.description());
    }
    FUZZ_CHECK(source.has_value(), QStringLiteral("a workbook libzip refuses with its checks was extended"));

    const auto result = storedEntries(p.book);
    FUZZ_CHECK(result.has_value(), QStringLiteral("the result is not a sound zip archive"));
    QStringList changed;
    for (const auto& [name, entry] : *source) {
        const auto it = result->find(name);
        FUZZ_CHECK(it != result->end(), QStringLiteral("the entry \"%1\" was lost").arg(printable(name)));
        if (it->second == entry)
            continue;
        FUZZ_CHECK(mayBePatched(name), QStringLiteral("the entry \"%1\" was changed").arg(printable(name)));
        if (onlyDeselected(unpackedEntry(copyPath, name), unpackedEntry(p.book, name)))
            continue; // a sheet that is selected no more
        changed.append(printable(name));
    }
    QFile::remove(copyPath);
    FUZZ_CHECK(changed.size() <= MostPatchedParts,
               QStringLiteral("%1 entries of the original were changed: %2").arg(changed.size()).arg(changed.join(QLatin1String(", "))));

    QStringList namesAfter;
    try {
        namesAfter = xlsx::inspectWorkbookFile(p.book).sheetNames;
    } catch (const RuntimeError& e) {
        fuzz::fail(__FILE__, __LINE__, "the extended workbook opens again", e.description());
    }
    checkNothingLeft();
    FUZZ_CHECK(namesAfter.size() == namesBefore.size() + 1 && namesAfter.mid(0, namesBefore.size()) == namesBefore,
               QStringLiteral("sheets before: %1; after: %2")
                   .arg(printable(namesBefore.join(QLatin1Char('|'))), printable(namesAfter.join(QLatin1Char('|')))));
    return 0;
}
