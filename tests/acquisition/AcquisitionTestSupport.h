#pragma once
// Test doubles for acquisition: a clock the test moves by hand, a Monitor that keeps what it
// was shown, a realtime forwarder that records its calls and fails on request, a progress
// dialog that records its calls (and can press Cancel the way the dialog does), and a
// scripted meter on a real pseudo-terminal whose answers the test chooses.

#include "acquisition/CommandHost.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "link/Comm.h"
#include "link/PtyPeer.h"
#include "resources/ProgressView.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

#include <gtest/gtest.h>

namespace quvo::test {

class FakeClock : public RealtimeClock {
public:
    QDateTime t;
    QDateTime now() const override { return t; }
    void advance(int milliseconds) { t = t.addMSecs(milliseconds); }
};

class RecordingMonitor : public MonitorSink {
public:
    QStringList answers; // every SetData argument, in order
    void SetData(const QString& answer) override { answers.append(answer); }
};

class FakeForwarder : public RealtimeForwarder {
public:
    struct Row {
        QString time, display, unit;
        bool operator==(const Row&) const = default;
    };
    bool beginResult = true;
    QString beginError;        // LastError set when beginResult is false
    int failAppendAt = 0;      // the n-th AppendRealtimeRow call fails (0: none)
    QString appendError;       // its LastError
    int beginCalls = 0;
    int beginCommState = -1;   // CommState during BeginRealtimeForward
    QList<Row> rows;           // rows appended successfully
    int appendCalls = 0;
    int endCalls = 0;
    int releaseCalls = 0;

    bool BeginRealtimeForward() override;
    bool AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText) override;
    void EndRealtimeForward() override { ++endCalls; }
    void releaseRealtimeForward() override { ++releaseCalls; }
};

// The progress dialog as a download sees it, recorded.
class ProgressRecorder : public ProgressView {
public:
    struct Call {
        bool throttle;
        int current;
        int total;
        bool operator==(const Call&) const = default;
    };
    struct Log {
        QStringList captions;
        QStringList messages;
        QList<Call> calls;
        QList<bool> cancelEnabled;
        int shown = 0;
        int unloaded = 0;
    };
    explicit ProgressRecorder(Log& log) : m_log(log) {}

    // Presses Cancel (as the dialog's button does during a download) once RenProgress has
    // shown `current`: "Canceling...", the answer time-out stopped, LastError "Canceled.",
    // CancelRequested. The press happens from the event loop, as a click would.
    void cancelAt(int current, Comm* comm)
    {
        m_cancelAt = current;
        m_comm = comm;
    }

    void show() override { ++m_log.shown; }
    void unload() override { ++m_log.unloaded; }
    void SetCaption(const QString& text) override { m_log.captions.append(text); }
    void SetMessage(const QString& text) override { m_log.messages.append(text); }
    void RenProgress(bool throttle, std::int16_t current, std::int16_t total) override;
    void setCancelEnabled(bool enabled) override { m_log.cancelEnabled.append(enabled); }

private:
    Log& m_log;
    int m_cancelAt = 0;
    Comm* m_comm = nullptr;
};

// A meter on a pseudo-terminal that answers as the test says: the start and stop commands
// with their usual answers, "RM" with the model, and every "RR,1" with the next scripted
// reply (echo included), or, when none is scripted, with a reading whose number is the
// request's index ("RR,N,+07.000 VDC" for the eighth request).
class ScriptedMeter {
public:
    bool open(QString* error = nullptr);
    QString devicePath() const { return peer.devicePath(); }

    // The answer line of a body: body, check character, CR LF.
    static QByteArray line(const QString& body);
    // The reading body of the request with this index.
    static QString indexReading(int index);

    QChar model = QLatin1Char('1');
    QList<QByteArray> readingReplies;   // whole replies to "RR,1" (after the echo), in order
    QSet<QByteArray> silentCommands;    // commands never answered (no echo either)
    QSet<int> silentRequests;           // indices of "RR,1" requests left without any answer
    std::function<void(const QByteArray& command)> onCommand; // called before answering

    int count(const QByteArray& command) const { return peer.lineCount(command); }
    int readingRequests() const { return m_readings; }
    QByteArray lastReply() const { return m_lastReply; }

    PtyPeer peer;

private:
    QByteArray respond(const QByteArray& command);
    int m_readings = 0;
    QByteArray m_lastReply;
};

// The clock moves on by whole seconds and the tick runs; when the tick asked the meter for a
// reading, waits until the whole reply is in RecvBuffer (a failed wait fails the test).
void advanceSecond(FakeClock& clock, Realtime& realtime, const ScriptedMeter& meter, int count = 1);

// Realtime recording or monitor mode driven second by second: the scripted meter on its
// pseudo-terminal, the link (answers waited for 2 s), Realtime on a clock the test moves
// (from 2024-03-05 12:00:00.500) with its timers off, and a Monitor that keeps what it shows.
class SteppedRealtimeTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // One or more seconds on the clock and the tick (advanceSecond).
    void second(int count = 1) { advanceSecond(clock, realtime, meter, count); }

    HeadlessHost host;
    Comm comm{&host.prompter()};
    Realtime realtime{comm, host};
    FakeClock clock;
    ScriptedMeter meter;
    RecordingMonitor monitor;
};

} // namespace quvo::test
