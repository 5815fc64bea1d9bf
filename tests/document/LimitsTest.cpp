// Limits and judgement: reading limits as people type them, judging readings (the table of
// cases below is worked out from the rules, not from what the code printed), checking the
// dialog's and the command line's texts, keeping limits in the per-user store, and the
// judgement of a document's rows, its counts and its chart lines.

#include "DocumentTestSupport.h"

#include "document/DocumentTableModel.h"
#include "document/LimitSettings.h"
#include "document/Limits.h"
#include "resources/SettingsStore.h"

#include <QAbstractItemModelTester>
#include <QLocale>
#include <QSettings>
#include <QSignalSpy>

#include <cmath>
#include <variant>

using namespace quvo;
using namespace quvo::test;

namespace {

Limits band(std::optional<double> upper, std::optional<double> lower, const QString& unit = QStringLiteral("VDC"))
{
    Limits limits;
    limits.upper = upper;
    limits.lower = lower;
    limits.unit = unit;
    return limits;
}

Limits parsedBand(const QString& upper, const QString& lower, const QString& unit = QStringLiteral("VDC"))
{
    const auto checked = checkLimits(upper, lower, unit, false);
    const Limits* limits = std::get_if<Limits>(&checked);
    EXPECT_NE(limits, nullptr) << upper.toStdString() << " / " << lower.toStdString();
    return limits ? *limits : Limits{};
}

struct JudgementCase {
    const char* name;
    Limits limits;
    const char* value;
    const char* mode;
    Judgement expected;
};

void PrintTo(const JudgementCase& c, std::ostream* os)
{
    *os << c.name;
}

class JudgementTable : public ::testing::TestWithParam<JudgementCase> {};

const JudgementCase Cases[] = {
    // Without limits nothing is judged.
    {"NoLimits", Limits{}, "1.0", "VDC", Judgement::None},
    {"NoLimitsOverload", Limits{}, "+OL", "VDC", Judgement::None},
    // Both limits: the band 1 .. 5 V.
    {"Inside", band(5, 1), "3.000", "VDC", Judgement::Pass},
    {"EqualToUpperPasses", band(5, 1), "5.000", "VDC", Judgement::Pass},
    {"EqualToLowerPasses", band(5, 1), "1", "VDC", Judgement::Pass},
    {"JustAbove", band(5, 1), "5.001", "VDC", Judgement::Hi},
    {"JustBelow", band(5, 1), "0.999", "VDC", Judgement::Lo},
    {"Negative", band(5, 1), "-3.2", "VDC", Judgement::Lo},
    {"PositiveOverloadIsHi", band(5, 1), "+OL", "VDC", Judgement::Hi},
    {"NegativeOverloadIsLo", band(5, 1), "-OL", "VDC", Judgement::Lo},
    {"ErrorIsNotJudged", band(5, 1), "ERROR", "", Judgement::None},
    {"ErrorWithUnitIsNotJudged", band(5, 1), "ERROR", "VDC", Judgement::None},
    {"EmptySlotIsNotJudged", band(5, 1), "", "VDC", Judgement::None},
    {"OtherUnitIsNotJudged", band(5, 1), "9.0", "VAC", Judgement::None},
    {"OtherUnitOverloadIsNotJudged", band(5, 1), "+OL", "OHM", Judgement::None},
    {"UnitWithBlanksAndOtherCase", band(5, 1), "9.0", " vdc ", Judgement::Hi},
    {"PlainAcWithItsBlank", band(5, 1, QStringLiteral("AC")), "0.5", " AC", Judgement::Lo},
    // One limit only.
    {"UpperOnlyAbove", band(5, std::nullopt), "5.5", "VDC", Judgement::Hi},
    {"UpperOnlyFarBelowPasses", band(5, std::nullopt), "-1000", "VDC", Judgement::Pass},
    {"UpperOnlyNegativeOverloadPasses", band(5, std::nullopt), "-OL", "VDC", Judgement::Pass},
    {"LowerOnlyBelow", band(std::nullopt, 1E6, QStringLiteral("OHM")), "0.5E+6", "OHM", Judgement::Lo},
    {"LowerOnlyOpenCircuitPasses", band(std::nullopt, 1E6, QStringLiteral("OHM")), "+OL", "OHM", Judgement::Pass},
    // Prefixes: 5 mV against limits typed in three ways, readings as the meter sends them.
    {"MilliAgainstPrefix", parsedBand(QStringLiteral("5m"), QString()), "5.000E-3", "VDC", Judgement::Pass},
    {"MilliAgainstExponent", parsedBand(QStringLiteral("5E-3"), QString()), "5.000E-3", "VDC", Judgement::Pass},
    {"MilliAgainstDecimal", parsedBand(QStringLiteral("0.005"), QString()), "5.000E-3", "VDC", Judgement::Pass},
    {"MilliAboveDecimal", parsedBand(QStringLiteral("0.005"), QString()), "5.001E-3", "VDC", Judgement::Hi},
    {"MilliBelowLowerPrefix", parsedBand(QString(), QStringLiteral("5 m")), "4.999E-3", "VDC", Judgement::Lo},
    {"KiloOhm", parsedBand(QStringLiteral("1.5k"), QStringLiteral("1k"), QStringLiteral("OHM")), "1.500E+3", "OHM",
     Judgement::Pass},
    {"KiloOhmAbove", parsedBand(QStringLiteral("1.5k"), QStringLiteral("1k"), QStringLiteral("OHM")), "1.501E+3", "OHM",
     Judgement::Hi},
    {"MicroAmpere", parsedBand(QStringLiteral("20u"), QString(), QStringLiteral("ADC")), "20.01E-6", "ADC",
     Judgement::Hi},
    {"MegaOhmLower", parsedBand(QString(), QStringLiteral("2M"), QStringLiteral("OHM")), "1.999E+6", "OHM",
     Judgement::Lo},
    {"NanoFarad", parsedBand(QStringLiteral("100n"), QStringLiteral("90n"), QStringLiteral("F")), "99.99E-9", "F",
     Judgement::Pass},
};

TEST_P(JudgementTable, JudgesAsTheRulesSay)
{
    const JudgementCase& c = GetParam();
    EXPECT_EQ(judgeReading(c.limits, QString::fromLatin1(c.value), QString::fromLatin1(c.mode)), c.expected);
    // The single-byte texts of a document's rows are judged alike.
    EXPECT_EQ(judgeReading(c.limits, QLatin1StringView(c.value), QLatin1StringView(c.mode)), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Limits, JudgementTable, ::testing::ValuesIn(Cases),
                         [](const ::testing::TestParamInfo<JudgementCase>& info) { return std::string(info.param.name); });

} // namespace

TEST(LimitTexts, PrefixesExponentsAndDecimalsAreTheSameNumber)
{
    const std::optional<double> decimal = parseLimit(u"0.005");
    ASSERT_TRUE(decimal);
    EXPECT_EQ(parseLimit(u"5m"), decimal);
    EXPECT_EQ(parseLimit(u" 5 m "), decimal);
    EXPECT_EQ(parseLimit(u"5E-3"), decimal);
    EXPECT_EQ(parseLimit(u"5e-3"), decimal);
    EXPECT_EQ(parseLimit(u"0.5E-2"), decimal);
    EXPECT_EQ(parseLimit(u"5000u"), decimal);
    EXPECT_EQ(parseLimit(u"5000\u00B5"), decimal);
    EXPECT_EQ(parseLimit(u"0.5E-2m"), parseLimit(u"5E-6"));
    EXPECT_EQ(parseLimit(u"1.5k"), std::optional<double>(1500));
    EXPECT_EQ(parseLimit(u"1.5K"), std::optional<double>(1500));
    EXPECT_EQ(parseLimit(u"2M"), std::optional<double>(2E6));
    EXPECT_EQ(parseLimit(u"-2.5"), std::optional<double>(-2.5));
    EXPECT_EQ(parseLimit(u"+7"), std::optional<double>(7));
    EXPECT_EQ(parseLimit(u"100n"), parseLimit(u"1E-7"));
}

TEST(LimitTexts, WhatIsNoNumberIsRefused)
{
    for (const char16_t* text : {u"", u"  ", u"m", u"five", u"5x", u"5 mV", u"0,005", u"5mm", u"1e", u"inf", u"nan",
                                 u"5E-3E1", u"0x10", u"5G", u"--5"})
        EXPECT_FALSE(parseLimit(text).has_value()) << QString::fromUtf16(text).toStdString();
}

TEST(LimitTexts, TheDesktopLanguageDoesNotChangeTheDecimalPoint)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(parseLimit(u"0.005"), std::optional<double>(0.005));
    EXPECT_FALSE(parseLimit(u"0,005").has_value());
    EXPECT_EQ(limitText(0.005), QStringLiteral("0.005"));
    EXPECT_EQ(limitDisplayText(1500, QStringLiteral("OHM")), QStringLiteral("1.5kOHM"));
    QLocale::setDefault(before);
}

