#include "cli/MqttOptions.h"

#include "acquisition/HeadlessHost.h"
#include "cli/MeterSession.h"
#include "publish/Publishing.h"

#include <QCommandLineParser>

namespace quvo::cli {

MqttOptions::MqttOptions()
    : m_urlOption(QStringLiteral("mqtt"), QStringLiteral("Publish every reading to the MQTT broker at URL."),
                  QStringLiteral("URL")),
      m_topicOption(QStringLiteral("topic"), QStringLiteral("The topic prefix of the messages."),
                    QStringLiteral("PREFIX")),
      m_caOption(QStringLiteral("mqtt-ca"), QStringLiteral("mqtts://: the CA certificates to trust."),
                 QStringLiteral("FILE"))
{
}

MqttOptions::~MqttOptions()
{
    finish();
}

void MqttOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOption(m_urlOption);
    parser.addOption(m_topicOption);
    parser.addOption(m_caOption);
}

bool MqttOptions::read(const QCommandLineParser& parser, QString& error)
{
    m_settings = PublishSettings{};
    if (!parser.isSet(m_urlOption)) {
        if (parser.isSet(m_topicOption) || parser.isSet(m_caOption)) {
            error = QStringLiteral("--topic and --mqtt-ca need --mqtt URL.");
            return false;
        }
        return true;
    }
    for (const QCommandLineOption* option : {&m_urlOption, &m_topicOption, &m_caOption}) {
        if (parser.values(*option).size() > 1) {
            error = QStringLiteral("Give --%1 only once.").arg(option->names().constFirst());
            return false;
        }
    }
    m_settings.enabled = true;
    m_settings.url = parser.value(m_urlOption);
    m_settings.topicPrefix = parser.value(m_topicOption);
    m_settings.caFile = parser.value(m_caOption);
    if (parser.isSet(m_topicOption) && m_settings.topicPrefix.trimmed().isEmpty()) {
        error = QStringLiteral("--topic: a topic prefix is needed, such as --topic lab/bench1.");
        return false;
    }
    if (qEnvironmentVariableIsSet(PasswordVariable))
        m_settings.password = qEnvironmentVariable(PasswordVariable);
    if (const std::optional<SettingsProblem> problem = checkPublishSettings(m_settings)) {
        if (problem->field == PublishField::UserName)
            error = QStringLiteral("%1 is set, but the URL names no user: give one as mqtt://user@host.")
                        .arg(QString::fromLatin1(PasswordVariable));
        else
            error = problem->message;
        return false;
    }
    return true;
}

bool MqttOptions::start(HeadlessHost& host, QString& error)
{
    if (!wanted())
        return true;
    m_publishing = std::make_unique<Publishing>();
    if (!m_publishing->apply(m_settings, &error)) {
        m_publishing.reset();
        return false;
    }
    error = m_publishing->waitForBroker(AnswerTime);
    if (!error.isEmpty()) {
        m_publishing.reset();
        return false;
    }
    m_publishing->setLimits(m_limits);
    host.setReadingObserver(m_publishing.get());
    return true;
}

void MqttOptions::finish()
{
    if (!m_publishing)
        return;
    MqttPublisher& publisher = m_publishing->publisher();
    const std::uint64_t dropped = publisher.dropped();
    const QString url = m_publishing->url();
    const QString problem = publisher.problem();
    const std::size_t unconfirmed = publisher.stop();
    if (dropped > 0)
        printMessage(QStringLiteral("%1 messages were dropped while the broker %2 was away too long.").arg(dropped).arg(url));
    if (unconfirmed > 0)
        printMessage(QStringLiteral("%1 messages were not confirmed by the broker %2%3.")
                         .arg(unconfirmed)
                         .arg(url, problem.isEmpty() ? QString() : QStringLiteral(" (") + problem + QLatin1Char(')')));
    m_publishing.reset();
}

QString MqttOptions::helpLines()
{
    return QStringLiteral(
        "Publishing (beyond the original program): every reading also goes to an MQTT broker, as\n"
        "a JSON object on PREFIX/reading; PREFIX/state (idle, monitoring, recording,\n"
        "downloading) and PREFIX/status (online, offline) are kept by the broker. A broker that\n"
        "goes away costs the readings nothing: publishing goes on when it is back.\n"
        "  --mqtt URL       the broker: mqtt://host:1883 or mqtts://host:8883; a user name goes\n"
        "                   into the URL (mqtt://user@host); the password is read from the\n"
        "                   environment variable QUVOLINK_MQTT_PASSWORD\n"
        "  --topic PREFIX   the topic prefix; default quvolink/<host name>\n"
        "  --mqtt-ca FILE   with mqtts://: the CA certificates to trust; default the system's\n"
        "A URL that does not read is a usage error (exit code 2); a broker that cannot be\n"
        "reached or refuses at the start ends the command with exit code 1.\n");
}

} // namespace quvo::cli
