#pragma once
// A value panel of a document window's status bars (stBar1..stBar3): a sunken panel that
// shows its text on one line. Where the panel is narrower than its text, the text ends in
// "…" and the panel's tool tip holds the whole text; otherwise there is no tool tip.

#include <QLabel>
#include <QString>

class QFontMetrics;

namespace quvo {

class StatusPanel : public QLabel {
    Q_OBJECT

public:
    explicit StatusPanel(QWidget* parent = nullptr);

    // Sets the text (QLabel::text() keeps it whole) and brings the tool tip up to date.
    void showText(const QString& text);

    // The text as it is drawn: whole, or cut to the panel's width and ended with "…".
    QString shownText() const;
    bool isElided() const { return shownText() != text(); }

    // Where the text is drawn: inside the frame, with half an "x" of room on each side.
    QRect textRect() const;
    // The panel width that shows `text` whole.
    int widthFor(const QString& text) const;

    // `text` cut to `width` pixels with a "…" at its end, or whole when it fits.
    static QString elided(const QFontMetrics& metrics, const QString& text, int width);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int sideRoom() const;
    void updateToolTip();
};

} // namespace quvo
