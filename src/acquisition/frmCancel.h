#pragma once
// frmCancel: the progress and cancel dialog of a download or a forwarding. It shows a
// caption, a message (llMsg), a progress bar (pbNow) with a done/total count (DataCount)
// and a Cancel button (btCancel) that asks the running transfer to stop. The rules are
// CancelDialog's.
//
// While it is shown every other window of the program is disabled, so the transfer (which
// keeps the event loop running) cannot be disturbed; they are enabled again when it is
// hidden, unloaded or destroyed. It cannot be closed (from its frame or otherwise): only
// Cancel asks the transfer to end, and the transfer unloads it.

#include "acquisition/CancelDialog.h"
#include "resources/ProgressView.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace quvo {

class Comm;

class frmCancel : public QWidget, public ProgressView {
    Q_OBJECT

public:
    // `owner`: the window it is centred on (the main window); it is not its parent.
    explicit frmCancel(QWidget* owner = nullptr);
    ~frmCancel() override;

    // Cancel stops this link's answer time-out during a download.
    void setComm(Comm* comm);
    // Or any other way to stop it (tests, other links).
    void setStopAnswerTimer(std::function<void()> stop);

    // ProgressView
    void show() override;   // shown, every other window disabled
    void unload() override; // hidden, the other windows enabled again
    void SetCaption(const QString& text) override;
    void SetMessage(const QString& text) override;
    void RenProgress(bool throttle, std::int16_t current, std::int16_t total) override;
    void setCancelEnabled(bool enabled) override;

    const CancelDialog& model() const { return m_model; }
    // The layout in twips last applied.
    const CancelLayout& layoutTwips() const { return m_layout; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void onCancel();
    void relayout();
    void disableOthers();
    void enableOthers();

    CancelDialog m_model;
    CancelLayout m_layout;
    QPointer<QWidget> m_owner;
    std::function<void()> m_stopTimer;
    QList<QPointer<QWidget>> m_disabled; // the windows this dialog disabled
    QLabel* llMsg = nullptr;
    QProgressBar* pbNow = nullptr;
    QLabel* DataCount = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
