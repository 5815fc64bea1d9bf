#pragma once
// DataDocument: the readings of one data document window (`frmData`) and everything the
// window shows about them, without any widget. The window is a thin view: it listens to
// the signals at the bottom and reads the getters; it keeps no copy of the readings.
//
// What a document holds
//   - The grid. Row 0 holds the headings "No.", "TIME", "DATA", "MODE"; rows 1.. hold the
//     readings: label, time, value ("1.234E-3", "ERROR", "+OL", "-OL" or empty) and mode
//     ("VDC", "OHM", ...), plus a hidden raw text per row that carries the reading's decimal
//     exponent. At most 32767 readings. A new document shows 20 empty numbered rows. Texts
//     are single-byte (Latin-1) as in the data file; AddData refuses any other character.
//   - The statistics: chart markers (largest and smallest reading of all) and MAX/MIN/AVG
//     since the last change of unit class (rules in UnitStatistics.h).
//   - The recording interval and period (realtime documents).
//   - The chart: point count ("graph count"), X and Y axis settings, the scroll range of the
//     sliding window, and what the chart shows now (chart(), chartValue(), chartLabel()).
//   - The progress bar, the status panel texts by key, the caption, and the window size and
//     state that data files carry.
//
// How it is used
//   - A new document: OpenNew(kind). Opening a file: OpenNew(KindBeforeOpen), OpenFile(path).
//   - Realtime recording, per recorded reading: AddGridrow(), then AddRealtimedata(...).
//   - Memory download, per record: AddGridrow(), AddData(...); at the end SetGraphcount,
//     PaintGraphtop(), DispCalculation().
//   - The window calls setScrollValue() when the user moves the scroll bar, setNormalSize()
//     and setWindowState() on resize, and queryClose() before it closes. On gridReset() it
//     shows the grid afresh with its current cell at row 1, column 1.
//   - Failures: operations that can fail return false and leave the reason in LastError
//     (programState()). Operations marked "throws" raise RuntimeError; the procedure that
//     called them catches it at its boundary (as the file reader does around AddData).
//   - Message boxes go through the injected Prompter; the hourglass pointer through the busy
//     hook. Without them nothing is shown (command-line program, tests).
//
// Everything runs on the user-interface thread.

#include "document/Limits.h"
#include "document/UnitStatistics.h"
#include "resources/Constant.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace quvo {

class Prompter;

// Days, hours, minutes and seconds as texts ("00", "05"), as the document stores them.
struct TimeTexts {
    QString days, hours, minutes, seconds;
    friend bool operator==(const TimeTexts&, const TimeTexts&) = default;
};

// GetPeriod: the no-period flag as "True"/"False", then the four period texts.
struct PeriodTexts {
    QString none;
    QString days, hours, minutes, seconds;
};

// GetAxisX: automatic flag as "True"/"False", divisions per label, divisions per tick.
struct AxisXTexts {
    QString automatic, perLabel, perTick;
};

// GetAxisY: automatic flag, minimum, maximum, major division, minor division.
struct AxisYTexts {
    QString automatic, minimum, maximum, major, minor;
};

// The X axis (a category axis).
struct AxisX {
    bool automatic = true;
    std::int16_t perLabel = 1; // categories between tick-mark labels
    std::int16_t perTick = 1;  // categories between tick marks
};

// The Y axis and the second Y axis (value axes).
struct AxisY {
    bool automatic = true;
    QString minimumText = QStringLiteral("0");  // the custom texts last applied
    QString maximumText = QStringLiteral("10");
    double minimum = 0;   // the custom scale as numbers
    double maximum = 10;
    std::int16_t major = 1;
    std::int16_t minor = 1;
    // Tick label format: "" (the chart's own) when automatic; "0.0###" for a custom range
    // of 0.01 and more; "0.0###E-#" below (see formatAxisPlain / formatAxisScientific).
    QString labelFormat;
};

