#pragma once
// The meter link: the program's single serial port, the command/answer handshake with its
// echo removal, time-out and resends, and the receive handler whose treatment of incoming
// text depends on what the link is doing (CommState).
//
// The link keeps its shared values where every part of the program sees them
// (programState(): RecvBuffer, LastCommand, LinkState, CommState, TickArmed, StopRequested,
// CancelRequested, LastError). It shows nothing itself except the one message of a port that
// cannot be opened, which goes through the injected Prompter.
//
// Waiting for an answer runs the event loop (quvo::waitUntil), so received characters,
// timers and clicks keep being handled while the CPU stays idle.

#include "link/ReceiveBuffer.h"
#include "resources/Constant.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSerialPort>
#include <QString>
#include <QTimer>

#include <cstdint>

namespace quvo {

class Prompter;
class ProgressView;

// Codes of the port's communication event. Only "characters received" is handled.
namespace CommEvents {
constexpr int Send = 1;    // the output buffer ran low
constexpr int Receive = 2; // characters received
} // namespace CommEvents

class Comm : public QObject {
    Q_OBJECT
public:
    explicit Comm(Prompter* prompter = nullptr, QObject* parent = nullptr);
    ~Comm() override;

    Comm(const Comm&) = delete;
    Comm& operator=(const Comm&) = delete;

    // Where the message of a port that cannot be opened is shown (may be null: then only
    // LastError says why).
    void setPrompter(Prompter* prompter);
    // The progress dialog of the running download, whose Cancel button is switched off
    // when a command is never answered. Null when there is none.
    void setProgressView(ProgressView* view);
    ProgressView* progressView() const { return m_progress; }

    // How long one send waits for its answer (AnswerTimeoutMs unless a test shortens it).
    void setAnswerTimeoutMs(int milliseconds);
    int answerTimeoutMs() const;

    // The port as the settings keep it: "1".."16" (and any other number) is the n-th serial
    // port, /dev/ttyS(n-1) here and COMn on Windows; any other text is a device name used as
    // it stands ("/dev/ttyUSB0", "/dev/pts/4", "COM17"). Takes effect at the next OpenPort.
    void setCommPort(const QString& portNumberText);
    QString CommPort() const { return m_commPort; }
    // The device that OpenPort opens.
    QString portName() const;
    static QString portNameFor(const QString& portNumberText);

    // The message of a lost link: the device, what the person can check (the cable, the
    // adapter), and the system's reason last.
    static QString LinkLostText(const QString& device, const QString& reason);

    // The line settings of the meter, "9600,n,8,2".
    QString Settings() const { return LineSettings; }

    // Opens the port for reading and writing with the meter's line settings. On failure the
    // system's reason is shown (exclamation icon) and kept in LastError, and the result is
    // false. A port that is already open is left as it is.
    bool OpenPort();
    // Closes the port. What was written and not yet handed to the system is written first,
    // so a last command ("PL,0" after Stop or Cancel) is not lost with the close; then what
    // the meter still sends is let in and dropped until the line is quiet (40 ms without a
    // character, 300 ms at most), so that no late answer waits for the next operation.
    void closePort();
    bool PortOpen() const;
    // True from a failure of the open port (see portLost) until the next OpenPort. Every
    // SendCommand and writeLine fails meanwhile, with the link's message in LastError.
    bool isLinkLost() const { return m_linkLost; }

    // Sends one command line and waits for its answer, which is then in RecvBuffer.
    // `attempts` is the number of sends; each one waits answerTimeoutMs() for an answer.
    // False at once when Cancel (download) or Stop (every other mode) is requested during
    // the wait, or when the port is lost or not open (LastError says why). When no send
    // was answered: false with "Timeout error occurred." in a download, true otherwise (the
    // caller then finds RecvBuffer empty or incomplete).
    bool SendCommand(const QString& command, int attempts);

    // Writes text + CR LF without waiting (the live reading request). False when the port
    // is not open or has been lost.
    bool writeLine(const QString& text);

    // Stops the answer time-out (the progress dialog's Cancel does this).
    void stopAnswerTimer();
    bool answerTimerActive() const { return tmTimeout.isActive(); }

    // The receive handler: the port calls it with CommEvents::Receive whenever characters
    // arrive. Any other code does nothing.
    void OnComm(int commEvent);

    // In the streaming modes text that arrives while TickArmed is false is not read: it stays
    // in the port's buffer and would otherwise only come with the next receive event, that is
    // with the next characters. The sampling tick calls this once it has set TickArmed again;
    // it runs the receive handler when characters are waiting. True when it did.
    bool takePendingInput();
    // Characters received and not yet taken by the receive handler.
    qint64 bytesWaiting() const;

    // Takes the answer line out of RecvBuffer: skips echo lines (a line equal to
    // LastCommand), keeps the first other line without its last two characters (CR LF) and
    // drops the rest. False while no complete line has arrived.
    bool IsAnswerComplete();

signals:
    // The port failed while open (adapter unplugged, read or write error). Emitted from the
    // event loop once the port has been closed; LastError names the port and the reason.
    void portLost();

private:
    void onTimeout();
    void onErrorOccurred(QSerialPort::SerialPortError error);
    void linkLost(const QString& reason);
    QString readInput();
    QString notOpenText() const;
    void dropWhatIsStillComing();
    void takeDrainedText();

    QSerialPort coComm{this}; // a child named "serialPort", so tests can reach it
    QTimer tmTimeout{this};
    Prompter* m_prompter = nullptr;
    ProgressView* m_progress = nullptr;
    QString m_commPort = QStringLiteral("1");
    QString m_device; // the device named by m_commPort
    std::uint64_t m_session = 0; // counts the opens, so a late close never hits a newer session
    bool m_linkLost = false;
    bool m_dropUntilNextSend = false; // a garbled answer ended the wait; its rest is dropped
    // Closing (dropWhatIsStillComing): what still arrives is dropped.
    bool m_draining = false;
    bool m_drainAnswerOwed = false;   // the last command's answer has not come yet
    QString m_drainTag;               // the two letters its answer begins with
    QString m_drained;                // the incomplete line that came so far
    QElapsedTimer m_sinceText;        // since the last characters came
    QString m_lostMessage;
};

} // namespace quvo
