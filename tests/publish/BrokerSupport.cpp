#include "BrokerSupport.h"

#include "support/TestHelpers.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QThread>

#include <mosquitto.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

namespace quvo::test {

namespace {

const QString BrokerProgram = QStringLiteral("/usr/sbin/mosquitto");
const QString PasswordProgram = QStringLiteral("mosquitto_passwd");

} // namespace

int freeLocalPort()
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return 0;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0; // the system chooses
    socklen_t length = sizeof(address);
    int port = 0;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0
        && getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    close(fd);
    return port;
}

QJsonObject jsonOf(const QByteArray& payload)
{
    return QJsonDocument::fromJson(payload).object();
}

QList<int> rowsOf(const QList<QByteArray>& payloads)
{
    QList<int> rows;
    for (const QByteArray& payload : payloads)
        rows.append(jsonOf(payload).value(QStringLiteral("row")).toInt());
    return rows;
}

namespace {

bool accepts(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return connected;
}

QString userName()
{
    const passwd* entry = getpwuid(getuid());
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QStringLiteral("root");
}

void wakeEventLoop()
{
    // A posted call wakes the main thread's loop, which then looks at the test's condition.
    if (QCoreApplication* app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, [] {}, Qt::QueuedConnection);
}

} // namespace

// --- TestBroker ---------------------------------------------------------------------------------

TestBroker::TestBroker()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
}

TestBroker::~TestBroker()
{
    stop();
}

QString TestBroker::url() const
{
    return QStringLiteral("%1://127.0.0.1:%2").arg(m_tls ? QStringLiteral("mqtts") : QStringLiteral("mqtt")).arg(m_port);
}

