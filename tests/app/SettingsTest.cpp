// Settings kept between runs: program folder and paths, the three-line settings file, the
// per-user store with the main window's placement, and the single-instance lock.

#include "acquisition/MoniterPosition.h"
#include "app/Settings.h"

#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace quvo;

namespace {


class SettingsFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(folder.isValid());
        programState().IniPath = settingsFilePath(folder.path());
    }
    void TearDown() override { resetProgramState(); }

    // Values that differ from every default, so that a reset is visible.
    static void dirtyValues()
    {
        programState().PortNumber = QStringLiteral("9");
        programState().ForwardFile = QStringLiteral("stale.xlsx");
        programState().ForwardTitle = QStringLiteral("stale");
    }

    QTemporaryDir folder;
};

class SettingsStoreTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        setSettingsStoreFolder(folder.path());
    }
    void TearDown() override { setSettingsStoreFolder(QString()); }

    QTemporaryDir folder;
};

} // namespace

// --- Program folder and paths -----------------------------------------------------------------

TEST(ProgramPaths, AFileIsAppendedWithExactlyOneSeparator)
{
    struct Row {
        QString folder, settings, work;
    } rows[] = {
        {QStringLiteral("C:\\"), QStringLiteral("C:\\QUVO.INI"), QStringLiteral("C:\\WORK.~~~")}, // a drive root
        {QStringLiteral("/tmp/x/"), QStringLiteral("/tmp/x/QUVO.INI"), QStringLiteral("/tmp/x/WORK.~~~")},
        {QStringLiteral("/tmp/x"), QStringLiteral("/tmp/x/QUVO.INI"), QStringLiteral("/tmp/x/WORK.~~~")},
        {QStringLiteral("/"), QStringLiteral("/QUVO.INI"), QStringLiteral("/WORK.~~~")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.folder.toStdString());
        EXPECT_EQ(settingsFilePath(row.folder), row.settings);
        EXPECT_EQ(workFilePath(row.folder), row.work);
        EXPECT_FALSE(settingsFilePath(row.folder).contains(QStringLiteral("//")));
        EXPECT_FALSE(settingsFilePath(row.folder).contains(QStringLiteral("\\\\")));
    }
}

TEST(ProgramPaths, TheFolderComesFromTheVariableThenAPortableInstallThenThePerUserFolder)
{
    EXPECT_EQ(chooseProgramFolder(QStringLiteral("/home/u/q"), QStringLiteral("/opt/q"), true, QStringLiteral("/data")),
              QStringLiteral("/home/u/q"));
    EXPECT_EQ(chooseProgramFolder(QStringLiteral("/home/u/q"), QStringLiteral("/opt/q"), false, QStringLiteral("/data")),
              QStringLiteral("/home/u/q"));
    EXPECT_EQ(chooseProgramFolder(QString(), QStringLiteral("/opt/q"), true, QStringLiteral("/data")),
              QStringLiteral("/opt/q"));
    EXPECT_EQ(chooseProgramFolder(QString(), QStringLiteral("/opt/q"), false, QStringLiteral("/data")),
              QStringLiteral("/data"));
}

TEST(ProgramPaths, TheHomeVariableNamesTheFolderOfBothFiles)
{
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const QByteArray previous = qgetenv(HomeEnvVar);
    const bool hadPrevious = qEnvironmentVariableIsSet(HomeEnvVar);
    qputenv(HomeEnvVar, QFile::encodeName(home.path()));
    EXPECT_EQ(programFolder(), home.path());
    resetProgramState();
    setupProgramPaths();
    EXPECT_EQ(programState().IniPath, home.path() + QStringLiteral("/QUVO.INI"));
    EXPECT_EQ(programState().WorkPath, home.path() + QStringLiteral("/WORK.~~~"));

    // Without it, the per-user folder (the test executable's folder holds no QUVO.INI).
    qunsetenv(HomeEnvVar);
    ASSERT_FALSE(QFile::exists(settingsFilePath(QCoreApplication::applicationDirPath())));
    EXPECT_EQ(programFolder(), perUserProgramFolder());
    if (hadPrevious)
        qputenv(HomeEnvVar, previous);
    resetProgramState();
}

TEST(ProgramPaths, APortableInstallIsAWritableFolderHoldingASettingsFile)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    EXPECT_FALSE(isPortableFolder(folder.path()));
    QFile settings(settingsFilePath(folder.path()));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.close();
    EXPECT_TRUE(isPortableFolder(folder.path()));
    EXPECT_FALSE(isPortableFolder(QString()));
}

