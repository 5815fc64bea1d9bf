#pragma once
// The forwarding options of quvolink-cli: where a document's readings go, as the Forward
// dialog would choose it.
//
//   --xlsx NEW.xlsx       a new workbook written exactly there (an existing file is
//                         refused unless --force is given)
//   --into EXISTING.xlsx  a new last sheet added to that workbook, the rest of it kept
//   --title TEXT          the title above the table and on the chart (default: none)
//   --force               with --xlsx: replace an existing file
//
// Any command that forwards uses them the same way (`forward` needs a target; a command
// that may forward, such as a recording or a download, takes them as optional):
//
//   ForwardOptions forwarding;
//   forwarding.addTo(parser);                       // before parser.parse(...)
//   ...parse...
//   QString error;
//   if (!forwarding.read(parser, ForwardOptions::Need::Optional, error))
//       -> print error and the usage, exit 2 (ExitUsage)
//   XlsxSettings settings;                          // the workbook writer's settings
//   if (forwarding.wanted() && !forwarding.apply(settings, error))
//       -> print error, exit 1 (ExitFailed)
//   apply() sets ExcelFile, ExcelTitle and NoForward = false; without a target the
//   command sets NoForward = true itself. Then XlsxConnector(settings) and a Forward
//   engine on it (forward/Forward.h): ForwardToExcel for a whole document, or
//   realtimeForwarder() = the engine for a recording.

#include <QCommandLineOption>
#include <QString>

class QCommandLineParser;

namespace quvo {
struct XlsxSettings;
}

namespace quvo::cli {

class ForwardOptions {
public:
    enum class Need { Required, Optional };

    ForwardOptions();

    // Registers --xlsx, --into, --title and --force.
    void addTo(QCommandLineParser& parser) const;

    // Takes the options from a parsed command line. False with the reason in `error` for
    // a usage mistake: both --xlsx and --into, neither when one is required, an empty
    // path, --xlsx without ".xlsx", --force without --xlsx, --title alone.
    bool read(const QCommandLineParser& parser, Need need, QString& error);

    bool wanted() const { return !m_path.isEmpty(); }
    bool newWorkbook() const { return m_newWorkbook; }
    QString path() const { return m_path; }
    QString title() const { return m_title; }
    bool force() const { return m_force; }

    // Sets ExcelFile, ExcelTitle and NoForward = false as a confirmed Forward dialog would,
    // and the writer's settings: a new workbook at exactly the path given (replacing a file
    // there only with --force), never opened on the desktop. False with the reason in
    // `error` when the new workbook's place is refused (a folder, an existing file without
    // --force, a folder that does not exist) or the workbook for --into is not there.
    bool apply(XlsxSettings& settings, QString& error) const;

    // The options' lines for a command's help text.
    static QString helpLines();

private:
    QCommandLineOption m_xlsxOption;
    QCommandLineOption m_intoOption;
    QCommandLineOption m_titleOption;
    QCommandLineOption m_forceOption;

    bool m_newWorkbook = false;
    QString m_path;
    QString m_title;
    bool m_force = false;
};

} // namespace quvo::cli
