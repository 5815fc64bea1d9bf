// Broken data files: cut short, bytes flipped, lines missing, fields that do not convert,
// too many rows, absurd lines. Each gets a clear message, the document stays as it was, no
// work file is left, nothing crashes.

#include "DocumentTestSupport.h"

#include "document/DataFile.h"

#include <QDir>
#include <QFile>

#include <random>

using namespace quvo;
using namespace quvo::test;

namespace {

const QString Refused = QStringLiteral("This file is a different data type.");

QStringList goodLines()
{
    QStringList lines{"21,0", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "20", "True,1,1", "True,0,10,1,1"};
    for (int i = 0; i < 10; ++i)
        lines << QStringLiteral("12:00:%1,%2.5,VDC,%2.5").arg(i * 5, 2, 10, QLatin1Char('0')).arg(i);
    return lines;
}

class BrokenFileTest : public DocumentTest {
protected:
    struct Outcome {
        bool ok = false;
        QString error;  // LastError on failure
        int count = -1;
    };

    // Opens `bytes` as a file in a fresh document and checks what every open must hold,
    // whatever the content: one message on failure and none on success, the document as
    // before a failed open, no work file.
    Outcome open(const QByteArray& bytes, const char* what)
    {
        const QString file = writeFile(QStringLiteral("broken.CSV"), bytes);
        prompter.messages.clear();
        programState().LastError.clear();
        auto doc = std::make_unique<DataDocument>();
        doc->setPrompter(&prompter);
        doc->OpenNew(DataDocument::KindBeforeOpen);
        const QString caption = doc->caption();
        Outcome out;
        out.ok = doc->OpenFile(file);
        out.count = doc->GetDatacount();
        EXPECT_FALSE(workFileExists()) << what;
        if (out.ok) {
            EXPECT_TRUE(prompter.messages.isEmpty()) << what;
            EXPECT_EQ(doc->caption(), file) << what;
            EXPECT_LE(doc->GetDatacount(), MaxReadings) << what;
            EXPECT_GE(doc->Rows(), 21) << what;
        } else {
            out.error = programState().LastError;
            EXPECT_FALSE(out.error.isEmpty()) << what;
            EXPECT_EQ(prompter.messages.size(), 1) << what;
            if (!prompter.messages.isEmpty()) {
                EXPECT_EQ(prompter.messages[0].text, out.error + QStringLiteral("\r\n") + file) << what;
            }
            EXPECT_EQ(doc->GetDatacount(), 0) << what;
            EXPECT_EQ(doc->Rows(), 21) << what;
            EXPECT_EQ(doc->caption(), caption) << what;
            EXPECT_EQ(doc->GetFilename(), QString()) << what;
            EXPECT_TRUE(doc->isUnchanged()) << what;
            EXPECT_EQ(doc->kind(), DataKinds::Logging) << what;
        }
        return out;
    }

    Outcome open(const QStringList& lines, const char* what) { return open(crlf(lines), what); }
};

} // namespace

TEST_F(BrokenFileTest, GoodFileOpens)
{
    const Outcome o = open(goodLines(), "good");
    EXPECT_TRUE(o.ok);
    EXPECT_EQ(o.count, 10);
}

TEST_F(BrokenFileTest, TruncatedAtEveryLine)
{
    const QStringList lines = goodLines();
    for (int k = 0; k <= lines.size(); ++k) {
        const std::string what = "first " + std::to_string(k) + " lines";
        const Outcome o = open(lines.mid(0, k), what.c_str());
        if (k == 0) {
            EXPECT_EQ(o.error, QStringLiteral("The file is empty."));
        } else if (k < 7) {
            EXPECT_EQ(o.error, QStringLiteral("Line %1 is missing: the file ends after line %2.").arg(k + 1).arg(k)) << what;
        } else {
            EXPECT_TRUE(o.ok) << what;
            EXPECT_EQ(o.count, k - 7) << what;
        }
    }
}

TEST_F(BrokenFileTest, TruncatedInsideEveryLine)
{
    const QStringList lines = goodLines();
    for (int i = 0; i < lines.size(); ++i) {
        QByteArray bytes = crlf(lines.mid(0, i));
        bytes += lines[i].left(lines[i].size() / 2).toLatin1(); // half a line, no line end
        const std::string what = "cut inside line " + std::to_string(i + 1);
        const Outcome o = open(bytes, what.c_str());
        if (i >= 7) {
            // The half row "12:00:2" or "12:00:25,5" is still a row.
            EXPECT_TRUE(o.ok) << what;
        } else {
            EXPECT_FALSE(o.ok) << what; // a header line cut short, and the next one missing at best
        }
    }
}

