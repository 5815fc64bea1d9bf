// The data file: field splitting, time field checks, what is written, how it reads back,
// round trips, and OpenFile/SaveFile as the window sees them.

#include "DocumentTestSupport.h"

#include "document/DataFile.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

using namespace quvo;
using namespace quvo::test;

namespace {

class DataFileTest : public DocumentTest {
protected:
    // A new realtime document with three readings, as a short recording leaves it.
    std::unique_ptr<DataDocument> threeReadings()
    {
        auto doc = newDocument(DataKinds::Realtime);
        addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
        addRealtime(*doc, QStringLiteral("12:00:05"), QStringLiteral("2.25"), QStringLiteral("VDC"), true, QStringLiteral("2.25"));
        addRealtime(*doc, QStringLiteral("12:00:10"), QStringLiteral("0.75"), QStringLiteral("VDC"), true, QStringLiteral("0.75"));
        return doc;
    }

    static QStringList header(const char* line1, const char* line3, const char* line4, const char* line7 = "False,0,10,1,1")
    {
        return {QString::fromLatin1(line1), QStringLiteral("9000,6000,0"), QString::fromLatin1(line3),
                QString::fromLatin1(line4), QStringLiteral("20"), QStringLiteral("True,1,1"), QString::fromLatin1(line7)};
    }

    static QStringList repeat(const char* line, int times)
    {
        QStringList out;
        for (int i = 0; i < times; ++i)
            out << QString::fromLatin1(line);
        return out;
    }

    QString savedBy(DataDocument& doc, const QString& name)
    {
        const QString target = path(name);
        EXPECT_TRUE(doc.SaveFile(target)) << programState().LastError.toStdString();
        return target;
    }
};

} // namespace

// --- Fields ------------------------------------------------------------------------------------

TEST(SplitFields, WrapsAroundWhenTheLineHasFewerFields)
{
    EXPECT_EQ(SplitFields(QStringLiteral("a,b"), 4), (QStringList{"a", "b", "a", "b"}));
    EXPECT_EQ(SplitFields(QStringLiteral("12:00:01,1.234"), 4), (QStringList{"12:00:01", "1.234", "12:00:01", "1.234"}));
    EXPECT_EQ(SplitFields(QStringLiteral("a"), 3), (QStringList{"a", "a", "a"}));
    EXPECT_EQ(SplitFields(QStringLiteral("a,"), 3), (QStringList{"a", "", "a"}));
    EXPECT_EQ(SplitFields(QStringLiteral(",,,"), 4), (QStringList{"", "", "", ""}));
    EXPECT_EQ(SplitFields(QString(), 3), (QStringList{"", "", ""}));
    EXPECT_EQ(SplitFields(QStringLiteral("a,b,c,d,e"), 3), (QStringList{"a", "b", "c"}));
    EXPECT_EQ(SplitFields(QStringLiteral("a,b,c"), 5), (QStringList{"a", "b", "c", "a", "b"}));
}

TEST(CheckTimeFields, RangesTotalAndTwoDigits)
{
    const auto check = [](const char* d, const char* h, const char* m, const char* s, QStringList* out = nullptr) {
        QString days = QString::fromLatin1(d), hours = QString::fromLatin1(h), minutes = QString::fromLatin1(m),
                seconds = QString::fromLatin1(s);
        const bool ok = CheckTimeFields(days, hours, minutes, seconds);
        if (out)
            *out = {days, hours, minutes, seconds};
        return ok;
    };
    QStringList out;
    EXPECT_TRUE(check("1", "0", "0", "0", &out));
    EXPECT_EQ(out, (QStringList{"01", "00", "00", "00"}));
    EXPECT_TRUE(check("99", "23", "59", "59", &out));
    EXPECT_EQ(out, (QStringList{"99", "23", "59", "59"}));
    EXPECT_TRUE(check("000", "005", "0", "0", &out));
    EXPECT_EQ(out, (QStringList{"00", "05", "00", "00"}));
    EXPECT_FALSE(check("0", "0", "0", "0"));     // total zero
    EXPECT_FALSE(check("100", "0", "0", "1"));   // days 0-99
    EXPECT_FALSE(check("0", "24", "0", "1"));    // hours 0-23
    EXPECT_FALSE(check("0", "0", "60", "1"));    // minutes 0-59
    EXPECT_FALSE(check("0", "0", "0", "60"));    // seconds 0-59
    EXPECT_FALSE(check("-1", "0", "0", "5"));
    EXPECT_FALSE(check("x", "0", "0", "5"));
    EXPECT_FALSE(check("", "0", "0", "5"));
    EXPECT_FALSE(check("True", "00", "01", "00"));
}

