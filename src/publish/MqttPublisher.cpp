#include "publish/MqttPublisher.h"

#include "publish/ReadingMessage.h"
#include "resources/EventWait.h"

#include <QCoreApplication>
#include <QFile>
#include <QSysInfo>
#include <QTimer>

#include <mosquitto.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#ifdef Q_OS_UNIX
#include <pthread.h>
#endif

namespace quvo {

namespace {

constexpr int QualityOfService = 1;
constexpr int FirstReconnectDelaySeconds = 1;

void initLibrary()
{
    // Once per process; the library keeps its global state until the process ends.
    static const bool initialised = [] {
        mosquitto_lib_init();
        return true;
    }();
    (void)initialised;
}

QString newClientId()
{
    static std::atomic<int> counter{0};
    return QStringLiteral("quvolink-%1-%2-%3")
        .arg(QSysInfo::machineHostName())
        .arg(QCoreApplication::applicationPid())
        .arg(++counter);
}

// The errors after which libmosquitto's thread gives up instead of reconnecting.
bool endsTheConnection(int mosquittoError, int errorNumber)
{
    switch (mosquittoError) {
    case MOSQ_ERR_NOMEM:
    case MOSQ_ERR_PROTOCOL:
    case MOSQ_ERR_INVAL:
    case MOSQ_ERR_NOT_FOUND:
    case MOSQ_ERR_TLS:
    case MOSQ_ERR_PAYLOAD_SIZE:
    case MOSQ_ERR_NOT_SUPPORTED:
    case MOSQ_ERR_AUTH:
    case MOSQ_ERR_ACL_DENIED:
    case MOSQ_ERR_UNKNOWN:
    case MOSQ_ERR_EAI:
    case MOSQ_ERR_PROXY:
        return true;
    default:
        return errorNumber == EPROTO;
    }
}

// The delay before the next attempt: 1 s, 4 s, 9 s, ... up to the maximum, as the library
// itself waits between its reconnects.
int reconnectDelaySeconds(int attempt, int maximum)
{
    const long long delay = static_cast<long long>(FirstReconnectDelaySeconds) * attempt * attempt;
    return static_cast<int>(std::min<long long>(delay, std::max(FirstReconnectDelaySeconds, maximum)));
}

// stop() may have to cancel libmosquitto's thread while it waits to reconnect. Our callbacks
// take locks and post events; they are never cut short in the middle.
class NoCancellation {
public:
#ifdef Q_OS_UNIX
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_previous); }
    ~NoCancellation() { pthread_setcancelstate(m_previous, nullptr); }
#else
    NoCancellation() = default;
#endif
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

private:
    int m_previous = 0;
};

QString lowerFirst(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

} // namespace

QString refusalText(int connackCode)
{
    switch (connackCode) {
    case 1:
        return QStringLiteral("the broker does not speak MQTT 3.1.1");
    case 2:
        return QStringLiteral("the broker rejected the client identifier");
    case 3:
        return QStringLiteral("the broker is unavailable");
    case 4:
        return QStringLiteral("the broker refused the user name or password");
    case 5:
        return QStringLiteral("the broker refused the connection: the user name or password is wrong or missing "
                              "(not authorised)");
    default:
        return QStringLiteral("the broker refused the connection (code %1)").arg(connackCode);
    }
}

QString connectionProblemText(int mosquittoError, int errorNumber)
{
    switch (mosquittoError) {
    case MOSQ_ERR_EAI:
        return QStringLiteral("the broker's host is not known");
    case MOSQ_ERR_ERRNO:
        return errorNumber ? lowerFirst(QString::fromLocal8Bit(std::strerror(errorNumber)))
                           : QStringLiteral("a system error");
    case MOSQ_ERR_CONN_LOST:
        return QStringLiteral("the connection was lost");
    case MOSQ_ERR_KEEPALIVE:
        return QStringLiteral("the broker stopped answering");
    case MOSQ_ERR_TLS:
        return QStringLiteral("the TLS connection failed: the broker's certificate is not trusted (CA file) or does "
                              "not name this host, or the broker does not speak TLS on this port");
    case MOSQ_ERR_PROTOCOL:
        return QStringLiteral("the broker did not answer as an MQTT broker does (does it expect mqtts:// rather "
                              "than mqtt://?)");
    default:
        return lowerFirst(QString::fromUtf8(mosquitto_strerror(mosquittoError)));
    }
}

MqttPublisher::MqttPublisher(QObject* parent) : QObject(parent) {}

MqttPublisher::~MqttPublisher()
{
    stop(std::chrono::milliseconds(500));
}

QString MqttPublisher::topic(const QString& subtopic) const
{
    return m_options.topicPrefix + QLatin1Char('/') + subtopic;
}

