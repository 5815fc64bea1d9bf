// Inputs from outside stay bounded: a serial device that babbles (without line ends, or
// with valid lines far faster than the program takes them) for seconds, a data file of a
// hundred megabytes without a line end, a settings file or a recording journal of any size,
// and workbooks built to explode when they are unpacked or parsed. Nothing may make the
// program hold more than its limits, and each is refused with a clear message or handled by
// the rules (an "ERROR" reading).

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "acquisition/RecordingJournal.h"
#include "app/Settings.h"
#include "document/DataDocument.h"
#include "document/DataFile.h"
#include "forward/XlsxPackage.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include "SaveWriters.h"
#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <zip.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using namespace quvo;
using namespace std::chrono_literals;

namespace {

// The most memory this process has held so far (its peak resident size), in bytes.
qint64 peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<qint64>(usage.ru_maxrss) * 1024;
}

void recordResult(const QString& name, const QString& text)
{
    const QString folder = QStringLiteral(QUVO_FAULT_RESULTS);
    QDir().mkpath(folder);
    QFile f(QDir(folder).filePath(name));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(text.toUtf8() + '\n');
}

// --- A babbling serial device ----------------------------------------------------------------

// The far end of a pseudo-terminal that sends a pattern over and over, from a thread of its
// own, at a given rate, whatever the program writes.
class Babbler {
public:
    ~Babbler() { stop(); closeTerminal(); }

    bool open()
    {
        if (::openpty(&m_master, &m_slave, nullptr, nullptr, nullptr) != 0)
            return false;
        char name[256] = {};
        if (::ttyname_r(m_slave, name, sizeof name) != 0)
            return false;
        termios tio{};
        ::tcgetattr(m_slave, &tio);
        ::cfmakeraw(&tio);
        ::tcsetattr(m_slave, TCSANOW, &tio);
        ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
        m_path = QString::fromLocal8Bit(name);
        return true;
    }
    QString path() const { return m_path; }

    void start(QByteArray pattern, int bytesPerSecond)
    {
        m_run = true;
        m_thread = std::thread([this, pattern = std::move(pattern), bytesPerSecond] {
            constexpr auto Slice = 10ms;
            const qsizetype perSlice = std::max<qsizetype>(1, bytesPerSecond / 100);
            QByteArray chunk;
            while (chunk.size() < perSlice)
                chunk += pattern;
            chunk.truncate(perSlice - perSlice % pattern.size() + (perSlice % pattern.size() ? pattern.size() : 0));
            qsizetype at = 0;
            while (m_run) {
                // Whatever the program writes is read and thrown away.
                char sink[4096];
                while (::read(m_master, sink, sizeof sink) > 0) {
                }
                qsizetype left = chunk.size();
                while (left > 0 && m_run) {
                    const ssize_t n = ::write(m_master, chunk.constData() + at, static_cast<size_t>(std::min(left, chunk.size() - at)));
                    if (n <= 0)
                        break; // the terminal is full: the program is not reading
                    m_sent += n;
                    left -= n;
                    at = (at + n) % chunk.size();
                }
                std::this_thread::sleep_for(Slice);
            }
        });
    }
    void stop()
    {
        m_run = false;
        if (m_thread.joinable())
            m_thread.join();
    }
    qint64 sent() const { return m_sent; }

private:
    void closeTerminal()
    {
        if (m_master >= 0)
            ::close(m_master);
        if (m_slave >= 0)
            ::close(m_slave);
        m_master = m_slave = -1;
    }

    int m_master = -1;
    int m_slave = -1;
    QString m_path;
    std::thread m_thread;
    std::atomic<bool> m_run{false};
    std::atomic<qint64> m_sent{0};
};

class KeptAnswers : public MonitorSink {
public:
    QStringList answers;
    void SetData(const QString& answer) override { answers.append(answer); }
};

