#include "PtyPeer.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace quvo::test {

PtyPeer::PtyPeer() = default;

PtyPeer::~PtyPeer()
{
    hangUp();
    m_readNotifier.reset();
    m_writeNotifier.reset();
}

bool PtyPeer::open(QString* error)
{
    char name[256] = {};
    termios raw{};
    cfmakeraw(&raw);
    if (::openpty(&m_master, &m_slave, name, &raw, nullptr) != 0) {
        if (error)
            *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    m_path = QString::fromLocal8Bit(name);
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);

    m_readNotifier = std::make_unique<QSocketNotifier>(m_master, QSocketNotifier::Read);
    QObject::connect(m_readNotifier.get(), &QSocketNotifier::activated, [this] { readAvailable(); });
    m_writeNotifier = std::make_unique<QSocketNotifier>(m_master, QSocketNotifier::Write);
    m_writeNotifier->setEnabled(false);
    QObject::connect(m_writeNotifier.get(), &QSocketNotifier::activated, [this] { writePending(); });
    return true;
}

void PtyPeer::send(const QByteArray& bytes)
{
    m_out += bytes;
    writePending();
}

void PtyPeer::setResponder(std::function<QByteArray(const QByteArray&)> responder)
{
    m_responder = std::move(responder);
}

void PtyPeer::writePending()
{
    if (m_master < 0)
        return;
    while (!m_out.isEmpty()) {
        const ssize_t n = ::write(m_master, m_out.constData(), static_cast<size_t>(m_out.size()));
        if (n > 0) {
            m_out.remove(0, n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break; // the terminal is full: go on when it takes more
    }
    if (m_writeNotifier)
        m_writeNotifier->setEnabled(!m_out.isEmpty());
}

void PtyPeer::readAvailable()
{
    char buffer[4096];
    while (m_master >= 0) {
        const ssize_t n = ::read(m_master, buffer, sizeof buffer);
        if (n > 0) {
            m_in.append(buffer, n);
            m_partial.append(buffer, n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
    for (qsizetype lf = m_partial.indexOf('\n'); lf >= 0; lf = m_partial.indexOf('\n')) {
        QByteArray line = m_partial.left(lf);
        m_partial.remove(0, lf + 1);
        if (line.endsWith('\r'))
            line.chop(1);
        m_lines.append(line);
        if (m_responder) {
            const QByteArray answer = m_responder(line);
            if (!answer.isEmpty())
                send(answer);
        }
    }
}

bool PtyPeer::lineSettings(termios* settings) const
{
    return m_slave >= 0 && ::tcgetattr(m_slave, settings) == 0;
}

void PtyPeer::hangUp()
{
    // The notifiers are only switched off here (a responder may call this from inside the
    // read notification); they go with the object.
    if (m_readNotifier)
        m_readNotifier->setEnabled(false);
    if (m_writeNotifier)
        m_writeNotifier->setEnabled(false);
    if (m_master >= 0)
        ::close(m_master);
    if (m_slave >= 0)
        ::close(m_slave);
    m_master = -1;
    m_slave = -1;
}

} // namespace quvo::test
