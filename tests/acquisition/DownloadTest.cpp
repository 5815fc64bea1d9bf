// Memory downloads against the meter simulator on a real pseudo-terminal. Expected rows are
// computed from the simulator's documented memory rules (docs/metersim.md): LOGGING record
// i holds i × 0.125 V; SAVE fills every third slot with "ss.ttt" (ttt = s × 37 mod 1000) in
// units turning through VDC, mVAC, kOHM, mADC, Hz.

#include "AcquisitionTestSupport.h"

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"
#include "support/TestHelpers.h"

#include "metersim/MeterSimulator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

struct ExpectedRow {
    QString display, unit, numeric;
};

// LOGGING record i (counted from 0 whatever the model's numbering).
ExpectedRow loggingRecord(int i)
{
    const QString value = QString::number(std::fmod(i * 0.125, 100.0), 'f', 3);
    return {value, QStringLiteral("VDC"), value};
}

// SAVE slot s of a meter whose first slot is `first`; empty texts for an empty slot.
ExpectedRow saveSlot(int s, int first)
{
    if ((s - first) % 3 != 0)
        return {};
    static const QStringList exponents = {QString(), QStringLiteral("E-3"), QStringLiteral("E+3"), QStringLiteral("E-3"),
                                          QString()};
    static const QStringList units = {QStringLiteral("VDC"), QStringLiteral("VAC"), QStringLiteral("OHM"),
                                      QStringLiteral("ADC"), QStringLiteral("Hz")};
    const int k = (s - first) / 3 % 5;
    const QString value = QStringLiteral("%1.%2").arg(s).arg(s * 37 % 1000, 3, 10, QLatin1Char('0')) + exponents[k];
    return {value, units[k], value};
}

class DownloadTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        comm.setAnswerTimeoutMs(2000);
        host.setProgressFactory([this] {
            auto progress = std::make_unique<ProgressRecorder>(log);
            if (cancelAt > 0)
                progress->cancelAt(cancelAt, &comm);
            return progress;
        });
    }

    void TearDown() override
    {
        comm.closePort();
        simulator.reset();
        resetProgramState();
    }

    void startSimulator(const sim::SimulatorOptions& options)
    {
        simulator = std::make_unique<sim::SimulatorThread>(options);
        QString error;
        ASSERT_TRUE(simulator->start(&error)) << error.toStdString();
        comm.setCommPort(simulator->devicePath());
    }

    static sim::SimulatorOptions model(QChar code, int loggingCount = 10, int interval = 5)
    {
        sim::SimulatorOptions options;
        options.model = code;
        options.loggingCount = loggingCount;
        options.loggingIntervalSeconds = interval;
        return options;
    }

    // The commands the simulator received, once the final "PL,0" has arrived.
    QStringList commands()
    {
        waitFor([&] { return simulator->commandLog().endsWith(Commands::RemoteOff); }, 10s);
        return simulator->commandLog();
    }

    DataDocument* document() const { return host.documents().empty() ? nullptr : host.documents().back().get(); }

    void expectIdleAfterwards()
    {
        EXPECT_EQ(programState().CommState, CommStates::Idle);
        EXPECT_FALSE(comm.PortOpen());
        EXPECT_EQ(log.shown, 1);
        EXPECT_EQ(log.unloaded, 1);
        EXPECT_EQ(comm.progressView(), nullptr);
        EXPECT_FALSE(programState().PadRecords);
    }

    HeadlessHost host;
    Comm comm{&host.prompter()};
    Download download{comm, host};
    ProgressRecorder::Log log;
    int cancelAt = 0;
    std::unique_ptr<sim::SimulatorThread> simulator;
};

// --- Record numbering and parsing ---------------------------------------------------------------

