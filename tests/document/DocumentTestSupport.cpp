#include "DocumentTestSupport.h"

#include "resources/Constant.h"

#include <QDir>
#include <QFile>

namespace quvo::test {

QByteArray crlf(const QStringList& lines)
{
    QByteArray out;
    for (const QString& line : lines)
        out += line.toLatin1() + "\r\n";
    return out;
}

void DocumentTest::SetUp()
{
    ASSERT_TRUE(m_dir.isValid());
    resetProgramState();
    m_programFolder = m_dir.filePath(QStringLiteral("program"));
    ASSERT_TRUE(QDir().mkpath(m_programFolder));
    programState().WorkPath = QDir(m_programFolder).filePath(WorkFileName);
}

void DocumentTest::TearDown()
{
    setFileFaultInjector(nullptr);
    resetProgramState();
}

QString DocumentTest::writeFile(const QString& name, const QByteArray& bytes) const
{
    const QString p = path(name);
    QFile f(p);
    if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << p.toStdString();
    return p;
}

QByteArray DocumentTest::readFile(const QString& p)
{
    QFile f(p);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

bool DocumentTest::workFileExists() const
{
    return QFile::exists(programState().WorkPath);
}

std::unique_ptr<DataDocument> DocumentTest::openedDocument(const QString& file)
{
    auto doc = std::make_unique<DataDocument>();
    doc->setPrompter(&prompter);
    doc->OpenNew(DataDocument::KindBeforeOpen);
    doc->OpenFile(file);
    return doc;
}

std::unique_ptr<DataDocument> DocumentTest::newDocument(int kind)
{
    auto doc = std::make_unique<DataDocument>();
    doc->setPrompter(&prompter);
    doc->OpenNew(kind);
    return doc;
}

void DocumentTest::addRealtime(DataDocument& doc, const QString& time, const QString& value, const QString& mode,
                               bool numeric, const QString& raw)
{
    ASSERT_TRUE(doc.AddGridrow());
    doc.AddRealtimedata(time, value, mode, numeric, raw);
}

void DocumentTest::addStored(DataDocument& doc, const QString& time, const QString& value, const QString& mode,
                             const QString& raw)
{
    ASSERT_TRUE(doc.AddGridrow());
    doc.AddData(time, value, mode, raw);
}

QString ScriptedFaults::failure(FileStep step, const QString& path, qint64& acceptedBytes)
{
    seen.append(QStringLiteral("%1 %2").arg(static_cast<int>(step)).arg(path));
    for (const Fault& f : faults) {
        if (f.step == step && path.contains(f.pathPart)) {
            if (step == FileStep::Write && f.accepted >= 0)
                acceptedBytes = f.accepted;
            return f.reason;
        }
    }
    return {};
}

} // namespace quvo::test
