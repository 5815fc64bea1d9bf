#include "document/frmLimits.h"

#include "resources/ObjectName.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <variant>

namespace quvo {

namespace {

QString fieldText(const std::optional<double>& limit)
{
    return limit ? limitText(*limit) : QString();
}

} // namespace

frmLimits::frmLimits(const Limits& limits, Prompter* prompter, QWidget* parent)
    : QDialog(parent), m_prompter(prompter), m_limits(limits)
{
    setObjectName(QStringLiteral("frmLimits"));
    setWindowTitle(QStringLiteral("Limits"));
    setModal(true);

    tbUpper = named(new QLineEdit(this), "tbUpper");
    tbLower = named(new QLineEdit(this), "tbLower");
    for (QLineEdit* box : {tbUpper, tbLower}) {
        box->setPlaceholderText(QStringLiteral("none"));
        box->setMinimumWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("-0.000000000E-00")) + 12);
    }
    cbUnit = named(new QComboBox(this), "cbUnit");
    cbUnit->addItems(limitUnits());
    cbBuzzer = named(new QCheckBox(QStringLiteral("&Buzzer: sound when a reading goes out of limits"), this),
                     "cbBuzzer");
    llHelp = named(new QLabel(this), "llHelp");
    llHelp->setWordWrap(true);
    llHelp->setText(QStringLiteral("Readings of the unit above the upper limit are HI, below the lower limit LO, "
                                   "the others PASS. A limit is a number in the unit's base, with an SI prefix "
                                   "if you like: 0.005, 5E-3 and 5m are the same. Leave a limit empty for none."));

    auto* form = new QFormLayout;
    const auto addRow = [&](const char* name, const QString& caption, QWidget* field) {
        auto* label = named(new QLabel(caption, this), name);
        label->setBuddy(field);
        form->addRow(label, field);
    };
    addRow("llUpper", QStringLiteral("&Upper limit:"), tbUpper);
    addRow("llLower", QStringLiteral("&Lower limit:"), tbLower);
    addRow("llUnit", QStringLiteral("U&nit:"), cbUnit);

    btClear = named(new QPushButton(QStringLiteral("&No limits"), this), "btClear");
    btOk = named(new QPushButton(QStringLiteral("OK"), this), "btOk");
    btOk->setDefault(true);
    btCancel = named(new QPushButton(ResID(Res::Cancel), this), "btCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(btClear);
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);

    auto* main = new QVBoxLayout(this);
    main->addLayout(form);
    main->addWidget(cbBuzzer);
    main->addWidget(llHelp);
    main->addLayout(buttons);
    // The help wraps within the width the fields need, not across the screen.
    llHelp->setMinimumWidth(form->sizeHint().width());

    tbUpper->setText(fieldText(limits.upper));
    tbLower->setText(fieldText(limits.lower));
    const QString unit = limits.unit.isEmpty() ? limitUnits().constFirst() : limits.unit;
    const int index = cbUnit->findText(unit, Qt::MatchFixedString);
    if (index >= 0) {
        cbUnit->setCurrentIndex(index);
    } else {
        cbUnit->addItem(unit); // a unit kept from before that the list does not name
        cbUnit->setCurrentIndex(cbUnit->count() - 1);
    }
    cbBuzzer->setChecked(limits.buzzer);

    connect(btClear, &QPushButton::clicked, this, [this] {
        tbUpper->clear();
        tbLower->clear();
        tbUpper->setFocus();
    });
    connect(btOk, &QPushButton::clicked, this, &frmLimits::onOk);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmLimits::onOk()
{
    const auto checked = checkLimits(tbUpper->text(), tbLower->text(), cbUnit->currentText(), cbBuzzer->isChecked());
    if (const auto* problem = std::get_if<LimitsProblem>(&checked)) {
        if (m_prompter)
            m_prompter->warn(problem->message);
        QWidget* field = problem->field == LimitField::Upper ? static_cast<QWidget*>(tbUpper)
            : problem->field == LimitField::Lower            ? static_cast<QWidget*>(tbLower)
                                                             : static_cast<QWidget*>(cbUnit);
        field->setFocus();
        if (auto* box = qobject_cast<QLineEdit*>(field))
            box->selectAll();
        return;
    }
    m_limits = std::get<Limits>(checked);
    accept();
}

} // namespace quvo
