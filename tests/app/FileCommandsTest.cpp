// The File menu's commands: the already-open and read-only refusals, Save As, Forward.
#include "app/FileCommands.h"

#include "acquisition/HeadlessHost.h"
#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "support/ScriptedPrompter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace quvo;

namespace {

class FakeWindows : public DocumentWindows {
public:
    std::vector<std::unique_ptr<DataDocument>> documents;
    test::ScriptedPrompter* prompter = nullptr;
    int discarded = 0;
    QList<DataDocument*> saved;

    QList<DataDocument*> openDocuments() const override
    {
        QList<DataDocument*> list;
        for (const auto& d : documents)
            list.append(d.get());
        return list;
    }
    DataDocument* createDocumentWindow() override
    {
        documents.push_back(std::make_unique<DataDocument>());
        documents.back()->setPrompter(prompter);
        documents.back()->OpenNew(DataDocument::KindBeforeOpen);
        return documents.back().get();
    }
    void discardDocumentWindow(DataDocument* document) override
    {
        std::erase_if(documents, [&](const auto& d) { return d.get() == document; });
        ++discarded;
    }
    void documentSaved(DataDocument* document) override { saved.append(document); }
};

class FileCommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(dir.isValid());
        programState().WorkPath = dir.filePath(QStringLiteral("WORK.~~~"));
        windows.prompter = &prompter;
        host.setDocumentForwarder([this] { ++forwards; });
    }

    // A saved realtime document file with `readings` rows.
    QString savedFile(const QString& name, int readings)
    {
        DataDocument doc;
        doc.OpenNew(DataKinds::Realtime);
        for (int i = 0; i < readings; ++i) {
            doc.AddGridrow();
            doc.AddRealtimedata(QStringLiteral("10:00:0%1").arg(i), QStringLiteral("1.5"), QStringLiteral("VDC"), true,
                                QStringLiteral("1.5"));
        }
        const QString path = dir.filePath(name);
        EXPECT_TRUE(doc.SaveFile(path));
        return path;
    }

    QTemporaryDir dir;
    test::ScriptedPrompter prompter;
    FakeWindows windows;
    HeadlessHost host;
    int forwards = 0;
    FileCommands commands{prompter, windows, host};
};

} // namespace

TEST_F(FileCommandsTest, OpeningAFileAlreadyShownDoesNothingSilently)
{
    const QString file = savedFile(QStringLiteral("a.csv"), 2);
    prompter.fileNames = {file, file};
    commands.FileOpen();
    ASSERT_EQ(windows.documents.size(), 1u);
    commands.FileOpen();
    EXPECT_EQ(windows.documents.size(), 1u);
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(FileCommandsTest, TheOpenDialogAsksForAnExistingDataFile)
{
    commands.FileOpen();
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    const FileDialogRequest& request = prompter.fileRequests.first();
    EXPECT_EQ(request.mode, FileDialogRequest::Mode::Open);
    EXPECT_TRUE(request.fileMustExist);
    EXPECT_TRUE(request.fileName.isEmpty());
    EXPECT_EQ(request.filter, QStringLiteral("CSV Files (*.CSV)|*.CSV|"));
    EXPECT_TRUE(windows.documents.empty()); // cancelled: no document
}

TEST_F(FileCommandsTest, ANameDifferingOnlyInLetterCaseIsNotAlreadyOpen)
{
    const QString file = savedFile(QStringLiteral("data.csv"), 1);
    const QString upper = dir.filePath(QStringLiteral("DATA.csv"));
    QFile::copy(file, upper);
    prompter.fileNames = {file, upper};
    commands.FileOpen();
    commands.FileOpen();
    EXPECT_EQ(windows.documents.size(), 2u);
    EXPECT_FALSE(commands.IsFileAlreadyOpen(dir.filePath(QStringLiteral("Data.csv"))));
}

TEST_F(FileCommandsTest, AFailedOpenClosesItsEmptyWindowAfterTheMessage)
{
    const QString bad = dir.filePath(QStringLiteral("bad.csv"));
    QFile f(bad);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("9,0\r\n");
    f.close();
    prompter.fileNames = {bad};
    commands.FileOpen();
    EXPECT_TRUE(windows.documents.empty());
    EXPECT_EQ(windows.discarded, 1);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, QStringLiteral("This file is a different data type.\r\n") + bad);
}