// --- What is written ----------------------------------------------------------------------------

TEST_F(DataFileTest, NewRealtimeDocumentWithThreeReadings)
{
    auto doc = threeReadings();
    const QString target = savedBy(*doc, QStringLiteral("three.CSV"));
    const QByteArray expected =
        crlf(QStringList{"21,0", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "20", "True,1,1",
                         "True,0.5,2.5,1,1", // the automatic scale around 0.75..2.25
                         "12:00:00,1.5,VDC,1.5", "12:00:05,2.25,VDC,2.25", "12:00:10,0.75,VDC,0.75"}
             + repeat(",,,", 17));
    EXPECT_EQ(readFile(target), expected);
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(doc->GetFilename(), target);
    EXPECT_EQ(doc->caption(), target);
    EXPECT_FALSE(workFileExists());

    // Read back: three readings, rows 4 to 20 numbered and empty; the period passes the check.
    auto back = openedDocument(target);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(back->GetDatacount(), 3);
    EXPECT_EQ(back->Rows(), 21);
    for (int row = 4; row <= 20; ++row) {
        EXPECT_EQ(back->TextMatrix(row, 0), QString::number(row));
        for (int col = 1; col <= 3; ++col)
            EXPECT_EQ(back->TextMatrix(row, col), QString());
    }
    EXPECT_TRUE(back->GetPeriodnone());
    EXPECT_EQ(back->GetPeriodcount(), 3600);
    EXPECT_EQ(back->GetIntervalcount(), 5);
    EXPECT_EQ(back->panelText(QStringLiteral("Max")), QStringLiteral("No.[ 2 ]   TIME[ 12:00:05 ]   DATA[ 2.25 ]   MODE[ VDC ]"));
    EXPECT_EQ(back->panelText(QStringLiteral("Avg")), QStringLiteral("1.500000"));

    // And it writes the same bytes again.
    const QString again = savedBy(*back, QStringLiteral("again.CSV"));
    EXPECT_EQ(readFile(again), expected);
}

TEST_F(DataFileTest, OneCharacterKindLineReadsWithoutUnitStatisticsAndSavesAsARefusedLine)
{
    const QString file = writeFile(QStringLiteral("flag0.CSV"),
                                   crlf(header("2", "00,00,00,05", "True,00,01,00,00") + QStringList{"12:00:00,1.5,VDC"}
                                        + repeat(",,", 19)));
    auto doc = openedDocument(file);
    ASSERT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(doc->statisticsByUnit(), 0);
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("1.5000"));

    const QString saved = savedBy(*doc, QStringLiteral("flag0-saved.CSV"));
    const QByteArray bytes = readFile(saved);
    EXPECT_TRUE(bytes.startsWith("2,0\r\n")) << bytes.left(20).toStdString();
    EXPECT_TRUE(bytes.contains("\r\n12:00:00,1.5,VDC\r\n,,\r\n"));

    auto again = openedDocument(saved);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text, QStringLiteral("This file is a different data type.\r\n") + saved);
    EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
    EXPECT_EQ(again->GetDatacount(), 0);
}

