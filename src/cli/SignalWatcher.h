#pragma once
// Ctrl+C (SIGINT) and SIGTERM as an ordinary Qt signal. The handler itself only writes one
// byte to a pipe (the one thing that is safe there); a QSocketNotifier on the other end
// turns it into interrupted(), delivered by the event loop like any other event, so the
// command can stop the way the Stop button does.

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace quvo::cli {

class SignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit SignalWatcher(QObject* parent = nullptr);
    ~SignalWatcher() override; // the previous handlers are put back

    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;

    bool isWatching() const { return m_notifier != nullptr; }
    int count() const { return m_count; } // signals received so far

signals:
    void interrupted();

private:
    void readPipe();

    std::unique_ptr<QSocketNotifier> m_notifier;
    int m_count = 0;
};

} // namespace quvo::cli
