// The quvolink-metersim program: first line is the device path, it answers there, it ends
// cleanly on SIGTERM and SIGINT, and refuses bad options with exit code 2.

#include "PtyClient.h"

#include "support/TestHelpers.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cctype>
#include <csignal>
#include <string>
#include <vector>

namespace quvo::sim::test {
namespace {

QString program()
{
    return quvo::test::builtProgram(QStringLiteral("tools/metersim/quvolink-metersim"));
}

// Starts the program and reads its first line; empty when none came.
QString startAndReadPath(QProcess& process, const QStringList& arguments)
{
    process.start(program(), arguments);
    if (!process.waitForStarted(10000))
        return {};
    if (!quvo::test::waitFor([&] { return process.canReadLine() || process.state() == QProcess::NotRunning; }))
        return {};
    return QString::fromLocal8Bit(process.readLine()).trimmed();
}

TEST(Program, PrintsTheDevicePathFirstAndAnswersThere)
{
    ASSERT_TRUE(QFileInfo(program()).isExecutable()) << program().toStdString();
    QProcess process;
    const QString path = startAndReadPath(process, {QStringLiteral("--model"), QStringLiteral("4"),
                                                    QStringLiteral("--no-echo")});
    ASSERT_FALSE(path.isEmpty()) << process.readAllStandardError().toStdString();
    EXPECT_TRUE(QFileInfo::exists(path)) << path.toStdString();

    PtyClient client;
    ASSERT_TRUE(client.open(path));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,4"))});
    EXPECT_EQ(client.ask(QStringLiteral("RN"), 1), QStringList{withCheck(QStringLiteral("RN,0010"))});

    process.terminate(); // SIGTERM
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
}

TEST(Program, RemovesItsLinkPathOnInterrupt)
{
    QTemporaryDir dir;
    const QString link = dir.filePath(QStringLiteral("meter"));
    QProcess process;
    const QString path = startAndReadPath(process, {QStringLiteral("--link"), link, QStringLiteral("--verbose")});
    ASSERT_EQ(path, link) << process.readAllStandardError().toStdString();
    ASSERT_TRUE(QFileInfo(link).isSymLink());

    PtyClient client;
    ASSERT_TRUE(client.open(link));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 2), (QStringList{QStringLiteral("RM"), QStringLiteral("RM,1C")}));
    client.close();

    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    // --verbose shows the command and what was sent for it.
    const QString log = QString::fromLocal8Bit(process.readAllStandardError());
    EXPECT_TRUE(log.contains(QStringLiteral("<- RM"))) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("-> RM\\r\\nRM,1C\\r\\n"))) << log.toStdString();
}

TEST(Program, ReplugsAfterADisconnectWhenAsked)
{
    QTemporaryDir dir;
    const QString link = dir.filePath(QStringLiteral("meter"));
    QProcess process;
    const QString path = startAndReadPath(process, {QStringLiteral("--link"), link, QStringLiteral("--no-echo"),
                                                    QStringLiteral("--disconnect-after"), QStringLiteral("1"),
                                                    QStringLiteral("--replug-after"), QStringLiteral("50")});
    ASSERT_EQ(path, link);
    PtyClient client;
    ASSERT_TRUE(client.open(link));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,1"))});
    EXPECT_TRUE(client.waitForHangup());
    // The new terminal's path comes as the next line, and the link points at it.
    ASSERT_TRUE(quvo::test::waitFor([&] { return process.canReadLine(); }));
    EXPECT_EQ(QString::fromLocal8Bit(process.readLine()).trimmed(), link);
    ASSERT_TRUE(client.open(link));
    EXPECT_EQ(client.ask(QStringLiteral("RI"), 1), QStringList{withCheck(QStringLiteral("RI,0005"))});
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitCode(), 0);
}

TEST(Program, HelpAndVersion)
{
    QProcess process;
    process.start(program(), {QStringLiteral("--help")});
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitCode(), 0);
    const QString help = QString::fromLocal8Bit(process.readAllStandardOutput());
    for (const char* option : {"--model", "--no-echo", "--logging-count", "--logging-interval", "--memory",
                               "--function", "--overload-every", "--silent", "--silent-for", "--delay", "--garble",
                               "--drop", "--bad-check", "--cmd-err", "--disconnect-after", "--pace", "--seed",
                               "--link", "--verbose", "Examples:"})
        EXPECT_TRUE(help.contains(QString::fromLatin1(option))) << option;

    process.start(program(), {QStringLiteral("--version")});
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("quvolink-metersim "));
}

class BadOption : public ::testing::TestWithParam<std::vector<const char*>> {};

TEST_P(BadOption, EndsWithExitCode2AndAMessage)
{
    QStringList arguments;
    for (const char* a : GetParam())
        arguments << QString::fromLatin1(a);
    QProcess process;
    process.start(program(), arguments);
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_TRUE(process.readAllStandardOutput().isEmpty()); // no device path: nothing was opened
    const QString message = QString::fromLocal8Bit(process.readAllStandardError());
    EXPECT_TRUE(message.startsWith(QStringLiteral("quvolink-metersim: "))) << message.toStdString();
}

std::string badOptionName(const ::testing::TestParamInfo<std::vector<const char*>>& info)
{
    std::string name = std::to_string(info.index);
    for (const char* a : info.param) {
        name += '_';
        for (const char* p = a; *p; ++p)
            name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : 'x';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(
    Options, BadOption,
    ::testing::Values(std::vector<const char*>{"--bogus"}, std::vector<const char*>{"--garble", "2"},
                      std::vector<const char*>{"--drop", "-0.1"}, std::vector<const char*>{"--bad-check", "x"},
                      std::vector<const char*>{"--model", "12"}, std::vector<const char*>{"--model", ""},
                      std::vector<const char*>{"--function", "XYZ"}, std::vector<const char*>{"--delay", "-5"},
                      std::vector<const char*>{"--logging-count", "100000"},
                      std::vector<const char*>{"--logging-interval", "abc"},
                      std::vector<const char*>{"--overload-every", "-1"}, std::vector<const char*>{"--seed", "x"},
                      std::vector<const char*>{"--disconnect-after", "1.5"},
                      std::vector<const char*>{"--silent-for", ","},
                      std::vector<const char*>{"--memory", "/nonexistent/memory.txt"},
                      std::vector<const char*>{"--model"}, std::vector<const char*>{"extra"}),
    badOptionName);

} // namespace
} // namespace quvo::sim::test
