#pragma once
// The connection to one MQTT broker, on libmosquitto, that publishes messages with QoS 1
// under a topic prefix ("<prefix>/reading", ...).
//
// Threads. libmosquitto runs the connection on a thread of its own (mosquitto_loop_start):
// it writes, reads the broker's acknowledgements, reconnects with a growing delay after a
// loss and calls the callbacks of this class there. The first connection is made by a short
// thread of ours (the connector), which tries again with the same growing delay until the
// broker's host is found and its port answers: libmosquitto's thread only takes over once a
// first connection is under way, and finding a host may take seconds that the window must
// never wait for.
//
// The user-interface thread only puts messages into the bounded MessageQueue and, while the
// broker is connected and fewer than InFlightWindow messages await their acknowledgement,
// hands the oldest waiting ones to the library, which queues them for its thread and returns
// at once; every acknowledgement hands on the next ones from the network thread. So nothing
// the broker does (being away, slow or refusing) makes the user-interface thread wait, and
// at most InFlightWindow messages are held by the library, which sends them again after a
// reconnect. A broker that stays away fills the queue; then its oldest readings are dropped
// and counted (dropped()).
//
// Order. Messages leave in the order they were queued. After a reconnect the library first
// sends again what was not acknowledged before the loss; new messages follow only once the
// broker has acknowledged something on the new connection, so they never overtake those.
//
// Retained messages (the state) are remembered and published again at every connect, so a
// broker that restarted without keeping them has them again. With `announce`, "online" is
// published retained on "<prefix>/status" at every connect, the broker is given "offline" as
// the last will (sent when the program vanishes), and stop() publishes "offline" itself.

#include "publish/MessageQueue.h"
#include "publish/PublishSettings.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

struct mosquitto;

namespace quvo {

// What the connection is doing.
enum class BrokerState {
    Off,          // not started, or stopped
    Connecting,   // the first connection is under way
    Connected,
    Reconnecting, // not connected (the broker is away, the host unknown, ...): trying again
    Refused,      // the broker refused this client (user name, password, ...): not tried again
    Failed,       // the connection cannot work (TLS, protocol): not tried again
};

struct PublisherOptions {
    static constexpr std::size_t DefaultQueueCapacity = 10000;

    BrokerAddress address;
    QString caFile;    // mqtts://: the CA certificates to trust; empty: the system's
    QString userName;  // empty: none
    QString password;
    QString topicPrefix;
    QString clientId;  // empty: "quvolink-<host name>-<process id>-<n>"
    bool announce = true;
    std::size_t queueCapacity = DefaultQueueCapacity;
    int keepAliveSeconds = 30;
    // Delays between attempts to connect: 1 s, then growing up to this.
    int reconnectDelayMaxSeconds = 30;
};

class MqttPublisher : public QObject {
    Q_OBJECT
public:
    // Messages handed to the library and not yet acknowledged, at most.
    static constexpr int InFlightWindow = 20;

    explicit MqttPublisher(QObject* parent = nullptr);
    ~MqttPublisher() override; // stop() with a short flush

    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    // Starts connecting (stops what ran before). False with the reason in *error only when
    // the client cannot be set up at all (the CA file is refused, no thread); a broker that
    // cannot be reached is a state (Reconnecting), tried again by itself.
    bool start(const PublisherOptions& options, QString* error = nullptr);

    // Ends the connection: with `announce`, "offline" on the status topic; what waits is sent
    // for at most `flush` while the broker is connected; then the connection is closed.
    // Returns how many messages the broker had not acknowledged by then. A first connection
    // under way is let finish its name lookup (which cannot be cut short) first.
    std::size_t stop(std::chrono::milliseconds flush = std::chrono::seconds(2));

    bool running() const { return m_mosq != nullptr; }

    // Queues a message for "<prefix>/<subtopic>" (QoS 1). Never waits. A retained message is
    // also remembered for the next connects. Once the broker refused the client or the
    // connection failed for good, nothing is queued any more.
    void publish(const QString& subtopic, const QByteArray& payload, bool retain = false);

    BrokerState state() const;
    // Why the broker is not connected ("connection refused", "unknown host", ...); empty
    // while connected.
    QString problem() const;
    // How many attempts to connect have ended, either way (a connection, a refusal, a failure).
    int attemptsEnded() const { return m_attemptsEnded.load(); }
    // Messages dropped because the queue was full.
    std::uint64_t dropped() const { return m_queue ? m_queue->dropped() : 0; }
    // Messages not yet acknowledged by the broker (queued or in flight).
    std::size_t waiting() const;
    QString topic(const QString& subtopic) const;
    const PublisherOptions& options() const { return m_options; }

    // Runs the event loop until the first attempt to connect has ended or `limit` is over;
    // returns the state then.
    BrokerState waitForFirstAnswer(std::chrono::milliseconds limit);

signals:
    // The state, the problem or the dropped count changed, or everything waiting was
    // delivered (always on the user-interface thread).
    void stateChanged();

private:
    static void onConnectCallback(mosquitto*, void* self, int rc);
    static void onDisconnectCallback(mosquitto*, void* self, int rc);
    static void onPublishCallback(mosquitto*, void* self, int mid);
    static void onLogCallback(mosquitto*, void* self, int level, const char* text);

    void onConnect(int rc);
    void onDisconnect(int rc, int errorNumber);
    void onPublish();
    void onTlsError(const QString& reason);
    void runConnector();
    void handOver();
    bool publishNow(const QByteArray& topic, const QByteArray& payload, bool retain);
    void setState(BrokerState state, const QString& problem);
    void notify();

    PublisherOptions m_options;
    mosquitto* m_mosq = nullptr;
    std::unique_ptr<MessageQueue> m_queue;

    // Handing messages to the library: one thread at a time, in queue order. The flags change
    // under the lock, so a hand-over never straddles a change of connection.
    std::mutex m_sendMutex;
    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_handOverAllowed{false};
    std::atomic<int> m_inFlight{0};

    mutable std::mutex m_stateMutex;
    BrokerState m_state = BrokerState::Off;
    QString m_problem;
    std::map<QByteArray, QByteArray> m_retained; // topic -> payload, guarded by m_stateMutex
    std::atomic<int> m_attemptsEnded{0};
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_loopStarted{false}; // libmosquitto's thread runs

    // The connector (first connection) and stop()'s waits.
    std::thread m_connector;
    std::mutex m_wakeMutex;
    std::condition_variable m_wake;
};

// The reason of a CONNACK refusal ("the broker refused the user name or password").
QString refusalText(int connackCode);
// The reason of a libmosquitto error code (with errno for system errors).
QString connectionProblemText(int mosquittoError, int errorNumber);

} // namespace quvo
