// The recording journal on its own: what is written comes back, a torn or damaged line is
// left out, and only journals without a living owner are found as left-overs.

#include "acquisition/RecordingJournal.h"

#include "acquisition/HeadlessHost.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quvo;

namespace {

JournalStart someStart()
{
    JournalStart start;
    start.interval = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("05")};
    start.periodNone = false;
    start.period = {QStringLiteral("00"), QStringLiteral("01"), QStringLiteral("00"), QStringLiteral("00")};
    start.meterModel = QStringLiteral("3");
    start.startLabel = QStringLiteral("23:59:55");
    start.documentName = QStringLiteral("New1");
    return start;
}

QList<JournalRow> someRows()
{
    return {
        {QStringLiteral("23:59:55"), QStringLiteral("1.234E-3"), QStringLiteral("VDC"), true, QStringLiteral("1.234E-3")},
        {QStringLiteral("00:00:00"), QStringLiteral("ERROR"), QString(), false, QStringLiteral("ERROR")},
        {QStringLiteral("00:00:05"), QStringLiteral("+OL"), QStringLiteral("OHM"), false, QStringLiteral("0.LE+3")},
        // Whatever a garbled line brought: tab, line ends, backslash, a character beyond ASCII.
        {QStringLiteral("00:00:10"), QStringLiteral("a\tb\\n\r\nc"), QStringLiteral("\u00b5V"), false, QString()},
    };
}

class JournalTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(folder.isValid());
    }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }

    QTemporaryDir folder;
};

TEST_F(JournalTest, WhatIsWrittenComesBack)
{
    QString error;
    auto journal = RecordingJournal::create(folder.path(), &error);
    ASSERT_TRUE(journal) << error.toStdString();
    EXPECT_TRUE(QFileInfo(journal->path()).fileName().startsWith(QStringLiteral("RECORDING-")));
    EXPECT_TRUE(journal->path().endsWith(QStringLiteral(".JNL")));
    EXPECT_TRUE(QFileInfo::exists(journal->path() + QStringLiteral(".lock")));
    ASSERT_TRUE(journal->writeStart(someStart()));
    for (const JournalRow& row : someRows())
        ASSERT_TRUE(journal->appendRow(row));
    const auto contents = journal->read(&error);
    ASSERT_TRUE(contents) << error.toStdString();
    EXPECT_EQ(contents->rows, someRows());
    EXPECT_EQ(contents->start.interval, someStart().interval);
    EXPECT_EQ(contents->start.period, someStart().period);
    EXPECT_FALSE(contents->start.periodNone);
    EXPECT_EQ(contents->start.meterModel, QStringLiteral("3"));
    EXPECT_EQ(contents->start.startLabel, QStringLiteral("23:59:55"));
    EXPECT_EQ(contents->start.documentName, QStringLiteral("New1"));
    EXPECT_EQ(contents->damagedLines, 0);
}

TEST_F(JournalTest, TheLastStartLineCounts)
{
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    ASSERT_TRUE(journal->writeStart(someStart()));
    ASSERT_TRUE(journal->appendRows(someRows().mid(0, 2)));
    JournalStart again = someStart();
    again.periodNone = true;
    again.meterModel = QStringLiteral("4");
    ASSERT_TRUE(journal->writeStart(again));
    ASSERT_TRUE(journal->appendRows(someRows().mid(2)));
    const auto contents = journal->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows, someRows());
    EXPECT_TRUE(contents->start.periodNone);
    EXPECT_EQ(contents->start.meterModel, QStringLiteral("4"));
}

TEST_F(JournalTest, ATornLastLineIsLeftOut)
{
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    ASSERT_TRUE(journal->writeStart(someStart()));
    ASSERT_TRUE(journal->appendRows(someRows().mid(0, 2)));
    journal->close();
    QFile file(journal->path());
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("R\t00:00:05\t1.0"); // the row being written when the power went
    file.close();
    const auto contents = journal->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows, someRows().mid(0, 2));
    EXPECT_EQ(contents->damagedLines, 0);
}

TEST_F(JournalTest, ADamagedLineIsLeftOutAndCounted)
{
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    ASSERT_TRUE(journal->writeStart(someStart()));
    ASSERT_TRUE(journal->appendRows(someRows().mid(0, 3)));
    journal->close();
    QFile file(journal->path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    file.close();
    const qsizetype at = bytes.indexOf("ERROR"); // in the second row
    ASSERT_GT(at, 0);
    bytes[at] = 'X';
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
    file.close();
    const auto contents = journal->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows, (QList<JournalRow>{someRows()[0], someRows()[2]}));
    EXPECT_EQ(contents->damagedLines, 1);
}

