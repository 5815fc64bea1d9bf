// The pure statistics rules: numeric test, unit classification table, AVG format table,
// MAX/MIN lines and the running figures. Expected values are written from the rules.

#include "DocumentTestSupport.h"

#include "document/UnitStatistics.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>

using namespace quvo;

namespace {

// A test name part from any text: letters and digits kept, the rest as "_".
std::string namePart(const char* text)
{
    std::string out;
    for (const char* c = text; *c; ++c)
        out += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return out.empty() ? std::string("empty") : out;
}

} // namespace

// --- Numeric test ------------------------------------------------------------------------------

TEST(IsReadingValue, OnlyTheFourNonNumericTextsAreExcluded)
{
    for (const char* text : {"ERROR", "", "+OL", "-OL"})
        EXPECT_FALSE(IsReadingValue(QString::fromLatin1(text))) << text;
    // Case and blanks count: these are (malformed or not) numbers as far as the test goes.
    for (const char* text : {"error", "Error", "ERROR ", " ERROR", "OL", "+ol", "+0L", "0", "1.234E-3", "-0.5", "abc"})
        EXPECT_TRUE(IsReadingValue(QString::fromLatin1(text))) << text;
}

TEST(ReadingNumber, ConvertsNumbersAndRefusesTheRest)
{
    EXPECT_DOUBLE_EQ(readingNumber(u"1.234E-3"), 0.001234);
    EXPECT_DOUBLE_EQ(readingNumber(u"-12.5"), -12.5);
    EXPECT_DOUBLE_EQ(readingNumber(u"+7"), 7.0);
    EXPECT_THROW(readingNumber(u"1.2.3"), RuntimeError);
    EXPECT_THROW(readingNumber(u"abc"), RuntimeError);
    EXPECT_THROW(readingNumber(u"1E39"), RuntimeError); // beyond single precision
    try {
        readingNumber(u"12a");
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.description(), QStringLiteral("The reading \"12a\" is not a number."));
    }
}

// The view conversion the data file reader uses must agree with the text conversion.
TEST(ReadingNumber, ViewConversionAgreesWithTextConversion)
{
    for (const char* text : {"0", "1", "-1", "+1", "1.5", ".5", "5.", "-.5", "+.5", "1e3", "1E+3", "1.5E-3", "  2.5  ",
                             "007", "1e", "e3", ".", "-", "+", "+-1", "--1", "1.2.3", "1e5e5", "12a", "0x10", "inf",
                             "nan", "1,5", "", "   ", "1e400", "-1e400", "3.4028235E38", "1 2", "\t3\r", "4\xa0", "\xa0" "5", "1\xb5"}) {
        double a = -999, b = -999, c = -999;
        const QString s = QString::fromLatin1(text);
        const bool okText = parseNumber(s, a);
        const bool okView = parseNumber(QStringView(s), b);
        const bool okBytes = parseNumber(QLatin1StringView(text), c);
        EXPECT_EQ(okText, okView) << text;
        EXPECT_EQ(okText, okBytes) << text;
        if (okText && okView) {
            EXPECT_EQ(a, b) << text;
        }
        if (okText && okBytes) {
            EXPECT_EQ(a, c) << text;
        }
    }
}

TEST(ReadingNumber, SameUnderDecimalCommaLocale)
{
    test::LocaleGuard german("de_DE.UTF-8");
    EXPECT_DOUBLE_EQ(readingNumber(u"1.5"), 1.5);
    EXPECT_THROW(readingNumber(u"1,5"), RuntimeError);
}

// --- Unit classification -------------------------------------------------------------------------

struct ClassifyCase {
    const char* mode;
    const char* raw;
    const char* model;
    int unitCode;
    int rangeIndex;
};

void PrintTo(const ClassifyCase& c, std::ostream* os)
{
    *os << c.mode << " / " << c.raw << " / model " << c.model;
}

class ClassifyUnitTable : public ::testing::TestWithParam<ClassifyCase> {};

TEST_P(ClassifyUnitTable, GivesTheTablesClass)
{
    const ClassifyCase& c = GetParam();
    const UnitClass u = classifyUnit(QString::fromLatin1(c.mode), QString::fromLatin1(c.raw), QString::fromLatin1(c.model));
    EXPECT_EQ(u.unitCode, c.unitCode) << c.mode << " " << c.raw << " model " << c.model;
    EXPECT_EQ(u.rangeIndex, c.rangeIndex) << c.mode << " " << c.raw << " model " << c.model;
}

