// The fault matrix: each meter operation (realtime recording, monitor mode, LOGGING-mode and
// SAVE-mode download) runs through its real code (Realtime or Download with a window-less
// host and a real Comm) against the simulated meter on a pseudo-terminal, under one fault at
// a time (FaultTable.cpp). Every case checks that the operation ends by itself within a hard
// deadline, that the port is closed and CommState is 7 again, that the message is the one the
// rules give, and that every reading the meter sent unharmed (the simulator's answer log
// says which) is in the document or was shown on the Monitor.
//
// Each case writes one line of results beside the test; fault_matrix_report turns them into
// the table of docs/RELIABILITY.md.

#include "FaultTable.h"

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSerialPort>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

using namespace quvo;
using namespace quvo::faults;
using namespace std::chrono_literals;

namespace {

// A case that has not ended after this long has hung: the process is stopped with a message
// (and the case fails) instead of waiting for the test driver's time-out.
constexpr std::chrono::seconds HardDeadline{45};
// The longest one operation may take here (a silent meter costs 2 x 5 sends of 400 ms).
constexpr std::chrono::milliseconds OperationLimit{25000};

class Watchdog {
public:
    Watchdog(std::chrono::seconds limit, QString name)
        : m_thread([this, limit, name = std::move(name)] {
              std::unique_lock lock(m_mutex);
              if (!m_done.wait_for(lock, limit, [this] { return m_finished; })) {
                  std::fprintf(stderr, "HANG: %s did not end within %lld s\n", qPrintable(name),
                               static_cast<long long>(limit.count()));
                  std::fflush(stderr);
                  std::abort();
              }
          })
    {
    }
    ~Watchdog()
    {
        {
            std::lock_guard lock(m_mutex);
            m_finished = true;
        }
        m_done.notify_all();
        m_thread.join();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_finished = false;
    std::thread m_thread; // last: started once the members above exist
};

class KeptAnswers : public MonitorSink {
public:
    QStringList answers;
    void SetData(const QString& answer) override { answers.append(answer); }
};

// --- The meter's lines, read by the rules of the line layout ---------------------------------

// The answer line the program received for a command: the line after the echo, without CR LF
// (line ends are never damaged in these runs, so the framing holds).
QString receivedLine(const sim::AnswerRecord& record)
{
    const QList<QByteArray> lines = record.output.split('\n');
    return lines.size() >= 2 ? QString::fromLatin1(lines.at(1)).chopped(lines.at(1).endsWith('\r') ? 1 : 0)
                             : QString();
}

// The check-character rule: the last character is the check of everything before it.
bool passesCheck(const QString& line)
{
    return !line.isEmpty() && line.back() == sim::checkCharacter(line.chopped(1));
}

// The value and unit of a reading line (tag, ",", status, ",", sign, six-character number,
// prefix, three-character unit, check character), as a number and a unit word.
struct LineValue {
    bool reading = false; // false: not a reading (an empty slot "RS", CMD,ERR)
    double value = 0;
    QString unit;
};

LineValue valueOf(const QString& line)
{
    LineValue v;
    if (line.size() != 17)
        return v;
    bool ok = false;
    const double number = line.mid(6, 6).trimmed().toDouble(&ok);
    if (!ok)
        return v;
    const QChar prefix = line.at(12);
    int exponent = 0;
    if (prefix == QLatin1Char('n'))
        exponent = -9;
    else if (prefix == QLatin1Char('u'))
        exponent = -6;
    else if (prefix == QLatin1Char('m'))
        exponent = -3;
    else if (prefix == QLatin1Char('k'))
        exponent = 3;
    else if (prefix == QLatin1Char('M'))
        exponent = 6;
    v.reading = true;
    v.value = (line.at(5) == QLatin1Char('+') ? 1 : -1) * number * std::pow(10.0, exponent);
    v.unit = line.mid(13, 3).trimmed();
    return v;
}

// A document row holds this reading: the same number (the row keeps it in scientific
// notation) and the same unit.
bool rowHolds(const QString& rowValue, const QString& rowUnit, const LineValue& v)
{
    bool ok = false;
    const double value = rowValue.toDouble(&ok);
    if (!ok)
        return false;
    const double scale = std::max(std::abs(v.value), 1e-12);
    return std::abs(value - v.value) <= 1e-9 * scale && rowUnit == v.unit;
}

bool isRecordCommand(const QString& command)
{
    return command.startsWith(QLatin1String("RL,")) || command.startsWith(QLatin1String("RS,"));
}

bool isHeaderCommand(const QString& command)
{
    return command == Commands::Model || command == Commands::RecordCount || command == Commands::LoggingInterval;
}

// --- The cases ----------------------------------------------------------------------------------

struct Param {
    Operation operation;
    std::size_t fault;
};

void PrintTo(const Param& p, std::ostream* out)
{
    *out << caseName(p.operation, faultTable()[p.fault]).toStdString();
}

std::vector<Param> allCases()
{
    std::vector<Param> list;
    for (std::size_t f = 0; f < faultTable().size(); ++f)
        for (Operation op : operations())
            if (faultTable()[f].expectation(op).applies)
                list.push_back({op, f});
    return list;
}

// What one run of an operation left to count.
struct OperationRun {
    qsizetype logFrom = 0;    // its commands in the simulator's answer log
    qsizetype logTo = 0;
    qsizetype messagesFrom = 0;
    qsizetype monitorFrom = 0;
    DataDocument* document = nullptr;
    QString ending;           // as observed, in words
    Ending endingKind = Ending::Completed;
};

class MatrixCase : public ::testing::TestWithParam<Param> {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_dir.isValid());
        m_link = m_dir.filePath(QStringLiteral("meter"));
        m_fault = &faultTable()[GetParam().fault];
        m_operation = GetParam().operation;
        m_result.operation = operationTitle(m_operation);
        m_result.fault = m_fault->title;
        m_name = caseName(m_operation, *m_fault);

