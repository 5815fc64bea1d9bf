// Fault injection: silence, delay, garbled and dropped characters, wrong check characters,
// "CMD,ERR", disconnection after N commands, and 9600-8N2 pacing.

#include "PtyClient.h"

#include "metersim/MeterSimulator.h"
#include "support/TestHelpers.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cstdio>

namespace quvo::sim::test {
namespace {

struct Rig {
    explicit Rig(const SimulatorOptions& options) : sim(options)
    {
        QString error;
        EXPECT_TRUE(sim.open(&error)) << error.toStdString();
        EXPECT_TRUE(client.open(sim.devicePath()));
    }
    // Sends the command n times at once.
    void sendTimes(const QString& command, int n)
    {
        for (int i = 0; i < n; ++i)
            ASSERT_TRUE(client.send(command));
    }
    MeterSimulator sim;
    PtyClient client;
};

SimulatorOptions noEcho()
{
    SimulatorOptions o;
    o.echo = false;
    return o;
}

TEST(Faults, SilentMeterNeitherEchoesNorAnswers)
{
    SimulatorOptions o;
    o.silent = true;
    Rig rig{o};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(quvo::test::waitFor([&] { return rig.sim.commandCount() == 1; }));
    // The command was read (and logged); had anything been sent for it, it would now be
    // in the terminal ahead of what the meter says once it speaks again.
    o.silent = false;
    rig.sim.setOptions(o);
    ASSERT_TRUE(rig.client.send(QStringLiteral("RI")));
    ASSERT_TRUE(rig.client.waitForLines(2));
    EXPECT_EQ(rig.client.received(), QByteArray("RI\r\nRI,0005C\r\n"));
    EXPECT_EQ(rig.sim.commandLog(), (QStringList{QStringLiteral("RM"), QStringLiteral("RI")}));
}

TEST(Faults, SilentCommandsGetNoAnswer)
{
    SimulatorOptions o;
    o.silentCommands = {QStringLiteral("RN"), QStringLiteral("RL,")};
    Rig rig{o};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RN")));
    ASSERT_TRUE(rig.client.send(QStringLiteral("RL,001")));
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForLines(2));
    EXPECT_EQ(rig.client.received(), QByteArray("RM\r\nRM,1C\r\n"));
    EXPECT_EQ(rig.sim.commandCount(), 3);
}

TEST(Faults, DelayHoldsBackEchoAndAnswer)
{
    SimulatorOptions o;
    o.answerDelayMs = 300;
    Rig rig{o};
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForLines(2));
    // Nothing can come earlier than the delay; only a lower bound is asserted.
    EXPECT_GE(clock.elapsed(), 300);
    EXPECT_EQ(rig.client.received(), QByteArray("RM\r\nRM,1C\r\n"));
}

TEST(Faults, GarbleReplacesAnswerCharactersAtTheRateAsked)
{
    SimulatorOptions o = noEcho();
    o.garbleRate = 0.2;
    o.seed = 11;
    Rig rig{o};
    constexpr int Answers = 300;
    const QString expected = withCheck(QStringLiteral("RI,0005")); // 8 characters
    rig.sendTimes(QStringLiteral("RI"), Answers);
    ASSERT_TRUE(rig.client.waitForLines(Answers));
    const QStringList lines = rig.client.lines();
    ASSERT_EQ(lines.size(), Answers);
    // Line ends are never touched: every line is framed by CR LF and keeps its length.
    EXPECT_TRUE(rig.client.everyLineEndsWithCrLf());
    int changed = 0;
    for (const QString& line : lines) {
        ASSERT_EQ(line.size(), expected.size()) << line.toStdString();
        for (int i = 0; i < line.size(); ++i) {
            if (line.at(i) != expected.at(i))
                ++changed;
            EXPECT_NE(line.at(i), QLatin1Char('\r'));
        }
    }
    const double rate = double(changed) / (Answers * expected.size());
    std::printf("garble: %d of %d characters changed (%.3f, asked 0.2)\n", changed, int(Answers * expected.size()), rate);
    EXPECT_GT(rate, 0.15);
    EXPECT_LT(rate, 0.25);
}

