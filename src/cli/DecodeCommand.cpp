// quvolink-cli decode LINE...: how the program reads answer lines of the live reading. For
// each line: the Monitor's text, and the DATA and MODE texts a realtime recording stores.
// A line that is not accepted gets a note on stderr saying why.

#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"

#include <QCommandLineParser>

#include <optional>

namespace quvo::cli {

namespace {

QString decodeHelp()
{
    return QStringLiteral(
        "Usage: quvolink-cli decode LINE...\n"
        "\n"
        "Shows how Quvolink reads the meter's answers to \"RR,1\" (the live reading), for a meter\n"
        "that seems to misbehave. For each LINE it prints one line with three fields separated\n"
        "by tabs:\n"
        "  1. the text the Monitor shows, such as 1.234mVDC, or ERROR\n"
        "  2. the DATA a realtime recording stores: the value in scientific form (1.234E-3),\n"
        "     +OL or -OL for an overload, or ERROR\n"
        "  3. the MODE a realtime recording stores: the unit, such as VDC (empty for ERROR)\n"
        "When a line is not accepted, a note on stderr says why: a wrong check character,\n"
        "the meter's CMD,ERR, or a line that is not a live reading. A reading line whose length\n"
        "is not the usual 16 characters (before the check character) is decoded all the same,\n"
        "with a note.\n"
        "\n"
        "A LINE is one answer as the meter sends it, without its line end: the 16 characters of\n"
        "the reading, then the check character. The check character is the last character of\n"
        "the line: the sum of the character codes of all the others, its lowest four bits\n"
        "written as one hexadecimal digit 0-9, A-F. The note for a wrong one names the right one.\n"
        "Quote a LINE in the shell: it usually holds blanks. Inside a LINE, \\r, \\n, \\\\ and \\xHH\n"
        "(a character by its hexadecimal code) stand for those characters, so a line copied from\n"
        "the simulator's --verbose output can be pasted as it is; one CR LF (or LF) at its end\n"
        "is removed, as the serial link does.\n"
        "\n"
        "Exit codes: 0 every line decoded (ERROR is a result too), 2 no LINE or a broken \\ escape.\n"
        "\n"
        "Example:\n"
        "  quvolink-cli decode 'RR,N,+01.234mVDC7' 'RR,O,+0.L    VDCD' 'RR,N,+01.234mVDC5'\n"
        "  1.234mVDC\t1.234E-3\tVDC\n"
        "  +OLVDC\t+OL\tVDC\n"
        "  ERROR\tERROR\t\n"
        "  (stderr) line 3: the check character is \"5\", but the line's sum gives \"7\": the line was\n"
        "  garbled on its way, or a character is missing.\n");
}

// The text of a LINE argument with its escapes replaced; std::nullopt with *error when an
// escape is broken.
std::optional<QString> unescape(const QString& argument, QString* error)
{
    QString line;
    line.reserve(argument.size());
    for (qsizetype i = 0; i < argument.size(); ++i) {
        const QChar c = argument.at(i);
        if (c != QLatin1Char('\\')) {
            line.append(c);
            continue;
        }
        if (i + 1 >= argument.size()) {
            *error = QStringLiteral("\"%1\" ends in a single \\; write \\\\ for a backslash.").arg(argument);
            return std::nullopt;
        }
        const QChar e = argument.at(++i);
        if (e == QLatin1Char('r')) {
            line.append(QLatin1Char('\r'));
        } else if (e == QLatin1Char('n')) {
            line.append(QLatin1Char('\n'));
        } else if (e == QLatin1Char('\\')) {
            line.append(QLatin1Char('\\'));
        } else if (e == QLatin1Char('x')) {
            bool ok = false;
            const QString digits = argument.mid(i + 1, 2);
            const int code = digits.size() == 2 ? digits.toInt(&ok, 16) : -1;
            if (!ok || code < 0) {
                *error = QStringLiteral("In \"%1\": \\x needs two hexadecimal digits, such as \\x0d.").arg(argument);
                return std::nullopt;
            }
            line.append(QChar(code));
            i += 2;
        } else {
            *error = QStringLiteral("In \"%1\": \\%2 is not an escape; use \\r, \\n, \\\\ or \\xHH.").arg(argument, e);
            return std::nullopt;
        }
    }
    // The link hands over a line without its line end.
    if (line.endsWith(QStringLiteral("\r\n")))
        line.chop(2);
    else if (line.endsWith(QLatin1Char('\n')))
        line.chop(1);
    return line;
}

// The check character the line's other characters give, as VerifyChecksum computes it.
QChar expectedCheck(const QString& line)
{
    QString probe = line;
    for (const QChar candidate : QStringLiteral("0123456789ABCDEF")) {
        probe.back() = candidate;
        QString copy = probe;
        if (VerifyChecksum(copy))
            return candidate;
    }
    return {}; // the sum overflows: no character is right
}

// Why a line is not read as a reading, or a remark about one that is; empty when there is
// nothing to say.
QString noteFor(const QString& line)
{
    const LiveAnswer checked = CheckLiveAnswer(line);
    switch (checked.kind) {
    case LiveAnswerKind::NoAnswer:
        return QStringLiteral("ERROR is what the program records when no answer came.");
    case LiveAnswerKind::ChecksumFailed: {
        if (line.isEmpty())
            return QStringLiteral("the line is empty: not even a check character.");
        const QChar expected = expectedCheck(line);
        if (expected.isNull())
            return QStringLiteral("the line is too long for its check sum (%1 characters).").arg(line.size());
        return QStringLiteral("the check character is \"%1\", but the line's sum gives \"%2\": the line was "
                              "garbled on its way, or a character is missing.")
            .arg(line.back(), expected);
    }
    case LiveAnswerKind::CommandRejected:
        return QStringLiteral("the meter answered CMD,ERR: it did not accept the command (is it in a mode "
                              "that sends no live reading?).");
    case LiveAnswerKind::NotAReading:
        return QStringLiteral("the line does not start with RR, so it is not a live reading.");
    case LiveAnswerKind::Reading:
        if (checked.line.size() != 16)
            return QStringLiteral("a reading has 16 characters before its check character; this one has %1, "
                                  "so its fields are cut from the wrong places.")
                .arg(checked.line.size());
        return {};
    }
    return {};
}

} // namespace

int runDecode(const QStringList& arguments)
{
    const QString help = decodeHelp();
    QCommandLineParser parser;
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    parser.addPositionalArgument(QStringLiteral("LINE"), QStringLiteral("An answer line."));
    if (!parser.parse(QStringList{QStringLiteral("decode")} + arguments))
        return usageError(parser.errorText(), help);
    if (parser.isSet(helpOption)) {
        printOut(help);
        return ExitOk;
    }
    const QStringList given = parser.positionalArguments();
    if (given.isEmpty())
        return usageError(QStringLiteral("Give one or more answer lines, such as 'RR,N,+01.234mVDC7'."), help);

    QStringList lines;
    for (const QString& argument : given) {
        QString error;
        const std::optional<QString> line = unescape(argument, &error);
        if (!line)
            return usageError(error, help);
        lines.append(*line);
    }

    QString out;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString& line = lines.at(i);
        const RealtimeAnswer row = ParseRealtimeAnswer(line);
        out += MonitorText(line) + QLatin1Char('\t') + row.display + QLatin1Char('\t') + row.unit + QLatin1Char('\n');
        const QString note = noteFor(line);
        if (!note.isEmpty()) {
            printOut(out); // the lines so far come before the note
            out.clear();
            printError(QStringLiteral("line %1: %2\n").arg(i + 1).arg(note));
        }
    }
    printOut(out);
    return ExitOk;
}

} // namespace quvo::cli
