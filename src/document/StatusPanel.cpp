#include "document/StatusPanel.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace quvo {

StatusPanel::StatusPanel(QWidget* parent) : QLabel(parent)
{
    setFrameStyle(QFrame::Panel | QFrame::Sunken);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

void StatusPanel::showText(const QString& text)
{
    setText(text);
    updateToolTip();
}

QString StatusPanel::elided(const QFontMetrics& metrics, const QString& text, int width)
{
    if (metrics.horizontalAdvance(text) <= width)
        return text;
    return metrics.elidedText(text, Qt::ElideRight, std::max(0, width));
}

int StatusPanel::sideRoom() const
{
    return fontMetrics().horizontalAdvance(QLatin1Char('x')) / 2 + margin();
}

QRect StatusPanel::textRect() const
{
    const int side = sideRoom();
    return contentsRect().adjusted(side, margin(), -side, -margin());
}

int StatusPanel::widthFor(const QString& text) const
{
    // What the frame and the room on both sides take, and the text itself.
    const QMargins m = contentsMargins();
    return fontMetrics().horizontalAdvance(text) + 2 * sideRoom() + m.left() + m.right() + 2 * frameWidth();
}

QString StatusPanel::shownText() const
{
    return elided(fontMetrics(), text(), textRect().width());
}

void StatusPanel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawFrame(&painter);
    style()->drawItemText(&painter, textRect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, palette(),
                          isEnabled(), shownText(), foregroundRole());
}

void StatusPanel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    updateToolTip();
}

void StatusPanel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        updateToolTip();
}

void StatusPanel::updateToolTip()
{
    const QString tip = isElided() ? text() : QString();
    if (toolTip() != tip)
        setToolTip(tip);
}

} // namespace quvo
