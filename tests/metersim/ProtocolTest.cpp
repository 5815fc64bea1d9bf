// The command set over a real pseudo-terminal: framing, echo, check characters, and the
// record numbering of every model.

#include "PtyClient.h"

#include "metersim/MeterSimulator.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace quvo::sim::test {
namespace {

// A simulator in the test's own thread and a client on its terminal.
struct Rig {
    explicit Rig(const SimulatorOptions& options) : sim(options)
    {
        QString error;
        opened = sim.open(&error);
        EXPECT_TRUE(opened) << error.toStdString();
        EXPECT_TRUE(client.open(sim.devicePath())) << sim.devicePath().toStdString();
    }
    MeterSimulator sim;
    PtyClient client;
    bool opened = false;
};

SimulatorOptions noEcho()
{
    SimulatorOptions o;
    o.echo = false;
    return o;
}

TEST(CheckCharacter, MatchesHandComputedSums)
{
    // "RM,1": R 82 + M 77 + "," 44 + "1" 49 = 252 = 15 × 16 + 12 → 12 → "C".
    EXPECT_EQ(checkCharacter(QStringLiteral("RM,1")), QLatin1Char('C'));
    // "CMD,ERR": 67 + 77 + 68 + 44 + 69 + 82 + 82 = 489 = 30 × 16 + 9 → "9".
    EXPECT_EQ(checkCharacter(QStringLiteral("CMD,ERR")), QLatin1Char('9'));
    // "PL,OK": 80 + 76 + 44 + 79 + 75 = 354 = 22 × 16 + 2 → "2".
    EXPECT_EQ(checkCharacter(QStringLiteral("PL,OK")), QLatin1Char('2'));
    // "SC,OK": 83 + 67 + 44 + 79 + 75 = 348 = 21 × 16 + 12 → "C".
    EXPECT_EQ(checkCharacter(QStringLiteral("SC,OK")), QLatin1Char('C'));
    // "RS": 82 + 83 = 165 = 10 × 16 + 5 → "5".
    EXPECT_EQ(checkCharacter(QStringLiteral("RS")), QLatin1Char('5'));
    // "RN,010": 82 + 78 + 44 + 48 + 49 + 48 = 349 = 21 × 16 + 13 → "D".
    EXPECT_EQ(checkCharacter(QStringLiteral("RN,010")), QLatin1Char('D'));
    // "RR,N,+01.234mVDC": 82+82+44+78+44+43+48+49+46+50+51+52+109+86+68+67 = 999
    // = 62 × 16 + 7 → "7".
    EXPECT_EQ(checkCharacter(QStringLiteral("RR,N,+01.234mVDC")), QLatin1Char('7'));
    // Nothing to add: 0 → "0".
    EXPECT_EQ(checkCharacter(QString()), QLatin1Char('0'));
}

TEST(CheckCharacter, AgreesWithTheRuleForEveryLowNibble)
{
    // "A" (65) plus one character c: 65 + c covers every remainder as c runs over 16 codes.
    for (int c = 0x30; c < 0x40; ++c) {
        const QString body = QStringLiteral("A") + QChar(c);
        EXPECT_EQ(checkCharacter(body), ruleCheck(body)) << body.toStdString();
    }
}

TEST(ReadingLine, HasTheFixedColumns)
{
    MeterValue v;
    v.sign = QLatin1Char('+');
    v.number = QStringLiteral("01.234");
    v.prefix = QLatin1Char('m');
    v.unit = QStringLiteral("VDC");
    EXPECT_EQ(readingLine(QStringLiteral("RR"), v), QStringLiteral("RR,N,+01.234mVDC"));

    v.overload = true;
    v.sign = QLatin1Char('-');
    v.number = QStringLiteral("0.L   ");
    v.prefix = QLatin1Char('k');
    v.unit = QStringLiteral("OHM");
    EXPECT_EQ(readingLine(QStringLiteral("RL"), v), QStringLiteral("RL,O,-0.L   kOHM"));

    // Short fields are padded: the number on the left, the unit on the right.
    MeterValue shortFields;
    shortFields.number = QStringLiteral("1.5");
    shortFields.prefix = QLatin1Char(' ');
    shortFields.unit = QStringLiteral("V");
    EXPECT_EQ(readingLine(QStringLiteral("RS"), shortFields), QStringLiteral("RS,N,+   1.5 V  "));
    EXPECT_EQ(readingLine(QStringLiteral("RS"), shortFields).size(), 16);
}

TEST(Protocol, EchoesTheCommandThenAnswers)
{
    Rig rig{SimulatorOptions{}};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForLines(2));
    EXPECT_EQ(rig.client.received(), QByteArray("RM\r\nRM,1C\r\n"));
}

