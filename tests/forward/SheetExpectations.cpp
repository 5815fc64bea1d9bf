#include "SheetExpectations.h"

#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/TextNumber.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <vector>

namespace quvo::test {

SheetContent contentOf(DataDocument& doc, const QString& title)
{
    SheetContent content;
    content.title = title;
    content.saveMode = ParseDataKind(doc.Tag()) == DataKinds::Save;
    const int b = content.saveMode ? 0 : 1;
    content.header[0] = doc.TextMatrix(0, b);
    content.header[1] = doc.TextMatrix(0, 2);
    content.header[2] = doc.TextMatrix(0, 3);
    for (int i = 1; i <= doc.GetDatacount(); ++i)
        content.rows.push_back({doc.TextMatrix(i, b), doc.TextMatrix(i, 2), doc.TextMatrix(i, 3)});
    content.stats[0] = doc.GetDispmax(false);
    content.stats[1] = doc.GetDispmin(false);
    content.stats[2] = doc.GetDispavg();
    return content;
}

namespace {

QString cellName(const char* column, int row)
{
    return QString::fromLatin1(column) + QString::number(row);
}

// A text as the reader reports it: characters that XML cannot hold are kept in the
// file's escape notation ("_x0007_"), which this reader does not decode.
QString asReported(const QString& text)
{
    QString reported;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        const bool xmlCharacter = u == 0x9 || u == 0xA || u == 0xD || (u >= 0x20 && u != 0xFFFE && u != 0xFFFF);
        reported += xmlCharacter ? QString(c) : QStringLiteral("_x%1_").arg(QString::number(u, 16).toUpper().rightJustified(4, QLatin1Char('0')));
    }
    return reported;
}

// A text written in a cell of the given format, as a reader must see it.
void expectCell(const QJsonObject& cells, const QString& name, const QString& text, bool general)
{
    SCOPED_TRACE(name.toStdString());
    const QJsonObject cell = cells.value(name).toObject();
    double number = 0;
    if (text.isEmpty()) {
        EXPECT_TRUE(cell.value(QStringLiteral("value")).isNull());
    } else if (general && parseNumber(text, number)) {
        EXPECT_EQ(cell.value(QStringLiteral("type")).toString(), QStringLiteral("n"));
        EXPECT_DOUBLE_EQ(cell.value(QStringLiteral("value")).toDouble(), number);
    } else {
        EXPECT_EQ(cell.value(QStringLiteral("type")).toString(), QStringLiteral("s"));
        EXPECT_EQ(cell.value(QStringLiteral("value")).toString(), asReported(text));
    }
    EXPECT_EQ(cell.value(QStringLiteral("format")).toString(), general ? QStringLiteral("General") : QStringLiteral("@"));
}

QJsonArray borders(const QString& top, const QString& bottom, const QString& left, const QString& right)
{
    return QJsonArray{top, bottom, left, right};
}

} // namespace

QJsonObject sheetNamed(const QJsonObject& workbook, const QString& name)
{
    for (const QJsonValue sheet : workbook.value(QStringLiteral("sheets")).toArray()) {
        if (sheet.toObject().value(QStringLiteral("name")).toString() == name)
            return sheet.toObject();
    }
    return {};
}

QStringList sheetNames(const QJsonObject& workbook)
{
    QStringList names;
    for (const QJsonValue sheet : workbook.value(QStringLiteral("sheets")).toArray())
        names.append(sheet.toObject().value(QStringLiteral("name")).toString());
    return names;
}