namespace {

bool runOpenssl(const QStringList& arguments, const QString& folder, QString* error)
{
    QProcess openssl;
    openssl.setWorkingDirectory(folder);
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"), arguments);
    if (openssl.waitForFinished(30000) && openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0)
        return true;
    if (error)
        *error = QStringLiteral("openssl %1 failed: %2 %3")
                     .arg(arguments.join(u' '), QString::fromLocal8Bit(openssl.readAll()), openssl.errorString());
    return false;
}

// A self-signed CA: <name>.key and <name>.pem in the folder.
bool makeCa(const QString& folder, const QString& name, QString* error)
{
    return runOpenssl({QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                       QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                       QStringLiteral("-keyout"), name + QStringLiteral(".key"), QStringLiteral("-out"),
                       name + QStringLiteral(".pem"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
                       QStringLiteral("/CN=Quvolink test ") + name},
                      folder, error);
}

} // namespace

bool TestBroker::useTls(QString* error)
{
    const QString folder = m_dir.path();
    QFile extensions(m_dir.filePath(QStringLiteral("server.ext")));
    if (!extensions.open(QIODevice::WriteOnly) || extensions.write("subjectAltName=IP:127.0.0.1\n") < 0) {
        if (error)
            *error = QStringLiteral("cannot write ") + extensions.fileName();
        return false;
    }
    extensions.close();
    m_tls = makeCa(folder, QStringLiteral("ca"), error)
        && runOpenssl({QStringLiteral("req"), QStringLiteral("-newkey"), QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                       QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"), QStringLiteral("-keyout"),
                       QStringLiteral("server.key"), QStringLiteral("-out"), QStringLiteral("server.csr"),
                       QStringLiteral("-subj"), QStringLiteral("/CN=127.0.0.1")},
                      folder, error)
        && runOpenssl({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"), QStringLiteral("server.csr"),
                       QStringLiteral("-CA"), QStringLiteral("ca.pem"), QStringLiteral("-CAkey"), QStringLiteral("ca.key"),
                       QStringLiteral("-CAcreateserial"), QStringLiteral("-out"), QStringLiteral("server.pem"),
                       QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-extfile"), QStringLiteral("server.ext")},
                      folder, error);
    return m_tls;
}

QString TestBroker::caFile() const
{
    return m_dir.filePath(QStringLiteral("ca.pem"));
}

bool TestBroker::makeOtherCa(QString* error)
{
    return makeCa(m_dir.path(), QStringLiteral("other"), error);
}

QString TestBroker::otherCaFile() const
{
    return m_dir.filePath(QStringLiteral("other.pem"));
}

QString TestBroker::log() const
{
    QFile file(m_dir.filePath(QStringLiteral("broker.log")));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

bool TestBroker::requirePassword(const QString& user, const QString& password, QString* error)
{
    m_passwordFile = m_dir.filePath(QStringLiteral("passwords"));
    QProcess make;
    make.setProcessChannelMode(QProcess::MergedChannels);
    make.start(PasswordProgram, {QStringLiteral("-c"), QStringLiteral("-b"), m_passwordFile, user, password});
    if (!make.waitForFinished(10000) || make.exitStatus() != QProcess::NormalExit || make.exitCode() != 0) {
        if (error)
            *error = QStringLiteral("mosquitto_passwd failed: ") + QString::fromLocal8Bit(make.readAll()) + make.errorString();
        return false;
    }
    return true;
}

bool TestBroker::writeConfiguration(QString* error)
{
    QString text = QStringLiteral("listener %1 127.0.0.1\n").arg(m_port);
    text += QStringLiteral("log_dest file %1\n").arg(m_dir.filePath(QStringLiteral("broker.log")));
    text += QStringLiteral("log_type all\n");
    // Run as root, the broker would otherwise become the user "mosquitto", who cannot write
    // into the test's folder.
    text += QStringLiteral("user %1\n").arg(userName());
    if (m_passwordFile.isEmpty()) {
        text += QStringLiteral("allow_anonymous true\n");
    } else {
        text += QStringLiteral("allow_anonymous false\n");
        text += QStringLiteral("password_file %1\n").arg(m_passwordFile);
    }
    if (m_tls) {
        text += QStringLiteral("cafile %1\n").arg(caFile());
        text += QStringLiteral("certfile %1\n").arg(m_dir.filePath(QStringLiteral("server.pem")));
        text += QStringLiteral("keyfile %1\n").arg(m_dir.filePath(QStringLiteral("server.key")));
    }
    if (m_persistence) {
        text += QStringLiteral("persistence true\n");
        text += QStringLiteral("persistence_location %1/\n").arg(m_dir.path());
    }
    QFile file(m_dir.filePath(QStringLiteral("mosquitto.conf")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(text.toUtf8()) < 0) {
        if (error)
            *error = QStringLiteral("cannot write ") + file.fileName();
        return false;
    }
    return true;
}

bool TestBroker::start(QString* error)
{
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (!m_dir.isValid())
        return fail(QStringLiteral("no temporary folder"));
    if (m_port == 0)
        m_port = freeLocalPort();
    if (m_port == 0)
        return fail(QStringLiteral("no free port"));
    if (!writeConfiguration(error))
        return false;
    m_process.start(BrokerProgram, {QStringLiteral("-c"), m_dir.filePath(QStringLiteral("mosquitto.conf"))});
    if (!m_process.waitForStarted(5000))
        return fail(QStringLiteral("mosquitto did not start: ") + m_process.errorString());
    // Ready once it accepts connections (a restart may wait for the port to be free again).
    QDeadlineTimer deadline(std::chrono::seconds(10));
    while (!deadline.hasExpired()) {
        if (m_process.state() == QProcess::NotRunning)
            return fail(QStringLiteral("mosquitto ended: ") + QString::fromLocal8Bit(m_process.readAll()) + log());
        if (accepts(m_port))
            return true;
        QThread::msleep(20);
    }
    return fail(QStringLiteral("mosquitto does not accept connections on port %1: %2").arg(m_port).arg(log()));
}

void TestBroker::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

// --- TestSubscriber -------------------------------------------------------------------------------

TestSubscriber::TestSubscriber(int port, const QString& filter, const QString& sessionId, const QString& user,
                               const QString& password)
    : m_port(port), m_filter(filter)
{
    mosquitto_lib_init();
    const bool persistent = !sessionId.isEmpty();
    m_mosq = mosquitto_new(persistent ? sessionId.toUtf8().constData() : nullptr, !persistent, this);
    if (!user.isEmpty())
        mosquitto_username_pw_set(m_mosq, user.toUtf8().constData(), password.toUtf8().constData());
    mosquitto_message_callback_set(m_mosq, &TestSubscriber::onMessage);
    mosquitto_subscribe_callback_set(m_mosq, &TestSubscriber::onSubscribe);
    // After a broker restart the subscriber is back within a second.
    mosquitto_reconnect_delay_set(m_mosq, 1, 1, false);
    mosquitto_connect_callback_set(m_mosq, [](mosquitto* mosq, void* self, int rc) {
        if (rc == 0) {
            auto* subscriber = static_cast<TestSubscriber*>(self);
            mosquitto_subscribe(mosq, nullptr, subscriber->m_filter.toUtf8().constData(), 1);
        }
    });
}

TestSubscriber::~TestSubscriber()
{
    // Not cancelled: a thread cut short in a callback would leave its message unfreed. It
    // ends once the disconnect is written, or after its reconnect delay of a second.
    mosquitto_disconnect(m_mosq);
    mosquitto_loop_stop(m_mosq, false);
    mosquitto_destroy(m_mosq);
}

bool TestSubscriber::connect(QString* error)
{
    const int rc = mosquitto_connect(m_mosq, "127.0.0.1", m_port, 30);
    if (rc != MOSQ_ERR_SUCCESS) {
        if (error)
            *error = QString::fromUtf8(mosquitto_strerror(rc));
        return false;
    }
    mosquitto_loop_start(m_mosq);
    const bool subscribed = quvo::test::waitFor(
        [this] {
            const std::lock_guard lock(m_mutex);
            return m_subscribed;
        },
        std::chrono::seconds(10));
    if (!subscribed && error)
        *error = QStringLiteral("the subscription was not confirmed");
    return subscribed;
}

void TestSubscriber::onMessage(mosquitto*, void* self, const mosquitto_message* message)
{
    auto* subscriber = static_cast<TestSubscriber*>(self);
    {
        const std::lock_guard lock(subscriber->m_mutex);
        subscriber->m_messages.append(
            {QString::fromUtf8(message->topic),
             QByteArray(static_cast<const char*>(message->payload), message->payloadlen), message->retain});
    }
    wakeEventLoop();
}

void TestSubscriber::onSubscribe(mosquitto*, void* self, int, int, const int*)
{
    auto* subscriber = static_cast<TestSubscriber*>(self);
    {
        const std::lock_guard lock(subscriber->m_mutex);
        subscriber->m_subscribed = true;
    }
    wakeEventLoop();
}

QList<TestSubscriber::Message> TestSubscriber::messages() const
{
    const std::lock_guard lock(m_mutex);
    return m_messages;
}

QList<QByteArray> TestSubscriber::payloads(const QString& topic) const
{
    QList<QByteArray> result;
    for (const Message& m : messages()) {
        if (m.topic == topic)
            result.append(m.payload);
    }
    return result;
}

QByteArray TestSubscriber::last(const QString& topic) const
{
    const QList<QByteArray> all = payloads(topic);
    return all.isEmpty() ? QByteArray() : all.last();
}

bool TestSubscriber::waitFor(const std::function<bool(const QList<Message>&)>& done,
                             std::chrono::milliseconds limit) const
{
    return quvo::test::waitFor([&] { return done(messages()); }, limit);
}

bool TestSubscriber::waitForCount(const QString& topic, int count, std::chrono::milliseconds limit) const
{
    return quvo::test::waitFor([&] { return payloads(topic).size() >= count; }, limit);
}

bool TestSubscriber::waitForLast(const QString& topic, const QByteArray& payload, std::chrono::milliseconds limit) const
{
    return quvo::test::waitFor([&] { return last(topic) == payload; }, limit);
}

} // namespace quvo::test
