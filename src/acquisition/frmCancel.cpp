#include "acquisition/frmCancel.h"

#include "link/Comm.h"
#include "resources/ResID.h"
#include "resources/Twips.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace quvo {

frmCancel::frmCancel(QWidget* owner) : QWidget(nullptr), m_owner(owner)
{
    setObjectName(QStringLiteral("frmCancel"));
    // A dialog window with a caption and no close button: only Cancel ends it.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    setAttribute(Qt::WA_DeleteOnClose, false);

    llMsg = new QLabel(this);
    llMsg->setObjectName(QStringLiteral("llMsg"));
    llMsg->setTextFormat(Qt::PlainText);
    pbNow = new QProgressBar(this);
    pbNow->setObjectName(QStringLiteral("pbNow"));
    pbNow->setRange(0, CancelDialog::BarMaximum);
    pbNow->setValue(0);
    pbNow->setTextVisible(false);
    DataCount = new QLabel(this);
    DataCount->setObjectName(QStringLiteral("DataCount"));
    DataCount->setTextFormat(Qt::PlainText);
    btCancel = new QPushButton(ResID(Res::Cancel), this);
    btCancel->setObjectName(QStringLiteral("btCancel"));
    connect(btCancel, &QPushButton::clicked, this, &frmCancel::onCancel);
    relayout();
}

frmCancel::~frmCancel()
{
    enableOthers();
}

void frmCancel::setComm(Comm* comm)
{
    QPointer<Comm> link(comm);
    m_stopTimer = [link] {
        if (link)
            link->stopAnswerTimer();
    };
}

void frmCancel::setStopAnswerTimer(std::function<void()> stop)
{
    m_stopTimer = std::move(stop);
}

void frmCancel::show()
{
    if (m_owner) {
        const QRect area = m_owner->window()->frameGeometry();
        move(area.center() - rect().center());
    }
    QWidget::show();
    raise();
    activateWindow();
}

void frmCancel::unload()
{
    hide();
    enableOthers();
}

void frmCancel::SetCaption(const QString& text)
{
    setWindowTitle(text);
}

void frmCancel::SetMessage(const QString& text)
{
    llMsg->setText(text);
    relayout();
}

void frmCancel::RenProgress(bool throttle, std::int16_t current, std::int16_t total)
{
    if (!m_model.RenProgress(throttle, current, total))
        return;
    DataCount->setText(m_model.countText());
    DataCount->adjustSize();
    pbNow->setValue(static_cast<int>(m_model.barValue())); // whole steps of the bar
}

void frmCancel::setCancelEnabled(bool enabled)
{
    btCancel->setEnabled(enabled);
}

void frmCancel::onCancel()
{
    btCancel->setEnabled(false); // Cancel works once
    const QString message = m_model.cancel(m_stopTimer);
    if (!message.isEmpty())
        SetMessage(message);
}

void frmCancel::relayout()
{
    const double dpiX = logicalDpiX();
    const double dpiY = logicalDpiY();
    const QSize message = llMsg->sizeHint();
    const QSize count = DataCount->fontMetrics().size(0, QStringLiteral(" 32767/ 32767"));
    const QSize button = btCancel->sizeHint();
    m_layout = CancelDialog::layout(pixelsToTwips(message.width(), dpiX), pixelsToTwips(message.height(), dpiY),
                                    pixelsToTwips(count.width(), dpiX), pixelsToTwips(count.height(), dpiY),
                                    pixelsToTwips(button.width(), dpiX), pixelsToTwips(button.height(), dpiY));
    const auto pixels = [dpiX, dpiY](const QRectF& r) {
        return QRect(twipsToPixels(r.left(), dpiX), twipsToPixels(r.top(), dpiY), twipsToPixels(r.width(), dpiX),
                     twipsToPixels(r.height(), dpiY));
    };
    llMsg->setGeometry(pixels(m_layout.message));
    pbNow->setGeometry(pixels(m_layout.bar));
    DataCount->setGeometry(pixels(m_layout.count));
    btCancel->setGeometry(pixels(m_layout.button));
    setFixedSize(twipsToPixels(m_layout.windowWidth, dpiX), twipsToPixels(m_layout.windowHeight, dpiY));
}

void frmCancel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    disableOthers();
}

void frmCancel::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    enableOthers();
}

void frmCancel::closeEvent(QCloseEvent* event)
{
    // Only Cancel asks the transfer to stop; the transfer unloads the dialog itself.
    event->ignore();
}

void frmCancel::disableOthers()
{
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (w == this || !w->isEnabled())
            continue;
        const Qt::WindowType type = w->windowType();
        if (type == Qt::Popup || type == Qt::ToolTip || type == Qt::Desktop)
            continue;
        w->setEnabled(false);
        m_disabled.append(w);
    }
}

void frmCancel::enableOthers()
{
    for (const QPointer<QWidget>& w : std::as_const(m_disabled)) {
        if (w)
            w->setEnabled(true);
    }
    m_disabled.clear();
}

} // namespace quvo
