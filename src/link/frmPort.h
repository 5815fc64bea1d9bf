#pragma once
// frmPort: the modal "Communications Port setup" dialog. It opens on the port this run
// uses. OK on another port sets PortNumber and the link's port at once (the port is opened
// only by the next operation; the settings file follows when the program ends); OK on the
// same port and Cancel change nothing.

#include "link/PortSetup.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QPushButton;

namespace quvo {

class Comm;

class frmPort : public QDialog {
    Q_OBJECT

public:
    // `systemPorts`: the ports to list after "1".."16"; by default what the system reports.
    explicit frmPort(Comm* comm, QWidget* parent = nullptr);
    frmPort(Comm* comm, const QList<SystemPort>& systemPorts, QWidget* parent = nullptr);

    const QList<PortEntry>& entries() const { return m_entries; }

private:
    void onOk();

    Comm* m_comm;
    QList<PortEntry> m_entries;
    QLabel* llPort = nullptr;
    QComboBox* cbPort = nullptr;
    QPushButton* btOk = nullptr;
    QPushButton* btCancel = nullptr;
};

} // namespace quvo
