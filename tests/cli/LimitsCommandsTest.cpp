// quvolink-cli with limits, run as a program: monitor and record against the simulated meter
// (its readings ramp up through -15 .. +15 V, so the limits below see readings below, inside
// and above them), the judgement as the last field, the exit code 3, the csv and jsonl
// formats, stats with its HI, LO and PASS lines, and the usage mistakes.

#include "CliTestSupport.h"
#include "WorkbookTestSupport.h"

#include "support/TestHelpers.h"

#include "resources/ProgramState.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace quvo;
using namespace quvo::test;

namespace {

// The ramp of the simulated meter starts at -15 V and climbs 0.75 V a reading.
constexpr double Lower = -14.5;
constexpr double Upper = -12.8;

class LimitsCommandsTest : public CliProgramTest {
protected:
    static QStringList limitOptions()
    {
        return {QStringLiteral("--lower"), QString::number(Lower), QStringLiteral("--upper"), QString::number(Upper)};
    }

    // What the rules say for a reading of the VDC unit.
    static QString expectedJudgement(double volts)
    {
        return volts > Upper ? QStringLiteral("HI") : volts < Lower ? QStringLiteral("LO") : QStringLiteral("PASS");
    }
};

// The number of a value text such as "-13.952" (the tsv lines' value field or the Monitor's
// text without its unit).
double voltsOf(QString text)
{
    text.remove(QStringLiteral("VDC"));
    bool ok = false;
    const double v = text.toDouble(&ok);
    EXPECT_TRUE(ok) << text.toStdString();
    return v;
}

} // namespace

TEST_F(LimitsCommandsTest, MonitorEndsEachLineWithTheJudgementAndExitsWithThree)
{
    const CliOutcome r = run(QStringList{QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                                         QStringLiteral("6")}
                             + limitOptions());
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString();
    const QStringList lines = textLines(r.out);
    ASSERT_EQ(lines.size(), 6) << r.out.toStdString();
    QSet<QString> seen;
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 2) << line.toStdString();
        if (fields[0] == QLatin1String("ERROR")) {
            EXPECT_EQ(fields[1], QStringLiteral("-"));
            continue;
        }
        EXPECT_EQ(fields[1], expectedJudgement(voltsOf(fields[0]))) << line.toStdString();
        seen.insert(fields[1]);
    }
    EXPECT_EQ(seen, (QSet<QString>{QStringLiteral("LO"), QStringLiteral("PASS"), QStringLiteral("HI")}))
        << r.out.toStdString();
}

TEST_F(LimitsCommandsTest, MonitorWithEveryReadingInsideExitsWithZero)
{
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                              QStringLiteral("2"), QStringLiteral("--upper"), QStringLiteral("100"),
                              QStringLiteral("--lower"), QStringLiteral("-100m"), QStringLiteral("--unit"),
                              QStringLiteral("OHM")});
    // Another unit: nothing judged, nothing out of limits.
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    for (const QString& line : textLines(r.out))
        EXPECT_TRUE(line.endsWith(QStringLiteral("\t-"))) << line.toStdString();
}

TEST_F(LimitsCommandsTest, RecordPrintsTheJudgementKeepsTheFileAsItWasAndExitsWithThree)
{
    const QString file = path(QStringLiteral("judged.csv"));
    const CliOutcome r = run(QStringList{QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                                         QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("5"),
                                         QStringLiteral("--out"), file}
                             + limitOptions());
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString();
    const QStringList lines = textLines(r.out);
    ASSERT_GE(lines.size(), 5) << r.out.toStdString();
    QStringList rows;
    QSet<QString> seen;
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 4) << line.toStdString();
        rows << fields.mid(0, 3).join(QLatin1Char('\t'));
        if (fields[1] == QLatin1String("ERROR"))
            continue;
        EXPECT_EQ(fields[3], expectedJudgement(voltsOf(fields[1]))) << line.toStdString();
        seen.insert(fields[3]);
    }
    EXPECT_EQ(seen, (QSet<QString>{QStringLiteral("LO"), QStringLiteral("PASS"), QStringLiteral("HI")}))
        << r.out.toStdString();
    // The data file holds the rows as they always were: no judgement in it.
    EXPECT_EQ(dataFileRows(file), rows);
    QFile saved(file);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QString fileText = QString::fromLatin1(saved.readAll());
    EXPECT_FALSE(fileText.contains(QStringLiteral("PASS")));
    EXPECT_FALSE(fileText.contains(QStringLiteral("HI")));
}

