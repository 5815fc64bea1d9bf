#include "MeterSimulator.h"

#include "LiveReadings.h"
#include "MeterAnswers.h"

#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <optional>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace quvo::sim {

namespace {

using Clock = std::chrono::steady_clock;

// 9600 baud with 8 data bits, no parity and 2 stop bits: 1 start + 8 + 2 = 11 bits per
// character, 11 / 9600 s = 1.1458 ms.
constexpr std::chrono::nanoseconds CharacterTime{1'145'833};

// Before the terminal closes after its last answer, that answer is given this long to be
// read by the client (see pump()).
constexpr std::chrono::milliseconds DrainSettle{5};
constexpr std::chrono::milliseconds DrainCheck{2};
constexpr std::chrono::milliseconds DrainLimit{2000};

// Received text without a line end is kept up to this size; more is thrown away.
constexpr int LineBufferLimit = 64 * 1024;

// The fault source gets a stream of its own, so that the noise of live readings and the
// faults do not shift each other when one of them is switched on or off.
unsigned faultSeed(unsigned seed)
{
    return seed * 2654435761u + 0x5eedu;
}

QString errnoText(const char* what)
{
    return QStringLiteral("%1: %2").arg(QString::fromLatin1(what), QString::fromLocal8Bit(std::strerror(errno)));
}

} // namespace

struct MeterSimulator::Impl {
    explicit Impl(MeterSimulator* owner, const SimulatorOptions& o)
        : q(owner), options(o), answers(o), faults(faultSeed(o.seed))
    {
    }

    MeterSimulator* q;

    // Read by other threads (SimulatorThread's accessors) as well: guarded by the mutex.
    mutable QMutex mutex;
    SimulatorOptions options;
    QStringList log;
    QList<AnswerRecord> answerLog; // one per entry of log
    QString slavePath;
    bool plugged = false;

    // Used only in the simulator's own thread.
    MeterAnswers answers;
    SeededRandom faults;
    int masterFd = -1;
    int slaveFd = -1;
    QSocketNotifier* readNotifier = nullptr;
    QSocketNotifier* writeNotifier = nullptr;
    QTimer* timer = nullptr;
    int commandsSincePlug = 0;

    // A command line is taken as arrived once its last character has come down the line.
    struct ArrivingLine {
        QByteArray text;
        Clock::time_point due;
    };
    QByteArray lineBuffer;
    Clock::time_point inputFreeAt{};
    std::deque<ArrivingLine> arriving;

    // Echo and answer of one command, sent once its delay has passed.
    struct Reply {
        QByteArray bytes;
        Clock::time_point due;
        bool unplugAfter = false;
        qsizetype record = -1; // its entry in answerLog
    };
    std::deque<Reply> replies;

    // The replies in `output`: their answerLog entry and where they end in `output`.
    struct Outgoing {
        qsizetype record;
        qsizetype end;
    };
    std::deque<Outgoing> outgoing;

    // Bytes on their way out; with pacing one character leaves per character time.
    QByteArray output;
    Clock::time_point outputFreeAt{};
    bool outputBlocked = false; // the terminal's buffer is full: wait until it is writable
    bool unplugPending = false; // unplug once output is empty and has been read
    Clock::time_point lastWriteAt{};
    std::optional<Clock::time_point> drainSince;

    SimulatorOptions current() const
    {
        QMutexLocker lock(&mutex);
        return options;
    }

    bool makeTerminal(QString* error);
    void closeTerminal();
    bool pointLink(QString* error);
    void removeLink(const QString& link);

    void onReadable();
    void pump();
    void handleLine(const QByteArray& raw, Clock::time_point arrivedAt);
    QByteArray withCharacterFaults(const QByteArray& line, const SimulatorOptions& o);
    void writeOutput(Clock::time_point now, bool pacing);
    void markSent(qsizetype record);
    bool lastAnswerRead(Clock::time_point now);
    void schedule(Clock::time_point now, bool pacing);
};

