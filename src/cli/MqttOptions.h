#pragma once
// The publishing options of the meter commands (monitor, record, download): every reading
// also goes to an MQTT broker as it is taken (beyond the original program; off unless asked).
//
//   --mqtt URL        the broker: mqtt://host:1883, or mqtts://host:8883; a user name goes
//                     into the URL (mqtt://user@host:1883)
//   --topic PREFIX    the topic prefix (default quvolink/<host name>)
//   --mqtt-ca FILE    mqtts://: the CA certificates to trust (default: the system's)
// The password comes from the environment variable QUVOLINK_MQTT_PASSWORD (a password in the
// URL works too, but others may read it in the list of processes).
//
// Use in a command:
//   MqttOptions mqtt;  mqtt.addTo(parser);   // before parser.parse(...)
//   if (!mqtt.read(parser, error))  -> usage error, exit 2 (a URL that does not read, ...)
//   ...session.start()...
//   if (!mqtt.start(session.host(), error))  -> message, exit 1 (unknown host, refused, ...)
//   ...the operation...
// When the object goes, what still waits is sent (for a few seconds at most) and whatever
// could not be published is said on stderr; the host (which may be gone by then) is not
// touched again. The broker never changes the command's exit
// code once the command runs: its rows are what counts.

#include "document/Limits.h"
#include "publish/PublishSettings.h"

#include <QCommandLineOption>
#include <QString>

#include <chrono>
#include <memory>

class QCommandLineParser;

namespace quvo {
class HeadlessHost;
class Publishing;
} // namespace quvo

namespace quvo::cli {

class MqttOptions {
public:
    // How long the start waits for the broker's first answer.
    static constexpr std::chrono::seconds AnswerTime{10};

    MqttOptions();
    ~MqttOptions(); // finish()

    MqttOptions(const MqttOptions&) = delete;
    MqttOptions& operator=(const MqttOptions&) = delete;

    void addTo(QCommandLineParser& parser) const;
    // Takes the options; false with the reason for a usage mistake.
    bool read(const QCommandLineParser& parser, QString& error);
    bool wanted() const { return m_settings.enabled; }
    // The limits the published readings are judged against (before start()).
    void setLimits(const Limits& limits) { m_limits = limits; }
    const PublishSettings& settings() const { return m_settings; }

    // Connects, waits for the broker's first answer and makes the host tell every reading.
    // False with the reason when the broker cannot be used. Does nothing without --mqtt.
    bool start(HeadlessHost& host, QString& error);
    // Sends what waits and closes the connection; says on stderr what was not published.
    void finish();

    static QString helpLines();

private:
    QCommandLineOption m_urlOption;
    QCommandLineOption m_topicOption;
    QCommandLineOption m_caOption;
    PublishSettings m_settings;
    Limits m_limits;
    std::unique_ptr<Publishing> m_publishing;
};

} // namespace quvo::cli
