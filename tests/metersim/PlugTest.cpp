// The cable: closing and reopening the port, unplug and replug with a stable link path,
// the simulator in a thread of its own, and what a serial port object sees.

#include "PtyClient.h"

#include "metersim/MeterSimulator.h"
#include "support/TestHelpers.h"

#include <QFile>
#include <QFileInfo>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quvo::sim::test {
namespace {

TEST(Plug, ThePortCanBeClosedAndOpenedAgain)
{
    MeterSimulator sim{SimulatorOptions{}};
    ASSERT_TRUE(sim.open());
    PtyClient client;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(client.open(sim.devicePath()));
        EXPECT_EQ(client.ask(QStringLiteral("RM"), 2), (QStringList{QStringLiteral("RM"), QStringLiteral("RM,1C")}));
        client.close();
    }
    EXPECT_TRUE(sim.isPlugged());
    EXPECT_EQ(sim.commandCount(), 3);
}

TEST(Plug, UnplugAndReplugKeepTheLinkPath)
{
    QTemporaryDir dir;
    SimulatorOptions o;
    o.echo = false;
    o.linkPath = dir.filePath(QStringLiteral("meter"));
    MeterSimulator sim{o};
    QSignalSpy plug(&sim, &MeterSimulator::plugChanged);
    ASSERT_TRUE(sim.open());
    EXPECT_EQ(sim.devicePath(), o.linkPath);
    ASSERT_TRUE(QFileInfo(o.linkPath).isSymLink());

    PtyClient client;
    ASSERT_TRUE(client.open(o.linkPath));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,1"))});

    sim.unplug();
    EXPECT_FALSE(sim.isPlugged());
    EXPECT_TRUE(client.waitForHangup());
    EXPECT_FALSE(client.send(QStringLiteral("RM"))); // the client sees an I/O error
    EXPECT_FALSE(QFileInfo::exists(o.linkPath));
    EXPECT_FALSE(QFileInfo(o.linkPath).isSymLink());
    EXPECT_FALSE(client.open(o.linkPath));

    ASSERT_TRUE(sim.replug());
    EXPECT_TRUE(sim.isPlugged());
    ASSERT_TRUE(QFileInfo(o.linkPath).isSymLink());
    EXPECT_TRUE(QFileInfo(o.linkPath).symLinkTarget().startsWith(QStringLiteral("/dev/")));
    ASSERT_TRUE(client.open(o.linkPath));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,1"))});

    ASSERT_EQ(plug.count(), 3); // open, unplug, replug
    EXPECT_TRUE(plug.at(0).at(0).toBool());
    EXPECT_FALSE(plug.at(1).at(0).toBool());
    EXPECT_TRUE(plug.at(2).at(0).toBool());
}

TEST(Plug, DisconnectAfterCountsAgainFromAReplug)
{
    SimulatorOptions o;
    o.echo = false;
    o.disconnectAfter = 2;
    MeterSimulator sim{o};
    ASSERT_TRUE(sim.open());
    for (int round = 0; round < 2; ++round) {
        PtyClient client;
        ASSERT_TRUE(client.open(sim.devicePath()));
        ASSERT_TRUE(client.send(QStringLiteral("RM")));
        ASSERT_TRUE(client.send(QStringLiteral("RI")));
        ASSERT_TRUE(client.waitForHangup());
        EXPECT_EQ(client.received(), QByteArray("RM,1C\r\nRI,0005C\r\n"));
        ASSERT_TRUE(sim.replug());
    }
    EXPECT_EQ(sim.commandCount(), 4);
}

TEST(Plug, TheLinkPathGoesWithTheSimulator)
{
    QTemporaryDir dir;
    SimulatorOptions o;
    o.linkPath = dir.filePath(QStringLiteral("meter"));
    {
        MeterSimulator sim{o};
        ASSERT_TRUE(sim.open());
        EXPECT_TRUE(QFileInfo(o.linkPath).isSymLink());
    }
    EXPECT_FALSE(QFileInfo(o.linkPath).isSymLink());
}

TEST(Plug, AnExistingFileIsNotReplacedByTheLink)
{
    QTemporaryDir dir;
    SimulatorOptions o;
    o.linkPath = dir.filePath(QStringLiteral("notes.txt"));
    {
        QFile file(o.linkPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("keep me");
    }
    MeterSimulator sim{o};
    QString error;
    EXPECT_FALSE(sim.open(&error));
    EXPECT_TRUE(error.contains(o.linkPath)) << error.toStdString();
    EXPECT_FALSE(sim.isPlugged());
    QFile file(o.linkPath);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("keep me"));
}

