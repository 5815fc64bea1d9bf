#pragma once
// A broker of the test's own and a subscriber to it, for the publishing tests.
//
// TestBroker runs /usr/sbin/mosquitto with a configuration file written into a temporary
// folder of its own, listening on 127.0.0.1 only, at a port that was free when it first
// started (started again, it takes the same port). It is stopped when the object goes.
//
// TestSubscriber is a libmosquitto client on a thread of its own that subscribes with QoS 1
// and keeps every message; each message also wakes the test's event loop, so waitFor()
// sees it at once.

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <mutex>

struct mosquitto;
struct mosquitto_message;

namespace quvo::test {

// A port on 127.0.0.1 where nothing listens (at the moment of asking).
int freeLocalPort();

// A reading's payload as a JSON object (empty when it is none).
QJsonObject jsonOf(const QByteArray& payload);
// The "row" of each reading payload, in order.
QList<int> rowsOf(const QList<QByteArray>& payloads);

class TestBroker {
public:
    TestBroker();
    ~TestBroker();

    TestBroker(const TestBroker&) = delete;
    TestBroker& operator=(const TestBroker&) = delete;

    // Before start(): anonymous clients are refused, this user is let in (a password file
    // made with mosquitto_passwd).
    bool requirePassword(const QString& user, const QString& password, QString* error = nullptr);
    // Before start(): the broker keeps its sessions and their waiting messages on the disk,
    // so that a stop and a start lose nothing of a subscriber's persistent session.
    void keepSessions() { m_persistence = true; }
    // Before start(): the broker speaks TLS only, with a certificate for 127.0.0.1 signed by a
    // CA made for it (openssl); caFile() is that CA's certificate.
    bool useTls(QString* error = nullptr);
    QString caFile() const;
    // A CA of its own that signed nothing this broker has (for a certificate not trusted).
    bool makeOtherCa(QString* error = nullptr);
    QString otherCaFile() const;

    bool start(QString* error = nullptr);
    // SIGTERM, and waits until the broker has ended (a kept session is written then).
    void stop();
    bool running() const { return m_process.state() != QProcess::NotRunning; }

    int port() const { return m_port; }
    QString url() const; // "mqtt://127.0.0.1:<port>" ("mqtts://" with TLS)
    QString folder() const { return m_dir.path(); }
    QString log() const;

private:
    bool writeConfiguration(QString* error);

    QTemporaryDir m_dir;
    QProcess m_process;
    int m_port = 0;
    bool m_persistence = false;
    bool m_tls = false;
    QString m_passwordFile;
};

class TestSubscriber {
public:
    struct Message {
        QString topic;
        QByteArray payload;
        bool retained = false;
    };

    // `sessionId`: the broker keeps the subscription and what arrives meanwhile while this
    // client is away (a persistent session); empty: a clean session of its own.
    TestSubscriber(int port, const QString& filter, const QString& sessionId = QString(),
                   const QString& user = QString(), const QString& password = QString());
    ~TestSubscriber();

    TestSubscriber(const TestSubscriber&) = delete;
    TestSubscriber& operator=(const TestSubscriber&) = delete;

    // Connects and subscribes; true once the broker confirmed the subscription.
    bool connect(QString* error = nullptr);

    QList<Message> messages() const;
    // The payloads that arrived on one topic, in order.
    QList<QByteArray> payloads(const QString& topic) const;
    // The last payload of one topic (empty when none came).
    QByteArray last(const QString& topic) const;

    // Runs the event loop until the condition on the messages holds or the time is up.
    bool waitFor(const std::function<bool(const QList<Message>&)>& done,
                 std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    // ... until `count` payloads arrived on the topic.
    bool waitForCount(const QString& topic, int count, std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    // ... until the topic's last payload is `payload`.
    bool waitForLast(const QString& topic, const QByteArray& payload,
                     std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

private:
    static void onMessage(mosquitto*, void* self, const mosquitto_message* message);
    static void onSubscribe(mosquitto*, void* self, int mid, int count, const int* granted);

    mosquitto* m_mosq = nullptr;
    int m_port;
    QString m_filter;
    mutable std::mutex m_mutex;
    QList<Message> m_messages;
    bool m_subscribed = false;
};


} // namespace quvo::test
