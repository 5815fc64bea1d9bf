// A recording that goes on after its document is full: the names of the parts' files, and
// three parts recorded second by second on a clock the test moves, each saved as its data
// file the moment it is full.

#include "AcquisitionTestSupport.h"

#include "acquisition/RecordingParts.h"
#include "document/DataDocument.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTime>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <vector>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

using namespace quvo;
using namespace quvo::test;

namespace {

// --- File names -----------------------------------------------------------------------------

TEST(RecordingPartFileName, TheFirstPartIsTheFileNamed)
{
    EXPECT_EQ(recordingPartFileName(QStringLiteral("/data/bench.csv"), 1), QStringLiteral("/data/bench.csv"));
    EXPECT_EQ(recordingPartFileName(QStringLiteral("bench"), 1), QStringLiteral("bench"));
}

TEST(RecordingPartFileName, LaterPartsGetTheirNumberBeforeTheExtension)
{
    EXPECT_EQ(recordingPartFileName(QStringLiteral("/data/bench.csv"), 2), QStringLiteral("/data/bench-002.csv"));
    EXPECT_EQ(recordingPartFileName(QStringLiteral("/data/NAME.CSV"), 3), QStringLiteral("/data/NAME-003.CSV"));
    EXPECT_EQ(recordingPartFileName(QStringLiteral("bench.CSV"), 42), QStringLiteral("bench-042.CSV"));
    EXPECT_EQ(recordingPartFileName(QStringLiteral("bench.csv"), 999), QStringLiteral("bench-999.csv"));
    EXPECT_EQ(recordingPartFileName(QStringLiteral("bench.csv"), 1000), QStringLiteral("bench-1000.csv"));
    // Only the last dot of the file name starts the extension.
    EXPECT_EQ(recordingPartFileName(QStringLiteral("run.2026.csv"), 2), QStringLiteral("run.2026-002.csv"));
}

TEST(RecordingPartFileName, WithoutAnExtensionTheNumberGoesAtTheEnd)
{
    EXPECT_EQ(recordingPartFileName(QStringLiteral("bench"), 2), QStringLiteral("bench-002"));
    // A dot in a folder's name is not an extension of the file.
    EXPECT_EQ(recordingPartFileName(QStringLiteral("/data/run.d/bench"), 2), QStringLiteral("/data/run.d/bench-002"));
    // A name that starts with its only dot has no extension either.
    EXPECT_EQ(recordingPartFileName(QStringLiteral("/data/.bench"), 2), QStringLiteral("/data/.bench-002"));
}

// --- Parts on a clock the test moves ----------------------------------------------------------

const QString Zero = QStringLiteral("00");

class RecordingPartsTest : public SteppedRealtimeTest {
protected:
    void SetUp() override
    {
        SteppedRealtimeTest::SetUp();
        ASSERT_TRUE(home.isValid());
        programState().WorkPath = home.filePath(WorkFileName);
        realtime.setJournalFolder(home.filePath(QStringLiteral("journals")));
        ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral("journals")));
        ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral("parts")));
    }
    void TearDown() override
    {
        programState().RealtimeDoc = nullptr;
        programState().CurrentDoc = nullptr;
        SteppedRealtimeTest::TearDown();
    }

    // Parts of `limit` readings, one sample a second, a period of `periodSeconds`.
    void startParts(int limit, int periodSeconds)
    {
        realtime.setDocumentLimit(limit);
        RecordingParts::Hooks hooks;
        hooks.newDocument = [this]() -> DataDocument* {
            made.push_back(std::make_unique<DataDocument>());
            made.back()->OpenNew(DataKinds::Realtime);
            return made.back().get();
        };
        hooks.partNotSaved = [this](DataDocument&, int, const QString& message) { notSaved.append(message); };
        hooks.partStarted = [this](DataDocument& next, int number) { started.append({&next, number}); };
        parts = std::make_unique<RecordingParts>(realtime, firstPath(), std::move(hooks));
        first = host.newDocument(DataKinds::Realtime);
        first->SetInterval(Zero, Zero, Zero, QStringLiteral("01"));
        first->SetPeriod(false, Zero, Zero, Zero, QString::number(periodSeconds).rightJustified(2, u'0'));
        realtime.mnuRealtimeStart();
    }
    void runToEnd(int limit)
    {
        for (int n = 0; programState().CommState != CommStates::Idle && n < limit; ++n)
            second();
    }
    QString firstPath() const { return home.filePath(QStringLiteral("parts/NAME.CSV")); }
    QStringList journals() const
    {
        return QDir(home.filePath(QStringLiteral("journals"))).entryList({QStringLiteral("RECORDING-*.JNL")}, QDir::Files);
    }
    static QStringList column(const DataDocument& document, int col)
    {
        QStringList texts;
        for (int row = 1; row <= document.GetDatacount(); ++row)
            texts << document.TextMatrix(row, col);
        return texts;
    }
    static QString label(int s) { return QTime(12, 0, 0).addSecs(s).toString(QStringLiteral("hh:mm:ss")); }

    QTemporaryDir home;
    std::unique_ptr<RecordingParts> parts;
    DataDocument* first = nullptr;
    std::vector<std::unique_ptr<DataDocument>> made;
    QStringList notSaved;
    QList<QPair<DataDocument*, int>> started;
};

