#pragma once
// The main window's menu tree and tool bars as data: the names of the menus and their
// items (the names tests and the code find them by), the string-table number of every
// caption and tool tip, the tool-bar keys with their icons, and which menu command each
// tool-bar key stands for. frmMain builds its widgets from these tables.

#include <QString>

#include <initializer_list>
#include <span>

namespace quvo {

// One item of a menu; a separator has no text (0) but carries a name ("mnuFileBar1").
struct MenuItem {
    const char* name;
    int text;
};

// One menu of the menu bar with its caption and items.
struct MenuDefinition {
    const char* name;
    int text;
    std::initializer_list<MenuItem> items;
};

// A tool-bar button: its key, the number of its tool tip, its icon (":/icons/<icon>.svg").
struct ToolButton {
    const char* key;
    int tip;
    const char* icon;
};

std::span<const MenuDefinition> mainMenus();
// tbMain's buttons in their order on the bar.
std::span<const ToolButton> mainToolButtons();
// tbSub's single button.
const ToolButton& stopToolButton();
// tbMain groups its buttons: a separator follows "Forward", "Sdata" and "Graph".
bool separatorAfterToolButton(const QString& key);
// The menu item a tbMain key runs ("Open" -> "mnuFileOpen"); empty for an unknown key.
QString menuItemOfToolbarKey(const QString& key);

} // namespace quvo