TEST_F(DataFileTest, LoggingFileOfModelThreeNumbersFromZero)
{
    const QString file = writeFile(
        QStringLiteral("log3.CSV"),
        crlf(header("01,3", ",,,10", "False,00,01,00,00")
             + QStringList{"00:00:00,1.5,VDC,1.5", "00:00:10,2.5,VDC,2.5", "00:00:20,3.5,VDC,3.5", "00:00:30,ERROR,,ERROR",
                           "00:00:40,0.5,VDC,0.5"}
             + repeat(",,,", 15)));
    auto doc = openedDocument(file);
    ASSERT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(programState().MeterModel, QStringLiteral("3"));
    EXPECT_EQ(doc->GetDatacount(), 5);
    for (int row = 1; row <= 20; ++row)
        EXPECT_EQ(doc->TextMatrix(row, 0), QString::number(row - 1)) << row;
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("10s"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Label")), QStringLiteral("LOGGING-mode DATA"));
    EXPECT_EQ(doc->GetDispmax(true), QStringLiteral("No.[ 2 ]   TIME[ 00:00:20 ]   DATA[ 3.5 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispmin(true), QStringLiteral("No.[ 4 ]   TIME[ 00:00:40 ]   DATA[ 0.5 ]   MODE[ VDC ]"));
    EXPECT_EQ(doc->GetDispavg(), QStringLiteral("2.000000"));
    EXPECT_EQ(readFile(savedBy(*doc, QStringLiteral("log3-saved.CSV"))), readFile(file)); // byte for byte
}

TEST_F(DataFileTest, RelabellingIsOnlyForModelsTwoToFive)
{
    for (const char* model : {"0", "1", "7"}) {
        const QString file = writeFile(QStringLiteral("log%1.CSV").arg(QLatin1String(model)),
                                       crlf(header(QByteArray("01,").append(model).constData(), ",,,10",
                                                   "False,00,01,00,00")
                                            + QStringList{"00:00:00,1.5,VDC,1.5", "00:00:10,2.5,VDC,2.5"}
                                            + repeat(",,,", 18)));
        auto doc = openedDocument(file);
        const bool fromZero = QByteArray(model) == "7"; // numbered from 0 by AddData, not relabelled
        EXPECT_EQ(doc->TextMatrix(1, 0), fromZero ? QStringLiteral("0") : QStringLiteral("1")) << model;
        EXPECT_EQ(doc->TextMatrix(2, 0), fromZero ? QStringLiteral("1") : QStringLiteral("2")) << model;
        for (int row = 3; row <= 20; ++row)
            EXPECT_EQ(doc->TextMatrix(row, 0), QString::number(row)) << model << " row " << row;
    }
}

TEST_F(DataFileTest, TwoFieldRowWrapsAroundIntoModeAndRaw)
{
    const QString file = writeFile(QStringLiteral("wrap.CSV"),
                                   crlf(header("01,0", ",,,", "False,00,01,00,00") + QStringList{"12:00:01,1.234"}));
    auto doc = openedDocument(file);
    ASSERT_EQ(doc->GetDatacount(), 1);
    EXPECT_EQ(doc->TextMatrix(1, 1), QStringLiteral("12:00:01"));
    EXPECT_EQ(doc->TextMatrix(1, 2), QStringLiteral("1.234"));
    EXPECT_EQ(doc->TextMatrix(1, 3), QStringLiteral("12:00:01"));
    EXPECT_EQ(doc->rawText(1), QStringLiteral("1.234"));
}

TEST_F(DataFileTest, RealtimeIntervalChecks)
{
    const QString zero = writeFile(QStringLiteral("zero.CSV"), crlf(header("21,0", "0,0,0,0", "True,00,01,00,00")));
    auto refused = openedDocument(zero);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text, QStringLiteral("This file is a different data type.\r\n") + zero);

    const QString one = writeFile(QStringLiteral("one.CSV"), crlf(header("21,0", "1,0,0,0", "True,00,01,00,00")));
    auto doc = openedDocument(one);
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(doc->GetInterval(), (TimeTexts{"01", "00", "00", "00"}));
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("01d +00h +00m +00s"));

    // The period is checked the same way, and only its four texts are stored when set.
    const QString period = writeFile(QStringLiteral("period.CSV"), crlf(header("21,0", "0,0,0,5", "False,0,2,0,0")));
    auto withPeriod = openedDocument(period);
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_FALSE(withPeriod->GetPeriodnone());
    EXPECT_EQ(withPeriod->GetPeriodcount(), 7200);
    EXPECT_EQ(withPeriod->GetPeriod().hours, QStringLiteral("02"));
    const QString badPeriod = writeFile(QStringLiteral("badperiod.CSV"), crlf(header("21,0", "0,0,0,5", "False,0,24,0,0")));
    auto refusedPeriod = openedDocument(badPeriod);
    ASSERT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(prompter.messages[1].text, QStringLiteral("This file is a different data type.\r\n") + badPeriod);
}

TEST_F(DataFileTest, KindLineRefusals)
{
    // Kinds 1 (anything unrecognised) and 3, and a second character other than "1".
    for (const char* line1 : {"11,0", "31,0", "3", "x1,0", "51,0", "", "2,0", "20,0", "0x,1", "4,0"}) {
        prompter.messages.clear();
        const QString file = writeFile(QStringLiteral("kind.CSV"), crlf(header(line1, "00,00,00,05", "True,00,01,00,00")));
        auto doc = openedDocument(file);
        ASSERT_EQ(prompter.messages.size(), 1) << line1;
        EXPECT_EQ(prompter.messages[0].text, QStringLiteral("This file is a different data type.\r\n") + file) << line1;
        EXPECT_EQ(doc->GetDatacount(), 0);
    }
    for (const char* line1 : {"0", "4", "2", "01", "41", "21"}) {
        prompter.messages.clear();
        const QString file = writeFile(QStringLiteral("kind.CSV"), crlf(header(line1, "00,00,00,05", "True,00,01,00,00")));
        auto doc = openedDocument(file);
        EXPECT_TRUE(prompter.messages.isEmpty()) << line1 << ": " << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
        EXPECT_EQ(programState().MeterModel, QStringLiteral("0")) << line1; // no comma: "0"
    }
}

TEST_F(DataFileTest, MeterModelIsTheLastCharacterOfTheKindLine)
{
    const QString file = writeFile(QStringLiteral("model.CSV"), crlf(header("41,5", ",,,", "False,00,01,00,00")));
    auto doc = openedDocument(file);
    EXPECT_EQ(programState().MeterModel, QStringLiteral("5"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Label")), QStringLiteral("SAVE-mode DATA"));
    // Relabelled from 0 (model 5, no readings): rows 1..20 show 0..19.
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("0"));
    EXPECT_EQ(doc->TextMatrix(20, 0), QStringLiteral("19"));
}

TEST_F(DataFileTest, ACommaAsTheModelCodeIsSavedAndReadBack)
{
    // "01,5E+6," holds a ",": the model code is its last character, the comma. Numerically
    // it is 0, so the rows are numbered from 1. The document saves with the same first line
    // ending in the comma, which reads back as the same model.
    QByteArray bytes = crlf(header("01,5E+6,", ",,,", "x") + QStringList{"00:00:00,1.5,VDC,1.5"});
    const QString file = writeFile(QStringLiteral("comma.CSV"), bytes);
    auto doc = openedDocument(file);
    EXPECT_EQ(programState().MeterModel, QStringLiteral(","));
    EXPECT_EQ(doc->TextMatrix(1, 0), QStringLiteral("1"));
    const QByteArray saved = readFile(savedBy(*doc, QStringLiteral("comma2.CSV")));
    EXPECT_TRUE(saved.startsWith("01,,\r\n")) << saved.left(10).toStdString();
    programState().MeterModel.clear();
    auto again = openedDocument(path(QStringLiteral("comma2.CSV")));
    EXPECT_EQ(programState().MeterModel, QStringLiteral(","));
    EXPECT_EQ(again->GetDatacount(), 1);
}

TEST_F(DataFileTest, LoggingIntervalLineGivesOnlyTheSeconds)
{
    const QString with = writeFile(QStringLiteral("li.CSV"), crlf(header("01,0", "9,9,9,0030", "x")));
    auto doc = openedDocument(with);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("0030s"));
    EXPECT_EQ(doc->GetInterval(), (TimeTexts{QString(), QString(), QString(), QStringLiteral("0030")}));
    const QString without = writeFile(QStringLiteral("li0.CSV"), crlf(header("01,0", "1,2,3,", "x")));
    auto none = openedDocument(without);
    EXPECT_EQ(none->panelText(QStringLiteral("Interval")), QString());
}

TEST_F(DataFileTest, SaveModeIgnoresIntervalAndPeriodLinesAndKeepsEmptyRows)
{
    const QString file = writeFile(QStringLiteral("save.CSV"),
                                   crlf(header("41,0", "anything", "at all") + QStringList{",1.5,VDC,1.5", ",,,", ",2.5,VDC,2.5"}));
    auto doc = openedDocument(file);
    ASSERT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(doc->GetDatacount(), 3); // the empty slot is a reading
    EXPECT_EQ(doc->TextMatrix(2, 0), QStringLiteral("2"));
    EXPECT_EQ(doc->TextMatrix(3, 2), QStringLiteral("2.5"));
    EXPECT_EQ(doc->GetDispmax(false), QStringLiteral("No.[ 3 ]   DATA[ 2.5 ]   MODE[ VDC ]"));

    // The same rows in a LOGGING-mode file: the empty one is a blank row, which the next
    // reading takes over (readings go to the row after the last reading).
    const QString logging = writeFile(QStringLiteral("blank.CSV"),
                                      crlf(header("01,0", ",,,", "x") + QStringList{"t1,1.5,VDC,1.5", ",,,", "t3,2.5,VDC,2.5"}));
    auto log = openedDocument(logging);
    EXPECT_EQ(log->GetDatacount(), 2);
    EXPECT_EQ(log->TextMatrix(2, 1), QStringLiteral("t3"));
    EXPECT_EQ(log->TextMatrix(2, 0), QStringLiteral("2"));
    EXPECT_EQ(log->TextMatrix(3, 0), QStringLiteral("3"));
}

TEST_F(DataFileTest, RowsBeyondTwentyGrowTheGrid)
{
    QStringList rows;
    for (int i = 1; i <= 45; ++i)
        rows << QStringLiteral("t%1,%1,VDC,%1").arg(i);
    rows << ",,," << ",,,";
    const QString file = writeFile(QStringLiteral("grow.CSV"), crlf(header("21,0", "00,00,00,01", "True,00,01,00,00") + rows));
    auto doc = openedDocument(file);
    EXPECT_EQ(doc->GetDatacount(), 45);
    EXPECT_EQ(doc->Rows(), 48);
    EXPECT_EQ(doc->TextMatrix(47, 0), QStringLiteral("47"));
    EXPECT_EQ(doc->scrollRange().maximum, 25);
    EXPECT_TRUE(doc->scrollRange().enabled);
    EXPECT_EQ(readFile(savedBy(*doc, QStringLiteral("grow2.CSV"))), readFile(file));
}

TEST_F(DataFileTest, SaveThenOpenKeepsEverything)
{
    auto doc = newDocument(DataKinds::Realtime);
    programState().MeterModel = QStringLiteral("2");
    doc->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("02"));
    doc->SetPeriod(false, QStringLiteral("00"), QStringLiteral("01"), QStringLiteral("30"), QStringLiteral("00"));
    doc->SetGraphcount(25);
    doc->SetAxisX(false, 5, 2);
    doc->SetAxisY(false, QStringLiteral("-0.5"), QStringLiteral("0.75"), 4, 2);
    doc->setNormalSize(10200, 7200);
    doc->setWindowState(2);
    const char* values[][3] = {{"1.234E-3", "VDC", "1.234E-3"}, {"ERROR", "", "ERROR"}, {"-0.5", "VDC", "-0.5"},
                               {"+OL", "VDC", "+OL"},          {"0.25", "VAC", "0.25"}, {"0.5", "VAC", "0.5E-3"},
                               {"12.5", "OHM", "12.5"},        {"1.5E+3", "OHM", "1.5E+3"}};
    int second = 0;
    for (const auto& v : values) {
        const bool numeric = QByteArray(v[0]) != "ERROR" && QByteArray(v[0]) != "+OL";
        addRealtime(*doc, QStringLiteral("23:59:%1").arg(second++, 2, 10, QLatin1Char('0')), QString::fromLatin1(v[0]),
                    QString::fromLatin1(v[1]), numeric, QString::fromLatin1(v[2]));
    }
    const QString target = savedBy(*doc, QStringLiteral("all.CSV"));
    auto back = openedDocument(target);
    ASSERT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(back->GetDatacount(), doc->GetDatacount());
    EXPECT_EQ(back->Rows(), doc->Rows());
    for (int row = 0; row < doc->Rows(); ++row) {
        for (int col = 1; col <= 3; ++col)
            EXPECT_EQ(back->TextMatrix(row, col), doc->TextMatrix(row, col)) << row << "," << col;
        EXPECT_EQ(back->rawText(row), doc->rawText(row)) << row;
        // Labels are not in the file: read back with model "2" they count from 0.
        if (row > 0) {
            EXPECT_EQ(back->TextMatrix(row, 0), QString::number(row - 1)) << row;
        }
    }
    EXPECT_EQ(back->GetDispmax(true), doc->GetDispmax(true));
    EXPECT_EQ(back->GetDispmin(true), doc->GetDispmin(true));
    EXPECT_EQ(back->GetDispavg(), doc->GetDispavg());
    EXPECT_EQ(back->statistics().unitCode, doc->statistics().unitCode);
    EXPECT_EQ(back->statistics().rangeIndex, doc->statistics().rangeIndex);
    EXPECT_EQ(back->statistics().numericCount, doc->statistics().numericCount);
    EXPECT_EQ(back->GetInterval(), doc->GetInterval());
    EXPECT_EQ(back->GetPeriod().none, QStringLiteral("False"));
    EXPECT_EQ(back->GetPeriodcount(), doc->GetPeriodcount());
    EXPECT_EQ(back->GetGraphcount(), QStringLiteral("25"));
    EXPECT_EQ(back->GetAxisX().perLabel, QStringLiteral("5"));
    EXPECT_EQ(back->GetAxisY().minimum, QStringLiteral("-0.5"));
    EXPECT_EQ(back->GetAxisY().maximum, QStringLiteral("0.75"));
    EXPECT_EQ(back->axisY().labelFormat, QStringLiteral("0.0###"));
    EXPECT_EQ(back->windowWidth(), 10200.0f);
    EXPECT_EQ(back->windowHeight(), 7200.0f);
    EXPECT_EQ(back->windowState(), 2);
    EXPECT_EQ(back->modeCode(), QStringLiteral("2"));
    EXPECT_EQ(readFile(savedBy(*back, QStringLiteral("all2.CSV"))), readFile(target));
}