TEST(ProgramPaths, ThePerUserFolderIsNamedAfterTheProgram)
{
    EXPECT_TRUE(perUserProgramFolder().endsWith(QStringLiteral("/Quvolink")));
}

// --- The settings file --------------------------------------------------------------------

TEST_F(SettingsFileTest, AMissingFileGivesTheDefaultsSilently)
{
    dirtyValues();
    ReadSettings();
    EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));
    EXPECT_EQ(programState().ForwardFile, QString());
    EXPECT_EQ(programState().ForwardTitle, QString());
}

TEST_F(SettingsFileTest, AFileOfFewerThanThreeLinesGivesTheDefaults)
{
    for (const QByteArray& content : {QByteArray(), QByteArray("4\r\n"), QByteArray("4\r\nbook.xlsx\r\n"),
                                      QByteArray("4\nbook.xlsx\n")}) {
        SCOPED_TRACE(content.toStdString());
        test::writeFileBytes(programState().IniPath, content);
        dirtyValues();
        ReadSettings();
        EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));
        EXPECT_EQ(programState().ForwardFile, QString());
        EXPECT_EQ(programState().ForwardTitle, QString());
    }
}

TEST_F(SettingsFileTest, ThreeLinesAreReadWithAnyLineEnd)
{
    struct Row {
        QByteArray content;
        QString port, file, title;
    } rows[] = {
        {"4\r\n/home/u/book.xlsx\r\nVolts\r\n", QStringLiteral("4"), QStringLiteral("/home/u/book.xlsx"), QStringLiteral("Volts")},
        {"4\n/home/u/book.xlsx\nVolts\n", QStringLiteral("4"), QStringLiteral("/home/u/book.xlsx"), QStringLiteral("Volts")},
        {"4\r/home/u/book.xlsx\rVolts\r", QStringLiteral("4"), QStringLiteral("/home/u/book.xlsx"), QStringLiteral("Volts")},
        {"4\r\nbook.xlsx\r\nVolts", QStringLiteral("4"), QStringLiteral("book.xlsx"), QStringLiteral("Volts")}, // no last end
        {"/dev/ttyUSB0\r\n\r\n\r\n", QStringLiteral("/dev/ttyUSB0"), QString(), QString()},                    // empty lines
        {"12\r\na\r\nb\r\nextra\r\n", QStringLiteral("12"), QStringLiteral("a"), QStringLiteral("b")},          // the rest is ignored
        {"3\r\nMessungen \xc3\xa4\r\nTitel \xc3\xbc\r\n", QStringLiteral("3"), QStringLiteral("Messungen \u00e4"), QStringLiteral("Titel \u00fc")},
        // Byte-order marks at the start, one or two, belong to no line; elsewhere they are text.
        {"\xef\xbb\xbf" "5\r\na\r\nb\r\n", QStringLiteral("5"), QStringLiteral("a"), QStringLiteral("b")},
        {"\xef\xbb\xbf\xef\xbb\xbf" "++\n\n\n", QStringLiteral("++"), QString(), QString()},
        {"5\r\n\xef\xbb\xbf" "a\r\nb\r\n", QStringLiteral("5"), QStringLiteral("\ufeffa"), QStringLiteral("b")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.content.toStdString());
        test::writeFileBytes(programState().IniPath, row.content);
        dirtyValues();
        ReadSettings();
        EXPECT_EQ(programState().PortNumber, row.port);
        EXPECT_EQ(programState().ForwardFile, row.file);
        EXPECT_EQ(programState().ForwardTitle, row.title);
    }
}

TEST_F(SettingsFileTest, WritesExactlyThreeLinesEndedByCrLf)
{
    programState().PortNumber = QStringLiteral("3");
    programState().ForwardFile = QStringLiteral("/home/u/Messungen \u00e4.xlsx");
    programState().ForwardTitle = QStringLiteral("Volts");
    WriteSettings();
    EXPECT_EQ(test::fileBytes(programState().IniPath), QByteArray("3\r\n/home/u/Messungen \xc3\xa4.xlsx\r\nVolts\r\n"));
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));

    // Empty values are empty lines; what is written reads back the same.
    programState().ForwardFile.clear();
    programState().ForwardTitle.clear();
    WriteSettings();
    EXPECT_EQ(test::fileBytes(programState().IniPath), QByteArray("3\r\n\r\n\r\n"));
    dirtyValues();
    ReadSettings();
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));
    EXPECT_EQ(programState().ForwardFile, QString());
}

