// quvolink-cli info: asks the meter for its model with the start sequence of a download
// ("SC,123", "PL,1", "RM"), prints "model " and the model character, and ends the remote
// mode with "PL,0".

#include "acquisition/HeadlessHost.h"
#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"

#include <QCommandLineParser>

namespace quvo::cli {

namespace {

QString infoHelp()
{
    return QStringLiteral("Usage: quvolink-cli [options] info\n"
                          "\n"
                          "Asks the meter for its model and prints \"model \" and the model's character.\n"
                          "The meter is switched to remote mode for the question (\"SC,123\", \"PL,1\",\n"
                          "\"RM\") and back afterwards (\"PL,0\"). Each command waits 5 seconds for its answer.\n"
                          "\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 done, 1 the meter did not answer or could not be reached (message on\n"
                         "stderr), 2 wrong arguments.\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli --port /dev/ttyUSB0 info\n"
                         "  model 1\n");
}

// The model character of an answer to "RM", or an empty text with *error.
QString modelOf(QString answer, QString* error)
{
    if (!VerifyChecksum(answer)) {
        *error = ResID(Res::DataError);
        return {};
    }
    if (answer == Commands::CommandRejected) {
        *error = ResID(Res::CommandError);
        return {};
    }
    if (!answer.startsWith(Commands::Model + QLatin1Char(',')) || answer.size() < 4) {
        *error = ResID(Res::DataError);
        return {};
    }
    return answer.mid(3, 1);
}

} // namespace

int runInfo(const QStringList& arguments)
{
    const QString help = infoHelp();
    QCommandLineParser parser;
    if (const auto exitCode = parseCommand(parser, QStringLiteral("info"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("info takes no arguments."), help);

    MeterSession session;
    QString error;
    if (!session.start(&error)) {
        printMessage(error);
        return ExitFailed;
    }
    Comm& comm = session.comm();
    if (!comm.OpenPort())
        return ExitFailed; // the reason is on stderr already

    // As a download does: a command that is never answered fails with the time-out text.
    ProgramState& s = programState();
    s.CommState = CommStates::Download;
    s.CancelRequested = false;
    QString model;
    if (comm.SendCommand(Commands::Start, 1) && comm.SendCommand(Commands::RemoteOn, 1)
        && comm.SendCommand(Commands::Model, 1))
        model = modelOf(s.RecvBuffer, &error);
    else
        error = s.LastError;
    comm.SendCommand(Commands::RemoteOff, 1);
    comm.closePort();
    s.CommState = CommStates::Idle;

    if (model.isEmpty()) {
        printMessage(error);
        return ExitFailed;
    }
    printOut(QStringLiteral("model ") + model + QLatin1Char('\n'));
    return ExitOk;
}

} // namespace quvo::cli
