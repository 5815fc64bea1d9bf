// Decoding of reading lines. Every expected value below is worked out from the meter's
// line layout and the decoding rules by hand, not taken from the code's output. Each table
// runs twice: in the C locale and with a decimal-comma locale, which must change nothing.

#include "link/ReadingDecoder.h"
#include "resources/Constant.h"

#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <memory>

using namespace quvo;

namespace {

// The check character of a line as the meter computes it: the low four bits of the sum of
// the character codes, as "0".."9", "A".."F".
QString withCheck(const QString& body)
{
    int sum = 0;
    for (const QChar c : body)
        sum += c.unicode();
    const int n = sum & 0x0F;
    return body + QChar(n < 10 ? u'0' + n : u'A' + n - 10);
}

// A stripped live reading line: tag, status, sign, 6-character field, prefix, 3-character unit.
QString reading(QChar status, QChar sign, const QString& field, QChar prefix, const QString& unit)
{
    return QStringLiteral("RR,") + status + QLatin1Char(',') + sign + field + prefix + unit;
}

class Decoder : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (QString::fromLatin1(GetParam()) != QLatin1String("C")) {
            m_locale = std::make_unique<test::LocaleGuard>(GetParam());
            ASSERT_TRUE(m_locale->active()) << "locale " << GetParam() << " is not installed";
        }
    }
    void TearDown() override { m_locale.reset(); }

private:
    std::unique_ptr<test::LocaleGuard> m_locale;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Locales, Decoder, ::testing::Values("C", "de_DE.UTF-8"));

TEST_P(Decoder, CheckCharacterOfAHandWorkedLine)
{
    // "A" 65 + "B" 66 = 131 = 0x83: check "3". "J" 74 = 0x4A: check "A".
    // "RR,N,+01.234mVDC" adds up to 999 = 0x3E7: check "7".
    QString line = QStringLiteral("AB3");
    EXPECT_TRUE(VerifyChecksum(line));
    EXPECT_EQ(line, QStringLiteral("AB"));
    line = QStringLiteral("JA");
    EXPECT_TRUE(VerifyChecksum(line));
    EXPECT_EQ(line, QStringLiteral("J"));
    line = QStringLiteral("RR,N,+01.234mVDC7");
    EXPECT_TRUE(VerifyChecksum(line));
    EXPECT_EQ(line, QStringLiteral("RR,N,+01.234mVDC"));
    EXPECT_EQ(withCheck(QStringLiteral("RR,N,+01.234mVDC")), QStringLiteral("RR,N,+01.234mVDC7"));
}

TEST_P(Decoder, VerifyChecksumTable)
{
    const QString z268(268, QLatin1Char('z')); // 268 × 122 = 32696 (0x7FB8): fits, check "8"
    const QString z269(269, QLatin1Char('z')); // 269 × 122 = 32818: beyond 32767; low bits 2
    struct Row {
        QString line;
        bool ok;
        QString after;
    } rows[] = {
        {QString(), false, QString()},                      // nothing where "0" is expected
        {QStringLiteral("0"), true, QString()},             // only the check of an empty sum
        {QStringLiteral("1"), false, QStringLiteral("1")},
        {QStringLiteral("AB4"), false, QStringLiteral("AB4")},
        {QStringLiteral("Ja"), false, QStringLiteral("Ja")}, // the check is upper case
        {QStringLiteral("RR,N,+01.234mVDC8"), false, QStringLiteral("RR,N,+01.234mVDC8")},
        {QStringLiteral("CMD,ERR") + QLatin1Char('?'), false, QStringLiteral("CMD,ERR?")},
        {z268 + QLatin1Char('8'), true, z268},
        {z269 + QLatin1Char('2'), false, z269 + QLatin1Char('2')}, // the sum overflowed
        {QStringLiteral("\u00e44"), true, QStringLiteral("\u00e4")},   // an 8-bit code: 228 = 0xE4
        {QStringLiteral("\u20acF"), true, QStringLiteral("\u20ac")},   // beyond 8 bits: "?" = 63 = 0x3F
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line.left(40).toStdString());
        QString line = row.line;
        EXPECT_EQ(VerifyChecksum(line), row.ok);
        EXPECT_EQ(line, row.after);
    }
}

