// Fuzz target: one answer line of the meter through every decoder entry point.
//
// The input is the line as the port delivers it (one character per byte, CR LF already
// removed). It is decoded three ways: as it is; with its correct check character appended,
// so that most inputs also reach the field decoders behind the checksum; and read as UTF-8,
// which brings characters beyond 8 bits (the checksum counts them as "?").
//
// Invariants, each checked against a small model written from the line layout here:
// - VerifyChecksum accepts exactly the lines whose last character is the low four bits of
//   the 16-bit sum of the others' 8-bit codes, removes that character then, and leaves a
//   refused line as it was;
// - the getters cut their fields: the value is the number field less leading zeros and
//   blanks (at most as many as the point allows), the unit is the last three characters
//   less trailing blanks, the exponent comes from the prefix character;
// - MonitorText is "ERROR" unless the line passes the checksum and has the tag "RR";
// - the Monitor shows the display value of every accepted reading;
// - a realtime row of an accepted reading can become a document row and a data file line:
//   a value that is not an overload reads as a number of single-precision range, and no
//   text holds a comma, a line break or a character beyond 8 bits; an accepted reading that
//   fails this test is an "ERROR" row like a line whose checksum failed;
// - a downloaded record (LOGGING or SAVE) is taken whenever it passes its checksum and is
//   not "CMD,ERR", its fields being the getters' ("RS" alone is an empty SAVE slot); the
//   document decides later whether it can hold the texts. A refused record leaves
//   "Data error occurred." or "Command error occurred." in LastError.

#include "FuzzSupport.h"

#include "acquisition/Download.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

using namespace quvo;
using quvo::fuzz::printable;

