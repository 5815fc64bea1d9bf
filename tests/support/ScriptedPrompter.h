#pragma once
// A prompter that answers from a script and records every question, so tests can check
// the exact texts the program shows and nothing modal blocks a run.

#include "resources/Prompter.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace quvo::test {

class ScriptedPrompter : public Prompter {
public:
    struct Message {
        QString text;
        PromptButtons buttons;
        PromptIcon icon;
        PromptAnswer defaultAnswer;
    };

    // Answers given in order; when the script runs out, the default answer is given.
    QList<PromptAnswer> answers;
    // File names returned by chooseFile in order; when they run out, "" (cancel).
    QStringList fileNames;

    // Runs while a message is up, before it is answered (to look at the windows behind it).
    std::function<void(const QString& text)> whileShown;

    QList<Message> messages;
    QList<FileDialogRequest> fileRequests;

    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon icon,
                         PromptAnswer defaultAnswer) override;
    QString chooseFile(const FileDialogRequest& request) override;

    QStringList messageTexts() const;
};

} // namespace quvo::test