TEST(LimitTexts, LimitsAreWrittenShortAndReadBackTheSame)
{
    for (const double value : {0.005, 1500.0, -2.5, 1E-7, 0.1, 123456.789, 0.0})
        EXPECT_EQ(parseLimit(limitText(value)), std::optional<double>(value)) << limitText(value).toStdString();
    EXPECT_EQ(limitText(0.005), QStringLiteral("0.005"));
    EXPECT_EQ(limitText(-0.0), QStringLiteral("0"));
}

TEST(LimitTexts, TheMonitorShowsLimitsAsTheMeterShowsReadings)
{
    EXPECT_EQ(limitDisplayText(0.005, QStringLiteral("VDC")), QStringLiteral("5mVDC"));
    EXPECT_EQ(limitDisplayText(1500, QStringLiteral("OHM")), QStringLiteral("1.5kOHM"));
    EXPECT_EQ(limitDisplayText(2E6, QStringLiteral("OHM")), QStringLiteral("2MOHM"));
    EXPECT_EQ(limitDisplayText(-2, QStringLiteral("VDC")), QStringLiteral("-2VDC"));
    EXPECT_EQ(limitDisplayText(0, QStringLiteral("VDC")), QStringLiteral("0VDC"));
    EXPECT_EQ(limitDisplayText(0.001, QStringLiteral("A")), QStringLiteral("1mA"));
    EXPECT_EQ(limitDisplayText(999.5, QStringLiteral("VAC")), QStringLiteral("999.5VAC"));
    EXPECT_EQ(limitDisplayText(20E-6, QStringLiteral("ADC")), QStringLiteral("20uADC"));
    EXPECT_EQ(limitDisplayText(100E-9, QStringLiteral("F")), QStringLiteral("100nF"));
}

