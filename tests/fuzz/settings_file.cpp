// Fuzz target: arbitrary bytes as the settings file QUVO.INI, read at start and written
// at exit.
//
// Invariants:
// - ReadSettings gives the file's first three lines (ended by CR LF, LF or CR) as port,
//   workbook and title, or "1", "" and "" when the file has fewer than three lines;
//   byte-order marks at the start of the file belong to no line;
// - WriteSettings writes exactly those three values, each followed by CR LF, and nothing
//   else, replacing the file whole (no other file is left in the folder); afterwards the port
//   in memory is "1" when it was a number outside 1 to 16, and unchanged otherwise;
// - reading the written file gives the same three values again.

#include "FuzzSupport.h"

#include "app/Settings.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/TextNumber.h"

#include <QDir>
#include <QFile>

using namespace quvo;
using quvo::fuzz::printable;

namespace {

struct Values {
    QString port, file, title;
    bool operator==(const Values&) const = default;
    QString text() const
    {
        return QStringLiteral("\"%1\", \"%2\", \"%3\"").arg(printable(port), printable(file), printable(title));
    }
};

Values current()
{
    const ProgramState& s = programState();
    return {s.PortNumber, s.ForwardFile, s.ForwardTitle};
}

// The values the file's text gives, from the three-line rule.
Values expectedFrom(QString text)
{
    while (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size() && lines.size() < 3; ++i) {
        if (text.at(i) != QLatin1Char('\r') && text.at(i) != QLatin1Char('\n'))
            continue;
        lines.append(text.mid(start, i - start));
        if (text.at(i) == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
            ++i;
        start = i + 1;
    }
    if (lines.size() < 3 && start < text.size())
        lines.append(text.mid(start)); // a last line without its end
    if (lines.size() < 3)
        return {QStringLiteral("1"), QString(), QString()};
    return {lines[0], lines[1], lines[2]};
}

QString folder()
{
    static const QString path = [] {
        const QString made = fuzz::scratchFolder() + QStringLiteral("/settings_file");
        QDir().mkpath(made);
        return made;
    }();
    return path;
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fuzz::fail(__FILE__, __LINE__, "settings file readable", file.errorString());
    return file.readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::ensureApplication();
    resetProgramState();
    ProgramState& s = programState();
    s.IniPath = folder() + QLatin1Char('/') + SettingsFileName;
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    {
        QFile file(s.IniPath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(input) != input.size())
            fuzz::fail(__FILE__, __LINE__, "input written", file.errorString());
    }

    // Values that must not survive a read.
    s.PortNumber = QStringLiteral("stale");
    s.ForwardFile = QStringLiteral("stale");
    s.ForwardTitle = QStringLiteral("stale");
    ReadSettings();
    const Values read = current();
    const Values expected = expectedFrom(QString::fromUtf8(input));
    FUZZ_CHECK(read == expected, QStringLiteral("read %1, expected %2").arg(read.text(), expected.text()));

    WriteSettings();
    const QByteArray written = fileBytes(s.IniPath);
    const QByteArray crlf("\r\n");
    const QByteArray wanted = read.port.toUtf8() + crlf + read.file.toUtf8() + crlf + read.title.toUtf8() + crlf;
    FUZZ_CHECK(written == wanted, QStringLiteral("written \"%1\" for %2").arg(printable(QString::fromUtf8(written)), read.text()));
    FUZZ_CHECK(written.count('\r') == 3 && written.count('\n') == 3 && written.count(crlf) == 3,
               QStringLiteral("the file is not three CR LF lines: \"%1\"").arg(printable(QString::fromUtf8(written))));
    const QStringList left = fuzz::entriesOf(folder());
    FUZZ_CHECK(left == QStringList{SettingsFileName}, QStringLiteral("left in the folder: %1").arg(left.join(QLatin1String(", "))));

    // The port range rule, applied once the first line is written.
    double number = 0;
    const bool outOfRange = parseNumber(read.port, number) && (number < 1 || number > 16);
    FUZZ_CHECK(isPortNumberOutOfRange(read.port) == outOfRange, QStringLiteral("range of \"%1\"").arg(printable(read.port)));
    const QString portAfter = outOfRange ? QStringLiteral("1") : read.port;
    FUZZ_CHECK(s.PortNumber == portAfter,
               QStringLiteral("port \"%1\" after writing \"%2\"").arg(printable(s.PortNumber), printable(read.port)));

    // Read back: the same three values (the file keeps the port text as written).
    s.PortNumber.clear();
    ReadSettings();
    FUZZ_CHECK(current() == read, QStringLiteral("read back %1, written %2").arg(current().text(), read.text()));
    return 0;
}
