// The names of the data files of a recording that goes on after a full document.

#include "cli/RecordingFiles.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo::cli {
namespace {

TEST(RecordingFiles, TheFirstFileIsTheOneNamed)
{
    EXPECT_EQ(recordingFileName(QStringLiteral("/data/bench.csv"), 1), QStringLiteral("/data/bench.csv"));
    EXPECT_EQ(recordingFileName(QStringLiteral("bench"), 1), QStringLiteral("bench"));
}

TEST(RecordingFiles, LaterFilesGetTheirNumberBeforeTheExtension)
{
    EXPECT_EQ(recordingFileName(QStringLiteral("/data/bench.csv"), 2), QStringLiteral("/data/bench-0002.csv"));
    EXPECT_EQ(recordingFileName(QStringLiteral("/data/bench.csv"), 3), QStringLiteral("/data/bench-0003.csv"));
    EXPECT_EQ(recordingFileName(QStringLiteral("bench.CSV"), 42), QStringLiteral("bench-0042.CSV"));
    EXPECT_EQ(recordingFileName(QStringLiteral("bench.csv"), 9999), QStringLiteral("bench-9999.csv"));
    EXPECT_EQ(recordingFileName(QStringLiteral("bench.csv"), 10000), QStringLiteral("bench-10000.csv"));
    // Only the last dot of the file name starts the extension.
    EXPECT_EQ(recordingFileName(QStringLiteral("run.2026.csv"), 2), QStringLiteral("run.2026-0002.csv"));
}

TEST(RecordingFiles, WithoutAnExtensionTheNumberGoesAtTheEnd)
{
    EXPECT_EQ(recordingFileName(QStringLiteral("bench"), 2), QStringLiteral("bench-0002"));
    // A dot in a folder's name is not an extension of the file.
    EXPECT_EQ(recordingFileName(QStringLiteral("/data/run.d/bench"), 2), QStringLiteral("/data/run.d/bench-0002"));
    // A name that starts with its only dot has no extension either.
    EXPECT_EQ(recordingFileName(QStringLiteral("/data/.bench"), 2), QStringLiteral("/data/.bench-0002"));
}

} // namespace
} // namespace quvo::cli
