// The document model: making a document, adding readings, statistics and their texts,
// interval and period, the close question.

#include "DocumentTestSupport.h"

#include "document/UnitStatistics.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <QSignalSpy>

#include <cmath>

using namespace quvo;
using namespace quvo::test;

namespace {

class DataDocumentTest : public DocumentTest {};

QString n(int value)
{
    return QString::number(value);
}

} // namespace

// --- OpenNew ----------------------------------------------------------------------------------

TEST_F(DataDocumentTest, OpenNewRealtimeDocumentHasItsDefaults)
{
    programState().MeterModel = QStringLiteral("3");
    programState().PadRecords = true;
    auto doc = newDocument(DataKinds::Realtime);

    EXPECT_EQ(programState().MeterModel, QString());
    EXPECT_FALSE(programState().PadRecords);
    EXPECT_EQ(doc->kind(), 2);
    EXPECT_EQ(doc->Tag(), QStringLiteral("2"));
    EXPECT_EQ(doc->caption(), QStringLiteral("New1"));
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(doc->GetFilename(), QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Label")), QStringLiteral("REALTIME DATA"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("00d +00h +00m +05s"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Period")), QString());
    EXPECT_EQ(doc->GetInterval(), (TimeTexts{QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("05")}));
    const PeriodTexts p = doc->GetPeriod();
    EXPECT_EQ(p.none, QStringLiteral("True"));
    EXPECT_EQ(p.days + p.hours + p.minutes + p.seconds, QStringLiteral("00010000")); // one hour, kept
    EXPECT_TRUE(doc->GetPeriodnone());
    EXPECT_EQ(doc->GetIntervalcount(), 5);
    EXPECT_EQ(doc->GetPeriodcount(), 3600);
    EXPECT_EQ(doc->GetGraphcount(), QStringLiteral("20"));
    const AxisXTexts x = doc->GetAxisX();
    EXPECT_EQ(x.automatic + x.perLabel + x.perTick, QStringLiteral("True11"));
    EXPECT_EQ(doc->panelText(QStringLiteral("X")), QStringLiteral("Automatic"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Y")), QStringLiteral("Automatic"));
    EXPECT_TRUE(doc->axisY().automatic);
    EXPECT_EQ(doc->axisY().labelFormat, QString());

    EXPECT_EQ(doc->Rows(), 21);
    EXPECT_EQ(doc->TextMatrix(0, 0), QStringLiteral("No."));
    EXPECT_EQ(doc->TextMatrix(0, 1), QStringLiteral("TIME"));
    EXPECT_EQ(doc->TextMatrix(0, 2), QStringLiteral("DATA"));
    EXPECT_EQ(doc->TextMatrix(0, 3), QStringLiteral("MODE"));
    for (int row = 1; row <= 20; ++row) {
        EXPECT_EQ(doc->TextMatrix(row, 0), n(row));
        for (int col = 1; col <= 3; ++col)
            EXPECT_EQ(doc->TextMatrix(row, col), QString());
    }
    EXPECT_EQ(doc->GetDatacount(), 0);
    EXPECT_EQ(doc->statisticsByUnit(), 1);
    EXPECT_EQ(doc->statistics().unitCode, UnitCodes::None);
    EXPECT_EQ(doc->GetDispmax(true), QString());
    EXPECT_EQ(doc->GetDispavg(), QString());
}

TEST_F(DataDocumentTest, OpenNewShowsEachKindsTitleAndOnlyRealtimeSetsAnInterval)
{
    auto logging = newDocument(DataKinds::Logging);
    EXPECT_EQ(logging->panelText(QStringLiteral("Label")), QStringLiteral("LOGGING-mode DATA"));
    EXPECT_EQ(logging->panelText(QStringLiteral("Interval")), QString());
    EXPECT_EQ(logging->GetInterval(), TimeTexts{});
    EXPECT_EQ(logging->Tag(), QStringLiteral("0"));
    auto save = newDocument(DataKinds::Save);
    EXPECT_EQ(save->panelText(QStringLiteral("Label")), QStringLiteral("SAVE-mode DATA"));
    EXPECT_EQ(save->Tag(), QStringLiteral("4"));
    EXPECT_EQ(logging->caption(), QStringLiteral("New1"));
    EXPECT_EQ(save->caption(), QStringLiteral("New2"));
}

TEST_F(DataDocumentTest, NewCountRestartsAtOneAfterItsLargestValue)
{
    programState().NewCount = 32766;
    auto a = newDocument(DataKinds::Realtime);
    EXPECT_EQ(a->caption(), QStringLiteral("New32767"));
    auto b = newDocument(DataKinds::Realtime);
    EXPECT_EQ(b->caption(), QStringLiteral("New1"));
    EXPECT_EQ(programState().NewCount, 1);
}

TEST_F(DataDocumentTest, FixedPanelCaptionsAreTheTextsWithOneBlank)
{
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Max")), QStringLiteral("MAX "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Min")), QStringLiteral("MIN "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Avg")), QStringLiteral("AVG "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Interval")), QStringLiteral("INTERVAL "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Period")), QStringLiteral("PERIOD "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("X")), QStringLiteral("X axis "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Y")), QStringLiteral("Y axis "));
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Label")), QString());
    EXPECT_EQ(DataDocument::panelCaption(QStringLiteral("Judge")), QStringLiteral("JUDGE "));
    EXPECT_EQ(DataDocument::panelKeys(),
              (QStringList{QStringLiteral("Label"), QStringLiteral("Max"), QStringLiteral("Interval"), QStringLiteral("Min"),
                           QStringLiteral("Period"), QStringLiteral("Avg"), QStringLiteral("X"), QStringLiteral("Y"),
                           QStringLiteral("Judge")}));
}

