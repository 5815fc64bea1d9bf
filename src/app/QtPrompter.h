#pragma once
// The desktop program's message boxes and file dialogs: QMessageBox with the program's
// title, QFileDialog with the data file filter. Everything the program asks goes through here.

#include "resources/Prompter.h"

class QWidget;

namespace quvo {

class QtPrompter : public Prompter {
public:
    explicit QtPrompter(QWidget* parent = nullptr);
    void setParent(QWidget* parent) { m_parent = parent; }

    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon icon,
                         PromptAnswer defaultAnswer) override;
    QString chooseFile(const FileDialogRequest& request) override;

    // "CSV Files (*.CSV)|*.CSV|" as a file dialog filter: "CSV Files (*.CSV *.csv)". Patterns
    // are offered in both letter cases, since file names on this system keep their case.
    static QString dialogFilter(const QString& pairs);

private:
    QWidget* m_parent = nullptr;
};

} // namespace quvo