// The scroll bar under the chart; its minimum is always 0.
struct ScrollRange {
    int maximum = 0;
    int value = 0;
    bool enabled = false;
};

// What the chart shows now: the result of the last chart redraw.
struct ChartFrame {
    int firstRow = 1;     // grid row shown at point 1 (scroll value + 1)
    int pointCount = 20;  // points across the chart (the graph count)
    int shownCount = 0;   // points 1..shownCount show a reading; the others are empty points
    bool hasMax = false;  // series 2 holds maxValue at every point
    float maxValue = 0;
    bool hasMin = false;  // series 3 holds minValue at every point
    float minValue = 0;
    double yMinimum = 0;  // the Y scale in effect (automatic or custom)
    double yMaximum = 10;
    // The limits drawn across the chart as lines (when the document's readings are of the
    // limits' unit); the automatic scale keeps them in view.
    bool hasUpperLine = false;
    double upperLine = 0;
    bool hasLowerLine = false;
    double lowerLine = 0;
};

class DataDocument : public QObject {
    Q_OBJECT

public:
    // The kind a document is made with before OpenFile: it sets no interval of its own, so
    // what shows afterwards comes from the file alone.
    static constexpr int KindBeforeOpen = DataKinds::Logging;

    // Status panels by key (the window's status bars stBar1..stBar3).
    // "Label", "Max", "Interval", "Min", "Period", "Avg", "X", "Y", and "Judge" (the counts of
    // the rows judged against limits; empty without limits).
    static const QStringList& panelKeys();
    // The fixed caption shown before a value panel ("MAX ", "X axis ", ...); "" for "Label".
    static QString panelCaption(const QString& key);

    explicit DataDocument(QObject* parent = nullptr);
    ~DataDocument() override;

    // --- Seams --------------------------------------------------------------------------
    void setPrompter(Prompter* prompter);                  // message boxes; nullptr: none
    Prompter* prompter() const { return m_prompter; }
    void setBusyHook(std::function<void(bool busy)> hook); // hourglass pointer on/off

    // --- Making a document -----------------------------------------------------------------
    // An empty document of that kind (0 LOGGING-mode, 2 realtime, 4 SAVE-mode) with 20 empty
    // numbered rows, the default chart, caption "New<n>". Resets MeterModel and PadRecords.
    void OpenNew(int kind);

    int kind() const;
    QString Tag() const; // the kind as text ("2"); empty before OpenNew
    QString caption() const;
    bool isUnchanged() const;

    // --- Readings ------------------------------------------------------------------------
    // Appends one stored reading (file load, memory download) without refreshing the
    // statistics panels. While PadRecords is true it only relabels the next padding row.
    // Throws RuntimeError (and changes nothing) when the row is past the grid or past
    // 32767, when a numeric value does not convert, or when a text has a character outside
    // the single-byte set a data file holds (Latin-1).
    void AddData(const QString& time, const QString& value, const QString& mode, const QString& raw);

    // Appends one realtime reading and refreshes grid, chart, scroll range, progress and,
    // when isNumeric, the statistics panels. Throws like AddData.
    void AddRealtimedata(const QString& time, const QString& value, const QString& mode, bool isNumeric,
                         const QString& raw);

    // Grows the grid by one row when the next reading would not fit. False, with the reason
    // in LastError, when the document is full.
    bool AddGridrow();

    std::int16_t GetDatacount() const;

    // --- Statistics ------------------------------------------------------------------------
    void DispCalculation();                 // MAX, MIN, AVG texts into their panels
    QString GetDispmax(bool withNumber) const;
    QString GetDispmin(bool withNumber) const;
    QString GetDispavg();                   // also takes the copy of MeterModel

    static bool IsReadingValue(QStringView value);
    void AccumulateStatistics(double value, std::int32_t row);          // throws on count overflow
    UnitClass ClassifyUnit(const QString& mode, const QString& raw);    // also takes the MeterModel copy
    void SetUnitRange(const QString& mode, const QString& raw);