TEST(LimitTexts, JudgementsAndCountsAsText)
{
    EXPECT_EQ(judgementText(Judgement::Hi), QStringLiteral("HI"));
    EXPECT_EQ(judgementText(Judgement::Pass), QStringLiteral("PASS"));
    EXPECT_EQ(judgementText(Judgement::Lo), QStringLiteral("LO"));
    EXPECT_EQ(judgementText(Judgement::None), QStringLiteral("-"));
    EXPECT_EQ(judgementCountsText({2, 1, 17}), QStringLiteral("HI 2   LO 1   PASS 17"));
}

// --- Checking the dialog's and the command line's texts ---------------------------------------

namespace {

LimitsProblem problemOf(const QString& upper, const QString& lower, const QString& unit, bool unitMayFollow = false)
{
    const auto checked = checkLimits(upper, lower, unit, false, unitMayFollow);
    const LimitsProblem* problem = std::get_if<LimitsProblem>(&checked);
    EXPECT_NE(problem, nullptr);
    return problem ? *problem : LimitsProblem{LimitField::Unit, QString()};
}

} // namespace

TEST(LimitChecks, EmptyFieldsAreNoLimits)
{
    const auto checked = checkLimits(QString(), QStringLiteral("  "), QStringLiteral("VDC"), true);
    ASSERT_TRUE(std::holds_alternative<Limits>(checked));
    const Limits& limits = std::get<Limits>(checked);
    EXPECT_FALSE(limits.active());
    EXPECT_TRUE(limits.buzzer);
}

