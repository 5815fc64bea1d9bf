#include "acquisition/frmMoniter.h"

#include "acquisition/frmMoniterLayout.h"
#include "acquisition/MoniterPosition.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/Twips.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMdiSubWindow>
#include <QTimer>

namespace quvo {

namespace {

QRect toPixels(const QRectF& twips, const QWidget* w)
{
    return {twipsToPixels(twips.left(), w->logicalDpiX()), twipsToPixels(twips.top(), w->logicalDpiY()),
            twipsToPixels(twips.width(), w->logicalDpiX()), twipsToPixels(twips.height(), w->logicalDpiY())};
}

QLabel* compaLabel(QWidget* parent, const char* name, const char* text)
{
    auto* label = new QLabel(QString::fromLatin1(text), parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setAlignment(Qt::AlignCenter);
    return label;
}

// The colour a judgement lights its label in, under white text (a contrast of at least
// 4.5 : 1 on any desktop, light or dark): HI warm, PASS green, LO cool, as the table's marks.
QColor litColour(Judgement judgement)
{
    switch (judgement) {
    case Judgement::Hi:
        return QColor(190, 20, 20);
    case Judgement::Lo:
        return QColor(20, 70, 190);
    case Judgement::Pass:
        return QColor(0, 125, 40);
    case Judgement::None:
        break;
    }
    return {};
}

void light(QLabel* label, Judgement judgement, bool on)
{
    QFont font = label->font();
    font.setBold(on);
    label->setFont(font);
    label->setAutoFillBackground(on);
    QPalette palette; // nothing of its own: the frame's colours
    if (on) {
        palette.setColor(QPalette::Window, litColour(judgement));
        palette.setColor(QPalette::WindowText, Qt::white);
    }
    label->setPalette(palette);
}

} // namespace

frmMoniter::frmMoniter(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("frmMoniter"));

    // The comparator display: judgement, limits and buzzer; written only with limits.
    frCompa = new QGroupBox(this);
    frCompa->setObjectName(QStringLiteral("frCompa"));
    frCompa->setGeometry(toPixels(MoniterLayout::comparatorFrame(), this));
    auto* grid = new QGridLayout(frCompa);
    grid->setContentsMargins(4, 2, 4, 2);
    grid->setVerticalSpacing(0);
    grid->addWidget(compaLabel(frCompa, "llJudge", "JUDGE"), 0, 0);
    grid->addWidget(compaLabel(frCompa, "llHi", "HI"), 0, 1);
    grid->addWidget(compaLabel(frCompa, "llMiddle", "PASS"), 0, 2);
    grid->addWidget(compaLabel(frCompa, "llLo", "LO"), 0, 3);
    grid->addWidget(compaLabel(frCompa, "llBuz", "BUZZER"), 0, 4);
    grid->addWidget(compaLabel(frCompa, "llUpper", "UPPER"), 1, 0);
    grid->addWidget(compaLabel(frCompa, "llHlim", "-----"), 1, 1);
    grid->addWidget(compaLabel(frCompa, "llLower", "LOWER"), 1, 2);
    grid->addWidget(compaLabel(frCompa, "llLlim", "-----"), 1, 3);
    grid->addWidget(compaLabel(frCompa, "llBuzzer", "OFF"), 1, 4);
    frCompa->setEnabled(false); // greyed until limits are set
    m_beeper = [] { QApplication::beep(); };

    llValue = new QLabel(this);
    llValue->setObjectName(QStringLiteral("llValue"));
    llValue->setTextFormat(Qt::PlainText);
    llValue->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    llValue->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    QFont big = llValue->font();
    big.setPointSizeF(big.pointSizeF() * 2.6);
    big.setBold(true);
    llValue->setFont(big);
    llValue->setAutoFillBackground(true);
    QPalette palette = llValue->palette();
    palette.setColor(QPalette::Window, Qt::black);
    palette.setColor(QPalette::WindowText, QColor(80, 255, 80));
    llValue->setPalette(palette);
    llValue->setGeometry(toPixels(MoniterLayout::valueLabel(), this));

    // Load: caption, an empty value, the kind, MonitorShown.
    setWindowTitle(ResID(Res::MonitorCaption));
    llValue->clear();
    programState().MonitorShown = true;

    // Sized to the value label.
    const QSizeF size = MoniterLayout::windowSize(MoniterLayout::valueLabel());
    resize(twipsToPixels(size.width(), logicalDpiX()), twipsToPixels(size.height(), logicalDpiY()));
}

frmMoniter::~frmMoniter()
{
    unload();
}

QWidget* frmMoniter::frame() const
{
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget()))
        return sub;
    return const_cast<frmMoniter*>(this);
}

void frmMoniter::setKeptInView(bool on)
{
    m_keptInView = on;
    QWidget* target = frame();
    const bool visible = target->isVisible();
    // Changing a window's flags hides it; it is shown again as it was.
    if (target->windowFlags().testFlag(Qt::WindowStaysOnTopHint) != on) {
        target->setWindowFlag(Qt::WindowStaysOnTopHint, on);
        if (visible)
            target->show();
    }
    if (on && target->isMinimized())
        target->showNormal();
    if (on)
        target->raise();
}

