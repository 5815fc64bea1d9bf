#pragma once
// The limits across a document's chart (beyond the original program): a dashed line at the
// upper limit and one at the lower limit, each with its value at the right end, shown while
// the document's readings are of the limits' unit (DataDocument::chart(): hasUpperLine,
// hasLowerLine). They are plot items of the chart, so that whatever draws or saves the
// chart draws them too. Their colour comes from the chart's palette (light or dark).
//
// Kept apart from ChartView: the chart itself does not know about limits.

#include <QColor>
#include <QObject>
#include <QPointer>

class QCPItemStraightLine;
class QCPItemText;
class QCustomPlot;

namespace quvo {

class DataDocument;

class ChartLimitLines : public QObject {
    Q_OBJECT

public:
    // Lives as long as the chart (its child).
    ChartLimitLines(QCustomPlot* chart, DataDocument* document);

    QCPItemStraightLine* upperLine() const { return m_upper; }
    QCPItemStraightLine* lowerLine() const { return m_lower; }
    QCPItemText* upperLabel() const { return m_upperText; }
    QCPItemText* lowerLabel() const { return m_lowerText; }

    // The colour of the lines on a light or a dark chart backdrop.
    static QColor lineColour(bool darkBackdrop);

    // Takes the lines from the document's chart frame and asks for a redraw.
    void update();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyColours();

    QCustomPlot* m_chart;
    QPointer<DataDocument> m_document;
    QCPItemStraightLine* m_upper;
    QCPItemStraightLine* m_lower;
    QCPItemText* m_upperText;
    QCPItemText* m_lowerText;
};

} // namespace quvo
