#pragma once
// The progress and cancel dialog as the long transfers see it (memory download and
// forwarding). The widget implements it; tests and the command-line program use their own.

#include <QString>

#include <cstdint>

namespace quvo {

class ProgressView {
public:
    virtual ~ProgressView() = default;

    virtual void show() = 0;    // shown modeless; every other window is disabled meanwhile
    virtual void unload() = 0;  // closed; the other windows are enabled again
    virtual void SetCaption(const QString& text) = 0;
    virtual void SetMessage(const QString& text) = 0;
    virtual void RenProgress(bool throttle, std::int16_t current, std::int16_t total) = 0;
    // The Cancel button is switched off when the download it would cancel has already failed.
    virtual void setCancelEnabled(bool enabled) = 0;
};

} // namespace quvo
