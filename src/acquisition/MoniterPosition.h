#pragma once
// Where the Monitor window stands between runs: the per-user settings store, section
// "Settings", keys "MoniterLeft" and "MoniterTop", in twips, as the text of single-precision
// numbers; 0 when nothing is kept. Reached through the small store interface below the
// application (resources/SettingsStore.h).

#include <optional>

namespace quvo {

// A value that is not a number is absent here: the window keeps the place it has.
struct StoredPosition {
    std::optional<float> left, top;
};

StoredPosition readMoniterPosition();
void writeMoniterPosition(float left, float top);

} // namespace quvo