TEST(Faults, DropLeavesAnswerCharactersOutAtTheRateAsked)
{
    SimulatorOptions o = noEcho();
    o.dropRate = 0.2;
    o.seed = 12;
    Rig rig{o};
    constexpr int Answers = 300;
    const QString expected = withCheck(QStringLiteral("RI,0005"));
    rig.sendTimes(QStringLiteral("RI"), Answers);
    ASSERT_TRUE(rig.client.waitForLines(Answers));
    const QStringList lines = rig.client.lines();
    ASSERT_EQ(lines.size(), Answers);
    EXPECT_TRUE(rig.client.everyLineEndsWithCrLf());
    int kept = 0;
    for (const QString& line : lines) {
        // What is left is the answer with some characters missing, in order.
        int at = 0;
        for (QChar c : line) {
            while (at < expected.size() && expected.at(at) != c)
                ++at;
            ASSERT_LT(at, expected.size()) << line.toStdString();
            ++at;
        }
        kept += int(line.size());
    }
    const double rate = 1.0 - double(kept) / (Answers * expected.size());
    std::printf("drop: %.3f of the characters left out (asked 0.2)\n", rate);
    EXPECT_GT(rate, 0.15);
    EXPECT_LT(rate, 0.25);
}

TEST(Faults, LineEndsCanBeHitWhenAsked)
{
    SimulatorOptions o = noEcho();
    o.garbleRate = 0.3;
    o.garbleLineEnds = true;
    o.seed = 13;
    Rig rig{o};
    constexpr int Answers = 100;
    rig.sendTimes(QStringLiteral("RM"), Answers);
    ASSERT_TRUE(quvo::test::waitFor([&] { return rig.sim.commandCount() == Answers; }));
    // A clean answer after the noisy ones marks the end of what they sent.
    o.garbleRate = 0;
    rig.sim.setOptions(o);
    ASSERT_TRUE(rig.client.send(QStringLiteral("SC,123")));
    ASSERT_TRUE(rig.client.waitForEnding("SC,OKC\r\n"));
    const QByteArray all = rig.client.received();
    EXPECT_LT(all.count("\r\n"), Answers + 1);
}

TEST(Faults, BadCheckCharactersAtTheRateAsked)
{
    SimulatorOptions o = noEcho();
    o.badCheckRate = 0.5;
    o.seed = 14;
    Rig rig{o};
    constexpr int Answers = 200;
    rig.sendTimes(QStringLiteral("RM"), Answers);
    ASSERT_TRUE(rig.client.waitForLines(Answers));
    int wrong = 0;
    for (const QString& line : rig.client.lines()) {
        ASSERT_EQ(line.size(), 5);
        EXPECT_EQ(line.left(4), QStringLiteral("RM,1")); // the body itself is intact
        EXPECT_TRUE(QStringLiteral("0123456789ABCDEF").contains(line.at(4))) << line.toStdString();
        if (line.at(4) != ruleCheck(QStringLiteral("RM,1")))
            ++wrong;
    }
    std::printf("bad check: %d of %d lines\n", wrong, Answers);
    EXPECT_GT(wrong, 70);
    EXPECT_LT(wrong, 130);
}

TEST(Faults, ErrorCommandsAnswerCommandError)
{
    SimulatorOptions o = noEcho();
    o.errorCommands = {QStringLiteral("RI"), QStringLiteral("RL,002")};
    Rig rig{o};
    const QStringList error{withCheck(QStringLiteral("CMD,ERR"))};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RI"), 1), error);
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,002"), 1), error);
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,001"), 1), QStringList{withCheck(QStringLiteral("RL,N,+00.000 VDC"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,1"))});
}

