#include "cli/ForwardOptions.h"

#include "forward/XlsxBackend.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

namespace quvo::cli {

ForwardOptions::ForwardOptions()
    : m_xlsxOption(QStringLiteral("xlsx"), QStringLiteral("Forward into a new workbook written at FILE (.xlsx)."),
                   QStringLiteral("FILE")),
      m_intoOption(QStringLiteral("into"), QStringLiteral("Forward as a new last sheet of the existing workbook FILE."),
                   QStringLiteral("FILE")),
      m_titleOption(QStringLiteral("title"), QStringLiteral("The title above the table and on the chart."),
                    QStringLiteral("TEXT")),
      m_forceOption(QStringLiteral("force"), QStringLiteral("With --xlsx: replace an existing file."))
{
}

void ForwardOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOption(m_xlsxOption);
    parser.addOption(m_intoOption);
    parser.addOption(m_titleOption);
    parser.addOption(m_forceOption);
}

bool ForwardOptions::read(const QCommandLineParser& parser, Need need, QString& error)
{
    const bool xlsx = parser.isSet(m_xlsxOption);
    const bool into = parser.isSet(m_intoOption);
    m_force = parser.isSet(m_forceOption);
    m_title = parser.value(m_titleOption);
    m_newWorkbook = xlsx;
    m_path.clear();

    if (xlsx && into) {
        error = QStringLiteral("Give either --xlsx or --into, not both.");
        return false;
    }
    if (!xlsx && !into) {
        if (need == Need::Required) {
            error = QStringLiteral("Say where the readings go: --xlsx NEW.xlsx or --into EXISTING.xlsx.");
            return false;
        }
        if (parser.isSet(m_titleOption) || m_force) {
            error = QStringLiteral("--title and --force need --xlsx or --into.");
            return false;
        }
        return true;
    }
    const QStringList values = parser.values(xlsx ? m_xlsxOption : m_intoOption);
    if (values.size() > 1) {
        error = QStringLiteral("Give --%1 only once.").arg(xlsx ? QStringLiteral("xlsx") : QStringLiteral("into"));
        return false;
    }
    if (values.first().isEmpty()) {
        error = QStringLiteral("--%1 needs a file name.").arg(xlsx ? QStringLiteral("xlsx") : QStringLiteral("into"));
        return false;
    }
    if (xlsx && !values.first().endsWith(QStringLiteral(".xlsx"), Qt::CaseInsensitive)) {
        error = QStringLiteral("The new workbook's name must end in .xlsx: \"%1\".").arg(values.first());
        return false;
    }
    if (into && m_force) {
        error = QStringLiteral("--force applies to --xlsx only; --into never replaces the workbook.");
        return false;
    }
    m_path = QFileInfo(values.first()).absoluteFilePath();
    return true;
}

bool ForwardOptions::apply(XlsxSettings& settings, QString& error) const
{
    if (!wanted()) {
        error = QStringLiteral("No workbook was named.");
        return false;
    }
    const QString shown = QDir::toNativeSeparators(m_path);
    if (m_newWorkbook) {
        const QFileInfo target(m_path);
        if (target.isDir()) {
            error = QStringLiteral("\"%1\" is a folder, not a workbook file.").arg(shown);
            return false;
        }
        if (!target.absoluteDir().exists()) {
            error = QStringLiteral("The folder \"%1\" does not exist.")
                        .arg(QDir::toNativeSeparators(target.absolutePath()));
            return false;
        }
        if (target.exists() && !m_force) {
            error = QStringLiteral("\"%1\" already exists; it is not replaced without --force.").arg(shown);
            return false;
        }
        settings.newWorkbookLocation = m_path;
        settings.replaceNamedFile = m_force;
    } else if (!QFileInfo(m_path).isFile()) {
        // Said before anything else happens, rather than after a recording or a download.
        error = QStringLiteral("The workbook \"%1\" cannot be found. --into adds a sheet to an existing "
                               "workbook; --xlsx makes a new one.")
                    .arg(shown);
        return false;
    }
    settings.openFile = nullptr; // never handed to a desktop program from the command line

    ProgramState& state = programState();
    state.ExcelFile = m_newWorkbook ? QString() : m_path;
    state.ExcelTitle = m_title;
    state.NoForward = false;
    return true;
}

QString ForwardOptions::helpLines()
{
    return QStringLiteral("  --xlsx FILE    forward into a new workbook written at FILE (.xlsx); an existing\n"
                          "                 file is replaced only with --force\n"
                          "  --into FILE    forward as a new last sheet of the existing workbook FILE\n"
                          "                 (.xlsx); its other sheets are kept as they are\n"
                          "  --title TEXT   title above the table and on the chart (default: none)\n"
                          "  --force        with --xlsx: replace an existing file\n");
}

} // namespace quvo::cli