namespace {

// The check character a line should end with, or nothing when the sum of the other
// characters leaves the signed 16-bit range.
std::optional<QChar> expectedCheckCharacter(const QString& line)
{
    long long sum = 0;
    for (qsizetype i = 0; i + 1 < line.size(); ++i) {
        const char16_t c = line.at(i).unicode();
        sum += c <= 0xFF ? c : u'?';
        if (sum > 32767)
            return std::nullopt;
    }
    const int n = static_cast<int>(sum & 0x0F);
    return QChar(n < 10 ? u'0' + n : u'A' + (n - 10));
}

bool verifiedByModel(const QString& line)
{
    const std::optional<QChar> expected = expectedCheckCharacter(line);
    return !line.isEmpty() && expected && line.back() == *expected;
}

// A text a data file line can carry as one field.
bool storable(const QString& text)
{
    for (const QChar c : text) {
        if (c == QLatin1Char(',') || c == QLatin1Char('\r') || c == QLatin1Char('\n') || c.unicode() > 0xFF)
            return false;
    }
    return true;
}

// A value the document can count: a number of single-precision range.
bool countable(const QString& value)
{
    double number = 0;
    return parseNumber(value, number) && std::fabs(number) <= std::numeric_limits<float>::max();
}

// Both number readers (the one for texts and the fast one for data files) agree.
void checkNumberReaders(const QString& text)
{
    double a = 0;
    double b = 0;
    const bool okText = parseNumber(text, a);
    const bool okView = parseNumber(QStringView(text), b);
    FUZZ_CHECK(okText == okView, QStringLiteral("parseNumber(QString) %1, parseNumber(QStringView) %2 for \"%3\"")
                                     .arg(okText)
                                     .arg(okView)
                                     .arg(printable(text)));
    if (okText && okView)
        FUZZ_CHECK(a == b, QStringLiteral("\"%1\" reads as %2 and as %3").arg(printable(text)).arg(a).arg(b));
}

void checkGetters(const QString& line)
{
    // Value: sign, then the number field (positions 7 to 12) less what may be suppressed.
    const QString field = line.mid(6, 6);
    const bool plus = line.size() >= 6 && line.at(5) == QLatin1Char('+');
    const QString value = GetValueText(line);
    QString body = value;
    if (!plus) {
        FUZZ_CHECK(body.startsWith(QLatin1Char('-')), QStringLiteral("value \"%1\" of \"%2\" lacks its minus sign")
                                                          .arg(printable(value), printable(line)));
        body.remove(0, 1);
    }
    // (By length and content: a null field does not "end with" an empty text in Qt.)
    FUZZ_CHECK(body.size() <= field.size() && field.right(body.size()) == body, QStringLiteral("value \"%1\" is not the end of the field \"%2\"")
                                         .arg(printable(value), printable(field)));
    const QString removed = field.left(field.size() - body.size());
    const qsizetype point = field.indexOf(QLatin1Char('.')) + 1;
    const qsizetype allowed = point >= 2 && point <= 5 ? point - 2 : 5;
    FUZZ_CHECK(removed.size() <= allowed, QStringLiteral("%1 characters suppressed from \"%2\", at most %3 allowed")
                                              .arg(removed.size())
                                              .arg(printable(field))
                                              .arg(allowed));
    for (const QChar c : removed)
        FUZZ_CHECK(c == QLatin1Char('0') || c == QLatin1Char(' '),
                   QStringLiteral("\"%1\" suppressed from \"%2\"").arg(printable(removed), printable(field)));
    if (removed.size() < allowed && !body.isEmpty())
        FUZZ_CHECK(body.front() != QLatin1Char('0') && body.front() != QLatin1Char(' '),
                   QStringLiteral("suppression of \"%1\" stopped early at \"%2\"").arg(printable(field), printable(body)));
    if (field.size() == 6)
        FUZZ_CHECK(!body.isEmpty(), QStringLiteral("a full number field \"%1\" gave no digit").arg(printable(field)));

    // Exponent from the prefix character (position 13); letter case matters.
    const QChar prefix = line.size() >= 13 ? line.at(12) : QChar();
    QString exponent;
    switch (prefix.unicode()) {
    case u'n': exponent = QStringLiteral("E-9"); break;
    case u'u': exponent = QStringLiteral("E-6"); break;
    case u'm': exponent = QStringLiteral("E-3"); break;
    case u'k': exponent = QStringLiteral("E+3"); break;
    case u'M': exponent = QStringLiteral("E+6"); break;
    default: break;
    }
    FUZZ_CHECK(GetPrefixExponent(line) == exponent,
               QStringLiteral("exponent \"%1\" for prefix \"%2\"").arg(GetPrefixExponent(line), printable(QString(prefix))));

    // Unit: the last three characters less trailing blanks.
    const QString unit = GetUnitText(line);
    const QString lastThree = line.right(3);
    FUZZ_CHECK(unit.size() <= lastThree.size() && lastThree.left(unit.size()) == unit && !unit.endsWith(QLatin1Char(' '))
                   && lastThree.mid(unit.size()).count(QLatin1Char(' ')) == lastThree.size() - unit.size(),
               QStringLiteral("unit \"%1\" of \"%2\"").arg(printable(unit), printable(line)));

    FUZZ_CHECK(GetOverloadText(line) == line.mid(5, 1) + QStringLiteral("OL"),
               QStringLiteral("overload text \"%1\"").arg(printable(GetOverloadText(line))));

    const MeterReading reading = DecodeReading(line);
    FUZZ_CHECK(reading.ValueText == value && reading.Exponent == exponent && reading.UnitText == unit
                   && reading.Overload == (line.size() >= 4 && line.at(3) == QLatin1Char('O'))
                   && ScientificValueText(reading) == value + exponent,
               QStringLiteral("DecodeReading differs from the getters for \"%1\"").arg(printable(line)));
    checkNumberReaders(value + exponent);
}

// A reading line (checksum passed) whose fields cannot become a document row: a value
// that is not an overload and does not read as a number, or a text a data file cannot
// carry. Such a line is garbled, however its check character came out.
bool garbledByModel(const QString& stripped)
{
    const bool overload = stripped.size() >= 4 && stripped.at(3) == QLatin1Char('O');
    const QString numeric = GetValueText(stripped) + GetPrefixExponent(stripped);
    if (!overload && !countable(numeric))
        return true;
    return !storable(numeric) || !storable(GetUnitText(stripped)) || !storable(GetOverloadText(stripped));
}

// A record of a download accepted by its parser: the getters' fields.
void checkAcceptedRecord(const QString& stripped, const DownloadedRecord& record, const char* parser)
{
    const bool overload = stripped.size() >= 4 && stripped.at(3) == QLatin1Char('O');
    const QString numeric = GetValueText(stripped) + GetPrefixExponent(stripped);
    FUZZ_CHECK(record.unit == GetUnitText(stripped) && record.numeric == numeric
                   && record.display == (overload ? GetOverloadText(stripped) : numeric),
               QStringLiteral("%1: fields of \"%2\"").arg(QLatin1String(parser), printable(stripped)));
}

void checkLine(const QString& line)
{
    const bool verified = verifiedByModel(line);
    QString stripped = line;
    const bool ok = VerifyChecksum(stripped);
    FUZZ_CHECK(ok == verified, QStringLiteral("VerifyChecksum says %1 for \"%2\"").arg(ok).arg(printable(line)));
    FUZZ_CHECK(stripped == (ok ? line.chopped(1) : line),
               QStringLiteral("VerifyChecksum left \"%1\" of \"%2\"").arg(printable(stripped), printable(line)));

    checkGetters(line);
    if (ok)
        checkGetters(stripped);

    // Acceptance of a live answer, in its order.
    const LiveAnswer live = CheckLiveAnswer(line);
    LiveAnswerKind kind = LiveAnswerKind::Reading;
    if (line == ErrorReading)
        kind = LiveAnswerKind::NoAnswer;
    else if (!ok)
        kind = LiveAnswerKind::ChecksumFailed;
    else if (stripped == Commands::CommandRejected)
        kind = LiveAnswerKind::CommandRejected;
    else if (!stripped.startsWith(QStringLiteral("RR")))
        kind = LiveAnswerKind::NotAReading;
    const bool accepted = kind == LiveAnswerKind::Reading;
    const bool garbled = accepted && garbledByModel(stripped);
    FUZZ_CHECK(live.kind == kind, QStringLiteral("CheckLiveAnswer gave kind %1, not %2, for \"%3\"")
                                          .arg(static_cast<int>(live.kind))
                                          .arg(static_cast<int>(kind))
                                          .arg(printable(line)));

    const QString monitor = MonitorText(line);
    if (!accepted)
        FUZZ_CHECK(monitor == ErrorReading,
                   QStringLiteral("the Monitor shows \"%1\" for \"%2\"").arg(printable(monitor), printable(line)));
    if (live.kind == LiveAnswerKind::Reading) {
        FUZZ_CHECK(accepted && live.line == stripped,
                   QStringLiteral("CheckLiveAnswer accepted \"%1\"").arg(printable(line)));
        FUZZ_CHECK(monitor == DisplayValueText(stripped),
                   QStringLiteral("the Monitor shows \"%1\" for \"%2\"").arg(printable(monitor), printable(line)));
    } else {
        FUZZ_CHECK(monitor == ErrorReading,
                   QStringLiteral("the Monitor shows \"%1\" for a refused \"%2\"").arg(printable(monitor), printable(line)));
    }

    // A realtime row: a garbled reading is an error row like a failed checksum.
    const RealtimeAnswer row = ParseRealtimeAnswer(line);
    if (garbled) {
        FUZZ_CHECK(!row.valid && row.display == ErrorReading && row.unit.isEmpty() && row.numeric.isEmpty(),
                   QStringLiteral("garbled \"%1\" gave the row \"%2\" \"%3\" \"%4\"")
                       .arg(printable(line), printable(row.display), printable(row.unit), printable(row.numeric)));
    } else if (live.kind == LiveAnswerKind::Reading) {
        const MeterReading reading = DecodeReading(stripped);
        const QString numeric = ScientificValueText(reading);
        FUZZ_CHECK(row.unit == reading.UnitText && row.numeric == numeric
                       && row.display == (reading.Overload ? reading.OverloadText : numeric)
                       && row.valid == !reading.Overload,
                   QStringLiteral("realtime row of \"%1\"").arg(printable(line)));
        FUZZ_CHECK(storable(row.display) && storable(row.unit) && storable(row.numeric),
                   QStringLiteral("the row of \"%1\" holds texts a data file cannot carry").arg(printable(line)));
    } else {
        FUZZ_CHECK(!row.valid && row.display == ErrorReading && row.unit.isEmpty()
                       && (row.numeric == ErrorReading || row.numeric.isEmpty()),
                   QStringLiteral("refused \"%1\" gave the row \"%2\" \"%3\" \"%4\"")
                       .arg(printable(line), printable(row.display), printable(row.unit), printable(row.numeric)));
    }
    if (row.valid)
        FUZZ_CHECK(countable(row.numeric), QStringLiteral("the valid reading \"%1\" has the value \"%2\"")
                                               .arg(printable(line), printable(row.numeric)));

    // Download records.
    ProgramState& s = programState();
    for (const bool save : {false, true}) {
        const char* parser = save ? "ParseSaveRecord" : "ParseLoggingRecord";
        s.LastError.clear();
        DownloadedRecord record;
        const bool read = save ? ParseSaveRecord(line, record) : ParseLoggingRecord(line, record);
        if (!ok) {
            FUZZ_CHECK(!read && s.LastError == ResID(Res::DataError),
                       QStringLiteral("%1 on \"%2\": %3").arg(QLatin1String(parser), printable(line), s.LastError));
        } else if (stripped == Commands::CommandRejected) {
            FUZZ_CHECK(!read && s.LastError == ResID(Res::CommandError),
                       QStringLiteral("%1 on \"%2\": %3").arg(QLatin1String(parser), printable(line), s.LastError));
        } else if (save && stripped == QStringLiteral("RS")) {
            FUZZ_CHECK(read && record.display.isEmpty() && record.unit.isEmpty() && record.numeric.isEmpty(),
                       QStringLiteral("an empty SAVE slot gave a reading"));
        } else {
            FUZZ_CHECK(read, QStringLiteral("%1 refused \"%2\" with \"%3\"").arg(QLatin1String(parser), printable(line), s.LastError));
            checkAcceptedRecord(stripped, record, parser);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString line = QString::fromLatin1(bytes);
    checkLine(line);
    // The same line with its correct check character, so that the fields behind the
    // checksum are reached by most inputs.
    if (const std::optional<QChar> check = expectedCheckCharacter(line + QLatin1Char('0')))
        checkLine(line + *check);
    checkLine(QString::fromUtf8(bytes));
    return 0;
}
