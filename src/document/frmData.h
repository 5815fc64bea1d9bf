#pragma once
// frmData: the data document window. It shows one DataDocument (which it owns) and keeps
// nothing of its own: the grid fgData, the chart chData, the scroll bar sbData under the
// chart, the status bars stBar1..stBar3 with their keyed panels, and the progress bar
// pbData. The main window puts it into a QMdiSubWindow.
//
// The main window:
//   - makes the document: window->document()->OpenNew(kind) or OpenFile(path);
//   - gives it the prompter (close question, file messages) and its Save command;
//   - connects documentButtonsRequested() and applies quvo::documentButtons(enabled, kind)
//     to its tool bar (the window asks when it becomes or stops being the active window and
//     when it closes);
//   - calls SetRealtimeCommands() on the recording document's window.
// The window follows its QMdiSubWindow by itself: activation, minimised / maximised state,
// and its normal size (kept in the document for its data file). Without such a frame (a
// top-level window) the main window may report the state with setFrameWindowState().

#include "document/DocumentView.h"
#include "document/StatusPanel.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QAction;
class QProgressBar;
class QScrollBar;
class QTableView;

namespace quvo {

class ChartView;
class DataDocument;
class DocumentTableModel;
class Prompter;

class frmData : public QWidget {
    Q_OBJECT

public:
    explicit frmData(QWidget* parent = nullptr);
    ~frmData() override;

    DataDocument* document() const { return m_document; }
    // The window's kind as text ("2"), as every child window of the main window carries it.
    QString Tag() const;

    // Message boxes of the document (file failures, the close question). Without one, a
    // document with unsaved changes refuses to close (nothing is lost).
    void setPrompter(Prompter* prompter);
    // The main window's Save command, run when the close question is answered Yes.
    void setSaveAction(std::function<void()> save);

    // Asks the main window to set its document buttons (see documentButtonsRequested).
    void SetDocumentButtons(bool enabled);

    // Recording switches two controls of the window: the progress bar pbData is shown only
    // while recording, and the scroll bar sbData is disabled while recording (the chart
    // follows the newest reading then).
    void SetRealtimeCommands(bool running);
    bool realtimeCommandsOn() const { return m_running; }

    // The frame's state as a data file keeps it: 0 normal, 1 minimised, 2 maximised.
    void setFrameWindowState(Qt::WindowStates state);
    int frameWindowState() const;

    // Resizes the window (its frame, when it has one) to the size and state the document
    // holds: a data file that was opened carries them. The window is made no larger than
    // the room it has (the main window's document area, or the screen).
    void applyDocumentSize();

    // Beyond the original window: Copy puts the selected rows of the grid (every row with a
    // selected cell, else the current row) on the clipboard as tab-separated text with the
    // heading row; Ctrl+C in the grid and its context menu run it. exportChart shows the
    // Export chart dialog for the chart (File > Export chart... and the chart's context menu).
    void copyRows();
    void exportChart();

    // The width a new window is given, in twips: the designed width, or more where the
    // font needs it for the widest MAX, MIN and AVG texts.
    double defaultWidthTwips() const;

    // The controls, for the main window and tests.
    QTableView* grid() const { return m_grid; }
    ChartView* chart() const { return m_chart; }
    QScrollBar* scrollBar() const { return m_scroll; }
    QProgressBar* progressBar() const { return m_progress; }
    StatusPanel* panel(const QString& key) const;

    // The layout in twips last applied, and the design it was computed from.
    const DocumentPlacement& placement() const { return m_placement; }
    const DocumentDesign& design() const { return m_design; }
    double widthTwips() const;
    double heightTwips() const;

    QSize sizeHint() const override;

signals:
    // SetDocumentButtons: the main window sets "Save", "Forward", "Start", "Interval" and
    // "Graph" from quvo::documentButtons(enabled, kind).
    void documentButtonsRequested(bool enabled, int kind);
    // The frame was minimised, maximised or restored (0, 1, 2).
    void frameStateChanged(int state);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build();
    void fitPanels();
    QSize roomForWindow() const;
    // Makes the window `growth` pixels wider, within the room it has, when it is at least
    // `roomyWidth` wide and neither minimised nor maximised.
    void widenFor(int growth, int roomyWidth);
    void watchFrame();
    void relayout();
    void onGridReset();
    void onRealtimeRowAdded(int row);
    void onScrollChanged();
    void onProgressChanged();
    void onPanelTextChanged(const QString& key, const QString& text);
    void showJudgePanel();
    void onUserScroll(int value);
    void rememberNormalSize();
    QList<int> selectedRows() const;

    DataDocument* m_document = nullptr;
    DocumentTableModel* m_model = nullptr;
    QTableView* m_grid = nullptr;
    ChartView* m_chart = nullptr;
    QScrollBar* m_scroll = nullptr;
    QProgressBar* m_progress = nullptr;
    QAction* m_copy = nullptr;
    QWidget* m_statusBars[3] = {nullptr, nullptr, nullptr};
    QPointer<QWidget> m_frame;
    Prompter* m_prompter = nullptr;
    std::function<void()> m_save;
    DocumentDesign m_design;
    DocumentPlacement m_placement;
    int m_panelsWidth = 0; // pixels the status bars need for the widest texts
    bool m_running = false;
    bool m_syncingScroll = false;
    bool m_active = false;
    int m_frameState = 0;
};

} // namespace quvo
