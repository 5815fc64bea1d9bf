// The Monitor window: the reading text, the close refusal, MonitorShown and the placement.

#include "UiTestSupport.h"

#include "acquisition/frmMoniter.h"
#include "acquisition/frmMoniterLayout.h"
#include "acquisition/MoniterPosition.h"
#include "document/ChartColours.h"
#include "app/Settings.h"
#include "resources/Constant.h"
#include "resources/Twips.h"
#include "support/TestHelpers.h"

#include <QGroupBox>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSettings>
#include <QSignalSpy>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

// A reading line with its check character: the low four bits of the sum of its character
// codes as one upper-case hexadecimal digit.
QString withCheck(const QString& body)
{
    int sum = 0;
    for (const QChar c : body)
        sum += c.unicode();
    return body + QString::number(sum & 0x0F, 16).toUpper();
}

class MoniterWindowTest : public UiTest {
protected:
    QLabel* value(const frmMoniter& w) const { return w.findChild<QLabel*>(QStringLiteral("llValue")); }
};

} // namespace

TEST_F(MoniterWindowTest, LoadingShowsAnEmptyMonitor)
{
    frmMoniter w;
    EXPECT_TRUE(programState().MonitorShown);
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Monitor"));
    EXPECT_EQ(w.Tag(), QStringLiteral("3"));
    ASSERT_NE(value(w), nullptr);
    EXPECT_EQ(value(w)->text(), QString());
    EXPECT_NE(w.findChild<QGroupBox*>(QStringLiteral("frCompa")), nullptr);
    for (const char* name : {"llJudge", "llHi", "llLo", "llMiddle", "llUpper", "llLower", "llHlim", "llLlim", "llBuz",
                             "llBuzzer"})
        EXPECT_NE(w.findChild<QLabel*>(QString::fromLatin1(name)), nullptr) << name;
    // Sized to the value label: +240 twips to the right, +540 below.
    const QSizeF twips = MoniterLayout::windowSize(MoniterLayout::valueLabel());
    EXPECT_EQ(w.size(), QSize(twipsToPixels(twips.width(), w.logicalDpiX()), twipsToPixels(twips.height(), w.logicalDpiY())));
}

TEST_F(MoniterWindowTest, AReadingIsShownWithOneBlankAfterIt)
{
    frmMoniter w;
    w.SetData(withCheck(QStringLiteral("RR,N,+01.234mVDC")));
    EXPECT_EQ(value(w)->text(), QStringLiteral("1.234mVDC "));
}

TEST_F(MoniterWindowTest, AnOverloadShowsItsSignAndOlThenTheUnit)
{
    frmMoniter w;
    w.SetData(withCheck(QStringLiteral("RR,O,-  0.0 kOHM")));
    EXPECT_EQ(value(w)->text(), QStringLiteral("-OLkOHM "));
}

TEST_F(MoniterWindowTest, BadAnswersShowError)
{
    frmMoniter w;
    for (const QString& answer : {QStringLiteral("ERROR"), withCheck(QStringLiteral("CMD,ERR")),
                                  QStringLiteral("RR,N,+01.234mVDCX"), withCheck(QStringLiteral("RL,N,+01.234mVDC"))}) {
        w.SetData(withCheck(QStringLiteral("RR,N,+01.234mVDC")));
        w.SetData(answer);
        EXPECT_EQ(value(w)->text(), QStringLiteral("ERROR ")) << answer.toStdString();
    }
}

TEST_F(MoniterWindowTest, AFirstRunOpensAtTheOrigin)
{
    frmMoniter w;
    w.move(200, 150);
    w.show();
    ASSERT_TRUE(waitFor([&] { return w.isVisible(); }));
    EXPECT_EQ(w.pos(), QPoint(0, 0));
}

TEST_F(MoniterWindowTest, TheSavedPositionIsUsed)
{
    writeMoniterPosition(1500, 750);
    frmMoniter w;
    w.show();
    EXPECT_EQ(w.pos(), QPoint(twipsToPixels(1500, w.logicalDpiX()), twipsToPixels(750, w.logicalDpiY())));
}

TEST_F(MoniterWindowTest, ClosingIsRefusedWhileAnOperationRunsAndSavesThePositionAfter)
{
    auto w = std::make_unique<frmMoniter>();
    QSignalSpy shown(w.get(), &frmMoniter::monitorShownChanged);
    w->show();
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown.first().at(0).toBool());
    w->move(300, 120);
    ASSERT_TRUE(waitFor([&] { return w->pos() == QPoint(300, 120); }));

    for (const int state : {CommStates::Monitor, CommStates::MonitorCommand, CommStates::Realtime,
                            CommStates::Download, CommStates::Forwarding}) {
        programState().CommState = state;
        EXPECT_FALSE(w->close()) << state;
        EXPECT_TRUE(w->isVisible());
        EXPECT_TRUE(programState().MonitorShown);
    }
    EXPECT_EQ(readMoniterPosition().left.value_or(-1), 0.0f); // nothing saved yet

    programState().CommState = CommStates::Idle; // after Stop
    EXPECT_TRUE(w->close());
    EXPECT_FALSE(programState().MonitorShown);
    ASSERT_EQ(shown.size(), 2);
    EXPECT_FALSE(shown.last().at(0).toBool());
    const StoredPosition stored = readMoniterPosition();
    ASSERT_TRUE(stored.left && stored.top);
    EXPECT_FLOAT_EQ(*stored.left, static_cast<float>(pixelsToTwips(300, w->logicalDpiX())));
    EXPECT_FLOAT_EQ(*stored.top, static_cast<float>(pixelsToTwips(120, w->logicalDpiY())));
}