// --- Statistics edge cases -----------------------------------------------------------------------

TEST_F(DataDocumentTest, OnlyNonNumericReadingsShowNoStatistics)
{
    auto doc = newDocument(DataKinds::Realtime);
    for (const char* v : {"ERROR", "+OL", "-OL", ""})
        addRealtime(*doc, QStringLiteral("12:00:00"), QString::fromLatin1(v), QStringLiteral("VDC"), false,
                    QString::fromLatin1(v));
    doc->DispCalculation();
    EXPECT_EQ(doc->GetDatacount(), 4);
    EXPECT_EQ(doc->GetDispmax(true), QString());
    EXPECT_EQ(doc->GetDispmin(true), QString());
    EXPECT_EQ(doc->GetDispavg(), QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Max")), QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QString());
    EXPECT_EQ(doc->statistics().chartMaxRow, 0);
}

TEST_F(DataDocumentTest, NonNumericReadingsKeepThePanelsPreviousTexts)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    const QString max = doc->panelText(QStringLiteral("Max"));
    EXPECT_EQ(max, QStringLiteral("No.[ 1 ]   TIME[ 12:00:00 ]   DATA[ 1.5 ]   MODE[ VDC ]"));
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("+OL"), QStringLiteral("VDC"), false, QStringLiteral("+OL"));
    doc->DispCalculation();
    EXPECT_EQ(doc->panelText(QStringLiteral("Max")), max);
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QStringLiteral("1.500000"));
    // A non-numeric reading of another unit empties them, and nothing fills them again.
    addRealtime(*doc, QStringLiteral("12:00:10"), QStringLiteral("ERROR"), QStringLiteral("VAC"), false, QStringLiteral("ERROR"));
    doc->DispCalculation();
    EXPECT_EQ(doc->panelText(QStringLiteral("Max")), QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Min")), QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QString());
    EXPECT_EQ(doc->statistics().unitCode, UnitCodes::Vac);
    EXPECT_EQ(doc->statistics().chartMaxRow, 1); // the chart markers stay
}

TEST_F(DataDocumentTest, EqualMaximaNameTheFirstRow)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("1");
    const char* values[] = {"5", "7", "7", "3", "3"};
    for (int i = 0; i < 5; ++i)
        addStored(*doc, QStringLiteral("00:00:0%1").arg(i), QString::fromLatin1(values[i]), QStringLiteral("VDC"),
                  QString::fromLatin1(values[i]));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 2 ]   TIME[ 00:00:01 ]   DATA[ 7 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispmin(true), QStringLiteral("No.[ 4 ]   TIME[ 00:00:03 ]   DATA[ 3 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispmax(false), QStringLiteral("TIME[ 00:00:01 ]   DATA[ 7 ]   MODE[ VDC ]"));
    // AddData leaves the panels to the caller.
    EXPECT_EQ(doc->panelText(QStringLiteral("Max")), QString());
    doc->DispCalculation();
    EXPECT_EQ(doc->panelText(QStringLiteral("Max")), doc->GetDispmax(true));
    EXPECT_EQ(doc->panelText(QStringLiteral("Min")), doc->GetDispmin(true));
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QStringLiteral("5.000000")); // VDC without exponent: range 1
}