bool MeterSimulator::Impl::makeTerminal(QString* error)
{
    int master = -1;
    int slave = -1;
    if (::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
        if (error)
            *error = errnoText("Cannot create a pseudo-terminal");
        return false;
    }
    char name[256] = {};
    if (::ttyname_r(slave, name, sizeof name) != 0) {
        if (error)
            *error = errnoText("Cannot name the pseudo-terminal");
        ::close(master);
        ::close(slave);
        return false;
    }

    // Raw mode on our own slave descriptor: no echo by the terminal, no CR/LF translation.
    // The settings belong to the terminal, and since this descriptor stays open for the
    // terminal's whole life, a client may close and reopen the port without the master
    // ever seeing a hang-up (EIO).
    termios tio{};
    ::tcgetattr(slave, &tio);
    ::cfmakeraw(&tio);
    ::cfsetispeed(&tio, B9600);
    ::cfsetospeed(&tio, B9600);
    tio.c_cflag |= CSTOPB | CLOCAL | CREAD;
    ::tcsetattr(slave, TCSANOW, &tio);

    ::fcntl(master, F_SETFL, ::fcntl(master, F_GETFL) | O_NONBLOCK);
    ::fcntl(master, F_SETFD, FD_CLOEXEC);
    ::fcntl(slave, F_SETFD, FD_CLOEXEC);

    masterFd = master;
    slaveFd = slave;
    readNotifier = new QSocketNotifier(masterFd, QSocketNotifier::Read, q);
    QObject::connect(readNotifier, &QSocketNotifier::activated, q, [this] { onReadable(); });
    writeNotifier = new QSocketNotifier(masterFd, QSocketNotifier::Write, q);
    writeNotifier->setEnabled(false);
    QObject::connect(writeNotifier, &QSocketNotifier::activated, q, [this] {
        writeNotifier->setEnabled(false);
        outputBlocked = false;
        pump();
    });

    commandsSincePlug = 0;
    lineBuffer.clear();
    arriving.clear();
    replies.clear();
    output.clear();
    outgoing.clear();
    outputBlocked = false;
    unplugPending = false;
    drainSince.reset();
    inputFreeAt = outputFreeAt = Clock::time_point{};
    {
        QMutexLocker lock(&mutex);
        slavePath = QString::fromLocal8Bit(name);
        plugged = true;
    }
    return true;
}

void MeterSimulator::Impl::closeTerminal()
{
    delete readNotifier;
    readNotifier = nullptr;
    delete writeNotifier;
    writeNotifier = nullptr;
    if (timer)
        timer->stop();
    if (masterFd >= 0)
        ::close(masterFd);
    if (slaveFd >= 0)
        ::close(slaveFd);
    masterFd = slaveFd = -1;
    lineBuffer.clear();
    arriving.clear();
    replies.clear();
    output.clear();
    outgoing.clear(); // what had not left yet never will: those records stay unsent
    outputBlocked = false;
    unplugPending = false;
    drainSince.reset();
    QMutexLocker lock(&mutex);
    plugged = false;
}

bool MeterSimulator::Impl::pointLink(QString* error)
{
    QString link;
    QString target;
    {
        QMutexLocker lock(&mutex);
        link = options.linkPath;
        target = slavePath;
    }
    if (link.isEmpty())
        return true;
    const QFileInfo info(link);
    if (info.exists() && !info.isSymLink()) {
        if (error)
            *error = QStringLiteral("%1 exists and is not a symbolic link; it is left alone.").arg(link);
        return false;
    }
    // Made under a temporary name and renamed over the old link, so a program that opens
    // the path never finds it missing or half made.
    const QByteArray finalName = QFile::encodeName(link);
    const QByteArray tempName = finalName + ".new" + QByteArray::number(::getpid());
    ::unlink(tempName.constData());
    if (::symlink(QFile::encodeName(target).constData(), tempName.constData()) != 0
        || ::rename(tempName.constData(), finalName.constData()) != 0) {
        if (error)
            *error = errnoText(QStringLiteral("Cannot make the link %1").arg(link).toLocal8Bit().constData());
        ::unlink(tempName.constData());
        return false;
    }
    return true;
}

