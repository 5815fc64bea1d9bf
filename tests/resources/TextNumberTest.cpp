#include "resources/TextNumber.h"

#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>

using namespace quvo;

TEST(TextNumber, Int16AcceptsBlanksSignAndDecimals)
{
    EXPECT_EQ(toInt16(QStringLiteral(" 12 ")), 12);
    EXPECT_EQ(toInt16(QStringLiteral("-7")), -7);
    EXPECT_EQ(toInt16(QStringLiteral("+32767")), 32767);
    EXPECT_EQ(toInt16(QStringLiteral("-32768")), -32768);
    EXPECT_EQ(toInt16(QStringLiteral("1.5E1")), 15);
}

TEST(TextNumber, IntegerConversionRoundsHalvesToEven)
{
    EXPECT_EQ(toInt16(QStringLiteral("2.5")), 2);
    EXPECT_EQ(toInt16(QStringLiteral("3.5")), 4);
    EXPECT_EQ(toInt16(QStringLiteral("-2.5")), -2);
    EXPECT_EQ(toInt32(QStringLiteral("0.5")), 0);
    EXPECT_EQ(toInt32(QStringLiteral("1.5")), 2);
}

TEST(TextNumber, Int16RefusesOverflowAndNonNumbers)
{
    EXPECT_THROW(toInt16(QStringLiteral("32768")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("-32769")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("abc")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("1,5")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("0x10")), RuntimeError);
    EXPECT_THROW(toInt16(QStringLiteral("inf")), RuntimeError);
    EXPECT_EQ(toInt32(QStringLiteral("40000")), 40000);
}

TEST(TextNumber, ErrorDescriptionNamesTheText)
{
    try {
        toInt16(QStringLiteral("abc"));
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_TRUE(e.description().contains(QStringLiteral("\"abc\""))) << e.description().toStdString();
    }
}

TEST(TextNumber, SingleConversion)
{
    EXPECT_FLOAT_EQ(toSingle(QStringLiteral("0.001")), 0.001f);
    EXPECT_THROW(toSingle(QStringLiteral("1e39")), RuntimeError);
}

TEST(TextNumber, Booleans)
{
    EXPECT_TRUE(toBoolean(QStringLiteral("True")));
    EXPECT_TRUE(toBoolean(QStringLiteral("true")));
    EXPECT_FALSE(toBoolean(QStringLiteral("False")));
    EXPECT_TRUE(toBoolean(QStringLiteral("-1")));
    EXPECT_FALSE(toBoolean(QStringLiteral("0")));
    EXPECT_THROW(toBoolean(QStringLiteral("yes")), RuntimeError);
    EXPECT_THROW(toBoolean(QStringLiteral("")), RuntimeError);
    EXPECT_EQ(booleanText(true), QStringLiteral("True"));
    EXPECT_EQ(booleanText(false), QStringLiteral("False"));
}

TEST(TextNumber, LeadingNumber)
{
    EXPECT_EQ(leadingNumber(QStringLiteral("00123")), 123);
    EXPECT_EQ(leadingNumber(QStringLiteral("12abc")), 12);
    EXPECT_EQ(leadingNumber(QStringLiteral("abc")), 0);
    EXPECT_EQ(leadingNumber(QStringLiteral("")), 0);
    EXPECT_EQ(leadingNumber(QStringLiteral(" 1 2")), 12);
    EXPECT_EQ(leadingNumber(QStringLiteral("-3.5x")), -3.5);
    EXPECT_EQ(leadingNumber(QStringLiteral("0042\xd")), 42);
    EXPECT_EQ(leadingNumber(QStringLiteral("12e")), 12);
}

TEST(TextNumber, SignedCountText)
{
    EXPECT_EQ(signedCountText(20), QStringLiteral(" 20"));
    EXPECT_EQ(signedCountText(0), QStringLiteral(" 0"));
    EXPECT_EQ(signedCountText(-5), QStringLiteral("-5"));
}