TEST_F(LimitsCommandsTest, CsvHasAHeadingAndNumbersAndJsonLinesCarryTheJudgement)
{
    CliOutcome r = run(QStringList{QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                                   QStringLiteral("4"), QStringLiteral("--format"), QStringLiteral("csv")}
                       + limitOptions());
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString();
    QStringList lines = textLines(r.out);
    ASSERT_EQ(lines.size(), 5) << r.out.toStdString();
    EXPECT_EQ(lines[0], QStringLiteral("time,value,text,unit,judgement"));
    for (const QString& line : lines.mid(1)) {
        const QStringList fields = line.split(QLatin1Char(','));
        ASSERT_EQ(fields.size(), 5) << line.toStdString();
        EXPECT_TRUE(QDateTime::fromString(fields[0], Qt::ISODate).isValid()) << line.toStdString();
        if (fields[2] == QLatin1String("ERROR")) {
            EXPECT_TRUE(fields[1].isEmpty());
            EXPECT_TRUE(fields[4].isEmpty());
            continue;
        }
        bool ok = false;
        const double value = fields[1].toDouble(&ok);
        ASSERT_TRUE(ok) << line.toStdString();
        EXPECT_DOUBLE_EQ(value, voltsOf(fields[2]));
        EXPECT_EQ(fields[3], QStringLiteral("VDC"));
        EXPECT_EQ(fields[4], expectedJudgement(value));
    }

    r = run(QStringList{QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                        QStringLiteral("4"), QStringLiteral("--format"), QStringLiteral("jsonl")}
            + limitOptions());
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString();
    lines = textLines(r.out);
    ASSERT_EQ(lines.size(), 4) << r.out.toStdString();
    for (const QString& line : lines) {
        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(line.toUtf8(), &error).object();
        ASSERT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        EXPECT_EQ(object.value(QStringLiteral("kind")).toString(), QStringLiteral("monitor"));
        EXPECT_TRUE(QDateTime::fromString(object.value(QStringLiteral("time")).toString(), Qt::ISODate).isValid());
        if (object.value(QStringLiteral("value")).isNull()) {
            EXPECT_FALSE(object.contains(QStringLiteral("judgement"))) << line.toStdString();
            continue;
        }
        const double value = object.value(QStringLiteral("value")).toDouble();
        EXPECT_EQ(object.value(QStringLiteral("unit")).toString(), QStringLiteral("VDC"));
        EXPECT_EQ(object.value(QStringLiteral("text")).toString().remove(QStringLiteral("VDC")).toDouble(), value);
        EXPECT_EQ(object.value(QStringLiteral("judgement")).toString(), expectedJudgement(value)) << line.toStdString();
    }
}

TEST_F(LimitsCommandsTest, WithoutLimitsCsvAndJsonHaveNoJudgement)
{
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                              QStringLiteral("2"), QStringLiteral("--format"), QStringLiteral("csv")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList lines = textLines(r.out);
    ASSERT_EQ(lines.size(), 3) << r.out.toStdString();
    EXPECT_EQ(lines[0], QStringLiteral("time,value,text,unit"));
    EXPECT_EQ(lines[1].count(QLatin1Char(',')), 3);
}