TEST_F(DataDocumentTest, VacAfterVdcResetsTheAverage)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("5.0"), QStringLiteral("VDC"), true, QStringLiteral("5.0"));
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("0.1234"), QStringLiteral("VAC"), true,
                QStringLiteral("123.4E-3"));
    EXPECT_EQ(doc->statistics().numericCount, 1);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("123.400E-3"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QStringLiteral("123.400E-3"));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 2 ]   TIME[ 12:00:05 ]   DATA[ 0.1234 ]   MODE[ VAC ]"));
    EXPECT_EQ(doc->statistics().chartMaxRow, 1); // the chart still knows the 5 V reading

    auto plain = newDocument(DataKinds::Realtime);
    addRealtime(*plain, QStringLiteral("12:00:00"), QStringLiteral("0.1234"), QStringLiteral("VAC"), true,
                QStringLiteral("0.1234"));
    EXPECT_EQ(plain->GetDispavg(), QStringLiteral("0.12340"));
}

TEST_F(DataDocumentTest, RangeRisesOnceAndStays)
{
    auto doc = newDocument(DataKinds::Realtime);
    for (int i = 0; i < 4; ++i)
        addRealtime(*doc, QStringLiteral("12:00:0%1").arg(i), QStringLiteral("1.000E-3"), QStringLiteral("VDC"), true,
                    QStringLiteral("1.000E-3"));
    EXPECT_EQ(doc->statistics().rangeIndex, 0);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("1.000E-3"));
    addRealtime(*doc, QStringLiteral("12:00:04"), QStringLiteral("0.002"), QStringLiteral("VDC"), true, QStringLiteral("0.002"));
    EXPECT_EQ(doc->statistics().rangeIndex, 1);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("0.001200")); // (4 x 0.001 + 0.002) / 5, "0.000000"
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("1.000E-3"), QStringLiteral("VDC"), true,
                QStringLiteral("1.000E-3"));
    EXPECT_EQ(doc->statistics().rangeIndex, 1);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("0.001167")); // 0.007 / 6 = 0.0011666...
}

TEST_F(DataDocumentTest, FaradWithoutExponentIsAveragedPlain)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("F"), true, QStringLiteral("1.5"));
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("2.0"), QStringLiteral("F"), true, QStringLiteral("2.0"));
    EXPECT_EQ(doc->statistics().unitCode, UnitCodes::Celsius);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("1.750"));
}

TEST_F(DataDocumentTest, ModelTwoNumbersLoggingRowsFromZero)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("2");
    addStored(*doc, QStringLiteral("00:00:00"), QStringLiteral("9.5"), QStringLiteral("VDC"), QStringLiteral("9.5"));
    addStored(*doc, QStringLiteral("00:00:10"), QStringLiteral("1.5"), QStringLiteral("VDC"), QStringLiteral("1.5"));
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("0"));
    EXPECT_EQ(doc->TextMatrix(2, 0), QStringLiteral("1"));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 0 ]   TIME[ 00:00:00 ]   DATA[ 9.5 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispmin(true), QStringLiteral("No.[ 1 ]   TIME[ 00:00:10 ]   DATA[ 1.5 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("5.500000"));
    EXPECT_EQ(doc->modeCode(), QStringLiteral("2"));
}

TEST_F(DataDocumentTest, ModelOneNumbersRowsFromOne)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("1");
    addStored(*doc, QStringLiteral("00:00:00"), QStringLiteral("9.5"), QStringLiteral("VDC"), QStringLiteral("9.5"));
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("1"));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 1 ]   TIME[ 00:00:00 ]   DATA[ 9.5 ]   MODE[ VDC ]"));
}

TEST_F(DataDocumentTest, SaveModeMaxHasNoTimeEvenWithoutTheNumberFlag)
{
    auto doc = newDocument(DataKinds::Save);
    programState().MeterModel = QStringLiteral("0");
    addStored(*doc, QString(), QStringLiteral("2.5"), QStringLiteral("ADC"), QStringLiteral("2.5"));
    addStored(*doc, QString(), QString(), QString(), QString()); // an empty slot
    EXPECT_EQ(doc->GetDispmax(false), QStringLiteral("No.[ 1 ]   DATA[ 2.5 ]   MODE[ ADC ]"));
    EXPECT_EQ(doc->GetDispmin(true), QStringLiteral("No.[ 1 ]   DATA[ 2.5 ]   MODE[ ADC ]"));
    EXPECT_EQ(doc->GetDatacount(), 2);
}

