#include "resources/SettingsStore.h"

#include "resources/Constant.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QSettings>

namespace quvo {

namespace {

// The folder the store is kept in instead of the platform's (tests).
QString& storeFolderOverride()
{
    static QString folder;
    return folder;
}

std::unique_ptr<QSettings> openStore()
{
    const QString& folder = storeFolderOverride();
    if (folder.isEmpty())
        return std::make_unique<QSettings>(SettingsOrganisation, AppTitle);
    QString path = folder;
    if (!path.endsWith(QLatin1Char('/')) && !path.endsWith(QLatin1Char('\\')))
        path += QLatin1Char('/');
    return std::make_unique<QSettings>(path + SettingsOrganisation + QLatin1Char('/') + AppTitle
                                           + QStringLiteral(".ini"),
                                       QSettings::IniFormat);
}

} // namespace

void setSettingsStoreFolder(const QString& folder)
{
    storeFolderOverride() = folder;
}

std::unique_ptr<QSettings> openSettingsSection(const QString& section)
{
    std::unique_ptr<QSettings> store = openStore();
    store->beginGroup(section);
    return store;
}

QString settingsStoreFile()
{
    const std::unique_ptr<QSettings> store = openStore();
    return store->format() == QSettings::NativeFormat && store->fileName().startsWith(QLatin1String("\\HKEY"))
        ? QString()
        : store->fileName();
}

QString storedSingleText(float value)
{
    return shortestSingleText(value);
}

std::optional<float> readStoredSingle(QSettings& store, const QString& key, float defaultValue)
{
    if (!store.contains(key))
        return defaultValue;
    try {
        return toSingle(store.value(key).toString());
    } catch (const RuntimeError&) {
        return std::nullopt; // not a number: ignored
    }
}

} // namespace quvo