TEST(Protocol, AnswersWithoutEchoWhenEchoIsOff)
{
    Rig rig{noEcho()};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForLines(1));
    EXPECT_EQ(rig.client.received(), QByteArray("RM,1C\r\n"));
}

TEST(Protocol, AcceptsABareLineFeed)
{
    Rig rig{SimulatorOptions{}};
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM"), "\n"));
    ASSERT_TRUE(rig.client.waitForLines(2));
    // The echo is the command line as received, always ended by CR LF.
    EXPECT_EQ(rig.client.received(), QByteArray("RM\r\nRM,1C\r\n"));
}

TEST(Protocol, AnswersTheStartAndEndCommands)
{
    Rig rig{noEcho()};
    EXPECT_EQ(rig.client.ask(QStringLiteral("SC,123"), 1), QStringList{QStringLiteral("SC,OKC")});
    // "PL,OK" differs from both "PL,1" and "PL,0", so it is never taken for an echo.
    EXPECT_EQ(rig.client.ask(QStringLiteral("PL,1"), 1), QStringList{QStringLiteral("PL,OK2")});
    EXPECT_EQ(rig.client.ask(QStringLiteral("PL,0"), 1), QStringList{QStringLiteral("PL,OK2")});
}

TEST(Protocol, RejectsUnknownCommandsWithACheckedError)
{
    Rig rig{noEcho()};
    for (const QString& command : {QStringLiteral("XY"), QStringLiteral("rm"), QStringLiteral("RR,2"),
                                   QStringLiteral("SC,12"), QStringLiteral("PL,2"), QStringLiteral("RM,1")}) {
        EXPECT_EQ(rig.client.ask(command, 1), QStringList{QStringLiteral("CMD,ERR9")}) << command.toStdString();
    }
}

TEST(Protocol, EmptyLinesAreNoCommands)
{
    Rig rig{noEcho()};
    ASSERT_TRUE(rig.client.sendRaw("\r\n\r\nRM\r\n"));
    ASSERT_TRUE(rig.client.waitForLines(1));
    EXPECT_EQ(rig.client.received(), QByteArray("RM,1C\r\n"));
    EXPECT_EQ(rig.sim.commandLog(), QStringList{QStringLiteral("RM")});
}

TEST(Protocol, LogsEveryCommandInOrder)
{
    Rig rig{noEcho()};
    QSignalSpy received(&rig.sim, &MeterSimulator::commandReceived);
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(rig.client.send(QStringLiteral("SC,123")));
    ASSERT_TRUE(rig.client.send(QStringLiteral("RM")));
    ASSERT_TRUE(rig.client.waitForLines(6));
    const QStringList expected = {QStringLiteral("SC,123"), QStringLiteral("SC,123"), QStringLiteral("SC,123"),
                                  QStringLiteral("SC,123"), QStringLiteral("SC,123"), QStringLiteral("RM")};
    EXPECT_EQ(rig.sim.commandLog(), expected);
    EXPECT_EQ(rig.sim.commandCount(), 6);
    ASSERT_EQ(received.count(), 6);
    EXPECT_EQ(received.at(5).at(0).toString(), QStringLiteral("RM"));
}

// Record numbering of one model, written out from the meter's rules.
struct ModelCase {
    char model;
    int countWidth;  // digits of the RN answer
    int recordWidth; // digits of RL numbers; 0 = no records
    int firstRecord;
    int firstSlot;   // -1 = no slots
    int lastSlot;
};

void PrintTo(const ModelCase& c, std::ostream* os)
{
    *os << "model " << c.model;
}

class ModelNumbering : public ::testing::TestWithParam<ModelCase> {};

QString digits(int value, int width)
{
    return QString::number(value).rightJustified(width, QLatin1Char('0'));
}

TEST_P(ModelNumbering, CountAndIntervalHaveTheModelsWidths)
{
    const ModelCase c = GetParam();
    SimulatorOptions o = noEcho();
    o.model = QLatin1Char(c.model);
    o.loggingCount = 12;
    o.loggingIntervalSeconds = 7;
    Rig rig{o};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,") + QLatin1Char(c.model))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,") + digits(12, c.countWidth))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RI"), 1), QStringList{withCheck(QStringLiteral("RI,0007"))});
}