        sim::SimulatorOptions options = simulatorOptions(*m_fault, m_operation);
        options.linkPath = m_link;
        m_simulator = std::make_unique<sim::SimulatorThread>(options);
        QString error;
        ASSERT_TRUE(m_simulator->start(&error)) << error.toStdString();

        m_host.setMonitor(&m_monitor);
        m_comm.setAnswerTimeoutMs(ShortAnswerTimeoutMs);
        m_comm.setCommPort(m_link);
        m_clock.start();
    }

    void TearDown() override
    {
        m_result.milliseconds = m_clock.elapsed();
        m_result.portClosed = !m_comm.PortOpen();
        m_result.commState = programState().CommState;
        m_result.passed = !HasFailure();
        writeResult();
        m_comm.closePort();
        m_simulator.reset();
        resetProgramState();
    }

    void writeResult()
    {
        const QString folder = QStringLiteral(QUVO_FAULT_RESULTS);
        QDir().mkpath(folder);
        QFile file(QDir(folder).filePath(m_name + QStringLiteral(".tsv")));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(m_result.toLine().toUtf8() + '\n');
    }

    QStringList newMessages(const OperationRun& run) const { return m_host.messages().mid(run.messagesFrom); }

    // Runs the operation once, to its end (or to the point where it refuses to start).
    OperationRun runOperation()
    {
        OperationRun run;
        run.logFrom = m_simulator->answerLog().size();
        run.messagesFrom = m_host.messages().size();
        run.monitorFrom = m_monitor.answers.size();
        ProgramState& s = programState();
        switch (m_operation) {
        case Operation::Realtime: {
            DataDocument* doc = m_host.newDocument(DataKinds::Realtime);
            doc->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
            doc->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"),
                           QString::number(RecordingPeriodSeconds).rightJustified(2, QLatin1Char('0')));
            run.document = doc;
            m_realtime.mnuRealtimeStart();
            EXPECT_TRUE(test::waitFor([&] { return s.CommState == CommStates::Idle; }, OperationLimit))
                << "the recording did not end";
            break;
        }
        case Operation::Monitor: {
            m_realtime.mnuMoniterStart();
            const auto readings = [&] {
                const QList<sim::AnswerRecord> log = m_simulator->answerLog();
                int n = 0;
                for (qsizetype i = run.logFrom; i < log.size(); ++i)
                    n += log[i].command == Commands::Reading ? 1 : 0;
                return n;
            };
            test::waitFor([&] { return s.CommState == CommStates::Idle || readings() >= MonitorReadings; },
                          OperationLimit);
            if (s.CommState != CommStates::Idle)
                m_realtime.mnuMoniterStop();
            EXPECT_TRUE(test::waitFor([&] { return s.CommState == CommStates::Idle; }, OperationLimit))
                << "monitor mode did not end";
            break;
        }
        case Operation::Logging:
            m_download.mnuDataLoging();
            run.document = m_host.documents().empty() ? nullptr : m_host.documents().back().get();
            break;
        case Operation::Save:
            m_download.mnuDataSave();
            run.document = m_host.documents().empty() ? nullptr : m_host.documents().back().get();
            break;
        }
        // Whatever the meter still sends for its last commands has left it before counting
        // (a slow meter answers after the operation has given up on it).
        const auto allSent = [&] {
            if (!m_simulator->isPlugged())
                return true; // what had not left never will
            const QList<sim::AnswerRecord> log = m_simulator->answerLog();
            for (qsizetype i = run.logFrom; i < log.size(); ++i)
                if (!log[i].output.isEmpty() && !log[i].sent)
                    return false;
            return true;
        };
        EXPECT_TRUE(test::waitFor(allSent, std::chrono::milliseconds(ShortAnswerTimeoutMs * 4)))
            << "the simulator kept answers back";
        run.logTo = m_simulator->answerLog().size();

