#include "cli/DataFileDocument.h"

#include "cli/CliCommand.h"
#include "cli/ProgramFolder.h"
#include "document/DataDocument.h"

namespace quvo::cli {

PromptAnswer ErrorStreamPrompter::message(const QString& text, PromptButtons, PromptIcon, PromptAnswer defaultAnswer)
{
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    printError(shown + QLatin1Char('\n'));
    ++m_count;
    return defaultAnswer;
}

bool openDataFile(DataDocument& document, Prompter& prompter, const QString& path)
{
    QString error;
    if (!useProgramFolder(error)) {
        printError(error + QLatin1Char('\n'));
        return false;
    }
    document.setPrompter(&prompter);
    document.OpenNew(DataDocument::KindBeforeOpen);
    return document.OpenFile(path); // the document showed why not
}

} // namespace quvo::cli