TEST_P(ModelNumbering, LoggingRecordsAreNumberedByModel)
{
    const ModelCase c = GetParam();
    SimulatorOptions o = noEcho();
    o.model = QLatin1Char(c.model);
    o.loggingCount = 12;
    Rig rig{o};
    const QString error = withCheck(QStringLiteral("CMD,ERR"));
    if (c.recordWidth == 0) {
        for (const QString& command : {QStringLiteral("RL,001"), QStringLiteral("RL,000"), QStringLiteral("RL,0001")})
            EXPECT_EQ(rig.client.ask(command, 1), QStringList{error}) << command.toStdString();
        return;
    }
    const auto rl = [&](int number, int width) { return QStringLiteral("RL,") + digits(number, width); };
    // The generated LOGGING memory is a VDC ramp: record i (from 0) holds i × 0.125 V.
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord, c.recordWidth), 1),
              QStringList{withCheck(QStringLiteral("RL,N,+00.000 VDC"))});
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord + 1, c.recordWidth), 1),
              QStringList{withCheck(QStringLiteral("RL,N,+00.125 VDC"))});
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord + 11, c.recordWidth), 1),
              QStringList{withCheck(QStringLiteral("RL,N,+01.375 VDC"))});
    // Past the last record, before the first, and numbers of the wrong width.
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord + 12, c.recordWidth), 1), QStringList{error});
    if (c.firstRecord > 0) {
        EXPECT_EQ(rig.client.ask(rl(c.firstRecord - 1, c.recordWidth), 1), QStringList{error});
    }
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord, c.recordWidth - 1), 1), QStringList{error});
    EXPECT_EQ(rig.client.ask(rl(c.firstRecord, c.recordWidth + 1), 1), QStringList{error});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,") + QString(c.recordWidth, QLatin1Char('x')), 1), QStringList{error});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL"), 1), QStringList{error});
}

TEST_P(ModelNumbering, SaveSlotsAreNumberedByModel)
{
    const ModelCase c = GetParam();
    SimulatorOptions o = noEcho();
    o.model = QLatin1Char(c.model);
    Rig rig{o};
    const QString error = withCheck(QStringLiteral("CMD,ERR"));
    const auto rs = [](int slot) { return QStringLiteral("RS,") + digits(slot, 2); };
    if (c.firstSlot < 0) {
        for (int slot : {0, 1, 50, 99})
            EXPECT_EQ(rig.client.ask(rs(slot), 1), QStringList{error});
        return;
    }
    // The generated SAVE memory fills every third slot from the first; slot s holds s as
    // whole volts and (s × 37 mod 1000) as thousandths, in VDC, mVAC, kOHM, mADC, Hz in turn.
    const auto filled = [](int slot, const char* prefixAndUnit) {
        return withCheck(QStringLiteral("RS,N,+") + digits(slot, 2) + QLatin1Char('.') + digits(slot * 37 % 1000, 3)
                         + QLatin1String(prefixAndUnit));
    };
    const QString empty = withCheck(QStringLiteral("RS"));
    const int f = c.firstSlot;
    EXPECT_EQ(rig.client.ask(rs(f), 1), QStringList{filled(f, " VDC")});
    EXPECT_EQ(rig.client.ask(rs(f + 1), 1), QStringList{empty});
    EXPECT_EQ(rig.client.ask(rs(f + 2), 1), QStringList{empty});
    EXPECT_EQ(rig.client.ask(rs(f + 3), 1), QStringList{filled(f + 3, "mVAC")});
    EXPECT_EQ(rig.client.ask(rs(f + 6), 1), QStringList{filled(f + 6, "kOHM")});
    EXPECT_EQ(rig.client.ask(rs(f + 9), 1), QStringList{filled(f + 9, "mADC")});
    EXPECT_EQ(rig.client.ask(rs(f + 12), 1), QStringList{filled(f + 12, " Hz ")});
    EXPECT_EQ(rig.client.ask(rs(f + 15), 1), QStringList{filled(f + 15, " VDC")});
    // The last slot: 50 (from 1: 49 is a multiple of 3 past the first, 50 is not) or 99.
    const bool lastFilled = (c.lastSlot - f) % 3 == 0;
    EXPECT_EQ(rig.client.ask(rs(c.lastSlot), 1).value(0).startsWith(QStringLiteral("RS,N,+")), lastFilled);
    // Outside the model's slots, and slot numbers that are not two digits.
    if (f > 0) {
        EXPECT_EQ(rig.client.ask(rs(f - 1), 1), QStringList{error});
    }
    if (c.lastSlot < 99) {
        EXPECT_EQ(rig.client.ask(rs(c.lastSlot + 1), 1), QStringList{error});
    }
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,5"), 1), QStringList{error});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,005"), 1), QStringList{error});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,100"), 1), QStringList{error});
}