TEST_F(SettingsFileTest, PortNumbersOutsideOneToSixteenAreAcceptedWrittenBackAndThenReset)
{
    for (const QByteArray& port : {QByteArray("0"), QByteArray("17")}) {
        SCOPED_TRACE(port.toStdString());
        const QByteArray content = port + "\r\nbook.xlsx\r\nTitle\r\n";
        test::writeFileBytes(programState().IniPath, content);
        ReadSettings();
        EXPECT_EQ(programState().PortNumber, QString::fromLatin1(port)); // accepted at start
        WriteSettings();
        EXPECT_EQ(test::fileBytes(programState().IniPath), content);           // written as it was
        EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));       // and only then reset
    }
}

TEST_F(SettingsFileTest, PortNumbersInRangeAndDeviceNamesAreKept)
{
    for (const QString& port : {QStringLiteral("1"), QStringLiteral("16"), QStringLiteral("/dev/ttyUSB0"),
                                QStringLiteral("COM17"), QStringLiteral("/dev/pts/4")}) {
        SCOPED_TRACE(port.toStdString());
        programState().PortNumber = port;
        WriteSettings();
        EXPECT_EQ(programState().PortNumber, port);
        EXPECT_TRUE(test::fileBytes(programState().IniPath).startsWith((port + QStringLiteral("\r\n")).toUtf8()));
    }
}

TEST(PortNumberRange, OnlyNumbersOutsideOneToSixteenAreOutOfRange)
{
    EXPECT_TRUE(isPortNumberOutOfRange(QStringLiteral("0")));
    EXPECT_TRUE(isPortNumberOutOfRange(QStringLiteral("17")));
    EXPECT_TRUE(isPortNumberOutOfRange(QStringLiteral("-3")));
    EXPECT_TRUE(isPortNumberOutOfRange(QStringLiteral("0.5")));
    EXPECT_TRUE(isPortNumberOutOfRange(QStringLiteral("16.5")));
    EXPECT_FALSE(isPortNumberOutOfRange(QStringLiteral("1")));
    EXPECT_FALSE(isPortNumberOutOfRange(QStringLiteral("16")));
    EXPECT_FALSE(isPortNumberOutOfRange(QStringLiteral(" 7 ")));
    EXPECT_FALSE(isPortNumberOutOfRange(QStringLiteral("/dev/ttyUSB0")));
    EXPECT_FALSE(isPortNumberOutOfRange(QStringLiteral("COM17")));
    EXPECT_FALSE(isPortNumberOutOfRange(QString()));
}

TEST_F(SettingsFileTest, TheFileIsReplacedWholeNeverRewrittenInPlace)
{
    test::writeFileBytes(programState().IniPath, "5\r\nold.xlsx\r\nOld\r\n");
    struct stat before {};
    ASSERT_EQ(::stat(QFile::encodeName(programState().IniPath).constData(), &before), 0);

    programState().PortNumber = QStringLiteral("6");
    programState().ForwardFile = QStringLiteral("new.xlsx");
    programState().ForwardTitle = QStringLiteral("New");
    WriteSettings();

    // A complete new file took the old one's name: a different file, nothing else left over.
    struct stat after {};
    ASSERT_EQ(::stat(QFile::encodeName(programState().IniPath).constData(), &after), 0);
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(test::fileBytes(programState().IniPath), QByteArray("6\r\nnew.xlsx\r\nNew\r\n"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("QUVO.INI")});
}

TEST_F(SettingsFileTest, AnUnwritableFolderIsSilent)
{
    programState().IniPath = folder.filePath(QStringLiteral("missing/QUVO.INI"));
    programState().PortNumber = QStringLiteral("17");
    WriteSettings(); // nothing thrown, nothing shown
    EXPECT_FALSE(QFile::exists(programState().IniPath));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
}

// --- The per-user store ---------------------------------------------------------------------

TEST(MainPlacement, WhatIsWrittenDependsOnTheWindowState)
{
    const Placement current{100, 200, 3000, 4000};
    const Placement normal{1500, 1600, 9000, 7000};

    const MainPlacementRecord normalRecord = mainPlacementToWrite(WindowState::Normal, current, normal);
    EXPECT_EQ(normalRecord.MainState, std::optional<QString>(QStringLiteral("0")));
    EXPECT_EQ(normalRecord.MainLeft, QStringLiteral("100"));
    EXPECT_EQ(normalRecord.MainTop, QStringLiteral("200"));
    EXPECT_EQ(normalRecord.MainWidth, QStringLiteral("3000"));
    EXPECT_EQ(normalRecord.MainHeight, QStringLiteral("4000"));

    const MainPlacementRecord maximised = mainPlacementToWrite(WindowState::Maximised, current, normal);
    EXPECT_EQ(maximised.MainState, std::optional<QString>(QStringLiteral("2")));
    EXPECT_EQ(maximised.MainLeft, QStringLiteral("1500"));
    EXPECT_EQ(maximised.MainTop, QStringLiteral("1600"));
    EXPECT_EQ(maximised.MainWidth, QStringLiteral("9000"));
    EXPECT_EQ(maximised.MainHeight, QStringLiteral("7000"));

    const MainPlacementRecord minimised = mainPlacementToWrite(WindowState::Minimised, current, normal);
    EXPECT_FALSE(minimised.MainState.has_value());
    EXPECT_EQ(minimised.MainLeft, QStringLiteral("1500"));
    EXPECT_EQ(minimised.MainHeight, QStringLiteral("7000"));
}

