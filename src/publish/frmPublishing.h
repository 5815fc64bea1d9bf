#pragma once
// frmPublishing: the modal "Publishing" dialog (Settings › Publishing...). It shows the
// publishing settings and hands them back on OK; the caller keeps them and applies them.
//
// OK checks the settings (checkPublishSettings) and, when publishing is on, tries the broker
// once (tryBroker, at most TrialSeconds): a problem is said in a message box, and the
// cursor goes to the field at fault; a broker that cannot be reached or refuses is named,
// and the person chooses whether to keep the settings all the same. Cancel changes nothing.

#include "publish/PublishSettings.h"

#include <QDialog>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace quvo {

class Prompter;

class frmPublishing : public QDialog {
    Q_OBJECT

public:
    static constexpr int TrialSeconds = 5;

    frmPublishing(const PublishSettings& settings, Prompter* prompter, QWidget* parent = nullptr);

    // The fields as they stand.
    PublishSettings settings() const;

private:
    void onOk();
    void onBrowse();
    void updateFields();
    QLineEdit* fieldOf(PublishField field) const;

    Prompter* m_prompter;
    QCheckBox* cbEnabled = nullptr;
    QGroupBox* frBroker = nullptr;
    QLineEdit* tbUrl = nullptr;
    QLineEdit* tbCaFile = nullptr;
    QPushButton* btBrowse = nullptr;
    QLineEdit* tbUserName = nullptr;
    QLineEdit* tbPassword = nullptr;
    QLineEdit* tbTopic = nullptr;
    QLabel* llTopics = nullptr;
    QLabel* llPasswordNote = nullptr;
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