TEST_P(Decoder, GetValueTextTable)
{
    struct Row {
        QChar sign;
        QString field;
        QString expected;
    } rows[] = {
        {u'+', QStringLiteral("001.23"), QStringLiteral("1.23")},   // point at 4: two may go
        {u'+', QStringLiteral("000.00"), QStringLiteral("0.00")},
        {u'-', QStringLiteral("  0.12"), QStringLiteral("-0.12")},  // blanks go like zeros
        {u'+', QStringLiteral("12345 "), QStringLiteral("12345 ")}, // first non-zero stops it
        {u'+', QStringLiteral("000000"), QStringLiteral("0")},      // five go, the last stays
        {u'-', QStringLiteral("000000"), QStringLiteral("-0")},
        {u' ', QStringLiteral("01.234"), QStringLiteral("-1.234")}, // not "+": negative
        {u'x', QStringLiteral("01.234"), QStringLiteral("-1.234")},
        {u'+', QStringLiteral("0.1234"), QStringLiteral("0.1234")}, // point at 2: none may go
        {u'+', QStringLiteral("01.234"), QStringLiteral("1.234")},  // point at 3: one
        {u'+', QStringLiteral("00.000"), QStringLiteral("0.000")},
        {u'+', QStringLiteral("0001.2"), QStringLiteral("1.2")},    // point at 5: three
        {u'+', QStringLiteral("0000.1"), QStringLiteral("0.1")},
        {u'+', QStringLiteral(".12345"), QStringLiteral(".12345")}, // point first: five may go
        {u'+', QStringLiteral("00000."), QStringLiteral(".")},      // point last: five may go
        {u'+', QStringLiteral("0 0.12"), QStringLiteral("0.12")},
        {u'+', QStringLiteral("100.00"), QStringLiteral("100.00")},
        {u'+', QStringLiteral("000.01"), QStringLiteral("0.01")},
        {u'+', QStringLiteral("010.50"), QStringLiteral("10.50")},  // inner zeros stay
    };
    for (const Row& row : rows) {
        const QString line = reading(u'N', row.sign, row.field, u'm', QStringLiteral("VDC"));
        SCOPED_TRACE(line.toStdString());
        EXPECT_EQ(GetValueText(line), row.expected);
    }
}

TEST_P(Decoder, ShortLinesGiveShortTextsWithoutFailing)
{
    // Cuts past the end of the line give fewer characters or none.
    EXPECT_EQ(GetValueText(QStringLiteral("RR,N,+0")), QString());       // field "0" suppressed
    EXPECT_EQ(GetValueText(QStringLiteral("RR,N,+12")), QStringLiteral("12"));
    EXPECT_EQ(GetValueText(QStringLiteral("RR,N")), QStringLiteral("-")); // no sign: not "+"
    EXPECT_EQ(GetValueText(QString()), QStringLiteral("-"));
    EXPECT_EQ(GetPrefixExponent(QStringLiteral("RR,N,+01.234")), QString());
    EXPECT_EQ(GetPrefixExponent(QString()), QString());
    EXPECT_EQ(GetUnitText(QStringLiteral("ab")), QStringLiteral("ab"));
    EXPECT_EQ(GetUnitText(QStringLiteral("a ")), QStringLiteral("a"));
    EXPECT_EQ(GetUnitText(QString()), QString());
    EXPECT_EQ(GetOverloadText(QStringLiteral("RR,O")), QStringLiteral("OL"));
    EXPECT_EQ(GetOverloadText(QString()), QStringLiteral("OL"));
    EXPECT_EQ(DisplayValueText(QStringLiteral("RR,N,+01.2")), QStringLiteral("1.2"));
    EXPECT_EQ(MonitorText(withCheck(QStringLiteral("RR"))), QStringLiteral("-"));
}