TEST(LimitChecks, ANumberIsAskedForAndTheMessageSaysHowToTypeIt)
{
    const LimitsProblem upper = problemOf(QStringLiteral("five"), QStringLiteral("1"), QStringLiteral("VDC"));
    EXPECT_EQ(upper.field, LimitField::Upper);
    EXPECT_TRUE(upper.message.contains(QStringLiteral("\"five\" is not a number"))) << upper.message.toStdString();
    EXPECT_TRUE(upper.message.contains(QStringLiteral("5m"))) << upper.message.toStdString();
    const LimitsProblem lower = problemOf(QStringLiteral("5"), QStringLiteral("0,5"), QStringLiteral("VDC"));
    EXPECT_EQ(lower.field, LimitField::Lower);
    EXPECT_TRUE(lower.message.contains(QStringLiteral("\"0,5\""))) << lower.message.toStdString();
}

TEST(LimitChecks, TheLowerLimitMustBeBelowTheUpperOne)
{
    const LimitsProblem equal = problemOf(QStringLiteral("5"), QStringLiteral("5000m"), QStringLiteral("VDC"));
    EXPECT_EQ(equal.field, LimitField::Lower);
    EXPECT_EQ(equal.message, QStringLiteral("The lower limit (5) must be below the upper limit (5)."));
    EXPECT_EQ(problemOf(QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("VDC")).field, LimitField::Lower);
    EXPECT_TRUE(std::holds_alternative<Limits>(checkLimits(QStringLiteral("5"), QStringLiteral("4.999"),
                                                           QStringLiteral("VDC"), false)));
}

TEST(LimitChecks, LimitsNeedAUnitUnlessTheFirstReadingGivesIt)
{
    EXPECT_EQ(problemOf(QStringLiteral("5"), QString(), QString()).field, LimitField::Unit);
    const auto followed = checkLimits(QStringLiteral("5"), QString(), QString(), false, true);
    ASSERT_TRUE(std::holds_alternative<Limits>(followed));
    EXPECT_TRUE(std::get<Limits>(followed).unit.isEmpty());
    EXPECT_EQ(problemOf(QStringLiteral("5"), QString(), QStringLiteral("mVDC")).field, LimitField::Unit);
    EXPECT_EQ(std::get<Limits>(checkLimits(QStringLiteral("5"), QString(), QStringLiteral(" OHM "), false)).unit,
              QStringLiteral("OHM"));
}

// --- A unit left to the first reading ----------------------------------------------------------

TEST(ReadingJudgeTest, TheFirstReadingWithAUnitGivesTheUnit)
{
    ReadingJudge judge(band(5, 1, QString()));
    EXPECT_EQ(judge.judge(u"ERROR", u""), Judgement::None); // says nothing about the unit
    EXPECT_TRUE(judge.limits().unit.isEmpty());
    EXPECT_EQ(judge.judge(u"6", u"VAC"), Judgement::Hi);
    EXPECT_EQ(judge.limits().unit, QStringLiteral("VAC"));
    EXPECT_EQ(judge.judge(u"6", u"VDC"), Judgement::None);
    EXPECT_EQ(judge.judge(u"0.5", u"VAC"), Judgement::Lo);
}

TEST(ReadingJudgeTest, CountsAddUp)
{
    JudgementCounts counts;
    for (const Judgement j : {Judgement::Hi, Judgement::Pass, Judgement::Pass, Judgement::Lo, Judgement::None})
        counts.add(j);
    EXPECT_EQ(counts, (JudgementCounts{1, 1, 2}));
    EXPECT_EQ(counts.judged(), 4);
    EXPECT_EQ(counts.outOfLimits(), 2);
    counts.add(Judgement::Pass, -1);
    EXPECT_EQ(counts.pass, 1);
}