// Watches the receive buffer and the port's own buffer while an operation runs.
class BufferWatch {
public:
    explicit BufferWatch(const Comm& comm) : m_comm(comm)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { look(); });
        m_timer.start(5);
    }
    void look()
    {
        m_maxRecv = std::max<qsizetype>(m_maxRecv, programState().RecvBuffer.size());
        m_maxWaiting = std::max<qint64>(m_maxWaiting, m_comm.bytesWaiting());
    }
    qsizetype maxRecvBuffer() const { return m_maxRecv; }
    qint64 maxWaiting() const { return m_maxWaiting; }

private:
    const Comm& m_comm;
    QTimer m_timer;
    qsizetype m_maxRecv = 0;
    qint64 m_maxWaiting = 0;
};

// A line the meter might send, with its check character.
QByteArray readingLine()
{
    const QString body = QStringLiteral("RR,N,+01.234 VDC");
    return (body + sim::checkCharacter(body)).toLatin1() + "\r\n";
}

// Far more than a meter at 9600 baud sends (960 characters a second).
constexpr int BabbleRate = 400 * 1024;
// The port's own buffer may hold what arrives while one tick works; far below this.
constexpr qint64 PortBufferBound = 8 * 1024 * 1024;

class BabblingDevice : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(babbler.open());
        comm.setCommPort(babbler.path());
        comm.setAnswerTimeoutMs(400);
        host.setMonitor(&monitor);
    }
    void TearDown() override
    {
        babbler.stop();
        comm.closePort();
        resetProgramState();
    }

    void expectBounded(const BufferWatch& watch, const QString& name)
    {
        EXPECT_LE(watch.maxRecvBuffer(), RecvBufferLimit);
        EXPECT_LT(watch.maxWaiting(), PortBufferBound);
        EXPECT_GT(babbler.sent(), 4 * RecvBufferLimit) << "the device did not babble";
        recordResult(name + QStringLiteral(".txt"),
                     QStringLiteral("%1 bytes sent; largest RecvBuffer %2 characters (limit %3); largest port buffer %4 bytes")
                         .arg(babbler.sent())
                         .arg(watch.maxRecvBuffer())
                         .arg(RecvBufferLimit)
                         .arg(watch.maxWaiting()));
        EXPECT_EQ(programState().CommState, CommStates::Idle);
        EXPECT_FALSE(comm.PortOpen());
    }

    Babbler babbler;
    HeadlessHost host;
    KeptAnswers monitor;
    Comm comm{&host.prompter()};
    Realtime realtime{comm, host};
};

TEST_F(BabblingDevice, MonitorModeOnTextWithoutLineEnds)
{
    babbler.start(QByteArray("0123456789ABCDEF"), BabbleRate);
    BufferWatch watch(comm);
    realtime.mnuMoniterStart();
    ASSERT_TRUE(test::waitFor([&] { return monitor.answers.size() >= 4; }, 15s));
    realtime.mnuMoniterStop();
    ASSERT_TRUE(test::waitFor([] { return programState().CommState == CommStates::Idle; }, 10s));
    watch.look();
    // No answer line ever came: every second shows "ERROR".
    for (const QString& answer : monitor.answers)
        EXPECT_EQ(MonitorText(answer), ErrorReading) << answer.left(40).toStdString();
    EXPECT_EQ(host.messages(), QStringList());
    expectBounded(watch, QStringLiteral("babble-monitor-no-line-ends"));
}

TEST_F(BabblingDevice, RecordingOnEndlessValidLines)
{
    babbler.start(readingLine(), BabbleRate);
    BufferWatch watch(comm);
    DataDocument* doc = host.newDocument(DataKinds::Realtime);
    doc->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    doc->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("04"));
    realtime.mnuRealtimeStart();
    ASSERT_TRUE(test::waitFor([] { return programState().CommState == CommStates::Idle; }, 20s));
    watch.look();
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
    // One row a second: the last whole line of the buffer, or "ERROR" when the buffer ended
    // in the middle of a line at that moment.
    ASSERT_EQ(doc->GetDatacount(), 5);
    for (int row = 1; row <= 5; ++row) {
        const QString value = doc->TextMatrix(row, 2);
        EXPECT_TRUE(value == QStringLiteral("1.234") || value == ErrorReading) << value.toStdString();
    }
    EXPECT_EQ(host.messages(), QStringList());
    expectBounded(watch, QStringLiteral("babble-recording-valid-lines"));
}

