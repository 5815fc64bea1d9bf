#include "WorkbookTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>

#include <unistd.h>

#include <gtest/gtest.h>

namespace quvo::test {

namespace {

QJsonObject runReader(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("/usr/bin/python3"),
                  QStringList{QStringLiteral(QUVO_FORWARD_TEST_DIR "/check_workbook.py")} + arguments);
    if (!process.waitForFinished(120000)) {
        ADD_FAILURE() << "the workbook reader did not finish";
        return {};
    }
    const QByteArray out = process.readAllStandardOutput();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        ADD_FAILURE() << "the workbook reader failed: " << process.readAllStandardError().toStdString();
        return {};
    }
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(out, &error);
    if (error.error != QJsonParseError::NoError) {
        ADD_FAILURE() << "the workbook reader printed no JSON: " << out.left(400).toStdString();
        return {};
    }
    return doc.object();
}

} // namespace

void appendRealtimeRow(ExcelWorksheet& sheet, const SheetContent& content, int rowCount)
{
    const int row = rowCount + 4;
    if (rowCount == 1) {
        sheet.Cells(4, QStringLiteral("B"))->Activate();
        const char* columns[] = {"B", "C", "D"};
        for (int i = 0; i < 3; ++i) {
            auto cell = sheet.Cells(4, QString::fromLatin1(columns[i]));
            cell->setNumberFormat(xl::TextFormat);
            cell->setValue(content.header[i]);
        }
    }
    const TableRow& data = content.rows[static_cast<std::size_t>(rowCount - 1)];
    sheet.Cells(row, QStringLiteral("B"))->Activate();
    auto b = sheet.Cells(row, QStringLiteral("B"));
    b->setNumberFormat(xl::TextFormat);
    b->setValue(data.b);
    auto c = sheet.Cells(row, QStringLiteral("C"));
    c->setNumberFormat(xl::GeneralFormat);
    c->setValue(data.c);
    auto d = sheet.Cells(row, QStringLiteral("D"));
    d->setNumberFormat(xl::TextFormat);
    d->setValue(data.d);
}

void writeTableFrame(ExcelWorksheet& sheet, const SheetContent& content, int rowCount)
{
    const QString last = QString::number(rowCount + 4);
    auto title = sheet.Range(QStringLiteral("B2"));
    title->setNumberFormat(xl::TextFormat);
    title->setValue(content.title);
    auto frame = sheet.Range(QStringLiteral("B4:D") + last);
    for (const std::int16_t edge : {xl::xlEdgeTop, xl::xlEdgeBottom, xl::xlEdgeLeft, xl::xlEdgeRight})
        frame->Borders(edge)->setWeight(xl::xlMedium);
    auto header = sheet.Range(QStringLiteral("B4:D4"));
    header->Borders(xl::xlEdgeBottom)->setWeight(xl::xlMedium);
    header->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);
    header->setHorizontalAlignment(xl::xlCenter);
    auto body = sheet.Range(QStringLiteral("B5:D") + last);
    body->Borders(xl::xlInsideHorizontal)->setWeight(xl::xlThin);
    body->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);
    sheet.Cells(4, QStringLiteral("F"))->Activate();
    const QString labels[] = {QStringLiteral("MAX"), QStringLiteral("MIN"), QStringLiteral("AVG")};
    for (int i = 0; i < 3; ++i) {
        auto label = sheet.Cells(4 + i, QStringLiteral("F"));
        label->setNumberFormat(xl::TextFormat);
        label->setValue(labels[i]);
        auto value = sheet.Cells(4 + i, QStringLiteral("G"));
        value->setNumberFormat(xl::TextFormat);
        value->setValue(content.stats[i]);
    }
}

void addDataChart(ExcelWorksheet& sheet, const QString& title, int rowCount)
{
    auto anchor = sheet.Range(QStringLiteral("F8"));
    auto chartObject = sheet.ChartObjects()->Add(anchor->Left(), anchor->Top(), 400, 200);
    auto chart = chartObject->Chart();
    ChartWizardArguments arguments;
    arguments.Source = sheet.Range(QStringLiteral("B5:D") + QString::number(rowCount + 4));
    arguments.Gallery = xl::xlLine;
    arguments.Format = 2;
    arguments.PlotBy = xl::xlColumns;
    arguments.CategoryLabels = 1;
    arguments.SeriesLabels = 0;
    arguments.HasLegend = false;
    arguments.Title = title;
    chart->ChartWizard(arguments);
    chart->Axes(xl::xlCategory)->setHasMajorGridlines(true);
    chart->Axes(xl::xlValue)->setHasMajorGridlines(true);
}

