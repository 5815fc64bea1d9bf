#include "link/frmPort.h"

#include "resources/ResID.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace quvo {

frmPort::frmPort(Comm* comm, QWidget* parent) : frmPort(comm, PortSetup::systemPorts(), parent) {}

frmPort::frmPort(Comm* comm, const QList<SystemPort>& systemPorts, QWidget* parent)
    : QDialog(parent), m_comm(comm)
{
    setObjectName(QStringLiteral("frmPort"));
    setModal(true);

    setWindowTitle(ResID(Res::PortCaption));
    llPort = new QLabel(ResID(Res::PortLabel), this);
    llPort->setObjectName(QStringLiteral("llPort"));
    cbPort = new QComboBox(this);
    cbPort->setObjectName(QStringLiteral("cbPort"));
    cbPort->setEditable(true); // a device path that is not listed may be typed
    cbPort->setInsertPolicy(QComboBox::NoInsert);
    cbPort->setMinimumContentsLength(12);
    cbPort->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    llPort->setBuddy(cbPort);
    btOk = new QPushButton(QStringLiteral("OK"), this);
    btOk->setObjectName(QStringLiteral("btOk"));
    btOk->setDefault(true);
    btCancel = new QPushButton(ResID(Res::Cancel), this);
    btCancel->setObjectName(QStringLiteral("btCancel"));

    auto* row = new QHBoxLayout;
    row->addWidget(llPort);
    row->addWidget(cbPort, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);
    auto* main = new QVBoxLayout(this);
    main->addLayout(row);
    main->addLayout(buttons);

    const QString current = PortSetup::portInUse(m_comm);
    m_entries = PortSetup::entries(systemPorts, current);
    cbPort->clear();
    for (const PortEntry& e : std::as_const(m_entries))
        cbPort->addItem(e.text, e.port);
    cbPort->setCurrentIndex(PortSetup::initialIndex(m_entries, current));

    // A blank text names no port: OK waits for one.
    connect(cbPort, &QComboBox::editTextChanged, this,
            [this](const QString& text) { btOk->setEnabled(!text.trimmed().isEmpty()); });
    connect(btOk, &QPushButton::clicked, this, &frmPort::onOk);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmPort::onOk()
{
    const QString port = PortSetup::portFor(m_entries, cbPort->currentText());
    if (port.isEmpty())
        return;
    PortSetup::accept(port, m_comm);
    accept();
}

} // namespace quvo