TEST_F(BrokenFileTest, RandomByteFlips)
{
    const QByteArray good = crlf(goodLines());
    std::mt19937 random(20240611); // fixed seed: the same files every run
    std::uniform_int_distribution<int> position(0, static_cast<int>(good.size()) - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> flips(1, 3);
    int failed = 0;
    for (int run = 0; run < 300; ++run) {
        QByteArray bytes = good;
        const int n = flips(random);
        for (int i = 0; i < n; ++i)
            bytes[position(random)] = static_cast<char>(byte(random));
        const std::string what = "flip run " + std::to_string(run);
        if (!open(bytes, what.c_str()).ok)
            ++failed;
    }
    EXPECT_GT(failed, 0); // some flips must break the header
}

TEST_F(BrokenFileTest, BinaryGarbage)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int run = 0; run < 20; ++run) {
        QByteArray bytes(1 + run * 300, '\0');
        for (char& c : bytes)
            c = static_cast<char>(byte(random));
        const std::string what = "garbage " + std::to_string(run);
        EXPECT_FALSE(open(bytes, what.c_str()).ok) << what;
    }
}

TEST_F(BrokenFileTest, MissingHeaderLines)
{
    const QString expected[7] = {
        Refused,                                                  // "9000,6000,0" as the kind line
        Refused,                                                  // the period line as the interval
        Refused,                                                  // the same
        QStringLiteral("Line 5: \"True,1,1\" is not a number."),  // "20" read as a period, the X axis as the count
        QStringLiteral("Line 5: \"True,1,1\" is not a number."),
        QStringLiteral("Line 7: \"12:00:00\" is neither True nor False."), // the first row as the Y axis
        QStringLiteral("Line 7: \"12:00:00\" is neither True nor False."),
    };
    for (int i = 0; i < 7; ++i) {
        QStringList lines = goodLines();
        lines.removeAt(i);
        const std::string what = "without line " + std::to_string(i + 1);
        const Outcome o = open(lines, what.c_str());
        EXPECT_FALSE(o.ok) << what;
        EXPECT_EQ(o.error, expected[i]) << what;
    }
    QStringList lines = goodLines();
    lines.removeAt(9); // a row: one reading fewer
    const Outcome o = open(lines, "without a row");
    EXPECT_TRUE(o.ok);
    EXPECT_EQ(o.count, 9);
}

TEST_F(BrokenFileTest, FieldsThatDoNotConvert)
{
    struct Case {
        int line; // 1-based line to replace
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {2, "wide,6000,0", "Line 2: \"wide\" is not a number."},
        {2, "9000,1e,0", "Line 2: \"1e\" is not a number."},
        {2, "9000,6000,5", "Line 2: The window state \"5\" is not 0, 1 or 2."},
        {4, "Maybe,00,01,00,00", "Line 4: \"Maybe\" is neither True nor False."},
        {5, "abc", "Line 5: \"abc\" is not a number."},
        {5, "", "Line 5: \"\" is not a number."},
        {5, "0", "Line 5: The number of readings across the chart (0) is not between 1 and 32767."},
        {5, "40000", "Line 5: The number \"40000\" is out of range."},
        {6, "maybe,1,1", "Line 6: \"maybe\" is neither True nor False."},
        {6, "False,x,1", "Line 6: \"x\" is not a number."},
        {6, "False,0,1", "Line 6: The X axis needs at least one category between tick marks and labels (0, 1)."},
        {7, "False,low,10,1,1", "Line 7: \"low\" is not a number."},
        {7, "False,0,10,0,1", "Line 7: The Y axis needs at least one major and one minor division (0, 1)."},
        {7, "True,0,10,1,y", "Line 7: \"y\" is not a number."},
        {8, "12:00:00,1.5.5,VDC,1.5.5", "Line 8: The reading \"1.5.5\" is not a number."},
        {8, "12:00:00,1E39,VDC,1E39", "Line 8: The reading \"1E39\" is out of range."},
    };
    for (const Case& c : cases) {
        QStringList lines = goodLines();
        lines[c.line - 1] = QString::fromLatin1(c.text);
        const Outcome o = open(lines, c.text);
        EXPECT_FALSE(o.ok) << c.text;
        EXPECT_EQ(o.error, QString::fromLatin1(c.error)) << c.text;
    }
}

