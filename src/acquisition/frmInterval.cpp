#include "acquisition/frmInterval.h"

#include "resources/Prompter.h"
#include "resources/ResID.h"

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

QLineEdit* makeBox(QWidget* parent, const char* name)
{
    auto* box = new QLineEdit(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setMaxLength(8);
    box->setFixedWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("0000")) + 14);
    box->setAlignment(Qt::AlignRight);
    return box;
}

QLabel* makeLabel(QWidget* parent, const char* name, const QString& text)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(name));
    return label;
}

} // namespace

frmInterval::frmInterval(DataDocument* document, Prompter* prompter, QWidget* parent)
    : QDialog(parent), m_document(document), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmInterval"));
    setModal(true);

    // Captions, from the string table.
    setWindowTitle(ResID(Res::IntervalCaption));

    // Interval: days, hours, minutes, seconds in one row, the three separators between the
    // four time boxes.
    frInterval = new QGroupBox(ResID(Res::IntervalFrame), this);
    frInterval->setObjectName(QStringLiteral("frInterval"));
    tbIday = makeBox(frInterval, "tbIday");
    tbIhour = makeBox(frInterval, "tbIhour");
    tbImin = makeBox(frInterval, "tbImin");
    tbIsec = makeBox(frInterval, "tbIsec");
    QLabel* llIday = makeLabel(frInterval, "llIday", ResID(Res::Day));
    QLabel* llIhour = makeLabel(frInterval, "llIhour", ResID(Res::Hour));
    QLabel* llImin = makeLabel(frInterval, "llImin", ResID(Res::Minute));
    QLabel* llIsec = makeLabel(frInterval, "llIsec", ResID(Res::Second));
    QLabel* label1 = makeLabel(frInterval, "Label1", QStringLiteral("+"));
    QLabel* label2 = makeLabel(frInterval, "Label2", QStringLiteral("+"));
    QLabel* label3 = makeLabel(frInterval, "Label3", QStringLiteral("+"));
    auto* i = new QGridLayout(frInterval);
    i->addWidget(tbIday, 0, 0);
    i->addWidget(llIday, 0, 1);
    i->addWidget(label1, 0, 2);
    i->addWidget(tbIhour, 0, 3);
    i->addWidget(llIhour, 0, 4);
    i->addWidget(label2, 0, 5);
    i->addWidget(tbImin, 0, 6);
    i->addWidget(llImin, 0, 7);
    i->addWidget(label3, 0, 8);
    i->addWidget(tbIsec, 0, 9);
    i->addWidget(llIsec, 0, 10);
    m_intervalControls = {frInterval, llIday, llIhour, llImin, llIsec, tbIday, tbIhour, tbImin, tbIsec,
                          label1,     label2, label3};

    // Period: None, or Custom with the four boxes.
    frPeriod = new QGroupBox(ResID(Res::PeriodFrame), this);
    frPeriod->setObjectName(QStringLiteral("frPeriod"));
    obNone = new QRadioButton(ResID(Res::PeriodNone), frPeriod);
    obNone->setObjectName(QStringLiteral("obNone"));
    obUser = new QRadioButton(ResID(Res::PeriodCustom), frPeriod);
    obUser->setObjectName(QStringLiteral("obUser"));
    tbPday = makeBox(frPeriod, "tbPday");
    tbPhour = makeBox(frPeriod, "tbPhour");
    tbPmin = makeBox(frPeriod, "tbPmin");
    tbPsec = makeBox(frPeriod, "tbPsec");
    auto* p = new QGridLayout(frPeriod);
    p->addWidget(obNone, 0, 0, 1, 4);
    p->addWidget(obUser, 1, 0, 1, 4);
    p->addWidget(tbPday, 2, 0);
    p->addWidget(makeLabel(frPeriod, "llPday", ResID(Res::Day)), 2, 1);
    p->addWidget(tbPhour, 2, 2);
    p->addWidget(makeLabel(frPeriod, "llPhour", ResID(Res::Hour)), 2, 3);
    p->addWidget(tbPmin, 2, 4);
    p->addWidget(makeLabel(frPeriod, "llPmin", ResID(Res::Minute)), 2, 5);
    p->addWidget(tbPsec, 2, 6);
    p->addWidget(makeLabel(frPeriod, "llPsec", ResID(Res::Second)), 2, 7);

    // Beyond one document: off unless chosen, so that a full document ends the recording.
    chkContinue = new QCheckBox(ContinueWhenFullText, this);
    chkContinue->setObjectName(QStringLiteral("chkContinue"));

    btOk = new QPushButton(QStringLiteral("OK"), this);
    btOk->setObjectName(QStringLiteral("btOk"));
    btOk->setDefault(true);
    btCancel = new QPushButton(ResID(Res::Cancel), this);
    btCancel->setObjectName(QStringLiteral("btCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);
    auto* main = new QVBoxLayout(this);
    main->addWidget(frInterval);
    main->addWidget(frPeriod);
    main->addWidget(chkContinue);
    main->addLayout(buttons);

    // Typing in a period box selects Custom.
    for (QLineEdit* box : {tbPday, tbPhour, tbPmin, tbPsec})
        connect(box, &QLineEdit::textChanged, this, [this] { obUser->setChecked(true); });
    connect(btOk, &QPushButton::clicked, this, &frmInterval::onOk);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);

    load();
}

void frmInterval::load()
{
    if (!m_document)
        return;
    // The interval of a document holding readings cannot change: its time labels were
    // computed from it. The period stays editable.
    if (!IntervalSetup::intervalEditable(*m_document)) {
        for (QWidget* w : std::as_const(m_intervalControls))
            w->setEnabled(false);
    }
    m_setup.load(*m_document);
    const IntervalSetupFields& f = m_setup.fields;
    tbIday->setText(f.interval.days);
    tbIhour->setText(f.interval.hours);
    tbImin->setText(f.interval.minutes);
    tbIsec->setText(f.interval.seconds);
    tbPday->setText(f.period.days);
    tbPhour->setText(f.period.hours);
    tbPmin->setText(f.period.minutes);
    tbPsec->setText(f.period.seconds);
    // After the boxes, whose change events select Custom: the stored flag wins.
    (f.periodNone ? obNone : obUser)->setChecked(true);
    chkContinue->setChecked(f.continueWhenFull);
}

IntervalSetupFields frmInterval::fields() const
{
    IntervalSetupFields f;
    f.interval = {tbIday->text(), tbIhour->text(), tbImin->text(), tbIsec->text()};
    f.period = {tbPday->text(), tbPhour->text(), tbPmin->text(), tbPsec->text()};
    f.periodNone = obNone->isChecked();
    f.continueWhenFull = chkContinue->isChecked();
    return f;
}

void frmInterval::putBack(const IntervalSetupFields& f)
{
    const auto put = [](QLineEdit* box, const QString& text) {
        if (box->text() != text)
            box->setText(text);
    };
    put(tbIday, f.interval.days);
    put(tbIhour, f.interval.hours);
    put(tbImin, f.interval.minutes);
    put(tbIsec, f.interval.seconds);
    put(tbPday, f.period.days);
    put(tbPhour, f.period.hours);
    put(tbPmin, f.period.minutes);
    put(tbPsec, f.period.seconds);
}

void frmInterval::onOk()
{
    if (!m_document || !m_prompter)
        return;
    m_setup.fields = fields();
    // The corrected values are in the boxes before the message appears, and stay there for
    // another try.
    if (m_setup.accept(*m_document, *m_prompter, [this](const IntervalSetupFields& corrected) { putBack(corrected); }))
        accept();
}

} // namespace quvo
