#pragma once
// frmMoniter: the Monitor window. It shows the meter's present reading as one large text
// (llValue) under the comparator frame frCompa. Without limits the comparator is greyed and
// never written, as it always was; with limits (setLimits) it shows them, lights HI, PASS or
// LO for each reading shown and sounds on a change out of limits when the buzzer is on
// (the rules are Comparator's).
//
// Loading (construction) sets MonitorShown; closing is refused while a meter operation
// runs (CommState not 7); unloading (an accepted close, or destruction) clears MonitorShown
// and saves the position under "MoniterLeft" / "MoniterTop". The main window mirrors
// monitorShownChanged() on mnuViewMoniter and the "Moniter" tool button.
//
// In a QMdiSubWindow the size and position are the sub-window's; otherwise the window's own.

#include "acquisition/CommandHost.h"
#include "acquisition/Comparator.h"

#include <QPoint>
#include <QPointer>
#include <QWidget>

#include <functional>

class QGroupBox;
class QLabel;

namespace quvo {

class frmMoniter : public QWidget, public MonitorSink {
    Q_OBJECT

public:
    explicit frmMoniter(QWidget* parent = nullptr);
    ~frmMoniter() override;

    // Shows one answer line (or "ERROR") as the reading text followed by one blank, and its
    // judgement on the comparator.
    void SetData(const QString& answer) override;

    // The limits the comparator judges against (none: the comparator is off).
    void setLimits(const Limits& limits);
    const Comparator& comparator() const { return m_comparator; }

    // How the buzzer sounds: QApplication::beep unless replaced (tests count the calls).
    void setBeeper(std::function<void()> beeper);

    // The window's kind, as every child window of the main window carries it: "3".
    QString Tag() const { return QStringLiteral("3"); }

    // The window that is sized and placed: the QMdiSubWindow holding it, or itself.
    QWidget* frame() const;

    // While kept in view (monitor mode) the window stays above the documents and is never
    // minimised: a minimise is undone at once.
    void setKeptInView(bool on);
    bool keptInView() const { return m_keptInView; }

signals:
    // MonitorShown changed: true on load, false on unload.
    void monitorShownChanged(bool shown);

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeOnFirstShow();
    void unload();
    void rememberPosition();
    void showComparator();
    void fitComparator();

    QLabel* llValue = nullptr;
    QGroupBox* frCompa = nullptr;
    Comparator m_comparator;
    std::function<void()> m_beeper;
    QPointer<QWidget> m_watchedFrame;
    QPoint m_position;   // the frame's last position, kept for saving
    bool m_placed = false;
    bool m_unloaded = false;
    bool m_keptInView = false;
};

} // namespace quvo