bool MqttPublisher::start(const PublisherOptions& options, QString* error)
{
    stop();
    initLibrary();
    m_options = options;
    if (m_options.clientId.isEmpty())
        m_options.clientId = newClientId();
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        if (m_mosq)
            mosquitto_destroy(m_mosq);
        m_mosq = nullptr;
        return false;
    };

    m_mosq = mosquitto_new(m_options.clientId.toUtf8().constData(), true, this);
    if (!m_mosq)
        return fail(QStringLiteral("The connection to the broker cannot be set up (%1).")
                        .arg(QString::fromLocal8Bit(std::strerror(errno))));
    mosquitto_connect_callback_set(m_mosq, &MqttPublisher::onConnectCallback);
    mosquitto_disconnect_callback_set(m_mosq, &MqttPublisher::onDisconnectCallback);
    mosquitto_publish_callback_set(m_mosq, &MqttPublisher::onPublishCallback);
    mosquitto_log_callback_set(m_mosq, &MqttPublisher::onLogCallback);
    mosquitto_reconnect_delay_set(m_mosq, FirstReconnectDelaySeconds,
                                  static_cast<unsigned>(std::max(FirstReconnectDelaySeconds,
                                                                 m_options.reconnectDelayMaxSeconds)),
                                  true);
    if (m_options.announce) {
        const QByteArray statusTopic = topic(Topics::Status).toUtf8();
        mosquitto_will_set(m_mosq, statusTopic.constData(), static_cast<int>(StatusOffline.size()),
                           StatusOffline.constData(), QualityOfService, true);
    }
    if (!m_options.userName.isEmpty()) {
        const QByteArray user = m_options.userName.toUtf8();
        const QByteArray password = m_options.password.toUtf8();
        mosquitto_username_pw_set(m_mosq, user.constData(), m_options.password.isEmpty() ? nullptr : password.constData());
    }
    if (m_options.address.tls) {
        int rc = MOSQ_ERR_SUCCESS;
        if (!m_options.caFile.isEmpty())
            rc = mosquitto_tls_set(m_mosq, QFile::encodeName(m_options.caFile).constData(), nullptr, nullptr, nullptr,
                                   nullptr);
        else
            rc = mosquitto_int_option(m_mosq, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
        if (rc != MOSQ_ERR_SUCCESS)
            return fail(m_options.caFile.isEmpty()
                            ? QStringLiteral("The system's CA certificates cannot be used for mqtts:// (%1).")
                                  .arg(connectionProblemText(rc, errno))
                            : QStringLiteral("The CA file %1 cannot be used (%2).")
                                  .arg(m_options.caFile, connectionProblemText(rc, errno)));
    }

    m_queue = std::make_unique<MessageQueue>(m_options.queueCapacity);
    {
        const std::lock_guard lock(m_sendMutex);
        m_connected = false;
        m_handOverAllowed = false;
    }
    m_inFlight = 0;
    m_attemptsEnded = 0;
    m_stopping = false;
    {
        const std::lock_guard lock(m_stateMutex);
        m_retained.clear();
    }
    m_loopStarted = false;
    setState(BrokerState::Connecting, QString());
    m_connector = std::thread(&MqttPublisher::runConnector, this);
    return true;
}

void MqttPublisher::runConnector()
{
    // The first connection; libmosquitto's thread starts once it is under way and makes every
    // later one itself.
    const QByteArray host = m_options.address.host.toUtf8();
    for (int attempt = 0;; ++attempt) {
        if (m_stopping)
            return;
        errno = 0;
        const int rc = attempt == 0
            ? mosquitto_connect_async(m_mosq, host.constData(), m_options.address.port, m_options.keepAliveSeconds)
            : mosquitto_reconnect_async(m_mosq);
        const int errorNumber = errno;
        if (rc == MOSQ_ERR_SUCCESS) {
            const int started = mosquitto_loop_start(m_mosq);
            if (started != MOSQ_ERR_SUCCESS) {
                ++m_attemptsEnded;
                setState(BrokerState::Failed, QStringLiteral("the connection's thread cannot start (%1)")
                                                  .arg(connectionProblemText(started, errno)));
                return;
            }
            m_loopStarted = true;
            return;
        }
        ++m_attemptsEnded;
        // A name that is not known may be known later (the network comes back); a refused
        // TLS set-up or a bad argument will not change.
        const bool hopeless = rc == MOSQ_ERR_TLS || rc == MOSQ_ERR_INVAL || rc == MOSQ_ERR_NOT_SUPPORTED
            || rc == MOSQ_ERR_NOMEM;
        if (state() == BrokerState::Failed)
            return; // the TLS handshake's own reason was given already (onTlsError)
        setState(hopeless ? BrokerState::Failed : BrokerState::Reconnecting, connectionProblemText(rc, errorNumber));
        if (hopeless)
            return;
        std::unique_lock lock(m_wakeMutex);
        m_wake.wait_for(lock, std::chrono::seconds(reconnectDelaySeconds(attempt + 1, m_options.reconnectDelayMaxSeconds)),
                        [this] { return m_stopping.load(); });
    }
}

