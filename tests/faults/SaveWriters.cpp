#include "SaveWriters.h"

#include "acquisition/RecordingJournal.h"
#include "app/Settings.h"
#include "cli/CliCommand.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"

#include <QDir>

#include <cstdio>

namespace quvo::faults {

namespace {

class KeepingPrompter : public Prompter {
public:
    QStringList texts;
    PromptAnswer message(const QString& text, PromptButtons, PromptIcon, PromptAnswer answer) override
    {
        texts << text;
        return answer;
    }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

} // namespace

QString newValue(int k)
{
    return QStringLiteral("%1.5").arg(k + 100);
}

int saveDataFile(const QString& programFolder, const QString& target, int rows, QString& error)
{
    programState().WorkPath = QDir(programFolder).filePath(WorkFileName);
    KeepingPrompter prompter;
    DataDocument doc;
    doc.setPrompter(&prompter);
    doc.OpenNew(DataKinds::Realtime);
    for (int k = 0; k < rows; ++k) {
        if (!doc.AddGridrow()) {
            error = programState().LastError;
            return 1;
        }
        doc.AddRealtimedata(QStringLiteral("12:%1:%2").arg(k / 60 % 60, 2, 10, QLatin1Char('0')).arg(k % 60, 2, 10, QLatin1Char('0')),
                            newValue(k), QStringLiteral("VDC"), true, newValue(k));
    }
    if (doc.SaveFile(target))
        return 0;
    error = prompter.texts.join(QLatin1Char('\n'));
    return 1;
}

int saveSettingsFile(const QString& folder, const QString& port, const QString& file, const QString& title)
{
    ProgramState& s = programState();
    s.IniPath = settingsFilePath(folder);
    s.PortNumber = port;
    s.ForwardFile = file;
    s.ForwardTitle = title;
    WriteSettings(); // silent by design: the test looks at the file
    return 0;
}

int writeJournal(const QString& folder, int rows, QString& error)
{
    auto journal = RecordingJournal::create(folder, &error);
    if (!journal)
        return 1;
    JournalStart start;
    start.interval = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01")};
    start.period = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00")};
    start.meterModel = QStringLiteral("1");
    start.startLabel = QStringLiteral("12:00:00");
    start.documentName = QStringLiteral("Data1");
    std::printf("%s\n", qPrintable(journal->path()));
    std::fflush(stdout);
    if (!journal->writeStart(start)) {
        error = journal->lastError();
        return 1;
    }
    for (int k = 0; k < rows; ++k) {
        if (!journal->appendRow({QStringLiteral("12:00:%1").arg(k % 60, 2, 10, QLatin1Char('0')), newValue(k),
                                 QStringLiteral("VDC"), true, newValue(k)})) {
            error = journal->lastError();
            return 1;
        }
    }
    journal->close(); // the journal stays on the disk; its lock goes with the object
    return 0;
}

int forwardToWorkbook(const QStringList& arguments)
{
    return cli::runForward(arguments);
}

} // namespace quvo::faults
