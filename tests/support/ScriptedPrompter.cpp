#include "support/ScriptedPrompter.h"

namespace quvo::test {

PromptAnswer ScriptedPrompter::message(const QString& text, PromptButtons buttons, PromptIcon icon,
                                       PromptAnswer defaultAnswer)
{
    messages.append({text, buttons, icon, defaultAnswer});
    if (whileShown)
        whileShown(text);
    if (answers.isEmpty())
        return defaultAnswer;
    return answers.takeFirst();
}

QString ScriptedPrompter::chooseFile(const FileDialogRequest& request)
{
    fileRequests.append(request);
    if (fileNames.isEmpty())
        return {};
    return fileNames.takeFirst();
}

QStringList ScriptedPrompter::messageTexts() const
{
    QStringList texts;
    for (const auto& m : messages)
        texts.append(m.text);
    return texts;
}

} // namespace quvo::test