std::size_t MqttPublisher::stop(std::chrono::milliseconds flush)
{
    if (!m_mosq)
        return 0;
    m_stopping = true;
    {
        const std::lock_guard lock(m_wakeMutex);
    }
    m_wake.notify_all();
    if (m_connector.joinable())
        m_connector.join();

    const auto connected = [this] { return m_connected.load(); };
    if (connected()) {
        if (m_options.announce)
            publish(Topics::Status, StatusOffline, true);
        else
            handOver();
        const auto deadline = std::chrono::steady_clock::now() + flush;
        std::unique_lock lock(m_wakeMutex);
        while (!(m_queue->empty() && m_inFlight.load() == 0) && connected()
               && std::chrono::steady_clock::now() < deadline)
            m_wake.wait_for(lock, std::chrono::milliseconds(20));
    }
    const std::size_t unacknowledged = waiting();
    if (m_loopStarted) {
        mosquitto_disconnect(m_mosq);
        // A connected thread ends once the disconnect is written; one that waits to
        // reconnect (which may be tens of seconds) or is connecting is cancelled.
        mosquitto_loop_stop(m_mosq, !connected());
    }
    mosquitto_destroy(m_mosq);
    m_mosq = nullptr;
    m_loopStarted = false;
    {
        const std::lock_guard lock(m_sendMutex);
        m_connected = false;
        m_handOverAllowed = false;
    }
    m_queue.reset();
    setState(BrokerState::Off, QString());
    return unacknowledged;
}

void MqttPublisher::publish(const QString& subtopic, const QByteArray& payload, bool retain)
{
    if (!m_queue)
        return;
    const BrokerState now = state();
    if (now == BrokerState::Refused || now == BrokerState::Failed)
        return; // nothing will be sent until the settings are applied again
    const QByteArray fullTopic = topic(subtopic).toUtf8();
    std::size_t dropped = 0;
    if (retain) {
        // Remembered and queued in one step, so that a connect in between publishes it once.
        const std::lock_guard lock(m_stateMutex);
        m_retained[fullTopic] = payload;
        dropped = m_queue->push({fullTopic, payload, retain});
    } else {
        dropped = m_queue->push({fullTopic, payload, retain});
    }
    if (dropped > 0)
        notify();
    handOver();
}

void MqttPublisher::handOver()
{
    // One thread at a time hands messages over, in queue order. A thread that finds the lock
    // taken leaves the work to the holder, which looks once more after letting go, so nothing
    // added meanwhile is left lying in the queue.
    const auto canHandOver = [this] {
        return m_handOverAllowed.load() && m_inFlight.load() < InFlightWindow && !m_queue->empty();
    };
    while (canHandOver()) {
        const std::unique_lock lock(m_sendMutex, std::try_to_lock);
        if (!lock.owns_lock())
            return;
        while (canHandOver()) {
            std::optional<QueuedMessage> message = m_queue->pop();
            if (!message)
                break;
            publishNow(message->topic, message->payload, message->retain);
        }
    }
}

bool MqttPublisher::publishNow(const QByteArray& topic, const QByteArray& payload, bool retain)
{
    int mid = 0;
    ++m_inFlight;
    const int rc = mosquitto_publish(m_mosq, &mid, topic.constData(), static_cast<int>(payload.size()),
                                     payload.constData(), QualityOfService, retain);
    // Without a connection the library keeps the message and sends it after the reconnect.
    if (rc == MOSQ_ERR_SUCCESS || rc == MOSQ_ERR_NO_CONN)
        return true;
    --m_inFlight; // refused by the library (a payload too large): it is not sent
    return false;
}

// --- libmosquitto's thread ------------------------------------------------------------------------

void MqttPublisher::onConnectCallback(mosquitto*, void* self, int rc)
{
    const NoCancellation guard;
    static_cast<MqttPublisher*>(self)->onConnect(rc);
}

void MqttPublisher::onDisconnectCallback(mosquitto*, void* self, int rc)
{
    const int errorNumber = errno;
    const NoCancellation guard;
    static_cast<MqttPublisher*>(self)->onDisconnect(rc, errorNumber);
}

void MqttPublisher::onPublishCallback(mosquitto*, void* self, int)
{
    const NoCancellation guard;
    static_cast<MqttPublisher*>(self)->onPublish();
}

