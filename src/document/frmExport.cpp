#include "document/frmExport.h"

#include "document/ChartExport.h"
#include "document/ChartExportSetup.h"
#include "document/ChartView.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace quvo {

namespace {

QLabel* makeLabel(QWidget* parent, const char* name, const QString& text, QWidget* buddy = nullptr)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(name));
    if (buddy)
        label->setBuddy(buddy);
    return label;
}

QLineEdit* makeSideBox(QWidget* parent, const char* name, int value)
{
    auto* box = new QLineEdit(QString::number(value), parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setValidator(new QIntValidator(0, LargestChartSide, box));
    box->setMaximumWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("000000")) + 16);
    return box;
}

QString documentsFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return folder.isEmpty() ? QDir::homePath() : folder;
}

} // namespace

frmExport::frmExport(ChartView* chart, Prompter* prompter, QWidget* parent)
    : QDialog(parent), m_chart(chart), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmExport"));
    setWindowTitle(ResID(Res::ExportCaption));
    setModal(true);

    const DataDocument* document = chart ? chart->document() : nullptr;
    const QSize screen = chart ? chart->size() : QSize(800, 500);
    const QSize pixels = screenPixels(screen, chart ? chart->devicePixelRatioF() : 1);

    tbFile = new QLineEdit(document ? QDir::toNativeSeparators(defaultChartPath(*document, documentsFolder())) : QString(),
                           this);
    tbFile->setObjectName(QStringLiteral("tbFile"));
    tbFile->setMinimumWidth(tbFile->fontMetrics().horizontalAdvance(QLatin1Char('M')) * 28);
    btBrowse = new QPushButton(ResID(Res::Browse), this);
    btBrowse->setObjectName(QStringLiteral("btBrowse"));
    tbTitle = new QLineEdit(document ? defaultChartTitle(*document) : QString(), this);
    tbTitle->setObjectName(QStringLiteral("tbTitle"));

    frSize = new QGroupBox(ResID(Res::ExportSize), this);
    frSize->setObjectName(QStringLiteral("frSize"));
    obScreenSize = new QRadioButton(ResID(Res::ExportScreenSize).arg(pixels.width()).arg(pixels.height()), frSize);
    obScreenSize->setObjectName(QStringLiteral("obScreenSize"));
    obScreenSize->setChecked(true);
    obCustomSize = new QRadioButton(ResID(Res::Custom), frSize);
    obCustomSize->setObjectName(QStringLiteral("obCustomSize"));
    tbWidth = makeSideBox(frSize, "tbWidth", pixels.width());
    tbHeight = makeSideBox(frSize, "tbHeight", pixels.height());
    auto* custom = new QHBoxLayout;
    custom->addWidget(obCustomSize);
    custom->addSpacing(fontMetrics().horizontalAdvance(QLatin1Char('M')));
    custom->addWidget(makeLabel(frSize, "llWidth", ResID(Res::ExportWidth), tbWidth));
    custom->addWidget(tbWidth);
    custom->addWidget(makeLabel(frSize, "llHeight", ResID(Res::ExportHeight), tbHeight));
    custom->addWidget(tbHeight);
    custom->addWidget(makeLabel(frSize, "llPixels", ResID(Res::ExportPixels)));
    custom->addStretch(1);
    auto* size = new QVBoxLayout(frSize);
    size->addWidget(obScreenSize);
    size->addLayout(custom);
    // Typing a size chooses it.
    for (QLineEdit* box : {tbWidth, tbHeight})
        connect(box, &QLineEdit::textEdited, this, [this] { obCustomSize->setChecked(true); });

    btOk = new QPushButton(ResID(Res::ExportSave), this);
    btOk->setObjectName(QStringLiteral("btOk"));
    btOk->setDefault(true);
    btCancel = new QPushButton(ResID(Res::Cancel), this);
    btCancel->setObjectName(QStringLiteral("btCancel"));

    auto* fields = new QGridLayout;
    fields->addWidget(makeLabel(this, "llFile", ResID(Res::ExportFile), tbFile), 0, 0);
    fields->addWidget(tbFile, 0, 1);
    fields->addWidget(btBrowse, 0, 2);
    fields->addWidget(makeLabel(this, "llTitle", ResID(Res::ExportTitle), tbTitle), 1, 0);
    fields->addWidget(tbTitle, 1, 1, 1, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(frSize);
    layout->addLayout(buttons);

    connect(btBrowse, &QPushButton::clicked, this, &frmExport::browse);
    connect(btOk, &QPushButton::clicked, this, &frmExport::onSave);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmExport::browse()
{
    if (!m_prompter)
        return;
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Save;
    request.filter = ResID(Res::ChartFiles);
    request.fileName = QDir::fromNativeSeparators(tbFile->text().trimmed());
    request.defaultExtension = QStringLiteral("png");
    request.pathMustExist = true;
    request.overwritePrompt = true;
    const QString chosen = m_prompter->chooseFile(request);
    if (chosen.isEmpty())
        return;
    m_confirmedPath = chosen;
    tbFile->setText(QDir::toNativeSeparators(chosen));
}

void frmExport::onSave()
{
    if (saveChart())
        accept();
}

bool frmExport::saveChart()
{
    if (!m_chart || !m_prompter)
        return false;
    ChartExportFields fields;
    fields.path = QDir::fromNativeSeparators(tbFile->text().trimmed());
    fields.title = tbTitle->text();
    fields.screenSize = obScreenSize->isChecked();
    fields.width = tbWidth->text();
    fields.height = tbHeight->text();
    const ChartExportCheck check = checkChartExport(fields, m_chart->size(), m_chart->devicePixelRatioF());
    if (!check.ok) {
        m_prompter->warn(check.message);
        return false;
    }
    const QString path = QFileInfo(fields.path).absoluteFilePath();
    if (QFileInfo::exists(path) && path != QFileInfo(m_confirmedPath).absoluteFilePath()) {
        const PromptAnswer answer =
            m_prompter->message(QDir::toNativeSeparators(path) + QStringLiteral("\r\n") + ResID(Res::ReplaceFile),
                                PromptButtons::YesNo, PromptIcon::Exclamation, PromptAnswer::No);
        if (answer != PromptAnswer::Yes)
            return false;
    }
    ChartPicture picture;
    picture.format = check.format;
    picture.pixels = check.pixels;
    picture.scale = check.scale;
    picture.title = fields.title.trimmed();
    QString error;
    if (!saveChartPicture(*m_chart, path, picture, error)) {
        m_prompter->warn(ResID(Res::ChartNotSaved) + QStringLiteral("\r\n") + error);
        return false;
    }
    return true;
}

} // namespace quvo