INSTANTIATE_TEST_SUITE_P(
    EveryRow, ClassifyUnitTable,
    ::testing::Values(
        // VAC / VDC: range 0 with "E-3", else 1
        ClassifyCase{"VAC", "123.4E-3", "", 0, 0}, ClassifyCase{"VAC", "1.234", "", 0, 1},
        ClassifyCase{"VDC", "-5.000E-3", "", 1, 0}, ClassifyCase{"VDC", "5.000", "", 1, 1},
        ClassifyCase{"VDC", "5.000E-6", "", 1, 1},
        // V: always 2, 0
        ClassifyCase{"V", "1.234E-3", "", 2, 0}, ClassifyCase{"V", "1.234", "3", 2, 0},
        // OHM: exponent first, then the digits after the first "."
        ClassifyCase{"OHM", "1.234E+3", "", 3, 1}, ClassifyCase{"OHM", "1.234E+6", "", 3, 2},
        ClassifyCase{"OHM", "12.34", "", 3, 0},   // two characters after "."
        ClassifyCase{"OHM", "123.4", "", 8, 0},   // one character after "."
        ClassifyCase{"OHM", "123.", "", 8, 0},    // none after "."
        ClassifyCase{"OHM", "1234", "", 3, 0},    // no ".": the whole length (4) counts
        ClassifyCase{"OHM", "5", "", 8, 0},       // no ".", length 1
        ClassifyCase{"OHM", "", "", 8, 0},        // nothing
        ClassifyCase{"OHM", "1.2.34", "", 3, 0},  // the first "." decides: 4 characters follow
        ClassifyCase{"OHM", "123.4", "0", 8, 0}, ClassifyCase{"OHM", "123.4", "3", 8, 0},
        ClassifyCase{"OHM", "123.4", "4", 3, 0},  // models 4 and 5: always 3
        ClassifyCase{"OHM", "5", "5", 3, 0}, ClassifyCase{"OHM", "1.2E+3", "4", 3, 1},
        ClassifyCase{"OHM", "1.2E+6", "5", 3, 2},
        // F: E-9, E-6, E-3 in that order; none gives 10
        ClassifyCase{"F", "1.234E-9", "", 4, 0}, ClassifyCase{"F", "1.234E-6", "", 4, 1},
        ClassifyCase{"F", "1.234E-3", "", 4, 2}, ClassifyCase{"F", "1.234", "", 10, 0},
        ClassifyCase{"F", "E-3E-9", "", 4, 0}, ClassifyCase{"F", "E-3E-6", "", 4, 1},
        // ADC, AAC, A: E-6 -> 0, E-3 -> 1, else 2
        ClassifyCase{"ADC", "1.2E-6", "", 5, 0}, ClassifyCase{"ADC", "1.2E-3", "", 5, 1},
        ClassifyCase{"ADC", "1.2", "", 5, 2}, ClassifyCase{"ADC", "E-3E-6", "", 5, 0},
        ClassifyCase{"AAC", "1.2E-6", "", 6, 0}, ClassifyCase{"AAC", "1.2E-3", "", 6, 1},
        ClassifyCase{"AAC", "1.2", "", 6, 2}, ClassifyCase{"A", "1.2E-6", "", 7, 0},
        ClassifyCase{"A", "1.2E-3", "", 7, 1}, ClassifyCase{"A", "1.2", "", 7, 2},
        // The single-class words
        ClassifyCase{"Vd", "0.512", "", 9, 0}, ClassifyCase{"C", "23.5", "", 10, 0},
        ClassifyCase{"Hz", "50.00E+3", "", 11, 0}, ClassifyCase{"lx", "120", "", 13, 0},
        ClassifyCase{"%", "45.2", "", 14, 0}, ClassifyCase{" AC", "1.2", "", 15, 0},
        ClassifyCase{" DC", "1.2", "", 16, 0},
        // Anything else, exact comparison: code 0, range 0
        ClassifyCase{"AC", "1.2E-3", "", 0, 0}, ClassifyCase{"vdc", "1.2", "", 0, 0},
        ClassifyCase{"VDC ", "1.2", "", 0, 0}, ClassifyCase{"XYZ", "1.2", "", 0, 0}),
    [](const ::testing::TestParamInfo<ClassifyCase>& info) {
        return std::to_string(info.index) + "_" + namePart(info.param.mode) + "_" + namePart(info.param.raw) + "_model"
            + namePart(info.param.model);
    });

