#include "app/QtPrompter.h"

#include "resources/Constant.h"

#include <QFileDialog>
#include <QMessageBox>

namespace quvo {

QtPrompter::QtPrompter(QWidget* parent) : m_parent(parent) {}

PromptAnswer QtPrompter::message(const QString& text, PromptButtons buttons, PromptIcon icon,
                                 PromptAnswer defaultAnswer)
{
    QMessageBox box(icon == PromptIcon::Question ? QMessageBox::Question : QMessageBox::Warning, AppTitle, text,
                    QMessageBox::NoButton, m_parent);
    switch (buttons) {
    case PromptButtons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case PromptButtons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case PromptButtons::YesNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        break;
    }
    switch (defaultAnswer) {
    case PromptAnswer::Ok:
        box.setDefaultButton(QMessageBox::Ok);
        break;
    case PromptAnswer::Yes:
        box.setDefaultButton(QMessageBox::Yes);
        break;
    case PromptAnswer::No:
        box.setDefaultButton(QMessageBox::No);
        break;
    case PromptAnswer::Cancel:
        box.setDefaultButton(QMessageBox::Cancel);
        break;
    }
    switch (box.exec()) {
    case QMessageBox::Yes:
        return PromptAnswer::Yes;
    case QMessageBox::No:
        return PromptAnswer::No;
    case QMessageBox::Cancel:
        return PromptAnswer::Cancel;
    case QMessageBox::Ok:
        return PromptAnswer::Ok;
    default:
        // Closed with Escape or the window's close box: Cancel where offered.
        return buttons == PromptButtons::YesNoCancel ? PromptAnswer::Cancel
               : buttons == PromptButtons::YesNo     ? PromptAnswer::No
                                                      : PromptAnswer::Ok;
    }
}

QString QtPrompter::dialogFilter(const QString& pairs)
{
    const QStringList parts = pairs.split(QLatin1Char('|'));
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        const QString description = parts.at(i).section(QLatin1String(" ("), 0, 0);
        QStringList patterns;
        for (const QString& pattern : parts.at(i + 1).split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const QString trimmed = pattern.trimmed();
            for (const QString& variant : {trimmed, trimmed.toLower(), trimmed.toUpper()}) {
                if (!patterns.contains(variant))
                    patterns.append(variant);
            }
        }
        filters.append(description + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')'));
    }
    return filters.join(QStringLiteral(";;"));
}

QString QtPrompter::chooseFile(const FileDialogRequest& request)
{
    QFileDialog dialog(m_parent, AppTitle);
    dialog.setNameFilter(dialogFilter(request.filter));
    dialog.setOption(QFileDialog::ReadOnly, false);
    if (request.mode == FileDialogRequest::Mode::Folder) {
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly, true);
        if (!request.fileName.isEmpty())
            dialog.setDirectory(request.fileName);
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return {};
        return dialog.selectedFiles().constFirst();
    }
    if (request.mode == FileDialogRequest::Mode::Open) {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(request.fileMustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setOption(QFileDialog::DontConfirmOverwrite, !request.overwritePrompt);
    }
    if (!request.defaultExtension.isEmpty())
        dialog.setDefaultSuffix(request.defaultExtension);
    if (!request.fileName.isEmpty())
        dialog.selectFile(request.fileName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

} // namespace quvo