TEST_F(JournalTest, AJournalWithoutStartHoldsNoRecording)
{
    // Made, then ended before its start line (killed in between): nothing to restore.
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    QString error;
    const auto contents = journal->read(&error);
    ASSERT_TRUE(contents) << error.toStdString();
    EXPECT_TRUE(contents->rows.isEmpty());
    EXPECT_EQ(contents->damagedLines, 0);
    EXPECT_TRUE(error.isEmpty());
}

TEST_F(JournalTest, RowsWithoutAStartLineAreNoRecording)
{
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    ASSERT_TRUE(journal->appendRows(someRows()));
    QString error;
    EXPECT_FALSE(journal->read(&error));
    EXPECT_TRUE(error.contains(QLatin1String("holds no recording"))) << error.toStdString();
}

TEST_F(JournalTest, OnlyJournalsWithoutALivingOwnerAreLeftOvers)
{
    auto journal = RecordingJournal::create(folder.path(), nullptr);
    ASSERT_TRUE(journal);
    ASSERT_TRUE(journal->writeStart(someStart()));
    const QString path = journal->path();
    EXPECT_TRUE(RecordingJournal::takeLeftovers(folder.path()).empty()); // its owner holds it

    journal.reset(); // as a program that ended without cleaning up: the file stays, unlocked
    ASSERT_TRUE(QFileInfo::exists(path));
    auto found = RecordingJournal::takeLeftovers(folder.path());
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]->path(), path);
    EXPECT_TRUE(RecordingJournal::takeLeftovers(folder.path()).empty()); // now taken by `found`
    const auto contents = found[0]->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->start.meterModel, QStringLiteral("3"));

    found[0]->remove();
    EXPECT_TRUE(files().isEmpty()) << files().join(u' ').toStdString();
}

TEST_F(JournalTest, LeftOversComeOldestFirst)
{
    QStringList paths;
    for (int i = 0; i < 3; ++i) {
        auto journal = RecordingJournal::create(folder.path(), nullptr);
        ASSERT_TRUE(journal);
        ASSERT_TRUE(journal->writeStart(someStart()));
        paths << journal->path();
        QFile file(journal->path());
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.setFileTime(QDateTime::currentDateTime().addSecs(-100 + 10 * i), QFileDevice::FileModificationTime);
    }
    const auto found = RecordingJournal::takeLeftovers(folder.path());
    ASSERT_EQ(found.size(), 3u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(found[static_cast<std::size_t>(i)]->path(), paths[i]);
}

TEST_F(JournalTest, NoJournalInAFolderThatDoesNotExist)
{
    QString error;
    EXPECT_FALSE(RecordingJournal::create(folder.filePath(QStringLiteral("missing")), &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(JournalTest, RebuildingADocument)
{
    HeadlessHost host;
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    JournalContents contents;
    contents.start = someStart();
    contents.rows = someRows().mid(0, 2); // a valid reading, then an ERROR row
    ASSERT_TRUE(RecordingJournal::rebuildDocument(contents, *document));
    EXPECT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(document->GetInterval(), someStart().interval);
    EXPECT_FALSE(document->GetPeriodnone());
    EXPECT_EQ(document->GetPeriodcount(), 3600);
    EXPECT_EQ(programState().MeterModel, QStringLiteral("3"));
    for (int row = 1; row <= 2; ++row) {
        const JournalRow& r = contents.rows[row - 1];
        EXPECT_EQ(document->TextMatrix(row, 1), r.time);
        EXPECT_EQ(document->TextMatrix(row, 2), r.display);
        EXPECT_EQ(document->TextMatrix(row, 3), r.unit);
        EXPECT_EQ(document->rawText(row), r.numeric);
    }
    EXPECT_EQ(document->statistics().numericCount, 1); // only the valid reading counts
    EXPECT_FALSE(document->isUnchanged());
}

TEST_F(JournalTest, ARowTheDocumentRefusesStopsTheRebuildAndKeepsTheRowsBefore)
{
    HeadlessHost host;
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    JournalContents contents;
    contents.start = someStart();
    contents.rows = someRows(); // the fourth row holds a line end and a tab
    contents.rows[3].valid = true; // and claims to be a number, which it is not
    EXPECT_FALSE(RecordingJournal::rebuildDocument(contents, *document));
    EXPECT_EQ(document->GetDatacount(), 3);
    EXPECT_FALSE(programState().LastError.isEmpty());
}

} // namespace
