// The splash and About boxes: texts, layout and their buttons and timer.

#include "UiTestSupport.h"

#include "app/AboutLayout.h"
#include "app/frmAbout.h"
#include "app/frmSplash.h"
#include "resources/EventWait.h"
#include "resources/ResID.h"
#include "resources/Twips.h"
#include "resources/Version.h"
#include "support/PaintedPixels.h"
#include "support/TestHelpers.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

using namespace quvo;
using namespace quvo::test;

namespace {

class AboutWindowTest : public UiTest {
protected:
    static QLabel* label(const QWidget& form, const char* name)
    {
        return form.findChild<QLabel*>(QString::fromLatin1(name));
    }

    // The control sits where the layout put it (twips to pixels).
    static void expectAt(const QWidget& form, const QWidget* control, const QRectF& twips)
    {
        ASSERT_NE(control, nullptr);
        const QRect r = control->geometry();
        EXPECT_EQ(r.left(), twipsToPixels(twips.left(), form.logicalDpiX())) << control->objectName().toStdString();
        EXPECT_EQ(r.top(), twipsToPixels(twips.top(), form.logicalDpiY())) << control->objectName().toStdString();
    }

    // The logo shows the program's icon: some pixels are not transparent.
    static int paintedPixels(const QLabel* logo) { return test::paintedPixels(logo->pixmap().toImage()); }
};

} // namespace

TEST_F(AboutWindowTest, TheAboutBoxShowsTheProgramsTexts)
{
    frmAbout about;
    EXPECT_EQ(about.windowTitle(), QStringLiteral("About Quvolink"));
    EXPECT_EQ(label(about, "llProduct")->text(), QStringLiteral("Quvolink"));
    EXPECT_EQ(label(about, "llVersion")->text(),
              QStringLiteral("Version %1.%2%3").arg(VersionMajor).arg(VersionMinor).arg(VersionRevision));
    EXPECT_EQ(label(about, "llCopyright")->text(), ResID(101));
    EXPECT_EQ(label(about, "llWarning")->text(), ResID(102) + ResID(103) + ResID(104));
    EXPECT_GT(paintedPixels(label(about, "pbLogo")), 0);
}

TEST_F(AboutWindowTest, TheAboutBoxIsLaidOutByItsGaps)
{
    frmAbout about;
    const AboutPlacement& p = about.placement();
    EXPECT_DOUBLE_EQ(p.product.left(), p.logo.right() + 600);
    EXPECT_DOUBLE_EQ(p.version.top(), p.product.bottom() + 120);
    EXPECT_DOUBLE_EQ(p.copyright.top(), p.version.bottom() + 360);
    EXPECT_DOUBLE_EQ(p.warning.top(), p.copyright.bottom() + 120);
    EXPECT_DOUBLE_EQ(p.ok.top(), p.warning.bottom() + 360);
    expectAt(about, label(about, "pbLogo"), p.logo);
    expectAt(about, label(about, "llProduct"), p.product);
    expectAt(about, label(about, "llVersion"), p.version);
    expectAt(about, label(about, "llCopyright"), p.copyright);
    expectAt(about, label(about, "llWarning"), p.warning);
    expectAt(about, about.findChild<QPushButton*>(QStringLiteral("btOk")), p.ok);
    EXPECT_EQ(about.width(), twipsToPixels(p.formWidth, about.logicalDpiX()));
    EXPECT_EQ(about.height(), twipsToPixels(p.formHeight, about.logicalDpiY()));
    // The warning wraps: it is no wider than its design width.
    EXPECT_LE(p.warning.width(), 5400);
    EXPECT_GE(label(about, "llWarning")->geometry().height(), 2 * label(about, "llWarning")->fontMetrics().height());
}

TEST_F(AboutWindowTest, OkClosesTheAboutBox)
{
    frmAbout about;
    about.show();
    about.findChild<QPushButton*>(QStringLiteral("btOk"))->click();
    EXPECT_FALSE(about.isVisible());
    EXPECT_EQ(about.result(), QDialog::Accepted);
}

TEST_F(AboutWindowTest, TheSplashShowsTheShortWarning)
{
    frmSplash splash;
    EXPECT_EQ(label(splash, "llProduct")->text(), QStringLiteral("Quvolink"));
    EXPECT_EQ(label(splash, "llVersion")->text(), label(frmAbout(), "llVersion")->text());
    EXPECT_EQ(label(splash, "llCopyright")->text(), ResID(101));
    EXPECT_EQ(label(splash, "llWarning")->text(),
              QStringLiteral("This Computer Program is protected by copyright law and international treaties."));
    EXPECT_GT(paintedPixels(label(splash, "pbLogo")), 0);
}

TEST_F(AboutWindowTest, TheSplashIsLaidOutByItsGaps)
{
    frmSplash splash;
    const AboutPlacement& p = splash.placement();
    EXPECT_DOUBLE_EQ(p.product.left(), p.logo.right() + 360);
    EXPECT_DOUBLE_EQ(p.product.top(), p.logo.top());
    EXPECT_DOUBLE_EQ(p.version.top(), p.product.bottom() + 60);
    EXPECT_DOUBLE_EQ(p.copyright.top(), p.version.bottom() + 300);
    EXPECT_DOUBLE_EQ(p.warning.top(), p.copyright.bottom() + 120);
    const double widest = std::max({p.product.width(), p.version.width(), p.copyright.width(), p.warning.width()});
    EXPECT_DOUBLE_EQ(p.formWidth, p.product.left() + widest + 360);
    expectAt(splash, label(splash, "llProduct"), p.product);
    expectAt(splash, label(splash, "llVersion"), p.version);
    expectAt(splash, label(splash, "llCopyright"), p.copyright);
    expectAt(splash, label(splash, "llWarning"), p.warning);
    EXPECT_EQ(splash.width(), twipsToPixels(p.formWidth, splash.logicalDpiX()));
}

TEST_F(AboutWindowTest, TheSplashTimerSwitchesItselfOffAtItsFirstTick)
{
    frmSplash splash;
    QTimer* timer = splash.findChild<QTimer*>(QStringLiteral("tmWait"));
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->interval(), 1000);
    EXPECT_TRUE(splash.waitEnabled());
    QSignalSpy ended(&splash, &frmSplash::waitEnded);
    splash.show();
    waitUntil([&] { return !splash.waitEnabled(); }); // as the start-up waits
    EXPECT_EQ(ended.size(), 1);
    EXPECT_FALSE(timer->isActive());

    splash.enableWait(); // the second wait of the start-up
    EXPECT_TRUE(splash.waitEnabled());
    EXPECT_TRUE(ended.wait(5000));
    EXPECT_FALSE(splash.waitEnabled());
    EXPECT_EQ(ended.size(), 2);
}
