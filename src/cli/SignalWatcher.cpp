#include "cli/SignalWatcher.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace quvo::cli {

#ifdef Q_OS_UNIX
namespace {

int pipeEnds[2] = {-1, -1};
struct sigaction previousInt {};
struct sigaction previousTerm {};

extern "C" void onSignal(int)
{
    const int saved = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
    errno = saved;
}

} // namespace
#endif

SignalWatcher::SignalWatcher(QObject* parent) : QObject(parent)
{
#ifdef Q_OS_UNIX
    if (pipeEnds[0] >= 0 || ::pipe(pipeEnds) != 0)
        return; // one watcher per process
    for (const int fd : pipeEnds) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &previousInt);
    ::sigaction(SIGTERM, &action, &previousTerm);
    m_notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &SignalWatcher::readPipe);
#endif
}

SignalWatcher::~SignalWatcher()
{
#ifdef Q_OS_UNIX
    if (!m_notifier)
        return;
    ::sigaction(SIGINT, &previousInt, nullptr);
    ::sigaction(SIGTERM, &previousTerm, nullptr);
    m_notifier.reset();
    ::close(pipeEnds[0]);
    ::close(pipeEnds[1]);
    pipeEnds[0] = pipeEnds[1] = -1;
#endif
}

void SignalWatcher::readPipe()
{
#ifdef Q_OS_UNIX
    char bytes[16];
    ssize_t n = 0;
    int received = 0;
    while ((n = ::read(pipeEnds[0], bytes, sizeof bytes)) > 0)
        received += static_cast<int>(n);
    if (received == 0)
        return;
    m_count += received;
    emit interrupted();
#endif
}

} // namespace quvo::cli