void frmMoniter::SetData(const QString& answer)
{
    llValue->setText(MonitorText(answer) + QLatin1Char(' '));
    if (!m_comparator.active())
        return;
    const bool sound = m_comparator.show(answer);
    showComparator();
    if (sound && m_beeper)
        m_beeper();
}

void frmMoniter::setLimits(const Limits& limits)
{
    m_comparator.setLimits(limits);
    showComparator();
}

void frmMoniter::setBeeper(std::function<void()> beeper)
{
    m_beeper = std::move(beeper);
}

void frmMoniter::showComparator()
{
    const auto label = [this](const char* name) { return frCompa->findChild<QLabel*>(QLatin1String(name)); };
    frCompa->setEnabled(m_comparator.active());
    label("llHlim")->setText(m_comparator.upperText());
    label("llLlim")->setText(m_comparator.lowerText());
    label("llBuzzer")->setText(m_comparator.buzzerText());
    const Judgement lit = m_comparator.lit();
    light(label("llHi"), Judgement::Hi, lit == Judgement::Hi);
    light(label("llMiddle"), Judgement::Pass, lit == Judgement::Pass);
    light(label("llLo"), Judgement::Lo, lit == Judgement::Lo);
    fitComparator();
}

void frmMoniter::fitComparator()
{
    // The designed width, or more where the limits' texts need it (a limit such as
    // "-888.888mVAC"); the reading below keeps the comparator's width, and the window grows
    // by as much. Without limits the window is exactly as designed.
    const QRect compa = toPixels(MoniterLayout::comparatorFrame(), this);
    const QRect value = toPixels(MoniterLayout::valueLabel(), this);
    const int need = m_comparator.active() ? frCompa->minimumSizeHint().width() : 0;
    const int extra = std::max(0, need - compa.width());
    if (frCompa->width() == compa.width() + extra)
        return;
    frCompa->setGeometry(compa.adjusted(0, 0, extra, 0));
    llValue->setGeometry(value.adjusted(0, 0, extra, 0));
    const QSizeF designed = MoniterLayout::windowSize(MoniterLayout::valueLabel());
    QWidget* target = frame();
    if (target == this || m_placed)
        target->resize(twipsToPixels(designed.width(), logicalDpiX()) + extra, target->height());
}

void frmMoniter::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        placeOnFirstShow();
    }
}

void frmMoniter::placeOnFirstShow()
{
    QWidget* target = frame();
    if (target != this) {
        // The frame is sized to the label as a whole window would be.
        const QSizeF size = MoniterLayout::windowSize(MoniterLayout::valueLabel());
        // Wider by what the limits' texts need beyond the design (fitComparator).
        const int extra = frCompa->width() - toPixels(MoniterLayout::comparatorFrame(), this).width();
        target->resize(twipsToPixels(size.width(), logicalDpiX()) + extra, twipsToPixels(size.height(), logicalDpiY()));
        target->installEventFilter(this);
        m_watchedFrame = target;
    }
    // Placement from the per-user store (0, 0 when nothing is kept; a value that is not a
    // number leaves the window where it is).
    const StoredPosition stored = readMoniterPosition();
    QPoint position = target->pos();
    if (stored.left)
        position.setX(twipsToPixels(*stored.left, logicalDpiX()));
    if (stored.top)
        position.setY(twipsToPixels(*stored.top, logicalDpiY()));
    target->move(position);
    emit monitorShownChanged(true);
    rememberPosition();
}

void frmMoniter::closeEvent(QCloseEvent* event)
{
    if (programState().CommState != CommStates::Idle) {
        event->ignore(); // not while monitoring, recording or downloading
        return;
    }
    event->accept();
    unload();
}

void frmMoniter::unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    programState().MonitorShown = false;
    if (m_placed) {
        writeMoniterPosition(static_cast<float>(pixelsToTwips(m_position.x(), logicalDpiX())),
                             static_cast<float>(pixelsToTwips(m_position.y(), logicalDpiY())));
    }
    emit monitorShownChanged(false);
}

void frmMoniter::rememberPosition()
{
    const QWidget* target = m_watchedFrame ? m_watchedFrame.data() : (isWindow() ? this : nullptr);
    if (target)
        m_position = target->pos();
}

void frmMoniter::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    if (isWindow())
        rememberPosition();
}

bool frmMoniter::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_watchedFrame && event->type() == QEvent::Move)
        rememberPosition();
    if (watched == m_watchedFrame && event->type() == QEvent::WindowStateChange && m_keptInView
        && m_watchedFrame->isMinimized()) {
        // Not inside the state change itself: the frame finishes it first.
        QTimer::singleShot(0, this, [this] {
            if (m_keptInView && m_watchedFrame && m_watchedFrame->isMinimized())
                m_watchedFrame->showNormal();
        });
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace quvo