TEST(SimulatorThread, AnswersFromItsOwnThread)
{
    SimulatorOptions o;
    o.model = QLatin1Char('5');
    SimulatorThread sim{o};
    QString error;
    ASSERT_TRUE(sim.start(&error)) << error.toStdString();
    ASSERT_FALSE(sim.devicePath().isEmpty());
    EXPECT_TRUE(sim.isPlugged());

    PtyClient client;
    ASSERT_TRUE(client.open(sim.devicePath()));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 2), (QStringList{QStringLiteral("RM"), withCheck(QStringLiteral("RM,5"))}));
    EXPECT_EQ(client.ask(QStringLiteral("RN"), 2), (QStringList{QStringLiteral("RN"), withCheck(QStringLiteral("RN,0010"))}));
    EXPECT_EQ(sim.commandLog(), (QStringList{QStringLiteral("RM"), QStringLiteral("RN")}));
    EXPECT_EQ(sim.commandCount(), 2);

    o.model = QLatin1Char('0');
    o.echo = false;
    sim.setOptions(o);
    EXPECT_EQ(sim.options().model, QLatin1Char('0'));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,0"))});

    sim.unplug();
    EXPECT_FALSE(sim.isPlugged());
    EXPECT_TRUE(client.waitForHangup());
    ASSERT_TRUE(sim.replug(&error)) << error.toStdString();
    ASSERT_TRUE(client.open(sim.devicePath()));
    EXPECT_EQ(client.ask(QStringLiteral("RM"), 1), QStringList{withCheck(QStringLiteral("RM,0"))});
    EXPECT_EQ(sim.commandCount(), 4);
}

TEST(SimulatorThread, CommandsAreCountedWhileTheTestWaits)
{
    SimulatorOptions o;
    o.silent = true;
    SimulatorThread sim{o};
    ASSERT_TRUE(sim.start());
    QSignalSpy received(sim.events(), &SimulatorEvents::commandReceived);
    PtyClient client;
    ASSERT_TRUE(client.open(sim.devicePath()));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(client.send(QStringLiteral("SC,123")));
    // Nothing comes back from a silent meter; the simulator's signals, delivered in this
    // thread, are what wakes the wait.
    ASSERT_TRUE(quvo::test::waitFor([&] { return sim.commandCount() == 5 && received.count() == 5; }));
    EXPECT_EQ(sim.commandLog(), QStringList(5, QStringLiteral("SC,123")));
    EXPECT_EQ(received.at(4).at(0).toString(), QStringLiteral("SC,123"));
    EXPECT_TRUE(client.received().isEmpty());

    QSignalSpy plug(sim.events(), &SimulatorEvents::plugChanged);
    sim.unplug();
    ASSERT_TRUE(plug.wait(5000) || plug.count() == 1);
    EXPECT_FALSE(plug.at(0).at(0).toBool());
}

TEST(SerialPort, TalksToTheSimulatorAndSeesTheCablePulled)
{
    SimulatorOptions o;
    o.echo = false;
    SimulatorThread sim{o};
    ASSERT_TRUE(sim.start());
    QSerialPort port;
    port.setPortName(sim.devicePath());
    port.setBaudRate(QSerialPort::Baud9600);
    port.setDataBits(QSerialPort::Data8);
    port.setParity(QSerialPort::NoParity);
    port.setStopBits(QSerialPort::TwoStop);
    ASSERT_TRUE(port.open(QIODevice::ReadWrite)) << port.errorString().toStdString();
    port.clearError();
    QByteArray received;
    QObject::connect(&port, &QSerialPort::readyRead, [&] { received += port.readAll(); });
    port.write("RM\r\n");
    ASSERT_TRUE(quvo::test::waitFor([&] { return received.endsWith("\r\n"); }));
    EXPECT_EQ(received, QByteArray("RM,1C\r\n"));

    QSignalSpy errors(&port, &QSerialPort::errorOccurred);
    const auto seen = [&](QSerialPort::SerialPortError wanted) {
        for (const QList<QVariant>& e : errors) {
            if (e.at(0).value<QSerialPort::SerialPortError>() == wanted)
                return true;
        }
        return false;
    };
    sim.unplug();
    // A hung-up terminal reads as end of file, which a serial port object reports as a
    // read error (again and again while the port stays open); the next write fails with a
    // resource error.
    EXPECT_TRUE(quvo::test::waitFor([&] { return seen(QSerialPort::ReadError) || seen(QSerialPort::ResourceError); }));
    port.clearError();
    errors.clear();
    port.write("RM\r\n");
    EXPECT_TRUE(quvo::test::waitFor([&] { return seen(QSerialPort::ResourceError); }));
    port.close();
}

} // namespace
} // namespace quvo::sim::test