TEST_F(DataFileTest, AWindowTooLargeForAFileIsWrittenAtTheLargestSize)
{
    // A maximised window's normal size on a 4K screen: 3000 x 2000 pixels at 96 DPI.
    auto doc = threeReadings();
    doc->setNormalSize(45000, 30000);
    doc->setWindowState(2);
    const QString target = savedBy(*doc, QStringLiteral("wide.CSV"));
    const QList<QByteArray> lines = readFile(target).split('\n');
    ASSERT_GT(lines.size(), 2);
    EXPECT_EQ(lines.at(1), QByteArray("32767,30000,2\r"));

    auto back = openedDocument(target);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
    EXPECT_EQ(back->GetDatacount(), 3);
    EXPECT_EQ(back->windowWidth(), 32767.0f);
    EXPECT_EQ(back->windowHeight(), 30000.0f);
    EXPECT_EQ(back->windowState(), 2);
}

TEST_F(DataFileTest, SizesOutsideTheSixteenBitRangeAreReadAtItsEnds)
{
    // Files written before the sizes were kept in range, and sizes no window has.
    const struct {
        const char* line2;
        float width, height;
    } cases[] = {
        {"35040,20000,2", 32767, 20000}, {"35040.5,1E9,0", 32767, 32767}, {"-15,6000,0", 0, 6000},
        {"9000.5,6000.5,0", 9000, 6000}, // halves to the even neighbour, as before
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line2);
        QStringList lines = header("21,0", "00,00,00,05", "True,00,01,00,00");
        lines[1] = QString::fromLatin1(c.line2);
        lines << QStringLiteral("12:00:00,1.5,VDC,1.5");
        auto doc = openedDocument(writeFile(QStringLiteral("old.CSV"), crlf(lines)));
        EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QStringLiteral("|")).toStdString();
        EXPECT_EQ(doc->GetDatacount(), 1);
        EXPECT_EQ(doc->windowWidth(), c.width);
        EXPECT_EQ(doc->windowHeight(), c.height);
        prompter.messages.clear();
    }
}

