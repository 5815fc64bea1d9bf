#include "document/JudgementMarks.h"

#include "document/ChartColours.h"
#include "document/DocumentTableModel.h"
#include "document/Limits.h"

#include <QPalette>

namespace quvo {

JudgementMarks judgementMarks(const QPalette& palette)
{
    JudgementMarks marks;
    marks.text = palette.color(QPalette::Active, QPalette::Text);
    if (!isDarkPalette(palette)) {
        marks.hi = QColor(255, 200, 200);
        marks.lo = QColor(200, 218, 255);
        if (contrastRatio(marks.text, marks.hi) < 4.5 || contrastRatio(marks.text, marks.lo) < 4.5)
            marks.text = Qt::black;
        return marks;
    }
    marks.hi = QColor(120, 28, 28);
    marks.lo = QColor(28, 52, 125);
    if (contrastRatio(marks.text, marks.hi) < 4.5 || contrastRatio(marks.text, marks.lo) < 4.5)
        marks.text = Qt::white;
    return marks;
}

void JudgementDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QVariant judged = index.data(DocumentTableModel::JudgementRole);
    if (!judged.isValid())
        return;
    const JudgementMarks marks = judgementMarks(option->palette);
    const bool hi = judged.toInt() == static_cast<int>(Judgement::Hi);
    option->backgroundBrush = hi ? marks.hi : marks.lo;
    option->palette.setColor(QPalette::Text, marks.text);
}

} // namespace quvo
