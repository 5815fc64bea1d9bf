#pragma once
// The grid of a DataDocument as a Qt item model, for a table view. It reads the document
// directly and keeps no copy: columns are TIME, DATA and MODE (headings from row 0 of the
// grid); each row's "No." label is its vertical header. Rows are the grid's rows 1 onward.
//
// With limits set, every cell of a row judged HI or LO also answers JudgementRole (the
// Judgement as an int) and a tool tip that says which limit the reading is beyond; the view
// marks those rows (JudgementDelegate).

#include <QAbstractTableModel>
#include <QPointer>

namespace quvo {

class DataDocument;

class DocumentTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    // The row's Judgement (an int), on rows judged HI or LO only.
    static constexpr int JudgementRole = Qt::UserRole + 1;

    explicit DocumentTableModel(DataDocument* document, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The heading of the label column ("No."), for the view's corner.
    QString cornerText() const;

    // The grid row that a model row shows.
    static int gridRow(int modelRow) { return modelRow + 1; }

private:
    void onRowsAppended(int first, int last);
    void onRowsChanged(int first, int last);
    void onReset();
    void onJudgementChanged();
    QVariant judgementData(int gridRow, int role) const;

    QPointer<DataDocument> m_document;
    int m_rows = 0; // rows as the attached views know them
};

} // namespace quvo
