#include "forward/ForwardSetup.h"

#include "document/Other.h"
#include "forward/XlsxFiles.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"

#include <QFileInfo>

namespace quvo {

ForwardSetup::ForwardSetup(Prompter& prompter, QObject* parent) : QObject(parent), m_prompter(prompter) {}

void ForwardSetup::selectNew()
{
    if (m_new)
        return;
    m_new = true;
    emit optionChanged(true);
}

void ForwardSetup::selectOpen()
{
    if (!m_new)
        return;
    m_new = false;
    emit optionChanged(false);
}

void ForwardSetup::setTbFile(const QString& text)
{
    if (text == m_file)
        return; // no change, no change event
    m_file = text;
    emit tbFileChanged(m_file);
    selectOpen();
}

void ForwardSetup::setCbFile(bool checked)
{
    if (checked == m_rememberFile)
        return;
    m_rememberFile = checked;
    emit checkBoxesChanged();
}

void ForwardSetup::setTbTitle(const QString& text)
{
    if (text == m_title)
        return;
    m_title = text;
    emit tbTitleChanged(m_title);
}

void ForwardSetup::setCbTitle(bool checked)
{
    if (checked == m_rememberTitle)
        return;
    m_rememberTitle = checked;
    emit checkBoxesChanged();
}

void ForwardSetup::Load()
{
    const ProgramState& state = programState();
    m_closed = false;
    setTbFile(state.ForwardFile);
    setTbTitle(state.ForwardTitle);
    if (!state.ForwardFile.isEmpty())
        selectOpen();
    else
        selectNew();
    // The check boxes start checked when there is something remembered: confirming
    // without touching them keeps remembering it.
    setCbFile(!state.ForwardFile.isEmpty());
    setCbTitle(!state.ForwardTitle.isEmpty());
}

void ForwardSetup::btBrawseClick()
{
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Open;
    request.fileName.clear();
    request.filter = ResID(Res::ExcelFiles) + QStringLiteral(" (*.xls; *.xlsx)|*.xls;*.xlsx|");
    request.fileMustExist = true; // the file must exist; the read-only box is hidden
    request.pathMustExist = true;
    // No cancel error is asked for: a cancelled dialog gives an empty name, which empties
    // the path box.
    setTbFile(m_prompter.chooseFile(request));
}

bool ForwardSetup::btOkClick()
{
    ProgramState& state = programState();
    if (m_new) {
        state.ExcelFile.clear();
        // The path in the box is remembered even though a new workbook is used now.
        state.ForwardFile = m_rememberFile ? m_file : QString();
    } else {
        if (!m_file.isEmpty() && QFileInfo(m_file).isDir()) { // said as it is, not as "cannot be found"
            m_prompter.warn(xlsx::folderGivenMessage(m_file));
            emit focusFileRequested();
            return false;
        }
        if (m_file.isEmpty() || !CanOpenForInput(m_file)) { // an empty name cannot be opened
            m_prompter.warn(ResID(Res::FileCannotBeFound) + QStringLiteral("\r\n") + m_file);
            emit focusFileRequested();
            return false;
        }
        state.ExcelFile = m_file;
        state.ForwardFile = m_rememberFile ? state.ExcelFile : QString();
    }
    state.ExcelTitle = m_title;
    state.ForwardTitle = m_rememberTitle ? state.ExcelTitle : QString();
    state.NoForward = false;
    m_closed = true;
    emit closed(true);
    return true;
}

void ForwardSetup::btCancelClick()
{
    programState().NoForward = true;
    m_closed = true;
    emit closed(false);
}

bool ShowForwardDialog(const ForwardDialogFactory& factory, Prompter& prompter)
{
    ForwardSetup setup(prompter);
    setup.Load();
    if (factory) {
        if (const std::unique_ptr<ForwardDialogView> view = factory(setup))
            view->exec();
    }
    if (!setup.isClosed())
        setup.btCancelClick();
    return !programState().NoForward;
}

} // namespace quvo