TEST(DownloadRules, NumberingByModel)
{
    for (const char* code : {"0", "1"}) {
        const auto n = MemoryNumberingFor(QString::fromLatin1(code));
        ASSERT_TRUE(n.has_value());
        EXPECT_EQ(n->countWidth, 3);
        EXPECT_EQ(LoggingRecordCommand(*n, 7), QStringLiteral("RL,007"));
        EXPECT_EQ(n->firstRecord, 1);
        EXPECT_EQ(n->firstSlot, 1);
        EXPECT_EQ(n->lastSlot, 50);
        EXPECT_FALSE(n->padding);
    }
    for (const char* code : {"2", "3"}) {
        const auto n = MemoryNumberingFor(QString::fromLatin1(code));
        ASSERT_TRUE(n.has_value());
        EXPECT_EQ(n->countWidth, 5);
        EXPECT_EQ(LoggingRecordCommand(*n, 7), QStringLiteral("RL,00007"));
        EXPECT_EQ(n->firstRecord, 0);
        EXPECT_EQ(n->firstSlot, 0);
        EXPECT_EQ(n->lastSlot, 99);
        EXPECT_TRUE(n->padding);
    }
    for (const char* code : {"4", "5"}) {
        const auto n = MemoryNumberingFor(QString::fromLatin1(code));
        ASSERT_TRUE(n.has_value());
        EXPECT_EQ(n->countWidth, 4);
        EXPECT_EQ(LoggingRecordCommand(*n, 7), QStringLiteral("RL,0007"));
        EXPECT_EQ(n->firstRecord, 0);
        EXPECT_TRUE(n->padding);
    }
    for (const char* code : {"6", "7", "", "A", "12"})
        EXPECT_FALSE(MemoryNumberingFor(QString::fromLatin1(code)).has_value()) << code;
    EXPECT_EQ(SaveRecordCommand(5), QStringLiteral("RS,05"));
    EXPECT_EQ(SaveRecordCommand(50), QStringLiteral("RS,50"));
}

TEST(DownloadRules, ParsingRecords)
{
    resetProgramState();
    const auto withCheck = [](const QString& body) { return body + sim::checkCharacter(body); };
    DownloadedRecord r;
    ASSERT_TRUE(ParseLoggingRecord(withCheck(QStringLiteral("RL,N,-01.234mVDC")), r));
    EXPECT_EQ(r.display, QStringLiteral("-1.234E-3"));
    EXPECT_EQ(r.unit, QStringLiteral("VDC"));
    EXPECT_EQ(r.numeric, r.display);

    ASSERT_TRUE(ParseLoggingRecord(withCheck(QStringLiteral("RL,O,+0.L   kOHM")), r));
    EXPECT_EQ(r.display, QStringLiteral("+OL"));
    EXPECT_EQ(r.unit, QStringLiteral("OHM"));
    EXPECT_EQ(r.numeric, GetValueText(QStringLiteral("RL,O,+0.L   kOHM")) + QStringLiteral("E+3"));

    programState().LastError.clear();
    EXPECT_FALSE(ParseLoggingRecord(QStringLiteral("RL,N,+01.234 VDCZ"), r));
    EXPECT_EQ(programState().LastError, ResID(Res::DataError));
    EXPECT_FALSE(ParseLoggingRecord(withCheck(QStringLiteral("CMD,ERR")), r));
    EXPECT_EQ(programState().LastError, ResID(Res::CommandError));
    // A LOGGING record of exactly "RS" is not special: it is read as a (meaningless) reading.
    EXPECT_TRUE(ParseLoggingRecord(withCheck(QStringLiteral("RS")), r));

    r = {QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("z")};
    ASSERT_TRUE(ParseSaveRecord(withCheck(QStringLiteral("RS")), r));
    EXPECT_EQ(r.display, QString());
    EXPECT_EQ(r.unit, QString());
    EXPECT_EQ(r.numeric, QString());
    EXPECT_FALSE(ParseSaveRecord(QStringLiteral("RSX"), r));
    EXPECT_EQ(programState().LastError, ResID(Res::DataError));
    EXPECT_FALSE(ParseSaveRecord(withCheck(QStringLiteral("CMD,ERR")), r));
    EXPECT_EQ(programState().LastError, ResID(Res::CommandError));
    ASSERT_TRUE(ParseSaveRecord(withCheck(QStringLiteral("RS,N,+04.148mVAC")), r));
    EXPECT_EQ(r.display, QStringLiteral("4.148E-3"));
    EXPECT_EQ(r.unit, QStringLiteral("VAC"));
}