TEST_F(BabblingDevice, DownloadOnTextWithoutLineEnds)
{
    babbler.start(QByteArray("0123456789ABCDEF"), BabbleRate);
    BufferWatch watch(comm);
    Download download(comm, host);
    download.mnuDataLoging();
    watch.look();
    // Every answer is cut off at the limit and is no answer: the model's cannot be read.
    EXPECT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(host.messages(), QStringList{ResID(Res::DataError)});
    expectBounded(watch, QStringLiteral("babble-download-no-line-ends"));
}

// --- Data files ------------------------------------------------------------------------------

class RecordingPrompter : public Prompter {
public:
    QStringList texts;
    PromptAnswer message(const QString& text, PromptButtons, PromptIcon, PromptAnswer answer) override
    {
        texts << text;
        return answer;
    }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

TEST(HugeDataFile, AHundredMegabytesWithoutALineEndIsRefusedAtOnce)
{
    resetProgramState();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    programState().WorkPath = dir.filePath(WorkFileName);
    const QString path = dir.filePath(QStringLiteral("huge.CSV"));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        const QByteArray block(1024 * 1024, '7');
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(f.write(block), block.size());
    }
    const qint64 before = peakMemory();
    RecordingPrompter prompter;
    DataDocument doc;
    doc.setPrompter(&prompter);
    doc.OpenNew(DataDocument::KindBeforeOpen);
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(doc.OpenFile(path));
    const qint64 ms = clock.elapsed();
    const qint64 grown = peakMemory() - before;
    ASSERT_EQ(prompter.texts.size(), 1);
    EXPECT_EQ(prompter.texts[0], QStringLiteral("Line 1 is longer than %1 characters.\r\n%2").arg(DataFileMaxLineLength).arg(path));
    EXPECT_FALSE(QFile::exists(programState().WorkPath));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("huge.CSV")});
    // The file is never held: far less than its size.
    EXPECT_LT(grown, 16 * 1024 * 1024) << grown;
    recordResult(QStringLiteral("huge-data-file.txt"),
                 QStringLiteral("100 MiB without a line end: refused after %1 ms, peak memory grew by %2 KiB")
                     .arg(ms)
                     .arg(grown / 1024));
    resetProgramState();
}

TEST(HugeDataFile, AnOverlongLineAfterGoodLinesIsRefusedWithItsNumber)
{
    resetProgramState();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    programState().WorkPath = dir.filePath(WorkFileName);
    const QString path = dir.filePath(QStringLiteral("long.CSV"));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("21,0\r\n9000,6000,0\r\n00,00,00,01\r\nTrue,00,00,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n");
        f.write("12:00:00,1.5,VDC,1.5\r\n");
        const QByteArray block(1024 * 1024, ',');
        for (int i = 0; i < 20; ++i)
            f.write(block);
    }
    RecordingPrompter prompter;
    DataDocument doc;
    doc.setPrompter(&prompter);
    doc.OpenNew(DataDocument::KindBeforeOpen);
    EXPECT_FALSE(doc.OpenFile(path));
    ASSERT_EQ(prompter.texts.size(), 1);
    EXPECT_EQ(prompter.texts[0], QStringLiteral("Line 9 is longer than %1 characters.\r\n%2").arg(DataFileMaxLineLength).arg(path));
    EXPECT_EQ(doc.GetDatacount(), 0); // nothing of the file is shown
    resetProgramState();
}

// --- Settings file and recording journals ---------------------------------------------------------

