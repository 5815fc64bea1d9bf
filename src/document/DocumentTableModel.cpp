#include "document/DocumentTableModel.h"

#include "document/DataDocument.h"
#include "document/Limits.h"

namespace quvo {

DocumentTableModel::DocumentTableModel(DataDocument* document, QObject* parent)
    : QAbstractTableModel(parent), m_document(document)
{
    m_rows = document ? document->Rows() - 1 : 0;
    if (!document)
        return;
    connect(document, &DataDocument::rowsAppended, this, &DocumentTableModel::onRowsAppended);
    connect(document, &DataDocument::rowsChanged, this, &DocumentTableModel::onRowsChanged);
    connect(document, &DataDocument::gridReset, this, &DocumentTableModel::onReset);
    connect(document, &QObject::destroyed, this, &DocumentTableModel::onReset);
    connect(document, &DataDocument::judgementChanged, this, &DocumentTableModel::onJudgementChanged);
}

int DocumentTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int DocumentTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant DocumentTableModel::data(const QModelIndex& index, int role) const
{
    if (!m_document || !index.isValid() || index.row() >= m_rows)
        return {};
    if (role == Qt::DisplayRole)
        return m_document->TextMatrix(gridRow(index.row()), index.column() + 1);
    if (role == JudgementRole || role == Qt::ToolTipRole)
        return judgementData(gridRow(index.row()), role);
    return {};
}

QVariant DocumentTableModel::judgementData(int row, int role) const
{
    const Judgement judgement = m_document->judgement(row);
    if (judgement != Judgement::Hi && judgement != Judgement::Lo)
        return {};
    if (role == JudgementRole)
        return static_cast<int>(judgement);
    const Limits& limits = m_document->limits();
    return judgement == Judgement::Hi
        ? QStringLiteral("HI: above the upper limit, %1").arg(limitDisplayText(limits.upper.value_or(0), limits.unit))
        : QStringLiteral("LO: below the lower limit, %1").arg(limitDisplayText(limits.lower.value_or(0), limits.unit));
}

QVariant DocumentTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (!m_document || role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Horizontal)
        return section >= 0 && section < 3 ? QVariant(m_document->TextMatrix(0, section + 1)) : QVariant();
    return section >= 0 && section < m_rows ? QVariant(m_document->TextMatrix(gridRow(section), 0)) : QVariant();
}

QString DocumentTableModel::cornerText() const
{
    return m_document ? m_document->TextMatrix(0, 0) : QString();
}

void DocumentTableModel::onRowsAppended(int first, int last)
{
    // The document has grown already; the views learn of it between begin and end.
    const int newRows = m_document ? m_document->Rows() - 1 : 0;
    if (first - 1 != m_rows || newRows != last) {
        onReset(); // not a plain append of the next rows: start over
        return;
    }
    beginInsertRows({}, m_rows, last - 1);
    m_rows = newRows;
    endInsertRows();
}

void DocumentTableModel::onRowsChanged(int first, int last)
{
    const int top = std::max(first - 1, 0);
    const int bottom = std::min(last - 1, m_rows - 1);
    if (top > bottom)
        return;
    emit dataChanged(index(top, 0), index(bottom, 2), {Qt::DisplayRole, JudgementRole, Qt::ToolTipRole});
    emit headerDataChanged(Qt::Vertical, top, bottom);
}

void DocumentTableModel::onJudgementChanged()
{
    if (m_rows > 0)
        emit dataChanged(index(0, 0), index(m_rows - 1, 2), {JudgementRole, Qt::ToolTipRole});
}

void DocumentTableModel::onReset()
{
    beginResetModel();
    m_rows = m_document ? m_document->Rows() - 1 : 0;
    endResetModel();
}

} // namespace quvo