// --- The per-user store -------------------------------------------------------------------------

namespace {
class LimitSettingsTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        setSettingsStoreFolder(path(QStringLiteral("store")));
    }
    void TearDown() override
    {
        setSettingsStoreFolder(QString());
        DocumentTest::TearDown();
    }
};
} // namespace

TEST_F(LimitSettingsTest, NothingKeptIsNoLimits)
{
    EXPECT_EQ(readLimitSettings(), Limits{});
}

TEST_F(LimitSettingsTest, LimitsAreKeptInTheirOwnSection)
{
    Limits limits = band(0.005, std::nullopt, QStringLiteral("VDC"));
    limits.buzzer = true;
    ASSERT_TRUE(writeLimitSettings(limits));
    EXPECT_EQ(readLimitSettings(), limits);
    QSettings raw(path(QStringLiteral("store/Quvolink/Quvolink.ini")), QSettings::IniFormat);
    EXPECT_EQ(raw.value(QStringLiteral("Limits/Upper")).toString(), QStringLiteral("0.005"));
    EXPECT_FALSE(raw.contains(QStringLiteral("Limits/Lower")));
    EXPECT_EQ(raw.value(QStringLiteral("Limits/Unit")).toString(), QStringLiteral("VDC"));
    EXPECT_EQ(raw.value(QStringLiteral("Limits/Buzzer")).toString(), QStringLiteral("1"));

    // Turned off again: no limits left behind.
    ASSERT_TRUE(writeLimitSettings(Limits{}));
    EXPECT_FALSE(readLimitSettings().active());
    EXPECT_FALSE(QSettings(path(QStringLiteral("store/Quvolink/Quvolink.ini")), QSettings::IniFormat)
                     .contains(QStringLiteral("Limits/Upper")));
}

TEST_F(LimitSettingsTest, AHandEditedValueThatDoesNotReadIsNoLimits)
{
    {
        const auto store = openSettingsSection(LimitsSection);
        store->setValue(QStringLiteral("Upper"), QStringLiteral("lots"));
        store->setValue(QStringLiteral("Lower"), QStringLiteral("1"));
        store->setValue(QStringLiteral("Unit"), QStringLiteral("VDC"));
    }
    EXPECT_FALSE(readLimitSettings().active());
    {
        const auto store = openSettingsSection(LimitsSection);
        store->setValue(QStringLiteral("Upper"), QStringLiteral("1"));
        store->setValue(QStringLiteral("Lower"), QStringLiteral("2"));
    }
    EXPECT_FALSE(readLimitSettings().active());
}

// --- A document's rows --------------------------------------------------------------------------

namespace {
class DocumentJudgementTest : public DocumentTest {
protected:
    static void addSweep(DataDocument& doc);
};

// Twelve realtime readings from 0 to 5.5 V, an error and overloads among them.
void DocumentJudgementTest::addSweep(DataDocument& doc)
{
    const char* values[] = {"0.000", "0.500", "1.000", "1.500", "ERROR", "2.000", "+OL", "4.000", "4.500", "5.000",
                            "5.500", "-OL"};
    int second = 0;
    for (const char* v : values) {
        const QString value = QString::fromLatin1(v);
        const bool numeric = DataDocument::IsReadingValue(value);
        addRealtime(doc, QStringLiteral("12:00:%1").arg(second++, 2, 10, QLatin1Char('0')), value,
                                  value == QLatin1String("ERROR") ? QString() : QStringLiteral("VDC"), numeric, value);
    }
}
} // namespace

