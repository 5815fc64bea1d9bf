// quvolink-cli recover --out FILE.csv: restores a realtime recording that a crash or a
// power cut left in a recording journal of the program folder into a data file.

#include "acquisition/HeadlessHost.h"
#include "acquisition/RecordingJournal.h"
#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "cli/ProgramFolder.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

namespace quvo::cli {

namespace {

QString recoverHelp()
{
    return QStringLiteral("Usage: quvolink-cli [options] recover --out FILE.csv\n"
                          "\n"
                          "Looks in the program folder for a recording journal left behind by a realtime\n"
                          "recording that ended without being saved (a crash, a power cut, a killed\n"
                          "program), rebuilds the recording as a realtime document and saves it as the data\n"
                          "file FILE.csv. The journal is removed once the file is written. Journals of\n"
                          "recordings that are still running are never touched. With several left-over\n"
                          "journals the oldest is restored; run the command again for the next.\n"
                          "\n"
                          "Options:\n"
                          "  --out FILE    the data file to write\n"
                          "\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 restored and saved, 1 nothing to restore or the file could not be\n"
                         "written (message on stderr), 2 wrong arguments.\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli recover --out rescued.csv\n"
                         "  Restored 1234 readings (08:00:01 to 08:20:34) into rescued.csv.\n");
}

} // namespace

int runRecover(const QStringList& arguments)
{
    const QString help = recoverHelp();
    QCommandLineParser parser;
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("The data file."), QStringLiteral("FILE"));
    parser.addOption(outOption);
    if (const auto exitCode = parseCommand(parser, QStringLiteral("recover"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("recover takes no arguments besides its options."), help);
    if (!parser.isSet(outOption) || parser.value(outOption).isEmpty())
        return usageError(QStringLiteral("--out is needed."), help);

    QString error;
    if (!useProgramFolder(error)) {
        printMessage(error);
        return ExitFailed;
    }
    const QString folder = programFolder();

    std::vector<std::unique_ptr<RecordingJournal>> journals = RecordingJournal::takeLeftovers(folder);
    std::size_t chosen = journals.size();
    std::optional<JournalContents> contents;
    for (std::size_t i = 0; i < journals.size() && chosen == journals.size(); ++i) {
        QString readError;
        contents = journals[i]->read(&readError);
        if (contents && !contents->rows.isEmpty()) {
            chosen = i;
        } else if (contents || !QFileInfo::exists(journals[i]->path())) {
            journals[i]->remove(); // a recording that never got its first row
        } else {
            printMessage(readError); // left as it is
        }
    }
    if (chosen == journals.size()) {
        printMessage(QStringLiteral("No interrupted recording was found in %1.").arg(QDir::toNativeSeparators(folder)));
        return ExitFailed;
    }

    HeadlessHost host;
    host.setMessageHandler(printMessage);
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    const bool complete = RecordingJournal::rebuildDocument(*contents, *document);
    if (!complete)
        printMessage(programState().LastError);
    const QString outPath = parser.value(outOption);
    if (!document->SaveFile(outPath))
        return ExitFailed; // the journal stays for another try
    journals[chosen]->remove();

    printOut(QStringLiteral("Restored %1 readings (%2 to %3) into %4.\n")
                 .arg(document->GetDatacount())
                 .arg(contents->rows.constFirst().time, contents->rows.constLast().time, outPath));
    if (contents->damagedLines > 0)
        printMessage(QStringLiteral("%1 damaged lines of the journal were left out.").arg(contents->damagedLines));
    const std::size_t more = journals.size() - chosen - 1;
    if (more > 0)
        printMessage(QStringLiteral("%1 more interrupted recording(s) left; run recover again to restore the next.")
                         .arg(more));
    return complete ? ExitOk : ExitFailed;
}

} // namespace quvo::cli
