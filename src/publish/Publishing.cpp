#include "publish/Publishing.h"

#include "publish/ReadingMessage.h"

namespace quvo {

PublisherOptions publisherOptionsFor(const PublishSettings& settings)
{
    PublisherOptions options;
    const BrokerAddress address = parseBrokerUrl(settings.url).value_or(BrokerAddress{});
    options.address = address;
    options.caFile = settings.caFile.trimmed();
    const QString userName = settings.userName.trimmed();
    options.userName = userName.isEmpty() ? address.userName : userName;
    options.password = settings.password.isEmpty() ? address.password : settings.password;
    options.topicPrefix = topicPrefixOf(settings);
    return options;
}

QString publishingStatusText(BrokerState state, const QString& url, const QString& problem, std::uint64_t dropped)
{
    QString text;
    switch (state) {
    case BrokerState::Off:
        return QString();
    case BrokerState::Connecting:
        text = QStringLiteral("Publishing: connecting to %1").arg(url);
        break;
    case BrokerState::Connected:
        text = QStringLiteral("Publishing: connected to %1").arg(url);
        break;
    case BrokerState::Reconnecting:
        text = QStringLiteral("Publishing: not connected to %1 (%2), trying again").arg(url, problem);
        break;
    case BrokerState::Refused:
        text = QStringLiteral("Publishing: %1 (%2)").arg(problem, url);
        break;
    case BrokerState::Failed:
        text = QStringLiteral("Publishing stopped: %1 (%2)").arg(problem, url);
        break;
    }
    if (dropped == 1)
        text += QStringLiteral("; 1 message dropped");
    else if (dropped > 1)
        text += QStringLiteral("; %1 messages dropped").arg(dropped);
    return text;
}

QString firstAnswerProblem(const MqttPublisher& publisher, BrokerState state, const QString& url,
                           std::chrono::milliseconds limit)
{
    switch (state) {
    case BrokerState::Connected:
        return QString();
    case BrokerState::Off:
    case BrokerState::Connecting:
        return QStringLiteral("The broker %1 did not answer within %2 seconds.")
            .arg(url)
            .arg(std::chrono::duration_cast<std::chrono::seconds>(limit).count());
    case BrokerState::Reconnecting:
    case BrokerState::Refused:
    case BrokerState::Failed:
        break;
    }
    return QStringLiteral("Cannot publish to %1: %2.").arg(url, publisher.problem());
}

QString tryBroker(const PublishSettings& settings, std::chrono::milliseconds limit)
{
    if (const std::optional<SettingsProblem> problem = checkPublishSettings(settings))
        return problem->message;
    PublisherOptions options = publisherOptionsFor(settings);
    options.announce = false; // a trial leaves nothing behind on the broker
    const QString url = brokerUrlText(options.address);
    MqttPublisher trial;
    QString error;
    if (!trial.start(options, &error))
        return error;
    const QString problem = firstAnswerProblem(trial, trial.waitForFirstAnswer(limit), url, limit);
    trial.stop(std::chrono::milliseconds(0));
    return problem;
}

Publishing::Publishing(QObject* parent) : QObject(parent)
{
    connect(&m_publisher, &MqttPublisher::stateChanged, this, &Publishing::statusChanged);
}

Publishing::~Publishing()
{
    stop();
}

void Publishing::setTuning(std::size_t queueCapacity, int reconnectDelayMaxSeconds)
{
    m_queueCapacity = queueCapacity;
    m_reconnectDelayMax = reconnectDelayMaxSeconds;
}

bool Publishing::apply(const PublishSettings& settings, QString* error)
{
    stop();
    if (!settings.enabled)
        return true;
    if (const std::optional<SettingsProblem> problem = checkPublishSettings(settings)) {
        if (error)
            *error = problem->message;
        return false;
    }
    PublisherOptions options = publisherOptionsFor(settings);
    options.queueCapacity = m_queueCapacity;
    options.reconnectDelayMaxSeconds = m_reconnectDelayMax;
    m_url = brokerUrlText(options.address);
    if (!m_publisher.start(options, error))
        return false;
    // Until the meter link is busy, it is idle.
    activityChanged(MeterActivity::Idle);
    return true;
}

void Publishing::stop()
{
    m_publisher.stop();
}

QString Publishing::waitForBroker(std::chrono::milliseconds limit)
{
    return firstAnswerProblem(m_publisher, m_publisher.waitForFirstAnswer(limit), m_url, limit);
}

QString Publishing::statusText() const
{
    return publishingStatusText(m_publisher.state(), m_url, m_publisher.problem(), m_publisher.dropped());
}

void Publishing::activityChanged(MeterActivity activity)
{
    m_publisher.publish(Topics::State, statePayload(activity), true);
}

void Publishing::setLimits(const Limits& limits)
{
    m_judge = ReadingJudge(limits);
}

void Publishing::readingTaken(const TakenReading& reading)
{
    const Judgement judgement = m_judge.judge(reading.value, reading.unit);
    m_publisher.publish(Topics::Reading, readingPayload(reading, judgement == Judgement::None
                                                                    ? std::nullopt
                                                                    : std::optional<QString>(judgementText(judgement))));
}

} // namespace quvo
