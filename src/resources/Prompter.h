#pragma once
// Every message box and file dialog of the program goes through this interface. The
// desktop program shows real dialogs; tests and the command-line program answer by script,
// so nothing modal ever blocks a run without a screen.

#include <QString>

namespace quvo {

enum class PromptIcon { Exclamation, Question };
enum class PromptButtons { Ok, YesNo, YesNoCancel };
enum class PromptAnswer { Ok, Yes, No, Cancel };

struct FileDialogRequest {
    // Folder: an existing folder is chosen (fileName is the folder shown first; the filter
    // and the extension do not apply).
    enum class Mode { Open, Save, Folder };
    Mode mode = Mode::Open;
    // Filter in the pairs form "Description (*.CSV)|*.CSV|": description, patterns, ...
    QString filter;
    QString fileName;          // initial file name
    QString defaultExtension;  // added to a typed name without one ("CSV")
    bool fileMustExist = false;
    bool pathMustExist = false;
    bool overwritePrompt = false;
};

class Prompter {
public:
    virtual ~Prompter() = default;

    // A modal message box; the title is always the application title.
    virtual PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon icon,
                                 PromptAnswer defaultAnswer) = 0;

    // A modal file dialog; an empty result means the user cancelled.
    virtual QString chooseFile(const FileDialogRequest& request) = 0;

    // Shorthand for the most common box: the text, an OK button and the exclamation icon.
    void warn(const QString& text) { message(text, PromptButtons::Ok, PromptIcon::Exclamation, PromptAnswer::Ok); }
};

} // namespace quvo
