#include "acquisition/CancelDialog.h"

#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"

#include <algorithm>

namespace quvo {

int CancelDialog::throttleStep(int total)
{
    if (total < 100)
        return 1;
    if (total < 1000)
        return 10;
    if (total < 2000)
        return 20;
    if (total < 3000)
        return 30;
    if (total < 4000)
        return 40;
    return 50;
}

bool CancelDialog::RenProgress(bool throttle, std::int16_t current, std::int16_t total)
{
    if (current == 0 || total == 0)
        return false;
    m_count = signedCountText(current) + QStringLiteral("/") + signedCountText(total);
    if (!throttle || current % throttleStep(total) == 0)
        m_bar = static_cast<double>(BarMaximum) * current / total;
    return true;
}

CancelLayout CancelDialog::layout(double messageWidth, double messageHeight, double countWidth, double countHeight,
                                  double buttonWidth, double buttonHeight)
{
    CancelLayout l;
    l.windowWidth = messageWidth >= WideMessage ? messageWidth + WindowOverMessage : DesignWidth;
    l.message = QRectF(MessageLeft, MessageTop, messageWidth, messageHeight);
    const double barWidth = l.windowWidth - BarNarrower;
    l.bar = QRectF((l.windowWidth - barWidth) / 2, l.message.bottom() + BarGapAbove, barWidth, BarHeight);
    l.count = QRectF(l.bar.left(), l.bar.bottom() + UnderBar, countWidth, countHeight);
    l.button = QRectF(l.bar.right() - buttonWidth, l.bar.bottom() + UnderBar, buttonWidth, buttonHeight);
    l.windowHeight = std::max(l.count.bottom(), l.button.bottom()) + BottomMargin;
    return l;
}

QString CancelDialog::cancel(const std::function<void()>& stopAnswerTimer)
{
    if (m_canceled)
        return {};
    m_canceled = true;
    ProgramState& state = programState();
    if (state.CommState == CommStates::Download) {
        if (stopAnswerTimer)
            stopAnswerTimer();
        state.LastError = ResID(Res::Canceled);
        state.CancelRequested = true;
    } else {
        state.LastError = ResID(Res::Canceled);
        state.NoForward = true;
    }
    return ResID(Res::Canceling);
}

} // namespace quvo