TEST_F(RecordingPartsTest, ThreePartsLoseAndDoubleNoSampleSecond)
{
    // Five readings a part; a period of 12 s gives the samples of seconds 0 .. 12: 5 + 5 + 3.
    startParts(5, 12);
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    runToEnd(40);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
    ASSERT_TRUE(parts->finish(*programState().RealtimeDoc));

    ASSERT_EQ(made.size(), 2u);
    const std::vector<DataDocument*> documents = {first, made[0].get(), made[1].get()};
    EXPECT_EQ(started, (QList<QPair<DataDocument*, int>>{{made[0].get(), 2}, {made[1].get(), 3}}));
    EXPECT_EQ(first->GetDatacount(), 5);
    EXPECT_EQ(made[0]->GetDatacount(), 5);
    EXPECT_EQ(made[1]->GetDatacount(), 3);
    // Every part keeps the recording's interval and period.
    for (const DataDocument* document : documents) {
        EXPECT_EQ(document->GetIntervalcount(), 1);
        EXPECT_FALSE(document->GetPeriodnone());
        EXPECT_EQ(document->GetPeriodcount(), 12);
    }

    // One sample a second from the first boundary on, none missing, none twice: the k-th row
    // of the whole recording is labelled 12:00:0k+1 and is the answer to the k-th request.
    QStringList labels;
    QStringList values;
    for (const DataDocument* document : documents) {
        labels << column(*document, 1);
        values << column(*document, 2);
    }
    ASSERT_EQ(labels.size(), 13);
    for (int k = 0; k < 13; ++k) {
        EXPECT_EQ(labels[k], label(k + 1)) << k;
        EXPECT_EQ(values[k], GetValueText(ScriptedMeter::indexReading(k))) << k;
    }

    // Each part is on the disk under its name, reads back row for row, with the same
    // statistics; no journal is left.
    const QStringList expectedFiles = {firstPath(), home.filePath(QStringLiteral("parts/NAME-002.CSV")),
                                       home.filePath(QStringLiteral("parts/NAME-003.CSV"))};
    EXPECT_EQ(parts->savedFiles(), expectedFiles);
    EXPECT_FALSE(QFile::exists(home.filePath(QStringLiteral("parts/NAME-004.CSV"))));
    for (int i = 0; i < 3; ++i) {
        DataDocument readBack;
        readBack.OpenNew(DataDocument::KindBeforeOpen);
        ASSERT_TRUE(readBack.OpenFile(expectedFiles[i])) << programState().LastError.toStdString();
        EXPECT_EQ(column(readBack, 1), column(*documents[i], 1)) << i;
        EXPECT_EQ(column(readBack, 2), column(*documents[i], 2)) << i;
        EXPECT_EQ(column(readBack, 3), column(*documents[i], 3)) << i;
        EXPECT_EQ(readBack.GetDispmax(true), documents[i]->GetDispmax(true)) << i;
        EXPECT_EQ(readBack.GetDispmin(true), documents[i]->GetDispmin(true)) << i;
        EXPECT_EQ(readBack.GetDispavg(), documents[i]->GetDispavg()) << i;
        EXPECT_TRUE(documents[i]->isUnchanged()) << i;
    }
    EXPECT_TRUE(notSaved.isEmpty()) << notSaved.join(u'\n').toStdString();
    EXPECT_TRUE(journals().isEmpty()) << journals().join(u' ').toStdString();
}