TEST_F(DataFileTest, SameBytesUnderDecimalCommaLocale)
{
    auto plain = threeReadings();
    plain->SetAxisY(false, QStringLiteral("0.001"), QStringLiteral("2.5"), 1, 1);
    const QByteArray expected = readFile(savedBy(*plain, QStringLiteral("c.CSV")));
    {
        LocaleGuard german("de_DE.UTF-8");
        auto doc = threeReadings();
        doc->SetAxisY(false, QStringLiteral("0.001"), QStringLiteral("2.5"), 1, 1);
        EXPECT_EQ(readFile(savedBy(*doc, QStringLiteral("de.CSV"))), expected);
        auto back = openedDocument(path(QStringLiteral("c.CSV")));
        EXPECT_TRUE(prompter.messages.isEmpty());
        EXPECT_EQ(back->GetDispavg(), QStringLiteral("1.500000"));
        EXPECT_DOUBLE_EQ(back->axisY().minimum, 0.001);
        EXPECT_EQ(readFile(savedBy(*back, QStringLiteral("de2.CSV"))), expected);
    }
}

TEST_F(DataFileTest, LastLineWithoutLineEndIsRead)
{
    QByteArray bytes = crlf(header("01,0", ",,,", "x") + QStringList{"t1,1.5,VDC,1.5"}) + "t2,2.5,VDC,2.5";
    const QString file = writeFile(QStringLiteral("noend.CSV"), bytes);
    auto doc = openedDocument(file);
    EXPECT_EQ(doc->GetDatacount(), 2);
    EXPECT_EQ(doc->TextMatrix(2, 3), QStringLiteral("VDC"));
}