TEST_F(DataDocumentTest, ClassificationAndAverageTakeTheModelCopy)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("4");
    addStored(*doc, QStringLiteral("00:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), QStringLiteral("1.5"));
    EXPECT_EQ(doc->modeCode(), QStringLiteral("4"));
    programState().MeterModel = QStringLiteral("5");
    doc->GetDispavg();
    EXPECT_EQ(doc->modeCode(), QStringLiteral("5"));
    programState().MeterModel = QStringLiteral("3");
    doc->ClassifyUnit(QStringLiteral("OHM"), QStringLiteral("1.2"));
    EXPECT_EQ(doc->modeCode(), QStringLiteral("3"));
}

TEST_F(DataDocumentTest, OhmAverageDependsOnTheModel)
{
    for (const auto& [model, expected] : {std::pair{"3", "123.5"}, std::pair{"4", "123.500"}}) {
        auto doc = newDocument(DataKinds::Logging);
        programState().MeterModel = QString::fromLatin1(model);
        addStored(*doc, QStringLiteral("00:00:00"), QStringLiteral("123.5"), QStringLiteral("OHM"), QStringLiteral("123.5"));
        EXPECT_EQ(doc->GetDispavg(), QString::fromLatin1(expected)) << model;
    }
}

TEST_F(DataDocumentTest, EmptyModeWordLeavesTheUnitAlone)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("ERROR"), QString(), false, QStringLiteral("ERROR"));
    EXPECT_EQ(doc->statistics().unitCode, UnitCodes::Vdc);
    EXPECT_EQ(doc->statistics().numericCount, 1);
}

TEST_F(DataDocumentTest, WithoutUnitStatisticsNothingIsClassified)
{
    // A one-character first line gives a document without statistics by unit; build one.
    const QString file = writeFile(QStringLiteral("flag0.CSV"),
                                   crlf({"2", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "20", "True,1,1",
                                         "True,0,10,1,1", "12:00:00,1.5,VDC", "12:00:05,2.5,VAC"}));
    auto opened = openedDocument(file);
    EXPECT_EQ(opened->statisticsByUnit(), 0);
    EXPECT_EQ(opened->statistics().unitCode, UnitCodes::None);
    EXPECT_EQ(opened->statistics().numericCount, 2);
    EXPECT_EQ(opened->GetDispavg(), QStringLiteral("2.0000"));
    opened->SetUnitRange(QStringLiteral("VAC"), QStringLiteral("1.2"));
    EXPECT_EQ(opened->statistics().unitCode, UnitCodes::None);
}

// --- Adding readings ----------------------------------------------------------------------------

TEST_F(DataDocumentTest, AddDataNeedsTheGridRowFirstAndChangesNothingWhenRefused)
{
    auto doc = newDocument(DataKinds::Logging);
    for (int i = 1; i <= 20; ++i)
        doc->AddData(QStringLiteral("00:00:00"), n(i), QStringLiteral("VDC"), n(i)); // rows 1..20 exist
    EXPECT_EQ(doc->GetDatacount(), 20);
    EXPECT_THROW(doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), QStringLiteral("1")),
                 RuntimeError);
    EXPECT_EQ(doc->GetDatacount(), 20);
    EXPECT_TRUE(doc->AddGridrow());
    EXPECT_EQ(doc->Rows(), 22);
    EXPECT_TRUE(doc->AddGridrow()); // already room: no second row
    EXPECT_EQ(doc->Rows(), 22);
    doc->AddData(QStringLiteral("00:00:21"), QStringLiteral("21"), QStringLiteral("VDC"), QStringLiteral("21"));
    EXPECT_EQ(doc->GetDatacount(), 21);
}

TEST_F(DataDocumentTest, AValueThatIsNotANumberIsRefusedWithoutChange)
{
    auto doc = newDocument(DataKinds::Logging);
    doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), QStringLiteral("1.5"));
    try {
        doc->AddData(QStringLiteral("00:00:01"), QStringLiteral("1.2.3"), QStringLiteral("VAC"), QStringLiteral("1.2.3"));
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.description(), QStringLiteral("The reading \"1.2.3\" is not a number."));
    }
    EXPECT_EQ(doc->GetDatacount(), 1);
    EXPECT_EQ(doc->TextMatrix(2, 2), QString());
    EXPECT_EQ(doc->statistics().unitCode, UnitCodes::Vdc);
}