INSTANTIATE_TEST_SUITE_P(EveryModel, ModelNumbering,
                         ::testing::Values(ModelCase{'0', 3, 3, 1, 1, 50}, ModelCase{'1', 3, 3, 1, 1, 50},
                                           ModelCase{'2', 5, 5, 0, 0, 99}, ModelCase{'3', 5, 5, 0, 0, 99},
                                           ModelCase{'4', 4, 4, 0, 0, 99}, ModelCase{'5', 4, 4, 0, 0, 99},
                                           ModelCase{'7', 3, 0, 0, -1, -1}, ModelCase{'A', 3, 0, 0, -1, -1}),
                         [](const ::testing::TestParamInfo<ModelCase>& info) {
                             return std::string("Model_") + info.param.model;
                         });

TEST(Memories, GivenMemoriesAreAnsweredAsGiven)
{
    SimulatorOptions o = noEcho();
    o.model = QLatin1Char('4');
    MeterValue a;
    a.sign = QLatin1Char('-');
    a.number = QStringLiteral("1.2345");
    a.prefix = QLatin1Char('m');
    a.unit = QStringLiteral("VAC");
    MeterValue b;
    b.overload = true;
    b.number = QStringLiteral("0.L   ");
    b.prefix = QLatin1Char('M');
    b.unit = QStringLiteral("OHM");
    o.logging = {a, b};
    o.loggingCount = 500; // ignored: the given records decide the count
    o.save = {{7, b}};
    Rig rig{o};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,0002"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,0000"), 1), QStringList{withCheck(QStringLiteral("RL,N,-1.2345mVAC"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,0001"), 1), QStringList{withCheck(QStringLiteral("RL,O,+0.L   MOHM"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,0002"), 1), QStringList{withCheck(QStringLiteral("CMD,ERR"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,07"), 1), QStringList{withCheck(QStringLiteral("RS,O,+0.L   MOHM"))});
    // Given slots replace the generated ones: every other slot is empty.
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,00"), 1), QStringList{withCheck(QStringLiteral("RS"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RS,03"), 1), QStringList{withCheck(QStringLiteral("RS"))});
}

TEST(Memories, NoGeneratedSaveMemoryLeavesEverySlotEmpty)
{
    SimulatorOptions o = noEcho();
    o.saveGenerate = false;
    Rig rig{o};
    for (int slot = 1; slot <= 50; ++slot) {
        EXPECT_EQ(rig.client.ask(QStringLiteral("RS,") + digits(slot, 2), 1), QStringList{withCheck(QStringLiteral("RS"))})
            << slot;
    }
}

TEST(Memories, CountIsCappedAtWhatItsFieldCanShow)
{
    SimulatorOptions o = noEcho();
    o.loggingCount = 1500; // model 1 has a three-digit count
    Rig rig{o};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,999"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,999"), 1).value(0).left(5), QStringLiteral("RL,N,"));
}

TEST(Memories, ZeroRecordsAnswerAZeroCount)
{
    SimulatorOptions o = noEcho();
    o.model = QLatin1Char('2');
    o.loggingCount = 0;
    Rig rig{o};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,00000"))});
    EXPECT_EQ(rig.client.ask(QStringLiteral("RL,00000"), 1), QStringList{withCheck(QStringLiteral("CMD,ERR"))});
}

TEST(Options, ChangesTakeEffectForTheNextCommand)
{
    Rig rig{noEcho()};
    EXPECT_EQ(rig.client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,1"))});
    SimulatorOptions o = rig.sim.options();
    o.model = QLatin1Char('3');
    o.echo = true;
    rig.sim.setOptions(o);
    EXPECT_EQ(rig.sim.options().model, QLatin1Char('3'));
    EXPECT_EQ(rig.client.ask(QStringLiteral("RM"), 2), (QStringList{QStringLiteral("RM"), withCheck(QStringLiteral("RM,3"))}));
}

} // namespace
} // namespace quvo::sim::test