TEST_F(FileCommandsTest, SavingUnderANameOpenInAnotherDocumentIsRefused)
{
    const QString file = savedFile(QStringLiteral("one.csv"), 1);
    prompter.fileNames = {file};
    commands.FileOpen();
    DataDocument* other = windows.createDocumentWindow();
    other->OpenNew(DataKinds::Realtime);
    prompter.fileNames = {file};
    commands.FileSaveAs(*other);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              file + QStringLiteral("\r\nThis file is already open.\r\nSpecify a different filename."));
    EXPECT_EQ(prompter.messages.first().icon, PromptIcon::Exclamation);
    EXPECT_TRUE(other->GetFilename().isEmpty());
}

TEST_F(FileCommandsTest, SaveAsUnderItsOwnNameIsAllowed)
{
    const QString file = savedFile(QStringLiteral("own.csv"), 1);
    prompter.fileNames = {file};
    commands.FileOpen();
    DataDocument& doc = *windows.documents.front();
    prompter.fileNames = {file};
    commands.FileSaveAs(doc);
    EXPECT_TRUE(prompter.messages.isEmpty());
    ASSERT_EQ(prompter.fileRequests.size(), 2);
    const FileDialogRequest& request = prompter.fileRequests.last();
    EXPECT_EQ(request.mode, FileDialogRequest::Mode::Save);
    EXPECT_EQ(request.fileName, file);
    EXPECT_EQ(request.defaultExtension, QStringLiteral("CSV"));
    EXPECT_TRUE(request.overwritePrompt);
    EXPECT_TRUE(request.pathMustExist);
}

TEST_F(FileCommandsTest, SavingOverAReadOnlyFileIsRefusedAndTheFileKept)
{
    const QString file = savedFile(QStringLiteral("ro.csv"), 2);
    prompter.fileNames = {file};
    commands.FileOpen();
    DataDocument& doc = *windows.documents.front();
    doc.AddGridrow();
    doc.AddRealtimedata(QStringLiteral("10:00:09"), QStringLiteral("2"), QStringLiteral("VDC"), true,
                        QStringLiteral("2"));
    const QByteArray before = [&] { QFile f(file); f.open(QIODevice::ReadOnly); return f.readAll(); }();
    ASSERT_TRUE(QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther));

    commands.FileSave(doc);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              file + QStringLiteral("\r\nThis file is a read-only file; you cannot save data to it.\r\n"
                                    "Specify a different filename."));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), before);
    EXPECT_FALSE(doc.isUnchanged());
    EXPECT_TRUE(windows.saved.isEmpty());
    QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

TEST_F(FileCommandsTest, SaveWithoutAFileNameRunsSaveAs)
{
    DataDocument* doc = windows.createDocumentWindow();
    doc->OpenNew(DataKinds::Realtime);
    const QString target = dir.filePath(QStringLiteral("new.csv"));
    prompter.fileNames = {target};
    commands.FileSave(*doc);
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    EXPECT_EQ(prompter.fileRequests.first().mode, FileDialogRequest::Mode::Save);
    EXPECT_EQ(doc->GetFilename(), target);
    EXPECT_TRUE(QFile::exists(target));
    EXPECT_EQ(windows.saved, QList<DataDocument*>{doc});
}

TEST_F(FileCommandsTest, AFolderIsNeverSavedOver)
{
    EXPECT_TRUE(hasSpecialAttributes(dir.path()));
    EXPECT_FALSE(hasSpecialAttributes(dir.filePath(QStringLiteral("absent.csv"))));
}

TEST_F(FileCommandsTest, ForwardingAnEmptyDocumentDoesNothing)
{
    DataDocument* doc = windows.createDocumentWindow();
    doc->OpenNew(DataKinds::Realtime);
    commands.FileForward(*doc);
    EXPECT_EQ(programState().CurrentDoc, doc);
    EXPECT_EQ(host.forwardDialogCount(), 0);
    EXPECT_EQ(forwards, 0);
}

TEST_F(FileCommandsTest, ForwardingRunsOnlyWhenTheDialogIsConfirmed)
{
    const QString file = savedFile(QStringLiteral("fw.csv"), 3);
    prompter.fileNames = {file};
    commands.FileOpen();
    DataDocument& doc = *windows.documents.front();
    host.setForwardConfirmed(false);
    commands.FileForward(doc);
    EXPECT_EQ(host.forwardDialogCount(), 1);
    EXPECT_EQ(forwards, 0);
    host.setForwardConfirmed(true);
    commands.FileForward(doc);
    EXPECT_EQ(host.forwardDialogCount(), 2);
    EXPECT_EQ(forwards, 1);
}
