// quvolink-cli plot, run as a program without a display: the pictures it writes in each
// format, and its exit codes and messages for files it cannot use.

#include "CliTestSupport.h"

#include "support/PaintedPixels.h"
#include "support/TestHelpers.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quvo::test;

namespace {

// The colours of the chart on a light desktop: the readings' line, the MAX and MIN markers.
const QColor LineColour(0, 0, 255);
const QColor MaxColour(220, 0, 0);
const QColor MinColour(0, 150, 0);

class PlotCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        home = dir.filePath(QStringLiteral("home"));
        data = dir.filePath(QStringLiteral("bench.CSV"));
        // A realtime document of 40 readings across 40 points, with a gap and an overload.
        QByteArray bytes = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n40\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n";
        for (int i = 0; i < 40; ++i) {
            const QByteArray value = i == 12 ? "ERROR" : i == 30 ? "+OL" : QByteArray::number(1 + (i % 9) * 0.25, 'f', 2);
            bytes += "12:00:" + QByteArray::number(i).rightJustified(2, '0') + ',' + value + ",VDC," + value + "\r\n";
        }
        writeFileBytes(data, bytes);
    }

    CliOutcome plot(const QStringList& arguments) { return runCli(QStringList{QStringLiteral("plot")} + arguments, home); }
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }

    QTemporaryDir dir;
    QString home;
    QString data;
};

} // namespace

TEST_F(PlotCommandTest, APngOfTheRequestedSizeShowsTheChart)
{
    const QString png = path("chart.png");
    const QByteArray before = fileBytes(data);
    const CliOutcome r = plot({data, QStringLiteral("--out"), png, QStringLiteral("--width"), QStringLiteral("720"),
                               QStringLiteral("--height"), QStringLiteral("400")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    const QImage image(png);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(720, 400));
    const QRect plotArea(72, 50, 720 - 110, 400 - 100);
    EXPECT_GT(pixelsOfColour(image, LineColour, plotArea), 300);
    EXPECT_GT(pixelsOfColour(image, MaxColour, image.rect()), 20);
    EXPECT_GT(pixelsOfColour(image, MinColour, image.rect()), 20);
    EXPECT_EQ(image.text(QStringLiteral("Title")), QStringLiteral("bench.CSV")); // the file's name by default
    EXPECT_EQ(fileBytes(data), before); // the data file is only read
}

TEST_F(PlotCommandTest, WithoutADisplayTheOtherCommandsNeverStartOne)
{
    // No display and a platform that needs one: plot draws offscreen all the same, and stats
    // makes no graphical start at all.
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("QUVOLINK_HOME"), home);
    p.setProcessEnvironment(env);
    const QString png = path("headless.png");
    p.start(cliProgram(), {QStringLiteral("plot"), data, QStringLiteral("--out"), png});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    EXPECT_FALSE(QImage(png).isNull());
    p.start(cliProgram(), {QStringLiteral("stats"), data});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_FALSE(p.readAllStandardError().contains("xcb"));
}

TEST_F(PlotCommandTest, AnSvgDrawingAndAPdfDocumentParse)
{
    const QString svg = path("chart.svg");
    CliOutcome r = plot({data, QStringLiteral("--out"), svg, QStringLiteral("--title"), QStringLiteral("Bench supply")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const ProgramRun lint = runProgram(QStringLiteral("xmllint"), {QStringLiteral("--noout"), svg});
    EXPECT_EQ(lint.exitCode, 0) << lint.output.toStdString();
    const QString drawing = QString::fromUtf8(fileBytes(svg));
    EXPECT_TRUE(drawing.contains(QStringLiteral("<title>Bench supply</title>")));
    // 960 x 540 pixels of 1/96 inch.
    EXPECT_TRUE(drawing.contains(QStringLiteral("<svg width=\"254mm\" height=\"142.875mm\"")))
        << drawing.left(400).toStdString();
    EXPECT_TRUE(drawing.contains(QStringLiteral("viewBox=\"0 0 960 540\""))) << drawing.left(400).toStdString();
    EXPECT_TRUE(drawing.contains(QStringLiteral("12:00:00"))); // the time axis

    const QString pdf = path("chart.PDF");
    r = plot({data, QStringLiteral("--out"), pdf, QStringLiteral("--width"), QStringLiteral("1200"),
              QStringLiteral("--height"), QStringLiteral("600"), QStringLiteral("--all")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const ProgramRun info = runProgram(QStringLiteral("pdfinfo"), {pdf});
    ASSERT_EQ(info.exitCode, 0) << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Pages:\\s+1\\n")))) << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Page size:\\s+900 x 450 pts"))))
        << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Title:\\s+bench.CSV\\n")))) << info.output.toStdString();
}

