#pragma once
// Opening a data file on the command line as a document window opens it: through the work
// file of the program folder, with the document's messages written to stderr.

#include "resources/Prompter.h"

#include <QString>

namespace quvo {
class DataDocument;
}

namespace quvo::cli {

// The document's message boxes, written to stderr (line breaks as "\n"), counted.
class ErrorStreamPrompter : public Prompter {
public:
    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon icon,
                         PromptAnswer defaultAnswer) override;
    QString chooseFile(const FileDialogRequest&) override { return {}; }
    int count() const { return m_count; }

private:
    int m_count = 0;
};

// Uses the program folder and opens `path` into `document` (a fresh one), which shows its
// failures through `prompter`. False when the file is not open; the reason is on stderr.
bool openDataFile(DataDocument& document, Prompter& prompter, const QString& path);

} // namespace quvo::cli