TEST(TextNumber, FormatFixedRoundsHalfAwayFromZero)
{
    EXPECT_EQ(formatFixed(0.1234 * 1000, 3), QStringLiteral("123.400"));
    EXPECT_EQ(formatFixed(0.0005, 3), QStringLiteral("0.001"));
    EXPECT_EQ(formatFixed(-0.0005, 3), QStringLiteral("-0.001"));
    EXPECT_EQ(formatFixed(2.675, 2), QStringLiteral("2.68"));
    EXPECT_EQ(formatFixed(1.005, 2), QStringLiteral("1.01"));
    EXPECT_EQ(formatFixed(0.125, 2), QStringLiteral("0.13"));
    EXPECT_EQ(formatFixed(0, 4), QStringLiteral("0.0000"));
    EXPECT_EQ(formatFixed(-0.00001, 3), QStringLiteral("0.000"));
    EXPECT_EQ(formatFixed(999.9996, 3), QStringLiteral("1000.000"));
    EXPECT_EQ(formatFixed(12345678.9, 1), QStringLiteral("12345678.9"));
    EXPECT_EQ(formatFixed(1e20, 1), QStringLiteral("100000000000000000000.0"));
    EXPECT_EQ(formatFixed(5.5, 0), QStringLiteral("6"));
    EXPECT_EQ(formatFixed(0.1234, 5), QStringLiteral("0.12340"));
}

TEST(TextNumber, TwoDigits)
{
    EXPECT_EQ(twoDigits(7), QStringLiteral("07"));
    EXPECT_EQ(twoDigits(0), QStringLiteral("00"));
    EXPECT_EQ(twoDigits(59), QStringLiteral("59"));
    EXPECT_EQ(twoDigits(123), QStringLiteral("123"));
}

TEST(TextNumber, AxisLabelsPlain)
{
    EXPECT_EQ(formatAxisPlain(2), QStringLiteral("2.0"));
    EXPECT_EQ(formatAxisPlain(0.12345), QStringLiteral("0.1235"));
    EXPECT_EQ(formatAxisPlain(2.5), QStringLiteral("2.5"));
    EXPECT_EQ(formatAxisPlain(-1.25), QStringLiteral("-1.25"));
    EXPECT_EQ(formatAxisPlain(10), QStringLiteral("10.0"));
    EXPECT_EQ(formatAxisPlain(0.00001), QStringLiteral("0.0"));
}

TEST(TextNumber, AxisLabelsScientific)
{
    EXPECT_EQ(formatAxisScientific(0.0025), QStringLiteral("2.5E-3"));
    EXPECT_EQ(formatAxisScientific(0.001), QStringLiteral("1.0E-3"));
    EXPECT_EQ(formatAxisScientific(12000), QStringLiteral("1.2E4"));
    EXPECT_EQ(formatAxisScientific(0), QStringLiteral("0.0E0"));
    EXPECT_EQ(formatAxisScientific(-0.00412345), QStringLiteral("-4.1235E-3"));
    EXPECT_EQ(formatAxisScientific(9.99996), QStringLiteral("1.0E1"));
    EXPECT_EQ(formatAxisScientific(1.5e-12), QStringLiteral("1.5E-12"));
}

TEST(TextNumber, ShortestSingleText)
{
    EXPECT_EQ(shortestSingleText(59999.0f), QStringLiteral("59999"));
    EXPECT_EQ(shortestSingleText(0.1f), QStringLiteral("0.1"));
    EXPECT_EQ(shortestSingleText(-60001.0f), QStringLiteral("-60001"));
    EXPECT_EQ(shortestSingleText(99.0f), QStringLiteral("99"));
}

TEST(TextNumber, ResultsDoNotDependOnTheLocale)
{
    test::LocaleGuard german("de_DE.UTF-8");
    ASSERT_TRUE(german.active()) << "de_DE.UTF-8 locale missing; run scripts/install-deps.sh";
    EXPECT_EQ(formatFixed(1.5, 3), QStringLiteral("1.500"));
    EXPECT_EQ(toDouble(QStringLiteral("1.25")), 1.25);
    EXPECT_THROW(toDouble(QStringLiteral("1,25")), RuntimeError);
    EXPECT_EQ(formatAxisPlain(0.5), QStringLiteral("0.5"));
    EXPECT_EQ(shortestSingleText(0.25f), QStringLiteral("0.25"));
    EXPECT_EQ(leadingNumber(QStringLiteral("3.5")), 3.5);
}

