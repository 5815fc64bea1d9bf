#include "forward/frmForward.h"

#include "resources/ResID.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace quvo {

namespace {

class frmForwardView : public ForwardDialogView {
public:
    frmForwardView(ForwardSetup& setup, QWidget* owner) : m_dialog(setup, owner) {}
    void exec() override { m_dialog.exec(); }

private:
    frmForward m_dialog;
};

template <class W>
W* named(W* widget, const char* name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

frmForward::frmForward(ForwardSetup& setup, QWidget* owner) : QDialog(owner), m_setup(setup)
{
    setObjectName(QStringLiteral("frmForward"));
    setWindowTitle(ResID(Res::ForwardCaption));
    setModal(true);

    m_frFile = named(new QGroupBox(ResID(Res::ExcelFileFrame), this), "frFile");
    m_obNew = named(new QRadioButton(ResID(Res::ForwardNew), m_frFile), "obNew");
    m_obOpen = named(new QRadioButton(ResID(Res::ForwardCustom), m_frFile), "obOpen");
    auto* options = new QButtonGroup(this);
    options->addButton(m_obNew);
    options->addButton(m_obOpen);
    m_tbFile = named(new QLineEdit(m_frFile), "tbFile");
    m_tbFile->setMinimumWidth(320);
    m_btBrawse = named(new QPushButton(ResID(Res::Browse), m_frFile), "btBrawse");
    m_cbFile = named(new QCheckBox(ResID(Res::AlwaysShowFile), m_frFile), "cbFile");
    auto* fileLayout = new QGridLayout(m_frFile);
    fileLayout->addWidget(m_obNew, 0, 0);
    fileLayout->addWidget(m_obOpen, 1, 0);
    fileLayout->addWidget(m_tbFile, 1, 1);
    fileLayout->addWidget(m_btBrawse, 1, 2);
    fileLayout->addWidget(m_cbFile, 2, 1, 1, 2);
    fileLayout->setColumnStretch(1, 1);

    m_frTitle = named(new QGroupBox(ResID(Res::TitleFrame), this), "frTitle");
    m_tbTitle = named(new QLineEdit(m_frTitle), "tbTitle");
    m_cbTitle = named(new QCheckBox(ResID(Res::AlwaysShowTitle), m_frTitle), "cbTitle");
    auto* titleLayout = new QVBoxLayout(m_frTitle);
    titleLayout->addWidget(m_tbTitle);
    titleLayout->addWidget(m_cbTitle);

    m_llExcel = named(new QLabel(this), "llExcel");
    m_llExcel->setText(QStringLiteral("The readings go to a new sheet: a table, MAX, MIN and AVG, and a chart."));
    m_llExcel->setWordWrap(true);

    m_btOk = named(new QPushButton(QStringLiteral("OK"), this), "btOk");
    m_btOk->setDefault(true);
    m_btCancel = named(new QPushButton(ResID(Res::Cancel), this), "btCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_llExcel, 1);
    buttons->addWidget(m_btOk);
    buttons->addWidget(m_btCancel);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_frFile);
    layout->addWidget(m_frTitle);
    layout->addLayout(buttons);

    // The logic's state as loaded (both check boxes start checked when their remembered
    // value is not empty; ForwardSetup::Load decides that).
    showSetup();

    // Setup -> widgets.
    connect(&m_setup, &ForwardSetup::tbFileChanged, this, [this](const QString& text) {
        if (m_tbFile->text() != text)
            m_tbFile->setText(text);
    });
    connect(&m_setup, &ForwardSetup::tbTitleChanged, this, [this](const QString& text) {
        if (m_tbTitle->text() != text)
            m_tbTitle->setText(text);
    });
    connect(&m_setup, &ForwardSetup::optionChanged, this, [this](bool newWorkbook) {
        (newWorkbook ? m_obNew : m_obOpen)->setChecked(true);
    });
    connect(&m_setup, &ForwardSetup::checkBoxesChanged, this, [this] {
        m_cbFile->setChecked(m_setup.cbFile());
        m_cbTitle->setChecked(m_setup.cbTitle());
    });
    connect(&m_setup, &ForwardSetup::focusFileRequested, this, [this] { m_tbFile->setFocus(); });
    connect(&m_setup, &ForwardSetup::closed, this, [this](bool confirmed) {
        if (confirmed)
            QDialog::accept();
        else
            QDialog::reject();
    });

    // Widgets -> setup.
    connect(m_tbFile, &QLineEdit::textChanged, &m_setup, &ForwardSetup::setTbFile);
    connect(m_tbTitle, &QLineEdit::textChanged, &m_setup, &ForwardSetup::setTbTitle);
    connect(m_obNew, &QRadioButton::toggled, this, [this](bool on) {
        if (on)
            m_setup.selectNew();
    });
    connect(m_obOpen, &QRadioButton::toggled, this, [this](bool on) {
        if (on)
            m_setup.selectOpen();
    });
    connect(m_cbFile, &QCheckBox::toggled, &m_setup, &ForwardSetup::setCbFile);
    connect(m_cbTitle, &QCheckBox::toggled, &m_setup, &ForwardSetup::setCbTitle);
    connect(m_btBrawse, &QPushButton::clicked, &m_setup, &ForwardSetup::btBrawseClick);
    connect(m_btOk, &QPushButton::clicked, &m_setup, &ForwardSetup::btOkClick);
    connect(m_btCancel, &QPushButton::clicked, &m_setup, &ForwardSetup::btCancelClick);
}

void frmForward::showSetup()
{
    m_tbFile->setText(m_setup.tbFile());
    m_tbTitle->setText(m_setup.tbTitle());
    (m_setup.obNew() ? m_obNew : m_obOpen)->setChecked(true);
    m_cbFile->setChecked(m_setup.cbFile());
    m_cbTitle->setChecked(m_setup.cbTitle());
}

void frmForward::reject()
{
    if (m_setup.isClosed())
        QDialog::reject();
    else
        m_setup.btCancelClick(); // closes through ForwardSetup::closed
}

ForwardDialogFactory frmForward::factory(QWidget* owner)
{
    return [owner](ForwardSetup& setup) -> std::unique_ptr<ForwardDialogView> {
        return std::make_unique<frmForwardView>(setup, owner);
    };
}

} // namespace quvo