// --- Whole downloads, per model -------------------------------------------------------------------

class DownloadByModel : public DownloadTest, public ::testing::WithParamInterface<char> {};

TEST_P(DownloadByModel, LoggingModeRowByRow)
{
    const QChar code = QLatin1Char(GetParam());
    const int count = 12;
    startSimulator(model(code, count, 5));
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded) << host.messages().join(u'|').toStdString();
    EXPECT_TRUE(host.messages().isEmpty());
    expectIdleAfterwards();
    const auto numbering = MemoryNumberingFor(code);
    ASSERT_TRUE(numbering.has_value());
    const bool fromZero = numbering->firstRecord == 0;

    // The commands, in order.
    QStringList expected = {QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM"),
                            QStringLiteral("RN"), QStringLiteral("RI")};
    for (int n = numbering->firstRecord; n < numbering->firstRecord + count; ++n)
        expected << QStringLiteral("RL,") + QString::number(n).rightJustified(numbering->recordWidth, u'0');
    expected << QStringLiteral("PL,0");
    EXPECT_EQ(commands(), expected);

    // The rows: readings 1..count, then the empty rows of a new document; models that
    // number from 0 label every row (padding rows included) one less than its place.
    DataDocument* doc = document();
    ASSERT_NE(doc, nullptr);
    EXPECT_EQ(doc->kind(), DataKinds::Logging);
    ASSERT_EQ(doc->GetDatacount(), count);
    ASSERT_EQ(doc->Rows(), 21);
    for (int row = 1; row <= 20; ++row) {
        EXPECT_EQ(doc->TextMatrix(row, 0), QString::number(fromZero ? row - 1 : row)) << row;
        if (row > count) {
            EXPECT_EQ(doc->TextMatrix(row, 2), QString()) << row;
            continue;
        }
        const ExpectedRow e = loggingRecord(row - 1);
        EXPECT_EQ(doc->TextMatrix(row, 1), addToTimeLabel(QStringLiteral("00:00:00"), 0, 0, 0, 5 * (row - 1))) << row;
        EXPECT_EQ(doc->TextMatrix(row, 2), e.display) << row;
        EXPECT_EQ(doc->TextMatrix(row, 3), e.unit) << row;
        EXPECT_EQ(doc->rawText(row), e.numeric) << row;
    }

    // The progress dialog: caption, message, and one call per record.
    EXPECT_EQ(log.captions, QStringList{ResID(Res::ReceiveLoggingMode)});
    EXPECT_EQ(log.messages, QStringList{ResID(Res::Receiving)});
    ASSERT_EQ(log.calls.size(), count);
    for (int i = 0; i < count; ++i) {
        const int number = numbering->firstRecord + i;
        const int shown = fromZero ? number + 1 : number;
        EXPECT_EQ(log.calls[i], (ProgressRecorder::Call{number == count, shown, count})) << i;
    }

    // The end: the chart spans the rows, the interval is shown in seconds.
    EXPECT_EQ(doc->graphCount(), count);
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("0005s"));
    EXPECT_EQ(programState().MeterModel, QString(code));
}

