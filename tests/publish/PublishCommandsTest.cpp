// quvolink-cli with --mqtt, run as a program against the simulated meter and a broker the
// test starts for itself: monitor, record and download publish what they show and store; a
// URL that does not read is a usage error; a broker that cannot be used at the start ends
// the command; the password comes from the environment; a program killed outright is
// reported offline by the broker.

#include "BrokerSupport.h"
#include "CliTestSupport.h"

#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

class PublishCommandsTest : public ::testing::Test {
protected:
    // Data files are read back through a work file of the test's own.
    void SetUp() override { programState().WorkPath = work.filePath(QStringLiteral("WORK.~~~")); }
    void TearDown() override { resetProgramState(); }

    void startBroker()
    {
        QString error;
        ASSERT_TRUE(broker.start(&error)) << error.toStdString();
    }

    // quvolink-cli with these arguments, QUVOLINK_HOME and the extra environment.
    CliOutcome run(const QStringList& arguments, const QString& password = QString())
    {
        QProcess process;
        prepare(process, password);
        process.start(cliProgram(), arguments);
        EXPECT_TRUE(process.waitForFinished(60000)) << arguments.join(u' ').toStdString();
        CliOutcome outcome;
        outcome.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        outcome.out = QString::fromUtf8(process.readAllStandardOutput());
        outcome.err = QString::fromUtf8(process.readAllStandardError());
        return outcome;
    }

    void prepare(QProcess& process, const QString& password)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), home.path());
        env.remove(QStringLiteral("QUVOLINK_MQTT_PASSWORD"));
        if (!password.isNull())
            env.insert(QStringLiteral("QUVOLINK_MQTT_PASSWORD"), password);
        process.setProcessEnvironment(env);
    }

    // The readings of one kind that arrived on the topic, as JSON objects.
    static QList<QJsonObject> readings(const TestSubscriber& subscriber, const QString& topic, const QString& kind)
    {
        QList<QJsonObject> result;
        for (const QByteArray& payload : subscriber.payloads(topic)) {
            const QJsonObject reading = jsonOf(payload);
            if (reading.value(QStringLiteral("kind")).toString() == kind)
                result.append(reading);
        }
        return result;
    }

    QTemporaryDir home;
    QTemporaryDir work;
    TestBroker broker;
};

} // namespace

TEST_F(PublishCommandsTest, MonitorPublishesWhatItPrints)
{
    startBroker();
    TestSubscriber subscriber(broker.port(), QStringLiteral("cli/#"));
    QString error;
    ASSERT_TRUE(subscriber.connect(&error)) << error.toStdString();

    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                              QStringLiteral("3"), QStringLiteral("--mqtt"), broker.url(), QStringLiteral("--topic"),
                              QStringLiteral("cli")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.err, QString());
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 3);

    ASSERT_TRUE(subscriber.waitForLast(QStringLiteral("cli/status"), "offline"));
    const QList<QJsonObject> shown = readings(subscriber, QStringLiteral("cli/reading"), QStringLiteral("monitor"));
    ASSERT_GE(shown.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(shown[i].value(QStringLiteral("text")).toString(), printed[i]) << i;
        EXPECT_TRUE(shown[i].value(QStringLiteral("row")).isNull());
        EXPECT_TRUE(shown[i].value(QStringLiteral("value")).isDouble()) << i;
        EXPECT_EQ(shown[i].value(QStringLiteral("unit")).toString(), QStringLiteral("VDC"));
    }
    EXPECT_EQ(subscriber.payloads(QStringLiteral("cli/state")),
              (QList<QByteArray>{"idle", "monitoring", "idle"}));
    EXPECT_EQ(subscriber.payloads(QStringLiteral("cli/status")), (QList<QByteArray>{"online", "offline"}));
}

