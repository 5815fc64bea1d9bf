// Which menu items the main window offers for the active child window.
#include "app/CommandRules.h"

#include "resources/Constant.h"

#include <gtest/gtest.h>

using namespace quvo;

TEST(FileMenu, WithoutAChildOnlyOpenAndExitAreOffered)
{
    const FileMenuState state = fileMenuState(false, DataKinds::Unknown);
    EXPECT_FALSE(state.close);
    EXPECT_FALSE(state.save);
    EXPECT_FALSE(state.saveAs);
    EXPECT_FALSE(state.forward);
}

TEST(FileMenu, WithOnlyTheMonitorOpenOnlyOpenAndExitAreOffered)
{
    const FileMenuState state = fileMenuState(true, ParseDataKind(QStringLiteral("3")));
    EXPECT_FALSE(state.close);
    EXPECT_FALSE(state.save);
    EXPECT_FALSE(state.saveAs);
    EXPECT_FALSE(state.forward);
}

TEST(FileMenu, EveryDocumentKindOffersCloseSaveSaveAsForward)
{
    for (const char* tag : {"0", "2", "4"}) {
        const FileMenuState state = fileMenuState(true, ParseDataKind(QString::fromLatin1(tag)));
        EXPECT_TRUE(state.close && state.save && state.saveAs && state.forward) << tag;
    }
}

TEST(FileMenu, AnUnrecognisedKindIsTreatedLikeTheMonitor)
{
    const FileMenuState state = fileMenuState(true, ParseDataKind(QStringLiteral("x")));
    EXPECT_FALSE(state.close || state.save || state.saveAs || state.forward);
}

TEST(SettingsMenu, ARealtimeDocumentEnablesIntervalAndGraph)
{
    const SettingsMenuState state = settingsMenuState(true, DataKinds::Realtime);
    EXPECT_TRUE(state.interval);
    EXPECT_TRUE(state.graph);
}

TEST(SettingsMenu, LoggingAndSaveDocumentsDisableThem)
{
    for (int kind : {DataKinds::Logging, DataKinds::Save, DataKinds::Monitor}) {
        const SettingsMenuState state = settingsMenuState(true, kind);
        EXPECT_FALSE(state.interval) << kind;
        EXPECT_FALSE(state.graph) << kind;
    }
    EXPECT_FALSE(settingsMenuState(false, DataKinds::Realtime).interval);
}

TEST(Toolbar, KeysAreMatchedInTheirFixedOrder)
{
    // "Limits" (Settings › Limits...) is beyond the original program's buttons, after them.
    const QStringList expected = {"Open", "Save", "Forward", "New", "Start", "Ldata",
                                  "Sdata", "Mstart", "Interval", "Graph", "Moniter", "Limits"};
    EXPECT_EQ(toolbarKeys(), expected);
    EXPECT_FALSE(isToolbarKey(QStringLiteral("Stop"))); // tbSub's own button
    EXPECT_FALSE(isToolbarKey(QStringLiteral("open")));
}

TEST(DataFileFilter, IsBuiltFromTheCsvFilesText)
{
    EXPECT_EQ(dataFileFilter(), QStringLiteral("CSV Files (*.CSV)|*.CSV|"));
}
