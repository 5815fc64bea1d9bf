#pragma once
// Steps of a hand at the windows, for tests of shown widgets: a context menu's item chosen,
// a modal dialog answered once it opens, a button clicked, a text typed into a box. Menus
// and modal dialogs open inside the click that shows them and keep it from returning until
// they close, so their steps are scheduled before that click and run from the event loop.
//
// Include after defining QTEST_QPA_MOUSE_HANDLING, so that mouse events go through the
// window as the platform delivers them (a right-click then opens a context menu, two clicks
// make a double-click).

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace quvo::test {

// Runs `step` once `find` finds its widget (polled every 10 ms). Gives up after five seconds,
// closing whatever popup or dialog is open, so that the test ends with a failure.
inline void whenShown(std::function<QWidget*()> find, std::function<void(QWidget*)> step, int triesLeft = 500)
{
    QTimer::singleShot(10, [find = std::move(find), step = std::move(step), triesLeft]() mutable {
        if (QWidget* w = find()) {
            step(w);
            return;
        }
        if (triesLeft > 0) {
            whenShown(std::move(find), std::move(step), triesLeft - 1);
            return;
        }
        ADD_FAILURE() << "the menu or dialog did not open";
        if (QWidget* popup = QApplication::activePopupWidget())
            popup->close();
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->reject();
    });
}

// Clicks the item `name` of the next context menu that opens. The menu opens while the right
// button is down; the hand lets it go over the menu first.
inline void chooseInNextMenu(const QString& name)
{
    whenShown([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); },
              [name](QWidget* w) {
                  auto* menu = static_cast<QMenu*>(w);
                  QTest::mouseRelease(menu, Qt::RightButton, {}, QPoint(2, 2));
                  QAction* item = nullptr;
                  for (QAction* a : menu->actions())
                      item = a->objectName() == name ? a : item;
                  if (!item || !item->isEnabled()) {
                      ADD_FAILURE() << "no enabled item " << name.toStdString();
                      menu->close();
                      return;
                  }
                  QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
              });
}

// Answers the modal dialog named `name` when it opens: `finish` fills it in and clicks the
// button that closes it. A dialog still open afterwards is a failure, and is closed.
inline void answerDialog(const QString& name, std::function<void(QDialog&)> finish)
{
    whenShown(
        [name] {
            QWidget* w = QApplication::activeModalWidget();
            return w && w->objectName() == name ? w : nullptr;
        },
        [finish = std::move(finish)](QWidget* w) {
            QPointer<QDialog> dialog = static_cast<QDialog*>(w);
            finish(*dialog);
            if (dialog && dialog->isVisible()) {
                ADD_FAILURE() << "the dialog " << dialog->objectName().toStdString() << " stayed open";
                dialog->reject();
            }
        });
}

// The child of that type and name (a failure when there is none).
template <class T>
T* childOf(QWidget& parent, const char* name)
{
    T* w = parent.findChild<T*>(QString::fromLatin1(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
}

// Clicks the button (or option button) of that name.
inline void clickOn(QWidget& parent, const char* button)
{
    if (auto* b = childOf<QAbstractButton>(parent, button))
        QTest::mouseClick(b, Qt::LeftButton, {}, b->rect().center());
}

// Clicks into the box of that name, selects what it holds and types `text` over it.
inline void typeInto(QWidget& parent, const char* box, const QString& text)
{
    auto* edit = childOf<QLineEdit>(parent, box);
    if (!edit)
        return;
    QTest::mouseClick(edit, Qt::LeftButton, {}, edit->rect().center());
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

} // namespace quvo::test
