#pragma once
// The progress dialog of a download, drawn as one line on stderr when stderr is a terminal:
//   Receive LOGGING-mode data  [##########----------]  120/250
// The count follows every call, as the dialog's count text does; the line is redrawn at most
// every 100 ms (and for the last record). When stderr is not a terminal nothing is drawn.

#include "resources/ProgressView.h"

#include <QElapsedTimer>
#include <QString>

namespace quvo::cli {

class StderrProgress : public ProgressView {
public:
    // Draws only when `enabled` (by default: when stderr is a terminal).
    explicit StderrProgress(bool enabled);
    static bool stderrIsTerminal();

    void show() override;
    void unload() override;
    void SetCaption(const QString& text) override;
    void SetMessage(const QString& text) override;
    void RenProgress(bool throttle, std::int16_t current, std::int16_t total) override;
    void setCancelEnabled(bool enabled) override;

private:
    void draw();

    bool m_enabled;
    bool m_shown = false;
    bool m_drawn = false;
    QString m_caption;
    int m_current = 0;
    int m_total = 0;
    QElapsedTimer m_sinceDraw;
};

} // namespace quvo::cli
