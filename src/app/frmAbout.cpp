#include "app/frmAbout.h"

#include "resources/Constant.h"
#include "resources/ResID.h"
#include "resources/Twips.h"

#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSvgRenderer>

namespace quvo {

namespace {

QRect toPixels(const QRectF& r, const QWidget* w)
{
    return {twipsToPixels(r.left(), w->logicalDpiX()), twipsToPixels(r.top(), w->logicalDpiY()),
            twipsToPixels(r.width(), w->logicalDpiX()), twipsToPixels(r.height(), w->logicalDpiY())};
}

QSizeF toTwips(const QSize& s, const QWidget* w)
{
    return {pixelsToTwips(s.width(), w->logicalDpiX()), pixelsToTwips(s.height(), w->logicalDpiY())};
}

// The program's icon drawn at the logo's size.
QPixmap logoPixmap(const QWidget* w)
{
    const int side = twipsToPixels(AboutGaps::LogoSize, w->logicalDpiX());
    const qreal ratio = w->devicePixelRatioF();
    QPixmap pixmap(QSize(side, side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QSvgRenderer renderer(QStringLiteral(":/icons/quvolink.svg"));
    if (renderer.isValid()) {
        QPainter painter(&pixmap);
        renderer.render(&painter, QRectF(0, 0, side, side));
    }
    return pixmap;
}

QLabel* makeLabel(QWidget* parent, const char* name, const QString& text)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

AboutControls AboutControls::create(QWidget* parent, const QString& warning)
{
    AboutControls c;
    c.pbLogo = new QLabel(parent);
    c.pbLogo->setObjectName(QStringLiteral("pbLogo"));
    c.pbLogo->setPixmap(logoPixmap(parent));
    c.pbLogo->setGeometry(toPixels(QRectF(AboutGaps::LogoLeft, AboutGaps::LogoTop, AboutGaps::LogoSize,
                                          AboutGaps::LogoSize),
                                   parent));

    c.llProduct = makeLabel(parent, "llProduct", AppTitle);
    QFont title = c.llProduct->font();
    title.setPointSizeF(title.pointSizeF() * 1.8);
    title.setBold(true);
    c.llProduct->setFont(title);
    c.llVersion = makeLabel(parent, "llVersion", programVersionText());
    c.llCopyright = makeLabel(parent, "llCopyright", ResID(Res::Copyright));
    c.llWarning = makeLabel(parent, "llWarning", warning);
    c.llWarning->setWordWrap(true);
    return c;
}

QRectF AboutControls::logoTwips() const
{
    return {AboutGaps::LogoLeft, AboutGaps::LogoTop, AboutGaps::LogoSize, AboutGaps::LogoSize};
}

AboutLabels AboutControls::labelSizesTwips() const
{
    const QWidget* form = llProduct->parentWidget();
    AboutLabels sizes;
    sizes.product = toTwips(llProduct->sizeHint(), form);
    sizes.version = toTwips(llVersion->sizeHint(), form);
    sizes.copyright = toTwips(llCopyright->sizeHint(), form);
    // The warning wraps at its design width; its height follows its lines.
    const int wrap = twipsToPixels(AboutGaps::WarningWrap, form->logicalDpiX());
    const int natural = llWarning->fontMetrics().horizontalAdvance(llWarning->text()) + 2;
    const int width = std::min(wrap, natural);
    sizes.warning = toTwips(QSize(width, llWarning->heightForWidth(width)), form);
    return sizes;
}

void AboutControls::apply(QWidget* form, const AboutPlacement& p) const
{
    pbLogo->setGeometry(toPixels(p.logo, form));
    llProduct->setGeometry(toPixels(p.product, form));
    llVersion->setGeometry(toPixels(p.version, form));
    llCopyright->setGeometry(toPixels(p.copyright, form));
    llWarning->setGeometry(toPixels(p.warning, form));
    form->setFixedSize(twipsToPixels(p.formWidth, form->logicalDpiX()),
                       twipsToPixels(p.formHeight, form->logicalDpiY()));
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setModal(true);
    setWindowTitle(ResID(Res::AboutCaption));
    m_controls = AboutControls::create(this, aboutWarningText());
    btOk = new QPushButton(QStringLiteral("OK"), this);
    btOk->setObjectName(QStringLiteral("btOk"));
    btOk->setDefault(true);
    connect(btOk, &QPushButton::clicked, this, &QDialog::accept);

    // Layout on load.
    const QSize ok = btOk->sizeHint().expandedTo(QSize(btOk->fontMetrics().horizontalAdvance(QStringLiteral("MMMMMM")), 0));
    m_placement = aboutLayout(m_controls.logoTwips(), m_controls.labelSizesTwips(), toTwips(ok, this));
    m_controls.apply(this, m_placement);
    btOk->setGeometry(toPixels(m_placement.ok, this));
}

} // namespace quvo
