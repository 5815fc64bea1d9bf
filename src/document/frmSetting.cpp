#include "document/frmSetting.h"

#include "document/DataDocument.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"

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

QLineEdit* makeBox(QWidget* parent, const char* name)
{
    auto* box = new QLineEdit(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setMaximumWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("-00000.00000")) + 12);
    return box;
}

QLabel* makeLabel(QWidget* parent, const char* name, int text)
{
    auto* label = new QLabel(ResID(text), parent);
    label->setObjectName(QString::fromLatin1(name));
    return label;
}

QRadioButton* makeOption(QWidget* parent, const char* name, int text)
{
    auto* option = new QRadioButton(ResID(text), parent);
    option->setObjectName(QString::fromLatin1(name));
    return option;
}

} // namespace

frmSetting::frmSetting(DataDocument* document, Prompter* prompter, QWidget* parent)
    : QDialog(parent), m_document(document), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmSetting"));
    setWindowTitle(ResID(Res::GraphCaption));
    setModal(true);

    // X axis frame.
    frXaxis = new QGroupBox(ResID(Res::XAxis), this);
    frXaxis->setObjectName(QStringLiteral("frXaxis"));
    obXauto = makeOption(frXaxis, "obXauto", Res::Automatic);
    obXuser = makeOption(frXaxis, "obXuser", Res::Custom);
    tbEnd = makeBox(frXaxis, "tbEnd");
    tbTick = makeBox(frXaxis, "tbTick");
    tbLabel = makeBox(frXaxis, "tbLabel");
    auto* x = new QGridLayout(frXaxis);
    x->addWidget(obXauto, 0, 0, 1, 2);
    x->addWidget(obXuser, 1, 0);
    x->addWidget(makeLabel(frXaxis, "llCount", Res::DataRange), 2, 0);
    x->addWidget(tbEnd, 2, 1);
    x->addWidget(makeLabel(frXaxis, "llTick", Res::TickMarks), 3, 0);
    x->addWidget(tbTick, 3, 1);
    x->addWidget(makeLabel(frXaxis, "llLabel", Res::TickMarkLabels), 4, 0);
    x->addWidget(tbLabel, 4, 1);

    // Y axis frame.
    frYaxis = new QGroupBox(ResID(Res::YAxis), this);
    frYaxis->setObjectName(QStringLiteral("frYaxis"));
    obYauto = makeOption(frYaxis, "obYauto", Res::Automatic);
    obYuser = makeOption(frYaxis, "obYuser", Res::Custom);
    tbMin = makeBox(frYaxis, "tbMin");
    tbMax = makeBox(frYaxis, "tbMax");
    tbMajor = makeBox(frYaxis, "tbMajor");
    tbMinor = makeBox(frYaxis, "tbMinor");
    auto* y = new QGridLayout(frYaxis);
    y->addWidget(obYauto, 0, 0, 1, 2);
    y->addWidget(obYuser, 1, 0);
    y->addWidget(makeLabel(frYaxis, "llMin", Res::Minimum), 2, 0);
    y->addWidget(tbMin, 2, 1);
    y->addWidget(makeLabel(frYaxis, "llMax", Res::Maximum), 3, 0);
    y->addWidget(tbMax, 3, 1);
    y->addWidget(makeLabel(frYaxis, "llMajor", Res::MajorDivision), 4, 0);
    y->addWidget(tbMajor, 4, 1);
    y->addWidget(makeLabel(frYaxis, "llMinor", Res::MinorDivision), 5, 0);
    y->addWidget(tbMinor, 5, 1);

    btApply = new QPushButton(ResID(Res::Apply), this);
    btApply->setObjectName(QStringLiteral("btApply"));
    btOk = new QPushButton(QStringLiteral("OK"), this);
    btOk->setObjectName(QStringLiteral("btOk"));
    btOk->setDefault(true);
    btCancel = new QPushButton(ResID(Res::Cancel), this);
    btCancel->setObjectName(QStringLiteral("btCancel"));

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);
    buttons->addWidget(btApply);
    auto* frames = new QHBoxLayout;
    frames->addWidget(frXaxis);
    frames->addWidget(frYaxis, 0, Qt::AlignTop);
    auto* main = new QVBoxLayout(this);
    main->addLayout(frames);
    main->addLayout(buttons);

    // Typing in a box of a frame selects that frame's Custom option.
    for (QLineEdit* box : {tbEnd, tbTick, tbLabel})
        connect(box, &QLineEdit::textChanged, this, [this] { obXuser->setChecked(true); });
    for (QLineEdit* box : {tbMin, tbMax, tbMajor, tbMinor})
        connect(box, &QLineEdit::textChanged, this, [this] { obYuser->setChecked(true); });

    connect(btApply, &QPushButton::clicked, this, &frmSetting::onApply);
    connect(btOk, &QPushButton::clicked, this, &frmSetting::onOk);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);

    load();
}

void frmSetting::load()
{
    if (!m_document)
        return;
    m_setup.load(*m_document);
    // The boxes first (their change events select Custom), then the option buttons, so the
    // stored automatic flags win.
    setFields(m_setup.fields);
}

void frmSetting::setFields(const GraphSetupFields& f)
{
    tbEnd->setText(f.end);
    tbLabel->setText(f.label);
    tbTick->setText(f.tick);
    tbMin->setText(f.minimum);
    tbMax->setText(f.maximum);
    tbMajor->setText(f.major);
    tbMinor->setText(f.minor);
    (f.xUser ? obXuser : obXauto)->setChecked(true);
    (f.yUser ? obYuser : obYauto)->setChecked(true);
}

GraphSetupFields frmSetting::fields() const
{
    GraphSetupFields f;
    f.end = tbEnd->text();
    f.tick = tbTick->text();
    f.label = tbLabel->text();
    f.minimum = tbMin->text();
    f.maximum = tbMax->text();
    f.major = tbMajor->text();
    f.minor = tbMinor->text();
    f.xUser = obXuser->isChecked();
    f.yUser = obYuser->isChecked();
    return f;
}

bool frmSetting::ApplyGraphSetup()
{
    if (!m_document || !m_prompter)
        return false;
    m_setup.fields = fields();
    const bool done = m_setup.ApplyGraphSetup(*m_document, *m_prompter);
    // Corrections go back into their boxes (a box is only written when its text changed,
    // so a correction selects its frame's Custom option as typing would).
    const GraphSetupFields& f = m_setup.fields;
    const auto put = [](QLineEdit* box, const QString& text) {
        if (box->text() != text)
            box->setText(text);
    };
    put(tbEnd, f.end);
    put(tbTick, f.tick);
    put(tbLabel, f.label);
    put(tbMax, f.maximum);
    put(tbMin, f.minimum);
    put(tbMajor, f.major);
    put(tbMinor, f.minor);
    return done;
}

void frmSetting::onApply()
{
    ApplyGraphSetup(); // the dialog stays open either way
}

void frmSetting::onOk()
{
    if (ApplyGraphSetup())
        accept();
}

} // namespace quvo
