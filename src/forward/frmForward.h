#pragma once
// frmForward: the Forward dialog's window. It shows the state of a ForwardSetup (the
// dialog's logic, ForwardSetup.h) and passes every click and edit to it; it decides
// nothing itself. Widgets carry the control names (frFile, obNew, obOpen, tbFile,
// btBrawse, cbFile, frTitle, tbTitle, cbTitle, btOk, btCancel, llExcel).

#include "forward/ForwardSetup.h"

#include <QDialog>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace quvo {

class frmForward : public QDialog {
    Q_OBJECT

public:
    frmForward(ForwardSetup& setup, QWidget* owner = nullptr);

    // The factory for ShowForwardDialog: the dialog, modal, owned by `owner` (the main window).
    static ForwardDialogFactory factory(QWidget* owner);

public slots:
    // Escape and the window's close box cancel like btCancel.
    void reject() override;

private:
    void showSetup();

    ForwardSetup& m_setup;
    QGroupBox* m_frFile = nullptr;
    QRadioButton* m_obNew = nullptr;
    QRadioButton* m_obOpen = nullptr;
    QLineEdit* m_tbFile = nullptr;
    QPushButton* m_btBrawse = nullptr;
    QCheckBox* m_cbFile = nullptr;
    QGroupBox* m_frTitle = nullptr;
    QLineEdit* m_tbTitle = nullptr;
    QCheckBox* m_cbTitle = nullptr;
    QPushButton* m_btOk = nullptr;
    QPushButton* m_btCancel = nullptr;
    QLabel* m_llExcel = nullptr;
};

} // namespace quvo