TEST_P(Decoder, GetPrefixExponentTable)
{
    struct Row {
        QChar prefix;
        QString expected;
    } rows[] = {
        {u'n', QStringLiteral("E-9")}, {u'u', QStringLiteral("E-6")}, {u'm', QStringLiteral("E-3")},
        {u'k', QStringLiteral("E+3")}, {u'M', QStringLiteral("E+6")}, {u' ', QString()},
        {u'K', QString()},             {u'N', QString()},             {u'U', QString()},
        {u'G', QString()},             {u'x', QString()},
    };
    for (const Row& row : rows) {
        const QString line = reading(u'N', u'+', QStringLiteral("01.234"), row.prefix, QStringLiteral("VDC"));
        SCOPED_TRACE(line.toStdString());
        EXPECT_EQ(GetPrefixExponent(line), row.expected);
    }
}

TEST_P(Decoder, GetUnitTextTable)
{
    struct Row {
        QString unit;
        QString expected;
    } rows[] = {
        {QStringLiteral("VDC"), QStringLiteral("VDC")}, {QStringLiteral("V  "), QStringLiteral("V")},
        {QStringLiteral("Hz "), QStringLiteral("Hz")},  {QStringLiteral("OHM"), QStringLiteral("OHM")},
        {QStringLiteral(" AC"), QStringLiteral(" AC")}, {QStringLiteral("   "), QString()},
    };
    for (const Row& row : rows) {
        const QString line = reading(u'N', u'+', QStringLiteral("01.234"), u'k', row.unit);
        SCOPED_TRACE(line.toStdString());
        EXPECT_EQ(GetUnitText(line), row.expected);
    }
}

