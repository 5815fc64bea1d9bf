#include "UiTestSupport.h"

#include "app/Settings.h"

namespace quvo::test {

void UiTest::SetUp()
{
    resetProgramState();
    ASSERT_TRUE(m_store.isValid());
    setSettingsStoreFolder(m_store.path());
}

void UiTest::TearDown()
{
    setSettingsStoreFolder(QString());
    resetProgramState();
}

} // namespace quvo::test
