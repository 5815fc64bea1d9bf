#include "MeterSimulator.h"

#include <QMetaObject>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

namespace quvo::sim {

// The simulator is made, driven and destroyed inside its own thread: its socket notifiers
// and timer must live in the thread whose event loop serves them. Calls that change it go
// there as blocking queued invocations on a context object of that thread; the read-only
// accessors of MeterSimulator are guarded by its own mutex and are called directly.
struct SimulatorThread::Impl {
    SimulatorOptions options;
    QThread thread;
    QObject* context = nullptr;         // lives in thread; target of the invocations
    MeterSimulator* simulator = nullptr; // made and deleted in thread
    SimulatorEvents events;             // lives in the owner's thread

    template <typename F>
    void inThread(F&& f)
    {
        QMetaObject::invokeMethod(context, std::forward<F>(f), Qt::BlockingQueuedConnection);
    }
};

SimulatorThread::SimulatorThread(SimulatorOptions options) : d(std::make_unique<Impl>())
{
    d->options = std::move(options);
    d->thread.setObjectName(QStringLiteral("metersim"));
}

SimulatorThread::~SimulatorThread()
{
    if (d->context) {
        d->inThread([this] {
            delete d->simulator;
            d->simulator = nullptr;
        });
        d->thread.quit();
        d->thread.wait();
        delete d->context; // its thread has ended; it holds no notifier or timer
    }
}

bool SimulatorThread::start(QString* error)
{
    if (d->context)
        return d->simulator != nullptr;
    d->context = new QObject;
    d->context->moveToThread(&d->thread);
    d->thread.start();
    bool ok = false;
    QString reason;
    d->inThread([&] {
        d->simulator = new MeterSimulator(d->options);
        // Queued: the signals cross into the owner's thread as events of its loop.
        QObject::connect(d->simulator, &MeterSimulator::commandReceived, &d->events,
                         &SimulatorEvents::commandReceived, Qt::QueuedConnection);
        QObject::connect(d->simulator, &MeterSimulator::plugChanged, &d->events, &SimulatorEvents::plugChanged,
                         Qt::QueuedConnection);
        ok = d->simulator->open(&reason);
    });
    if (!ok && error)
        *error = reason;
    return ok;
}

QString SimulatorThread::devicePath() const
{
    return d->simulator ? d->simulator->devicePath() : QString();
}

void SimulatorThread::unplug()
{
    if (d->simulator)
        d->inThread([this] { d->simulator->unplug(); });
}

bool SimulatorThread::replug(QString* error)
{
    if (!d->simulator) {
        if (error)
            *error = QStringLiteral("The simulator is not started.");
        return false;
    }
    bool ok = false;
    QString reason;
    d->inThread([&] { ok = d->simulator->replug(&reason); });
    if (!ok && error)
        *error = reason;
    return ok;
}

bool SimulatorThread::isPlugged() const
{
    return d->simulator && d->simulator->isPlugged();
}

void SimulatorThread::setOptions(const SimulatorOptions& options)
{
    d->options = options;
    if (d->simulator)
        d->inThread([this, options] { d->simulator->setOptions(options); });
}

SimulatorOptions SimulatorThread::options() const
{
    return d->simulator ? d->simulator->options() : d->options;
}

QStringList SimulatorThread::commandLog() const
{
    return d->simulator ? d->simulator->commandLog() : QStringList();
}

int SimulatorThread::commandCount() const
{
    return d->simulator ? d->simulator->commandCount() : 0;
}

QList<AnswerRecord> SimulatorThread::answerLog() const
{
    return d->simulator ? d->simulator->answerLog() : QList<AnswerRecord>();
}

SimulatorEvents* SimulatorThread::events() const
{
    return &d->events;
}

} // namespace quvo::sim
