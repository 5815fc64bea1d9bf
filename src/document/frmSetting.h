#pragma once
// frmSetting: the modal "Graph setup" dialog for one document's chart. The rules (loading,
// checks, corrections, message, transfer) are GraphSetup's; the dialog shows the boxes and
// option buttons and copies them to and from it.

#include "document/GraphSetup.h"

#include <QDialog>

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace quvo {

class DataDocument;
class Prompter;

class frmSetting : public QDialog {
    Q_OBJECT

public:
    frmSetting(DataDocument* document, Prompter* prompter, QWidget* parent = nullptr);

    // Checks the boxes, corrects them in place and hands the values to the document; the
    // message is shown when a box was wrong (false). Without a document or a prompter
    // nothing is checked or applied (false).
    bool ApplyGraphSetup();

    // The boxes and option buttons as the rules see them.
    GraphSetupFields fields() const;

private:
    void load();
    void setFields(const GraphSetupFields& f);
    void onApply();
    void onOk();

    DataDocument* m_document;
    Prompter* m_prompter;
    GraphSetup m_setup;

    QGroupBox* frXaxis = nullptr;
    QRadioButton* obXauto = nullptr;
    QRadioButton* obXuser = nullptr;
    QLineEdit* tbEnd = nullptr;
    QLineEdit* tbTick = nullptr;
    QLineEdit* tbLabel = nullptr;
    QGroupBox* frYaxis = nullptr;
    QRadioButton* obYauto = nullptr;
    QRadioButton* obYuser = nullptr;
    QLineEdit* tbMin = nullptr;
    QLineEdit* tbMax = nullptr;
    QLineEdit* tbMajor = nullptr;
    QLineEdit* tbMinor = nullptr;
    QPushButton* btApply = nullptr;
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
