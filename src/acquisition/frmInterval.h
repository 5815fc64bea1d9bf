#pragma once
// frmInterval: the modal "Interval and period setup" dialog for a realtime document. The
// rules are IntervalSetup's; the dialog shows the boxes and option buttons. OK needs the
// document and a prompter (for the correction message); without them it does nothing.

#include "acquisition/IntervalSetup.h"

#include <QDialog>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace quvo {

class DataDocument;
class Prompter;

class frmInterval : public QDialog {
    Q_OBJECT

public:
    frmInterval(DataDocument* document, Prompter* prompter, QWidget* parent = nullptr);

    // The boxes and option buttons as the rules see them.
    IntervalSetupFields fields() const;

private:
    void load();
    void onOk();
    void putBack(const IntervalSetupFields& f);

    DataDocument* m_document;
    Prompter* m_prompter;
    IntervalSetup m_setup;

    QGroupBox* frInterval = nullptr;
    QGroupBox* frPeriod = nullptr;
    QLineEdit* tbIday = nullptr;
    QLineEdit* tbIhour = nullptr;
    QLineEdit* tbImin = nullptr;
    QLineEdit* tbIsec = nullptr;
    QLineEdit* tbPday = nullptr;
    QLineEdit* tbPhour = nullptr;
    QLineEdit* tbPmin = nullptr;
    QLineEdit* tbPsec = nullptr;
    QRadioButton* obNone = nullptr;
    QRadioButton* obUser = nullptr;
    QCheckBox* chkContinue = nullptr;
    QList<QWidget*> m_intervalControls; // the frame, its labels and boxes, Label1..Label3
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