TEST_F(DataDocumentTest, ADocumentHoldsAtMost32767Readings)
{
    auto doc = newDocument(DataKinds::Logging);
    for (int i = 1; i <= MaxReadings; ++i) {
        ASSERT_TRUE(doc->AddGridrow()) << i;
        doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), QStringLiteral("1"));
    }
    EXPECT_EQ(doc->GetDatacount(), 32767);
    EXPECT_EQ(doc->Rows(), 32768);
    programState().LastError.clear();
    EXPECT_FALSE(doc->AddGridrow());
    EXPECT_EQ(programState().LastError, QStringLiteral("The document cannot hold more than 32767 readings."));
    try {
        doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), QStringLiteral("1"));
        FAIL() << "row 32768 was stored";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.description(), QStringLiteral("The document cannot hold more than 32767 readings."));
    }
    EXPECT_THROW(doc->AddRealtimedata(QStringLiteral("00:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), true,
                                      QStringLiteral("1")),
                 RuntimeError);
    EXPECT_EQ(doc->GetDatacount(), 32767);
    EXPECT_EQ(doc->rawText(32767), QStringLiteral("1"));
}

TEST_F(DataDocumentTest, PaddingRecordsOnlyRelabelRows)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("3");
    programState().PadRecords = true;
    for (int i = 0; i < 20; ++i)
        doc->AddData({}, {}, {}, {});
    programState().PadRecords = false;
    EXPECT_EQ(doc->GetDatacount(), 0);
    for (int row = 1; row <= 20; ++row)
        EXPECT_EQ(doc->TextMatrix(row, 0), n(row - 1));
    EXPECT_FALSE(doc->isUnchanged());
    doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1.0"), QStringLiteral("VDC"), QStringLiteral("1.0"));
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("0"));
}

TEST_F(DataDocumentTest, PaddingWithModelZeroOrOneRewritesTheLastRowsLabel)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("1");
    programState().PadRecords = true;
    doc->AddData({}, {}, {}, {});
    EXPECT_EQ(doc->TextMatrix(20, 0), QStringLiteral("0")); // the reading count
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("1"));
    EXPECT_EQ(doc->GetDatacount(), 0);
}

TEST_F(DataDocumentTest, RealtimeRowsAreAlwaysLabelledWithTheCount)
{
    auto doc = newDocument(DataKinds::Realtime);
    programState().MeterModel = QStringLiteral("3");
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("1"));
    EXPECT_EQ(doc->rawText(1), QStringLiteral("1.5"));
}

TEST_F(DataDocumentTest, ReadingsAndSettingsClearTheUnchangedFlag)
{
    const std::vector<std::pair<const char*, std::function<void(DataDocument&)>>> changes = {
        {"AddData", [](DataDocument& d) { d.AddData({}, QStringLiteral("1"), QStringLiteral("V"), QStringLiteral("1")); }},
        {"AddRealtimedata",
         [](DataDocument& d) { d.AddRealtimedata({}, QStringLiteral("1"), QStringLiteral("V"), true, QStringLiteral("1")); }},
        {"SetInterval", [](DataDocument& d) { d.SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01")); }},
        {"SetPeriod", [](DataDocument& d) { d.SetPeriod(true, {}, {}, {}, {}); }},
        {"SetGraphcount", [](DataDocument& d) { d.SetGraphcount(30); }},
        {"SetAxisX", [](DataDocument& d) { d.SetAxisX(true, 1, 1); }},
        {"SetAxisY", [](DataDocument& d) { d.SetAxisY(true, QStringLiteral("0"), QStringLiteral("10"), 1, 1); }},
    };
    for (const auto& [name, change] : changes) {
        auto doc = newDocument(DataKinds::Realtime);
        ASSERT_TRUE(doc->isUnchanged());
        change(*doc);
        EXPECT_FALSE(doc->isUnchanged()) << name;
    }
    auto doc = newDocument(DataKinds::Logging);
    doc->DispInterval(QStringLiteral("10"));
    doc->DispCalculation();
    doc->PaintGraphtop();
    EXPECT_TRUE(doc->isUnchanged());
}

// --- Interval and period ---------------------------------------------------------------------------

TEST_F(DataDocumentTest, IntervalCountIsTheSumOfItsParts)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->SetInterval(QStringLiteral("01"), QStringLiteral("02"), QStringLiteral("03"), QStringLiteral("04"));
    EXPECT_EQ(doc->GetIntervalcount(), 93784); // 1 x 86400 + 2 x 3600 + 3 x 60 + 4
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("01d +02h +03m +04s"));
}

