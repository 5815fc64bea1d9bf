#pragma once
// The Forward dialog ("Forward to Microsoft Excel") without its widgets: where forwarded
// data goes (a new workbook, or a new sheet of an existing workbook file) and the title
// above the table and on the chart.
//
// ForwardSetup holds the state of the dialog's controls under their names (obNew/obOpen,
// tbFile, cbFile, tbTitle, cbTitle) and runs its event handlers (Load, tbFile change,
// btBrawse, btOk, btCancel). It reads and writes the program-wide ForwardFile and
// ForwardTitle (remembered in the settings file), ExcelFile and ExcelTitle (this
// forwarding) and NoForward (false when confirmed, true when cancelled). The widget
// (frmForward, library quvo_forward_widgets) shows this state and calls the handlers;
// tests drive it directly.
//
// ShowForwardDialog is what the commands call (File > Forward, the download and realtime
// start questions): the dialog, modal, through a factory, so the desktop program shows
// frmForward and headless code substitutes its own view.

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace quvo {

class Prompter;

class ForwardSetup : public QObject {
    Q_OBJECT

public:
    // Message boxes and the file dialog go through `prompter`.
    explicit ForwardSetup(Prompter& prompter, QObject* parent = nullptr);

    // --- Controls ------------------------------------------------------------------------
    bool obNew() const { return m_new; }
    bool obOpen() const { return !m_new; }
    void selectNew();
    void selectOpen();
    QString tbFile() const { return m_file; }
    // A changed path (typed or chosen with Browse...) selects "Custom".
    void setTbFile(const QString& text);
    bool cbFile() const { return m_rememberFile; }
    void setCbFile(bool checked);
    QString tbTitle() const { return m_title; }
    void setTbTitle(const QString& text);
    bool cbTitle() const { return m_rememberTitle; }
    void setCbTitle(bool checked);
    // True from OK (confirmed) or Cancel until the next Load.
    bool isClosed() const { return m_closed; }

    // --- Event handlers ----------------------------------------------------------------------
    // The remembered path and title in the boxes; "Custom" when a path is remembered,
    // otherwise "New". Each check box starts checked when its remembered value is not
    // empty (what was remembered last time stays remembered unless unchecked).
    void Load();
    // The open-file dialog for workbooks. Cancelling it empties the path box.
    void btBrawseClick();
    // Confirms: false (the dialog stays, the path box gets the focus) when "Custom" names a
    // file that cannot be found, or a folder (which the message says); true when the values are set and the dialog closes.
    bool btOkClick();
    // NoForward := true; nothing else changes.
    void btCancelClick();

signals:
    void tbFileChanged(const QString& text);
    void optionChanged(bool newWorkbook);
    void checkBoxesChanged();
    void tbTitleChanged(const QString& text);
    void focusFileRequested();
    void closed(bool confirmed);

private:
    Prompter& m_prompter;
    bool m_new = true;
    QString m_file;
    bool m_rememberFile = false;
    QString m_title;
    bool m_rememberTitle = false;
    bool m_closed = false;
};

// How the dialog is shown: the view runs modally over `setup` and returns when the user
// has closed it. A view that returns while setup.isClosed() is false counts as Cancel (the
// window's close box, Escape).
class ForwardDialogView {
public:
    virtual ~ForwardDialogView() = default;
    virtual void exec() = 0;
};
using ForwardDialogFactory = std::function<std::unique_ptr<ForwardDialogView>(ForwardSetup& setup)>;

// The Forward dialog, modal: Load, the view, then the values as OK or Cancel left them.
// Returns !NoForward (true when confirmed). Without a factory the dialog counts as
// cancelled.
bool ShowForwardDialog(const ForwardDialogFactory& factory, Prompter& prompter);

} // namespace quvo
