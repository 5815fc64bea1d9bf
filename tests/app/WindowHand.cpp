#include "WindowHand.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QStyle>
#include <QStyleOption>
#include <QTest>
#include <QTimer>
#include <QToolBar>

namespace quvo::test {

WindowHand::WindowHand(QMainWindow& window) : m_window(&window) {}

bool WindowHand::dropDown(QMenu* menu)
{
    closeMenus();
    QMenuBar* bar = m_window->menuBar();
    const QRect title = bar->actionGeometry(menu->menuAction());
    if (title.isEmpty())
        return false;
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, title.center());
    QApplication::processEvents();
    return menu->isVisible();
}

void WindowHand::closeMenus()
{
    // Escape closes the innermost open menu; the menu bar itself lets go after the last.
    for (int i = 0; i < 4 && QApplication::activePopupWidget(); ++i) {
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
        QApplication::processEvents();
    }
    if (m_window->menuBar()->hasFocus() || m_window->menuBar()->activeAction()) {
        QTest::keyClick(m_window->menuBar(), Qt::Key_Escape);
        QApplication::processEvents();
    }
}

bool WindowHand::choose(QMenu* menu, QAction* item)
{
    return dropDown(menu) && clickItem(menu, item);
}

bool WindowHand::clickItem(QMenu* menu, QAction* item)
{
    if (!menu->isVisible())
        return false;
    const bool enabled = item->isEnabled() && item->isVisible();
    QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(item).center());
    QApplication::processEvents();
    if (!enabled || menu->isVisible())
        closeMenus();
    return enabled;
}

bool WindowHand::click(QToolBar* bar, QAction* action)
{
    closeMenus();
    QWidget* button = bar->widgetForAction(action);
    if (!button || !bar->isVisible() || !button->isVisible())
        return false;
    const bool enabled = button->isEnabled();
    QTest::mouseClick(button, Qt::LeftButton);
    QApplication::processEvents();
    return enabled;
}

namespace {

// True when a click at the frame's point reaches the frame (no other window lies over it).
bool reaches(QWidget* frame, const QPoint& point)
{
    QWidget* hit = QApplication::widgetAt(frame->mapToGlobal(point));
    return hit && (hit == frame || frame->isAncestorOf(hit));
}

// Moves the pointer onto the point, then clicks there: the title bar and the menu bar's
// window buttons know which button is under the pointer from its moves, as on a screen.
void pointAndClick(QWidget* widget, const QPoint& point)
{
    QTest::mouseMove(widget, point);
    QApplication::processEvents();
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, point);
    QApplication::processEvents();
}

// A maximised child window shows its buttons at the right of the menu bar.
bool clickMenuBarWindowButton(QMainWindow& window, QStyle::SubControl titleControl)
{
    QWidget* controls = window.menuBar()->cornerWidget(Qt::TopRightCorner);
    if (!controls || !controls->isVisible())
        return false;
    QStyle::SubControl control = QStyle::SC_None;
    if (titleControl == QStyle::SC_TitleBarCloseButton)
        control = QStyle::SC_MdiCloseButton;
    else if (titleControl == QStyle::SC_TitleBarNormalButton)
        control = QStyle::SC_MdiNormalButton;
    else if (titleControl == QStyle::SC_TitleBarMinButton)
        control = QStyle::SC_MdiMinButton;
    else
        return false; // already maximised
    QStyleOptionComplex option;
    option.initFrom(controls);
    option.subControls = QStyle::SC_MdiMinButton | QStyle::SC_MdiNormalButton | QStyle::SC_MdiCloseButton;
    const QRect button = controls->style()->subControlRect(QStyle::CC_MdiControls, &option, control, controls);
    if (button.isEmpty())
        return false;
    pointAndClick(controls, button.center());
    return true;
}

} // namespace

bool WindowHand::clickTitleButton(QMdiSubWindow* frame, int subControl)
{
    closeMenus();
    const auto control = static_cast<QStyle::SubControl>(subControl);
    if (!frame->isVisible())
        return false;
    if (frame->isMaximized())
        return frame == frame->mdiArea()->activeSubWindow() && clickMenuBarWindowButton(*m_window, control);
    // The title bar as the frame draws it: its style's title bar with the frame's buttons,
    // inside the frame's border.
    QStyleOptionTitleBar title;
    title.initFrom(frame);
    title.subControls = QStyle::SC_All;
    title.titleBarFlags = frame->windowFlags();
    title.titleBarState = static_cast<int>(frame->windowState());
    title.text = frame->windowTitle();
    const int border = frame->style()->styleHint(QStyle::SH_TitleBar_NoBorder, &title, frame) ? 0 : 4;
    const int height = frame->style()->pixelMetric(QStyle::PM_TitleBarHeight, &title, frame)
        - (frame->isMinimized() ? 2 * border : border);
    title.rect = QRect(border, border, frame->width() - 2 * border, height);
    const QRect button = frame->style()->subControlRect(QStyle::CC_TitleBar, &title, control, frame);
    if (button.isEmpty() || !reaches(frame, button.center()))
        return false;
    pointAndClick(frame, button.center());
    return true;
}

bool WindowHand::clickTitle(QMdiSubWindow* frame)
{
    closeMenus();
    if (!frame->isVisible() || frame->isMaximized())
        return false;
    // Just right of the window icon, where the caption begins.
    const QPoint point(frame->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, frame) + 8,
                       frame->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, frame) / 2);
    if (!reaches(frame, point))
        return false;
    pointAndClick(frame, point);
    return true;
}

void whenDialogOpens(const QString& name, std::function<void(QWidget* dialog)> answer, std::chrono::milliseconds limit)
{
    auto* poll = new QTimer(qApp);
    auto* clock = new QElapsedTimer;
    clock->start();
    poll->setInterval(5);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, clock, name, answer = std::move(answer), limit] {
        QWidget* dialog = QApplication::activeModalWidget();
        const bool found = dialog && dialog->isVisible() && (name.isEmpty() || dialog->objectName() == name);
        if (!found && clock->elapsed() < limit.count())
            return;
        poll->stop();
        poll->deleteLater();
        delete clock;
        if (found)
            answer(dialog);
    });
    poll->start();
}

bool clickButton(QWidget* dialog, const char* name)
{
    auto* button = dialog->findChild<QPushButton*>(QLatin1String(name));
    if (!button)
        return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

bool typeInto(QWidget* dialog, const char* name, const QString& text)
{
    auto* box = dialog->findChild<QLineEdit*>(QLatin1String(name));
    if (!box)
        return false;
    box->setFocus();
    QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
    if (text.isEmpty())
        QTest::keyClick(box, Qt::Key_Delete);
    else
        QTest::keyClicks(box, text);
    return true;
}

} // namespace quvo::test