TEST_P(DownloadByModel, SaveModeRowByRow)
{
    const QChar code = QLatin1Char(GetParam());
    startSimulator(model(code));
    download.mnuDataSave();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded) << host.messages().join(u'|').toStdString();
    expectIdleAfterwards();
    const auto numbering = MemoryNumberingFor(code);
    ASSERT_TRUE(numbering.has_value());
    const int first = numbering->firstSlot;
    const int slotCount = numbering->lastSlot - first + 1;

    QStringList expected = {QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM")};
    for (int s = first; s <= numbering->lastSlot; ++s)
        expected << QStringLiteral("RS,%1").arg(s, 2, 10, QLatin1Char('0'));
    expected << QStringLiteral("PL,0");
    EXPECT_EQ(commands(), expected);

    DataDocument* doc = document();
    ASSERT_NE(doc, nullptr);
    EXPECT_EQ(doc->kind(), DataKinds::Save);
    ASSERT_EQ(doc->GetDatacount(), slotCount);
    for (int row = 1; row <= slotCount; ++row) {
        const int slot = first + row - 1;
        const ExpectedRow e = saveSlot(slot, first);
        EXPECT_EQ(doc->TextMatrix(row, 0), QString::number(first == 0 ? row - 1 : row)) << row;
        EXPECT_EQ(doc->TextMatrix(row, 1), QString()) << row; // SAVE records have no time
        EXPECT_EQ(doc->TextMatrix(row, 2), e.display) << row;
        EXPECT_EQ(doc->TextMatrix(row, 3), e.unit) << row;
        EXPECT_EQ(doc->rawText(row), e.numeric) << row;
    }

    EXPECT_EQ(log.captions, QStringList{ResID(Res::ReceiveSaveMode)});
    EXPECT_EQ(log.messages, QStringList{ResID(Res::Receiving)});
    ASSERT_EQ(log.calls.size(), slotCount);
    for (int i = 0; i < slotCount; ++i) {
        const int slot = first + i;
        const ProgressRecorder::Call call = slotCount == 50 ? ProgressRecorder::Call{slot == 50, slot, 50}
            : slot == 50                                 ? ProgressRecorder::Call{true, 50, 99}
                                                         : ProgressRecorder::Call{false, slot, 99};
        EXPECT_EQ(log.calls[i], call) << i;
    }
    EXPECT_EQ(doc->graphCount(), slotCount);
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QString()); // SAVE-mode shows no interval
}

INSTANTIATE_TEST_SUITE_P(Models, DownloadByModel, ::testing::Values('1', '3', '4'),
                         [](const auto& info) { return std::string("Model") + info.param; });

// --- The edge cases of the memory download --------------------------------------------------------

TEST_F(DownloadTest, ModelOneCountThreeTimesStepByTheInterval)
{
    startSimulator(model(QLatin1Char('1'), 3, 7));
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    const QStringList log = commands();
    EXPECT_EQ(log.mid(5, 3), (QStringList{QStringLiteral("RL,001"), QStringLiteral("RL,002"), QStringLiteral("RL,003")}));
    DataDocument* doc = document();
    ASSERT_EQ(doc->GetDatacount(), 3);
    EXPECT_EQ(doc->TextMatrix(1, 1), QStringLiteral("00:00:00"));
    EXPECT_EQ(doc->TextMatrix(2, 1), QStringLiteral("00:00:07"));
    EXPECT_EQ(doc->TextMatrix(3, 1), QStringLiteral("00:00:14"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Interval")), QStringLiteral("0007s"));
}

TEST_F(DownloadTest, ModelFourCountTwoAsksForRecordsZeroAndOne)
{
    startSimulator(model(QLatin1Char('4'), 2));
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    EXPECT_EQ(commands().mid(5, 2), (QStringList{QStringLiteral("RL,0000"), QStringLiteral("RL,0001")}));
    // Two rows: the chart keeps its 20 points and the interval panel is not set.
    EXPECT_EQ(document()->graphCount(), 20);
    EXPECT_EQ(document()->panelText(QStringLiteral("Interval")), QString());
}

TEST_F(DownloadTest, LoggingCountZeroReadsNothingAndSucceeds)
{
    startSimulator(model(QLatin1Char('3'), 0));
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    EXPECT_TRUE(host.messages().isEmpty());
    EXPECT_EQ(commands(), (QStringList{QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM"),
                                       QStringLiteral("RN"), QStringLiteral("PL,0")}));
    DataDocument* doc = document();
    EXPECT_EQ(doc->GetDatacount(), 0);
    // Only the padding: the 20 empty rows are numbered from 0.
    for (int row = 1; row <= 20; ++row)
        EXPECT_EQ(doc->TextMatrix(row, 0), QString::number(row - 1)) << row;
    EXPECT_TRUE(log.calls.isEmpty());
}

TEST_F(DownloadTest, AnUnknownModelSaysWhichModelItIsAndThatItIsNotSupported)
{
    startSimulator(model(QLatin1Char('7')));
    programState().LastError = QStringLiteral("An earlier failure."); // never shown for this download
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{QStringLiteral("The meter reports the model code \"7\". This meter model "
                                                          "is not supported: its memory cannot be read.")});
    EXPECT_EQ(commands(), (QStringList{QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM"),
                                       QStringLiteral("RN"), QStringLiteral("PL,0")}));
    EXPECT_EQ(document()->GetDatacount(), 0);
    expectIdleAfterwards();
}

TEST_F(DownloadTest, AnUnknownModelHasNoSaveSlots)
{
    startSimulator(model(QLatin1Char('7')));
    programState().LastError.clear();
    download.mnuDataSave();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{QStringLiteral("The meter reports the model code \"7\". This meter model "
                                                          "is not supported: its memory cannot be read.")});
    EXPECT_EQ(commands(), (QStringList{QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM"),
                                       QStringLiteral("PL,0")}));
}

