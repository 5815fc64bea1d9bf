#include "app/MainMenus.h"

#include "resources/ResID.h"

#include <QHash>

namespace quvo {

namespace {

const MenuDefinition Menus[] = {
    {"mnuFile", Res::MenuFile,
     {{"mnuFileOpen", Res::MenuFileOpen},
      {"mnuFileClose", Res::MenuFileClose},
      {"mnuFileBar1", 0},
      {"mnuFileSave", Res::MenuFileSave},
      {"mnuFileSaveAs", Res::MenuFileSaveAs},
      {"mnuFileBar2", 0},
      {"mnuFileForward", Res::MenuFileForward},
      {"mnuFileExport", Res::MenuFileExport},
      {"mnuFileBar3", 0},
      {"mnuFileExit", Res::MenuFileExit}}},
    {"mnuRealtime", Res::MenuRealtime,
     {{"mnuRealtimeNew", Res::MenuRealtimeNew},
      {"mnuRealtimeBar1", 0},
      {"mnuRealtimeStart", Res::MenuRealtimeStart},
      {"mnuRealtimeStop", Res::MenuRealtimeStop}}},
    {"mnuData", Res::MenuData, {{"mnuDataLoging", Res::MenuDataLoging}, {"mnuDataSave", Res::MenuDataSave}}},
    {"mnuMoniter", Res::MenuMoniter,
     {{"mnuMoniterStart", Res::MenuMoniterStart}, {"mnuMoniterStop", Res::MenuMoniterStop}}},
    {"mnuSetup", Res::MenuSetup,
     {{"mnuSetupCommport", Res::MenuSetupCommport},
      {"mnuSetupInterval", Res::MenuSetupInterval},
      {"mnuSetupGraph", Res::MenuSetupGraph},
      {"mnuSetupBar1", 0},
      {"mnuSetupPublishing", Res::MenuSetupPublishing},
      {"mnuSetupLimits", Res::MenuSetupLimits}}},
    {"mnuView", Res::MenuView,
     {{"mnuViewToolbar", Res::MenuViewToolbar},
      {"mnuViewStatusbar", Res::MenuViewStatusbar},
      {"mnuViewBar1", 0},
      {"mnuViewMoniter", Res::MenuViewMoniter}}},
    {"mnuHelp", Res::MenuHelp, {{"mnuHelpAbout", Res::MenuHelpAbout}}},
};

const ToolButton MainButtons[] = {
    {"Open", Res::TipOpen, "open"},         {"Save", Res::TipSave, "save"},
    {"Forward", Res::TipForward, "forward"}, {"New", Res::TipNew, "new"},
    {"Start", Res::TipStart, "start"},       {"Ldata", Res::TipLdata, "ldata"},
    {"Sdata", Res::TipSdata, "sdata"},       {"Mstart", Res::TipMstart, "mstart"},
    {"Interval", Res::TipInterval, "interval"}, {"Graph", Res::TipGraph, "graph"},
    {"Moniter", Res::TipMoniter, "moniter"},     {"Limits", Res::TipLimits, "limits"},
};

const ToolButton StopButton = {"Stop", Res::TipStop, "stop"};

} // namespace

std::span<const MenuDefinition> mainMenus()
{
    return Menus;
}

std::span<const ToolButton> mainToolButtons()
{
    return MainButtons;
}

const ToolButton& stopToolButton()
{
    return StopButton;
}

bool separatorAfterToolButton(const QString& key)
{
    return key == QLatin1String("Forward") || key == QLatin1String("Sdata") || key == QLatin1String("Graph");
}

QString menuItemOfToolbarKey(const QString& key)
{
    static const QHash<QString, QString> items = {
        {QStringLiteral("Open"), QStringLiteral("mnuFileOpen")},
        {QStringLiteral("Save"), QStringLiteral("mnuFileSave")},
        {QStringLiteral("Forward"), QStringLiteral("mnuFileForward")},
        {QStringLiteral("New"), QStringLiteral("mnuRealtimeNew")},
        {QStringLiteral("Start"), QStringLiteral("mnuRealtimeStart")},
        {QStringLiteral("Ldata"), QStringLiteral("mnuDataLoging")},
        {QStringLiteral("Sdata"), QStringLiteral("mnuDataSave")},
        {QStringLiteral("Mstart"), QStringLiteral("mnuMoniterStart")},
        {QStringLiteral("Interval"), QStringLiteral("mnuSetupInterval")},
        {QStringLiteral("Graph"), QStringLiteral("mnuSetupGraph")},
        {QStringLiteral("Moniter"), QStringLiteral("mnuViewMoniter")},
        {QStringLiteral("Limits"), QStringLiteral("mnuSetupLimits")},
    };
    return items.value(key);
}

} // namespace quvo