TEST_F(DataFileTest, Latin1TextsReadAndWriteAsSingleBytes)
{
    QByteArray bytes = crlf(header("01,0", ",,,", "x"));
    bytes += QByteArray("t\xb5,1.5,\xb0" "C,1.5\r\n"); // "tµ", "°C" in Latin-1
    const QString file = writeFile(QStringLiteral("latin.CSV"), bytes);
    auto doc = openedDocument(file);
    EXPECT_EQ(doc->TextMatrix(1, 1), QStringLiteral("t\u00b5"));
    EXPECT_EQ(doc->TextMatrix(1, 3), QStringLiteral("\u00b0C"));
    const QByteArray saved = readFile(savedBy(*doc, QStringLiteral("latin2.CSV")));
    EXPECT_TRUE(saved.contains(QByteArray("t\xb5,1.5,\xb0" "C,1.5\r\n")));
}

TEST_F(DataFileTest, TextsADataFileCannotCarryStopTheSave)
{
    for (const QString& mode : {QStringLiteral("V,DC"), QStringLiteral("V\r\nDC")}) {
        prompter.messages.clear();
        auto doc = newDocument(DataKinds::Realtime);
        addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1"), mode, true, QStringLiteral("1"));
        const QString target = path(QStringLiteral("bad.CSV"));
        EXPECT_FALSE(doc->SaveFile(target));
        EXPECT_FALSE(QFile::exists(target));
        EXPECT_FALSE(doc->isUnchanged());
        ASSERT_EQ(prompter.messages.size(), 1);
        EXPECT_TRUE(prompter.messages[0].text.startsWith(QStringLiteral("The text \"") + mode)) << prompter.messages[0].text.toStdString();
        EXPECT_TRUE(prompter.messages[0].text.endsWith(QStringLiteral("\r\n") + target));
        EXPECT_FALSE(workFileExists());
    }
}

