#include "app/DarkPalette.h"

namespace quvo {

QPalette darkPalette()
{
    // Greys and a blue accent as the usual dark desktop themes use them.
    const QColor window(45, 45, 48);
    const QColor base(30, 30, 32);
    const QColor text(230, 230, 230);
    const QColor disabledText(128, 128, 128);
    const QColor accent(42, 130, 218);

    QPalette p(window);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, QColor(60, 60, 64));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabledText);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(58, 58, 62));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, QColor(255, 90, 90));
    p.setColor(QPalette::Link, QColor(110, 170, 255));
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Light, QColor(80, 80, 84));
    p.setColor(QPalette::Midlight, QColor(66, 66, 70));
    p.setColor(QPalette::Mid, QColor(40, 40, 42));
    p.setColor(QPalette::Dark, QColor(25, 25, 27));
    p.setColor(QPalette::Shadow, QColor(10, 10, 10));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, disabledText);
    p.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 84));
    return p;
}

} // namespace quvo
