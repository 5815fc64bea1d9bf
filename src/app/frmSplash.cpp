#include "app/frmSplash.h"

#include "resources/Constant.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>

namespace quvo {

frmSplash::frmSplash(QWidget* parent) : QFrame(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("frmSplash"));
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setAutoFillBackground(true);

    m_controls = AboutControls::create(this, splashWarningText());
    m_placement = splashLayout(m_controls.logoTwips(), m_controls.labelSizesTwips());
    m_controls.apply(this, m_placement);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());

    tmWait = new QTimer(this);
    tmWait->setObjectName(QStringLiteral("tmWait"));
    tmWait->setInterval(SplashWaitMs);
    connect(tmWait, &QTimer::timeout, this, [this] {
        tmWait->stop(); // the first tick ends the wait
        emit waitEnded();
    });
    tmWait->start();
}

bool frmSplash::waitEnabled() const
{
    return tmWait->isActive();
}

void frmSplash::enableWait()
{
    tmWait->start();
}

} // namespace quvo
