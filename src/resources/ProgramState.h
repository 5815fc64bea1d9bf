#pragma once
// The program-wide values that several parts of the program share, kept together in one
// place. Everything runs on the user-interface thread, so there are no locks. Tests call
// resetProgramState() to start from the values the program starts with.

#include <QString>

#include <cstdint>

namespace quvo {

class DataDocument;

struct ProgramState {
    // --- Meter link -------------------------------------------------------------------
    std::int32_t CommState = 7;     // what the link is doing (CommStates)
    std::int32_t LinkState = 0;     // handshake of the current send (LinkStates)
    QString RecvBuffer;             // received text; after a complete answer, the answer line
    QString LastCommand;            // the command text last written, without CR LF
    bool TickArmed = false;         // streaming modes take text only while set; tick re-entry guard
    bool StopRequested = false;     // Stop of realtime recording or monitor mode
    bool CancelRequested = false;   // Cancel of a download
    QString LastError;              // reason of the last failure, shown by the operation the user started

    // --- Meter and documents ----------------------------------------------------------
    QString MeterModel;             // one character: the model code of the meter or of a data file
    bool PadRecords = false;        // true while a download adds its blank padding rows
    std::int16_t NewCount = 0;      // documents made by OpenNew, for the "New<n>" captions
    DataDocument* RealtimeDoc = nullptr; // the document acquisition writes into
    DataDocument* CurrentDoc = nullptr;  // the document a dialog or forwarding works on
    bool MonitorShown = false;      // the Monitor window is loaded
    bool RealtimeCommandsOn = false; // realtime commands are switched on: documents keep their chart still

    // --- Settings file ----------------------------------------------------------------
    QString PortNumber = QStringLiteral("1"); // serial port: "1".."16" or a device name
    QString ForwardFile;            // remembered workbook path
    QString ForwardTitle;           // remembered sheet title
    QString IniPath;                // full path of the settings file
    QString WorkPath;               // full path of the work file

    // --- Forwarding -------------------------------------------------------------------
    QString ExcelFile;              // workbook of this forwarding; empty = a new workbook
    QString ExcelTitle;             // title of this forwarding
    bool NoForward = true;          // rows are not, or no longer, forwarded
};

// The single instance.
ProgramState& programState();

// Back to the values the program starts with (tests; nothing else calls it).
void resetProgramState();

} // namespace quvo