TEST_F(DownloadTest, FiveAttemptsThenTimeout)
{
    comm.setAnswerTimeoutMs(100);
    sim::SimulatorOptions options = model(QLatin1Char('1'));
    options.silentCommands = {QStringLiteral("RL,003")};
    startSimulator(options);
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{ResID(Res::TimeoutError)});
    const QStringList sent = commands();
    EXPECT_EQ(sent.count(QStringLiteral("RL,003")), 5);
    EXPECT_EQ(sent.count(QStringLiteral("RL,004")), 0);
    EXPECT_EQ(document()->GetDatacount(), 2); // the rows read so far stay
    EXPECT_EQ(log.cancelEnabled, QList<bool>{false});
    expectIdleAfterwards();
}

TEST_F(DownloadTest, RejectedRecordIsACommandError)
{
    sim::SimulatorOptions options = model(QLatin1Char('1'));
    options.errorCommands = {QStringLiteral("RL,004")};
    startSimulator(options);
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{ResID(Res::CommandError)});
    EXPECT_EQ(document()->GetDatacount(), 3);
    EXPECT_EQ(commands().last(), QStringLiteral("PL,0"));
    expectIdleAfterwards();
}

TEST_F(DownloadTest, GarbledRecordIsADataErrorAndKeepsTheGoodRows)
{
    sim::SimulatorOptions options = model(QLatin1Char('1'), 40);
    options.badCheckRate = 0.2; // some answer line gets a wrong check character
    // The answers to RM, RN and RI are checked too: with this seed the first damaged answer
    // is a record's, after some good ones.
    options.seed = 12;
    startSimulator(options);
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{ResID(Res::DataError)});
    DataDocument* doc = document();
    const int rows = doc->GetDatacount();
    EXPECT_GT(rows, 0);
    EXPECT_LT(rows, 40);
    for (int row = 1; row <= rows; ++row)
        EXPECT_EQ(doc->TextMatrix(row, 2), loggingRecord(row - 1).display) << row;
    // The record after the last good one was asked for once, and the download ended.
    const QStringList sent = commands();
    const QString failed = QStringLiteral("RL,%1").arg(rows + 1, 3, 10, QLatin1Char('0'));
    EXPECT_EQ(sent.count(failed), 1);
    EXPECT_EQ(sent.at(sent.size() - 2), failed);
    expectIdleAfterwards();
}

