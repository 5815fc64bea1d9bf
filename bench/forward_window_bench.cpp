// File > Forward as a person meets it: the real main window on a display, a document of
// 32767 readings opened in it, the Forward tool button clicked, the Forward dialog answered
// with OK, the real progress dialog (frmCancel) shown while the engine writes, the real
// event loop. Measured: the time from the OK click to the workbook on disk, how long the
// event loop was kept away meanwhile (a click on Cancel, a repaint of the dialog, a moved
// window wait that long at most), how often the dialog was painted, and a Cancel pressed in
// the middle: the time from the click until the forwarding has ended, and that the
// workbook is as it was.
//
//   xvfb-run -a -s "-screen 0 1600x1000x24" build/bench/forward_window_bench [repetitions]
//   QT_QPA_PLATFORM=offscreen build/bench/forward_window_bench [repetitions]
//
// Goal: at most 1.5 s from OK to the file on disk; the event loop never away for more
// than 100 ms while the dialog is shown.

#include "app/Settings.h"
#include "app/frmMain.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/TimeText.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

using namespace quvo;

namespace {

constexpr int FullDocument = 32767;

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "forward_window_bench: %s\n", qPrintable(what));
    std::exit(1);
}

// "hh:mm:ss" of a second of the day, as a recording labels its rows.
QString timeText(int second)
{
    return addToTimeLabel(QStringLiteral("00:00:00"), 0, 0, 0, second);
}

// A saved realtime document of 32767 readings: millivolts, an ERROR in a hundred.
QString writeFullDocument(const QString& folder)
{
    const QString path = QDir(folder).filePath(QStringLiteral("full.CSV"));
    programState().WorkPath = QDir(folder).filePath(WorkFileName); // the program's own is set by the window's load
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    for (int i = 0; i < FullDocument; ++i) {
        const QString value = i % 100 == 99 ? QString(ErrorReading)
                                            : QString::number(100 + i % 900) + QStringLiteral("E-3");
        doc.AddGridrow();
        doc.AddRealtimedata(timeText(i), value, QStringLiteral("VDC"), DataDocument::IsReadingValue(value), value);
    }
    if (!doc.SaveFile(path) || doc.GetDatacount() != FullDocument)
        fail(QStringLiteral("the document cannot be written: ") + programState().LastError);
    return path;
}

QByteArray sha256(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    return hash.result().toHex();
}

QStringList workbooksIn(const QString& folder)
{
    QStringList found;
    QDirIterator it(folder, {QStringLiteral("*.xlsx")}, QDir::Files);
    while (it.hasNext())
        found.append(it.next());
    return found;
}

QWidget* topLevel(const char* name)
{
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (w->objectName() == QLatin1String(name) && w->isVisible())
            return w;
    }
    return nullptr;
}

template <class W>
W* child(QWidget* parent, const char* name)
{
    W* found = parent ? parent->findChild<W*>(QLatin1String(name)) : nullptr;
    if (!found)
        fail(QStringLiteral("no control ") + QLatin1String(name));
    return found;
}

// The message boxes, answered at once and kept (a modal box would stop the run).
class AnsweringPrompter : public Prompter {
public:
    QStringList messages;
    PromptAnswer message(const QString& text, PromptButtons, PromptIcon, PromptAnswer defaultAnswer) override
    {
        messages.append(text);
        return defaultAnswer;
    }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

// Counts the paintings of the progress dialog and its controls.
class PaintCounter : public QObject {
public:
    int paints = 0;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            auto* widget = qobject_cast<QWidget*>(watched);
            if (widget && widget->window()->objectName() == QLatin1String("frmCancel"))
                ++paints;
        }
        return false;
    }
};

struct Run {
    double okToFileMs = 0;          // OK clicked -> the forwarding has ended, the file is there
    double longestAwayMs = 0;       // the longest the event loop was away between OK and the end
    double longestAwayShownMs = 0;  // the same, while the progress dialog was shown
    int dialogPaints = 0;
    double cancelToEndMs = -1;      // Cancel clicked -> the forwarding has ended
    bool shown = false;             // the progress dialog was seen
};

