#pragma once
// Publishing the readings of this program run to a message broker (beyond the original
// program; off unless turned on): the settings turned into a connection (MqttPublisher),
// every reading and every change of what the meter link is busy with turned into messages
// (ReadingMessage.h). Acquisition reaches it as its host's ReadingObserver; the window shows
// statusText() in its status bar, the command-line program waits for the first answer of
// the broker before it starts.

#include "acquisition/ReadingObserver.h"
#include "document/Limits.h"
#include "publish/MqttPublisher.h"
#include "publish/PublishSettings.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace quvo {

// The connection's options for usable settings (checkPublishSettings passed): the URL's
// address; the user name and password of the settings, or else those in the URL.
PublisherOptions publisherOptionsFor(const PublishSettings& settings);

// The status bar's text: empty when off; otherwise what the connection does, and how many
// messages were dropped when any were ("Publishing: connected to mqtt://lab:1883",
// "Publishing: not connected (connection refused), trying again; 12 messages dropped").
QString publishingStatusText(BrokerState state, const QString& url, const QString& problem, std::uint64_t dropped);

// What the broker's first answer (or its silence for `limit`) means for someone about to
// publish: empty when it accepted the connection, otherwise a sentence that says why not
// ("Cannot publish to mqtt://lab:1883: the broker's host is not known.").
QString firstAnswerProblem(const MqttPublisher& publisher, BrokerState state, const QString& url,
                           std::chrono::milliseconds limit);

// Tries settings once, with a connection of its own that announces nothing: empty when the
// broker accepted it within `limit`, otherwise why not (also for settings that do not pass
// checkPublishSettings). Runs the event loop while it waits.
QString tryBroker(const PublishSettings& settings, std::chrono::milliseconds limit);

class Publishing : public QObject, public ReadingObserver {
    Q_OBJECT
public:
    explicit Publishing(QObject* parent = nullptr);
    ~Publishing() override;

    // Publishes with these settings from now on (what ran before is stopped first); settings
    // that are off stop publishing. False with the reason in *error when they cannot be used.
    bool apply(const PublishSettings& settings, QString* error = nullptr);
    // Ends publishing: the state and "offline" are sent while the broker is there.
    void stop();
    bool active() const { return m_publisher.running(); }

    // For tests and the benchmarks: the queue's size and the longest delay between attempts
    // to connect, taken by the next apply().
    void setTuning(std::size_t queueCapacity, int reconnectDelayMaxSeconds);

    MqttPublisher& publisher() { return m_publisher; }
    const MqttPublisher& publisher() const { return m_publisher; }
    QString url() const { return m_url; }
    QString statusText() const;
    // Runs the event loop until the broker's first answer, for at most `limit`; empty when
    // it accepted the connection, otherwise why not (firstAnswerProblem).
    QString waitForBroker(std::chrono::milliseconds limit);

    // The limits readings are judged against: a judged reading's message carries its
    // judgement ("HI", "PASS", "LO"). None (the default): no message carries one.
    void setLimits(const Limits& limits);

    // ReadingObserver: the state (retained) and every reading.
    void activityChanged(MeterActivity activity) override;
    void readingTaken(const TakenReading& reading) override;

signals:
    void statusChanged();

private:
    MqttPublisher m_publisher;
    ReadingJudge m_judge;
    QString m_url;
    std::size_t m_queueCapacity = PublisherOptions::DefaultQueueCapacity;
    int m_reconnectDelayMax = PublisherOptions{}.reconnectDelayMaxSeconds;
};

} // namespace quvo
