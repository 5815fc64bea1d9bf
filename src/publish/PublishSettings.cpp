#include "publish/PublishSettings.h"

#include "resources/SettingsStore.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSysInfo>
#include <QUrl>

namespace quvo {

namespace {

const QString MqttScheme = QStringLiteral("mqtt");
const QString MqttsScheme = QStringLiteral("mqtts");
constexpr int MqttPort = 1883;
constexpr int MqttsPort = 8883;
constexpr int MaxPrefixLength = 200;

namespace Keys {
const QString Enabled = QStringLiteral("Enabled");
const QString Url = QStringLiteral("Url");
const QString CaFile = QStringLiteral("CaFile");
const QString UserName = QStringLiteral("UserName");
const QString Password = QStringLiteral("Password");
const QString TopicPrefix = QStringLiteral("TopicPrefix");
} // namespace Keys

bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    return false;
}

} // namespace

std::optional<BrokerAddress> parseBrokerUrl(const QString& url, QString* error)
{
    const QString text = url.trimmed();
    const auto refuse = [&](const QString& why) -> std::optional<BrokerAddress> {
        fail(error, QStringLiteral("\"%1\" is not a broker URL: %2 A broker is given as mqtt://host:1883 or "
                                   "mqtts://host:8883.")
                        .arg(text, why));
        return std::nullopt;
    };
    if (text.isEmpty()) {
        fail(error, QStringLiteral("No broker is given. A broker is given as mqtt://host:1883 or mqtts://host:8883."));
        return std::nullopt;
    }
    const qsizetype schemeEnd = text.indexOf(QStringLiteral("://"));
    if (schemeEnd < 0)
        return refuse(QStringLiteral("it does not begin with mqtt:// or mqtts://."));
    const QString scheme = text.left(schemeEnd).toLower();
    if (scheme != MqttScheme && scheme != MqttsScheme)
        return refuse(QStringLiteral("\"%1://\" is not mqtt:// or mqtts://.").arg(text.left(schemeEnd)));

    const QUrl parsed(text, QUrl::StrictMode);
    if (!parsed.isValid())
        return refuse(QStringLiteral("%1.").arg(parsed.errorString()));
    if (parsed.host().isEmpty())
        return refuse(QStringLiteral("it names no host."));
    if (!parsed.path().isEmpty() && parsed.path() != QLatin1String("/"))
        return refuse(QStringLiteral("a broker URL has no path (\"%1\").").arg(parsed.path()));
    if (parsed.hasQuery() || parsed.hasFragment())
        return refuse(QStringLiteral("a broker URL has no \"?\" or \"#\" part."));
    // QUrl takes a port only from 0 to 65535 and says -1 for none; a port text it cannot read
    // makes the URL invalid above.
    const int port = parsed.port();
    if (port == 0)
        return refuse(QStringLiteral("the port must be from 1 to 65535."));

    BrokerAddress address;
    address.tls = scheme == MqttsScheme;
    address.host = parsed.host();
    address.port = port > 0 ? port : (address.tls ? MqttsPort : MqttPort);
    address.userName = parsed.userName(QUrl::FullyDecoded);
    address.password = parsed.password(QUrl::FullyDecoded);
    return address;
}

QString brokerUrlText(const BrokerAddress& address)
{
    const QString host = address.host.contains(QLatin1Char(':')) ? QLatin1Char('[') + address.host + QLatin1Char(']')
                                                                    : address.host;
    return QStringLiteral("%1://%2:%3").arg(address.tls ? MqttsScheme : MqttScheme, host).arg(address.port);
}

QString defaultTopicPrefix()
{
    QString host = QSysInfo::machineHostName();
    // A host name never holds them, but a topic level must not.
    host.remove(QLatin1Char('+')).remove(QLatin1Char('#')).remove(QLatin1Char('/'));
    if (host.isEmpty())
        host = QStringLiteral("localhost");
    return QStringLiteral("quvolink/") + host;
}

QString topicPrefixOf(const PublishSettings& settings)
{
    const QString prefix = settings.topicPrefix.trimmed();
    return prefix.isEmpty() ? defaultTopicPrefix() : prefix;
}