class Bench {
public:
    Bench()
    {
        if (!m_home.isValid())
            fail(QStringLiteral("no temporary folder"));
        // The program folder, the per-user store and the documents folder, all temporary.
        qputenv(HomeEnvVar, QFile::encodeName(m_home.filePath(QStringLiteral("program"))));
        QDir().mkpath(m_home.filePath(QStringLiteral("program")));
        setSettingsStoreFolder(m_home.filePath(QStringLiteral("store")));
        m_documents = QDir(QString::fromLocal8Bit(qgetenv("HOME"))).filePath(QStringLiteral("Documents"));
        m_data = writeFullDocument(m_home.path());

        m_window = std::make_unique<frmMain>();
        m_window->setPrompter(&m_prompter);
        m_window->Load();
        m_window->resize(1200, 800);
        m_window->show();
        if (!QTest::qWaitForWindowExposed(m_window.get()))
            fail(QStringLiteral("the main window is not shown"));
        m_window->fileCommands().openFile(m_data);
        if (!programState().CurrentDoc && m_window->openDocuments().isEmpty())
            fail(QStringLiteral("the document did not open"));
        QTest::qWait(200); // the windows settle
        qApp->installEventFilter(&m_paints);
    }

    ~Bench()
    {
        qApp->removeEventFilter(&m_paints);
        m_window->close();
        m_window.reset();
    }

    const QString& documents() const { return m_documents; }
    QString homeFile(const QString& name) const { return m_home.filePath(name); }

    // One File > Forward: "" for a new workbook, else the existing workbook to extend.
    // cancelAfterMs >= 0: Cancel is clicked that long after OK.
    Run forward(const QString& into, double cancelAfterMs = -1)
    {
        Run run;
        QElapsedTimer clock;
        bool okClicked = false;
        bool cancelClicked = false;
        double lastTick = 0;
        double cancelAt = 0;
        m_paints.paints = 0;

        // Answers the Forward dialog as soon as it is up, then watches the event loop.
        QTimer watcher;
        watcher.setInterval(2);
        QObject::connect(&watcher, &QTimer::timeout, [&] {
            if (!okClicked) {
                QWidget* dialog = topLevel("frmForward");
                if (!dialog)
                    return;
                if (into.isEmpty()) {
                    QTest::mouseClick(child<QAbstractButton>(dialog, "obNew"), Qt::LeftButton);
                } else {
                    auto* path = child<QLineEdit>(dialog, "tbFile");
                    path->clear();
                    QTest::keyClicks(path, into);
                }
                okClicked = true;
                clock.start();
                lastTick = 0;
                QTest::mouseClick(child<QAbstractButton>(dialog, "btOk"), Qt::LeftButton);
                return;
            }
            const double now = clock.nsecsElapsed() / 1e6;
            const double away = now - lastTick;
            lastTick = now;
            run.longestAwayMs = std::max(run.longestAwayMs, away);
            QWidget* progress = topLevel("frmCancel");
            if (progress) {
                run.shown = true;
                run.longestAwayShownMs = std::max(run.longestAwayShownMs, away);
                if (cancelAfterMs >= 0 && !cancelClicked && now >= cancelAfterMs) {
                    cancelClicked = true;
                    cancelAt = now;
                    QTest::mouseClick(child<QAbstractButton>(progress, "btCancel"), Qt::LeftButton);
                }
            }
        });
        watcher.start();

        QToolBar* bar = m_window->findChild<QToolBar*>(QStringLiteral("tbMain"));
        QWidget* button = bar ? bar->widgetForAction(m_window->action(QStringLiteral("Forward"))) : nullptr;
        if (!button || !button->isEnabled())
            fail(QStringLiteral("the Forward button is not there or not enabled"));
        // Returns when the command is over: dialog, forwarding, file written.
        QTest::mouseClick(button, Qt::LeftButton);
        const double end = clock.nsecsElapsed() / 1e6;
        watcher.stop();
        if (!okClicked)
            fail(QStringLiteral("the Forward dialog never came"));
        run.okToFileMs = end;
        run.longestAwayMs = std::max(run.longestAwayMs, end - lastTick);
        run.dialogPaints = m_paints.paints;
        if (cancelClicked)
            run.cancelToEndMs = end - cancelAt;
        // The message box after a Cancel (or a failure) is answered by the prompter; let the
        // windows settle before the next run.
        QTest::qWait(50);
        return run;
    }

private:
    QTemporaryDir m_home;
    QString m_documents;
    QString m_data;
    AnsweringPrompter m_prompter;
    std::unique_ptr<frmMain> m_window;
    PaintCounter m_paints;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void report(const char* name, const std::vector<Run>& runs)
{
    std::vector<double> times, away, awayShown;
    int paints = 0;
    for (const Run& r : runs) {
        times.push_back(r.okToFileMs);
        away.push_back(r.longestAwayMs);
        awayShown.push_back(r.longestAwayShownMs);
        paints += r.dialogPaints;
    }
    double mean = 0;
    for (double t : times)
        mean += t;
    mean /= static_cast<double>(times.size());
    std::printf("%-34s OK->file: mean %7.0f ms, median %7.0f ms, min %7.0f ms, max %7.0f ms | event loop away at most "
                "%5.0f ms (%5.0f ms while the dialog is shown) | dialog painted %d times a run\n",
                name, mean, median(times), *std::min_element(times.begin(), times.end()),
                *std::max_element(times.begin(), times.end()), *std::max_element(away.begin(), away.end()),
                *std::max_element(awayShown.begin(), awayShown.end()), paints / static_cast<int>(runs.size()));
}

} // namespace