TEST_F(DataFileTest, ADocumentHoldsOnlySingleByteTexts)
{
    auto doc = newDocument(DataKinds::Realtime);
    ASSERT_TRUE(doc->AddGridrow());
    try {
        doc->AddRealtimedata(QStringLiteral("12:00:00"), QStringLiteral("1"), QStringLiteral("V\u03a9"), true, QStringLiteral("1"));
        FAIL() << "stored";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.description(), QStringLiteral("The text \"V\u03a9\" has characters a data file cannot hold."));
    }
    EXPECT_EQ(doc->GetDatacount(), 0);
    EXPECT_THROW(doc->AddData(QStringLiteral("\u20ac"), QStringLiteral("1"), QStringLiteral("V"), QStringLiteral("1")),
                 RuntimeError);
    EXPECT_EQ(doc->GetDatacount(), 0);
    doc->AddData(QStringLiteral("\u00b5s"), QStringLiteral("1"), QStringLiteral("\u00b0C"), QStringLiteral("1"));
    EXPECT_EQ(doc->TextMatrix(1, 1), QStringLiteral("\u00b5s"));
    EXPECT_EQ(doc->TextMatrix(1, 3), QStringLiteral("\u00b0C"));
}

// --- OpenFile and SaveFile as the window sees them --------------------------------------------------