// --- AVG formats ------------------------------------------------------------------------------------

struct AverageCase {
    int unitCode;
    int rangeIndex;
    const char* model;
    double average;
    const char* expected;
};

void PrintTo(const AverageCase& c, std::ostream* os)
{
    *os << "code " << c.unitCode << " range " << c.rangeIndex << " model " << c.model << " average " << c.average;
}

class AverageFormatTable : public ::testing::TestWithParam<AverageCase> {};

TEST_P(AverageFormatTable, WritesTheTablesText)
{
    const AverageCase& c = GetParam();
    EXPECT_EQ(averageText(c.average, true, c.unitCode, c.rangeIndex, QString::fromLatin1(c.model)),
              QString::fromLatin1(c.expected))
        << "code " << c.unitCode << " range " << c.rangeIndex << " model " << c.model;
}

INSTANTIATE_TEST_SUITE_P(
    EveryCell, AverageFormatTable,
    ::testing::Values(
        // 0 VAC: "0.000" x10^3 "E-3" | "0.00000" | "0.00000"
        AverageCase{0, 0, "", 0.1234, "123.400E-3"}, AverageCase{0, 1, "", 0.1234, "0.12340"},
        AverageCase{0, 2, "", 0.1234, "0.12340"},
        // 1 VDC: "0.000" x10^3 "E-3" | "0.000000" | "0.000000"
        AverageCase{1, 0, "", 0.0123456, "12.346E-3"}, AverageCase{1, 1, "", 1.5, "1.500000"},
        AverageCase{1, 2, "", 1.5, "1.500000"},
        // 2 V: "0.000" for models 0/1, "0.0000" for 2/3, empty otherwise; every range alike
        AverageCase{2, 0, "0", 1.23456, "1.235"}, AverageCase{2, 1, "1", 1.23456, "1.235"},
        AverageCase{2, 2, "0", 1.23456, "1.235"}, AverageCase{2, 0, "2", 1.23456, "1.2346"},
        AverageCase{2, 2, "3", 1.23456, "1.2346"}, AverageCase{2, 0, "4", 1.23456, ""},
        AverageCase{2, 1, "5", 1.23456, ""}, AverageCase{2, 0, "", 1.23456, ""},
        // 3 OHM: "0.000" | "0.00000" x10^-3 "E+3" | "0.00000000" x10^-6 "E+6"
        AverageCase{3, 0, "", 123.4567, "123.457"}, AverageCase{3, 1, "", 12345.678, "12.34568E+3"},
        AverageCase{3, 2, "", 1234567.8, "1.23456780E+6"},
        // 4 F: "0.000" x10^9 "E-9" | "0.000000" x10^6 "E-6" | "0.000000000" x10^3 "E-3"
        AverageCase{4, 0, "", 1.2346e-9, "1.235E-9"}, AverageCase{4, 1, "", 2.5e-6, "2.500000E-6"},
        AverageCase{4, 2, "", 0.047, "47.000000000E-3"},
        // 5 ADC, 6 AAC: "0.000" x10^6 "E-6" | "0.00000" x10^3 "E-3" | "0.00000000"
        AverageCase{5, 0, "", 1.5e-6, "1.500E-6"}, AverageCase{5, 1, "", 0.0125, "12.50000E-3"},
        AverageCase{5, 2, "", 1.25, "1.25000000"}, AverageCase{6, 0, "", 1.5e-6, "1.500E-6"},
        AverageCase{6, 1, "", 0.0125, "12.50000E-3"}, AverageCase{6, 2, "", 1.25, "1.25000000"},
        // 7 A: range 0 "0.0" (models 0/1) or "0.00" (2/3) x10^6 "E-6", else empty;
        //      "0.0000" x10^3 "E-3" | "0.0000000"
        AverageCase{7, 0, "0", 1.5e-6, "1.5E-6"}, AverageCase{7, 0, "1", 1.5e-6, "1.5E-6"},
        AverageCase{7, 0, "2", 1.25e-6, "1.25E-6"}, AverageCase{7, 0, "3", 1.25e-6, "1.25E-6"},
        AverageCase{7, 0, "4", 1.25e-6, ""}, AverageCase{7, 0, "", 1.25e-6, ""},
        AverageCase{7, 1, "4", 0.0125, "12.5000E-3"}, AverageCase{7, 2, "", 1.25, "1.2500000"},
        // 8 OHM coarse "0.0", 9 Vd "0.0000"
        AverageCase{8, 0, "", 123.456, "123.5"}, AverageCase{8, 2, "", 123.456, "123.5"},
        AverageCase{9, 0, "", 0.51234, "0.5123"}, AverageCase{9, 1, "", 0.51234, "0.5123"},
        // 10, 11, 13, 14, 15, 16: "0.000"
        AverageCase{10, 0, "", 25.0, "25.000"}, AverageCase{11, 0, "", 50.0004, "50.000"},
        AverageCase{13, 0, "", 120.0, "120.000"}, AverageCase{14, 0, "", 45.2, "45.200"},
        AverageCase{15, 0, "", 1.2345, "1.235"}, AverageCase{16, 2, "", -1.5, "-1.500"},
        // 12 (no unit yet) or any other code: empty
        AverageCase{12, 0, "", 1.0, ""}, AverageCase{12, 1, "0", 1.0, ""}, AverageCase{17, 0, "", 1.0, ""},
        AverageCase{-1, 0, "", 1.0, ""}),
    [](const ::testing::TestParamInfo<AverageCase>& info) {
        const int code = info.param.unitCode;
        return std::to_string(info.index) + "_code" + (code < 0 ? std::string("minus") : std::string()) + std::to_string(std::abs(code)) + "_range"
            + std::to_string(info.param.rangeIndex) + "_model" + namePart(info.param.model);
    });

