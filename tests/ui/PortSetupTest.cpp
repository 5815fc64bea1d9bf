// The port list and what OK stores, without the dialog.

#include "UiTestSupport.h"

#include "link/Comm.h"
#include "link/PortSetup.h"

using namespace quvo;
using namespace quvo::test;

namespace {
class PortSetupTest : public UiTest {};
} // namespace

TEST_F(PortSetupTest, NumbersOneToSixteenComeFirst)
{
    const QList<PortEntry> list = PortSetup::entries({}, QStringLiteral("1"));
    ASSERT_EQ(list.size(), 16);
    for (int n = 1; n <= 16; ++n) {
        EXPECT_EQ(list.at(n - 1).text, QString::number(n));
        EXPECT_EQ(list.at(n - 1).port, QString::number(n));
    }
}

TEST_F(PortSetupTest, SystemPortsFollowWithTheirDescriptions)
{
    const QList<PortEntry> list = PortSetup::entries(
        {{QStringLiteral("/dev/ttyUSB0"), QStringLiteral("USB-Serial Controller")}, {QStringLiteral("/dev/ttyS4"), {}}},
        QStringLiteral("1"));
    ASSERT_EQ(list.size(), 18);
    EXPECT_EQ(list.at(16), (PortEntry{QStringLiteral("/dev/ttyUSB0  (USB-Serial Controller)"), QStringLiteral("/dev/ttyUSB0")}));
    EXPECT_EQ(list.at(17), (PortEntry{QStringLiteral("/dev/ttyS4"), QStringLiteral("/dev/ttyS4")}));
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("/dev/ttyUSB0")), 16);
}

TEST_F(PortSetupTest, TheSelectionMatchesThePortExactly)
{
    const QList<PortEntry> list = PortSetup::entries({}, QStringLiteral("5"));
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("5")), 4);
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("16")), 15);
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("17")), 0);
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("0")), 0);
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("05")), 0); // not the same text
}

TEST_F(PortSetupTest, AnUnlistedDeviceNameIsKeptAsItsOwnEntry)
{
    const QList<PortEntry> list = PortSetup::entries({}, QStringLiteral("/dev/pts/4"));
    ASSERT_EQ(list.size(), 17);
    EXPECT_EQ(list.last().port, QStringLiteral("/dev/pts/4"));
    EXPECT_EQ(PortSetup::initialIndex(list, QStringLiteral("/dev/pts/4")), 16);
    // A number out of range is not added: the first entry is selected.
    EXPECT_EQ(PortSetup::entries({}, QStringLiteral("17")).size(), 16);
}

TEST_F(PortSetupTest, TheTextNamesAnEntryOrATypedDevice)
{
    const QList<PortEntry> list =
        PortSetup::entries({{QStringLiteral("/dev/ttyUSB0"), QStringLiteral("USB")}}, QStringLiteral("1"));
    EXPECT_EQ(PortSetup::portFor(list, QStringLiteral("/dev/ttyUSB0  (USB)")), QStringLiteral("/dev/ttyUSB0"));
    EXPECT_EQ(PortSetup::portFor(list, QStringLiteral("7")), QStringLiteral("7"));
    EXPECT_EQ(PortSetup::portFor(list, QStringLiteral(" /dev/pts/9 ")), QStringLiteral("/dev/pts/9"));
}

TEST_F(PortSetupTest, AcceptSetsThePortNumberAndTheLinksPort)
{
    Comm comm;
    PortSetup::accept(QStringLiteral("3"), &comm);
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("3"));
    EXPECT_FALSE(comm.PortOpen()); // not opened here
    PortSetup::accept(QStringLiteral("/dev/pts/9"), &comm);
    EXPECT_EQ(comm.portName(), QStringLiteral("/dev/pts/9"));
}

TEST_F(PortSetupTest, AcceptingThePortInUseChangesNothing)
{
    Comm comm;
    comm.setCommPort(QStringLiteral("/dev/pts/9")); // given for this run
    programState().PortNumber = QStringLiteral("4");
    EXPECT_EQ(PortSetup::portInUse(&comm), QStringLiteral("/dev/pts/9"));
    PortSetup::accept(QStringLiteral("/dev/pts/9"), &comm);
    EXPECT_EQ(programState().PortNumber, QStringLiteral("4"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("/dev/pts/9"));
    EXPECT_EQ(PortSetup::portInUse(nullptr), QStringLiteral("4"));
}