TEST_F(DocumentJudgementTest, WithoutLimitsNothingIsJudgedOrShown)
{
    auto doc = newDocument(DataKinds::Realtime);
    addSweep(*doc);
    EXPECT_EQ(doc->judgementCounts(), JudgementCounts{});
    EXPECT_EQ(doc->panelText(QStringLiteral("Judge")), QString());
    EXPECT_FALSE(doc->chart().hasUpperLine);
    EXPECT_FALSE(doc->chart().hasLowerLine);
    for (int row = 1; row <= 12; ++row)
        EXPECT_EQ(doc->judgement(row), Judgement::None);
}

TEST_F(DocumentJudgementTest, RowsAreJudgedAndCountedAsTheyArrive)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->setLimits(band(4.5, 1));
    EXPECT_EQ(doc->panelText(QStringLiteral("Judge")), QStringLiteral("HI 0   LO 0   PASS 0"));
    EXPECT_FALSE(doc->chart().hasUpperLine); // no reading of the unit yet
    addSweep(*doc);
    const Judgement expected[] = {Judgement::Lo,   Judgement::Lo, Judgement::Pass, Judgement::Pass,
                                  Judgement::None, Judgement::Pass, Judgement::Hi, Judgement::Pass,
                                  Judgement::Pass, Judgement::Hi, Judgement::Hi,   Judgement::Lo};
    for (int row = 1; row <= 12; ++row)
        EXPECT_EQ(doc->judgement(row), expected[row - 1]) << "row " << row;
    EXPECT_EQ(doc->judgementCounts(), (JudgementCounts{3, 3, 5}));
    EXPECT_EQ(doc->panelText(QStringLiteral("Judge")), QStringLiteral("HI 3   LO 3   PASS 5"));
    EXPECT_EQ(doc->judgement(0), Judgement::None);
    EXPECT_EQ(doc->judgement(13), Judgement::None);
}

TEST_F(DocumentJudgementTest, NewLimitsJudgeEveryRowAgain)
{
    auto doc = newDocument(DataKinds::Realtime);
    addSweep(*doc);
    QSignalSpy changed(doc.get(), &DataDocument::judgementChanged);
    QSignalSpy panel(doc.get(), &DataDocument::panelTextChanged);
    doc->setLimits(band(std::nullopt, 2));
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(doc->judgementCounts(), (JudgementCounts{0, 5, 6})); // -OL is LO, +OL passes
    ASSERT_FALSE(panel.isEmpty());
    EXPECT_EQ(panel.last().at(1).toString(), QStringLiteral("HI 0   LO 5   PASS 6"));
    doc->setLimits(band(5, 1, QStringLiteral("OHM")));
    EXPECT_EQ(doc->judgementCounts(), JudgementCounts{});
    EXPECT_FALSE(doc->chart().hasUpperLine); // another unit: no lines
    doc->setLimits(Limits{});
    EXPECT_EQ(doc->panelText(QStringLiteral("Judge")), QString());
}

TEST_F(DocumentJudgementTest, TheChartShowsTheLimitsAndKeepsThemInView)
{
    auto doc = newDocument(DataKinds::Realtime);
    for (int i = 0; i < 5; ++i)
        addRealtime(*doc, QStringLiteral("12:00:0%1").arg(i), QStringLiteral("2.000"), QStringLiteral("VDC"), true,
                    QStringLiteral("2.000"));
    doc->setLimits(band(8, 0.5));
    const ChartFrame& f = doc->chart();
    EXPECT_TRUE(f.hasUpperLine);
    EXPECT_EQ(f.upperLine, 8);
    EXPECT_TRUE(f.hasLowerLine);
    EXPECT_EQ(f.lowerLine, 0.5);
    // The automatic scale takes in both lines besides the readings.
    EXPECT_LE(f.yMinimum, 0.5);
    EXPECT_GE(f.yMaximum, 8);
    // A custom scale is the person's choice and stays.
    doc->SetAxisY(false, QStringLiteral("1"), QStringLiteral("3"), 2, 1);
    doc->PaintGraphtop();
    EXPECT_EQ(doc->chart().yMinimum, 1);
    EXPECT_EQ(doc->chart().yMaximum, 3);
    EXPECT_TRUE(doc->chart().hasUpperLine);
}