TEST_F(LimitsCommandsTest, StatsCountsHiLoAndPassAfterTheCount)
{
    QByteArray file = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n";
    for (const char* row : {"12:00:00,4.000E-3,VDC,4.000E-3", "12:00:05,5.000E-3,VDC,5.000E-3",
                            "12:00:10,5.001E-3,VDC,5.001E-3", "12:00:15,ERROR,,", "12:00:20,+OL,VDC,+OL",
                            "12:00:25,2.000E-3,VDC,2.000E-3", "12:00:30,1.200,OHM,1.200"})
        file += QByteArray(row) + "\r\n";
    const QString data = path(QStringLiteral("stats.CSV"));
    writeFileBytes(data, file);

    CliOutcome r = run({QStringLiteral("stats"), data, QStringLiteral("--upper"), QStringLiteral("5m"),
                        QStringLiteral("--lower"), QStringLiteral("0.003"), QStringLiteral("--unit"), QStringLiteral("VDC")});
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString();
    QStringList lines = textLines(r.out);
    ASSERT_EQ(lines.size(), 7) << r.out.toStdString();
    EXPECT_EQ(lines[3], QStringLiteral("COUNT 7"));
    EXPECT_EQ(lines.mid(4), (QStringList{QStringLiteral("HI 2"), QStringLiteral("LO 1"), QStringLiteral("PASS 2")}));

    // The unit of the first reading when none is given; everything inside: exit code 0.
    r = run({QStringLiteral("stats"), data, QStringLiteral("--upper"), QStringLiteral("1")});
    EXPECT_EQ(r.exitCode, 3) << r.err.toStdString(); // +OL is above any upper limit
    r = run({QStringLiteral("stats"), data, QStringLiteral("--lower"), QStringLiteral("-1"), QStringLiteral("--unit"),
             QStringLiteral("OHM")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(textLines(r.out).mid(4), (QStringList{QStringLiteral("HI 0"), QStringLiteral("LO 0"), QStringLiteral("PASS 1")}));

    // Without limits: the four lines of before.
    r = run({QStringLiteral("stats"), data});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(textLines(r.out).size(), 4);
}

TEST_F(LimitsCommandsTest, AWorkbookForwardedWithLimitsCarriesThemAndTheCounts)
{
    QByteArray file = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n";
    for (const char* row : {"12:00:00,0.5,VDC,0.5", "12:00:05,1.5,VDC,1.5", "12:00:10,2.5,VDC,2.5", "12:00:15,3.5,VDC,3.5"})
        file += QByteArray(row) + "\r\n";
    const QString data = path(QStringLiteral("four.CSV"));
    writeFileBytes(data, file);
    const QString book = path(QStringLiteral("four.xlsx"));
    const CliOutcome r = run({QStringLiteral("forward"), data, QStringLiteral("--xlsx"), book, QStringLiteral("--upper"),
                              QStringLiteral("3"), QStringLiteral("--lower"), QStringLiteral("1")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject cells = describeWorkbook(book)
                                  .value(QStringLiteral("sheets"))
                                  .toArray()
                                  .first()
                                  .toObject()
                                  .value(QStringLiteral("cells"))
                                  .toObject();
    const auto value = [&](const char* name) { return cells.value(QLatin1String(name)).toObject().value(QStringLiteral("value")); };
    EXPECT_EQ(value("I4").toString(), QStringLiteral("UPPER"));
    EXPECT_EQ(value("J4").toDouble(), 3);
    EXPECT_EQ(value("J5").toDouble(), 1);
    EXPECT_EQ(value("K4").toString(), QStringLiteral("VDC")); // the unit of the first reading
    EXPECT_EQ(value("J6").toInt(), 1);
    EXPECT_EQ(value("J7").toInt(), 1);
    EXPECT_EQ(cells.value(QStringLiteral("C5")).toObject().value(QStringLiteral("fill")).toString(), QStringLiteral("BDD7EE"));
    EXPECT_EQ(cells.value(QStringLiteral("C8")).toObject().value(QStringLiteral("fill")).toString(), QStringLiteral("FFC7CE"));
    EXPECT_FALSE(cells.value(QStringLiteral("C6")).toObject().contains(QStringLiteral("fill")));
}

TEST_F(LimitsCommandsTest, MistakesInTheLimitsAreUsageErrors)
{
    const struct {
        QStringList arguments;
        const char* message;
    } cases[] = {
        {{QStringLiteral("--upper"), QStringLiteral("five")}, "The upper limit \"five\" is not a number."},
        {{QStringLiteral("--upper"), QStringLiteral("1"), QStringLiteral("--lower"), QStringLiteral("2")},
         "The lower limit (2) must be below the upper limit (1)."},
        {{QStringLiteral("--unit"), QStringLiteral("VDC")}, "--unit names the unit of the limits"},
        {{QStringLiteral("--upper"), QStringLiteral("1"), QStringLiteral("--unit"), QStringLiteral("volts")},
         "\"volts\" is not a unit the meter sends."},
        {{QStringLiteral("--format"), QStringLiteral("xml")}, "--format: \"xml\" is not tsv, csv or jsonl."},
    };
    for (const auto& c : cases) {
        for (const char* command : {"monitor", "record"}) {
            QStringList arguments{QString::fromLatin1(command)};
            if (QLatin1String(command) == QLatin1String("record"))
                arguments << QStringLiteral("--interval") << QStringLiteral("1") << QStringLiteral("--out")
                          << path(QStringLiteral("never.csv"));
            const CliOutcome r = run(arguments + c.arguments);
            EXPECT_EQ(r.exitCode, 2) << command << " " << c.message;
            EXPECT_TRUE(r.err.contains(QString::fromUtf8(c.message))) << r.err.toStdString();
            EXPECT_TRUE(r.out.isEmpty());
        }
    }
    const CliOutcome stats = run({QStringLiteral("stats"), path(QStringLiteral("x.CSV")), QStringLiteral("--lower"),
                                  QStringLiteral("2"), QStringLiteral("--upper"), QStringLiteral("2")});
    EXPECT_EQ(stats.exitCode, 2);
    EXPECT_TRUE(stats.err.contains(QStringLiteral("must be below"))) << stats.err.toStdString();
}