TEST(AverageText, WithoutUnitStatisticsUsesFourDecimals)
{
    EXPECT_EQ(averageText(1.23456, false, 1, 0, u""), QStringLiteral("1.2346"));
    EXPECT_EQ(averageText(0.12345, false, 12, 0, u""), QStringLiteral("0.1235")); // half away from zero
}

TEST(AverageText, HalvesRoundAwayFromZero)
{
    EXPECT_EQ(averageText(2.5, true, 8, 0, u""), QStringLiteral("2.5"));
    EXPECT_EQ(averageText(0.25, true, 8, 0, u""), QStringLiteral("0.3"));
    EXPECT_EQ(averageText(-0.25, true, 8, 0, u""), QStringLiteral("-0.3"));
}

TEST(AverageText, SameUnderDecimalCommaLocale)
{
    test::LocaleGuard german("de_DE.UTF-8");
    EXPECT_EQ(averageText(0.1234, true, 0, 0, u""), QStringLiteral("123.400E-3"));
    EXPECT_EQ(averageText(1.5, true, 1, 1, u""), QStringLiteral("1.500000"));
}

TEST(PatternDecimals, CountsDigitsAfterThePoint)
{
    EXPECT_EQ(patternDecimals(QStringLiteral("0.000")), 3);
    EXPECT_EQ(patternDecimals(QStringLiteral("0.0")), 1);
    EXPECT_EQ(patternDecimals(QStringLiteral("0.000000000")), 9);
    EXPECT_EQ(patternDecimals(QStringLiteral("0")), 0);
}

// --- MAX / MIN lines ------------------------------------------------------------------------------

TEST(ExtremeText, FieldsAndSeparators)
{
    const std::array<QString, 4> headings{QStringLiteral("No."), QStringLiteral("TIME"), QStringLiteral("DATA"),
                                          QStringLiteral("MODE")};
    EXPECT_EQ(extremeText(2, true, headings, 12, u"10:15:30", u"1.234", u"VDC"),
              QStringLiteral("No.[ 12 ]   TIME[ 10:15:30 ]   DATA[ 1.234 ]   MODE[ VDC ]"));
    EXPECT_EQ(extremeText(2, false, headings, 12, u"10:15:30", u"1.234", u"VDC"),
              QStringLiteral("TIME[ 10:15:30 ]   DATA[ 1.234 ]   MODE[ VDC ]"));
    EXPECT_EQ(extremeText(0, false, headings, 3, u"00:00:10", u"-1.5", u"OHM"),
              QStringLiteral("TIME[ 00:00:10 ]   DATA[ -1.5 ]   MODE[ OHM ]"));
    // SAVE-mode: always the number, never the time.
    EXPECT_EQ(extremeText(4, false, headings, 7, u"", u"2.5", u"ADC"),
              QStringLiteral("No.[ 7 ]   DATA[ 2.5 ]   MODE[ ADC ]"));
    EXPECT_EQ(extremeText(4, true, headings, 7, u"", u"2.5", u"ADC"),
              QStringLiteral("No.[ 7 ]   DATA[ 2.5 ]   MODE[ ADC ]"));
}

