// The data file: field rules, and DataDocument's reader, writer, OpenFile and SaveFile.

#include "document/DataFile.h"

#include "document/DataDocument.h"
#include "document/DocumentContent.h"
#include "document/DurableFile.h"
#include "document/Other.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quvo {

// --- Fields ------------------------------------------------------------------------------------

namespace {

template <class View>
void splitInto(View line, int count, View* fields)
{
    // One pass over the characters; fields are short, so a plain loop beats a search call.
    const auto* const chars = line.data();
    const qsizetype size = line.size();
    qsizetype start = 0;
    for (int i = 0; i < count; ++i) {
        qsizetype comma = start;
        while (comma < size && chars[comma] != ',')
            ++comma;
        fields[i] = View(chars + start, comma - start);
        // Behind the comma; with no comma left the next field starts over at the beginning.
        start = comma < size ? comma + 1 : 0;
    }
}

} // namespace

float windowTwipsInRange(double twips)
{
    if (!(twips > 0)) // also a NaN
        return 0;
    return static_cast<float>(std::min(twips, static_cast<double>(DataFileMaxWindowTwips)));
}

void splitFields(QStringView line, int count, QStringView* fields)
{
    splitInto(line, count, fields);
}

void splitFields(QLatin1StringView line, int count, QLatin1StringView* fields)
{
    splitInto(line, count, fields);
}

QStringList SplitFields(const QString& line, int count)
{
    std::vector<QStringView> views(static_cast<std::size_t>(std::max(count, 0)));
    splitFields(line, count, views.data());
    QStringList fields;
    fields.reserve(count);
    for (const QStringView v : views)
        fields.append(v.toString());
    return fields;
}

bool CheckTimeFields(QString& days, QString& hours, QString& minutes, QString& seconds)
{
    struct Field {
        QString* text;
        int maximum;
    };
    const std::array<Field, 4> fields{{{&days, 99}, {&hours, 23}, {&minutes, 59}, {&seconds, 59}}};
    std::array<int, 4> values{};
    int total = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        try {
            values[i] = toInt16(*fields[i].text);
        } catch (const RuntimeError&) {
            return false;
        }
        if (values[i] < 0 || values[i] > fields[i].maximum)
            return false;
        total += values[i];
    }
    if (total == 0)
        return false;
    for (std::size_t i = 0; i < fields.size(); ++i)
        *fields[i].text = twoDigits(values[i]);
    return true;
}

namespace {

// A file that is not a data file of a kind this program reads: "This file is a different
// data type."
struct Refused {};

RuntimeError lineTooLong(int number)
{
    return RuntimeError(QStringLiteral("Line %1 is longer than %2 characters.").arg(number).arg(DataFileMaxLineLength));
}

// Refuses a file as its copy is made, at the first line too long to be a data file line:
// a file of a hundred megabytes without a line end is refused after a few kilobytes, not
// copied whole into the program folder first. It looks at the last line end (CR or LF)
// within the room the current line has left, so it hops a few kilobytes at a time instead
// of visiting every line; the reader applies the exact rule again.
class LineLengthCheck {
public:
    explicit LineLengthCheck(QString source) : m_source(std::move(source)) {}

    void operator()(QByteArrayView block)
    {
        const char* data = block.data();
        qsizetype at = 0;
        while (at < block.size()) {
            const qsizetype room = DataFileMaxLineLength - m_run; // characters the line may still take
            const qsizetype window = std::min(block.size() - at, room + 1);
            if (const char* end = lastLineEnd(data + at, window)) {
                m_run = 0;
                at = end - data + 1;
            } else if (window > room) {
                throw tooLongAt(m_copied + at + window);
            } else {
                m_run += window;
                at += window;
            }
        }
        m_copied += block.size();
    }

private:
    // Searched from the back: in a data file the last line end of a window is a few
    // characters from its end.
    static const char* lastLineEnd(const char* from, qsizetype size)
    {
        for (const char* p = from + size; p != from;) {
            --p;
            if (*p == '\n' || *p == '\r')
                return p;
        }
        return nullptr;
    }

