#pragma once
// The main window's side of a recording that goes on when its document is full (the
// Interval and period dialog's "When the document is full, continue in a new document").
// At Start the person chooses the folder of the parts (the documents folder is offered
// first); the parts are named after the first document (its data file's name, or its
// caption with ".CSV"): NAME.CSV, NAME-002.CSV, ... Each part is saved the moment it is full
// (RecordingParts), the last one when the recording ends.
//
// Windows: each part is a realtime document window of its own. Only the windows of the
// last KeptPartWindows parts stay open (the running part and the one before it); an older
// part's window is closed once that part is saved. A part that could not be saved keeps its
// window open, so its rows stay in front of the person as well as in its journal.
//
// QtCore only: the window hands in what it does with windows and messages.

#include "acquisition/RecordingParts.h"

#include <QList>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

namespace quvo {

class DataDocument;
class Prompter;
class Realtime;

class ContinuedRecording {
public:
    static constexpr int KeptPartWindows = 2;

    struct Window {
        // A new realtime document in a window of its own (made active).
        std::function<DataDocument*()> newDocument;
        // Closes the window of a saved document.
        std::function<void(DataDocument*)> closeDocument;
        // The status bar's text.
        std::function<void(const QString&)> status;
        // A message box shown once the current second's work is done (so that the
        // recording does not wait for OK).
        std::function<void(const QString&)> warnLater;
        // The title of a part's window while it is recorded (its save gives it the file's).
        std::function<void(DataDocument*, const QString&)> partTitle;
    };

    ContinuedRecording(Realtime& realtime, Window window);
    ~ContinuedRecording();

    // Start: the folder chooser (through the prompter), then the parts set up. False when
    // the person cancelled.
    bool begin(DataDocument& first, Prompter& prompter);
    // The recording ended in `last`: the last part saved (a first part without a reading is
    // left as it is, as a recording without the option would).
    void end(DataDocument& last);

    bool running() const { return m_parts != nullptr; }
    // The folder chosen last (offered first next time); the documents folder before that.
    QString folder() const { return m_folder; }
    // The file name of the first part for a document.
    static QString firstFileName(const DataDocument& first);
    // The title of a part's window while it is recorded: "NAME-002.CSV (part 2, recording)".
    static QString recordingTitle(const QString& path, int number);

private:
    void partStarted(DataDocument& next, int number);

    Realtime& m_realtime;
    Window m_window;
    QString m_folder;
    std::unique_ptr<RecordingParts> m_parts;
    QList<QPointer<DataDocument>> m_partDocuments; // the parts whose windows are open, oldest first
};

} // namespace quvo