TEST_F(DataFileTest, OpenFileSuccess)
{
    const QString file = writeFile(QStringLiteral("ok.CSV"),
                                   crlf(header("21,0", "00,00,00,05", "True,00,01,00,00") + QStringList{"t1,2.5,VDC,2.5"}));
    auto doc = std::make_unique<DataDocument>();
    doc->setPrompter(&prompter);
    QStringList busy;
    doc->setBusyHook([&](bool on) { busy << (on ? QStringLiteral("on") : QStringLiteral("off")); });
    doc->OpenNew(DataDocument::KindBeforeOpen);
    QSignalSpy command(doc.get(), &DataDocument::commandStateRequested);
    QSignalSpy caption(doc.get(), &DataDocument::captionChanged);
    QSignalSpy reset(doc.get(), &DataDocument::gridReset);
    busy.clear();
    EXPECT_TRUE(doc->OpenFile(file));
    EXPECT_EQ(busy, (QStringList{"on", "off"}));
    EXPECT_EQ(doc->caption(), file);
    EXPECT_EQ(doc->GetFilename(), file);
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(doc->kind(), DataKinds::Realtime);
    EXPECT_EQ(doc->Tag(), QStringLiteral("2"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Label")), QStringLiteral("REALTIME DATA"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Avg")), QStringLiteral("2.500000"));
    EXPECT_EQ(command.size(), 1);
    ASSERT_GE(caption.size(), 1);
    EXPECT_EQ(caption.last()[0].toString(), file);
    EXPECT_GE(reset.size(), 1);
    EXPECT_FALSE(workFileExists());
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(DataFileTest, FailedOpenLeavesTheDocumentAsItWas)
{
    const QString file = writeFile(QStringLiteral("bad.CSV"),
                                   crlf(header("21,0", "00,00,00,05", "True,00,01,00,00")
                                        + QStringList{"t1,2.5,VDC,2.5", "t2,2.x5,VDC,2.x5"}));
    auto doc = std::make_unique<DataDocument>();
    doc->setPrompter(&prompter);
    bool busyDuringMessage = true;
    bool busy = false;
    doc->setBusyHook([&](bool on) { busy = on; });
    doc->OpenNew(DataDocument::KindBeforeOpen);
    programState().MeterModel = QStringLiteral("4");
    const QString captionBefore = doc->caption();

    struct Watch : Prompter {
        bool* busy;
        bool* seen;
        ScriptedPrompter* inner;
        PromptAnswer message(const QString& t, PromptButtons b, PromptIcon i, PromptAnswer d) override
        {
            *seen = *busy;
            return inner->message(t, b, i, d);
        }
        QString chooseFile(const FileDialogRequest& r) override { return inner->chooseFile(r); }
    } watch;
    watch.busy = &busy;
    watch.seen = &busyDuringMessage;
    watch.inner = &prompter;
    doc->setPrompter(&watch);

    EXPECT_FALSE(doc->OpenFile(file));
    EXPECT_FALSE(busyDuringMessage); // the hourglass is gone before the box shows
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text, QStringLiteral("Line 9: The reading \"2.x5\" is not a number.\r\n") + file);
    EXPECT_EQ(programState().LastError, QStringLiteral("Line 9: The reading \"2.x5\" is not a number."));
    EXPECT_EQ(doc->caption(), captionBefore);
    EXPECT_EQ(doc->GetFilename(), QString());
    EXPECT_EQ(doc->GetDatacount(), 0);
    EXPECT_EQ(doc->Rows(), 21);
    EXPECT_EQ(doc->TextMatrix(1, 1), QString());
    EXPECT_EQ(doc->kind(), DataKinds::Logging);
    EXPECT_EQ(doc->panelText(QStringLiteral("Label")), QStringLiteral("LOGGING-mode DATA"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QString());
    EXPECT_EQ(programState().MeterModel, QStringLiteral("4"));
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_FALSE(workFileExists());
}

TEST_F(DataFileTest, SavedFileMakesTheDocumentUnchangedWithThePathAsCaption)
{
    auto doc = threeReadings();
    QStringList busy;
    doc->setBusyHook([&](bool on) { busy << (on ? QStringLiteral("on") : QStringLiteral("off")); });
    EXPECT_FALSE(doc->isUnchanged());
    const QString target = savedBy(*doc, QStringLiteral("s.CSV"));
    EXPECT_EQ(busy, (QStringList{"on", "off"}));
    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(doc->caption(), target);
    // Saving again over the same file replaces it.
    addRealtime(*doc, QStringLiteral("12:00:15"), QStringLiteral("3"), QStringLiteral("VDC"), true, QStringLiteral("3"));
    EXPECT_TRUE(doc->SaveFile(target));
    EXPECT_TRUE(readFile(target).contains("12:00:15,3,VDC,3\r\n"));
    const QStringList left = QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden);
    EXPECT_EQ(left, QStringList{QStringLiteral("s.CSV")}); // no temporary left beside it
}

TEST_F(DataFileTest, ALoneCarriageReturnEndsALine)
{
    // Line ends CR LF, LF and CR all end a line: the row after the lone CR is a row of its
    // own, and no text keeps a CR (which would make the document impossible to save).
    QByteArray bytes = crlf(header("01,0", ",,,", "x"));
    bytes += "t1,1.5,VDC,1.5\rt2,2.5,VAC,2.5\nt3,3.5,OHM,3.5\r\n\r";
    const QString file = writeFile(QStringLiteral("cr.CSV"), bytes);
    auto doc = openedDocument(file);
    ASSERT_EQ(doc->GetDatacount(), 3);
    EXPECT_EQ(doc->TextMatrix(1, 3), QStringLiteral("VDC"));
    EXPECT_EQ(doc->rawText(1), QStringLiteral("1.5"));
    EXPECT_EQ(doc->TextMatrix(2, 1), QStringLiteral("t2"));
    EXPECT_EQ(doc->TextMatrix(3, 3), QStringLiteral("OHM"));
    const QByteArray saved = readFile(savedBy(*doc, QStringLiteral("cr2.CSV")));
    EXPECT_TRUE(saved.contains("\r\nt1,1.5,VDC,1.5\r\nt2,2.5,VAC,2.5\r\nt3,3.5,OHM,3.5\r\n"));
}
