// Saving never damages the target: every step that can fail (a folder that refuses the
// file, a full disk, a failing sync, a failing rename) leaves the old target whole, shows
// the message, leaves no work file and no temporary file, and keeps the document changed.

#include "DocumentTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

using namespace quvo;
using namespace quvo::test;

namespace {

const QByteArray OldContent = "the old file, which must survive\r\n";

class SafeSaveTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        m_documents = path(QStringLiteral("documents"));
        ASSERT_TRUE(QDir().mkpath(m_documents));
        m_target = QDir(m_documents).filePath(QStringLiteral("saved.CSV"));
        QFile f(m_target);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(OldContent);
        f.close();
        m_doc = newDocument(DataKinds::Realtime);
        addRealtime(*m_doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
        m_caption = m_doc->caption();
    }

    // What every failed save must leave behind.
    void expectFailedSaveLeftEverythingWhole(const QString& reasonPart)
    {
        EXPECT_EQ(readFile(m_target), OldContent);
        EXPECT_FALSE(workFileExists());
        EXPECT_EQ(QDir(m_documents).entryList(QDir::Files | QDir::Hidden | QDir::System),
                  QStringList{QStringLiteral("saved.CSV")});
        EXPECT_FALSE(m_doc->isUnchanged());
        EXPECT_EQ(m_doc->caption(), m_caption);
        EXPECT_EQ(m_doc->GetFilename(), QString());
        ASSERT_EQ(prompter.messages.size(), 1);
        EXPECT_EQ(prompter.messages[0].text, programState().LastError + QStringLiteral("\r\n") + m_target);
        EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
        EXPECT_TRUE(programState().LastError.contains(reasonPart)) << programState().LastError.toStdString();
    }

    QString m_documents;
    QString m_target;
    QString m_caption;
    std::unique_ptr<DataDocument> m_doc;
};

} // namespace

TEST_F(SafeSaveTest, AGoodSaveReplacesTheTargetThroughSyncedFiles)
{
    ScriptedFaults watch;
    FaultScope scope(&watch);
    ASSERT_TRUE(m_doc->SaveFile(m_target));
    EXPECT_TRUE(readFile(m_target).startsWith("21,0\r\n"));
    EXPECT_FALSE(workFileExists());
    EXPECT_EQ(QDir(m_documents).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("saved.CSV")});
    // The work file is written and synced, then a copy beside the target is written, synced
    // and renamed over it.
    QStringList steps;
    for (const QString& s : watch.seen)
        steps << s.section(QLatin1Char(' '), 0, 0);
    const auto at = [&](FileStep step) { return QString::number(static_cast<int>(step)); };
    EXPECT_EQ(steps, (QStringList{at(FileStep::Create), at(FileStep::Write), at(FileStep::Sync), at(FileStep::Read),
                                  at(FileStep::Create), at(FileStep::Write), at(FileStep::Sync), at(FileStep::Replace)}));
    EXPECT_TRUE(watch.seen[0].endsWith(programState().WorkPath));
    EXPECT_TRUE(watch.seen[7].endsWith(m_target));
}

TEST_F(SafeSaveTest, TargetInAFolderThatIsAFile)
{
    const QString notAFolder = writeFile(QStringLiteral("plain-file"), "x");
    const QString target = notAFolder + QStringLiteral("/saved.CSV");
    EXPECT_FALSE(m_doc->SaveFile(target));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text, programState().LastError + QStringLiteral("\r\n") + target);
    EXPECT_TRUE(programState().LastError.startsWith(QStringLiteral("Cannot write \""))) << programState().LastError.toStdString();
    EXPECT_EQ(readFile(notAFolder), QByteArray("x"));
    EXPECT_FALSE(workFileExists());
    EXPECT_FALSE(m_doc->isUnchanged());
    EXPECT_EQ(m_doc->caption(), m_caption);
}

TEST_F(SafeSaveTest, ReadOnlyFolder)
{
    if (::geteuid() == 0) {
        // Root writes into read-only folders: this case runs again in a child process as the
        // unprivileged user "nobody" (uid 65534), where the folder refuses the file.
        const QString setpriv = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
        if (setpriv.isEmpty())
            GTEST_SKIP() << "running as root without setpriv to run the case as another user";
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), QDir::tempPath());
        env.insert(QStringLiteral("TMPDIR"), QDir::tempPath());
        env.remove(QStringLiteral("XDG_RUNTIME_DIR"));
        child.setProcessEnvironment(env);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(setpriv, {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                              QStringLiteral("--clear-groups"), QCoreApplication::applicationFilePath(),
                              QStringLiteral("--gtest_filter=SafeSaveTest.ReadOnlyFolder")});
        ASSERT_TRUE(child.waitForFinished(60000));
        const QString output = QString::fromLocal8Bit(child.readAll());
        if (output.contains(QLatin1String("Permission denied")) && child.exitCode() != 0
            && !output.contains(QLatin1String("[ RUN      ]")))
            GTEST_SKIP() << "the unprivileged user cannot run this program here: " << output.toStdString();
        EXPECT_EQ(child.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
        EXPECT_TRUE(output.contains(QLatin1String("[       OK ] SafeSaveTest.ReadOnlyFolder"))) << output.toStdString();
        return;
    }
    ASSERT_TRUE(QFile::setPermissions(m_documents, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    QFile::setPermissions(m_documents, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Permission denied"));
}

TEST_F(SafeSaveTest, FullDiskWhileWritingTheWorkFile)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Write, QStringLiteral("WORK.~~~"), QStringLiteral("No space left on device"), 100});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("No space left on device"));
    EXPECT_EQ(programState().LastError,
              QStringLiteral("Cannot write \"%1\": No space left on device").arg(QDir::toNativeSeparators(programState().WorkPath)));
}