TEST_F(PublishCommandsTest, RecordPublishesEveryRowAndDownloadEveryRecord)
{
    startBroker();
    TestSubscriber subscriber(broker.port(), QStringLiteral("lab/bench1/#"));
    QString error;
    ASSERT_TRUE(subscriber.connect(&error)) << error.toStdString();

    const QString csv = home.filePath(QStringLiteral("rec.csv"));
    const CliOutcome recorded = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                                     QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("2"),
                                     QStringLiteral("--out"), csv, QStringLiteral("--mqtt"), broker.url(),
                                     QStringLiteral("--topic"), QStringLiteral("lab/bench1")});
    ASSERT_EQ(recorded.exitCode, 0) << recorded.err.toStdString();
    const QStringList rows = dataFileRows(csv);
    ASSERT_EQ(rows.size(), 3);
    ASSERT_TRUE(subscriber.waitForLast(QStringLiteral("lab/bench1/status"), "offline"));
    const QList<QJsonObject> published = readings(subscriber, QStringLiteral("lab/bench1/reading"),
                                                  QStringLiteral("realtime"));
    ASSERT_EQ(published.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const QStringList fields = rows[i].split(u'\t');
        EXPECT_EQ(published[i].value(QStringLiteral("row")).toInt(), i + 1);
        EXPECT_EQ(published[i].value(QStringLiteral("label")).toString(), fields[0]);
        EXPECT_EQ(published[i].value(QStringLiteral("text")).toString(), fields[1]);
        EXPECT_EQ(published[i].value(QStringLiteral("unit")).toString(), fields[2]);
        EXPECT_EQ(published[i].value(QStringLiteral("time")).toString().mid(11, 8), fields[0]); // its label's second
    }
    EXPECT_TRUE(subscriber.payloads(QStringLiteral("lab/bench1/state")).contains("recording"));

    const QString memory = home.filePath(QStringLiteral("memory.csv"));
    const CliOutcome downloaded = run({QStringLiteral("--simulate"), QStringLiteral("download"), QStringLiteral("logging"),
                                       QStringLiteral("--out"), memory, QStringLiteral("--mqtt"), broker.url(),
                                       QStringLiteral("--topic"), QStringLiteral("lab/bench1")});
    ASSERT_EQ(downloaded.exitCode, 0) << downloaded.err.toStdString();
    const QStringList records = dataFileRows(memory);
    ASSERT_FALSE(records.isEmpty());
    ASSERT_TRUE(subscriber.waitFor([&](const QList<TestSubscriber::Message>&) {
        return readings(subscriber, QStringLiteral("lab/bench1/reading"), QStringLiteral("logging")).size()
            >= records.size();
    }));
    const QList<QJsonObject> logging = readings(subscriber, QStringLiteral("lab/bench1/reading"), QStringLiteral("logging"));
    ASSERT_EQ(logging.size(), records.size());
    for (int i = 0; i < records.size(); ++i) {
        const QStringList fields = records[i].split(u'\t');
        EXPECT_EQ(logging[i].value(QStringLiteral("label")).toString(), fields[0]) << i;
        EXPECT_EQ(logging[i].value(QStringLiteral("text")).toString(), fields[1]) << i;
    }
    EXPECT_TRUE(subscriber.payloads(QStringLiteral("lab/bench1/state")).contains("downloading"));
    EXPECT_TRUE(subscriber.waitForLast(QStringLiteral("lab/bench1/state"), "idle"));
}

TEST_F(PublishCommandsTest, AUrlThatDoesNotReadIsAUsageError)
{
    const auto usage = [&](const QStringList& extra, const QString& message) {
        const CliOutcome r = run(QStringList{QStringLiteral("--simulate"), QStringLiteral("monitor"),
                                             QStringLiteral("--count"), QStringLiteral("1")}
                                 + extra);
        EXPECT_EQ(r.exitCode, 2) << extra.join(u' ').toStdString();
        EXPECT_TRUE(r.err.startsWith(message)) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("--mqtt URL"))) << "the help follows";
        EXPECT_EQ(r.out, QString());
    };
    usage({QStringLiteral("--mqtt"), QStringLiteral("http://lab:1883")},
          QStringLiteral("\"http://lab:1883\" is not a broker URL: \"http://\" is not mqtt:// or mqtts://."));
    usage({QStringLiteral("--mqtt"), QStringLiteral("mqtt://lab:99999")}, QStringLiteral("\"mqtt://lab:99999\" is not a broker URL"));
    usage({QStringLiteral("--topic"), QStringLiteral("lab")}, QStringLiteral("--topic and --mqtt-ca need --mqtt URL."));
    usage({QStringLiteral("--mqtt"), QStringLiteral("mqtt://lab"), QStringLiteral("--topic"), QStringLiteral("lab/#")},
          QStringLiteral("The topic prefix \"lab/#\" holds \"+\" or \"#\""));
    usage({QStringLiteral("--mqtt"), QStringLiteral("mqtt://lab"), QStringLiteral("--mqtt-ca"), home.path()},
          QStringLiteral("A CA file is used with mqtts:// only"));
    // The same rules for record and download.
    const CliOutcome record = run({QStringLiteral("record"), QStringLiteral("--interval"), QStringLiteral("1"),
                                   QStringLiteral("--out"), home.filePath(QStringLiteral("x.csv")), QStringLiteral("--mqtt"),
                                   QStringLiteral("broker")});
    EXPECT_EQ(record.exitCode, 2);
    EXPECT_TRUE(record.err.startsWith(QStringLiteral("\"broker\" is not a broker URL"))) << record.err.toStdString();
    const CliOutcome download = run({QStringLiteral("download"), QStringLiteral("save"), QStringLiteral("--out"),
                                     home.filePath(QStringLiteral("x.csv")), QStringLiteral("--mqtt"), QString()});
    EXPECT_EQ(download.exitCode, 2);
    EXPECT_TRUE(download.err.startsWith(QStringLiteral("No broker is given."))) << download.err.toStdString();
}