TEST_F(DocumentJudgementTest, AnOpenedFileIsJudgedAndItsFileIsUnchangedByLimits)
{
    QStringList lines{"21,0", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "20", "True,1,1", "True,0,10,1,1"};
    lines << QStringLiteral("12:00:00,0.004,VDC,4.000E-3") << QStringLiteral("12:00:05,5.000E-3,VDC,5.000E-3")
          << QStringLiteral("12:00:10,5.001E-3,VDC,5.001E-3") << QStringLiteral("12:00:15,ERROR,,")
          << QStringLiteral("12:00:20,+OL,VDC,+OL") << QStringLiteral("12:00:25,-OL,VDC,-OL")
          << QStringLiteral("12:00:30,3.4E-3,VDC,3.4E-3");
    const QString file = writeFile(QStringLiteral("sweep.CSV"), crlf(lines));

    auto doc = newDocument(DataDocument::KindBeforeOpen);
    doc->setLimits(parsedBand(QStringLiteral("5m"), QStringLiteral("3.5m")));
    ASSERT_TRUE(doc->OpenFile(file));
    EXPECT_EQ(doc->judgementCounts(), (JudgementCounts{2, 2, 2}));
    EXPECT_EQ(doc->panelText(QStringLiteral("Judge")), QStringLiteral("HI 2   LO 2   PASS 2"));

    // Saved with limits and without: the same bytes (the judgement is never written).
    ASSERT_TRUE(doc->SaveFile(path(QStringLiteral("with.CSV"))));
    doc->setLimits(Limits{});
    ASSERT_TRUE(doc->SaveFile(path(QStringLiteral("without.CSV"))));
    EXPECT_EQ(readFile(path(QStringLiteral("with.CSV"))), readFile(path(QStringLiteral("without.CSV"))));
}

TEST_F(DocumentJudgementTest, AFailedOpenKeepsTheJudgementOfWhatWasThere)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->setLimits(band(4.5, 1));
    addSweep(*doc);
    const QString broken = writeFile(QStringLiteral("broken.CSV"), QByteArray("not a data file\r\n"));
    ASSERT_FALSE(doc->OpenFile(broken));
    EXPECT_EQ(doc->judgementCounts(), (JudgementCounts{3, 3, 5}));
    EXPECT_EQ(doc->judgement(7), Judgement::Hi);
}

TEST_F(DocumentJudgementTest, TheTableTellsWhichRowsAreOutOfLimits)
{
    auto doc = newDocument(DataKinds::Realtime);
    DocumentTableModel model(doc.get());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    addSweep(*doc);
    EXPECT_FALSE(model.data(model.index(0, 1), DocumentTableModel::JudgementRole).isValid());

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    doc->setLimits(band(4.5, 1));
    ASSERT_FALSE(changed.isEmpty());
    EXPECT_TRUE(changed.last().at(2).value<QList<int>>().contains(DocumentTableModel::JudgementRole));
    for (int column = 0; column < 3; ++column) {
        EXPECT_EQ(model.data(model.index(0, column), DocumentTableModel::JudgementRole).toInt(),
                  static_cast<int>(Judgement::Lo));
        EXPECT_EQ(model.data(model.index(6, column), DocumentTableModel::JudgementRole).toInt(),
                  static_cast<int>(Judgement::Hi));
    }
    EXPECT_FALSE(model.data(model.index(2, 1), DocumentTableModel::JudgementRole).isValid()); // PASS: no mark
    EXPECT_FALSE(model.data(model.index(4, 1), DocumentTableModel::JudgementRole).isValid()); // ERROR
    EXPECT_EQ(model.data(model.index(6, 1), Qt::ToolTipRole).toString(),
              QStringLiteral("HI: above the upper limit, 4.5VDC"));
    EXPECT_EQ(model.data(model.index(0, 1), Qt::ToolTipRole).toString(), QStringLiteral("LO: below the lower limit, 1VDC"));
}
