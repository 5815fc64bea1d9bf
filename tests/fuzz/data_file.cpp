// Fuzz target: a data file opened as a document window opens one, OpenNew then OpenFile,
// through the work file in the program folder.
//
// Invariants:
// - either the open succeeds and the document is consistent: at most 32767 readings, a grid
//   of at least count + 1 rows, MAX/MIN/AVG texts computable; saved again and re-opened it
//   gives the same table (every cell, every raw text; row numbers up to the last reading)
//   and the same statistics texts; except
//   that a document without statistics by unit is saved with a first line ("2,0") that the
//   reader refuses with "This file is a different data type." (only "2" reads back so),
//   and a SAVE-mode document reads every written row back as a reading (empty slots);
// - or it fails with a message in LastError and the document is exactly as before (the
//   grid, the panels, the chart settings, the caption, MeterModel);
// - no work file is left behind, and nothing but the files named here is left in the folder.

#include "FuzzSupport.h"

#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>

using namespace quvo;
using quvo::fuzz::printable;

namespace {

struct Paths {
    QString folder, input, saved, work;
};

const Paths& paths()
{
    static const Paths p = [] {
        Paths made;
        made.folder = fuzz::scratchFolder() + QStringLiteral("/data_file");
        QDir().mkpath(made.folder);
        made.input = made.folder + QStringLiteral("/input.csv");
        made.saved = made.folder + QStringLiteral("/saved.csv");
        made.work = made.folder + QLatin1Char('/') + WorkFileName;
        return made;
    }();
    return p;
}

// Everything a document shows, as text: what must not change when an open fails.
QString snapshot(const DataDocument& doc)
{
    QStringList out;
    out << doc.Tag() << doc.caption() << QString::number(doc.isUnchanged()) << QString::number(doc.Rows())
        << QString::number(doc.GetDatacount()) << doc.GetFilename() << programState().MeterModel;
    for (int row = 0; row < doc.Rows(); ++row) {
        for (int col = 0; col < 4; ++col)
            out << doc.TextMatrix(row, col);
        if (row > 0)
            out << doc.rawText(row);
    }
    for (const QString& key : DataDocument::panelKeys())
        out << key + QLatin1Char('=') + doc.panelText(key);
    const TimeTexts interval = doc.GetInterval();
    out << interval.days << interval.hours << interval.minutes << interval.seconds;
    const PeriodTexts period = doc.GetPeriod();
    out << period.none << period.days << period.hours << period.minutes << period.seconds;
    const AxisXTexts x = doc.GetAxisX();
    out << x.automatic << x.perLabel << x.perTick;
    const AxisYTexts y = doc.GetAxisY();
    out << y.automatic << y.minimum << y.maximum << y.major << y.minor << doc.axisY().labelFormat;
    out << doc.GetGraphcount();
    const ChartFrame& chart = doc.chart();
    out << QString::number(chart.firstRow) << QString::number(chart.pointCount) << QString::number(chart.shownCount)
        << QString::number(chart.hasMax) << QString::number(chart.maxValue) << QString::number(chart.hasMin)
        << QString::number(chart.minValue) << QString::number(chart.yMinimum) << QString::number(chart.yMaximum);
    const ScrollRange& scroll = doc.scrollRange();
    out << QString::number(scroll.maximum) << QString::number(scroll.value) << QString::number(scroll.enabled);
    out << QString::number(doc.windowWidth()) << QString::number(doc.windowHeight())
        << QString::number(doc.windowState()) << QString::number(doc.progressValue())
        << QString::number(doc.progressMaximum());
    return out.join(QLatin1Char('\x1f'));
}

// The statistics texts, which must be computable for every document that opened.
QStringList statisticsTexts(DataDocument& doc, const QString& what)
{
    try {
        doc.DispCalculation();
        return {doc.GetDispmax(true), doc.GetDispmax(false), doc.GetDispmin(true), doc.GetDispmin(false),
                doc.GetDispavg()};
    } catch (const RuntimeError& e) {
        fuzz::fail(__FILE__, __LINE__, "statistics texts", what + QStringLiteral(": ") + e.description());
    }
}

// The table as read: every cell and raw text, the row numbers of the readings. The number
// of a row after the last reading is not compared: a file's blank rows are numbered as
// they are met and its trailing empty rows are saved as blank rows, so after a save they
// are numbered where the first reading had left rows unnumbered.
QStringList tableOf(const DataDocument& doc, int readings)
{
    QStringList cells;
    for (int row = 1; row < doc.Rows(); ++row) {
        cells << (row <= readings ? doc.TextMatrix(row, 0) : QString()) << doc.TextMatrix(row, 1)
              << doc.TextMatrix(row, 2) << doc.TextMatrix(row, 3) << doc.rawText(row);
    }
    return cells;
}

// The first line of the saved file, without its line end.
QByteArray savedFirstLine()
{
    QFile file(paths().saved);
    if (!file.open(QIODevice::ReadOnly))
        fuzz::fail(__FILE__, __LINE__, "saved file readable", file.errorString());
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

void checkFolder(const QStringList& allowed)
{
    FUZZ_CHECK(!QFile::exists(paths().work), QStringLiteral("the work file was left behind"));
    for (const QString& name : fuzz::entriesOf(paths().folder))
        FUZZ_CHECK(allowed.contains(name), QStringLiteral("\"%1\" was left in the folder").arg(name));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::ensureApplication();
    const Paths& p = paths();
    resetProgramState();
    ProgramState& s = programState();
    s.WorkPath = p.work;
    QFile::remove(p.saved);
    {
        QFile input(p.input);
        if (!input.open(QIODevice::WriteOnly | QIODevice::Truncate)
            || input.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size)) != static_cast<qint64>(size))
            fuzz::fail(__FILE__, __LINE__, "input written", input.errorString());
    }