TEST(HugeProgramFiles, ASettingsFileOfAnySizeIsReadOnlyAsFarAsItsThreeLines)
{
    resetProgramState();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    programState().IniPath = dir.filePath(QStringLiteral("QUVO.INI"));
    {
        QFile f(programState().IniPath);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("3\r\nbook.xlsx\r\nTitle\r\n");
        const QByteArray block(1024 * 1024, 'z');
        for (int i = 0; i < 50; ++i)
            f.write(block);
    }
    const qint64 before = peakMemory();
    ReadSettings();
    EXPECT_LT(peakMemory() - before, 16 * 1024 * 1024);
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));
    EXPECT_EQ(programState().ForwardFile, QStringLiteral("book.xlsx"));
    EXPECT_EQ(programState().ForwardTitle, QStringLiteral("Title"));
    resetProgramState();
}

TEST(HugeProgramFiles, AJournalTooLargeToBeOneIsNotRead)
{
    resetProgramState();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QString error;
    {
        auto journal = RecordingJournal::create(dir.path(), &error);
        ASSERT_TRUE(journal) << error.toStdString();
        QFile f(journal->path());
        ASSERT_TRUE(f.open(QIODevice::Append));
        f.resize(100LL * 1024 * 1024); // a sparse file: no disk space needed
    }
    auto journals = RecordingJournal::takeLeftovers(dir.path());
    ASSERT_EQ(journals.size(), 1u);
    const qint64 before = peakMemory();
    EXPECT_FALSE(journals.front()->read(&error).has_value());
    EXPECT_LT(peakMemory() - before, 16 * 1024 * 1024);
    EXPECT_TRUE(error.contains(QLatin1String("too large"))) << error.toStdString();
    journals.front()->remove();
    resetProgramState();
}

// --- Workbooks to add a sheet to ------------------------------------------------------------------

class HostileWorkbook : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_dir.isValid());
        qputenv(HomeEnvVar, QFile::encodeName(m_dir.path()));
        const QString input = m_dir.filePath(QStringLiteral("input"));
        ASSERT_TRUE(QDir().mkpath(input));
        m_csv = input + QStringLiteral("/readings.CSV");
        QString error;
        ASSERT_EQ(faults::saveDataFile(input, m_csv, 6, error), 0) << error.toStdString();
        freshBook();
    }

    void freshBook()
    {
        m_book = m_dir.filePath(QStringLiteral("book.xlsx"));
        QFile::remove(m_book);
        ASSERT_EQ(faults::forwardToWorkbook({m_csv, QStringLiteral("--xlsx"), m_book}), 0);
    }
    void TearDown() override
    {
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    // Adds (or replaces) an entry of the workbook, compressed at the highest level.
    void putEntry(const QString& name, const QByteArray& bytes)
    {
        int error = 0;
        zip_t* zip = zip_open(QFile::encodeName(m_book).constData(), 0, &error);
        ASSERT_NE(zip, nullptr) << error;
        zip_source_t* source = zip_source_buffer(zip, bytes.constData(), static_cast<zip_uint64_t>(bytes.size()), 0);
        ASSERT_NE(source, nullptr);
        const zip_int64_t index = zip_file_add(zip, name.toUtf8().constData(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8);
        ASSERT_GE(index, 0) << zip_strerror(zip);
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 9);
        ASSERT_EQ(zip_close(zip), 0) << zip_strerror(zip);
    }

    QByteArray entry(const QString& name)
    {
        int error = 0;
        zip_t* zip = zip_open(QFile::encodeName(m_book).constData(), ZIP_RDONLY, &error);
        if (!zip)
            return {};
        zip_stat_t st;
        zip_stat_init(&st);
        QByteArray bytes;
        if (zip_stat(zip, name.toUtf8().constData(), 0, &st) == 0) {
            bytes.resize(static_cast<qsizetype>(st.size));
            zip_file_t* f = zip_fopen(zip, name.toUtf8().constData(), 0);
            if (f) {
                zip_fread(f, bytes.data(), st.size);
                zip_fclose(f);
            }
        }
        zip_discard(zip);
        return bytes;
    }

    // Adding a sheet is refused with a message containing `reason`; the file stays as it was
    // and the program never held much more than the limits allow.
    void expectRefused(const QString& reason, qint64 memoryBound = 64LL * 1024 * 1024)
    {
        const QByteArray bytes = test::fileBytes(m_book);
        const qint64 before = peakMemory();
        try {
            xlsx::inspectWorkbookFile(m_book);
            ADD_FAILURE() << "the workbook was accepted";
        } catch (const RuntimeError& e) {
            EXPECT_TRUE(e.description().contains(reason)) << e.description().toStdString();
        }
        EXPECT_NE(faults::forwardToWorkbook({m_csv, QStringLiteral("--into"), m_book}), 0);
        EXPECT_LT(peakMemory() - before, memoryBound);
        EXPECT_EQ(test::fileBytes(m_book), bytes);
        EXPECT_EQ(test::folderEntries(m_dir.path()),
                  (QStringList{QStringLiteral("book.xlsx"), QStringLiteral("input")}));
    }

    QTemporaryDir m_dir;
    QString m_csv;
    QString m_book;
};

