#pragma once
// frmLimits: the modal "Limits" dialog (Settings › Limits..., beyond the original program).
// It shows the limits and hands them back on OK; the caller keeps and applies them.
//
//   tbUpper, tbLower  the limits; empty for none (both empty: no limits, nothing judged)
//   cbUnit            the unit they are for (the MODE words the meter sends)
//   cbBuzzer          the Monitor sounds when a reading goes out of limits
//   btClear           empties both limits
// OK checks the fields as the other dialogs do (checkLimits): a limit that is not a
// number, a lower limit not below the upper one, is said in a message box and the cursor
// goes to the field at fault; the dialog stays open. Cancel changes nothing.

#include "document/Limits.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace quvo {

class Prompter;

class frmLimits : public QDialog {
    Q_OBJECT

public:
    frmLimits(const Limits& limits, Prompter* prompter, QWidget* parent = nullptr);

    // The limits checked by the last OK (the ones shown, until then).
    Limits limits() const { return m_limits; }

private:
    void onOk();

    Prompter* m_prompter;
    Limits m_limits;
    QLineEdit* tbUpper = nullptr;
    QLineEdit* tbLower = nullptr;
    QComboBox* cbUnit = nullptr;
    QCheckBox* cbBuzzer = nullptr;
    QLabel* llHelp = nullptr;
    QPushButton* btClear = nullptr;
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