        if (m_operation == Operation::Logging || m_operation == Operation::Save) {
            switch (m_download.lastOutcome()) {
            case DownloadOutcome::Succeeded:
                run.ending = QStringLiteral("every record read");
                run.endingKind = Ending::Completed;
                break;
            case DownloadOutcome::Failed:
                run.endingKind = m_comm.isLinkLost() ? Ending::PortLost : Ending::Failed;
                run.ending = m_comm.isLinkLost() ? QStringLiteral("link lost, rows kept")
                                                 : QStringLiteral("ended early, rows kept");
                break;
            case DownloadOutcome::NotRun:
                run.ending = QStringLiteral("not started");
                run.endingKind = Ending::Failed;
                break;
            }
        } else {
            switch (m_realtime.lastEnd()) {
            case RealtimeEnd::PeriodOver:
                run.ending = QStringLiteral("period over");
                run.endingKind = Ending::Completed;
                break;
            case RealtimeEnd::Stopped:
                run.ending = QStringLiteral("stopped");
                run.endingKind = Ending::Completed;
                break;
            case RealtimeEnd::PortLost:
                run.ending = QStringLiteral("link lost, rows kept");
                run.endingKind = Ending::PortLost;
                break;
            default:
                run.ending = QStringLiteral("ended otherwise (%1)").arg(static_cast<int>(m_realtime.lastEnd()));
                run.endingKind = Ending::Failed;
                break;
            }
        }
        return run;
    }

    // The program's rules about damaged answers: would it refuse this answer as damaged?
    // Header answers ("RM", "RN", "RI") must pass the check and carry their command's tag;
    // records and live readings must pass the check (a live reading also needs "RR").
    static bool refusedAsDamaged(const sim::AnswerRecord& r)
    {
        const QString line = receivedLine(r);
        if (!passesCheck(line))
            return true;
        const QString body = line.chopped(1);
        if (isHeaderCommand(r.command))
            return !body.startsWith(r.command + QLatin1Char(','));
        if (r.command == Commands::Reading)
            return !body.startsWith(QLatin1String("RR"));
        return false;
    }

    // Counts the readings of a run and checks that none the meter sent intact is missing.
    void countReadings(const OperationRun& run)
    {
        const QList<sim::AnswerRecord> log = m_simulator->answerLog().mid(run.logFrom, run.logTo - run.logFrom);
        const bool live = m_operation == Operation::Realtime || m_operation == Operation::Monitor;

        // The readings the meter sent, in order: intact ones are owed to the program.
        struct Sent {
            sim::AnswerRecord record;
            bool intact;
        };
        QList<Sent> sent;
        for (const sim::AnswerRecord& r : log) {
            const bool reading = live ? r.command == Commands::Reading : isRecordCommand(r.command);
            if (!reading || r.line.isEmpty() || !r.sent)
                continue;
            if (r.line.startsWith(Commands::CommandRejected))
                continue; // "CMD,ERR" is no reading
            sent.append({r, !r.damaged});
            if (r.damaged && !refusedAsDamaged(r))
                ++m_result.undetected;
        }

        int expected = 0;
        int kept = 0;
        if (m_operation == Operation::Monitor) {
            const QStringList shown = m_monitor.answers.mid(run.monitorFrom);
            qsizetype at = 0;
            for (const Sent& s : sent) {
                if (!s.intact)
                    continue;
                ++expected;
                const qsizetype found = shown.indexOf(s.record.line, at);
                if (found >= 0) {
                    ++kept;
                    at = found + 1;
                } else {
                    ADD_FAILURE() << "reading not shown on the Monitor: " << s.record.line.toStdString();
                }
            }
            for (const QString& a : shown)
                m_result.errorRows += a == ErrorReading ? 1 : 0;
        } else {
            ASSERT_NE(run.document, nullptr);
            const DataDocument& doc = *run.document;
            const int rows = doc.GetDatacount();
            QList<bool> matched(rows + 1, false);
            const auto holds = [&](int row, const LineValue& v) {
                const QString value = doc.TextMatrix(row, 2);
                const QString unit = doc.TextMatrix(row, 3);
                return v.reading ? rowHolds(value, unit, v) : value.isEmpty() && unit.isEmpty();
            };
            int at = 1;
            for (qsizetype k = 0; k < sent.size(); ++k) {
                const Sent& s = sent[k];
                if (!s.intact)
                    continue;
                ++expected;
                const QString line = s.record.line;
                const LineValue v = valueOf(line);
                int found = 0;
                if (live) {
                    // A recording adds one row a second: the reading, or "ERROR" for a second
                    // without a good one. The readings come in the order they were sent.
                    for (int row = at; row <= rows && found == 0; ++row)
                        if (holds(row, v))
                            found = row;
                } else {
                    // A download adds one row per record answer it accepts, in order.
                    const int row = static_cast<int>(k) + 1;
                    if (row <= rows && holds(row, v))
                        found = row;
                }
                if (found > 0) {
                    ++kept;
                    matched[found] = true;
                    at = found + 1;
                } else {
                    ADD_FAILURE() << "reading missing from the document: " << line.toStdString();
                }
            }
            int unexplained = 0;
            for (int row = 1; row <= rows; ++row) {
                const QString value = doc.TextMatrix(row, 2);
                if (value == ErrorReading)
                    ++m_result.errorRows;
                else if (!matched[row])
                    ++unexplained;
            }
            // Every other row is a damaged answer that passed the check: the meter's own
            // check character cannot tell, so neither can the program.
            EXPECT_EQ(unexplained, m_result.undetected) << "rows that hold no reading the meter sent";
            if (!live) {
                EXPECT_EQ(m_result.errorRows, 0) << "a download adds no ERROR rows";
            }
        }
        m_result.expected += expected;
        m_result.kept += kept;
        m_result.lost += expected - kept;
    }

    // The texts of the messages the rules give.
    QString linkLostStart() const { return QStringLiteral("The connection to the meter on %1 was lost").arg(m_link); }

    void checkMessages(const OperationRun& run, Message expected)
    {
        const QStringList shown = newMessages(run);
        if (expected == Message::DamageDecides) {
            const QList<sim::AnswerRecord> log = m_simulator->answerLog().mid(run.logFrom, run.logTo - run.logFrom);
            bool refused = false;
            for (const sim::AnswerRecord& r : log) {
                const bool examined = isHeaderCommand(r.command) || isRecordCommand(r.command);
                if (examined && r.sent && r.damaged && refusedAsDamaged(r))
                    refused = true;
            }
            expected = refused ? Message::DataError : Message::None;
            EXPECT_EQ(run.endingKind, refused ? Ending::Failed : Ending::Completed) << run.ending.toStdString();
        }
        switch (expected) {
        case Message::None:
            EXPECT_EQ(shown, QStringList());
            break;
        case Message::Timeout:
            EXPECT_EQ(shown, QStringList{ResID(Res::TimeoutError)});
            break;
        case Message::DataError:
            EXPECT_EQ(shown, QStringList{ResID(Res::DataError)});
            break;
        case Message::CommandError:
            EXPECT_EQ(shown, QStringList{ResID(Res::CommandError)});
            break;
        case Message::LinkLost:
            ASSERT_EQ(shown.size(), 1) << shown.join(QStringLiteral(" | ")).toStdString();
            EXPECT_TRUE(shown.first().startsWith(linkLostStart())) << shown.first().toStdString();
            break;
        case Message::DamageDecides:
            break;
        }
    }

    void expectAtRest()
    {
        EXPECT_FALSE(m_comm.PortOpen()) << "the port was left open";
        EXPECT_EQ(programState().CommState, CommStates::Idle);
    }

    void recordRun(const OperationRun& run)
    {
        if (!m_result.ending.isEmpty())
            m_result.ending += QStringLiteral("; ");
        m_result.ending += run.ending;
        for (const QString& m : newMessages(run))
            m_shown << m;
        m_result.messages = shownMessages();
    }

    // The messages for the report, the case's temporary folder written as "…".
    QString shownMessages() const
    {
        QString text = m_shown.isEmpty() ? QStringLiteral("-") : m_shown.join(QStringLiteral(" | "));
        return text.replace(m_dir.path(), QStringLiteral("…"));
    }

    QTemporaryDir m_dir;
    QString m_link;
    QString m_name;
    const Fault* m_fault = nullptr;
    Operation m_operation = Operation::Realtime;
    std::unique_ptr<sim::SimulatorThread> m_simulator;
    HeadlessHost m_host;
    KeptAnswers m_monitor;
    Comm m_comm{&m_host.prompter()};
    Realtime m_realtime{m_comm, m_host};
    Download m_download{m_comm, m_host};
    CaseResult m_result;
    QStringList m_shown;
    QElapsedTimer m_clock;
};