void expectForwardedSheet(const QJsonObject& sheet, const SheetContent& content)
{
    ASSERT_FALSE(sheet.isEmpty());
    const QString sheetName = sheet.value(QStringLiteral("name")).toString();
    const QJsonObject cells = sheet.value(QStringLiteral("cells")).toObject();
    const int n = static_cast<int>(content.rows.size());
    const int lastRow = n + 4;

    // Title and table.
    expectCell(cells, QStringLiteral("B2"), content.title, false);
    const QString medium = QStringLiteral("medium");
    const QString thin = QStringLiteral("thin");
    for (int i = 0; i <= n; ++i) {
        const int row = i + 4;
        const TableRow data = i == 0 ? TableRow{content.header[0], content.header[1], content.header[2]}
                                     : content.rows[static_cast<std::size_t>(i - 1)];
        expectCell(cells, cellName("B", row), data.b, content.saveMode && i > 0);
        expectCell(cells, cellName("C", row), data.c, i > 0);
        expectCell(cells, cellName("D", row), data.d, false);
        const char* columns[] = {"B", "C", "D"};
        for (int c = 0; c < 3; ++c) {
            const QString name = cellName(columns[c], row);
            SCOPED_TRACE(name.toStdString());
            const QJsonObject cell = cells.value(name).toObject();
            // Frame medium all round; the header's bottom medium; thin lines inside.
            const QString top = row == 4 || row == 5 ? medium : thin;
            const QString bottom = row == 4 || row == lastRow ? medium : thin;
            const QString left = c == 0 ? medium : thin;
            const QString right = c == 2 ? medium : thin;
            EXPECT_EQ(cell.value(QStringLiteral("borders")).toArray(), borders(top, bottom, left, right));
            if (row == 4)
                EXPECT_EQ(cell.value(QStringLiteral("align")).toString(), QStringLiteral("center"));
            else
                EXPECT_TRUE(cell.value(QStringLiteral("align")).isNull());
        }
    }
    // Nothing below or beside the frame carries a line.
    for (const char* column : {"A", "E"}) {
        for (int row = 3; row <= lastRow + 1; ++row)
            EXPECT_FALSE(cells.contains(cellName(column, row))) << cellName(column, row).toStdString();
    }
    for (const char* column : {"B", "C", "D"})
        EXPECT_FALSE(cells.contains(cellName(column, lastRow + 1))) << column;

    // Summary block.
    const QString labels[] = {QStringLiteral("MAX"), QStringLiteral("MIN"), QStringLiteral("AVG")};
    for (int i = 0; i < 3; ++i) {
        expectCell(cells, cellName("F", 4 + i), labels[i], false);
        expectCell(cells, cellName("G", 4 + i), content.stats[i], false);
        EXPECT_EQ(cells.value(cellName("G", 4 + i)).toObject().value(QStringLiteral("borders")).toArray(),
                  QJsonArray({QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue()}));
    }
    EXPECT_EQ(sheet.value(QStringLiteral("active_cell")).toString(), QStringLiteral("F4"));
    EXPECT_EQ(sheet.value(QStringLiteral("formula_elements")).toInt(), 0);

    // Chart.
    const QJsonArray charts = sheet.value(QStringLiteral("charts")).toArray();
    ASSERT_EQ(charts.size(), 1);
    const QJsonObject chart = charts[0].toObject();
    EXPECT_EQ(chart.value(QStringLiteral("kinds")).toArray(), QJsonArray{QStringLiteral("lineChart")});
    const QJsonObject from = chart.value(QStringLiteral("from")).toObject();
    EXPECT_EQ(from.value(QStringLiteral("col")).toInt(), 5); // F, 0-based
    EXPECT_EQ(from.value(QStringLiteral("row")).toInt(), 7); // 8, 0-based
    EXPECT_EQ(from.value(QStringLiteral("col_off")).toInt(), 0);
    EXPECT_EQ(from.value(QStringLiteral("row_off")).toInt(), 0);
    EXPECT_EQ(chart.value(QStringLiteral("width_emu")).toInt(), 400 * 12700);
    EXPECT_EQ(chart.value(QStringLiteral("height_emu")).toInt(), 200 * 12700);
    if (content.title.isEmpty()) {
        EXPECT_TRUE(chart.value(QStringLiteral("title")).isNull());
        EXPECT_TRUE(chart.value(QStringLiteral("auto_title_deleted")).toBool());
    } else {
        EXPECT_EQ(chart.value(QStringLiteral("title")).toString(), content.title);
    }
    EXPECT_FALSE(chart.value(QStringLiteral("legend")).toBool());
    EXPECT_TRUE(chart.value(QStringLiteral("category_gridlines")).toBool());
    EXPECT_TRUE(chart.value(QStringLiteral("value_gridlines")).toBool());
    EXPECT_EQ(chart.value(QStringLiteral("blanks_as")).toString(), QStringLiteral("gap"));
    EXPECT_FALSE(chart.value(QStringLiteral("plot_visible_only")).toBool());
    EXPECT_EQ(chart.value(QStringLiteral("vary_colours")).toString(), QStringLiteral("0"));
    EXPECT_EQ(chart.value(QStringLiteral("axes_deleted")).toArray(), QJsonArray({QStringLiteral("0"), QStringLiteral("0")}));
    // Every colour is the chart's own, none is left to the workbook's theme.
    const QJsonObject colours = chart.value(QStringLiteral("colours")).toObject();
    for (const char* part : {"category_axis", "value_axis", "category_labels", "value_labels", "chart_area"})
        EXPECT_TRUE(colours.value(QLatin1String(part)).isString()) << part;
    EXPECT_EQ(colours.value(QStringLiteral("category_gridlines")).toString(), QStringLiteral("D9D9D9"));
    EXPECT_EQ(colours.value(QStringLiteral("value_gridlines")).toString(), QStringLiteral("D9D9D9"));
    if (!content.title.isEmpty()) {
        EXPECT_TRUE(colours.value(QStringLiteral("title")).isString());
    }

    // One line: the readings (the unit column has no numbers). Categories are column B;
    // the values are a hidden column with the number where the reading is one and
    // nothing where it is a word, so words are gaps.
    const QJsonArray series = chart.value(QStringLiteral("series")).toArray();
    ASSERT_EQ(series.size(), 1);
    const QJsonObject line = series[0].toObject();
    // A one-cell range is written as that cell.
    const auto column = [&](const char* letter) {
        const QString first = QStringLiteral("$%1$5").arg(QLatin1String(letter));
        return sheetName + QLatin1Char('!') + first
            + (n == 1 ? QString() : QStringLiteral(":$%1$%2").arg(QLatin1String(letter)).arg(lastRow));
    };
    EXPECT_EQ(line.value(QStringLiteral("line_colour")).toString(), QStringLiteral("0000FF"));
    EXPECT_EQ(line.value(QStringLiteral("smooth")).toString(), QStringLiteral("0"));
    // A reading with no reading beside it gets a marker of its own; when there are more
    // than 200 such, every point has one.
    QJsonArray alone;
    std::vector<bool> isNumber;
    for (const TableRow& data : content.rows) {
        double number = 0;
        isNumber.push_back(parseNumber(data.c, number));
    }
    for (int i = 0; i < n; ++i) {
        const auto at = [&](int k) { return k >= 0 && k < n && isNumber[static_cast<std::size_t>(k)]; };
        if (at(i) && !at(i - 1) && !at(i + 1))
            alone.append(i);
    }
    if (alone.size() > 200) {
        EXPECT_EQ(line.value(QStringLiteral("marker")).toString(), QStringLiteral("circle"));
        EXPECT_TRUE(line.value(QStringLiteral("marked_points")).toArray().isEmpty());
    } else {
        EXPECT_EQ(line.value(QStringLiteral("marker")).toString(), QStringLiteral("none"));
        EXPECT_EQ(line.value(QStringLiteral("marked_points")).toArray(), alone);
        if (!alone.isEmpty()) {
            EXPECT_EQ(line.value(QStringLiteral("marked_point_colours")).toArray(), QJsonArray{QStringLiteral("0000FF")});
        }
    }
    EXPECT_EQ(line.value(QStringLiteral("cat")).toString(), column("B"));
    EXPECT_FALSE(line.value(QStringLiteral("has_name")).toBool());
    const QString valueReference = line.value(QStringLiteral("val")).toString();
    EXPECT_EQ(valueReference, column("Z"));
    EXPECT_EQ(sheet.value(QStringLiteral("hidden_columns")).toArray(), QJsonArray{QStringLiteral("Z")});
    const QJsonArray categories = line.value(QStringLiteral("cat_values")).toArray();
    const QJsonArray values = line.value(QStringLiteral("val_values")).toArray();
    ASSERT_EQ(categories.size(), n);
    ASSERT_EQ(values.size(), n);
    for (int i = 0; i < n; ++i) {
        const TableRow& data = content.rows[static_cast<std::size_t>(i)];
        double number = 0;
        if (content.saveMode)
            EXPECT_DOUBLE_EQ(categories[i].toDouble(), data.b.toDouble()) << i;
        else
            EXPECT_EQ(categories[i].toString(), asReported(data.b)) << i;
        if (parseNumber(data.c, number))
            EXPECT_DOUBLE_EQ(values[i].toDouble(), number) << i;
        else
            EXPECT_TRUE(values[i].isNull()) << i << " " << data.c.toStdString();
    }
}

} // namespace quvo::test
