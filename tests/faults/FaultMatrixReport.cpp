// Turns the results of a fault matrix run (one line per case, written by the matrix test)
// into a Markdown table, written to the file named by the second argument and printed.
// Exits with 1 when a case of the table has no result or did not pass.
//
// Usage: fault_matrix_report RESULTS_FOLDER OUTPUT.md

#include "FaultTable.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

using namespace quvo::faults;

namespace {

QString cell(QString text)
{
    return text.replace(QLatin1Char('|'), QStringLiteral("\\|"));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: fault_matrix_report RESULTS_FOLDER OUTPUT.md\n");
        return 2;
    }
    const QDir results(QString::fromLocal8Bit(argv[1]));
    const QString output = QString::fromLocal8Bit(argv[2]);

    QStringList lines;
    lines << QStringLiteral("| Operation | Fault | Outcome | Message | Sent intact | Kept | Lost | ERROR rows/displays "
                            "| Damage past the check | Port closed, CommState 7 | Time (s) | Result |")
          << QStringLiteral("|---|---|---|---|---:|---:|---:|---:|---:|---|---:|---|");
    int missing = 0;
    int failed = 0;
    int cases = 0;
    for (const Fault& fault : faultTable()) {
        for (Operation op : operations()) {
            if (!fault.expectation(op).applies)
                continue;
            ++cases;
            QFile file(results.filePath(caseName(op, fault) + QStringLiteral(".tsv")));
            CaseResult r;
            if (!file.open(QIODevice::ReadOnly) || !CaseResult::fromLine(QString::fromUtf8(file.readAll()), r)) {
                ++missing;
                lines << QStringLiteral("| %1 | %2 | not run | | | | | | | | | missing |")
                             .arg(operationTitle(op), fault.title);
                continue;
            }
            if (!r.passed)
                ++failed;
            const bool rest = r.portClosed && r.commState == 7;
            lines << QStringLiteral("| %1 | %2 | %3 | %4 | %5 | %6 | %7 | %8 | %9 | %10 | %11 | %12 |")
                         .arg(cell(r.operation), cell(r.fault), cell(r.ending), cell(r.messages))
                         .arg(r.expected)
                         .arg(r.kept)
                         .arg(r.lost)
                         .arg(r.errorRows)
                         .arg(r.undetected)
                         .arg(rest ? QStringLiteral("yes") : QStringLiteral("**no**"))
                         .arg(QString::number(r.milliseconds / 1000.0, 'f', 1))
                         .arg(r.passed ? QStringLiteral("pass") : QStringLiteral("**FAIL**"));
        }
    }
    lines << QString()
          << QStringLiteral("%1 cases: %2 passed, %3 failed, %4 without a result.")
                 .arg(cases)
                 .arg(cases - failed - missing)
                 .arg(failed)
                 .arg(missing);

    const QString text = lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    QFile out(output);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(output));
        return 2;
    }
    out.write(text.toUtf8());
    std::fputs(text.toUtf8().constData(), stdout);
    std::printf("Written to %s\n", qPrintable(output));
    return missing == 0 && failed == 0 ? 0 : 1;
}