void MeterSimulator::Impl::removeLink(const QString& link)
{
    if (!link.isEmpty() && QFileInfo(link).isSymLink())
        ::unlink(QFile::encodeName(link).constData());
}

void MeterSimulator::Impl::onReadable()
{
    const bool pacing = current().pacing;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(masterFd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break; // EAGAIN: all read. (EIO cannot happen while our slave descriptor is open.)
        const Clock::time_point now = Clock::now();
        for (ssize_t i = 0; i < n; ++i) {
            // With pacing each character needs its time on the line; the program wrote
            // them all at once, so they queue up behind each other.
            if (pacing)
                inputFreeAt = std::max(inputFreeAt, now) + CharacterTime;
            const char c = buffer[i];
            if (c == '\n') {
                QByteArray line = lineBuffer;
                if (line.endsWith('\r'))
                    line.chop(1);
                lineBuffer.clear();
                arriving.push_back({line, pacing ? inputFreeAt : now});
            } else if (lineBuffer.size() < LineBufferLimit) {
                lineBuffer.append(c);
            } else {
                lineBuffer.clear(); // a line this long is noise, not a command
            }
        }
    }
    pump();
}

// Moves everything along whose time has come: arrived command lines get their replies,
// replies whose delay is over go to the output, due output characters are written. Then
// the timer is set for the next thing that will be due.
void MeterSimulator::Impl::pump()
{
    if (masterFd < 0)
        return;
    Clock::time_point now = Clock::now();

    while (!arriving.empty() && arriving.front().due <= now) {
        const ArrivingLine line = arriving.front();
        arriving.pop_front();
        handleLine(line.text, line.due);
        if (masterFd < 0)
            return; // a receiver of commandReceived unplugged the simulator
    }

    const SimulatorOptions o = current();
    while (!unplugPending && !replies.empty() && replies.front().due <= now) {
        Reply reply = replies.front();
        replies.pop_front();
        if (output.isEmpty())
            outputFreeAt = std::max(outputFreeAt, reply.due);
        output += reply.bytes;
        if (reply.bytes.isEmpty())
            markSent(reply.record);
        else
            outgoing.push_back({reply.record, output.size()});
        unplugPending = reply.unplugAfter;
    }

    writeOutput(now, o.pacing);

    if (unplugPending && output.isEmpty() && lastAnswerRead(now)) {
        q->unplug();
        return;
    }
    schedule(now, o.pacing);
}

// A hang-up throws away whatever the client has not read yet. A meter whose cable is pulled
// right after its answer has still sent that answer, and the serial driver of the computer
// keeps it, so the terminal closes only once the client has read everything (or after a
// limit, for a client that never reads). The terminal's input queue is read through our own
// slave descriptor; the kernel moves written bytes into that queue a moment after the
// write, so the queue counts only once that moment has passed.
bool MeterSimulator::Impl::lastAnswerRead(Clock::time_point now)
{
    if (!drainSince)
        drainSince = now;
    if (now - *drainSince >= DrainLimit)
        return true;
    int pending = 0;
    if (::ioctl(slaveFd, FIONREAD, &pending) != 0)
        return true;
    return pending == 0 && now - lastWriteAt >= DrainSettle;
}

