// The port setup dialog, driven by its controls.

#include "UiTestSupport.h"

#include "link/Comm.h"
#include "link/frmPort.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

class PortDialogTest : public UiTest {
protected:
    void open(const QList<SystemPort>& ports = {})
    {
        dialog = std::make_unique<frmPort>(&comm, ports);
        dialog->show();
    }
    QComboBox* list() const { return dialog->findChild<QComboBox*>(QStringLiteral("cbPort")); }
    void click(const char* name) const { dialog->findChild<QPushButton*>(QString::fromLatin1(name))->click(); }

    Comm comm;
    std::unique_ptr<frmPort> dialog;
};

} // namespace

TEST_F(PortDialogTest, CaptionsAndTheSixteenNumbers)
{
    open();
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Communications Port setup"));
    EXPECT_EQ(dialog->findChild<QLabel*>(QStringLiteral("llPort"))->text(), QStringLiteral("Communications Port"));
    EXPECT_EQ(dialog->findChild<QPushButton*>(QStringLiteral("btCancel"))->text(), QStringLiteral("Cancel"));
    ASSERT_NE(dialog->findChild<QPushButton*>(QStringLiteral("btOk")), nullptr);
    ASSERT_EQ(list()->count(), 16);
    for (int n = 1; n <= 16; ++n)
        EXPECT_EQ(list()->itemText(n - 1), QString::number(n));
}

TEST_F(PortDialogTest, PortFiveOpensWithFiveSelected)
{
    programState().PortNumber = QStringLiteral("5");
    comm.setCommPort(QStringLiteral("5"));
    open();
    EXPECT_EQ(list()->currentIndex(), 4);
    EXPECT_EQ(list()->currentText(), QStringLiteral("5"));
}

TEST_F(PortDialogTest, PortSeventeenOpensWithOneSelectedAndOkStoresOne)
{
    programState().PortNumber = QStringLiteral("17");
    comm.setCommPort(QStringLiteral("17"));
    open();
    EXPECT_EQ(list()->currentIndex(), 0);
    EXPECT_EQ(list()->currentText(), QStringLiteral("1"));
    click("btOk");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("1"));
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
}

TEST_F(PortDialogTest, ItOpensOnThePortOfThisRunAndOkOnItChangesNothing)
{
    // A run on a device given for the run only (--port, the simulated meter).
    programState().PortNumber = QStringLiteral("2");
    comm.setCommPort(QStringLiteral("/dev/pts/7"));
    open();
    EXPECT_EQ(list()->currentText(), QStringLiteral("/dev/pts/7"));
    click("btOk");
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(comm.CommPort(), QStringLiteral("/dev/pts/7"));
    EXPECT_EQ(programState().PortNumber, QStringLiteral("2")); // what the settings file keeps
}

TEST_F(PortDialogTest, CancelLeavesThePortAlone)
{
    programState().PortNumber = QStringLiteral("3");
    comm.setCommPort(QStringLiteral("3"));
    open();
    list()->setCurrentIndex(9);
    click("btCancel");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("3"));
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
}

TEST_F(PortDialogTest, OkTakesTheChosenNumber)
{
    open();
    list()->setCurrentIndex(11);
    click("btOk");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("12"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("12"));
    EXPECT_FALSE(comm.PortOpen()); // not opened or tested here
}

TEST_F(PortDialogTest, SystemPortsAreListedWithTheirDescription)
{
    open({{QStringLiteral("/dev/ttyUSB0"), QStringLiteral("USB-Serial Controller")}});
    ASSERT_EQ(list()->count(), 17);
    EXPECT_EQ(list()->itemText(16), QStringLiteral("/dev/ttyUSB0  (USB-Serial Controller)"));
    list()->setCurrentIndex(16);
    click("btOk");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("/dev/ttyUSB0"));
    EXPECT_EQ(comm.portName(), QStringLiteral("/dev/ttyUSB0"));
}

TEST_F(PortDialogTest, ATypedDevicePathIsAccepted)
{
    open();
    list()->setEditText(QStringLiteral("/dev/pts/7"));
    click("btOk");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("/dev/pts/7"));
    EXPECT_EQ(comm.portName(), QStringLiteral("/dev/pts/7"));
}

TEST_F(PortDialogTest, ASavedDeviceNameIsKeptSelected)
{
    programState().PortNumber = QStringLiteral("/dev/pts/4");
    comm.setCommPort(QStringLiteral("/dev/pts/4")); // as the program's load sets it
    open();
    EXPECT_EQ(list()->currentText(), QStringLiteral("/dev/pts/4"));
    click("btOk");
    EXPECT_EQ(programState().PortNumber, QStringLiteral("/dev/pts/4"));
}

TEST_F(PortDialogTest, ABlankTextNamesNoPort)
{
    programState().PortNumber = QStringLiteral("2");
    open();
    list()->setEditText(QStringLiteral("  "));
    EXPECT_FALSE(dialog->findChild<QPushButton*>(QStringLiteral("btOk"))->isEnabled());
    list()->setEditText(QStringLiteral("4"));
    EXPECT_TRUE(dialog->findChild<QPushButton*>(QStringLiteral("btOk"))->isEnabled());
}