TEST_F(RecordingPartsTest, StopInPartTwoSavesWhatPartTwoHolds)
{
    startParts(3, 60);
    for (int n = 0; n < 4; ++n)
        second(); // the first second sends the first request; then samples 0, 1 and 2: part 1 is full
    ASSERT_EQ(parts->number(), 2);
    realtime.mnuRealtimeStop(); // honoured at the next second, whose sample is still recorded
    runToEnd(5);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::Stopped);
    DataDocument& last = *programState().RealtimeDoc;
    EXPECT_EQ(last.GetDatacount(), 1);
    EXPECT_TRUE(parts->finish(last));
    EXPECT_EQ(parts->savedFiles(), (QStringList{firstPath(), home.filePath(QStringLiteral("parts/NAME-002.CSV"))}));
    EXPECT_FALSE(QFile::exists(home.filePath(QStringLiteral("parts/NAME-003.CSV"))));
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(RecordingPartsTest, AnEmptyLaterPartLeavesNoFile)
{
    // The recording ended right after a part was full (a lost port at that second): the new
    // part holds nothing and gets no file.
    realtime.setDocumentLimit(2);
    RecordingParts::Hooks hooks;
    hooks.newDocument = [this]() -> DataDocument* {
        made.push_back(std::make_unique<DataDocument>());
        made.back()->OpenNew(DataKinds::Realtime);
        return made.back().get();
    };
    RecordingParts direct(realtime, firstPath(), std::move(hooks));
    DataDocument full;
    full.OpenNew(DataKinds::Realtime);
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(full.AddGridrow());
        full.AddRealtimedata(label(i), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    }
    DataDocument* next = direct.documentFull(full);
    ASSERT_TRUE(next);
    EXPECT_EQ(direct.number(), 2);
    EXPECT_TRUE(direct.finish(*next));
    EXPECT_EQ(direct.savedFiles(), QStringList{firstPath()});
    EXPECT_FALSE(QFile::exists(home.filePath(QStringLiteral("parts/NAME-002.CSV"))));
}

TEST_F(RecordingPartsTest, APartThatCannotBeSavedKeepsItsJournalAndTheRecordingGoesOn)
{
    // The folder of the parts is gone by the time part 1 is full.
    ASSERT_TRUE(QDir(home.filePath(QStringLiteral("parts"))).removeRecursively());
    startParts(3, 7); // samples of seconds 0 .. 7: 3 + 3 + 2
    runToEnd(30);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[1]->GetDatacount(), 2); // the recording went on to its end

    EXPECT_FALSE(parts->finish(*programState().RealtimeDoc));
    EXPECT_TRUE(parts->anyFailed());
    EXPECT_TRUE(parts->savedFiles().isEmpty());
    // The person is told which part, where and where its readings are; each part's journal
    // stays on the disk for a restore.
    ASSERT_EQ(notSaved.size(), 3);
    EXPECT_TRUE(notSaved[0].startsWith(QStringLiteral("Part 1 of the recording could not be saved in %1")
                                           .arg(QDir::toNativeSeparators(firstPath()))))
        << notSaved[0].toStdString();
    EXPECT_TRUE(notSaved[1].contains(QStringLiteral("NAME-002.CSV"))) << notSaved[1].toStdString();
    EXPECT_TRUE(notSaved[0].contains(QStringLiteral("recording journal"))) << notSaved[0].toStdString();
    EXPECT_EQ(journals().size(), 3);
    // Nothing half-written was left where the files should have gone.
    EXPECT_FALSE(QDir(home.filePath(QStringLiteral("parts"))).exists());
}

} // namespace
