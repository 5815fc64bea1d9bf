#pragma once
// Shared set-up of the document tests: program-wide values reset, a temporary program
// folder holding the work file, and helpers to write and read data files.

#include "document/DataDocument.h"
#include "document/DurableFile.h"
#include "resources/ProgramState.h"
#include "support/ScriptedPrompter.h"

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

// Texts in failure messages as text, not as arrays of characters.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo::test {

// Lines joined with CR LF, the last one ended too.
QByteArray crlf(const QStringList& lines);

class DocumentTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString writeFile(const QString& name, const QByteArray& bytes) const;
    static QByteArray readFile(const QString& path);
    bool workFileExists() const;

    // A document made as a window makes it before OpenFile; messages go to `prompter`.
    std::unique_ptr<DataDocument> openedDocument(const QString& file);
    std::unique_ptr<DataDocument> newDocument(int kind);

    // Appends a realtime reading the way acquisition does (AddGridrow first).
    static void addRealtime(DataDocument& doc, const QString& time, const QString& value, const QString& mode,
                            bool numeric, const QString& raw);
    // Appends a stored reading the way a download does.
    static void addStored(DataDocument& doc, const QString& time, const QString& value, const QString& mode,
                          const QString& raw);

    QTemporaryDir m_dir;
    QString m_programFolder;
    ScriptedPrompter prompter;
};

// Makes chosen file steps fail, as a full disk or a refusing folder would.
class ScriptedFaults : public FileFaultInjector {
public:
    struct Fault {
        FileStep step;
        QString pathPart;       // the step fails only on paths containing this
        QString reason;         // the system's reason to report
        qint64 accepted = -1;   // for Write: bytes taken before failing (-1: none)
    };
    QList<Fault> faults;
    QStringList seen; // "step path" of every step, for checks

    QString failure(FileStep step, const QString& path, qint64& acceptedBytes) override;
};

// Installs an injector for the lifetime of the object.
class FaultScope {
public:
    explicit FaultScope(FileFaultInjector* injector) : m_before(setFileFaultInjector(injector)) {}
    ~FaultScope() { setFileFaultInjector(m_before); }
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;

private:
    FileFaultInjector* m_before;
};

} // namespace quvo::test