    // The error with the line's number, found by reading the file again as far as the
    // overlong line: only on this rare path are the lines before it counted.
    RuntimeError tooLongAt(qint64 offset) const;

    QString m_source;
    qint64 m_copied = 0; // bytes of the file seen before the current block
    qsizetype m_run = 0; // characters of the current line seen so far
};

// The lines of a file's content, one after the other.
class LineReader {
public:
    explicit LineReader(QByteArrayView content) : m_content(content) {}

    // The next line without its line end; false at the end of the content. A line ends with
    // CR LF, a lone LF or a lone CR: a CR left inside a text would make a document that
    // could not be saved again.
    bool next(QByteArrayView& line)
    {
        Commas none;
        return next(line, none);
    }

    // The next line split into `count` fields as splitFields splits it, found in the same
    // pass over the characters that finds the line's end.
    bool next(QByteArrayView& line, int count, QLatin1StringView* fields)
    {
        Commas commas(count);
        if (!next(line, commas))
            return false;
        if (commas.found + 1 < count) {
            // Too few commas: the fields wrap around to the beginning of the line.
            splitFields(QLatin1StringView(line.data(), line.size()), count, fields);
            return true;
        }
        const char* start = line.data();
        for (int i = 0; i < count; ++i) {
            const char* end = i < commas.found ? commas.at[i] : line.data() + line.size();
            fields[i] = QLatin1StringView(start, end - start);
            start = end + 1;
        }
        return true;
    }

    int lineNumber() const { return m_number; }

private:
    // The first commas of a line, up to as many as were wanted.
    struct Commas {
        explicit Commas(int wanted = 0) : wanted(std::min(wanted, MaxWanted)) {}
        void add(const char* comma)
        {
            if (found < wanted)
                at[found++] = comma;
        }
        static constexpr int MaxWanted = 4;
        int wanted;
        int found = 0;
        std::array<const char*, MaxWanted> at{};
    };

    bool next(QByteArrayView& line, Commas& commas)
    {
        const qsizetype size = m_content.size();
        if (m_begin >= size)
            return false;
        const char* const data = m_content.data();
        const char* const last = data + size;
        const char* const p = scanLine(data + m_begin, last, commas);
        const qsizetype end = p - data; // the last line may lack its line end
        take(line, end);
        const bool crLf = p != last && *p == '\r' && p + 1 != last && p[1] == '\n';
        m_begin = end + (crLf ? 2 : 1);
        return true;
    }

    // The first CR or LF from `from` on, or `last`, noting the commas before it: one pass,
    // sixteen characters at a time where the processor allows.
    static const char* scanLine(const char* from, const char* last, Commas& commas)
    {
        const char* p = from;
#if defined(__SSE2__)
        const __m128i lf = _mm_set1_epi8('\n');
        const __m128i cr = _mm_set1_epi8('\r');
        const __m128i comma = _mm_set1_epi8(',');
        for (; last - p >= 16; p += 16) {
            const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const auto ends = static_cast<unsigned>(
                _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(chunk, lf), _mm_cmpeq_epi8(chunk, cr))));
            auto commaBits = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, comma)));
            if (ends != 0)
                commaBits &= (ends & (0u - ends)) - 1; // only the commas before the line end
            for (; commaBits != 0 && commas.found < commas.wanted; commaBits &= commaBits - 1)
                commas.add(p + __builtin_ctz(commaBits));
            if (ends != 0)
                return p + __builtin_ctz(ends);
        }
#endif
        for (; p != last && *p != '\n' && *p != '\r'; ++p) {
            if (*p == ',')
                commas.add(p);
        }
        return p;
    }

    void take(QByteArrayView& line, qsizetype end)
    {
        const qsizetype length = end - m_begin;
        ++m_number;
        if (length > DataFileMaxLineLength)
            throw lineTooLong(m_number);
        line = m_content.sliced(m_begin, length);
    }

    QByteArrayView m_content;
    qsizetype m_begin = 0;
    int m_number = 0;
};

