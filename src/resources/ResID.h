#pragma once
// The string table: every numbered text of the user interface, looked up by number.
//
// Texts are kept exactly as the program shows them. Code refers to them through the
// named numbers below (ResID(Res::TimeoutError)), never by repeating the text.

#include <QString>

namespace quvo {

namespace Res {
enum Id : int {
    // Menus (captions; "&" marks the access key)
    MenuFile = 10,
    MenuRealtime = 11,
    MenuData = 12,
    MenuMoniter = 13,
    MenuSetup = 14,
    MenuView = 15,
    MenuHelp = 16,
    MenuFileOpen = 17,
    MenuFileClose = 18,
    MenuFileSave = 19,
    MenuFileSaveAs = 20,
    MenuFileForward = 21,
    MenuFileExit = 22,
    MenuRealtimeNew = 23,
    MenuRealtimeStart = 24,
    MenuRealtimeStop = 25,
    MenuDataLoging = 26,
    MenuDataSave = 27,
    MenuMoniterStart = 28,
    MenuMoniterStop = 29,
    MenuSetupCommport = 30,
    MenuSetupInterval = 31,
    MenuSetupGraph = 32,
    MenuViewToolbar = 33,
    MenuViewStatusbar = 34,
    MenuViewMoniter = 35,
    MenuHelpAbout = 36,
    // Tool bar tool tips
    TipOpen = 37,
    TipSave = 38,
    TipForward = 39,
    TipNew = 40,
    TipStart = 41,
    TipLdata = 42,
    TipSdata = 43,
    TipMstart = 44,
    TipInterval = 45,
    TipGraph = 46,
    TipMoniter = 47,
    TipStop = 48,
    // File commands
    CsvFiles = 51,
    ReadOnlyFile = 52,
    SpecifyDifferentName = 53,
    FileAlreadyOpen = 54,
    SpecifyDifferentName2 = 55,
    TimeoutError = 56,
    // About box
    AboutCaption = 100,
    Copyright = 101,
    Warning1 = 102,
    Warning2 = 103,
    Warning3 = 104,
    // Progress and cancel
    Canceled = 115,
    Cancel = 116,
    Canceling = 117,
    // Data document
    SaveChangesQuestion = 120,
    DifferentDataType = 121,
    Max = 122,
    Min = 123,
    Avg = 124,
    Interval = 125,
    Period = 126,
    RealtimeData = 127,
    SaveModeData = 128,
    LoggingModeData = 129,
    HeadingTime = 130,
    HeadingData = 131,
    HeadingMode = 132,
    // Forward dialog
    ForwardCaption = 150,
    ExcelFileFrame = 151,
    ForwardNew = 152,
    ForwardCustom = 153,
    TitleFrame = 154,
    Browse = 155,
    AlwaysShowFile = 156,
    AlwaysShowTitle = 157,
    ExcelFiles = 158,
    FileCannotBeFound = 159,
    // Interval and period dialog
    IntervalCaption = 170,
    IntervalFrame = 171,
    PeriodFrame = 172,
    PeriodNone = 173,
    PeriodCustom = 174,
    Day = 177,
    Hour = 178,
    Minute = 179,
    Second = 180,
    DayRange = 181,
    HourRange = 182,
    MinuteRange = 183,
    SecondRange = 184,
    InputRange = 185,
    InputOneSecond = 186,
    // Monitor
    MonitorCaption = 200,
    // Port dialog
    PortCaption = 220,
    PortLabel = 221,
    // Graph setup dialog
    GraphCaption = 230,
    DataRange = 231,
    Automatic = 232,
    Custom = 233,
    XAxis = 234,
    YAxis = 235,
    Minimum = 236,
    Maximum = 237,
    MajorDivision = 238,
    MinorDivision = 239,
    TickMarks = 240,
    TickMarkLabels = 241,
    Apply = 242,
    ValueChanged = 243,
    FieldXDataRange = 244,
    FieldXTickMarks = 245,
    FieldXTickLabels = 246,
    FieldYMaximum = 247,
    FieldYMinimum = 248,
    FieldYMajor = 249,
    FieldYMinor = 250,
    InputRangeColon = 251,
    InputSmallerThanMaximum = 252,
    // Acquisition and forwarding
    Receiving = 300,
    CommandError = 301,
    DataError = 302,
    ForwardProgressCaption = 303,
    Forwarding = 304,
    ForwardError = 305,
    ReceiveSaveMode = 306,
    ReceiveLoggingMode = 307,
    // Beyond the original program
    MenuSetupPublishing = 400,
    // Chart tools: zoom, cursor readout, export, copy of table rows
    MenuFileExport = 540,
    ResetView = 541,
    ExportChartItem = 542,
    CopyRows = 543,
    ExportCaption = 544,
    ExportFile = 545,
    ExportTitle = 546,
    ExportSize = 547,
    ExportScreenSize = 548,
    ExportWidth = 549,
    ExportHeight = 550,
    ExportPixels = 551,
    ExportSave = 552,
    ChartFiles = 553,
    UnknownChartFormat = 554,
    ExportSizeRange = 555,
    ReplaceFile = 556,
    ChartNotSaved = 557,
    NoExportFile = 558,
    MenuSetupLimits = 401,
    TipLimits = 402,
};
} // namespace Res

// The text with that number; an unknown number gives an empty text.
QString ResID(int id);

// True when the table holds a text under that number.
bool HasResID(int id);

} // namespace quvo