    const ReadingStatistics& statistics() const;
    int statisticsByUnit() const;  // 1: readings are classified by unit; 0: AVG as "0.0000"
    QString modeCode() const;      // the document's copy of MeterModel

    // --- Limits (beyond the original program) ------------------------------------------------
    // The limits every row is judged against (Limits.h). Without limits (the default) nothing
    // is judged and the "Judge" panel stays empty. The judgement is worked out from the rows
    // whenever they or the limits change; it is never written into the data file.
    void setLimits(const Limits& limits);
    // The limits in use; a unit left open is the unit of the first reading that has one.
    const Limits& limits() const;
    Judgement judgement(int row) const; // None outside the data rows
    const JudgementCounts& judgementCounts() const;

    // --- Interval and period -------------------------------------------------------------
    void SetInterval(const QString& days, const QString& hours, const QString& minutes, const QString& seconds);
    TimeTexts GetInterval() const;
    std::int32_t GetIntervalcount() const; // seconds; throws on a bad text or overflow
    void SetPeriod(bool none, const QString& days, const QString& hours, const QString& minutes,
                   const QString& seconds);
    PeriodTexts GetPeriod() const;
    bool GetPeriodnone() const;
    std::int32_t GetPeriodcount() const;   // seconds; throws on a bad text or overflow
    void DispInterval(const QString& seconds); // LOGGING-mode: only the seconds, shown as "<s>s"

    // --- Data files ------------------------------------------------------------------------
    QString GetFilename() const;
    // Both go through the work file and show their failure (LastError, CR LF, path) in an
    // exclamation box. True when done. A failed open leaves the document as it was before.
    bool SaveFile(const QString& path);
    bool OpenFile(const QString& path);

    // A recording into this realtime document goes on in a new document when this one is
    // full (the Interval and period dialog's option; off unless set). Not part of the data
    // file: it belongs to the window's session.
    void setContinueWhenFull(bool on) { m_continueWhenFull = on; }
    bool continueWhenFull() const { return m_continueWhenFull; }

    // --- Chart settings ----------------------------------------------------------------------
    void SetGraphcount(std::int16_t count); // throws when count < 1
    QString GetGraphcount() const;
    int graphCount() const;
    void SetAxisX(bool automatic, std::int16_t perLabel, std::int16_t perTick); // throws on divisions < 1
    AxisXTexts GetAxisX() const;
    void CancelXauto();
    // Throws when a custom minimum or maximum is not a number or a division is below 1.
    void SetAxisY(bool automatic, const QString& minimum, const QString& maximum, std::int16_t major,
                  std::int16_t minor);
    AxisYTexts GetAxisY() const;
    const AxisX& axisX() const;
    const AxisY& axisY() const;

    // --- The chart window ------------------------------------------------------------------
    void PaintGraphtop();                    // scroll range, then chart redraw
    const ScrollRange& scrollRange() const;
    // The user moved the scroll bar: the chart follows, except while the realtime commands
    // are switched on (programState().RealtimeCommandsOn).
    void setScrollValue(int value);
    const ChartFrame& chart() const;
    float chartValue(int point) const;          // series 1 at point 1..pointCount; NaN = gap or empty
    QString chartLabel(int point) const;        // TIME (No. for SAVE-mode) of the row; "" when empty
    std::span<const float> chartValues() const; // series 1 of points 1..shownCount

    // --- Progress bar ------------------------------------------------------------------------
    void IniProgress(std::int16_t maximum);
    int progressValue() const;
    int progressMaximum() const;

    // --- Grid --------------------------------------------------------------------------------
    int Rows() const;                            // grid rows including the heading row
    QString TextMatrix(int row, int col) const;  // "" outside the grid
    QString rawText(int row) const;              // the hidden raw text of a row
    float rowNumber(int row) const;              // the value of a row as the chart draws it (NaN = gap)