TEST_P(MatrixCase, EndsCleanlyAndKeepsEveryIntactReading)
{
    const Watchdog watchdog(HardDeadline, m_name);
    const Expectation& expectation = m_fault->expectation(m_operation);

    const OperationRun run = runOperation();
    recordRun(run);
    expectAtRest();
    if (expectation.message != Message::DamageDecides) {
        EXPECT_EQ(run.endingKind, expectation.ending) << run.ending.toStdString();
    }
    checkMessages(run, expectation.message);
    countReadings(run);
    if (m_operation == Operation::Realtime && run.endingKind == Ending::Completed) {
        EXPECT_EQ(run.document->GetDatacount(), RecordingPeriodSeconds + 1); // one row a second, ends included
    }
    if ((m_operation == Operation::Logging || m_operation == Operation::Save) && run.endingKind == Ending::Completed) {
        // A download that says nothing has read the whole memory.
        const int records = m_operation == Operation::Logging ? LoggingRecords : 50;
        EXPECT_EQ(run.document->GetDatacount(), records);
    }

    if (!m_fault->replug)
        return;

    // The device is gone (its path too): the operation cannot start, with the system's reason.
    ASSERT_FALSE(m_simulator->isPlugged());
    EXPECT_FALSE(QFileInfo::exists(m_link));
    QSerialPort probe(m_link);
    EXPECT_FALSE(probe.open(QIODevice::ReadWrite));
    const QString refusal = probe.errorString();
    const OperationRun unplugged = runOperation();
    m_result.ending += QStringLiteral("; unplugged: not started");
    for (const QString& m : newMessages(unplugged))
        m_shown << m;
    // The system's reason first, then where to look: the missing device by its path.
    const QStringList refused = newMessages(unplugged);
    ASSERT_EQ(refused.size(), 1);
    EXPECT_TRUE(refused.first().startsWith(refusal)) << refused.first().toStdString() << " / " << refusal.toStdString();
    EXPECT_TRUE(refused.first().contains(QStringLiteral("There is no %1.").arg(m_link))) << refused.first().toStdString();
    expectAtRest();

    // The device comes back at the same path: the operation runs as if nothing had happened.
    sim::SimulatorOptions options = m_simulator->options();
    options.unplugAtCommand = 0;
    m_simulator->setOptions(options);
    QString error;
    ASSERT_TRUE(m_simulator->replug(&error)) << error.toStdString();
    const OperationRun again = runOperation();
    m_result.ending += QStringLiteral("; replugged: ") + again.ending;
    for (const QString& m : newMessages(again))
        m_shown << m;
    m_result.messages = shownMessages();
    expectAtRest();
    EXPECT_EQ(again.endingKind, Ending::Completed) << again.ending.toStdString();
    EXPECT_EQ(newMessages(again), QStringList());
    countReadings(again);
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, MatrixCase, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<Param>& info) {
                             return caseName(info.param.operation, faultTable()[info.param.fault]).toStdString();
                         });

} // namespace
