// The desktop program as a process: its command line, the message on a machine without a
// display, and one running copy only.
#include "app/StartOptions.h"

#include "support/TestHelpers.h"

#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quvo;

namespace {

QString program()
{
    return test::builtProgram(QStringLiteral("src/app/quvolink"));
}

QProcessEnvironment cleanEnvironment(const QString& home, const QString& runtime)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUVOLINK_HOME"), home);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return env;
}

} // namespace

TEST(StartOptions, PortSimulateHomeAndFiles)
{
    int exitCode = -1;
    const auto options = parseStartOptions(
        {QStringLiteral("quvolink"), QStringLiteral("--port"), QStringLiteral("/dev/ttyUSB0"), QStringLiteral("--home"),
         QStringLiteral("/tmp/q"), QStringLiteral("a.csv")},
        &exitCode);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->port, QStringLiteral("/dev/ttyUSB0"));
    EXPECT_EQ(options->home, QStringLiteral("/tmp/q"));
    EXPECT_FALSE(options->simulate);
    EXPECT_EQ(options->files, QStringList{QStringLiteral("a.csv")});

    const auto simulated = parseStartOptions({QStringLiteral("quvolink"), QStringLiteral("--simulate")}, &exitCode);
    ASSERT_TRUE(simulated);
    EXPECT_TRUE(simulated->simulate);
}

TEST(StartOptions, DarkColoursOnlyWhenAsked)
{
    int exitCode = -1;
    const auto plain = parseStartOptions({QStringLiteral("quvolink")}, &exitCode);
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->dark);
    const auto dark = parseStartOptions({QStringLiteral("quvolink"), QStringLiteral("--dark")}, &exitCode);
    ASSERT_TRUE(dark);
    EXPECT_TRUE(dark->dark);
}

TEST(StartOptions, UsageErrorsEndWithExitCodeTwo)
{
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("quvolink"), QStringLiteral("--bogus")},
          QStringList{QStringLiteral("quvolink"), QStringLiteral("--port")},
          QStringList{QStringLiteral("quvolink"), QStringLiteral("--port"), QStringLiteral("3"),
                      QStringLiteral("--simulate")}}) {
        int exitCode = -1;
        EXPECT_FALSE(parseStartOptions(arguments, &exitCode)) << arguments.join(' ').toStdString();
        EXPECT_EQ(exitCode, 2) << arguments.join(' ').toStdString();
    }
}

TEST(DesktopProgram, WithoutADisplayItSaysSoAndPointsToTheCommandLineProgram)
{
    QTemporaryDir home, runtime;
    QProcessEnvironment env = cleanEnvironment(home.path(), runtime.path());
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program(), {});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 1);
    const QString text = QString::fromLocal8Bit(process.readAllStandardError());
    EXPECT_TRUE(text.contains(QStringLiteral("needs a display"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("quvolink-cli"))) << text.toStdString();
}

TEST(DesktopProgram, HelpAndVersion)
{
    QProcess process;
    process.start(program(), {QStringLiteral("--version")});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("quvolink 1."));
    process.start(program(), {QStringLiteral("--help")});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 0);
    const QByteArray help = process.readAllStandardOutput();
    EXPECT_TRUE(help.contains("--simulate"));
    EXPECT_TRUE(help.contains("--port"));
    EXPECT_TRUE(help.startsWith("Usage: quvolink [options] [FILE.csv...]\n")) << help.toStdString();
    EXPECT_FALSE(help.contains("<executable_name>"));
}

TEST(DesktopProgram, ASecondStartEndsBeforeAnyWindowAppears)
{
    QTemporaryDir home, runtime;
    const QProcessEnvironment env = cleanEnvironment(home.path(), runtime.path());
    QProcess first;
    first.setProcessEnvironment(env);
    first.start(program(), {QStringLiteral("--port"), QStringLiteral("/dev/null-meter")});
    ASSERT_TRUE(first.waitForStarted(20000));
    // The first copy holds the lock once its windows are up; it writes nothing to stdout.
    ASSERT_TRUE(test::waitFor([&] { return !QDir(runtime.path()).entryList({QStringLiteral("Quvolink*")}).isEmpty(); },
                              std::chrono::seconds(20)));

    QProcess second;
    second.setProcessEnvironment(env);
    second.start(program(), {});
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(second.readAllStandardError().isEmpty());
    EXPECT_EQ(first.state(), QProcess::Running);

    first.terminate();
    if (!first.waitForFinished(10000)) {
        first.kill();
        first.waitForFinished(5000);
    }
}