RuntimeError LineLengthCheck::tooLongAt(qint64 offset) const
{
    QFile file(m_source);
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray head = file.read(offset);
        LineReader reader(head);
        QByteArrayView line;
        try {
            while (reader.next(line)) {
            }
        } catch (const RuntimeError& e) {
            return e;
        }
        return lineTooLong(reader.lineNumber());
    }
    return lineTooLong(1);
}

// A file's whole content, read in one piece into memory that the document's row store can
// keep: the rows read from it refer to their texts there instead of copying them.
class FileContent {
public:
    explicit FileContent(QFile& file)
    {
        const qint64 size = file.size();
        if (size > DataFileMaxBytes)
            throw RuntimeError(QStringLiteral("The file is too large to be a data file (more than %1 bytes).")
                                   .arg(DataFileMaxBytes));
        if (size == 0)
            return;
        std::shared_ptr<char[]> bytes(new char[static_cast<std::size_t>(size)]); // not zero-filled: read over
        qint64 got = 0;
        while (got < size) {
            const qint64 n = file.read(bytes.get() + got, size - got);
            if (n < 0)
                throw RuntimeError(QStringLiteral("The file cannot be read: %1").arg(file.errorString()));
            if (n == 0)
                break; // shorter than it was a moment ago: what there is
            got += n;
        }
        m_view = QByteArrayView(bytes.get(), got);
        m_bytes = std::move(bytes);
    }

    QByteArrayView view() const { return m_view; }
    std::shared_ptr<const char[]> bytes() const { return m_bytes; }

private:
    std::shared_ptr<const char[]> m_bytes;
    QByteArrayView m_view;
};

// Latin-1 bytes widened to UTF-16 in a buffer that is reused line after line.
class Widener {
public:
    QStringView operator()(QByteArrayView bytes)
    {
        m_chars.resize(static_cast<std::size_t>(bytes.size()));
        const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
        for (qsizetype i = 0; i < bytes.size(); ++i)
            m_chars[static_cast<std::size_t>(i)] = in[i];
        return QStringView(m_chars.data(), bytes.size());
    }

private:
    std::vector<char16_t> m_chars;
};

// A line's text in a run-time error: line number first, so the user can find it.
RuntimeError atLine(int number, const RuntimeError& e)
{
    return RuntimeError(QStringLiteral("Line %1: %2").arg(number).arg(e.description()));
}

// Single-byte output with CR LF line ends. A text that a data file cannot carry (a
// character outside Latin-1, a "," or a line break inside a field) stops the writer rather
// than producing a file that would read back differently.
class Latin1Writer {
public:
    void reserve(qsizetype bytes) { m_bytes.reserve(bytes); }

    void field(QStringView text)
    {
        const qsizetype at = m_bytes.size();
        m_bytes.resize(at + text.size());
        char* out = m_bytes.data() + at;
        for (const QChar c : text) {
            const char16_t u = c.unicode();
            if (u > 0xFF || u == u',' || u == u'\r' || u == u'\n')
                refuse(text.toString());
            *out++ = static_cast<char>(u);
        }
    }

    // A stored text: single bytes already, only the separators need a look.
    void field(QLatin1StringView text)
    {
        for (const char c : text) {
            if (c == ',' || c == '\r' || c == '\n')
                refuse(QString(text));
        }
        m_bytes.append(text.data(), text.size());
    }

    void comma() { m_bytes.append(','); }
    void endLine() { m_bytes.append("\r\n", 2); }

    void line(std::initializer_list<QStringView> fields)
    {
        bool first = true;
        for (const QStringView f : fields) {
            if (!first)
                comma();
            field(f);
            first = false;
        }
        endLine();
    }

    QByteArray take() { return std::move(m_bytes); }

private:
    [[noreturn]] static void refuse(const QString& text)
    {
        throw RuntimeError(QStringLiteral("The text \"%1\" cannot be written to a data file: it holds a comma, a line "
                                          "break or a character outside the single-byte character set.")
                               .arg(text));
    }

    QByteArray m_bytes;
};

} // namespace