TEST_F(MoniterWindowTest, InsideTheMainWindowTheFrameIsPlacedAndSaved)
{
    writeMoniterPosition(600, 300);
    QMdiArea area;
    area.resize(1000, 800);
    auto* w = new frmMoniter;
    QMdiSubWindow* sub = area.addSubWindow(w);
    area.show();
    sub->show();
    EXPECT_EQ(w->frame(), sub);
    EXPECT_EQ(sub->pos(), QPoint(twipsToPixels(600, w->logicalDpiX()), twipsToPixels(300, w->logicalDpiY())));
    const QSizeF twips = MoniterLayout::windowSize(MoniterLayout::valueLabel());
    EXPECT_EQ(sub->size(),
              QSize(twipsToPixels(twips.width(), w->logicalDpiX()), twipsToPixels(twips.height(), w->logicalDpiY())));

    const double dpiX = w->logicalDpiX();
    const double dpiY = w->logicalDpiY();
    sub->move(45, 30);
    programState().CommState = CommStates::Monitor;
    EXPECT_FALSE(sub->close());
    EXPECT_TRUE(sub->isVisible());
    programState().CommState = CommStates::Idle;
    EXPECT_TRUE(sub->close());
    EXPECT_FALSE(programState().MonitorShown);
    const StoredPosition stored = readMoniterPosition();
    ASSERT_TRUE(stored.left && stored.top);
    EXPECT_FLOAT_EQ(*stored.left, static_cast<float>(pixelsToTwips(45, dpiX)));
    EXPECT_FLOAT_EQ(*stored.top, static_cast<float>(pixelsToTwips(30, dpiY)));
}

// --- The comparator with limits -----------------------------------------------------------------

namespace {

QLabel* compaLabel(const frmMoniter& w, const char* name)
{
    return w.findChild<QLabel*>(QString::fromLatin1(name));
}

// The labels lit now: drawn on a background of their own, in bold.
QStringList litLabels(const frmMoniter& w)
{
    QStringList lit;
    for (const char* name : {"llHi", "llMiddle", "llLo"}) {
        const QLabel* label = compaLabel(w, name);
        if (label->autoFillBackground() && label->font().bold())
            lit << label->text();
    }
    return lit;
}

} // namespace

TEST_F(MoniterWindowTest, WithoutLimitsTheComparatorStaysAsItWas)
{
    frmMoniter w;
    w.SetData(withCheck(QStringLiteral("RR,N,+09.999 VDC")));
    EXPECT_FALSE(w.findChild<QGroupBox*>(QStringLiteral("frCompa"))->isEnabled());
    EXPECT_EQ(compaLabel(w, "llHlim")->text(), QStringLiteral("-----"));
    EXPECT_EQ(compaLabel(w, "llLlim")->text(), QStringLiteral("-----"));
    EXPECT_EQ(compaLabel(w, "llBuzzer")->text(), QStringLiteral("OFF"));
    EXPECT_TRUE(litLabels(w).isEmpty());
}

TEST_F(MoniterWindowTest, WithLimitsTheComparatorShowsThemAndLightsEachReading)
{
    frmMoniter w;
    int beeps = 0;
    w.setBeeper([&beeps] { ++beeps; });
    Limits limits;
    limits.upper = 2;
    limits.lower = 0.5;
    limits.unit = QStringLiteral("VDC");
    limits.buzzer = true;
    w.setLimits(limits);
    w.show();
    EXPECT_TRUE(w.findChild<QGroupBox*>(QStringLiteral("frCompa"))->isEnabled());
    EXPECT_EQ(compaLabel(w, "llHlim")->text(), QStringLiteral("2VDC"));
    EXPECT_EQ(compaLabel(w, "llLlim")->text(), QStringLiteral("500mVDC"));
    EXPECT_EQ(compaLabel(w, "llBuzzer")->text(), QStringLiteral("ON"));
    EXPECT_TRUE(litLabels(w).isEmpty());

    w.SetData(withCheck(QStringLiteral("RR,N,+01.234 VDC")));
    EXPECT_EQ(litLabels(w), QStringList{QStringLiteral("PASS")});
    w.SetData(withCheck(QStringLiteral("RR,N,+02.500 VDC")));
    EXPECT_EQ(litLabels(w), QStringList{QStringLiteral("HI")});
    EXPECT_EQ(beeps, 1);
    // The lit label reads: white on its colour.
    const QLabel* hi = compaLabel(w, "llHi");
    EXPECT_GE(contrastRatio(hi->palette().color(QPalette::WindowText), hi->palette().color(QPalette::Window)), 4.5);
    w.SetData(withCheck(QStringLiteral("RR,N,+00.100 VDC")));
    EXPECT_EQ(litLabels(w), QStringList{QStringLiteral("LO")});
    EXPECT_EQ(beeps, 2);
    w.SetData(QStringLiteral("ERROR"));
    EXPECT_EQ(value(w)->text(), QStringLiteral("ERROR "));
    EXPECT_TRUE(litLabels(w).isEmpty());
    EXPECT_EQ(beeps, 2);

    // Limits taken away: the comparator is greyed again.
    w.setLimits(Limits{});
    EXPECT_FALSE(w.findChild<QGroupBox*>(QStringLiteral("frCompa"))->isEnabled());
    EXPECT_EQ(compaLabel(w, "llHlim")->text(), QStringLiteral("-----"));
    w.SetData(withCheck(QStringLiteral("RR,N,+02.500 VDC")));
    EXPECT_TRUE(litLabels(w).isEmpty());
    EXPECT_EQ(beeps, 2);
}