TEST_F(SettingsStoreTest, NothingStoredGivesTheDefaults)
{
    const StoredMainPlacement p = readMainPlacement();
    EXPECT_EQ(p.left, std::optional<float>(1000));
    EXPECT_EQ(p.top, std::optional<float>(1000));
    EXPECT_EQ(p.width, std::optional<float>(10000));
    EXPECT_EQ(p.height, std::optional<float>(6500));
    EXPECT_EQ(p.state, std::optional<WindowState>(WindowState::Normal));
    const StoredPosition m = readMoniterPosition();
    EXPECT_EQ(m.left, std::optional<float>(0));
    EXPECT_EQ(m.top, std::optional<float>(0));
}

TEST_F(SettingsStoreTest, ValuesAreKeptAsTextOfSinglePrecisionNumbers)
{
    writeMainPlacement(mainPlacementToWrite(WindowState::Normal, Placement{1234.5f, 0.1f, 10005, 6499.25f}, Placement{}));
    writeMoniterPosition(720, 0.1f);
    {
        auto store = openSettingsStore();
        EXPECT_EQ(store->value(Keys::MainLeft).toString(), QStringLiteral("1234.5"));
        EXPECT_EQ(store->value(Keys::MainTop).toString(), QStringLiteral("0.1"));
        EXPECT_EQ(store->value(Keys::MainWidth).toString(), QStringLiteral("10005"));
        EXPECT_EQ(store->value(Keys::MainHeight).toString(), QStringLiteral("6499.25"));
        EXPECT_EQ(store->value(Keys::MainState).toString(), QStringLiteral("0"));
        EXPECT_EQ(store->value(Keys::MoniterLeft).toString(), QStringLiteral("720"));
        EXPECT_EQ(store->value(Keys::MoniterTop).toString(), QStringLiteral("0.1"));
    }
    const StoredMainPlacement p = readMainPlacement();
    EXPECT_EQ(p.left, std::optional<float>(1234.5f));
    EXPECT_EQ(p.top, std::optional<float>(0.1f));
    EXPECT_EQ(p.height, std::optional<float>(6499.25f));
    EXPECT_EQ(readMoniterPosition().left, std::optional<float>(720));

    // Kept under the application's name, in the section "Settings".
    QSettings raw(folder.filePath(QStringLiteral("Quvolink/Quvolink.ini")), QSettings::IniFormat);
    EXPECT_EQ(raw.value(QStringLiteral("Settings/MainLeft")).toString(), QStringLiteral("1234.5"));
    EXPECT_EQ(raw.value(QStringLiteral("Settings/MoniterTop")).toString(), QStringLiteral("0.1"));
}

TEST_F(SettingsStoreTest, AValueThatIsNotANumberIsIgnored)
{
    {
        auto store = openSettingsStore();
        store->setValue(Keys::MainLeft, QStringLiteral("left"));
        store->setValue(Keys::MainTop, QStringLiteral("250"));
        store->setValue(Keys::MainState, QStringLiteral("big"));
        store->setValue(Keys::MoniterLeft, QStringLiteral(""));
    }
    const StoredMainPlacement p = readMainPlacement();
    EXPECT_FALSE(p.left.has_value());
    EXPECT_EQ(p.top, std::optional<float>(250));
    EXPECT_EQ(p.width, std::optional<float>(10000)); // absent: its default
    EXPECT_FALSE(p.state.has_value());
    EXPECT_FALSE(readMoniterPosition().left.has_value());
    EXPECT_EQ(readMoniterPosition().top, std::optional<float>(0));

    for (const QString& state : {QStringLiteral("3"), QStringLiteral("-1"), QStringLiteral("40000")}) {
        openSettingsStore()->setValue(Keys::MainState, state);
        EXPECT_FALSE(readMainPlacement().state.has_value()) << state.toStdString();
    }
    openSettingsStore()->setValue(Keys::MainState, QStringLiteral("1"));
    EXPECT_EQ(readMainPlacement().state, std::optional<WindowState>(WindowState::Minimised));
}