    DataDocument doc;
    doc.OpenNew(DataDocument::KindBeforeOpen);
    const QString before = snapshot(doc);
    s.LastError.clear();
    const bool opened = doc.OpenFile(p.input);
    checkFolder({QStringLiteral("input.csv")});

    if (!opened) {
        FUZZ_CHECK(!s.LastError.isEmpty(), QStringLiteral("a failed open left no message"));
        FUZZ_CHECK(snapshot(doc) == before, QStringLiteral("a failed open (%1) changed the document").arg(s.LastError));
        return 0;
    }

    const int count = doc.GetDatacount();
    FUZZ_CHECK(count >= 0 && count <= MaxReadings, QStringLiteral("%1 readings").arg(count));
    FUZZ_CHECK(doc.Rows() >= count + 1, QStringLiteral("%1 grid rows for %2 readings").arg(doc.Rows()).arg(count));
    FUZZ_CHECK(doc.isUnchanged(), QStringLiteral("a document just opened has changes"));
    const QStringList stats = statisticsTexts(doc, QStringLiteral("opened"));
    const QStringList table = tableOf(doc, count);
    const QString model = s.MeterModel;

    // Saved again and re-opened: the same table and the same statistics.
    s.LastError.clear();
    const bool saved = doc.SaveFile(p.saved);
    checkFolder({QStringLiteral("input.csv"), QStringLiteral("saved.csv")});
    FUZZ_CHECK(saved, QStringLiteral("a document that opened cannot be saved: %1").arg(s.LastError));

    DataDocument again;
    again.OpenNew(DataDocument::KindBeforeOpen);
    s.LastError.clear();
    const bool reopened = again.OpenFile(p.saved);
    checkFolder({QStringLiteral("input.csv"), QStringLiteral("saved.csv")});
    // A document without statistics by unit is saved with a first line such as "2,0", and a
    // first line longer than one character must have "1" second: such a file is refused.
    const QByteArray firstLine = savedFirstLine();
    if (firstLine.size() > 1 && firstLine.at(1) != '1') {
        FUZZ_CHECK(!reopened && s.LastError == ResID(Res::DifferentDataType),
                   QStringLiteral("the saved first line \"%1\" was not refused: %2")
                       .arg(printable(QString::fromLatin1(firstLine)), s.LastError));
        return 0;
    }
    FUZZ_CHECK(reopened, QStringLiteral("the saved file does not open again: %1").arg(s.LastError));
    // Every grid row is written, the empty rows a new document shows included; a SAVE-mode
    // file keeps a row with an empty value as a reading (an empty memory slot), so there
    // every written row comes back as a reading.
    const int countBack = doc.Tag() == QLatin1String("4") ? doc.Rows() - 1 : count;
    FUZZ_CHECK(again.GetDatacount() == countBack,
               QStringLiteral("%1 readings saved (%2 rows), %3 read back")
                   .arg(count)
                   .arg(doc.Rows() - 1)
                   .arg(again.GetDatacount()));
    FUZZ_CHECK(s.MeterModel == model,
               QStringLiteral("model \"%1\" saved, \"%2\" read back").arg(printable(model), printable(s.MeterModel)));
    const QStringList tableAgain = tableOf(again, count);
    if (tableAgain != table) {
        qsizetype i = 0;
        while (i < table.size() && i < tableAgain.size() && table[i] == tableAgain[i])
            ++i;
        fuzz::fail(__FILE__, __LINE__, "same table after saving",
                   QStringLiteral("%1 and %2 cells; cell %3 of row %4 was \"%5\", is \"%6\"")
                       .arg(table.size())
                       .arg(tableAgain.size())
                       .arg(i % 5)
                       .arg(i / 5 + 1)
                       .arg(printable(table.value(i)), printable(tableAgain.value(i))));
    }
    FUZZ_CHECK(statisticsTexts(again, QStringLiteral("re-opened")) == stats,
               QStringLiteral("the statistics differ after saving: \"%1\" and \"%2\"")
                   .arg(printable(stats.join(QLatin1Char('|'))),
                        printable(statisticsTexts(again, QStringLiteral("re-opened")).join(QLatin1Char('|')))));
    return 0;
}