// Short decimals take a quicker path than long ones; both must give the correctly rounded
// double, the one std::from_chars gives.
TEST(TextNumber, ShortDecimalsParseToTheCorrectlyRoundedDouble)
{
    std::mt19937_64 random(20261121);
    const char* const forms[] = {"%s%llu.%llue%d", "%s%llu.%lluE%+d", "%s%llu.%llu", "%s%llue%d", "%s%lluE-%d"};
    for (int i = 0; i < 200000; ++i) {
        const char* sign = random() % 2 ? "-" : "";
        const unsigned long long whole = random() % 1000000;
        const unsigned long long fraction = random() % 10000000000ULL;
        const int exponent = static_cast<int>(random() % 61) - 30;
        char text[80];
        const char* form = forms[random() % std::size(forms)];
        if (form == forms[2])
            std::snprintf(text, sizeof text, form, sign, whole, fraction);
        else if (form == forms[3])
            std::snprintf(text, sizeof text, form, sign, whole, exponent);
        else if (form == forms[4])
            std::snprintf(text, sizeof text, form, sign, whole, std::abs(exponent));
        else
            std::snprintf(text, sizeof text, form, sign, whole, fraction, exponent);
        double expected = 0;
        const auto [end, error] = std::from_chars(text, text + std::strlen(text), expected);
        ASSERT_EQ(error, std::errc()) << text;
        ASSERT_EQ(*end, '\0') << text;
        double parsed = -1;
        ASSERT_TRUE(parseNumber(QLatin1StringView(text), parsed)) << text;
        ASSERT_EQ(parsed, expected) << text;
        ASSERT_EQ(std::signbit(parsed), std::signbit(expected)) << text;
    }
}

TEST(TextNumber, UnusualFormsAreRefusedOnEveryPath)
{
    double value = 7;
    for (const char* text : {"1e", "1e+", "e5", ".", "-.", "1.2.3", "1e5e5", "--1", "+-1", "1e-+3", "0x1p3", "1e1000a"})
        EXPECT_FALSE(parseNumber(QLatin1StringView(text), value)) << text;
    EXPECT_EQ(value, 7);
    ASSERT_TRUE(parseNumber(QLatin1StringView("-0"), value));
    EXPECT_TRUE(std::signbit(value));
    ASSERT_TRUE(parseNumber(QLatin1StringView("1e0300"), value));
    EXPECT_EQ(value, 1e300);
    ASSERT_TRUE(parseNumber(QLatin1StringView("1234567890123456789"), value));
    EXPECT_EQ(value, 1234567890123456789.0);
}

// The single-byte path (data file fields) takes a short cut for usual readings; it must
// agree with the general conversion on every text, usual or not.
TEST(TextNumber, SingleByteTextsAgreeWithTheGeneralConversion)
{
    const char* const texts[] = {"2.626E-3", "-0.154", " 1.5", "1.5 ", "\t2", "2\r", "+1.5", "+-1", "1.5e+3",
                                 "1.5E-03", "-0", "0.0", ".5", "5.", "-.5", "1e22", "1e23", "123456789012345",
                                 "1234567890123456", "1e-400", "1e400", "12E+0003", "1,5", "1.5V", "", " ", "-",
                                 "OL", "ERROR", "1e", "\xa0" "3", "3\xa0"};
    for (const char* text : texts) {
        const QLatin1StringView latin1(text);
        double general = -7;
        double single = -7;
        const bool generalOk = parseNumber(QString(latin1), general);
        const bool singleOk = parseNumber(latin1, single);
        EXPECT_EQ(singleOk, generalOk) << text;
        if (generalOk && singleOk) {
            EXPECT_EQ(single, general) << text;
            EXPECT_EQ(std::signbit(single), std::signbit(general)) << text;
        }
    }
}
