#pragma once
// The colours of a dark desktop, for looking at the program as a person with a dark desktop
// theme sees it (the hidden --dark option; the screenshot script uses it). Every window takes
// its colours from the application's palette, so this is all a dark desktop changes.

#include <QPalette>

namespace quvo {

QPalette darkPalette();

} // namespace quvo