TEST(ShownRowNumber, CountsFromZeroForRecordModels)
{
    EXPECT_EQ(shownRowNumber(5, u""), 5);
    EXPECT_EQ(shownRowNumber(5, u"0"), 5);
    EXPECT_EQ(shownRowNumber(5, u"1"), 5);
    for (const char16_t* m : {u"2", u"3", u"4", u"5", u"7", u"x"})
        EXPECT_EQ(shownRowNumber(5, m), 4);
}

// --- Running figures --------------------------------------------------------------------------------

TEST(ReadingStatistics, TiesKeepTheFirstRow)
{
    ReadingStatistics s;
    s.accumulate(5, 1);
    s.accumulate(7, 2);
    s.accumulate(7, 3);
    s.accumulate(3, 4);
    s.accumulate(3, 5);
    EXPECT_EQ(s.chartMaxRow, 2);
    EXPECT_EQ(s.statusMaxRow, 2);
    EXPECT_EQ(s.chartMinRow, 4);
    EXPECT_EQ(s.statusMinRow, 4);
    EXPECT_EQ(s.numericCount, 5);
    EXPECT_DOUBLE_EQ(s.sum, 25);
}

TEST(ReadingStatistics, ComparesInSinglePrecisionButSumsTheDouble)
{
    ReadingStatistics s;
    s.accumulate(1.0000000001, 1); // the same single-precision value as 1.0
    s.accumulate(1.0, 2);
    s.accumulate(1.0000000002, 3);
    EXPECT_EQ(s.chartMaxRow, 1); // equal in single precision: the first stays
    EXPECT_EQ(s.chartMinRow, 1);
    EXPECT_DOUBLE_EQ(s.sum, 3.0000000003);
}

TEST(ReadingStatistics, UnitChangeResetsStatusFiguresButNotChartMarkers)
{
    ReadingStatistics s;
    EXPECT_TRUE(s.enterUnit({UnitCodes::Vdc, 0})); // from "none yet"
    s.accumulate(2, 1);
    s.accumulate(1, 2);
    EXPECT_FALSE(s.enterUnit({UnitCodes::Vdc, 0}));
    EXPECT_TRUE(s.enterUnit({UnitCodes::Vac, 1}));
    EXPECT_EQ(s.unitCode, UnitCodes::Vac);
    EXPECT_EQ(s.rangeIndex, 1);
    EXPECT_EQ(s.numericCount, 0);
    EXPECT_EQ(s.sum, 0);
    EXPECT_EQ(s.statusMaxRow, 0);
    EXPECT_EQ(s.statusMinRow, 0);
    EXPECT_EQ(s.chartMaxRow, 1);
    EXPECT_EQ(s.chartMinRow, 2);
}

TEST(ReadingStatistics, RangeOnlyGrowsWithinAUnit)
{
    ReadingStatistics s;
    s.enterUnit({UnitCodes::Adc, 1});
    s.enterUnit({UnitCodes::Adc, 0});
    EXPECT_EQ(s.rangeIndex, 1);
    s.enterUnit({UnitCodes::Adc, 2});
    EXPECT_EQ(s.rangeIndex, 2);
    s.enterUnit({UnitCodes::Adc, 1});
    EXPECT_EQ(s.rangeIndex, 2);
    s.enterUnit({UnitCodes::Aac, 0}); // a new unit takes its own range
    EXPECT_EQ(s.rangeIndex, 0);
}

TEST(ReadingStatistics, CountOverflowIsAnError)
{
    ReadingStatistics s;
    s.numericCount = std::numeric_limits<std::int32_t>::max();
    EXPECT_THROW(s.accumulate(1, 1), RuntimeError);
    EXPECT_EQ(s.numericCount, std::numeric_limits<std::int32_t>::max());
}