// --- Writing ---------------------------------------------------------------------------------------

QByteArray DataDocument::dataFileBytes()
{
    if (d->modelCopy.isEmpty())
        d->modelCopy = QStringLiteral("0");
    Latin1Writer out;
    out.reserve(qsizetype(d->rows) * 40 + 512);

    // 1: kind, "1" with statistics by unit, ",", the mode code. The code is the line's last
    // character and is read back as that, so a "," there (the one character a data file's
    // first line or a meter's "RM" answer can give that a field cannot hold) is written as it
    // is rather than making the document impossible to save.
    out.field(QString::number(d->kind) + (d->statsByUnit == 1 ? QStringLiteral("1") : QString()));
    out.comma();
    if (d->modelCopy == QLatin1String(","))
        out.comma();
    else
        out.field(d->modelCopy);
    out.endLine();
    // 2: window size of the normal state (kept within what a reader takes) and 0 normal /
    // 2 maximized.
    out.line({shortestSingleText(windowTwipsInRange(d->windowWidth)),
              shortestSingleText(windowTwipsInRange(d->windowHeight)),
              d->windowState == 2 ? QStringLiteral("2") : QStringLiteral("0")});
    const TimeTexts& i = d->interval;
    out.line({i.days, i.hours, i.minutes, i.seconds});
    const PeriodTexts p = GetPeriod();
    out.line({p.none, p.days, p.hours, p.minutes, p.seconds});
    out.line({GetGraphcount()});
    const AxisXTexts x = GetAxisX();
    out.line({x.automatic, x.perLabel, x.perTick});
    const AxisYTexts y = GetAxisY();
    out.line({y.automatic, y.minimum, y.maximum, y.major, y.minor});

    const bool withRaw = d->statsByUnit == 1;
    for (int row = 1; row < d->rows; ++row) {
        const int i = row - 1;
        out.field(d->cells.text(i, RowStore::Time));
        out.comma();
        out.field(d->cells.text(i, RowStore::Value));
        out.comma();
        out.field(d->cells.text(i, RowStore::Mode));
        if (withRaw) {
            if (row > MaxReadings)
                throw RuntimeError(QStringLiteral("Row %1 is beyond the %2 readings a document holds.")
                                       .arg(row)
                                       .arg(MaxReadings));
            out.comma();
            out.field(d->cells.text(i, RowStore::Raw));
        }
        out.endLine();
    }
    return out.take();
}

bool DataDocument::WriteDataFile(const QString& path)
{
    try {
        writeFileSynced(path, dataFileBytes());
        return true;
    } catch (const RuntimeError& e) {
        programState().LastError = e.description();
        return false;
    }
}

bool DataDocument::SaveFile(const QString& path)
{
    busy(true);
    const QString& work = programState().WorkPath;
    bool ok = false;
    if (const WorkFileLock workLock(work); !workLock.isLocked()) {
        programState().LastError = WorkFileLock::inUseText(work);
    } else {
        EnsureWorkFile();
        ok = WriteDataFile(work);
        if (ok) {
            try {
                replaceFileWith(work, path);
            } catch (const RuntimeError& e) {
                programState().LastError = e.description();
                ok = false;
            }
        }
        DeleteWorkFile();
    }
    if (ok) {
        d->unchanged = true;
        d->fileName = path;
        d->caption = path;
        busy(false);
        if (!m_quiet)
            emit captionChanged(d->caption);
        return true;
    }
    busy(false);
    showFailure(path);
    return false;
}

// --- Reading ---------------------------------------------------------------------------------------

bool DataDocument::ReadDataFile(const QString& path)
{
    try {
        readDataFile(path);
    } catch (const Refused&) {
        programState().LastError = ResID(Res::DifferentDataType);
        return false;
    } catch (const RuntimeError& e) {
        programState().LastError = e.description();
        return false;
    }
    emitEverything(); // the grid's redrawing is on again
    return true;
}

