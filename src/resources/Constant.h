#pragma once
// Program-wide constants: names, limits, timings and the numbers that the parts of the
// program agree on (link modes, document kinds). Units are in the names or comments.

#include <QString>

namespace quvo {

// The application title: window captions, message-box titles, the settings store.
inline const QString AppTitle = QStringLiteral("Quvolink");

// Files in the program folder.
inline const QString SettingsFileName = QStringLiteral("QUVO.INI");
inline const QString WorkFileName = QStringLiteral("WORK.~~~");
inline const QString JournalFileName = QStringLiteral("RECORDING.JNL");

// Environment variable that names the program folder (settings and work file).
inline const char* const HomeEnvVar = "QUVOLINK_HOME";

// Serial line of the meter: 9600 baud, no parity, 8 data bits, 2 stop bits.
inline const QString LineSettings = QStringLiteral("9600,n,8,2");

// Timings.
constexpr int AnswerTimeoutMs = 5000;   // one command's wait for its answer
constexpr int RealtimeTickMs = 100;     // the sampling timer; bounds the lateness of a sample
constexpr int SplashWaitMs = 1000;      // each of the splash box's two waits

// A document holds at most this many readings (rows 1 … 32767).
constexpr int MaxReadings = 32767;

// Received text kept at most while no line end arrives; more is a garbled answer.
constexpr int RecvBufferLimit = 64 * 1024; // characters

// What the meter link is doing (`CommState`).
namespace CommStates {
constexpr int Forwarding = 0;        // forwarding a document to a workbook
constexpr int Download = 1;          // memory download
constexpr int RealtimeForward = 2;   // realtime start while its forwarding starts
constexpr int Realtime = 3;          // realtime recording running
constexpr int RealtimeCommand = 4;   // realtime starting or stopping
constexpr int Monitor = 5;           // monitor running
constexpr int MonitorCommand = 6;    // monitor starting or stopping
constexpr int Idle = 7;
} // namespace CommStates

// The command/answer handshake of one send (`LinkState`).
namespace LinkStates {
constexpr int Complete = 0;
constexpr int Waiting = 1;
constexpr int TimedOut = 2;
} // namespace LinkStates

// Kinds of child windows and documents (`DataKind`), kept as text in a window's Tag.
namespace DataKinds {
constexpr int Logging = 0;
constexpr int Unknown = 1;
constexpr int Realtime = 2;
constexpr int Monitor = 3;
constexpr int Save = 4;
} // namespace DataKinds

// "0", "2", "3", "4" give themselves; every other text (the empty one too) gives 1.
int ParseDataKind(const QString& tag);

// Readings that are shown and saved but never counted in the statistics.
inline const QString ErrorReading = QStringLiteral("ERROR");

// Meter commands.
namespace Commands {
inline const QString Start = QStringLiteral("SC,123");
inline const QString RemoteOn = QStringLiteral("PL,1");
inline const QString RemoteOff = QStringLiteral("PL,0");
inline const QString Model = QStringLiteral("RM");
inline const QString RecordCount = QStringLiteral("RN");
inline const QString LoggingInterval = QStringLiteral("RI");
inline const QString LoggingRecord = QStringLiteral("RL,");
inline const QString SaveRecord = QStringLiteral("RS,");
inline const QString Reading = QStringLiteral("RR,1");
inline const QString CommandRejected = QStringLiteral("CMD,ERR");
} // namespace Commands

// Questions asked before an acquisition (they carry no number in the string table).
inline const QString AskForwardRealtime = QStringLiteral("Do you need forward to Microsoft Excel realtime data?");
inline const QString AskForwardDownload = QStringLiteral("Do you need forward to Microsoft Excel after received data?");

// Per-user settings store.
inline const QString SettingsOrganisation = QStringLiteral("Quvolink");
inline const QString SettingsSection = QStringLiteral("Settings");
namespace Keys {
inline const QString MainLeft = QStringLiteral("MainLeft");
inline const QString MainTop = QStringLiteral("MainTop");
inline const QString MainWidth = QStringLiteral("MainWidth");
inline const QString MainHeight = QStringLiteral("MainHeight");
inline const QString MainState = QStringLiteral("MainState");
inline const QString MoniterLeft = QStringLiteral("MoniterLeft");
inline const QString MoniterTop = QStringLiteral("MoniterTop");
} // namespace Keys

} // namespace quvo