TEST_F(DataDocumentTest, IntervalCountOverflowIsAnError)
{
    auto doc = newDocument(DataKinds::Realtime);
    const auto count = [&](const char* d, const char* h, const char* m, const char* s) {
        doc->SetInterval(QString::fromLatin1(d), QString::fromLatin1(h), QString::fromLatin1(m), QString::fromLatin1(s));
        return doc->GetIntervalcount();
    };
    EXPECT_EQ(count("24855", "0", "0", "0"), 24855 * 86400);         // 2147472000 fits
    EXPECT_THROW(count("24856", "0", "0", "0"), RuntimeError);        // the product overflows
    EXPECT_THROW(count("0", "596524", "0", "0"), RuntimeError);       // 596524 x 3600 overflows
    EXPECT_THROW(count("24855", "23", "0", "0"), RuntimeError);       // the sum overflows
    EXPECT_EQ(count("24855", "0", "0", "11647"), 2147483647);         // the largest count
    EXPECT_THROW(count("24855", "0", "0", "11648"), RuntimeError);    // one second more
    EXPECT_THROW(count("0", "0", "32768", "0"), RuntimeError);        // minutes are 16-bit
    EXPECT_THROW(count("0", "0", "0", "40000"), RuntimeError);        // seconds are 16-bit
    EXPECT_EQ(count("0", "0", "32767", "0"), 32767 * 60);
    EXPECT_THROW(count("", "0", "0", "1"), RuntimeError);             // not a number
    EXPECT_EQ(count("-1", "24", "0", "5"), 5);
    try {
        count("24856", "0", "0", "0");
    } catch (const RuntimeError& e) {
        EXPECT_TRUE(e.description().contains(QStringLiteral("too long"))) << e.description().toStdString();
    }
}

TEST_F(DataDocumentTest, PeriodTextsAreKeptWhileTheNoneFlagIsSet)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->SetPeriod(true, QStringLiteral("05"), QStringLiteral("05"), QStringLiteral("05"), QStringLiteral("05"));
    EXPECT_EQ(doc->GetPeriodcount(), 3600);
    EXPECT_EQ(doc->panelText(QStringLiteral("Period")), QString());
    doc->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("10"), QStringLiteral("00"));
    EXPECT_FALSE(doc->GetPeriodnone());
    EXPECT_EQ(doc->GetPeriodcount(), 600);
    EXPECT_EQ(doc->panelText(QStringLiteral("Period")), QStringLiteral("00d +00h +10m +00s"));
    EXPECT_EQ(doc->GetPeriod().none, QStringLiteral("False"));
    doc->SetPeriod(true, {}, {}, {}, {});
    EXPECT_EQ(doc->GetPeriod().minutes, QStringLiteral("10"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Period")), QString());
}

TEST_F(DataDocumentTest, DispIntervalSetsOnlyTheSeconds)
{
    auto doc = newDocument(DataKinds::Logging);
    doc->DispInterval(QStringLiteral("0010"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("0010s"));
    EXPECT_EQ(doc->GetInterval().seconds, QStringLiteral("0010"));
    EXPECT_EQ(doc->GetInterval().days, QString());
}

// --- Close question ---------------------------------------------------------------------------------

TEST_F(DataDocumentTest, CloseDuringARecordingDoesNothing)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1"), QStringLiteral("V"), true, QStringLiteral("1"));
    int saves = 0;
    for (int state : {0, 1, 2, 3, 4, 5, 6}) {
        programState().CommState = state;
        EXPECT_FALSE(doc->queryClose(prompter, [&] { ++saves; })) << state;
    }
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(saves, 0);
}

TEST_F(DataDocumentTest, CloseWhenIdleAsksOnce)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1"), QStringLiteral("V"), true, QStringLiteral("1"));
    prompter.answers = {PromptAnswer::Cancel};
    EXPECT_FALSE(doc->queryClose(prompter, [] {}));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text,
              QStringLiteral("New1\r\nDo you want to save the changes you made to this file?"));
    EXPECT_EQ(prompter.messages[0].buttons, PromptButtons::YesNoCancel);
    EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);

    // Yes with a save that fails: stays open.
    prompter.answers = {PromptAnswer::Yes};
    int saves = 0;
    EXPECT_FALSE(doc->queryClose(prompter, [&] { ++saves; }));
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(prompter.messages.size(), 2);

    // Yes with a save that works: closes.
    prompter.answers = {PromptAnswer::Yes};
    const QString target = path(QStringLiteral("closing.CSV"));
    EXPECT_TRUE(doc->queryClose(prompter, [&] { doc->SaveFile(target); }));
    EXPECT_EQ(prompter.messages.size(), 3);
    EXPECT_TRUE(QFile::exists(target));

    // Unchanged: no question.
    EXPECT_TRUE(doc->queryClose(prompter, [] {}));
    EXPECT_EQ(prompter.messages.size(), 3);
}