void DataDocument::readDataFile(const QString& path)
{
    ProgramState& state = programState();
    state.MeterModel.clear();
    Quiet quiet(this);

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw RuntimeError(QStringLiteral("The file cannot be opened: %1").arg(file.errorString()));
    const FileContent content(file);
    LineReader reader(content.view());
    Widener widen;
    QByteArrayView bytes;
    const auto header = [&](int number) -> QStringView {
        if (!reader.next(bytes))
            throw RuntimeError(number == 1 ? QStringLiteral("The file is empty.")
                                           : QStringLiteral("Line %1 is missing: the file ends after line %2.")
                                                 .arg(number)
                                                 .arg(number - 1));
        return widen(bytes);
    };
    std::array<QStringView, 5> f;
    // Runs one header line's conversions; a failure names the line.
    const auto atLineOf = [](int number, const auto& work) {
        try {
            work();
        } catch (const RuntimeError& e) {
            throw atLine(number, e);
        }
    };

    // Line 1: kind, statistics flag, mode code.
    const QString first = header(1).toString();
    state.MeterModel = first.contains(QLatin1Char(',')) ? first.right(1) : QStringLiteral("0");
    const int kind = ParseDataKind(first.left(1));
    if (kind == DataKinds::Unknown || kind == DataKinds::Monitor)
        throw Refused{};
    setKind(kind);
    if (first.size() == 1) {
        d->statsByUnit = 0;
    } else {
        // "2,0", which the writer makes for a document without statistics by unit, is
        // refused here: only the one-character line reads back as flag 0.
        if (first.at(1) != QLatin1Char('1'))
            throw Refused{};
        d->statsByUnit = 1;
    }

    // Line 2: window size and state. A size beyond the 16-bit range is taken as the
    // largest size a file keeps rather than refused (see windowTwipsInRange).
    QStringView line = header(2);
    splitFields(line, 3, f.data());
    atLineOf(2, [&] {
        const std::int16_t width = roundToInt16(windowTwipsInRange(toDouble(f[0].toString())));
        const std::int16_t height = roundToInt16(windowTwipsInRange(toDouble(f[1].toString())));
        const std::int16_t windowState = toInt16(f[2].toString());
        if (windowState < 0 || windowState > 2)
            throw RuntimeError(QStringLiteral("The window state \"%1\" is not 0, 1 or 2.").arg(f[2]));
        d->windowWidth = width;
        d->windowHeight = height;
        d->windowState = windowState;
    });

    // Line 3: interval.
    line = header(3);
    if (kind == DataKinds::Realtime) {
        splitFields(line, 4, f.data());
        QString days = f[0].toString(), hours = f[1].toString(), minutes = f[2].toString(), seconds = f[3].toString();
        if (!CheckTimeFields(days, hours, minutes, seconds))
            throw Refused{};
        SetInterval(days, hours, minutes, seconds);
    } else if (kind == DataKinds::Logging) {
        splitFields(line, 4, f.data());
        if (!f[3].isEmpty())
            DispInterval(f[3].toString());
    }

    // Line 4: period.
    line = header(4);
    if (kind == DataKinds::Realtime) {
        splitFields(line, 5, f.data());
        QString days = f[1].toString(), hours = f[2].toString(), minutes = f[3].toString(), seconds = f[4].toString();
        if (!CheckTimeFields(days, hours, minutes, seconds))
            throw Refused{};
        atLineOf(4, [&] { SetPeriod(toBoolean(f[0].toString()), days, hours, minutes, seconds); });
    }

    // Line 5: graph count.
    line = header(5);
    atLineOf(5, [&] {
        SetGraphcount(toInt16(line.toString()));
        PaintGraphtop();
    });

    // Line 6: X axis.
    line = header(6);
    splitFields(line, 3, f.data());
    atLineOf(6, [&] {
        // Converted left to right, so that the first bad field is the one named.
        const bool automatic = toBoolean(f[0].toString());
        const std::int16_t perLabel = toInt16(f[1].toString());
        const std::int16_t perTick = toInt16(f[2].toString());
        SetAxisX(automatic, perLabel, perTick);
    });

    // Line 7: Y axis.
    line = header(7);
    splitFields(line, 5, f.data());
    atLineOf(7, [&] {
        const bool automatic = toBoolean(f[0].toString());
        const std::int16_t major = toInt16(f[3].toString());
        const std::int16_t minor = toInt16(f[4].toString());
        SetAxisY(automatic, f[1].toString(), f[2].toString(), major, minor);
    });

    // The rows.
    d->count = 0;
    d->stats.chartMaxRow = 0;
    d->stats.chartMinRow = 0;
    d->stats.sum = 0;
    d->stats.numericCount = 0;
    d->stats.unitCode = UnitCodes::None;
    d->stats.statusMaxRow = 0;
    d->stats.statusMinRow = 0;
    std::array<QLatin1StringView, 4> row;
    std::int32_t blanks = 0;
    int rowLines = 0;
    const bool withRaw = d->statsByUnit == 1;
    const int fieldCount = withRaw ? 4 : 3;
    const bool fromZero = labelsFromZero(); // the file's meter model holds for all its rows

    // Room for the rows the file probably holds, so the columns grow once. Their texts stay
    // where they are in the file's content, which the row store takes.
    const int expected = static_cast<int>(std::min<qint64>(content.view().size() / 24 + 32, MaxReadings));
    d->cells.reserve(expected, 0);
    d->cells.adoptContent(content.bytes(), static_cast<std::size_t>(content.view().size()));
    d->label.reserve(static_cast<std::size_t>(expected));
    d->number.reserve(static_cast<std::size_t>(expected));

    while (reader.next(bytes, fieldCount, row.data())) {
        const int number = reader.lineNumber();
        if (++rowLines > MaxReadings)
            throw RuntimeError(QStringLiteral("Line %1: the file holds more than %2 rows; a document holds at most "
                                              "%2 readings.")
                                   .arg(number)
                                   .arg(MaxReadings));
        try {
            if (d->count + blanks + 1 == d->rows)
                appendGridRow();
            if (kind != DataKinds::Save && row[1].isEmpty()) {
                // A blank row: only its number. SAVE-mode files keep such rows as readings.
                ++blanks;
                d->setLabel(d->count + blanks, d->count + blanks);
                continue;
            }
            if (!withRaw)
                row[3] = QLatin1StringView();
            addReading(row, fromZero);
        } catch (const RuntimeError& e) {
            throw atLine(number, e);
        }
    }

    // Fewer than 20 readings from a meter that numbers from 0: the empty rows up to 20 too.
    const double model = leadingNumber(state.MeterModel);
    if (d->count < 20 && model >= 2 && model <= 5 && model == std::floor(model)) {
        for (int row = d->count + 1; row <= 20 && row < d->rows; ++row)
            d->setLabel(row, row - 1);
    }
}

bool DataDocument::OpenFile(const QString& path)
{
    busy(true);
    ProgramState& state = programState();
    // A failed open leaves the document as it was: half a file is never shown.
    const Content before = *d;
    const QString modelBefore = state.MeterModel;

    bool ok = false;
    if (const WorkFileLock workLock(state.WorkPath); !workLock.isLocked()) {
        state.LastError = WorkFileLock::inUseText(state.WorkPath);
    } else {
        EnsureWorkFile();
        try {
            copyFileLimited(path, state.WorkPath, DataFileMaxBytes, LineLengthCheck(path));
            ok = ReadDataFile(state.WorkPath);
        } catch (const RuntimeError& e) {
            state.LastError = e.description();
        }
        DeleteWorkFile();
    }

    if (ok) {
        DispCalculation();
        PaintGraphtop();
        d->unchanged = true;
        d->fileName = path;
        d->caption = path;
        busy(false);
        if (!m_quiet) {
            emit captionChanged(d->caption);
            emit commandStateRequested();
        }
        return true;
    }

    *d = before;
    state.MeterModel = modelBefore;
    d->unchanged = true; // closing it asks nothing
    emitEverything();
    busy(false);
    showFailure(path);
    return false;
}

} // namespace quvo
