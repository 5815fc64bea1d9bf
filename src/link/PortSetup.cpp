#include "link/PortSetup.h"

#include "link/Comm.h"
#include "resources/ProgramState.h"
#include "resources/TextNumber.h"

#include <QSerialPortInfo>

namespace quvo {

QList<PortEntry> PortSetup::entries(const QList<SystemPort>& systemPorts, const QString& portNumber)
{
    QList<PortEntry> list;
    for (int n = 1; n <= NumberedPorts; ++n)
        list.append({QString::number(n), QString::number(n)});
    for (const SystemPort& p : systemPorts) {
        const QString text =
            p.description.isEmpty() ? p.location : p.location + QStringLiteral("  (") + p.description + QLatin1Char(')');
        list.append({text, p.location});
    }
    double number = 0;
    const bool isNumber = parseNumber(portNumber, number);
    if (!isNumber && !portNumber.trimmed().isEmpty()) {
        bool known = false;
        for (const PortEntry& e : std::as_const(list))
            known = known || e.port == portNumber;
        if (!known)
            list.append({portNumber, portNumber});
    }
    return list;
}

QList<SystemPort> PortSetup::systemPorts()
{
    QList<SystemPort> ports;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        ports.append({info.systemLocation(), info.description()});
    return ports;
}

QString PortSetup::portInUse(const Comm* comm)
{
    return comm ? comm->CommPort() : programState().PortNumber;
}

int PortSetup::initialIndex(const QList<PortEntry>& entries, const QString& portNumber)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries.at(i).port == portNumber)
            return i;
    }
    return 0;
}

QString PortSetup::portFor(const QList<PortEntry>& entries, const QString& text)
{
    for (const PortEntry& e : entries) {
        if (e.text == text)
            return e.port;
    }
    return text.trimmed();
}

void PortSetup::accept(const QString& port, Comm* comm)
{
    if (comm && comm->CommPort() == port)
        return;
    programState().PortNumber = port;
    if (comm)
        comm->setCommPort(port);
}

} // namespace quvo
