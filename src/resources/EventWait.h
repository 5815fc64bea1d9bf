#pragma once
// Waiting without spinning: the event loop runs (timers, received characters, clicks all
// keep being handled) until a condition holds. The condition is looked at before waiting
// and each time the loop has handled everything pending, just before it would sleep, so a
// flag set by any handler ends the wait at once while the CPU stays idle.

#include <functional>

namespace quvo {

// Returns when done() is true. Needs a running Q(Core)Application.
void waitUntil(const std::function<bool()>& done);

} // namespace quvo