int main(int argc, char** argv)
{
    // A home of its own, so the new workbooks go to a temporary documents folder.
    QTemporaryDir home;
    if (!home.isValid())
        fail(QStringLiteral("no temporary folder"));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));
    qunsetenv("XDG_DOCUMENTS_DIR");
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    QApplication app(argc, argv);
    const int repetitions = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;

    Bench bench;
    std::printf("platform %s, %d repetitions, %d rows\n", qPrintable(QGuiApplication::platformName()), repetitions,
                FullDocument);

    // A new workbook, as File > Forward with "New".
    std::vector<Run> runs;
    for (int i = 0; i < repetitions; ++i) {
        const QStringList before = workbooksIn(bench.documents());
        Run run = bench.forward(QString());
        const QStringList after = workbooksIn(bench.documents());
        if (after.size() != before.size() + 1 || !run.shown)
            fail(QStringLiteral("no new workbook was written"));
        runs.push_back(run);
        for (const QString& file : after)
            QFile::remove(file);
    }
    report("New workbook", runs);

    // A new sheet added to an existing workbook, as File > Forward with "Custom".
    {
        Run first = bench.forward(QString());
        Q_UNUSED(first);
    }
    const QStringList made = workbooksIn(bench.documents());
    if (made.size() != 1)
        fail(QStringLiteral("no workbook to extend"));
    const QString base = bench.homeFile(QStringLiteral("base.xlsx"));
    QFile::remove(base);
    QFile::rename(made.first(), base);
    const QString target = bench.homeFile(QStringLiteral("target.xlsx"));
    runs.clear();
    for (int i = 0; i < repetitions; ++i) {
        QFile::remove(target);
        QFile::copy(base, target);
        const QByteArray before = sha256(target);
        Run run = bench.forward(target);
        if (sha256(target) == before)
            fail(QStringLiteral("the workbook was not extended"));
        runs.push_back(run);
    }
    report("Sheet added to a workbook", runs);
    std::vector<double> customTimes;
    for (const Run& run : runs)
        customTimes.push_back(run.okToFileMs);
    const double customMedian = median(customTimes);

    // Cancel at moments spread over a Custom forward (while rows are written and while the
    // workbook is written): the workbook stays as it was.
    std::vector<double> cancelTimes;
    double longestAway = 0;
    for (int i = 0; i < repetitions; ++i) {
        QFile::remove(target);
        QFile::copy(base, target);
        const QByteArray before = sha256(target);
        const double at = customMedian * (i + 0.5) / repetitions;
        const Run run = bench.forward(target, at);
        std::printf("  Cancel %4.0f ms after OK: forwarding ended %4.0f ms after the click\n", at, run.cancelToEndMs);
        if (run.cancelToEndMs < 0)
            fail(QStringLiteral("the forwarding ended before Cancel could be clicked"));
        if (sha256(target) != before)
            fail(QStringLiteral("Cancel changed the workbook"));
        cancelTimes.push_back(run.cancelToEndMs);
        longestAway = std::max(longestAway, run.longestAwayShownMs);
    }
    std::printf("%-34s Cancel->ended: median %5.0f ms, max %5.0f ms | event loop away at most %5.0f ms while the "
                "dialog is shown | workbook unchanged (sha256) every time\n",
                "Cancel during a Custom forward", median(cancelTimes),
                *std::max_element(cancelTimes.begin(), cancelTimes.end()), longestAway);
    for (const QString& file : workbooksIn(bench.documents()))
        QFile::remove(file);
    return 0;
}