void MqttPublisher::onLogCallback(mosquitto*, void* self, int level, const char* text)
{
    // A failed TLS handshake ends libmosquitto's thread without a disconnect callback; its
    // log line is the only word of it.
    static constexpr char OpenSslError[] = "OpenSSL Error";
    if (level != MOSQ_LOG_ERR || std::strncmp(text, OpenSslError, sizeof(OpenSslError) - 1) != 0)
        return;
    const NoCancellation guard;
    // "OpenSSL Error[0]: error:0A000086:SSL routines::certificate verify failed"
    const QString line = QString::fromUtf8(text);
    static_cast<MqttPublisher*>(self)->onTlsError(line.mid(line.lastIndexOf(QLatin1Char(':')) + 1).trimmed());
}

void MqttPublisher::onTlsError(const QString& reason)
{
    if (m_stopping || state() == BrokerState::Failed)
        return;
    ++m_attemptsEnded;
    setState(BrokerState::Failed, QStringLiteral("the TLS connection failed (%1): check the CA file, the host name in "
                                                 "the broker's certificate, and that the broker speaks TLS on this port")
                                      .arg(reason));
}

void MqttPublisher::onConnect(int rc)
{
    if (m_stopping)
        return;
    if (rc != 0) {
        ++m_attemptsEnded;
        // "Unavailable" may change; a refused user name, password or client will not, and
        // trying again would only knock at the broker's door every few seconds.
        const bool tryAgain = rc == 3;
        setState(tryAgain ? BrokerState::Reconnecting : BrokerState::Refused, refusalText(rc));
        if (!tryAgain)
            mosquitto_disconnect(m_mosq);
        return;
    }
    // What the broker has not acknowledged before a loss is sent again by the library right
    // after this callback; new messages wait for the first acknowledgement then.
    const bool nothingToResend = m_inFlight.load() == 0;
    if (m_options.announce)
        publishNow(topic(Topics::Status).toUtf8(), StatusOnline, true);
    {
        // A retained message still waiting in the queue goes in its turn; the others again now.
        const std::lock_guard lock(m_stateMutex);
        for (const auto& [retainedTopic, payload] : m_retained) {
            if (!m_queue->holdsRetained(retainedTopic))
                publishNow(retainedTopic, payload, true);
        }
    }
    {
        const std::lock_guard lock(m_sendMutex);
        m_connected = true;
        m_handOverAllowed = nothingToResend;
    }
    ++m_attemptsEnded;
    setState(BrokerState::Connected, QString());
    handOver();
}

void MqttPublisher::onDisconnect(int rc, int errorNumber)
{
    {
        // Under the send lock: a hand-over under way finishes before the connection counts as
        // gone, so the library holds its message for the resend.
        const std::lock_guard lock(m_sendMutex);
        m_connected = false;
        m_handOverAllowed = false;
    }
    ++m_attemptsEnded;
    {
        const std::lock_guard lock(m_wakeMutex);
    }
    m_wake.notify_all();
    const BrokerState now = state();
    if (m_stopping || rc == MOSQ_ERR_SUCCESS || now == BrokerState::Refused || now == BrokerState::Failed)
        return; // asked for, or the refusal or failure said stays the reason
    setState(endsTheConnection(rc, errorNumber) ? BrokerState::Failed : BrokerState::Reconnecting,
             connectionProblemText(rc, errorNumber));
}

void MqttPublisher::onPublish()
{
    if (m_inFlight.fetch_sub(1) <= 0)
        m_inFlight = 0;
    {
        const std::lock_guard lock(m_sendMutex);
        if (m_connected)
            m_handOverAllowed = true;
    }
    {
        const std::lock_guard lock(m_wakeMutex);
    }
    m_wake.notify_all();
    handOver();
    if (m_inFlight.load() == 0 && m_queue->empty())
        notify(); // everything is delivered: waiting() is 0
}

// --- State -------------------------------------------------------------------------------------------

void MqttPublisher::setState(BrokerState state, const QString& problem)
{
    {
        const std::lock_guard lock(m_stateMutex);
        if (m_state == state && m_problem == problem)
            return;
        m_state = state;
        m_problem = problem;
    }
    notify();
}

void MqttPublisher::notify()
{
    QMetaObject::invokeMethod(this, [this] { emit stateChanged(); }, Qt::QueuedConnection);
}

BrokerState MqttPublisher::state() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_state;
}

QString MqttPublisher::problem() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_problem;
}

std::size_t MqttPublisher::waiting() const
{
    return (m_queue ? m_queue->size() : 0) + static_cast<std::size_t>(std::max(0, m_inFlight.load()));
}

BrokerState MqttPublisher::waitForFirstAnswer(std::chrono::milliseconds limit)
{
    bool timeUp = false;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, [&timeUp] { timeUp = true; });
    timer.start(limit);
    waitUntil([&] { return timeUp || m_attemptsEnded.load() > 0; });
    return state();
}

} // namespace quvo