TEST_F(BrokenFileTest, MoreRowsThanADocumentHolds)
{
    QStringList lines = goodLines().mid(0, 7);
    for (int i = 0; i < MaxReadings; ++i)
        lines << QStringLiteral("t,1.5,VDC,1.5");
    const Outcome full = open(lines, "32767 rows");
    EXPECT_TRUE(full.ok);
    EXPECT_EQ(full.count, MaxReadings);

    lines << QStringLiteral("t,1.5,VDC,1.5");
    const Outcome over = open(lines, "32768 rows");
    EXPECT_FALSE(over.ok);
    EXPECT_EQ(over.error,
              QStringLiteral("Line 32775: the file holds more than 32767 rows; a document holds at most 32767 readings."));

    // Blank rows count as rows too.
    QStringList blanks = goodLines().mid(0, 7);
    for (int i = 0; i <= MaxReadings; ++i)
        blanks << QStringLiteral(",,,");
    EXPECT_FALSE(open(blanks, "32768 blank rows").ok);
}

TEST_F(BrokenFileTest, OverlongLines)
{
    QStringList lines = goodLines();
    lines[7] = QStringLiteral("12:00:00,1.5,") + QString(4096 - 13 - 4, QLatin1Char('V')) + QStringLiteral(",1.5");
    ASSERT_EQ(lines[7].size(), 4096);
    const Outcome longest = open(lines, "4096 characters");
    EXPECT_TRUE(longest.ok);

    lines[7] += QLatin1Char('V');
    const Outcome tooLong = open(lines, "4097 characters");
    EXPECT_FALSE(tooLong.ok);
    EXPECT_EQ(tooLong.error, QStringLiteral("Line 8 is longer than 4096 characters."));

    // A file without any line end is refused after its first 4 KiB, not read whole.
    const Outcome oneLine = open(QByteArray(3 * 1024 * 1024, '7'), "one huge line");
    EXPECT_FALSE(oneLine.ok);
    EXPECT_EQ(oneLine.error, QStringLiteral("Line 1 is longer than 4096 characters."));
}

TEST_F(BrokenFileTest, LinesEndingInCrAloneAreShortLinesHoweverLongTheFile)
{
    // A file written with CR line ends only, many kilobytes long: every CR ends a line.
    QStringList lines = goodLines().mid(0, 7);
    for (int i = 0; i < 1000; ++i)
        lines << QStringLiteral("12:%1:%2,1.5,VDC,1.5").arg(i / 60, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
    const QByteArray bytes = lines.join(QLatin1Char('\r')).toLatin1() + '\r';
    ASSERT_GT(bytes.size(), 4 * DataFileMaxLineLength);
    const Outcome o = open(bytes, "CR line ends");
    EXPECT_TRUE(o.ok) << o.error.toStdString();
    EXPECT_EQ(o.count, 1000);

    // An overlong line far into such a file is named by its number.
    QByteArray longLine = bytes;
    longLine.insert(longLine.indexOf("12:05:00"), QByteArray(DataFileMaxLineLength, 'V'));
    const Outcome tooLong = open(longLine, "long line among CR line ends");
    EXPECT_FALSE(tooLong.ok);
    EXPECT_EQ(tooLong.error, QStringLiteral("Line %1 is longer than 4096 characters.").arg(7 + 300 + 1));
}

TEST_F(BrokenFileTest, FileLargerThanAnyDataFileIsRefusedUnread)
{
    const QString file = path(QStringLiteral("huge.CSV"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    ASSERT_TRUE(f.resize(DataFileMaxBytes + 1)); // sparse: no disk used
    f.close();
    auto doc = openedDocument(file);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(programState().LastError,
              QStringLiteral("The file is too large to be a data file (more than %1 bytes).").arg(DataFileMaxBytes));
    EXPECT_EQ(doc->GetDatacount(), 0);
    EXPECT_FALSE(workFileExists());
}

TEST_F(BrokenFileTest, FilesThatCannotBeRead)
{
    const QString missing = path(QStringLiteral("missing.CSV"));
    auto doc = openedDocument(missing);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text,
              QStringLiteral("Cannot read \"%1\": No such file or directory\r\n%2").arg(QDir::toNativeSeparators(missing), missing));
    EXPECT_FALSE(workFileExists());

    const QString folder = path(QStringLiteral("folder.CSV"));
    ASSERT_TRUE(QDir().mkpath(folder));
    auto dir = openedDocument(folder);
    EXPECT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(dir->GetDatacount(), 0);
    EXPECT_FALSE(workFileExists());
}

TEST_F(BrokenFileTest, WorkFileThatCannotBeMade)
{
    // The program folder is a file: the work file cannot be created.
    const QString notAFolder = writeFile(QStringLiteral("program-file"), "x");
    programState().WorkPath = notAFolder + QStringLiteral("/WORK.~~~");
    const QString file = writeFile(QStringLiteral("good.CSV"), crlf(goodLines()));
    auto doc = openedDocument(file);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(programState().LastError.startsWith(QStringLiteral("Cannot write \""))) << programState().LastError.toStdString();
    EXPECT_EQ(doc->GetDatacount(), 0);
}
