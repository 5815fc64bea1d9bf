#include "resources/ResID.h"

#include <QHash>

namespace quvo {

namespace {

const QHash<int, QString>& table()
{
    static const QHash<int, QString> texts = {
        {Res::MenuFile, QStringLiteral("&File")},
        {Res::MenuRealtime, QStringLiteral("&Realtime data receive")},
        {Res::MenuData, QStringLiteral("&Data receive")},
        {Res::MenuMoniter, QStringLiteral("&Monitor receive")},
        {Res::MenuSetup, QStringLiteral("&Settings")},
        {Res::MenuView, QStringLiteral("&View")},
        {Res::MenuHelp, QStringLiteral("&Help")},
        {Res::MenuFileOpen, QStringLiteral("&Open...")},
        {Res::MenuFileClose, QStringLiteral("&Close")},
        {Res::MenuFileSave, QStringLiteral("&Save")},
        {Res::MenuFileSaveAs, QStringLiteral("Save &As...")},
        {Res::MenuFileForward, QStringLiteral("&Forward to Microsoft Excel...")},
        {Res::MenuFileExit, QStringLiteral("E&xit")},
        {Res::MenuRealtimeNew, QStringLiteral("&New")},
        {Res::MenuRealtimeStart, QStringLiteral("Star&t")},
        {Res::MenuRealtimeStop, QStringLiteral("Sto&p")},
        {Res::MenuDataLoging, QStringLiteral("&LOGGING-mode")},
        {Res::MenuDataSave, QStringLiteral("&SAVE-mode")},
        {Res::MenuMoniterStart, QStringLiteral("Star&t")},
        {Res::MenuMoniterStop, QStringLiteral("Sto&p")},
        {Res::MenuSetupCommport, QStringLiteral("&Communications Port...")},
        {Res::MenuSetupInterval, QStringLiteral("&Interval and Period...")},
        {Res::MenuSetupGraph, QStringLiteral("&Graph...")},
        {Res::MenuViewToolbar, QStringLiteral("&Tool bar")},
        {Res::MenuViewStatusbar, QStringLiteral("&Status bar")},
        {Res::MenuViewMoniter, QStringLiteral("&Monitor")},
        {Res::MenuHelpAbout, QStringLiteral("&About Quvolink...")},

        {Res::TipOpen, QStringLiteral("Open")},
        {Res::TipSave, QStringLiteral("Save")},
        {Res::TipForward, QStringLiteral("Forward to Microsoft Excel")},
        {Res::TipNew, QStringLiteral("New")},
        {Res::TipStart, QStringLiteral("Start realtime data receive")},
        {Res::TipLdata, QStringLiteral("Start LOGGING-mode data receive")},
        {Res::TipSdata, QStringLiteral("Start SAVE-mode data receive")},
        {Res::TipMstart, QStringLiteral("Start monitor")},
        {Res::TipInterval, QStringLiteral("Interval and Period setup")},
        {Res::TipGraph, QStringLiteral("Graph setup")},
        {Res::TipMoniter, QStringLiteral("Monitor")},
        {Res::TipStop, QStringLiteral("Stop")},

        {Res::CsvFiles, QStringLiteral("CSV Files")},
        {Res::ReadOnlyFile, QStringLiteral("This file is a read-only file; you cannot save data to it.")},
        {Res::SpecifyDifferentName, QStringLiteral("Specify a different filename.")},
        {Res::FileAlreadyOpen, QStringLiteral("This file is already open.")},
        {Res::SpecifyDifferentName2, QStringLiteral("Specify a different filename.")},
        {Res::TimeoutError, QStringLiteral("Timeout error occurred.")},

        {Res::AboutCaption, QStringLiteral("About Quvolink")},
        {Res::Copyright, QStringLiteral("Copyright (C) 2026 The Quvolink developers")},
        {Res::Warning1, QStringLiteral("This Computer Program is protected by copyright law and international treaties.")},
        {Res::Warning2,
         QStringLiteral("Unauthorized reproduction or distribution of this program, or any portion of it, may result in "
                        "severe civil and criminal penalties, and will be prosecuted to the maximum extent possible "
                        "under law.")},
        {Res::Warning3,
         QStringLiteral("(Microsoft Excel is a registered trademark of Microsoft Corporation in the United States.)")},

        {Res::Canceled, QStringLiteral("Canceled.")},
        {Res::Cancel, QStringLiteral("Cancel")},
        {Res::Canceling, QStringLiteral("Canceling...")},

        {Res::SaveChangesQuestion, QStringLiteral("Do you want to save the changes you made to this file?")},
        {Res::DifferentDataType, QStringLiteral("This file is a different data type.")},
        {Res::Max, QStringLiteral("MAX")},
        {Res::Min, QStringLiteral("MIN")},
        {Res::Avg, QStringLiteral("AVG")},
        {Res::Interval, QStringLiteral("INTERVAL")},
        {Res::Period, QStringLiteral("PERIOD")},
        {Res::RealtimeData, QStringLiteral("REALTIME DATA")},
        {Res::SaveModeData, QStringLiteral("SAVE-mode DATA")},
        {Res::LoggingModeData, QStringLiteral("LOGGING-mode DATA")},
        {Res::HeadingTime, QStringLiteral("TIME")},
        {Res::HeadingData, QStringLiteral("DATA")},
        {Res::HeadingMode, QStringLiteral("MODE")},

        {Res::ForwardCaption, QStringLiteral("Forward to Microsoft Excel")},
        {Res::ExcelFileFrame, QStringLiteral("Microsoft Excel File")},
        {Res::ForwardNew, QStringLiteral("New")},
        {Res::ForwardCustom, QStringLiteral("Custom")},
        {Res::TitleFrame, QStringLiteral("Title")},
        {Res::Browse, QStringLiteral("Browse...")},
        {Res::AlwaysShowFile, QStringLiteral("Always show this file")},
        {Res::AlwaysShowTitle, QStringLiteral("Always show this title")},
        {Res::ExcelFiles, QStringLiteral("Microsoft Excel Files")},
        {Res::FileCannotBeFound, QStringLiteral("This file cannot be found.")},

        {Res::IntervalCaption, QStringLiteral("Interval and period setup")},
        {Res::IntervalFrame, QStringLiteral("Interval")},
        {Res::PeriodFrame, QStringLiteral("Period")},
        {Res::PeriodNone, QStringLiteral("None")},
        {Res::PeriodCustom, QStringLiteral("Custom")},
        {Res::Day, QStringLiteral("Day")},
        {Res::Hour, QStringLiteral("Hour")},
        {Res::Minute, QStringLiteral("Minute")},
        {Res::Second, QStringLiteral("Second")},
        {Res::DayRange, QStringLiteral("<Day> : ")},
        {Res::HourRange, QStringLiteral("<Hour> : ")},
        {Res::MinuteRange, QStringLiteral("<Minute> : ")},
        {Res::SecondRange, QStringLiteral("<Second> : ")},
        {Res::InputRange, QStringLiteral("Input range")},
        {Res::InputOneSecond, QStringLiteral("Input one second and more value.")},

        {Res::MonitorCaption, QStringLiteral("Monitor")},

        {Res::PortCaption, QStringLiteral("Communications Port setup")},
        {Res::PortLabel, QStringLiteral("Communications Port")},

        {Res::GraphCaption, QStringLiteral("Graph setup")},
        {Res::DataRange, QStringLiteral("Data range")},
        {Res::Automatic, QStringLiteral("Automatic")},
        {Res::Custom, QStringLiteral("Custom")},
        {Res::XAxis, QStringLiteral("X axis")},
        {Res::YAxis, QStringLiteral("Y axis")},
        {Res::Minimum, QStringLiteral("Minimum")},
        {Res::Maximum, QStringLiteral("Maximum")},
        {Res::MajorDivision, QStringLiteral("Major division")},
        {Res::MinorDivision, QStringLiteral("Minor division")},
        {Res::TickMarks, QStringLiteral("Number of categories between tick marks")},
        {Res::TickMarkLabels, QStringLiteral("Number of categories between tick-mark labels")},
        {Res::Apply, QStringLiteral("Apply")},
        {Res::ValueChanged,
         QStringLiteral("Input value was changed automatically because it was outside the input range.")},
        {Res::FieldXDataRange, QStringLiteral("<X axis - Data range>")},
        {Res::FieldXTickMarks, QStringLiteral("<X axis - Number of categories between tick marks>")},
        {Res::FieldXTickLabels, QStringLiteral("<X axis - Number of categories between tick-mark labels>")},
        {Res::FieldYMaximum, QStringLiteral("<Y axis - Maximum>")},
        {Res::FieldYMinimum, QStringLiteral("<Y axis - Minimum>")},
        {Res::FieldYMajor, QStringLiteral("<Y axis - Major division>")},
        {Res::FieldYMinor, QStringLiteral("<Y axis - Minor division>")},
        {Res::InputRangeColon, QStringLiteral("Input range : ")},
        {Res::InputSmallerThanMaximum, QStringLiteral("Input smaller value than <Y axis - Maximum>")},

        {Res::Receiving, QStringLiteral("Receiving...")},
        {Res::CommandError, QStringLiteral("Command error occurred.")},
        {Res::DataError, QStringLiteral("Data error occurred.")},
        {Res::ForwardProgressCaption, QStringLiteral("Forward data to Microsoft Excel")},
        {Res::Forwarding, QStringLiteral("Forwarding...")},
        {Res::ForwardError, QStringLiteral("Forward error occurred.")},
        {Res::ReceiveSaveMode, QStringLiteral("Receive SAVE-mode data")},
        {Res::ReceiveLoggingMode, QStringLiteral("Receive LOGGING-mode data")},

        {Res::MenuSetupPublishing, QStringLiteral("&Publishing...")},
        {Res::MenuFileExport, QStringLiteral("Export c&hart...")},
        {Res::ResetView, QStringLiteral("&Reset view")},
        {Res::ExportChartItem, QStringLiteral("&Export chart...")},
        {Res::CopyRows, QStringLiteral("&Copy")},
        {Res::ExportCaption, QStringLiteral("Export chart")},
        {Res::ExportFile, QStringLiteral("File")},
        {Res::ExportTitle, QStringLiteral("Title")},
        {Res::ExportSize, QStringLiteral("Size")},
        {Res::ExportScreenSize, QStringLiteral("As on the screen (%1 x %2 pixels)")},
        {Res::ExportWidth, QStringLiteral("Width")},
        {Res::ExportHeight, QStringLiteral("Height")},
        {Res::ExportPixels, QStringLiteral("pixels")},
        {Res::ExportSave, QStringLiteral("&Save")},
        {Res::ChartFiles,
         QStringLiteral("PNG image (*.png)|*.png|SVG drawing (*.svg)|*.svg|PDF document (*.pdf)|*.pdf|")},
        {Res::UnknownChartFormat,
         QStringLiteral("A chart is saved as a PNG image (.png), an SVG drawing (.svg) or a PDF document (.pdf).")},
        {Res::ExportSizeRange, QStringLiteral("Width and height are whole numbers of pixels from %1 to %2.")},
        {Res::ReplaceFile, QStringLiteral("This file already exists. Do you want to replace it?")},
        {Res::ChartNotSaved, QStringLiteral("The chart could not be saved.")},
        {Res::NoExportFile, QStringLiteral("Enter the name of the file to save the chart in.")},
        {Res::MenuSetupLimits, QStringLiteral("&Limits...")},
        {Res::TipLimits, QStringLiteral("Limits")},
    };
    return texts;
}

} // namespace

QString ResID(int id)
{
    return table().value(id);
}

bool HasResID(int id)
{
    return table().contains(id);
}

} // namespace quvo