TEST(Faults, DisconnectsAfterAnsweringTheNthCommand)
{
    SimulatorOptions o;
    o.disconnectAfter = 3;
    Rig rig{o};
    QSignalSpy plug(&rig.sim, &MeterSimulator::plugChanged);
    ASSERT_TRUE(rig.client.send(QStringLiteral("SC,123")));
    ASSERT_TRUE(rig.client.send(QStringLiteral("PL,1")));
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    // The third answer is still delivered in full, then the line goes dead.
    ASSERT_TRUE(rig.client.waitForHangup());
    EXPECT_EQ(rig.client.received(), QByteArray("SC,123\r\nSC,OKC\r\nPL,1\r\nPL,OK2\r\nRM\r\nRM,1C\r\n"));
    EXPECT_FALSE(rig.sim.isPlugged());
    ASSERT_EQ(plug.count(), 1);
    EXPECT_FALSE(plug.at(0).at(0).toBool());
    // Writing to the dead terminal fails, and nothing more is logged.
    EXPECT_FALSE(rig.client.send(QStringLiteral("RN")));
    EXPECT_EQ(rig.sim.commandCount(), 3);
}

TEST(Faults, DisconnectWaitsForADelayedAnswer)
{
    SimulatorOptions o = noEcho();
    o.disconnectAfter = 1;
    o.answerDelayMs = 100;
    Rig rig{o};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForHangup());
    EXPECT_EQ(rig.client.received(), QByteArray("RM,1C\r\n"));
}

// 9600 baud, 8 data bits, no parity, 2 stop bits: 11 bits per character = 1.146 ms.
TEST(Faults, PacingSendsAboutOneCharacterPerCharacterTime)
{
    SimulatorOptions o;
    o.pacing = true;
    o.function = QStringLiteral("VDC");
    Rig rig{o};
    constexpr int Commands = 30;
    // Each exchange is the echo "RR,1" CR LF (6) and a reading line of 17 + CR LF (19).
    constexpr int Bytes = Commands * (6 + 19);
    rig.sendTimes(QStringLiteral("RR,1"), Commands);
    ASSERT_TRUE(rig.client.waitForBytes(Bytes, std::chrono::seconds(30)));
    ASSERT_EQ(rig.client.received().size(), Bytes);
    const double spanMs = double(rig.client.lastByteAt() - rig.client.firstByteAt()) / 1e6;
    const double perCharacter = spanMs / (Bytes - 1);
    std::printf("pacing: %d characters in %.1f ms, %.3f ms per character (line speed: 1.146)\n", Bytes, spanMs,
                perCharacter);
    RecordProperty("ms_per_character", std::to_string(perCharacter));
    EXPECT_GE(perCharacter, 1.0);
    EXPECT_LE(perCharacter, 5.0); // generous: a loaded machine only makes it slower
}

TEST(Faults, PacingCountsACommandOnlyOnceItsCharactersHaveArrived)
{
    SimulatorOptions o;
    o.pacing = true;
    Rig rig{o};
    QSignalSpy received(&rig.sim, &MeterSimulator::commandReceived);
    // A long line: 100 characters and CR LF take 102 × 1.146 = 117 ms on the line.
    const QString junk(100, QLatin1Char('X'));
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(rig.client.send(junk));
    ASSERT_TRUE(quvo::test::waitFor([&] { return received.count() == 1; }));
    const qint64 elapsed = clock.elapsed();
    std::printf("pacing: a 102-character line counted after %lld ms\n", static_cast<long long>(elapsed));
    EXPECT_GE(elapsed, 100);
    ASSERT_TRUE(rig.client.waitForLines(2));
    EXPECT_EQ(rig.client.lines().value(1), withCheck(QStringLiteral("CMD,ERR")));
}

TEST(Faults, TheSameSeedGivesTheSameFaults)
{
    SimulatorOptions o = noEcho();
    o.garbleRate = 0.1;
    o.dropRate = 0.1;
    o.badCheckRate = 0.2;
    o.seed = 99;
    QByteArray runs[2];
    for (QByteArray& run : runs) {
        Rig rig{o};
        rig.sendTimes(QStringLiteral("RN"), 50);
        ASSERT_TRUE(rig.client.waitForLines(50));
        run = rig.client.received();
    }
    EXPECT_EQ(runs[0], runs[1]);
    EXPECT_NE(runs[0], QByteArray().append(QByteArray(withCheck(QStringLiteral("RN,010")).toLatin1() + "\r\n").repeated(50)));
}

} // namespace
} // namespace quvo::sim::test
