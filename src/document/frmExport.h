#pragma once
// frmExport: the modal "Export chart" dialog of a document window. It saves the chart as a
// PNG image, an SVG drawing or a PDF document, chosen by the file's extension:
//   tbFile, btBrowse   the file (Browse... shows the file dialog through the prompter)
//   tbTitle            the title line above the chart
//   frSize             obScreenSize: as large as the chart on the screen (a PNG image with
//                      every device pixel of it); obCustomSize: tbWidth x tbHeight pixels
//   btOk, btCancel     Save, Cancel
// The rules (formats, sizes, what is offered first) are ChartExportSetup's; the drawing and
// writing are ChartExport's. A failure is shown through the prompter and the dialog stays
// open with everything as entered.

#include <QDialog>

class QGroupBox;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace quvo {

class ChartView;
class Prompter;

class frmExport : public QDialog {
    Q_OBJECT

public:
    frmExport(ChartView* chart, Prompter* prompter, QWidget* parent = nullptr);

    // Checks the entries and saves the chart; true when the file is written.
    bool saveChart();

private:
    void browse();
    void onSave();

    ChartView* m_chart;
    Prompter* m_prompter;
    QString m_confirmedPath; // chosen in the file dialog, which asked about replacing it

    QLineEdit* tbFile = nullptr;
    QPushButton* btBrowse = nullptr;
    QLineEdit* tbTitle = nullptr;
    QGroupBox* frSize = nullptr;
    QRadioButton* obScreenSize = nullptr;
    QRadioButton* obCustomSize = nullptr;
    QLineEdit* tbWidth = nullptr;
    QLineEdit* tbHeight = nullptr;
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
