#pragma once
// The splash and About boxes without widgets: their texts and the layout of their labels
// beside the logo, in twips. Both stack the same four labels in a text column to the right
// of the logo; each has its own gaps.
//
// Splash:  text column = logo right + 360; version = product bottom + 60; copyright =
//          version bottom + 300; warning = copyright bottom + 120.
// About:   text column = logo right + 600; version = product bottom + 120; copyright =
//          version bottom + 360; warning = copyright bottom + 120; the OK button under the
//          warning (+ 360), its right edge on the text column's right edge.
// Both:    form width = text column left + widest label + 360; form height = the lower of
//          the logo's bottom and the last control's bottom, + 360.

#include <QRectF>
#include <QSizeF>
#include <QString>

namespace quvo {

struct AboutLabels {
    QSizeF product, version, copyright, warning;
};

struct AboutPlacement {
    QRectF logo, product, version, copyright, warning;
    QRectF ok; // About only; empty on the splash
    double formWidth = 0;
    double formHeight = 0;
};

namespace AboutGaps {
// Splash
constexpr double SplashColumn = 360;
constexpr double SplashVersion = 60;
constexpr double SplashCopyright = 300;
constexpr double SplashWarning = 120;
// About
constexpr double AboutColumn = 600;
constexpr double AboutLine = 120;  // product to version, copyright to warning
constexpr double AboutGroup = 360; // version to copyright, warning to the OK button
// Both
constexpr double RightMargin = 360;
constexpr double BottomMargin = 360;
// Where the logo sits, and the width the warning wraps at.
constexpr double LogoLeft = 240;
constexpr double LogoTop = 240;
constexpr double LogoSize = 960;
constexpr double WarningWrap = 5400;
} // namespace AboutGaps

AboutPlacement splashLayout(const QRectF& logo, const AboutLabels& labels);
AboutPlacement aboutLayout(const QRectF& logo, const AboutLabels& labels, const QSizeF& okButton);

// "Version " + major + "." + minor + revision, with nothing between minor and revision:
// 1, 0, 3 give "Version 1.03".
QString versionText(int major, int minor, int revision);
// The same for this program's version record.
QString programVersionText();

// The warning of the splash (text 102) and of the About box (102, 103 and 104 joined).
QString splashWarningText();
QString aboutWarningText();

} // namespace quvo
