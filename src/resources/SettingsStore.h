#pragma once
// The per-user settings store (QSettings: the registry on Windows, ~/.config/Quvolink here),
// organisation and application "Quvolink". The window placements of the original program
// live in its section "Settings" (app/Settings.h); features beyond the original keep their
// own sections ("Publishing", ...) and reach the store through this header, so that no
// library below the application has to include the application's own settings code.

#include <QString>

#include <memory>
#include <optional>

class QSettings;

namespace quvo {

// Points the store at a folder of its own (tests): an INI file
// <folder>/Quvolink/Quvolink.ini. An empty text goes back to the platform's store for the
// user.
void setSettingsStoreFolder(const QString& folder);

// The store with the group `section` begun.
std::unique_ptr<QSettings> openSettingsSection(const QString& section);

// The file the store is kept in (empty where it is not a file, the Windows registry).
QString settingsStoreFile();

// Window positions and sizes are kept as the text of single-precision numbers, in twips.
// The text a value is stored as ("1000", "1234.5").
QString storedSingleText(float value);
// A stored value: `defaultValue` when the key is absent, std::nullopt when its text is not a
// number (the window then keeps what it has).
std::optional<float> readStoredSingle(QSettings& store, const QString& key, float defaultValue);

} // namespace quvo