TEST_F(HostileWorkbook, EntryWithAnAbsolutePath)
{
    putEntry(QStringLiteral("/etc/evil.txt"), "outside");
    expectRefused(QStringLiteral("unsafe name (\"/etc/evil.txt\")"));
}

TEST_F(HostileWorkbook, EntryClimbingOutOfItsFolder)
{
    putEntry(QStringLiteral("xl/../../evil.txt"), "outside");
    expectRefused(QStringLiteral("unsafe name (\"xl/../../evil.txt\")"));
}

TEST_F(HostileWorkbook, EntryWithBackslashes)
{
    putEntry(QStringLiteral("..\\..\\evil.txt"), "outside");
    expectRefused(QStringLiteral("unsafe name"));
}

TEST_F(HostileWorkbook, EntryWithADriveLetter)
{
    putEntry(QStringLiteral("C:/evil.txt"), "outside");
    expectRefused(QStringLiteral("unsafe name"));
}

TEST_F(HostileWorkbook, TooManyEntries)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(m_book).constData(), 0, &error);
    ASSERT_NE(zip, nullptr);
    for (int i = 0; i < 10001; ++i) {
        zip_source_t* source = zip_source_buffer(zip, "x", 1, 0);
        ASSERT_GE(zip_file_add(zip, QStringLiteral("xl/media/e%1.bin").arg(i).toUtf8().constData(), source, 0), 0);
    }
    ASSERT_EQ(zip_close(zip), 0);
    expectRefused(QStringLiteral("entries, more than the 10000 this program reads"));
}

// A part the graft parses, inflated from a few hundred kilobytes to 150 MB of blanks: a
// compression bomb within the size limits of a whole entry. Made by another process, which
// streams the blanks into the archive, so that this process's peak memory says what the
// program itself held.
TEST_F(HostileWorkbook, CompressionBombInAPartThatIsParsed)
{
    const QString script = QStringLiteral(
        "import sys, zipfile\n"
        "src, dst = sys.argv[1], sys.argv[2]\n"
        "with zipfile.ZipFile(src) as zin, zipfile.ZipFile(dst, 'w', zipfile.ZIP_DEFLATED, compresslevel=9) as zout:\n"
        "    for item in zin.infolist():\n"
        "        data = zin.read(item.filename)\n"
        "        if item.filename == 'xl/styles.xml':\n"
        "            close = data.rindex(b'</styleSheet>')\n"
        "            with zout.open(item.filename, 'w') as w:\n"
        "                w.write(data[:close])\n"
        "                for i in range(150):\n"
        "                    w.write(b' ' * 1048576)\n"
        "                w.write(data[close:])\n"
        "        else:\n"
        "            zout.writestr(item, data)\n");
    const QString bomb = m_dir.filePath(QStringLiteral("bomb.xlsx"));
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), script, m_book, bomb});
    ASSERT_TRUE(python.waitForFinished(120000));
    ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    ASSERT_LT(QFileInfo(bomb).size(), 2 * 1024 * 1024); // small on the disk
    ASSERT_TRUE(QFile::remove(m_book));
    ASSERT_TRUE(QFile::rename(bomb, m_book));
    expectRefused(QStringLiteral("has a part xl/styles.xml of 150 MB"));
}

