// quvolink-cli decode, run as a program: the Monitor's text and the DATA and MODE texts of a
// realtime row for each answer line, with the expected texts worked out from the reading
// line's layout (tag, status at 4, sign at 6, number at 7-12, prefix at 13, unit at 14-16,
// check character last).

#include "CliTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quvo::test;

namespace {

class DecodeCommandTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }
    CliOutcome decode(const QStringList& lines) const
    {
        return runCli(QStringList{QStringLiteral("decode")} + lines, m_dir.filePath(QStringLiteral("home")));
    }
    QTemporaryDir m_dir;
};

// The check character of a line: the sum of the character codes, lowest four bits as one
// hexadecimal digit (upper case).
QString withCheck(const QString& body)
{
    int sum = 0;
    for (const QChar c : body)
        sum += c.unicode();
    return body + QString::number(sum & 0x0F, 16).toUpper();
}

struct DecodeCase {
    const char* name;
    QString line;
    QString expected; // Monitor <tab> DATA <tab> MODE
    QString note;     // part of the note on stderr, empty: no note
};

TEST_F(DecodeCommandTest, EachLineGivesTheMonitorTextDataAndMode)
{
    const QList<DecodeCase> cases = {
        // +01.234 with the prefix m: value 1.234, exponent E-3; the Monitor adds prefix and unit.
        {"valid", withCheck(QStringLiteral("RR,N,+01.234mVDC")), QStringLiteral("1.234mVDC\t1.234E-3\tVDC"), {}},
        // Negative, no prefix, leading zeros of "00.567" suppressed down to one before the point.
        {"negative", withCheck(QStringLiteral("RR,N,-00.567 VAC")), QStringLiteral("-0.567VAC\t-0.567\tVAC"), {}},
        // Status "O": the overload text is the sign and "OL"; the unit stays.
        {"overload", withCheck(QStringLiteral("RR,O,+0.L    VDC")), QStringLiteral("+OLVDC\t+OL\tVDC"), {}},
        // The right line with a wrong last character.
        {"garbled", QStringLiteral("RR,N,+01.234mVDC5"), QStringLiteral("ERROR\tERROR\t"),
         QStringLiteral("the check character is \"5\", but the line's sum gives \"7\"")},
        {"rejected", withCheck(QStringLiteral("CMD,ERR")), QStringLiteral("ERROR\tERROR\t"), QStringLiteral("CMD,ERR")},
        {"not a reading", withCheck(QStringLiteral("RM,1")), QStringLiteral("ERROR\tERROR\t"),
         QStringLiteral("does not start with RR")},
        // A short reading line is cut all the same: sign "+" at 6, number "1.2" from 7 (nothing
        // to suppress before the point), no prefix at 13, and the unit is the line's last
        // three characters, "1.2".
        {"short", withCheck(QStringLiteral("RR,N,+1.2")), QStringLiteral("1.2\t1.2\t1.2"),
         QStringLiteral("this one has 9")},
        {"empty", QString(), QStringLiteral("ERROR\tERROR\t"), QStringLiteral("empty")},
    };
    QStringList lines;
    QString expected;
    for (const DecodeCase& c : cases) {
        lines << c.line;
        expected += c.expected + QLatin1Char('\n');
    }
    const CliOutcome r = decode(lines);
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, expected);
    for (int i = 0; i < cases.size(); ++i) {
        const QString prefix = QStringLiteral("line %1: ").arg(i + 1);
        if (cases[i].note.isEmpty()) {
            EXPECT_FALSE(r.err.contains(prefix)) << cases[i].name << "\n" << r.err.toStdString();
        } else {
            const qsizetype at = r.err.indexOf(prefix);
            ASSERT_GE(at, 0) << cases[i].name << "\n" << r.err.toStdString();
            const QString note = r.err.mid(at, r.err.indexOf(QLatin1Char('\n'), at) - at);
            EXPECT_TRUE(note.contains(cases[i].note)) << cases[i].name << ": " << note.toStdString();
        }
    }
}

TEST_F(DecodeCommandTest, EscapesAndTheLineEndAreTakenAsTheLinkTakesThem)
{
    // A line as the simulator's --verbose shows it: CR LF at the end, removed as the link does.
    const QString line = withCheck(QStringLiteral("RR,N,+01.234mVDC"));
    const CliOutcome r = decode({line + QStringLiteral("\\r\\n"),
                                 // \x41 is "A": the same line written with an escape
                                 withCheck(QStringLiteral("RR,N,+01.234 VDC")).replace(QStringLiteral("A"), QStringLiteral("\\x41")),
                                 // a CR inside the line is part of it: the check fails
                                 QStringLiteral("RR,N,+01\\r.234mVDC7")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("1.234mVDC\t1.234E-3\tVDC\n1.234VDC\t1.234\tVDC\nERROR\tERROR\t\n"));
}

TEST_F(DecodeCommandTest, UsageMistakes)
{
    for (const QStringList& arguments :
         {QStringList{}, QStringList{QStringLiteral("RR\\")}, QStringList{QStringLiteral("RR\\q")},
          QStringList{QStringLiteral("RR\\x4")}, QStringList{QStringLiteral("RR\\xZZ")},
          QStringList{QStringLiteral("--bogus"), QStringLiteral("RR")}}) {
        const CliOutcome r = decode(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("Usage: quvolink-cli decode"))) << r.err.toStdString();
    }
}

} // namespace
