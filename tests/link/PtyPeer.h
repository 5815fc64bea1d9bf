#pragma once
// The far end of a real pseudo-terminal for link tests: the program opens devicePath() as
// its serial port, the test writes exact bytes from this end (one burst per send()) and
// sees every byte the program wrote. An optional responder answers each received line.
// Everything runs on the test's thread, driven by its event loop.

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <memory>

class QSocketNotifier;
struct termios;

namespace quvo::test {

class PtyPeer {
public:
    PtyPeer();
    ~PtyPeer();
    PtyPeer(const PtyPeer&) = delete;
    PtyPeer& operator=(const PtyPeer&) = delete;

    // Creates the terminal (raw mode). False with *error when that fails.
    bool open(QString* error = nullptr);
    QString devicePath() const { return m_path; }

    // Queues bytes for the program; they are written in as few writes as the terminal
    // takes (a short text goes in one write, so the program receives it as one burst).
    void send(const QByteArray& bytes);
    bool allSent() const { return m_out.isEmpty(); }

    // Called for every line the program wrote (without its CR LF); what it returns is sent
    // back in one burst.
    void setResponder(std::function<QByteArray(const QByteArray& line)> responder);

    // Everything the program wrote, and its complete lines without CR LF.
    QByteArray received() const { return m_in; }
    QList<QByteArray> receivedLines() const { return m_lines; }
    int lineCount(const QByteArray& line) const { return static_cast<int>(m_lines.count(line)); }

    // The terminal's line settings as the program left them (both ends share them).
    bool lineSettings(struct termios* settings) const;

    // Pulls the plug: both ends of the terminal are closed here, the program's read fails.
    void hangUp();
    bool isOpen() const { return m_master >= 0; }

private:
    void readAvailable();
    void writePending();

    int m_master = -1;
    int m_slave = -1; // kept open so the terminal lives while the program's port is closed
    QString m_path;
    std::unique_ptr<QSocketNotifier> m_readNotifier;
    std::unique_ptr<QSocketNotifier> m_writeNotifier;
    QByteArray m_out;
    QByteArray m_in;
    QByteArray m_partial;
    QList<QByteArray> m_lines;
    std::function<QByteArray(const QByteArray&)> m_responder;
};

} // namespace quvo::test
