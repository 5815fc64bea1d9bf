#include "app/CommandRules.h"

#include "app/MainMenus.h"

#include "resources/Constant.h"
#include "resources/ResID.h"

namespace quvo {

namespace {
bool isDataDocumentKind(int kind)
{
    return kind == DataKinds::Logging || kind == DataKinds::Realtime || kind == DataKinds::Save;
}
} // namespace

FileMenuState fileMenuState(bool hasActiveChild, int activeKind)
{
    const bool onDocument = hasActiveChild && isDataDocumentKind(activeKind);
    return {onDocument, onDocument, onDocument, onDocument};
}

SettingsMenuState settingsMenuState(bool hasActiveChild, int activeKind)
{
    const bool onRealtime = hasActiveChild && activeKind == DataKinds::Realtime;
    return {onRealtime, onRealtime};
}

const QStringList& toolbarKeys()
{
    static const QStringList keys = [] {
        QStringList list;
        for (const ToolButton& button : mainToolButtons())
            list.append(QLatin1String(button.key));
        return list;
    }();
    return keys;
}

bool isToolbarKey(const QString& key)
{
    return toolbarKeys().contains(key);
}

QString dataFileFilter()
{
    const QString extension = QStringLiteral("CSV");
    return ResID(Res::CsvFiles) + QStringLiteral(" (*.") + extension + QStringLiteral(")|*.") + extension
           + QStringLiteral("|");
}

} // namespace quvo