void MeterSimulator::Impl::handleLine(const QByteArray& raw, Clock::time_point arrivedAt)
{
    const QString command = QString::fromLatin1(raw);
    if (command.isEmpty())
        return; // an empty line (a bare Enter typed by hand) is no command

    ++commandsSincePlug;
    const SimulatorOptions o = current();
    AnswerRecord record;
    record.command = command;

    if (o.unplugAtCommand > 0 && commandsSincePlug == o.unplugAtCommand) {
        // The cable comes out just as this command arrives: it is never answered.
        {
            QMutexLocker lock(&mutex);
            log << command;
            answerLog << record;
        }
        emit q->commandReceived(command);
        q->unplug();
        return;
    }

    QByteArray out;
    const bool silent = o.silent || startsWithAnyOf(command, o.silentCommands);
    if (!silent) {
        if (o.echo)
            out += raw + "\r\n";
        const QString body = answers.answer(command);
        const QChar right = checkCharacter(body);
        QChar check = right;
        if (faults.chance(o.badCheckRate)) {
            // Any of the fifteen other hexadecimal digits.
            static const char hex[] = "0123456789ABCDEF";
            const int index = static_cast<int>(QByteArray(hex).indexOf(right.toLatin1()));
            check = QLatin1Char(hex[(index + 1 + faults.below(15)) % 16]);
        }
        const QByteArray clean = (body + right).toLatin1() + "\r\n";
        const QByteArray faulted = withCharacterFaults((body + check).toLatin1() + "\r\n", o);
        out += faulted;
        record.line = body + right;
        record.damaged = faulted != clean;
    }
    record.output = out;

    Reply reply;
    reply.bytes = out;
    reply.due = arrivedAt + std::chrono::milliseconds(std::max(0, o.answerDelayMs));
    reply.unplugAfter = o.disconnectAfter > 0 && commandsSincePlug == o.disconnectAfter;
    {
        QMutexLocker lock(&mutex);
        log << command;
        reply.record = answerLog.size();
        answerLog << record;
    }
    replies.push_back(reply);

    emit q->commandReceived(command);
    emit q->answered(command, out);
}

void MeterSimulator::Impl::markSent(qsizetype record)
{
    QMutexLocker lock(&mutex);
    if (record >= 0 && record < answerLog.size())
        answerLog[record].sent = true;
}

// Garbling and dropping hit the characters of the answer line (its body and check
// character) but, unless garbleLineEnds is set, never its CR LF. A damaged line end would
// glue this answer to the next one, and every later exchange would then be out of step;
// keeping the framing means each fault stays inside one answer, which is what the
// program's checksum test and resend are there to handle, and what a test can count.
QByteArray MeterSimulator::Impl::withCharacterFaults(const QByteArray& line, const SimulatorOptions& o)
{
    if (o.garbleRate <= 0 && o.dropRate <= 0)
        return line;
    QByteArray result;
    result.reserve(line.size());
    for (const char c : line) {
        const bool lineEnd = c == '\r' || c == '\n';
        if (lineEnd && !o.garbleLineEnds) {
            result.append(c);
            continue;
        }
        if (faults.chance(o.dropRate))
            continue;
        if (faults.chance(o.garbleRate)) {
            // Another printable character (never CR or LF, which would make a line end).
            char other = c;
            while (other == c)
                other = static_cast<char>(0x21 + faults.below(0x7E - 0x21 + 1));
            result.append(other);
            continue;
        }
        result.append(c);
    }
    return result;
}