TEST_F(HostileWorkbook, BillionLaughsInAnyParsedPart)
{
    const QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [<!ENTITY lol \"lol\">"
                              "<!ENTITY lol2 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">"
                              "<!ENTITY lol3 \"&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;\">]>";
    for (const char* part : {"[Content_Types].xml", "_rels/.rels", "xl/_rels/workbook.xml.rels", "xl/styles.xml",
                             "docProps/app.xml"}) {
        SCOPED_TRACE(part);
        freshBook();
        QByteArray bytes = entry(QString::fromLatin1(part));
        ASSERT_FALSE(bytes.isEmpty());
        const qsizetype start = bytes.indexOf("?>") >= 0 ? bytes.indexOf("?>") + 2 : 0;
        bytes = laughs + bytes.mid(start);
        putEntry(QString::fromLatin1(part), bytes);
        expectRefused(QStringLiteral("document type declaration"));
    }
}

TEST_F(HostileWorkbook, ExternalEntityIsNeverFetched)
{
    QByteArray bytes = entry(QStringLiteral("xl/workbook.xml"));
    const qsizetype start = bytes.indexOf("?>") + 2;
    bytes = "<?xml version=\"1.0\"?>\n<!DOCTYPE workbook [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">]>"
        + bytes.mid(start);
    putEntry(QStringLiteral("xl/workbook.xml"), bytes);
    expectRefused(QStringLiteral("document type declaration"));
}

// Texts grafted into an existing workbook stay texts and keep their characters: formula
// look-alikes, XML specials, characters XML cannot hold.
TEST_F(HostileWorkbook, GraftedTextsStayTextsAndAreEscaped)
{
    const QString csv = m_dir.filePath(QStringLiteral("input/texts.CSV"));
    {
        QFile f(csv);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n"
                "=1+1,1.5,@SUM(A1),1.5\r\n"
                "+cmd|' /C calc'!A0,2.25,<b>&amp;</b>,2.25\r\n"
                "-2+3,ERROR,=HYPERLINK(\"x\"),ERROR\r\n");
    }
    ASSERT_EQ(faults::forwardToWorkbook({csv, QStringLiteral("--into"), m_book, QStringLiteral("--title"),
                                         QStringLiteral("=cmd|' /C calc'!A0 <&> \"'")}),
              0);
    const QJsonObject book = test::describeWorkbook(m_book);
    const QJsonObject sheet = test::sheetNamed(book, QStringLiteral("Sheet2"));
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
    const QJsonObject cells = sheet[QStringLiteral("cells")].toObject();
    const std::pair<const char*, const char*> expected[] = {
        {"B2", "=cmd|' /C calc'!A0 <&> \"'"}, {"B5", "=1+1"}, {"D5", "@SUM(A1)"}, {"B6", "+cmd|' /C calc'!A0"},
        {"D6", "<b>&amp;</b>"}, {"B7", "-2+3"}, {"D7", "=HYPERLINK(\"x\")"},
    };
    for (const auto& [name, text] : expected) {
        const QJsonObject cell = cells[QString::fromLatin1(name)].toObject();
        EXPECT_EQ(cell[QStringLiteral("type")].toString(), QStringLiteral("s")) << name;
        EXPECT_EQ(cell[QStringLiteral("value")].toString(), QString::fromUtf8(text)) << name;
    }
}

} // namespace