TEST_P(Decoder, GetOverloadTextTable)
{
    EXPECT_EQ(GetOverloadText(reading(u'O', u'+', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM"))),
              QStringLiteral("+OL"));
    EXPECT_EQ(GetOverloadText(reading(u'O', u'-', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM"))),
              QStringLiteral("-OL"));
    EXPECT_EQ(GetOverloadText(reading(u'O', u' ', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM"))),
              QStringLiteral(" OL"));
}

TEST_P(Decoder, DecodeReadingFillsEveryField)
{
    const MeterReading r = DecodeReading(reading(u'N', u'-', QStringLiteral("01.234"), u'm', QStringLiteral("VDC")));
    EXPECT_EQ(r.ValueText, QStringLiteral("-1.234"));
    EXPECT_EQ(r.Exponent, QStringLiteral("E-3"));
    EXPECT_EQ(r.UnitText, QStringLiteral("VDC"));
    EXPECT_FALSE(r.Overload);
    EXPECT_EQ(r.OverloadText, QStringLiteral("-OL"));
    EXPECT_EQ(ScientificValueText(r), QStringLiteral("-1.234E-3"));

    const MeterReading o = DecodeReading(reading(u'O', u'+', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM")));
    EXPECT_TRUE(o.Overload);
    EXPECT_EQ(o.OverloadText, QStringLiteral("+OL"));
    EXPECT_EQ(ScientificValueText(o), QStringLiteral("0.0 E+6")); // field "  0.0 ": two blanks go

    const MeterReading plain = DecodeReading(reading(u'N', u'+', QStringLiteral("12.345"), u' ', QStringLiteral("V  ")));
    EXPECT_EQ(ScientificValueText(plain), QStringLiteral("12.345"));
    EXPECT_EQ(plain.UnitText, QStringLiteral("V"));
}

TEST_P(Decoder, DisplayValueTable)
{
    struct Row {
        QString line;
        QString expected;
    } rows[] = {
        {reading(u'N', u'+', QStringLiteral("01.234"), u'm', QStringLiteral("VDC")), QStringLiteral("1.234mVDC")},
        {reading(u'N', u'+', QStringLiteral("12.345"), u' ', QStringLiteral("VDC")), QStringLiteral("12.345VDC")},
        {reading(u'N', u'+', QStringLiteral("1.2345"), u'k', QStringLiteral("Hz ")), QStringLiteral("1.2345kHz")},
        {reading(u'N', u'-', QStringLiteral("000.00"), u' ', QStringLiteral(" AC")), QStringLiteral("-0.00AC")},
        {reading(u'O', u'+', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM")), QStringLiteral("+OLMOHM")},
        {reading(u'O', u'-', QStringLiteral("  0.0 "), u' ', QStringLiteral("V  ")), QStringLiteral("-OLV")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line.toStdString());
        EXPECT_EQ(DisplayValueText(row.line), row.expected);
    }
}

TEST_P(Decoder, MonitorTextFollowsTheAcceptanceRules)
{
    const QString good = reading(u'N', u'+', QStringLiteral("01.234"), u'm', QStringLiteral("VDC"));
    const QString overload = reading(u'O', u'-', QStringLiteral("  0.0 "), u'k', QStringLiteral("OHM"));
    struct Row {
        QString answer;
        QString expected;
    } rows[] = {
        {QStringLiteral("ERROR"), QStringLiteral("ERROR")},                   // no answer came
        {withCheck(good), QStringLiteral("1.234mVDC")},
        {withCheck(overload), QStringLiteral("-OLkOHM")},
        {good + QLatin1Char('X'), QStringLiteral("ERROR")},                   // wrong check
        {good, QStringLiteral("ERROR")},                                      // check missing
        {withCheck(QStringLiteral("CMD,ERR")), QStringLiteral("ERROR")},      // rejected
        {withCheck(QStringLiteral("RL,N,+01.234mVDC")), QStringLiteral("ERROR")}, // not "RR"
        {withCheck(QStringLiteral("rr,N,+01.234mVDC")), QStringLiteral("ERROR")}, // case matters
        {QString(), QStringLiteral("ERROR")},                                 // empty line
        {QStringLiteral("0"), QStringLiteral("ERROR")},                       // empty after its check
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.answer.toStdString());
        EXPECT_EQ(MonitorText(row.answer), row.expected);
    }
}

TEST_P(Decoder, CheckLiveAnswerNamesTheRuleThatApplied)
{
    EXPECT_EQ(CheckLiveAnswer(QStringLiteral("ERROR")).kind, LiveAnswerKind::NoAnswer);
    EXPECT_EQ(CheckLiveAnswer(QStringLiteral("RR,N,+01.234mVDC8")).kind, LiveAnswerKind::ChecksumFailed);
    EXPECT_EQ(CheckLiveAnswer(withCheck(QStringLiteral("CMD,ERR"))).kind, LiveAnswerKind::CommandRejected);
    EXPECT_EQ(CheckLiveAnswer(withCheck(QStringLiteral("RS"))).kind, LiveAnswerKind::NotAReading);
    const LiveAnswer ok = CheckLiveAnswer(QStringLiteral("RR,N,+01.234mVDC7"));
    EXPECT_EQ(ok.kind, LiveAnswerKind::Reading);
    EXPECT_EQ(ok.line, QStringLiteral("RR,N,+01.234mVDC"));
}

TEST_P(Decoder, ParseRealtimeAnswerTable)
{
    const QString good = reading(u'N', u'-', QStringLiteral("01.234"), u'm', QStringLiteral("VDC"));
    const QString plain = reading(u'N', u'+', QStringLiteral("12.345"), u' ', QStringLiteral("Hz "));
    const QString overload = reading(u'O', u'+', QStringLiteral("  0.0 "), u'M', QStringLiteral("OHM"));
    struct Row {
        QString answer;
        QString display, unit, numeric;
        bool valid;
    } rows[] = {
        // 1: no answer
        {QStringLiteral("ERROR"), QStringLiteral("ERROR"), QString(), QStringLiteral("ERROR"), false},
        // 2: a garbled line has neither unit nor numeric text
        {good + QLatin1Char('0'), QStringLiteral("ERROR"), QString(), QString(), false},
        {QString(), QStringLiteral("ERROR"), QString(), QString(), false},
        // 3: rejected by the meter
        {withCheck(QStringLiteral("CMD,ERR")), QStringLiteral("ERROR"), QString(), QStringLiteral("ERROR"), false},
        // 4: not a live reading
        {withCheck(QStringLiteral("RL,N,-01.234mVDC")), QStringLiteral("ERROR"), QString(), QStringLiteral("ERROR"), false},
        {QStringLiteral("0"), QStringLiteral("ERROR"), QString(), QStringLiteral("ERROR"), false},
        // 5: overload: the overload text is shown, the value is kept but not valid
        {withCheck(overload), QStringLiteral("+OL"), QStringLiteral("OHM"), QStringLiteral("0.0 E+6"), false},
        // 6: a reading
        {withCheck(good), QStringLiteral("-1.234E-3"), QStringLiteral("VDC"), QStringLiteral("-1.234E-3"), true},
        {withCheck(plain), QStringLiteral("12.345"), QStringLiteral("Hz"), QStringLiteral("12.345"), true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.answer.toStdString());
        const RealtimeAnswer a = ParseRealtimeAnswer(row.answer);
        EXPECT_EQ(a.display, row.display);
        EXPECT_EQ(a.unit, row.unit);
        EXPECT_EQ(a.numeric, row.numeric);
        EXPECT_EQ(a.valid, row.valid);
    }
}

TEST_P(Decoder, AReadingTheDocumentCannotHoldIsAnErrorRow)
{
    // Each line passes its checksum (withCheck) but cannot become a document row and a data
    // file line: a value that is no number, a unit or value with a comma, a value beyond
    // single precision. Such a line is as garbled as one whose check character is wrong.
    const QString garbled[] = {
        reading(u'N', u'+', QStringLiteral("01.2x4"), u'm', QStringLiteral("VDC")), // "1.2x4E-3"
        reading(u'N', u'+', QStringLiteral("01.234"), u'm', QStringLiteral("V,C")), // comma in the unit
        reading(u'N', u'+', QStringLiteral("1,2345"), u' ', QStringLiteral("VDC")), // comma in the value
        reading(u'N', u'+', QStringLiteral("  9E99"), u' ', QStringLiteral("VDC")), // 9E99 > 3.4E38
        QStringLiteral("RR"),                                                     // value "-"
        reading(u'O', u'+', QStringLiteral("  0.L "), u' ', QStringLiteral("O,M")), // overload, comma in the unit
    };
    for (const QString& body : garbled) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_FALSE(IsUsableReading(body));
        const RealtimeAnswer a = ParseRealtimeAnswer(withCheck(body));
        EXPECT_EQ(a.display, QStringLiteral("ERROR"));
        EXPECT_EQ(a.unit, QString());
        EXPECT_EQ(a.numeric, QString());
        EXPECT_FALSE(a.valid);
        // The Monitor only shows the line; it keeps the display text of any reading.
        EXPECT_EQ(CheckLiveAnswer(withCheck(body)).kind, LiveAnswerKind::Reading);
    }
    // Usable: an ordinary reading, an overload whose value is "0.L", the largest single.
    EXPECT_TRUE(IsUsableReading(reading(u'N', u'-', QStringLiteral("01.234"), u'm', QStringLiteral("VDC"))));
    EXPECT_TRUE(IsUsableReading(reading(u'O', u'+', QStringLiteral("  0.L "), u'k', QStringLiteral("OHM"))));
    EXPECT_TRUE(IsUsableReading(reading(u'N', u'+', QStringLiteral("3.4E38"), u' ', QStringLiteral("VDC"))));
}

// At a sampling tick the last line received may be the echo of the request rather than the
// meter's answer. No command the program sends reads as a reading: "RR,1" fails its own
// check character, the others are not "RR," lines.
TEST(DecoderEcho, NoCommandOfTheProgramReadsAsAReading)
{
    QStringList sent = {Commands::Start,       Commands::RemoteOn,        Commands::RemoteOff, Commands::Model,
                        Commands::RecordCount, Commands::LoggingInterval, Commands::Reading};
    for (int record = 0; record <= 2000; ++record) {
        sent << Commands::LoggingRecord + QString::number(record) << Commands::SaveRecord + QString::number(record);
    }
    for (const QString& command : sent) {
        SCOPED_TRACE(command.toStdString());
        EXPECT_NE(CheckLiveAnswer(command).kind, LiveAnswerKind::Reading);
        EXPECT_EQ(MonitorText(command), QStringLiteral("ERROR"));
        EXPECT_FALSE(ParseRealtimeAnswer(command).valid);
    }
    // What the check character lets through is the meter's concern, not the echo's: "RR,"
    // with its check character "0" is a reading line without a value.
    EXPECT_EQ(CheckLiveAnswer(QStringLiteral("RR,0")).kind, LiveAnswerKind::Reading);
    EXPECT_FALSE(ParseRealtimeAnswer(QStringLiteral("RR,0")).valid);
}
