#pragma once
// frmSplash: the box shown while the program starts (logo, product, version, copyright,
// warning), laid out by AboutLayout. Its timer tmWait (1000 ms) runs from the start and
// switches itself off at its first tick; the start-up waits for that with
//     quvo::waitUntil([&] { return !splash.waitEnabled(); });
// and may run it once more with enableWait().

#include "app/AboutLayout.h"
#include "app/frmAbout.h"

#include <QFrame>

class QTimer;

namespace quvo {

class frmSplash : public QFrame {
    Q_OBJECT

public:
    explicit frmSplash(QWidget* parent = nullptr);

    bool waitEnabled() const;
    void enableWait();
    QTimer* waitTimer() const { return tmWait; }

    const AboutPlacement& placement() const { return m_placement; }

signals:
    void waitEnded(); // tmWait switched itself off

private:
    AboutControls m_controls;
    QTimer* tmWait = nullptr;
    AboutPlacement m_placement;
};

} // namespace quvo
