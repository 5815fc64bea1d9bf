#pragma once
// Where readings are published: a feature beyond the original program, off unless the
// person turns it on. The broker is given as a URL (mqtt://host:1883, or mqtts://host:8883
// with an optional CA file), with an optional user name and password, and the topic prefix
// under which the messages go (quvolink/<host name> unless set).
//
// The window keeps these settings in the per-user settings store, section "Publishing"
// (keys Enabled, Url, CaFile, UserName, Password, TopicPrefix). The password is kept there
// as it was typed: the store's file is made readable and writable by its owner only.
// The command-line program takes them from its options and the password from the
// environment variable QUVOLINK_MQTT_PASSWORD.

#include <QString>

#include <optional>

namespace quvo {

// The environment variable the password may come from.
inline constexpr char PasswordVariable[] = "QUVOLINK_MQTT_PASSWORD";
// The store's section.
inline const QString PublishingSection = QStringLiteral("Publishing");

// A broker's place, as a URL gives it.
struct BrokerAddress {
    bool tls = false;  // mqtts://
    QString host;      // a name or an address (an IPv6 address without its brackets)
    int port = 0;      // 1883 for mqtt://, 8883 for mqtts:// unless the URL names one
    QString userName;  // from "user@" or "user:password@" in the URL; usually empty
    QString password;
    friend bool operator==(const BrokerAddress&, const BrokerAddress&) = default;
};

// Reads "mqtt://host[:port]" or "mqtts://host[:port]" (blanks around it are ignored, a
// single "/" after the host is allowed). std::nullopt with the reason in *error for any
// other text: no or another scheme, no host, a port that is not 1 to 65535, a path, a query.
std::optional<BrokerAddress> parseBrokerUrl(const QString& url, QString* error = nullptr);

// The URL of an address, without user name and password ("mqtt://host:1883").
QString brokerUrlText(const BrokerAddress& address);

struct PublishSettings {
    bool enabled = false;
    QString url;
    QString caFile;      // mqtts:// only; empty: the system's certificates
    QString userName;
    QString password;
    QString topicPrefix; // empty: defaultTopicPrefix()
    friend bool operator==(const PublishSettings&, const PublishSettings&) = default;
};

// "quvolink/<host name>".
QString defaultTopicPrefix();
// The prefix in use: the settings' own, without blanks around it, or the default.
QString topicPrefixOf(const PublishSettings& settings);

// The settings' field a check found wrong, for the dialog to put the cursor in.
enum class PublishField { Url, CaFile, UserName, Password, TopicPrefix };

struct SettingsProblem {
    PublishField field;
    QString message;
};

// Why a topic prefix cannot be used (empty text when it can): MQTT wildcards "+" and "#",
// a NUL character, an empty level at its start or end ("/lab" or "lab/"), more than 200
// characters.
QString topicPrefixProblem(const QString& prefix);

// Whether the settings can be used to publish: a broker URL that reads, a CA file only with
// mqtts:// and only one that exists and can be read, a password only with a user name, a
// usable topic prefix. Settings that are off are not checked.
std::optional<SettingsProblem> checkPublishSettings(const PublishSettings& settings);

// The settings kept in the per-user store (publishing off when nothing is kept).
PublishSettings readPublishSettings();
// Keeps them there; false with the reason in *error when the store cannot be written.
bool writePublishSettings(const PublishSettings& settings, QString* error = nullptr);

} // namespace quvo