void writeWholeDocument(ExcelWorksheet& sheet, const SheetContent& content)
{
    const int n = static_cast<int>(content.rows.size());
    for (int i = 0; i <= n; ++i) {
        const int row = i + 4;
        const TableRow data = i == 0 ? TableRow{content.header[0], content.header[1], content.header[2]}
                                     : content.rows[static_cast<std::size_t>(i - 1)];
        auto b = sheet.Cells(row, QStringLiteral("B"));
        b->setNumberFormat(content.saveMode && i > 0 ? xl::GeneralFormat : xl::TextFormat);
        b->setValue(data.b);
        auto c = sheet.Cells(row, QStringLiteral("C"));
        c->setNumberFormat(i == 0 ? xl::TextFormat : xl::GeneralFormat);
        c->setValue(data.c);
        auto d = sheet.Cells(row, QStringLiteral("D"));
        d->setNumberFormat(xl::TextFormat);
        d->setValue(data.d);
    }
    writeTableFrame(sheet, content, n);
    addDataChart(sheet, content.title, n);
}

QJsonObject describeWorkbook(const QString& path)
{
    return runReader({QStringLiteral("describe"), path});
}

QJsonObject workbookViews(const QString& path)
{
    return runReader({QStringLiteral("views"), path});
}

QJsonObject workbookEntries(const QString& path)
{
    return runReader({QStringLiteral("entries"), path});
}

void makeWorkbook(const QString& kind, const QString& path)
{
    runReader({QStringLiteral("make-") + kind, path});
}

QString resaveWithLibreOffice(const QString& path, const QString& folder)
{
    const QString out = QDir(folder).filePath(QStringLiteral("libreoffice"));
    QDir().mkpath(out);
    QProcess office;
    office.setProcessChannelMode(QProcess::MergedChannels);
    office.start(QStringLiteral("soffice"),
                 {QStringLiteral("--headless"), QStringLiteral("--norestore"),
                  QStringLiteral("-env:UserInstallation=file://") + QDir(out).filePath(QStringLiteral("profile")),
                  QStringLiteral("--convert-to"), QStringLiteral("xlsx"), QStringLiteral("--outdir"), out, path});
    if (!office.waitForStarted(10000)) {
        ADD_FAILURE() << "LibreOffice (soffice) cannot be started: " << office.errorString().toStdString();
        return {};
    }
    if (!office.waitForFinished(120000) || office.exitCode() != 0) {
        office.kill();
        office.waitForFinished(5000);
        ADD_FAILURE() << "LibreOffice failed: " << office.readAll().toStdString();
        return {};
    }
    const QString converted = QDir(out).filePath(QFileInfo(path).completeBaseName() + QStringLiteral(".xlsx"));
    if (!QFile::exists(converted)) {
        ADD_FAILURE() << "LibreOffice wrote no workbook: " << office.readAll().toStdString();
        return {};
    }
    return converted;
}

void makeWorkbookWithSheets(const QString& path, const QStringList& names)
{
    runReader(QStringList{QStringLiteral("make-sheets"), path} + names);
}

ReadOnlyFolder::ReadOnlyFolder(const QString& folder) : m_folder(folder)
{
    if (::geteuid() != 0) {
        m_done = QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        m_byPermissions = true;
    } else {
        m_done = QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), folder}) == 0;
    }
}

ReadOnlyFolder::~ReadOnlyFolder()
{
    if (!m_done)
        return;
    if (m_byPermissions)
        QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    else
        QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), m_folder});
}

std::vector<TableRow> realtimeRows(int count)
{
    static const QString readings[] = {QStringLiteral("1.234E-3"), QStringLiteral("-0.5"), QStringLiteral("ERROR"),
                                       QStringLiteral("12"), QStringLiteral("+OL"), QStringLiteral("2.5"),
                                       QStringLiteral("-OL"), QStringLiteral("0.001")};
    std::vector<TableRow> rows;
    for (int i = 0; i < count; ++i) {
        const int second = 30 + i;
        const QString time = QStringLiteral("10:%1:%2")
                                 .arg(15 + second / 60, 2, 10, QLatin1Char('0'))
                                 .arg(second % 60, 2, 10, QLatin1Char('0'));
        rows.push_back({time, readings[i % 8], QStringLiteral("VDC")});
    }
    return rows;
}

} // namespace quvo::test
