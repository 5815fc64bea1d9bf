#pragma once
// The program's end of the line, for tests: opens a device path with plain POSIX calls,
// sets it to 9600 baud 8N2 raw as a serial port would be, writes command lines and
// collects everything that comes back, with the time each piece arrived.

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>

class QSocketNotifier;

namespace quvo::sim::test {

class PtyClient : public QObject {
public:
    PtyClient();
    ~PtyClient() override;

    bool open(const QString& path);
    void close();
    bool isOpen() const { return m_fd >= 0; }

    // Writes command + line end; false when the write fails (e.g. the terminal is gone).
    bool send(const QString& command, const QByteArray& lineEnd = "\r\n");
    bool sendRaw(const QByteArray& bytes);

    QByteArray received() const { return m_received; }
    // Complete lines received so far (up to LF), without their CR LF.
    QStringList lines() const;
    // True when every LF received so far comes right after a CR.
    bool everyLineEndsWithCrLf() const;
    void clear();

    // Wait (running the event loop) until so many complete lines / bytes have come, or the
    // other end has hung up. False on time-out.
    bool waitForLines(int count, std::chrono::milliseconds limit = std::chrono::seconds(10));
    bool waitForBytes(int count, std::chrono::milliseconds limit = std::chrono::seconds(10));
    bool waitForHangup(std::chrono::milliseconds limit = std::chrono::seconds(10));
    bool waitForEnding(const QByteArray& ending, std::chrono::milliseconds limit = std::chrono::seconds(10));

    // The other end closed: a read failed or gave end of file.
    bool hungUp() const { return m_hungUp; }

    // Nanoseconds on the clock of clock() when the first and the last byte were read.
    qint64 firstByteAt() const { return m_firstByteAt; }
    qint64 lastByteAt() const { return m_lastByteAt; }
    const QElapsedTimer& clock() const { return m_clock; }

    // Sends a command and waits for so many answer lines; returns them.
    QStringList ask(const QString& command, int answerLines);

private:
    void onReadable();

    int m_fd = -1;
    QSocketNotifier* m_notifier = nullptr;
    QByteArray m_received;
    bool m_hungUp = false;
    QElapsedTimer m_clock;
    qint64 m_firstByteAt = -1;
    qint64 m_lastByteAt = -1;
};

// The check character by its rule: the low four bits of the sum of the character codes,
// as a hexadecimal digit "0".."9", "A".."F". Written here on its own so that the
// simulator's answers are checked against the rule, not against themselves.
QChar ruleCheck(const QString& body);
QString withCheck(const QString& body);

} // namespace quvo::sim::test
