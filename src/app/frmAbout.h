#pragma once
// frmAbout: the modal About box (logo, product, version, copyright, warning, OK). The layout
// is AboutLayout's; btOk closes the box.

#include "app/AboutLayout.h"

#include <QDialog>

class QLabel;
class QPushButton;

namespace quvo {

// The controls the splash and the About box share, created on `parent` with their object
// names (pbLogo, llProduct, llVersion, llCopyright, llWarning) and texts.
struct AboutControls {
    QLabel* pbLogo = nullptr;
    QLabel* llProduct = nullptr;
    QLabel* llVersion = nullptr;
    QLabel* llCopyright = nullptr;
    QLabel* llWarning = nullptr;

    static AboutControls create(QWidget* parent, const QString& warning);
    // The logo's rectangle and the labels' sizes in twips (the warning wrapped at its width).
    QRectF logoTwips() const;
    AboutLabels labelSizesTwips() const;
    // Places the controls and sizes `form` (twips to pixels at the form's DPI).
    void apply(QWidget* form, const AboutPlacement& placement) const;
};

class frmAbout : public QDialog {
    Q_OBJECT

public:
    explicit frmAbout(QWidget* parent = nullptr);

    const AboutPlacement& placement() const { return m_placement; }

private:
    AboutControls m_controls;
    QPushButton* btOk = nullptr;
    AboutPlacement m_placement;
};

} // namespace quvo
