#include "document/ChartLimitLines.h"

#include "document/ChartColours.h"
#include "document/DataDocument.h"

#include <QEvent>

#include <qcustomplot.h>

namespace quvo {

namespace {

QCPItemStraightLine* makeLine(QCustomPlot* chart, const QString& name)
{
    auto* line = new QCPItemStraightLine(chart);
    line->setObjectName(name);
    line->setSelectable(false);
    line->setVisible(false);
    return line;
}

QCPItemText* makeLabel(QCustomPlot* chart, const QString& name, Qt::Alignment side)
{
    auto* label = new QCPItemText(chart);
    label->setObjectName(name);
    label->setSelectable(false);
    label->setVisible(false);
    // At the right end of its line, the upper limit's just above it, the lower one's below.
    label->position->setTypeX(QCPItemPosition::ptAxisRectRatio);
    label->position->setTypeY(QCPItemPosition::ptPlotCoords);
    label->setPositionAlignment(Qt::AlignRight | side);
    label->setPadding(QMargins(2, 0, 4, 0));
    return label;
}

void place(QCPItemStraightLine* line, QCPItemText* label, bool shown, double value, const QString& caption)
{
    line->setVisible(shown);
    label->setVisible(shown);
    if (!shown)
        return;
    line->point1->setCoords(0, value);
    line->point2->setCoords(1, value);
    label->position->setCoords(1, value);
    label->setText(caption);
}

} // namespace

ChartLimitLines::ChartLimitLines(QCustomPlot* chart, DataDocument* document)
    : QObject(chart),
      m_chart(chart),
      m_document(document),
      m_upper(makeLine(chart, QStringLiteral("UpperLimit"))),
      m_lower(makeLine(chart, QStringLiteral("LowerLimit"))),
      m_upperText(makeLabel(chart, QStringLiteral("UpperLimitLabel"), Qt::AlignBottom)),
      m_lowerText(makeLabel(chart, QStringLiteral("LowerLimitLabel"), Qt::AlignTop))
{
    applyColours();
    chart->installEventFilter(this);
    if (document) {
        connect(document, &DataDocument::chartChanged, this, &ChartLimitLines::update);
        connect(document, &DataDocument::judgementChanged, this, &ChartLimitLines::update);
    }
    update();
}

QColor ChartLimitLines::lineColour(bool darkBackdrop)
{
    // Amber: apart from the readings' blue and the MAX and MIN markers' red and green.
    return darkBackdrop ? QColor(255, 176, 64) : QColor(196, 98, 0);
}

void ChartLimitLines::applyColours()
{
    const QColor colour = lineColour(isDarkPalette(m_chart->palette()));
    for (QCPItemStraightLine* line : {m_upper, m_lower})
        line->setPen(QPen(colour, 1.5, Qt::DashLine));
    for (QCPItemText* label : {m_upperText, m_lowerText}) {
        label->setColor(colour);
        label->setFont(m_chart->font());
        label->setBrush(Qt::NoBrush);
    }
}

void ChartLimitLines::update()
{
    if (!m_document) {
        place(m_upper, m_upperText, false, 0, {});
        place(m_lower, m_lowerText, false, 0, {});
    } else {
        const ChartFrame& f = m_document->chart();
        const QString unit = m_document->limits().unit;
        place(m_upper, m_upperText, f.hasUpperLine, f.upperLine, limitDisplayText(f.upperLine, unit));
        place(m_lower, m_lowerText, f.hasLowerLine, f.lowerLine, limitDisplayText(f.lowerLine, unit));
    }
    m_chart->replot(QCustomPlot::rpQueuedReplot);
}

bool ChartLimitLines::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_chart
        && (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange
            || event->type() == QEvent::FontChange)) {
        applyColours();
        m_chart->replot(QCustomPlot::rpQueuedReplot);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace quvo
