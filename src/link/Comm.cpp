#include "link/Comm.h"

#include "resources/EventWait.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>
#endif

namespace quvo {

namespace {

const QString LineEnd = QStringLiteral("\r\n");

// Closing: the line counts as quiet after this long without a character (a meter line at
// 9600 baud takes about 30 ms, and the meter answers at once), and the port is closed after
// this long at most whatever still comes.
constexpr int QuietLineMs = 40;
constexpr int DrainLimitMs = 300;

#ifdef Q_OS_UNIX
// The reason of a failed read or write as the user should read it. A terminal whose other
// end has gone reads as an empty end of file, which sets no error number: the port then
// reports whatever reason was left over from an earlier call ("Resource temporarily
// unavailable"). Such a text is replaced by what really happened.
QString failureReason(const QString& portText, int descriptor)
{
    const bool leftover = portText.isEmpty() || portText == QString::fromLocal8Bit(std::strerror(EAGAIN))
        || portText == QString::fromLocal8Bit(std::strerror(EINTR)) || portText == QString::fromLocal8Bit(std::strerror(0));
    if (!leftover || descriptor < 0)
        return portText;
    pollfd p{descriptor, POLLIN, 0};
    if (::poll(&p, 1, 0) > 0 && (p.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
        return QStringLiteral("the line was hung up");
    return portText;
}
#endif

#ifdef Q_OS_LINUX
// What to do about a port that did not open, in plain words, for the two failures a
// newcomer meets: a device this user may not use (not in the "dialout" group), and a
// device that is not there (cable unplugged, wrong name). Empty for anything else.
QString openFailureAdvice(const QString& device)
{
    const QByteArray path = QFile::encodeName(device);
    if (::access(path.constData(), F_OK) != 0) {
        if (errno != ENOENT)
            return {};
        return QStringLiteral("There is no %1. Is the meter's cable (or its USB adapter) plugged in? "
                              "The command  ls /dev/ttyUSB* /dev/ttyACM* /dev/ttyS*  lists the serial ports.")
            .arg(device);
    }
    if (::access(path.constData(), R_OK | W_OK) != 0 && errno == EACCES)
        return QStringLiteral("You are not allowed to use %1. Serial ports are open to the members of the group "
                              "\"dialout\": add yourself with the command  sudo usermod -aG dialout $USER  "
                              "then log out and log in again.")
            .arg(device);
    return {};
}
#endif

} // namespace

QString Comm::LinkLostText(const QString& device, const QString& reason)
{
    // What a person can do something about comes first; the system's own words (such as
    // "Inappropriate ioctl for device") only help whoever looks deeper.
    return QStringLiteral("The connection to the meter on %1 was lost: the meter's cable or its USB serial adapter "
                          "was unplugged, or the adapter stopped working. Check the cable and the adapter, then "
                          "start again. (The system reported: %2.)")
        .arg(device, reason);
}

Comm::Comm(Prompter* prompter, QObject* parent)
    : QObject(parent), m_prompter(prompter)
{
    setObjectName(QStringLiteral("coComm"));
    coComm.setObjectName(QStringLiteral("serialPort"));
    tmTimeout.setObjectName(QStringLiteral("tmTimeout"));
    tmTimeout.setInterval(AnswerTimeoutMs);
    tmTimeout.setSingleShot(true);
    tmTimeout.setTimerType(Qt::PreciseTimer); // a fresh, full period for every send

    // "9600,n,8,2"; handshaking off. DTR and RTS are never touched: a pseudo-terminal or a
    // simple adapter refuses them, and the meter does not need them.
    coComm.setBaudRate(QSerialPort::Baud9600);
    coComm.setParity(QSerialPort::NoParity);
    coComm.setDataBits(QSerialPort::Data8);
    coComm.setStopBits(QSerialPort::TwoStop);
    coComm.setFlowControl(QSerialPort::NoFlowControl);
    m_device = portNameFor(m_commPort);
    coComm.setPortName(m_device);

    connect(&tmTimeout, &QTimer::timeout, this, &Comm::onTimeout);
    connect(&coComm, &QSerialPort::readyRead, this, [this] { OnComm(CommEvents::Receive); });
    connect(&coComm, &QSerialPort::errorOccurred, this, &Comm::onErrorOccurred);
}

Comm::~Comm()
{
    tmTimeout.stop();
    if (coComm.isOpen())
        coComm.close();
}

void Comm::setPrompter(Prompter* prompter)
{
    m_prompter = prompter;
}

void Comm::setProgressView(ProgressView* view)
{
    m_progress = view;
}

void Comm::setAnswerTimeoutMs(int milliseconds)
{
    tmTimeout.setInterval(milliseconds);
}

int Comm::answerTimeoutMs() const
{
    return tmTimeout.interval();
}

QString Comm::portNameFor(const QString& portNumberText)
{
    double value = 0;
    if (parseNumber(portNumberText, value)) {
        try {
            const int n = roundToInt16(value);
#ifdef Q_OS_WIN
            return QStringLiteral("COM%1").arg(n);
#else
            return QStringLiteral("/dev/ttyS%1").arg(n - 1);
#endif
        } catch (const RuntimeError&) {
            // Too large for a port number: the text is tried as a device name, and the
            // open reports why it fails.
        }
    }
    return portNumberText;
}

void Comm::setCommPort(const QString& portNumberText)
{
    m_commPort = portNumberText;
    m_device = portNameFor(portNumberText);
    coComm.setPortName(m_device);
}

QString Comm::portName() const
{
    return m_device;
}

bool Comm::PortOpen() const
{
    return coComm.isOpen();
}

bool Comm::OpenPort()
{
    if (coComm.isOpen())
        return true;
    m_linkLost = false;
    m_lostMessage.clear();
    m_dropUntilNextSend = false;
    if (coComm.open(QIODevice::ReadWrite)) {
        ++m_session;
        coComm.clearError();
        return true;
    }

    // The system's reason first, then what to do about it.
    QString text = coComm.errorString();
#ifdef Q_OS_LINUX
    const QString advice = openFailureAdvice(m_device);
    if (!advice.isEmpty())
        text += LineEnd + advice;
#endif
    coComm.clearError();
    programState().LastError = text;
    if (m_prompter)
        m_prompter->warn(text);
    return false;
}

void Comm::closePort()
{
    if (coComm.isOpen()) {
        if (!m_linkLost) {
            coComm.flush(); // written text waits in the port's buffer until the event loop runs
            dropWhatIsStillComing();
        }
        if (coComm.isOpen())
            coComm.close();
    }
    coComm.clearError();
}

void Comm::dropWhatIsStillComing()
{
    // The meter may still be talking when an operation ends: the answer to the command last
    // sent when a Stop or a Cancel cut its wait short (or its time-out ran out), and before
    // it the answer to the reading asked for last. Lines that reached the port after it was
    // opened again would be read by the next operation as its own answers, each one line
    // late (a download then ends with "Data error occurred."). So the port stays open until
    // that answer has come and the line has been quiet for a moment; what comes meanwhile is
    // dropped. The wait is bounded: a meter that never answers, or never goes quiet, is
    // closed on all the same.
    const ProgramState& s = programState();
    m_drainAnswerOwed = s.LinkState != LinkStates::Complete;
    m_drainTag = s.LastCommand.left(2); // every answer begins with its command's two letters
    m_drained.clear();
    m_sinceText.start();
    m_draining = true;
    takeDrainedText();
    QElapsedTimer total;
    total.start();
    QTimer look; // wakes the wait to look at the clocks when nothing arrives
    look.start(QuietLineMs / 4);
    waitUntil([&] {
        const bool quiet = !m_drainAnswerOwed && m_sinceText.elapsed() >= QuietLineMs;
        return m_linkLost || !coComm.isOpen() || quiet || total.elapsed() >= DrainLimitMs;
    });
    m_draining = false;
    m_drained.clear();
}

void Comm::takeDrainedText()
{
    const QString text = readInput();
    if (text.isEmpty())
        return;
    m_sinceText.restart();
    m_drained += text;
    // Complete lines: the one owed is a line of its command other than the echo, or a
    // rejection.
    for (qsizetype lf = m_drained.indexOf(QLatin1Char('\n')); lf >= 0; lf = m_drained.indexOf(QLatin1Char('\n'))) {
        const QString line = m_drained.left(lf).trimmed();
        m_drained.remove(0, lf + 1);
        if (line.startsWith(Commands::CommandRejected)
            || (line.startsWith(m_drainTag) && line != programState().LastCommand))
            m_drainAnswerOwed = false;
    }
}

QString Comm::notOpenText() const
{
    if (!m_lostMessage.isEmpty())
        return m_lostMessage;
    return QStringLiteral("The port %1 is not open.").arg(m_device);
}

bool Comm::SendCommand(const QString& command, int attempts)
{
    ProgramState& s = programState();
    for (;;) {
        if (!coComm.isOpen() || m_linkLost) {
            tmTimeout.stop();
            s.LastError = notOpenText();
            return false;
        }

        s.LinkState = LinkStates::Waiting;
        --attempts;
        tmTimeout.start();
        s.RecvBuffer.clear();
        m_dropUntilNextSend = false;
        coComm.write((command + LineEnd).toLatin1());
        s.LastCommand = command;

        const auto cancelled = [&] { return s.CommState == CommStates::Download && s.CancelRequested; };
        const auto stopped = [&] { return s.CommState != CommStates::Download && s.StopRequested; };
        waitUntil([&] { return cancelled() || stopped() || m_linkLost || s.LinkState != LinkStates::Waiting; });

        if (cancelled() || stopped())
            return false;
        // An answer that came complete before the port failed is still this command's
        // answer; the next command reports the loss.
        if (s.LinkState == LinkStates::Complete)
            return true;
        if (m_linkLost) {
            tmTimeout.stop();
            s.LastError = m_lostMessage;
            return false;
        }
        // Timed out: send again while attempts remain (attempts counts the sends).
        if (attempts <= 0)
            break;
    }

    if (s.CommState == CommStates::Download) {
        if (m_progress)
            m_progress->setCancelEnabled(false);
        s.LastError = ResID(Res::TimeoutError);
        return false;
    }
    // Outside a download a silent meter is not an error here: the caller finds RecvBuffer
    // empty or incomplete.
    return true;
}

bool Comm::writeLine(const QString& text)
{
    if (!coComm.isOpen() || m_linkLost)
        return false;
    return coComm.write((text + LineEnd).toLatin1()) >= 0;
}

void Comm::stopAnswerTimer()
{
    tmTimeout.stop();
}

QString Comm::readInput()
{
    // One character per byte: the meter speaks 8-bit text, and a check sum counts bytes.
    return QString::fromLatin1(coComm.readAll());
}

qint64 Comm::bytesWaiting() const
{
    return coComm.isOpen() ? coComm.bytesAvailable() : 0;
}

void Comm::OnComm(int commEvent)
{
    if (commEvent != CommEvents::Receive)
        return;
    if (m_draining) {
        takeDrainedText(); // the end of an operation: nothing that comes now is an answer
        return;
    }
    ProgramState& s = programState();
    // While the tick works on RecvBuffer the text stays in the port (takePendingInput).
    if (!ReceiveTakesText(s))
        return;
    switch (ReceiveText(s, readInput(), m_dropUntilNextSend)) {
    case ReceiveResult::Answered:
    case ReceiveResult::Garbled:
        tmTimeout.stop();
        break;
    default:
        break;
    }
}

bool Comm::takePendingInput()
{
    if (bytesWaiting() <= 0)
        return false;
    OnComm(CommEvents::Receive);
    return true;
}

bool Comm::IsAnswerComplete()
{
    ProgramState& s = programState();
    return ExtractAnswerLine(s.RecvBuffer, s.LastCommand);
}

void Comm::onTimeout()
{
    tmTimeout.stop();
    programState().LinkState = LinkStates::TimedOut;
}

void Comm::onErrorOccurred(QSerialPort::SerialPortError error)
{
    switch (error) {
    case QSerialPort::NoError:
        return;
    case QSerialPort::DeviceNotFoundError:
    case QSerialPort::PermissionError:
    case QSerialPort::OpenError:
        return; // OpenPort reports these itself
    case QSerialPort::ResourceError:
    case QSerialPort::ReadError:
    case QSerialPort::WriteError:
        if (coComm.isOpen()) {
            QString reason = coComm.errorString();
#ifdef Q_OS_UNIX
            reason = failureReason(reason, static_cast<int>(coComm.handle()));
#endif
            linkLost(reason);
            return;
        }
        break;
    default:
        // Not fatal, e.g. a pseudo-terminal refusing a modem-line request.
        break;
    }
    coComm.clearError();
}

void Comm::linkLost(const QString& reason)
{
    if (m_linkLost)
        return;
    m_linkLost = true;
    m_lostMessage = LinkLostText(m_device, reason);
    programState().LastError = m_lostMessage;
    tmTimeout.stop();

    // Closing the port inside its own notification would delete the notifier that is
    // calling us, so the close (and the signal, whose receivers may close or reopen the
    // port) waits for the event loop. A wait in SendCommand ends at once on m_linkLost.
    const std::uint64_t session = m_session;
    QMetaObject::invokeMethod(
        this,
        [this, session] {
            if (session != m_session)
                return; // the port was opened again meanwhile: that session is a new one
            if (coComm.isOpen())
                coComm.close();
            coComm.clearError();
            emit portLost();
        },
        Qt::QueuedConnection);
}

} // namespace quvo
