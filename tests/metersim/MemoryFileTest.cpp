// The memory file: a person's own LOGGING and SAVE memories, read into the options.

#include "PtyClient.h"

#include "metersim/MeterSimulator.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quvo::sim::test {
namespace {

class MemoryFile : public ::testing::Test {
protected:
    QString write(const QByteArray& text)
    {
        const QString path = dir.filePath(QStringLiteral("memory%1.txt").arg(++files));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return path;
    }
    QTemporaryDir dir;
    int files = 0;
};

TEST_F(MemoryFile, ReadsModelIntervalAndBothMemories)
{
    const QString path = write("# my meter\n"
                               "model 4\n"
                               "interval 10   # seconds\n"
                               "\n"
                               "[logging]\n"
                               "+1.234 VDC\n"
                               "-12.5 m VAC\n"
                               "+OL k OHM\n"
                               "+_0.12 u F\n"
                               "-2 AC\n"
                               "[save]\n"
                               "3 +0.5 m ADC\n"
                               "0 +123.45 Hz\n");
    QString error;
    const std::optional<SimulatorOptions> o = loadMemoryFile(path, SimulatorOptions{}, &error);
    ASSERT_TRUE(o) << error.toStdString();
    EXPECT_EQ(o->model, QLatin1Char('4'));
    EXPECT_EQ(o->loggingIntervalSeconds, 10);
    ASSERT_EQ(o->logging.size(), 5);
    // Numbers are padded on the left to six characters: with zeros, or with blanks when
    // they begin with "_" (which stands for a blank).
    EXPECT_EQ(readingLine(QStringLiteral("RL"), o->logging.at(0)), QStringLiteral("RL,N,+01.234 VDC"));
    EXPECT_EQ(readingLine(QStringLiteral("RL"), o->logging.at(1)), QStringLiteral("RL,N,-0012.5mVAC"));
    EXPECT_EQ(readingLine(QStringLiteral("RL"), o->logging.at(2)), QStringLiteral("RL,O,+0.L   kOHM"));
    EXPECT_EQ(readingLine(QStringLiteral("RL"), o->logging.at(3)), QStringLiteral("RL,N,+  0.12uF  "));
    EXPECT_EQ(readingLine(QStringLiteral("RL"), o->logging.at(4)), QStringLiteral("RL,N,-000002  AC"));
    EXPECT_FALSE(o->saveGenerate);
    ASSERT_EQ(o->save.size(), 2);
    EXPECT_EQ(readingLine(QStringLiteral("RS"), o->save.value(3)), QStringLiteral("RS,N,+0000.5mADC"));
    EXPECT_EQ(readingLine(QStringLiteral("RS"), o->save.value(0)), QStringLiteral("RS,N,+123.45 Hz "));
}

TEST_F(MemoryFile, TheMeterAnswersFromIt)
{
    const QString path = write("model 1\n[logging]\n+1.5 VDC\n-2.25 m ADC\n[save]\n50 +9 OHM\n");
    SimulatorOptions base;
    base.echo = false;
    const std::optional<SimulatorOptions> o = loadMemoryFile(path, base, nullptr);
    ASSERT_TRUE(o);
    MeterSimulator sim(*o);
    ASSERT_TRUE(sim.open());
    PtyClient client;
    ASSERT_TRUE(client.open(sim.devicePath()));
    EXPECT_EQ(client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,002"))});
    EXPECT_EQ(client.ask(QStringLiteral("RL,001"), 1), QStringList{withCheck(QStringLiteral("RL,N,+0001.5 VDC"))});
    EXPECT_EQ(client.ask(QStringLiteral("RL,002"), 1), QStringList{withCheck(QStringLiteral("RL,N,-002.25mADC"))});
    EXPECT_EQ(client.ask(QStringLiteral("RS,50"), 1), QStringList{withCheck(QStringLiteral("RS,N,+000009 OHM"))});
    EXPECT_EQ(client.ask(QStringLiteral("RS,01"), 1), QStringList{withCheck(QStringLiteral("RS"))});
}

TEST_F(MemoryFile, EmptySectionsAreEmptyMemories)
{
    SimulatorOptions base;
    base.loggingCount = 40;
    const std::optional<SimulatorOptions> o = loadMemoryFile(write("[logging]\n[save]\n"), base, nullptr);
    ASSERT_TRUE(o);
    EXPECT_TRUE(o->logging.isEmpty());
    EXPECT_EQ(o->loggingCount, 0);
    EXPECT_TRUE(o->save.isEmpty());
    EXPECT_FALSE(o->saveGenerate);
}

TEST_F(MemoryFile, MissingSectionsKeepWhatWasGiven)
{
    SimulatorOptions base;
    base.loggingCount = 40;
    base.model = QLatin1Char('2');
    const std::optional<SimulatorOptions> o = loadMemoryFile(write("# nothing but a comment\n"), base, nullptr);
    ASSERT_TRUE(o);
    EXPECT_EQ(o->loggingCount, 40);
    EXPECT_EQ(o->model, QLatin1Char('2'));
    EXPECT_TRUE(o->saveGenerate);
}

struct BadCase {
    const char* text;
    int line;            // the line the message must name
    const char* mention; // a piece of the message
};

class BadMemoryFile : public MemoryFile, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadMemoryFile, IsRefusedWithTheLineAndTheReason)
{
    const BadCase c = GetParam();
    const QString path = write(c.text);
    QString error;
    EXPECT_FALSE(loadMemoryFile(path, SimulatorOptions{}, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("line %1:").arg(c.line))) << error.toStdString();
    EXPECT_TRUE(error.contains(QString::fromLatin1(c.mention))) << error.toStdString();
    EXPECT_TRUE(error.startsWith(path)) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Files, BadMemoryFile,
    ::testing::Values(BadCase{"[logging]\n+1.234 VDX\n", 2, "VDX"}, BadCase{"[logging]\n1.234 VDC\n", 2, "sign"},
                      BadCase{"[logging]\n+1.2.3 VDC\n", 2, "1.2.3"}, BadCase{"[logging]\n+1234567 VDC\n", 2, "1234567"},
                      BadCase{"[logging]\n+1.2 x VDC\n", 2, "prefix"}, BadCase{"[logging]\n+1.2\n", 2, "reading"},
                      BadCase{"[save]\n100 +1 VDC\n", 2, "slot"}, BadCase{"[save]\n1 +1 VDC\n1 +2 VDC\n", 3, "twice"},
                      BadCase{"[memory]\n", 1, "section"}, BadCase{"model 12\n", 1, "one character"},
                      BadCase{"interval 10000\n", 1, "interval"}, BadCase{"colour red\n", 1, "colour"},
                      BadCase{"[logging]\n[logging]\n", 2, "second"}, BadCase{"\n\n[save]\nx +1 VDC\n", 4, "slot"}));

TEST_F(MemoryFile, AMissingFileIsReported)
{
    QString error;
    const QString path = dir.filePath(QStringLiteral("absent.txt"));
    EXPECT_FALSE(loadMemoryFile(path, SimulatorOptions{}, &error));
    EXPECT_TRUE(error.startsWith(path)) << error.toStdString();
}

} // namespace
} // namespace quvo::sim::test
