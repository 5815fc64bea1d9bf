// The progress and cancel dialog: count and bar, its layout, Cancel of a waiting download
// over a real pseudo-terminal, and the other windows disabled while it is shown.

#include "UiTestSupport.h"

#include "acquisition/frmCancel.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/Twips.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include "PtyPeer.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

class CancelWindowTest : public UiTest {
protected:
    template <class T>
    T* child(const char* name) const
    {
        return dialog.findChild<T*>(QString::fromLatin1(name));
    }
    frmCancel dialog;
};

} // namespace

TEST_F(CancelWindowTest, ControlsAndCaptions)
{
    ASSERT_NE(child<QLabel>("llMsg"), nullptr);
    ASSERT_NE(child<QProgressBar>("pbNow"), nullptr);
    ASSERT_NE(child<QLabel>("DataCount"), nullptr);
    ASSERT_NE(child<QPushButton>("btCancel"), nullptr);
    EXPECT_EQ(child<QPushButton>("btCancel")->text(), QStringLiteral("Cancel"));
    dialog.SetCaption(QStringLiteral("Receive LOGGING-mode data"));
    dialog.SetMessage(QStringLiteral("Receiving..."));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Receive LOGGING-mode data"));
    EXPECT_EQ(child<QLabel>("llMsg")->text(), QStringLiteral("Receiving..."));
}

TEST_F(CancelWindowTest, AThrottledCountChangesEveryTimeAndTheBarAtItsSteps)
{
    QProgressBar* bar = child<QProgressBar>("pbNow");
    QLabel* count = child<QLabel>("DataCount");
    int lastBar = bar->value();
    for (int current = 1; current <= 30; ++current) {
        dialog.RenProgress(true, static_cast<std::int16_t>(current), 250);
        EXPECT_EQ(count->text(), QStringLiteral(" %1/ 250").arg(current));
        if (current % 10 == 0)
            EXPECT_EQ(bar->value(), bar->maximum() * current / 250) << current;
        else
            EXPECT_EQ(bar->value(), lastBar) << current;
        lastBar = bar->value();
    }
    EXPECT_EQ(lastBar, 12);

    dialog.RenProgress(false, 31, 250); // without throttle the bar follows every call
    EXPECT_EQ(bar->value(), 12);      // 100 × 31 / 250 = 12.4
    dialog.RenProgress(false, 35, 250);
    EXPECT_EQ(bar->value(), 14);
}

TEST_F(CancelWindowTest, NothingIsShownWithoutACurrentOrATotal)
{
    dialog.RenProgress(false, 0, 100);
    dialog.RenProgress(false, 10, 0);
    EXPECT_EQ(child<QLabel>("DataCount")->text(), QString());
    EXPECT_EQ(child<QProgressBar>("pbNow")->value(), 0);
}

TEST_F(CancelWindowTest, TheWindowGrowsAroundALongMessage)
{
    dialog.SetMessage(QStringLiteral("Receiving..."));
    const double dpiX = dialog.logicalDpiX();
    EXPECT_EQ(dialog.width(), twipsToPixels(6000, dpiX));
    dialog.SetMessage(QString(120, QLatin1Char('W')));
    const CancelLayout& l = dialog.layoutTwips();
    ASSERT_GE(l.message.width(), 5400);
    EXPECT_DOUBLE_EQ(l.windowWidth, l.message.width() + 600);
    EXPECT_EQ(dialog.width(), twipsToPixels(l.windowWidth, dpiX));
    const QRect bar = child<QProgressBar>("pbNow")->geometry();
    EXPECT_EQ(bar.width(), twipsToPixels(l.windowWidth - 480, dpiX));
    EXPECT_EQ(bar.left(), twipsToPixels(240, dpiX));
    const QRect button = child<QPushButton>("btCancel")->geometry();
    EXPECT_EQ(button.top(), twipsToPixels(l.bar.bottom() + 180, dialog.logicalDpiY()));
    EXPECT_EQ(child<QLabel>("DataCount")->geometry().top(), button.top());
}

TEST_F(CancelWindowTest, WhileShownEveryOtherWindowIsDisabled)
{
    QWidget main;
    QWidget other;
    main.show();
    other.show();
    dialog.show();
    EXPECT_FALSE(main.isEnabled());
    EXPECT_FALSE(other.isEnabled());
    EXPECT_TRUE(dialog.isEnabled());
    dialog.unload();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(main.isEnabled());
    EXPECT_TRUE(other.isEnabled());
}

TEST_F(CancelWindowTest, AWindowDisabledBeforeStaysDisabled)
{
    QWidget main;
    QWidget already;
    already.setEnabled(false);
    main.show();
    already.show();
    {
        frmCancel progress(&main);
        progress.show();
        EXPECT_FALSE(main.isEnabled());
    } // destroyed without unload: enabled again all the same
    EXPECT_TRUE(main.isEnabled());
    EXPECT_FALSE(already.isEnabled());
}

TEST_F(CancelWindowTest, TheFramesCloseDoesNotEndIt)
{
    dialog.show();
    ASSERT_NE(dialog.windowHandle(), nullptr);
    dialog.windowHandle()->close();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.close());
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(CancelWindowTest, CancelDuringADownloadEndsTheWaitAndSaysCanceled)
{
    ScriptedPrompter prompter;
    PtyPeer peer; // a meter that never answers
    QString error;
    ASSERT_TRUE(peer.open(&error)) << error.toStdString();
    Comm comm(&prompter);
    comm.setCommPort(peer.devicePath());
    ASSERT_TRUE(comm.OpenPort());
    comm.setAnswerTimeoutMs(20000);
    programState().CommState = CommStates::Download;
    dialog.setComm(&comm);
    dialog.SetCaption(QStringLiteral("Receive LOGGING-mode data"));
    dialog.SetMessage(QStringLiteral("Receiving..."));
    dialog.show();

    QPushButton* cancel = child<QPushButton>("btCancel");
    QTimer::singleShot(100, cancel, &QPushButton::click); // the user clicks while the link waits
    QElapsedTimer clock;
    clock.start();
    const bool answered = comm.SendCommand(QStringLiteral("RL,001"), 5);
    EXPECT_FALSE(answered);
    EXPECT_LT(clock.elapsed(), 10000); // ended by Cancel, long before the time-out
    EXPECT_FALSE(comm.answerTimerActive());
    EXPECT_EQ(child<QLabel>("llMsg")->text(), QStringLiteral("Canceling..."));
    EXPECT_FALSE(cancel->isEnabled()); // Cancel works once
    EXPECT_TRUE(programState().CancelRequested);
    // What the download shows once it has ended.
    EXPECT_EQ(programState().LastError, QStringLiteral("Canceled."));
    comm.closePort();
}

TEST_F(CancelWindowTest, CancelDuringAForwardingStopsTheRows)
{
    programState().CommState = CommStates::Forwarding;
    programState().NoForward = false;
    dialog.show();
    child<QPushButton>("btCancel")->click();
    EXPECT_TRUE(programState().NoForward);
    EXPECT_EQ(programState().LastError, QStringLiteral("Canceled."));
    EXPECT_FALSE(programState().CancelRequested);
    EXPECT_EQ(child<QLabel>("llMsg")->text(), QStringLiteral("Canceling..."));
}

TEST_F(CancelWindowTest, TheLinkCanSwitchCancelOff)
{
    ProgressView& view = dialog;
    view.setCancelEnabled(false);
    EXPECT_FALSE(child<QPushButton>("btCancel")->isEnabled());
}