TEST_F(PlotCommandTest, AllPutsEveryReadingAcrossTheChart)
{
    // A file that shows 10 of its 40 readings across the chart.
    QByteArray bytes = fileBytes(data);
    bytes.replace("\r\n40\r\n", "\r\n10\r\n");
    writeFileBytes(data, bytes);
    const QString window = path("window.svg");
    const QString all = path("all.svg");
    ASSERT_EQ(plot({data, QStringLiteral("--out"), window}).exitCode, 0);
    ASSERT_EQ(plot({data, QStringLiteral("--out"), all, QStringLiteral("--all")}).exitCode, 0);
    // The last reading's time is a label only when every reading is across the chart.
    EXPECT_FALSE(QString::fromUtf8(fileBytes(window)).contains(QStringLiteral("12:00:39")));
    EXPECT_TRUE(QString::fromUtf8(fileBytes(all)).contains(QStringLiteral("12:00:39")));
    EXPECT_EQ(fileBytes(data), bytes); // the file keeps its data range
}

TEST_F(PlotCommandTest, AFileItCannotUseEndsWithOneAndAMessage)
{
    const QString png = path("never.png");
    const QString broken = path("broken.CSV");
    writeFileBytes(broken, "9,0\r\nthis is not a data file\r\n");
    const QString empty = path("empty.CSV");
    writeFileBytes(empty, "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n");
    struct Case {
        QStringList arguments;
        QString message;
    };
    const QList<Case> cases = {
        {{path("missing.CSV"), QStringLiteral("--out"), png}, QStringLiteral("missing.CSV")},
        {{broken, QStringLiteral("--out"), png}, QStringLiteral("This file is a different data type.")},
        {{empty, QStringLiteral("--out"), png}, QStringLiteral("holds no readings; there is nothing to draw.")},
        {{data, QStringLiteral("--out"), path("chart.jpg")},
         QStringLiteral("A chart is saved as a PNG image (.png), an SVG drawing (.svg) or a PDF document (.pdf).")},
        {{data, QStringLiteral("--out"), path("no-such-folder/chart.png")}, QStringLiteral("The chart could not be saved.")},
    };
    for (const Case& c : cases) {
        const CliOutcome r = plot(c.arguments);
        const std::string shown = c.arguments.join(u' ').toStdString();
        EXPECT_EQ(r.exitCode, 1) << shown << "\n" << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(c.message)) << shown << "\n" << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << shown;
    }
    EXPECT_FALSE(QFile::exists(png));
    EXPECT_FALSE(QFile::exists(path("chart.jpg")));
    EXPECT_TRUE(QDir(dir.path()).entryList({QStringLiteral(".*quvolink-*")}, QDir::Files | QDir::Hidden).isEmpty());
}

TEST_F(PlotCommandTest, WithoutItsChartProgramPlotSaysWhatIsMissing)
{
    // quvolink-cli alone in a folder, without quvolink-plot beside it or in ../libexec.
    const QString lonely = path("bin/quvolink-cli");
    ASSERT_TRUE(QDir().mkpath(path("bin")));
    ASSERT_TRUE(QFile::copy(cliProgram(), lonely));
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUVOLINK_HOME"), home);
    p.setProcessEnvironment(env);
    p.start(lonely, {QStringLiteral("plot"), data, QStringLiteral("--out"), path("never.png")});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 1);
    EXPECT_TRUE(p.readAllStandardError().contains("The chart program quvolink-plot is missing"));
    EXPECT_FALSE(QFile::exists(path("never.png")));
    // Every other command works without it.
    p.start(lonely, {QStringLiteral("stats"), data});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 0);
}

TEST_F(PlotCommandTest, AnExistingPictureIsReplacedWhole)
{
    const QString png = path("again.png");
    writeFileBytes(png, "old picture");
    ASSERT_EQ(plot({data, QStringLiteral("--out"), png}).exitCode, 0);
    EXPECT_EQ(QImage(png).size(), QSize(960, 540));
}
