#pragma once
// How a document's table marks the rows judged against limits (beyond the original
// program): a row judged HI gets a warm background, a row judged LO a cool one, in every
// cell. The tints come from the palette the table is shown with: light tints under dark
// text on a light desktop, deep tints under light text on a dark one, so the text keeps a
// contrast of at least 4.5 : 1 on both. The row's tool tip says which limit it is beyond,
// for those who do not tell the two tints apart.

#include <QColor>
#include <QStyledItemDelegate>

class QPalette;

namespace quvo {

struct JudgementMarks {
    QColor hi;   // background of a row judged HI
    QColor lo;   // background of a row judged LO
    QColor text; // text on either
};

JudgementMarks judgementMarks(const QPalette& palette);

// Paints the marks from the model's DocumentTableModel::JudgementRole.
class JudgementDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

} // namespace quvo
