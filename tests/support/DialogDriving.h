#pragma once
// Driving windows and dialogs as a hand does, for the GUI tests: a menu dropped down with a
// click on the menu bar and an item clicked, a modal dialog answered once it is open, its
// fields found by their object names, typed into and clicked. Header only: the tests that
// include it link Qt Widgets and Qt Test.

#include "support/TestHelpers.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace quvo::test {

// A child of a window by its object name; a failed expectation when there is none.
template <class W>
W* field(QWidget& window, const char* name)
{
    W* w = window.findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
}

// Types `text` into a box in place of what it holds.
inline void typeInto(QWidget& window, const char* name, const QString& text)
{
    QLineEdit* box = field<QLineEdit>(window, name);
    box->setFocus();
    box->selectAll();
    QTest::keyClicks(box, text);
}

// A click in the middle of a button, check box or tool button.
inline void clickOn(QAbstractButton* button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
}
inline void clickOn(QWidget& window, const char* name)
{
    clickOn(field<QAbstractButton>(window, name));
}

// Runs `answer` on the modal dialog of type D as soon as it is open (a failed expectation
// that left it open rejects it). `opened` becomes true when it ran.
template <class D>
void whenModalOpens(std::function<void(D&)> answer, bool& opened)
{
    // Each pending look holds the function; the function itself only a weak reference.
    auto look = std::make_shared<std::function<void()>>();
    std::weak_ptr<std::function<void()>> self = look;
    *look = [self, answer = std::move(answer), &opened] {
        auto* dialog = qobject_cast<D*>(QApplication::activeModalWidget());
        if (!dialog) {
            QTimer::singleShot(10, [again = self.lock()] { (*again)(); });
            return;
        }
        opened = true;
        answer(*dialog);
        if (dialog->isVisible())
            dialog->reject();
    };
    QTimer::singleShot(10, [look] { (*look)(); });
}

// Drops `menu` down with a click on its title in the menu bar, then clicks `item`. False
// when the menu did not open or the item is disabled.
inline bool chooseMenuItem(QMenuBar* bar, QMenu* menu, QAction* item)
{
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
    if (!waitFor([&] { return menu->isVisible(); }, std::chrono::seconds(5)))
        return false;
    EXPECT_TRUE(item->isEnabled());
    if (!item->isEnabled())
        return false;
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
    return true;
}

} // namespace quvo::test
