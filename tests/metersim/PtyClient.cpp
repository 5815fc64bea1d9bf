#include "PtyClient.h"

#include "support/TestHelpers.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace quvo::sim::test {

PtyClient::PtyClient()
{
    m_clock.start();
}

PtyClient::~PtyClient()
{
    close();
}

bool PtyClient::open(const QString& path)
{
    close();
    m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_fd < 0)
        return false;
    termios tio{};
    if (::tcgetattr(m_fd, &tio) == 0) {
        ::cfmakeraw(&tio);
        ::cfsetispeed(&tio, B9600);
        ::cfsetospeed(&tio, B9600);
        tio.c_cflag |= CSTOPB | CLOCAL | CREAD;
        ::tcsetattr(m_fd, TCSANOW, &tio);
    }
    m_hungUp = false;
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { onReadable(); });
    return true;
}

void PtyClient::close()
{
    delete m_notifier;
    m_notifier = nullptr;
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

bool PtyClient::send(const QString& command, const QByteArray& lineEnd)
{
    return sendRaw(command.toLatin1() + lineEnd);
}

bool PtyClient::sendRaw(const QByteArray& bytes)
{
    if (m_fd < 0)
        return false;
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(m_fd, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n < 0 && (errno == EINTR || errno == EAGAIN))
            continue; // a terminal's input buffer holds far more than the tests ever send
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

void PtyClient::onReadable()
{
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno == EAGAIN)
            return;
        if (n <= 0) {
            // EIO or end of file: the master side has gone.
            m_hungUp = true;
            if (m_notifier)
                m_notifier->setEnabled(false);
            return;
        }
        const qint64 now = m_clock.nsecsElapsed();
        if (m_firstByteAt < 0)
            m_firstByteAt = now;
        m_lastByteAt = now;
        m_received.append(buffer, n);
    }
}

QStringList PtyClient::lines() const
{
    QStringList out;
    qsizetype start = 0;
    for (;;) {
        const qsizetype lf = m_received.indexOf('\n', start);
        if (lf < 0)
            break;
        QByteArray line = m_received.mid(start, lf - start);
        if (line.endsWith('\r'))
            line.chop(1);
        out << QString::fromLatin1(line);
        start = lf + 1;
    }
    return out;
}

bool PtyClient::everyLineEndsWithCrLf() const
{
    for (qsizetype i = 0; i < m_received.size(); ++i) {
        if (m_received.at(i) == '\n' && (i == 0 || m_received.at(i - 1) != '\r'))
            return false;
    }
    return true;
}

void PtyClient::clear()
{
    m_received.clear();
    m_firstByteAt = m_lastByteAt = -1;
}

bool PtyClient::waitForLines(int count, std::chrono::milliseconds limit)
{
    return quvo::test::waitFor([&] { return lines().size() >= count || m_hungUp; }, limit) && lines().size() >= count;
}

bool PtyClient::waitForBytes(int count, std::chrono::milliseconds limit)
{
    return quvo::test::waitFor([&] { return m_received.size() >= count || m_hungUp; }, limit)
        && m_received.size() >= count;
}

bool PtyClient::waitForHangup(std::chrono::milliseconds limit)
{
    return quvo::test::waitFor([&] { return m_hungUp; }, limit);
}

bool PtyClient::waitForEnding(const QByteArray& ending, std::chrono::milliseconds limit)
{
    return quvo::test::waitFor([&] { return m_received.endsWith(ending) || m_hungUp; }, limit)
        && m_received.endsWith(ending);
}

QStringList PtyClient::ask(const QString& command, int answerLines)
{
    clear();
    if (!send(command) || !waitForLines(answerLines))
        return lines();
    return lines();
}

QChar ruleCheck(const QString& body)
{
    int sum = 0;
    for (QChar c : body)
        sum += c.unicode();
    const int n = sum % 16;
    return n < 10 ? QChar(u'0' + n) : QChar(u'A' + (n - 10));
}

QString withCheck(const QString& body)
{
    return body + ruleCheck(body);
}

} // namespace quvo::sim::test
