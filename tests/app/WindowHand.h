#pragma once
// Drives a main window as a hand does: menus dropped down from the menu bar with a click on
// their title (so aboutToShow fires as Qt fires it), items chosen with a click in the open
// menu, menus closed with Escape, tool-bar buttons clicked as widgets, modal dialogs
// answered with clicks on their buttons. Nothing here calls a slot or QAction::trigger().

#include <QPointer>
#include <QString>

#include <chrono>
#include <functional>

class QAction;
class QMainWindow;
class QMdiSubWindow;
class QMenu;
class QToolBar;
class QWidget;

namespace quvo::test {

class WindowHand {
public:
    explicit WindowHand(QMainWindow& window);

    // Clicks the menu's title on the menu bar. True when the menu is open afterwards (a
    // disabled menu does not open).
    bool dropDown(QMenu* menu);
    // Closes every open menu with Escape, as a person does who changed their mind.
    void closeMenus();
    // Drops the menu down and clicks the item. True when the item was enabled when clicked
    // (its command ran, and returned); a disabled item does nothing and the menu is closed.
    bool choose(QMenu* menu, QAction* item);
    // Clicks an item of the menu that is open now (after dropDown); as choose.
    bool clickItem(QMenu* menu, QAction* item);

    // Clicks the tool-bar button of the action. True when the button was there to click:
    // its bar shown and the button enabled (a disabled button is clicked all the same and
    // does nothing, as for a person).
    bool click(QToolBar* bar, QAction* action);

    // A button of a child window's title bar clicked: its close, maximise, minimise or
    // restore box (QStyle::SC_TitleBarCloseButton, ...); for a maximised child, whose
    // buttons move to the menu bar, the button there. False when the hand cannot reach such
    // a button now: not shown, or another window lies over it.
    bool clickTitleButton(QMdiSubWindow* frame, int subControl);
    // A click on the free part of a child window's title bar, which activates it. False when
    // the hand cannot reach it (a maximised window's title is the main window's).
    bool clickTitle(QMdiSubWindow* frame);

private:
    QPointer<QMainWindow> m_window;
};

// Runs answer(dialog) once a modal dialog whose object name is `name` (any, when empty) is
// up, from the event loop of that dialog. Waits at most `limit`.
void whenDialogOpens(const QString& name, std::function<void(QWidget* dialog)> answer,
                     std::chrono::milliseconds limit = std::chrono::seconds(20));

// Clicks a push button of a dialog by its object name ("btOk"). False when there is none.
bool clickButton(QWidget* dialog, const char* name);
// Replaces the text of a line edit of a dialog as typing would (select all, then type).
bool typeInto(QWidget* dialog, const char* name, const QString& text);

} // namespace quvo::test