TEST_F(SafeSaveTest, WorkFileThatCannotBeCreated)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Create, QStringLiteral("WORK.~~~"), QStringLiteral("Permission denied")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Permission denied"));
}

TEST_F(SafeSaveTest, FailingSyncOfTheWorkFile)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Sync, QStringLiteral("WORK.~~~"), QStringLiteral("Input/output error")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Input/output error"));
}

TEST_F(SafeSaveTest, FullDiskWhileCopyingBesideTheTarget)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Write, QStringLiteral("saved.CSV"), QStringLiteral("No space left on device"), 10});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("No space left on device"));
}

TEST_F(SafeSaveTest, NothingWrittenBesideTheTarget)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Write, QStringLiteral("saved.CSV"), QStringLiteral("No space left on device"), 0});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("No space left on device"));
}

TEST_F(SafeSaveTest, FailingSyncBesideTheTarget)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Sync, QStringLiteral("saved.CSV"), QStringLiteral("Input/output error")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Input/output error"));
}

TEST_F(SafeSaveTest, TemporaryBesideTheTargetCannotBeCreated)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Create, QStringLiteral(".saved.CSV."), QStringLiteral("Permission denied")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Permission denied"));
}

TEST_F(SafeSaveTest, FailingRenameOverTheTarget)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Replace, QStringLiteral("saved.CSV"), QStringLiteral("Device or resource busy")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Device or resource busy"));
}

TEST_F(SafeSaveTest, WorkFileCannotBeReadBack)
{
    ScriptedFaults faults;
    faults.faults.append({FileStep::Read, QStringLiteral("WORK.~~~"), QStringLiteral("Input/output error")});
    FaultScope scope(&faults);
    EXPECT_FALSE(m_doc->SaveFile(m_target));
    expectFailedSaveLeftEverythingWhole(QStringLiteral("Input/output error"));
}

TEST_F(SafeSaveTest, AfterAFailureTheNextSaveWorks)
{
    {
        ScriptedFaults faults;
        faults.faults.append({FileStep::Write, QStringLiteral("WORK.~~~"), QStringLiteral("No space left on device"), 5});
        FaultScope scope(&faults);
        EXPECT_FALSE(m_doc->SaveFile(m_target));
    }
    EXPECT_TRUE(m_doc->SaveFile(m_target));
    EXPECT_TRUE(readFile(m_target).startsWith("21,0\r\n"));
    EXPECT_TRUE(m_doc->isUnchanged());
}

TEST_F(SafeSaveTest, WorkFileInTheTargetsFolderIsRenamedOverIt)
{
    programState().WorkPath = QDir(m_documents).filePath(WorkFileName);
    ASSERT_TRUE(QFile::setPermissions(m_target, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup));
    ScriptedFaults watch;
    FaultScope scope(&watch);
    ASSERT_TRUE(m_doc->SaveFile(m_target));
    EXPECT_TRUE(readFile(m_target).startsWith("21,0\r\n"));
    EXPECT_FALSE(workFileExists());
    const auto p = QFile::permissions(m_target);
    EXPECT_TRUE(p & QFileDevice::ReadGroup);
    EXPECT_FALSE(p & QFileDevice::ReadOther);
    EXPECT_FALSE(p & QFileDevice::WriteGroup);
    for (const QString& s : watch.seen)
        EXPECT_FALSE(s.startsWith(QString::number(static_cast<int>(FileStep::Read)))) << s.toStdString(); // no copy
}

TEST_F(SafeSaveTest, ExistingTargetKeepsItsPermissions)
{
    ASSERT_TRUE(QFile::setPermissions(m_target, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup
                                                    | QFileDevice::ReadOther));
    ASSERT_TRUE(m_doc->SaveFile(m_target));
    const auto p = QFile::permissions(m_target);
    EXPECT_TRUE(p & QFileDevice::ReadGroup);
    EXPECT_TRUE(p & QFileDevice::ReadOther);
    EXPECT_FALSE(p & QFileDevice::WriteGroup);
}

TEST_F(SafeSaveTest, ALinkedTargetStaysALink)
{
    const QString link = path(QStringLiteral("link.CSV"));
    ASSERT_TRUE(QFile::link(m_target, link));
    ASSERT_TRUE(m_doc->SaveFile(link));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_TRUE(readFile(m_target).startsWith("21,0\r\n"));
}

TEST_F(SafeSaveTest, NewTargetIsCreated)
{
    const QString fresh = QDir(m_documents).filePath(QStringLiteral("fresh.CSV"));
    ASSERT_TRUE(m_doc->SaveFile(fresh));
    EXPECT_TRUE(readFile(fresh).startsWith("21,0\r\n"));
    EXPECT_EQ(readFile(m_target), OldContent);
}