TEST_F(SettingsStoreTest, ClosingMinimisedKeepsTheStateOfThePreviousExit)
{
    const Placement normal{1500, 1600, 9000, 7000};
    // Last closed maximised ...
    writeMainPlacement(mainPlacementToWrite(WindowState::Maximised, Placement{0, 0, 19200, 10800}, normal));
    EXPECT_EQ(readMainPlacement().state, std::optional<WindowState>(WindowState::Maximised));
    // ... then minimised: it opens maximised again, at the last normal placement.
    const Placement movedNormal{1700, 1800, 9100, 7100};
    writeMainPlacement(mainPlacementToWrite(WindowState::Minimised, Placement{-32000, -32000, 2880, 540}, movedNormal));
    const StoredMainPlacement p = readMainPlacement();
    EXPECT_EQ(p.state, std::optional<WindowState>(WindowState::Maximised));
    EXPECT_EQ(p.left, std::optional<float>(1700));
    EXPECT_EQ(p.top, std::optional<float>(1800));
    EXPECT_EQ(p.width, std::optional<float>(9100));
    EXPECT_EQ(p.height, std::optional<float>(7100));

    // Closed normal: state 0 and the current placement.
    writeMainPlacement(mainPlacementToWrite(WindowState::Normal, Placement{10, 20, 3000, 4000}, movedNormal));
    EXPECT_EQ(readMainPlacement().state, std::optional<WindowState>(WindowState::Normal));
    EXPECT_EQ(readMainPlacement().left, std::optional<float>(10));
}

// --- Single instance ----------------------------------------------------------------------

namespace {

int runProbe(const QString& lockPath, const QString& mode)
{
    QProcess probe;
    probe.start(test::builtProgram(QStringLiteral("tests/app/single_instance_probe")), {lockPath, mode});
    if (!probe.waitForFinished(60000))
        return -1;
    return probe.exitStatus() == QProcess::NormalExit ? probe.exitCode() : -2;
}

} // namespace

TEST(SingleInstance, ASecondStartIsRefusedWhileTheFirstRuns)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString lockPath = folder.filePath(QStringLiteral("Quvolink.lock"));

    EXPECT_EQ(runProbe(lockPath, QStringLiteral("try")), 0); // nobody runs: it may start
    ASSERT_TRUE(acquireSingleInstance(lockPath));
    EXPECT_EQ(runProbe(lockPath, QStringLiteral("try")), 1); // refused
    EXPECT_EQ(runProbe(lockPath, QStringLiteral("try")), 1);
    releaseSingleInstance();
    EXPECT_EQ(runProbe(lockPath, QStringLiteral("try")), 0); // after the first ended
}

TEST(SingleInstance, ALockLeftByAProgramThatDiedIsTakenOver)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString lockPath = folder.filePath(QStringLiteral("Quvolink.lock"));

    QProcess holder;
    holder.start(test::builtProgram(QStringLiteral("tests/app/single_instance_probe")), {lockPath, QStringLiteral("hold")});
    ASSERT_TRUE(holder.waitForStarted(60000));
    ASSERT_TRUE(test::waitFor([&] { return holder.canReadLine() || holder.state() == QProcess::NotRunning; },
                              std::chrono::seconds(60)));
    ASSERT_EQ(holder.readLine().trimmed(), QByteArray("held"));

    EXPECT_FALSE(acquireSingleInstance(lockPath)); // it runs: refused
    holder.kill();                                 // dies without removing its lock
    ASSERT_TRUE(holder.waitForFinished(60000));
    EXPECT_TRUE(QFile::exists(lockPath));
    EXPECT_TRUE(acquireSingleInstance(lockPath));  // stale: taken over
    releaseSingleInstance();
    EXPECT_FALSE(QFile::exists(lockPath));
}

TEST(SingleInstance, TheLockLivesInTheUsersRuntimeFolder)
{
    QTemporaryDir runtime; // private to the user, as the runtime folder must be
    ASSERT_TRUE(runtime.isValid());
    const QByteArray previous = qgetenv("XDG_RUNTIME_DIR");
    const bool hadPrevious = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    EXPECT_EQ(singleInstanceLockPath(), runtime.path() + QStringLiteral("/Quvolink.lock"));
    if (hadPrevious)
        qputenv("XDG_RUNTIME_DIR", previous);
    else
        qunsetenv("XDG_RUNTIME_DIR");
}
