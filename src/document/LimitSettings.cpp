#include "document/LimitSettings.h"

#include "resources/SettingsStore.h"

#include <QSettings>

#include <variant>

namespace quvo {

namespace {

namespace Keys {
const QString Upper = QStringLiteral("Upper");
const QString Lower = QStringLiteral("Lower");
const QString Unit = QStringLiteral("Unit");
const QString Buzzer = QStringLiteral("Buzzer");
} // namespace Keys

} // namespace

Limits readLimitSettings()
{
    const std::unique_ptr<QSettings> store = openSettingsSection(LimitsSection);
    const auto checked = checkLimits(store->value(Keys::Upper).toString(), store->value(Keys::Lower).toString(),
                                     store->value(Keys::Unit).toString(),
                                     store->value(Keys::Buzzer).toString() == QLatin1String("1"));
    if (const Limits* limits = std::get_if<Limits>(&checked))
        return *limits;
    return {};
}

bool writeLimitSettings(const Limits& limits, QString* error)
{
    const std::unique_ptr<QSettings> store = openSettingsSection(LimitsSection);
    const auto put = [&store](const QString& key, const std::optional<double>& value) {
        if (value)
            store->setValue(key, limitText(*value));
        else
            store->remove(key);
    };
    put(Keys::Upper, limits.upper);
    put(Keys::Lower, limits.lower);
    store->setValue(Keys::Unit, limits.unit);
    store->setValue(Keys::Buzzer, limits.buzzer ? QStringLiteral("1") : QStringLiteral("0"));
    store->sync();
    if (store->status() != QSettings::NoError) {
        if (error)
            *error = QStringLiteral("The limits could not be kept in %1.").arg(store->fileName());
        return false;
    }
    return true;
}

} // namespace quvo