void MeterSimulator::Impl::writeOutput(Clock::time_point now, bool pacing)
{
    if (output.isEmpty() || outputBlocked)
        return;
    qsizetype count = output.size();
    if (pacing) {
        // Every character whose last bit is due by now; if the timer woke late, several
        // leave at once and the schedule stays exact on average.
        count = 0;
        Clock::time_point next = outputFreeAt;
        while (count < output.size() && next + CharacterTime <= now) {
            next += CharacterTime;
            ++count;
        }
        if (count == 0)
            return;
    }
    qsizetype written = 0;
    while (written < count) {
        const ssize_t n = ::write(masterFd, output.constData() + written, static_cast<size_t>(count - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            // EAGAIN: the client does not read and the terminal's buffer is full.
            outputBlocked = true;
            if (writeNotifier)
                writeNotifier->setEnabled(true);
            break;
        }
        written += n;
        lastWriteAt = Clock::now();
    }
    if (pacing)
        outputFreeAt += CharacterTime * written;
    output.remove(0, written);
    for (Outgoing& o : outgoing)
        o.end -= written;
    while (!outgoing.empty() && outgoing.front().end <= 0) {
        markSent(outgoing.front().record);
        outgoing.pop_front();
    }
}

void MeterSimulator::Impl::schedule(Clock::time_point now, bool pacing)
{
    std::optional<Clock::time_point> wake;
    const auto consider = [&](Clock::time_point t) {
        if (!wake || t < *wake)
            wake = t;
    };
    if (!arriving.empty())
        consider(arriving.front().due);
    if (!unplugPending && !replies.empty())
        consider(replies.front().due);
    if (pacing && !output.isEmpty() && !outputBlocked)
        consider(outputFreeAt + CharacterTime);
    if (unplugPending && output.isEmpty())
        consider(now + DrainCheck); // look again whether the client has read the last answer
    if (!wake) {
        timer->stop();
        return;
    }
    // QTimer counts in whole milliseconds: round up so the wake is never early.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::max(*wake - now, Clock::duration::zero()));
    timer->start(wait);
}

MeterSimulator::MeterSimulator(SimulatorOptions options, QObject* parent)
    : QObject(parent), d(std::make_unique<Impl>(this, options))
{
    d->timer = new QTimer(this);
    d->timer->setSingleShot(true);
    d->timer->setTimerType(Qt::PreciseTimer);
    connect(d->timer, &QTimer::timeout, this, [this] { d->pump(); });
}

MeterSimulator::~MeterSimulator()
{
    if (d->masterFd >= 0) {
        d->closeTerminal();
        d->removeLink(d->current().linkPath);
    }
}

bool MeterSimulator::open(QString* error)
{
    if (d->masterFd >= 0)
        return true;
    if (!d->makeTerminal(error))
        return false;
    if (!d->pointLink(error)) {
        d->closeTerminal();
        return false;
    }
    emit plugChanged(true);
    return true;
}

QString MeterSimulator::devicePath() const
{
    QMutexLocker lock(&d->mutex);
    return d->options.linkPath.isEmpty() ? d->slavePath : d->options.linkPath;
}

void MeterSimulator::unplug()
{
    if (d->masterFd < 0)
        return;
    d->closeTerminal();
    d->removeLink(d->current().linkPath);
    emit plugChanged(false);
}

bool MeterSimulator::replug(QString* error)
{
    unplug();
    return open(error);
}

bool MeterSimulator::isPlugged() const
{
    QMutexLocker lock(&d->mutex);
    return d->plugged;
}

void MeterSimulator::setOptions(const SimulatorOptions& options)
{
    const SimulatorOptions old = d->current();
    if (options.seed != old.seed)
        d->faults.reseed(faultSeed(options.seed));
    d->answers.setOptions(options);
    {
        QMutexLocker lock(&d->mutex);
        d->options = options;
    }
    if (d->masterFd >= 0 && options.linkPath != old.linkPath) {
        d->removeLink(old.linkPath);
        d->pointLink(nullptr); // a new path that cannot be made is simply not there
    }
    // A shorter delay or pacing switched off may make something due now.
    QTimer::singleShot(0, this, [this] { d->pump(); });
}

SimulatorOptions MeterSimulator::options() const
{
    return d->current();
}

QStringList MeterSimulator::commandLog() const
{
    QMutexLocker lock(&d->mutex);
    return d->log;
}

int MeterSimulator::commandCount() const
{
    QMutexLocker lock(&d->mutex);
    return static_cast<int>(d->log.size());
}

QList<AnswerRecord> MeterSimulator::answerLog() const
{
    QMutexLocker lock(&d->mutex);
    return d->answerLog;
}

} // namespace quvo::sim
