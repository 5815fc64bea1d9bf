#pragma once
// The limits the window program keeps between runs: the per-user settings store, section
// "Limits", keys Upper and Lower (a limit as limitText writes it, absent when not set), Unit
// and Buzzer ("1" or "0"). Nothing is kept there until a person sets limits, so the program
// starts without any, as it always has. The limits are never written into data files.

#include "document/Limits.h"

#include <QString>

namespace quvo {

inline const QString LimitsSection = QStringLiteral("Limits");

// The limits kept in the store. What does not read (a hand-edited value that is not a
// number, a lower limit not below the upper one, limits without a unit) counts as no
// limits at all: nothing is judged rather than something judged wrongly.
Limits readLimitSettings();

// Keeps the limits in the store; false with the reason in *error when it cannot be written.
bool writeLimitSettings(const Limits& limits, QString* error = nullptr);

} // namespace quvo