    // --- Status panels -----------------------------------------------------------------------
    QString panelText(const QString& key) const;

    // --- Window -------------------------------------------------------------------------------
    // Size in twips of the window's normal state and its state (0 normal, 1 minimized,
    // 2 maximized), as data files carry them.
    float windowWidth() const;
    float windowHeight() const;
    int windowState() const;
    void setNormalSize(float widthTwips, float heightTwips);
    void setWindowState(int state);

    // The close question. Refuses silently while a meter operation runs (CommState not 7);
    // asks Yes/No/Cancel when the document has unsaved changes: Yes runs `save` and closes
    // only if the document is unchanged afterwards, No discards, Cancel keeps it open.
    bool queryClose(Prompter& prompter, const std::function<void()>& save);

    // The same question without closing or discarding anything, for a close of several
    // documents that must not begin before every question has been answered (the program's
    // exit). Keep: Cancel, a save that failed or was cancelled, or an operation running.
    // Close: nothing unsaved (any more). Discard: No; the caller calls discardChanges() once
    // every document has answered.
    enum class CloseAnswer { Keep, Close, Discard };
    CloseAnswer askClose(Prompter& prompter, const std::function<void()>& save);
    // The unsaved changes are given up: the document closes without asking.
    void discardChanges();

    // Bytes held by the readings (capacities of the row buffers), for the memory figures.
    std::size_t bytesHeld() const;

signals:
    void gridReset();                        // every row may have changed (OpenNew, OpenFile)
    void rowsAppended(int first, int last);  // the grid grew by these rows
    void rowsChanged(int first, int last);   // texts of these rows changed
    void realtimeRowAdded(int row);          // show this row (top row) when it is not visible
    void panelTextChanged(const QString& key, const QString& text);
    void chartChanged();                     // chart() and its points were recomputed
    void axisChanged();                      // axisX() / axisY() changed
    void scrollChanged();                    // scrollRange() changed
    void progressChanged();
    void captionChanged(const QString& caption);
    void kindChanged(int kind);              // Tag() changed
    void windowSizeChanged();                // a data file set the window size and state
    void commandStateRequested();            // the main window should set its document commands
    void judgementChanged();                 // the limits changed: every row's judgement may differ

private:
    struct Content;
    class Quiet;

    // AddData on texts of either kind: the program's own (UTF-16, checked to fit a data
    // file) or the fields of a data file line (single bytes already), in the order time,
    // value, mode, raw. `fromZero`: the rows are labelled from 0 (labelsFromZero(), which a
    // file's reader asks once for all of its rows).
    template <class View>
    void addReading(const std::array<View, 4>& texts, bool fromZero);
    // Row labels count from 0 in the record modes of meter models other than 0 and 1.
    static bool labelsFromZero();
    void addRealtimeReading(QStringView time, QStringView value, QStringView mode, bool isNumeric, QStringView raw);
    template <class View>
    void classifyAndTrack(View mode, View raw);
    template <class View>
    void judgeRow(int row, View value, View mode);
    void judgeAllRows();
    void showJudgementCounts();
    void appendGridRow();
    void setPanel(int panel, const QString& text);
    void setKind(int kind);
    void SetScrollRange();
    void PaintGraph();
    void emitEverything();
    void busy(bool on);
    void showFailure(const QString& path);

    bool WriteDataFile(const QString& path);
    bool ReadDataFile(const QString& path);
    void readDataFile(const QString& path);
    QByteArray dataFileBytes();

    std::unique_ptr<Content> d;
    Limits m_limits; // as set; d->judge holds them with the unit the rows gave
    Prompter* m_prompter = nullptr;
    bool m_continueWhenFull = false;
    std::function<void(bool)> m_busyHook;
    int m_quiet = 0; // > 0 while the grid's redrawing is off: no fine-grained signals
};

} // namespace quvo
