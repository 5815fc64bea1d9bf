#include "app/AboutLayout.h"

#include "resources/ResID.h"
#include "resources/Version.h"

#include <algorithm>

namespace quvo {

namespace {

struct Gaps {
    double column, version, copyright, warning;
};

AboutPlacement stack(const QRectF& logo, const AboutLabels& labels, const Gaps& gaps)
{
    AboutPlacement p;
    p.logo = logo;
    p.product = QRectF(QPointF(logo.right() + gaps.column, logo.top()), labels.product);
    p.version = QRectF(QPointF(p.product.left(), p.product.bottom() + gaps.version), labels.version);
    p.copyright = QRectF(QPointF(p.version.left(), p.version.bottom() + gaps.copyright), labels.copyright);
    p.warning = QRectF(QPointF(p.copyright.left(), p.copyright.bottom() + gaps.warning), labels.warning);
    const double widest = std::max({labels.product.width(), labels.version.width(), labels.copyright.width(),
                                    labels.warning.width()});
    p.formWidth = p.product.left() + widest + AboutGaps::RightMargin;
    p.formHeight = std::max(logo.bottom(), p.warning.bottom()) + AboutGaps::BottomMargin;
    return p;
}

} // namespace

AboutPlacement splashLayout(const QRectF& logo, const AboutLabels& labels)
{
    return stack(logo, labels,
                 {AboutGaps::SplashColumn, AboutGaps::SplashVersion, AboutGaps::SplashCopyright,
                  AboutGaps::SplashWarning});
}

AboutPlacement aboutLayout(const QRectF& logo, const AboutLabels& labels, const QSizeF& okButton)
{
    AboutPlacement p =
        stack(logo, labels, {AboutGaps::AboutColumn, AboutGaps::AboutLine, AboutGaps::AboutGroup, AboutGaps::AboutLine});
    const double columnRight = p.formWidth - AboutGaps::RightMargin;
    p.ok = QRectF(QPointF(columnRight - okButton.width(), p.warning.bottom() + AboutGaps::AboutGroup), okButton);
    p.formHeight = std::max(logo.bottom(), p.ok.bottom()) + AboutGaps::BottomMargin;
    return p;
}

QString versionText(int major, int minor, int revision)
{
    return QStringLiteral("Version ") + QString::number(major) + QStringLiteral(".") + QString::number(minor)
        + QString::number(revision);
}

QString programVersionText()
{
    return versionText(VersionMajor, VersionMinor, VersionRevision);
}

QString splashWarningText()
{
    return ResID(Res::Warning1);
}

QString aboutWarningText()
{
    return ResID(Res::Warning1) + ResID(Res::Warning2) + ResID(Res::Warning3);
}

} // namespace quvo
