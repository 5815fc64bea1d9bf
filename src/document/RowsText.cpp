#include "document/RowsText.h"

#include "document/DataDocument.h"

#include <algorithm>

namespace quvo {

namespace {

constexpr int Columns = 4; // No., TIME, DATA, MODE

QString line(const DataDocument& document, int row)
{
    QStringList fields;
    for (int column = 0; column < Columns; ++column) {
        QString text = document.TextMatrix(row, column);
        for (QChar& c : text) {
            if (c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
                c = QLatin1Char(' ');
        }
        fields << text;
    }
    return fields.join(QLatin1Char('\t')) + QLatin1Char('\n');
}

} // namespace

QString rowsAsText(const DataDocument& document, QList<int> gridRows)
{
    std::sort(gridRows.begin(), gridRows.end());
    gridRows.erase(std::unique(gridRows.begin(), gridRows.end()), gridRows.end());
    QString text = line(document, 0);
    for (const int row : std::as_const(gridRows)) {
        if (row >= 1 && row < document.Rows())
            text += line(document, row);
    }
    return text;
}

} // namespace quvo
