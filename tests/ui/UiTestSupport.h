#pragma once
// Shared set-up of the window and dialog tests: program-wide values reset, the per-user
// settings store in a temporary folder, and texts printed as text in failure messages.

#include "resources/ProgramState.h"

#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo::test {

inline const QString CrLf = QStringLiteral("\r\n");

class UiTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    QTemporaryDir m_store;
};

} // namespace quvo::test
