// Texts and layout of the splash and About boxes, without widgets.

#include "UiTestSupport.h"

#include "app/AboutLayout.h"
#include "resources/ResID.h"

using namespace quvo;
using namespace quvo::test;

namespace {
class AboutLayoutTest : public UiTest {};

const QRectF Logo(240, 240, 960, 960);
const AboutLabels Labels{QSizeF(1500, 400), QSizeF(1200, 240), QSizeF(3000, 240), QSizeF(5400, 480)};
} // namespace

TEST_F(AboutLayoutTest, TheVersionHasNoSeparatorBetweenMinorAndRevision)
{
    EXPECT_EQ(versionText(1, 0, 3), QStringLiteral("Version 1.03"));
    EXPECT_EQ(versionText(2, 1, 10), QStringLiteral("Version 2.110"));
}

TEST_F(AboutLayoutTest, TheSplashStacksItsLabelsWithItsGaps)
{
    const AboutPlacement p = splashLayout(Logo, Labels);
    EXPECT_EQ(p.product, QRectF(240 + 960 + 360, 240, 1500, 400));
    EXPECT_EQ(p.version, QRectF(1560, 640 + 60, 1200, 240));
    EXPECT_EQ(p.copyright, QRectF(1560, 940 + 300, 3000, 240));
    EXPECT_EQ(p.warning, QRectF(1560, 1480 + 120, 5400, 480));
    EXPECT_DOUBLE_EQ(p.formWidth, 1560 + 5400 + 360);
    EXPECT_DOUBLE_EQ(p.formHeight, 2080 + 360); // the warning ends below the logo
    EXPECT_TRUE(p.ok.isEmpty());
}

TEST_F(AboutLayoutTest, ATallLogoDecidesTheHeight)
{
    const AboutPlacement p = splashLayout(QRectF(240, 240, 960, 3000), Labels);
    EXPECT_DOUBLE_EQ(p.formHeight, 3240 + 360);
}

TEST_F(AboutLayoutTest, TheWidestLabelDecidesTheWidth)
{
    AboutLabels labels = Labels;
    labels.copyright = QSizeF(8000, 240);
    EXPECT_DOUBLE_EQ(splashLayout(Logo, labels).formWidth, 1560 + 8000 + 360);
}

TEST_F(AboutLayoutTest, TheAboutBoxUsesItsOwnGapsAndPlacesOk)
{
    const AboutPlacement p = aboutLayout(Logo, Labels, QSizeF(1200, 400));
    EXPECT_EQ(p.product, QRectF(240 + 960 + 600, 240, 1500, 400));
    EXPECT_EQ(p.version, QRectF(1800, 640 + 120, 1200, 240));
    EXPECT_EQ(p.copyright, QRectF(1800, 1000 + 360, 3000, 240));
    EXPECT_EQ(p.warning, QRectF(1800, 1600 + 120, 5400, 480));
    EXPECT_EQ(p.ok, QRectF(1800 + 5400 - 1200, 2200 + 360, 1200, 400));
    EXPECT_DOUBLE_EQ(p.formWidth, 1800 + 5400 + 360);
    EXPECT_DOUBLE_EQ(p.formHeight, 2960 + 360);
}

TEST_F(AboutLayoutTest, WarningsJoinTheirTextsWithNothingBetween)
{
    EXPECT_EQ(splashWarningText(),
              QStringLiteral("This Computer Program is protected by copyright law and international treaties."));
    EXPECT_EQ(aboutWarningText(), ResID(102) + ResID(103) + ResID(104));
    EXPECT_TRUE(aboutWarningText().startsWith(QStringLiteral("This Computer Program is protected by copyright law "
                                                             "and international treaties.Unauthorized reproduction")));
    EXPECT_TRUE(aboutWarningText().endsWith(
        QStringLiteral("under law.(Microsoft Excel is a registered trademark of Microsoft Corporation in the United "
                       "States.)")));
}
