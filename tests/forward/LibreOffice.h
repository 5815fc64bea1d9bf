#pragma once
// LibreOffice Calc, headless, as the spreadsheet program the workbook tests open files
// with: conversions of workbooks to CSV (the values as the program shows them), to PDF
// (the pages as it draws them) and back to .xlsx (what it makes of a workbook when it saves
// it again), and the tools to look at the results: a CSV reader, the pages of a PDF as
// images (pdftoppm) and as texts (pdftotext), and the finding of a chart on a page.
//
// Every LibreOffice object has a user profile of its own in a folder of the test, so that
// tests running at the same time never share one.

#include <QImage>
#include <QRect>
#include <QString>
#include <QStringList>

#include <optional>

namespace quvo::test {

class LibreOffice {
public:
    // The profile goes to `folder`/profile.
    explicit LibreOffice(const QString& folder);

    // True when soffice, pdftoppm and pdftotext can be run.
    static bool available();

    // Converts `files` (in one run of the program) with `--convert-to target` into
    // `outFolder`. False when the program fails or a file gives no result; `log` then says
    // what the program printed.
    bool convert(const QStringList& files, const QString& target, const QString& outFolder, QString& log) const;

    // The targets used by the tests.
    static QString everySheetAsCsv();   // one "<name>-<sheet>.csv" per sheet, texts as shown, UTF-8
    static QString onePagePerSheetPdf(); // each sheet on one page of its own
    static QString pagedPdf();          // the sheets paginated as for printing
    static QString savedAsXlsx();       // the workbook saved again by the program

private:
    QString m_profileUrl;
};

// The rows of a CSV file written by the program ("," between cells, '"' around texts
// that need it, a doubled '"' inside them).
QList<QStringList> readCsv(const QString& path);

// The number of pages of a PDF file, and the text of each page.
int pageCount(const QString& pdf);
QStringList pageTexts(const QString& pdf);
// One page (from 1) rendered at `dpi`; a null image when it cannot be rendered.
QImage renderPage(const QString& pdf, int page, int dpi);

// A chart found on a rendered page: the rectangle inside its frame (the chart's frame
// colour as long horizontal lines, at least `minimumWidth` pixels) and the pixels of the
// line's colour inside it.
struct ChartOnPage {
    QRect frame;
    int seriesPixels = 0;
};
std::optional<ChartOnPage> findChart(const QImage& page, int minimumWidth);

} // namespace quvo::test
