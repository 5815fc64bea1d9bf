#pragma once
// The port setup dialog's rules without widgets: the entries of the port list, the entry
// selected when the dialog opens, and what OK stores.
//
// The list holds "1" to "16" (the n-th serial port), then every serial port the system
// reports, shown with its description; the user may also type a device path (a
// pseudo-terminal is never listed). PortNumber is text: a number, or a device name.

#include <QList>
#include <QString>

namespace quvo {

class Comm;

// One entry of the list: what it shows, and the PortNumber text it stands for.
struct PortEntry {
    QString text;
    QString port;
    friend bool operator==(const PortEntry&, const PortEntry&) = default;
};

// A serial port as the system reports it.
struct SystemPort {
    QString location;    // the device ("/dev/ttyUSB0", "COM3")
    QString description; // "USB-Serial Controller", may be empty
};

class PortSetup {
public:
    static constexpr int NumberedPorts = 16;

    // The entries for the ports the system reports and the current PortNumber: "1".."16",
    // then the system's ports (their devices, with the description after them), then, when
    // PortNumber is a device name found nowhere else, that name (so OK keeps it).
    static QList<PortEntry> entries(const QList<SystemPort>& systemPorts, const QString& portNumber);
    // The ports the system reports now.
    static QList<SystemPort> systemPorts();

    // The entry selected on opening: the one standing exactly for PortNumber; the first
    // ("1") when none does (a number such as "0" or "17").
    static int initialIndex(const QList<PortEntry>& entries, const QString& portNumber);

    // The PortNumber text for the combo box's text: an entry's port when the text is that
    // entry's text, otherwise the typed text without surrounding blanks.
    static QString portFor(const QList<PortEntry>& entries, const QString& text);

    // OK: PortNumber := port, and the link's port follows (it is opened only by the next
    // operation). OK on the port the link uses already changes nothing: a port given for
    // this run only (--port, the simulated meter) stays this run's and never becomes
    // PortNumber, which the settings file keeps.
    static void accept(const QString& port, Comm* comm);

    // The port the dialog opens on: the one this run really uses (the link's), or
    // PortNumber without a link.
    static QString portInUse(const Comm* comm);
};

} // namespace quvo