TEST_F(DataDocumentTest, CloseAnsweredNoDiscards)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->SetGraphcount(30);
    prompter.answers = {PromptAnswer::No};
    int saves = 0;
    EXPECT_TRUE(doc->queryClose(prompter, [&] { ++saves; }));
    EXPECT_EQ(saves, 0);
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(prompter.messages.size(), 1);
}

// --- Signals -------------------------------------------------------------------------------------------

TEST_F(DataDocumentTest, SignalsTellAViewWhatChanged)
{
    auto doc = newDocument(DataKinds::Realtime);
    QSignalSpy appended(doc.get(), &DataDocument::rowsAppended);
    QSignalSpy changed(doc.get(), &DataDocument::rowsChanged);
    QSignalSpy panels(doc.get(), &DataDocument::panelTextChanged);
    QSignalSpy chart(doc.get(), &DataDocument::chartChanged);
    QSignalSpy realtimeRow(doc.get(), &DataDocument::realtimeRowAdded);
    QSignalSpy progress(doc.get(), &DataDocument::progressChanged);
    QSignalSpy caption(doc.get(), &DataDocument::captionChanged);

    doc->IniProgress(10);
    for (int i = 1; i <= 21; ++i)
        addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    ASSERT_EQ(appended.size(), 1); // only the 21st reading needed a new row
    EXPECT_EQ(appended[0][0].toInt(), 21);
    EXPECT_EQ(appended[0][1].toInt(), 21);
    EXPECT_EQ(changed.size(), 21);
    EXPECT_EQ(changed.last()[0].toInt(), 21);
    EXPECT_EQ(realtimeRow.size(), 21);
    EXPECT_EQ(realtimeRow.last()[0].toInt(), 21);
    EXPECT_EQ(chart.size(), 21);
    EXPECT_EQ(progress.size(), 11); // IniProgress, then 10 steps up to the maximum
    EXPECT_EQ(doc->progressValue(), 10);
    // Max, Min and Avg the first time; after that the MAX/MIN texts stay (row 1 keeps them).
    QStringList keys;
    for (const auto& call : panels)
        keys << call[0].toString();
    EXPECT_TRUE(keys.contains(QStringLiteral("Max")));
    EXPECT_TRUE(keys.contains(QStringLiteral("Avg")));
    EXPECT_EQ(keys.count(QStringLiteral("Max")), 1);

    doc->SaveFile(path(QStringLiteral("signals.CSV")));
    ASSERT_EQ(caption.size(), 1);
    EXPECT_EQ(caption[0][0].toString(), path(QStringLiteral("signals.CSV")));
}

TEST_F(DataDocumentTest, SameResultsUnderDecimalCommaLocale)
{
    LocaleGuard german("de_DE.UTF-8");
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("0.1234"), QStringLiteral("VAC"), true,
                QStringLiteral("123.4E-3"));
    addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("0.2"), QStringLiteral("VAC"), true, QStringLiteral("200.0E-3"));
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("161.700E-3"));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 2 ]   TIME[ 12:00:05 ]   DATA[ 0.2 ]   MODE[ VAC ]"));
    doc->SetInterval(QStringLiteral("01"), QStringLiteral("02"), QStringLiteral("03"), QStringLiteral("04"));
    EXPECT_EQ(doc->GetIntervalcount(), 93784);
}