QString topicPrefixProblem(const QString& prefix)
{
    if (prefix.contains(QLatin1Char('+')) || prefix.contains(QLatin1Char('#')))
        return QStringLiteral("The topic prefix \"%1\" holds \"+\" or \"#\": those are for subscribing only.").arg(prefix);
    if (prefix.contains(QChar(0)))
        return QStringLiteral("The topic prefix holds a NUL character.");
    if (prefix.startsWith(QLatin1Char('/')) || prefix.endsWith(QLatin1Char('/')) || prefix.contains(QStringLiteral("//")))
        return QStringLiteral("The topic prefix \"%1\" has an empty level: it must not begin or end with \"/\" or hold "
                              "\"//\".")
            .arg(prefix);
    if (prefix.size() > MaxPrefixLength)
        return QStringLiteral("The topic prefix is longer than %1 characters.").arg(MaxPrefixLength);
    return QString();
}

std::optional<SettingsProblem> checkPublishSettings(const PublishSettings& settings)
{
    if (!settings.enabled)
        return std::nullopt;
    QString error;
    const std::optional<BrokerAddress> address = parseBrokerUrl(settings.url, &error);
    if (!address)
        return SettingsProblem{PublishField::Url, error};
    const QString caFile = settings.caFile.trimmed();
    if (!caFile.isEmpty()) {
        if (!address->tls)
            return SettingsProblem{PublishField::CaFile,
                                   QStringLiteral("A CA file is used with mqtts:// only; %1 is a plain mqtt:// broker.")
                                       .arg(settings.url.trimmed())};
        const QFileInfo file(caFile);
        if (!file.exists())
            return SettingsProblem{PublishField::CaFile, QStringLiteral("The CA file %1 does not exist.").arg(caFile)};
        if (!file.isFile() || !file.isReadable())
            return SettingsProblem{PublishField::CaFile, QStringLiteral("The CA file %1 cannot be read.").arg(caFile)};
    }
    if (!settings.password.isEmpty() && settings.userName.trimmed().isEmpty() && address->userName.isEmpty())
        return SettingsProblem{PublishField::UserName, QStringLiteral("A password is sent with a user name only: give the "
                                                                      "user name too.")};
    const QString prefixProblem = topicPrefixProblem(topicPrefixOf(settings));
    if (!prefixProblem.isEmpty())
        return SettingsProblem{PublishField::TopicPrefix, prefixProblem};
    return std::nullopt;
}

PublishSettings readPublishSettings()
{
    const std::unique_ptr<QSettings> store = openSettingsSection(PublishingSection);
    PublishSettings settings;
    settings.enabled = store->value(Keys::Enabled).toString() == QLatin1String("1");
    settings.url = store->value(Keys::Url).toString();
    settings.caFile = store->value(Keys::CaFile).toString();
    settings.userName = store->value(Keys::UserName).toString();
    settings.password = store->value(Keys::Password).toString();
    settings.topicPrefix = store->value(Keys::TopicPrefix).toString();
    return settings;
}

bool writePublishSettings(const PublishSettings& settings, QString* error)
{
    {
        const std::unique_ptr<QSettings> store = openSettingsSection(PublishingSection);
        store->setValue(Keys::Enabled, settings.enabled ? QStringLiteral("1") : QStringLiteral("0"));
        store->setValue(Keys::Url, settings.url.trimmed());
        store->setValue(Keys::CaFile, settings.caFile.trimmed());
        store->setValue(Keys::UserName, settings.userName.trimmed());
        if (settings.password.isEmpty())
            store->remove(Keys::Password);
        else
            store->setValue(Keys::Password, settings.password);
        store->setValue(Keys::TopicPrefix, settings.topicPrefix.trimmed());
        store->sync();
        if (store->status() != QSettings::NoError)
            return fail(error, QStringLiteral("The settings could not be written to %1.").arg(store->fileName()));
    }
    // The file holds the password: only its owner may read it.
    const QString file = settingsStoreFile();
    if (!file.isEmpty() && !QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return fail(error, QStringLiteral("The settings file %1 could not be made private to you.").arg(file));
    return true;
}

} // namespace quvo