TEST_F(DownloadTest, CancelKeepsTheRowsAndSaysCanceled)
{
    sim::SimulatorOptions options = model(QLatin1Char('1'), 10);
    options.answerDelayMs = 50; // Cancel is pressed while a record is awaited
    startSimulator(options);
    cancelAt = 3;
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{ResID(Res::Canceled)});
    EXPECT_EQ(log.messages, (QStringList{ResID(Res::Receiving), ResID(Res::Canceling)}));
    EXPECT_EQ(document()->GetDatacount(), 3);
    const QStringList sent = commands();
    EXPECT_EQ(sent.count(QStringLiteral("RL,004")), 1);
    EXPECT_EQ(sent.last(), QStringLiteral("PL,0"));
    expectIdleAfterwards();
}

TEST_F(DownloadTest, CablePulledMidDownloadKeepsTheRows)
{
    sim::SimulatorOptions options = model(QLatin1Char('1'), 10);
    options.disconnectAfter = 9; // SC,123 PL,1 RM RN RI and four records
    startSimulator(options);
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().startsWith(QStringLiteral("The connection to the meter on")))
        << host.messages().first().toStdString();
    EXPECT_EQ(document()->GetDatacount(), 4);
    expectIdleAfterwards();
}

TEST_F(DownloadTest, ACountTooLargeForTheDocumentEndsWithItsReason)
{
    startSimulator(model(QLatin1Char('3'), 40000));
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    QString reason;
    try {
        roundToInt16(40000);
    } catch (const RuntimeError& e) {
        reason = e.description();
    }
    ASSERT_FALSE(reason.isEmpty());
    EXPECT_EQ(host.messages(), QStringList{reason});
    EXPECT_EQ(commands().last(), QStringLiteral("PL,0"));
    expectIdleAfterwards();
}

TEST_F(DownloadTest, AFullDocumentEndsTheDownloadAndKeepsItsRows)
{
    startSimulator(model(QLatin1Char('1'), 5));
    DataDocument* doc = host.newDocument(DataKinds::Logging);
    for (int i = 0; i < MaxReadings - 2; ++i) {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddData(QStringLiteral("00:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), QStringLiteral("1"));
    }
    programState().RealtimeDoc = doc;
    ASSERT_TRUE(comm.OpenPort());
    EXPECT_FALSE(download.DownloadLogging());
    EXPECT_EQ(doc->GetDatacount(), MaxReadings);
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().contains(QString::number(MaxReadings)));
    expectIdleAfterwards();
}

TEST_F(DownloadTest, ForwardsAfterwardsWhenAsked)
{
    startSimulator(model(QLatin1Char('1'), 4));
    int forwarded = 0;
    DataDocument* forwardedDocument = nullptr;
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);
    host.setDocumentForwarder([&] {
        ++forwarded;
        forwardedDocument = programState().CurrentDoc;
    });
    download.mnuDataLoging();
    EXPECT_EQ(host.questions(), QStringList{AskForwardDownload});
    EXPECT_EQ(host.forwardDialogCount(), 1);
    EXPECT_EQ(forwarded, 1);
    EXPECT_EQ(forwardedDocument, document());
}

TEST_F(DownloadTest, NoForwardingOfAnEmptyLoggingDownload)
{
    startSimulator(model(QLatin1Char('1'), 0));
    int forwarded = 0;
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);
    host.setDocumentForwarder([&] { ++forwarded; });
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    EXPECT_EQ(forwarded, 0);
}

TEST_F(DownloadTest, ACancelledForwardDialogDownloadsNothing)
{
    startSimulator(model(QLatin1Char('1')));
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(false);
    download.mnuDataSave();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::NotRun);
    EXPECT_TRUE(host.documents().empty());
    EXPECT_EQ(simulator->commandCount(), 0);
}

TEST_F(DownloadTest, NoDoesNotForward)
{
    startSimulator(model(QLatin1Char('1'), 2));
    int forwarded = 0;
    host.setDocumentForwarder([&] { ++forwarded; });
    download.mnuDataLoging();
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    EXPECT_EQ(host.forwardDialogCount(), 0);
    EXPECT_EQ(forwarded, 0);
}

} // namespace
