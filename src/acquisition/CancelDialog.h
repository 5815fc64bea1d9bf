#pragma once
// The progress and cancel dialog's rules without widgets: the done/total count and the bar
// of RenProgress with its throttle, the layout around the message (in twips), and what
// Cancel does to the running transfer. The window (frmCancel) shows what this holds.

#include <QRectF>
#include <QString>

#include <cstdint>
#include <functional>

namespace quvo {

// The dialog's layout in twips.
struct CancelLayout {
    double windowWidth = 0;
    double windowHeight = 0;
    QRectF message; // llMsg
    QRectF bar;     // pbNow
    QRectF count;   // DataCount
    QRectF button;  // btCancel
};

class CancelDialog {
public:
    // Design of the window, in twips.
    static constexpr double DesignWidth = 6000;
    static constexpr double MessageLeft = 300;
    static constexpr double MessageTop = 240;
    static constexpr double WideMessage = 5400;   // from this width the window grows with the message
    static constexpr double WindowOverMessage = 600;
    static constexpr double BarNarrower = 480;    // the bar is this much narrower than the window
    static constexpr double BarGapAbove = 180;    // between the message and the bar
    static constexpr double BarHeight = 300;
    static constexpr double UnderBar = 180;       // DataCount and btCancel under the bar
    static constexpr double BottomMargin = 240;

    static constexpr int BarMaximum = 100; // pbNow.Max

    // The step of a throttled bar by the total: below 100 every call; 100-999 every 10th;
    // 1000-1999 every 20th; 2000-2999 every 30th; 3000-3999 every 40th; from 4000 every 50th.
    static int throttleStep(int total);

    // RenProgress: nothing unless current and total are both non-zero; then the count text
    // always, and the bar always without throttle, with throttle only when current is a
    // multiple of the step. True when anything changed.
    bool RenProgress(bool throttle, std::int16_t current, std::int16_t total);

    const QString& countText() const { return m_count; } // Str(current) + "/" + Str(total)
    double barValue() const { return m_bar; }             // max × current / total

    // The layout for a message label of this size and the count label and button sizes.
    static CancelLayout layout(double messageWidth, double messageHeight, double countWidth, double countHeight,
                               double buttonWidth, double buttonHeight);

    // Cancel: asks the running transfer to stop. In a download (CommState 1) the answer
    // time-out is stopped (`stopAnswerTimer`, may be empty), LastError becomes "Canceled."
    // and CancelRequested is set; otherwise (forwarding) LastError becomes "Canceled." and
    // NoForward is set. Works once: later calls do nothing. Returns the message to show
    // ("Canceling..."), empty when it did nothing.
    QString cancel(const std::function<void()>& stopAnswerTimer);
    bool canceled() const { return m_canceled; }

private:
    QString m_count;
    double m_bar = 0;
    bool m_canceled = false;
};

} // namespace quvo
