#pragma once
// A fake spreadsheet application behind the workbook interface: every call is written to
// one log, in order, as text ("Cells(4,B).NumberFormat=@", "App.Visible=False"), so tests
// can compare the exact sequence forwarding makes. The progress view, the window hooks
// and the prompter of the tests write to the same log, so their place among the calls is
// checked too.
//
// Any call can be made to fail (failAt: the log entry, or a prefix ending in "*"), and a
// hook runs after every entry (to set NoForward, make a hidden application visible, ...).

#include "forward/ExcelObjects.h"
#include "resources/ProgressView.h"
#include "resources/Prompter.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace quvo::test {

struct FakeWorkbookState {
    QString fullName;
    QStringList sheets;                       // names in order
    QMap<QString, QMap<QString, QString>> values; // sheet -> cell ("B4") -> value
    int sheetsMade = 0;
    bool closed = false; // Close was called
};

struct FakeApplicationState {
    bool visible = false;
    bool interactive = true;
    std::vector<std::shared_ptr<FakeWorkbookState>> workbooks;
    int booksMade = 0;
};

class FakeExcel : public ExcelConnector {
public:
    QStringList log;
    // The entry whose call throws RuntimeError(failDescription); "" for none. An entry
    // ending in "*" matches every entry that starts with the text before it.
    QString failAt;
    QString failDescription = QStringLiteral("The fake application refused the call.");
    bool failOnce = true;
    // Runs after each entry is logged (before a failure is thrown).
    std::function<void(const QString& entry)> onCall;

    // Where Range("F8") reports its corner, in points.
    double f8Left = 228.75;
    double f8Top = 105;

    // The application GetObject attaches to; null when none runs.
    std::shared_ptr<FakeApplicationState> running;
    // Applications started by CreateObject, in order.
    std::vector<std::shared_ptr<FakeApplicationState>> created;
    bool canCreate = true;

    std::shared_ptr<ExcelApplication> GetObject() override;
    std::shared_ptr<ExcelApplication> CreateObject() override;

    // Logs an entry and applies onCall and failAt.
    void call(const QString& entry);
    // The entries starting with a prefix, in order.
    QStringList entriesStartingWith(const QString& prefix) const;
};

// A workbook for the running application, with sheets "Sheet1".."SheetN".
std::shared_ptr<FakeWorkbookState> fakeWorkbook(const QString& fullName, int sheetCount);

// The progress dialog, logged: "Progress.show", "Progress.SetCaption(...)",
// "Progress.RenProgress(True,1,23)", "Progress.unload".
class LoggedProgress : public ProgressView {
public:
    explicit LoggedProgress(FakeExcel& excel) : m_excel(excel) {}
    void show() override;
    void unload() override;
    void SetCaption(const QString& text) override;
    void SetMessage(const QString& text) override;
    void RenProgress(bool throttle, std::int16_t current, std::int16_t total) override;
    void setCancelEnabled(bool enabled) override;

private:
    FakeExcel& m_excel;
};

// Message boxes, logged as "Message(text)" (the text with CR LF as "|").
class LoggedPrompter : public Prompter {
public:
    explicit LoggedPrompter(FakeExcel& excel) : m_excel(excel) {}
    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon icon,
                         PromptAnswer defaultAnswer) override;
    QString chooseFile(const FileDialogRequest&) override { return {}; }
    QStringList texts;
    QList<PromptIcon> icons;
    QList<PromptButtons> buttons;

private:
    FakeExcel& m_excel;
};

QString booleanEntry(bool value); // "True" / "False"

} // namespace quvo::test
