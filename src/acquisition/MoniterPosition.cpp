#include "acquisition/MoniterPosition.h"

#include "resources/Constant.h"
#include "resources/SettingsStore.h"

#include <QSettings>

namespace quvo {

StoredPosition readMoniterPosition()
{
    const std::unique_ptr<QSettings> store = openSettingsSection(SettingsSection);
    return StoredPosition{readStoredSingle(*store, Keys::MoniterLeft, 0), readStoredSingle(*store, Keys::MoniterTop, 0)};
}

void writeMoniterPosition(float left, float top)
{
    const std::unique_ptr<QSettings> store = openSettingsSection(SettingsSection);
    store->setValue(Keys::MoniterLeft, storedSingleText(left));
    store->setValue(Keys::MoniterTop, storedSingleText(top));
    store->sync();
}

} // namespace quvo