TEST_F(PublishCommandsTest, ABrokerThatCannotBeUsedAtTheStartEndsTheCommand)
{
    const CliOutcome unknown = run({QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                                    QStringLiteral("1"), QStringLiteral("--mqtt"), QStringLiteral("mqtt://nosuchhost.invalid")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.err,
              QStringLiteral("Cannot publish to mqtt://nosuchhost.invalid:1883: the broker's host is not known.\n"));
    EXPECT_EQ(unknown.out, QString()); // the meter was not asked for anything

    const int port = freeLocalPort();
    const CliOutcome refused = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                                    QStringLiteral("1"), QStringLiteral("--out"), home.filePath(QStringLiteral("r.csv")),
                                    QStringLiteral("--mqtt"), QStringLiteral("mqtt://127.0.0.1:%1").arg(port)});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, QStringLiteral("Cannot publish to mqtt://127.0.0.1:%1: connection refused.\n").arg(port));
    EXPECT_FALSE(QFileInfo::exists(home.filePath(QStringLiteral("r.csv"))));
}

TEST_F(PublishCommandsTest, ThePasswordComesFromTheEnvironment)
{
    QString error;
    ASSERT_TRUE(broker.requirePassword(QStringLiteral("alice"), QStringLiteral("s3cret"), &error)) << error.toStdString();
    startBroker();
    const QString url = QStringLiteral("mqtt://alice@127.0.0.1:%1").arg(broker.port());
    const QStringList arguments = {QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--count"),
                                   QStringLiteral("1"), QStringLiteral("--mqtt"), url, QStringLiteral("--topic"),
                                   QStringLiteral("pw")};

    const CliOutcome wrong = run(arguments, QStringLiteral("guess"));
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.err, QStringLiteral("Cannot publish to mqtt://127.0.0.1:%1: the broker refused the connection: the "
                                        "user name or password is wrong or missing (not authorised).\n")
                             .arg(broker.port()));
    const CliOutcome none = run(arguments);
    EXPECT_EQ(none.exitCode, 1);

    TestSubscriber subscriber(broker.port(), QStringLiteral("pw/#"), QString(), QStringLiteral("alice"),
                              QStringLiteral("s3cret"));
    ASSERT_TRUE(subscriber.connect(&error)) << error.toStdString();
    const CliOutcome right = run(arguments, QStringLiteral("s3cret"));
    ASSERT_EQ(right.exitCode, 0) << right.err.toStdString();
    EXPECT_TRUE(subscriber.waitForLast(QStringLiteral("pw/status"), "offline"));
    EXPECT_FALSE(subscriber.payloads(QStringLiteral("pw/reading")).isEmpty());

    // A password without a user name is a usage mistake.
    const CliOutcome noUser = run({QStringLiteral("monitor"), QStringLiteral("--mqtt"), broker.url()}, QStringLiteral("s3cret"));
    EXPECT_EQ(noUser.exitCode, 2);
    EXPECT_TRUE(noUser.err.startsWith(QStringLiteral("QUVOLINK_MQTT_PASSWORD is set, but the URL names no user")))
        << noUser.err.toStdString();
}

TEST_F(PublishCommandsTest, WhenTheProgramIsKilledTheBrokerReportsItOffline)
{
    startBroker();
    TestSubscriber subscriber(broker.port(), QStringLiteral("gone/#"));
    QString error;
    ASSERT_TRUE(subscriber.connect(&error)) << error.toStdString();
    QProcess process;
    QString out;
    ASSERT_TRUE(startUntilLines(process, cliProgram(),
                                {QStringLiteral("--simulate"), QStringLiteral("monitor"), QStringLiteral("--mqtt"),
                                 broker.url(), QStringLiteral("--topic"), QStringLiteral("gone")},
                                home.path(), 2, out))
        << out.toStdString() << process.readAllStandardError().toStdString();
    ASSERT_TRUE(subscriber.waitForLast(QStringLiteral("gone/state"), "monitoring"));
    EXPECT_EQ(subscriber.last(QStringLiteral("gone/status")), QByteArray("online"));
    process.kill(); // SIGKILL: no chance to say goodbye
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_TRUE(subscriber.waitForLast(QStringLiteral("gone/status"), "offline"));

    // A subscriber that comes afterwards learns it from the broker too.
    TestSubscriber later(broker.port(), QStringLiteral("gone/status"));
    ASSERT_TRUE(later.connect(&error)) << error.toStdString();
    EXPECT_TRUE(later.waitForLast(QStringLiteral("gone/status"), "offline"));
}
