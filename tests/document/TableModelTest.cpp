// The document's grid as a Qt item model, checked by Qt's own model tester.

#include "DocumentTestSupport.h"

#include "document/DocumentTableModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace quvo;
using namespace quvo::test;

namespace {
class TableModelTest : public DocumentTest {};
} // namespace

TEST_F(TableModelTest, ShowsTheGridWithLabelsAsRowHeaders)
{
    auto doc = newDocument(DataKinds::Realtime);
    DocumentTableModel model(doc.get());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.rowCount(), 20);
    EXPECT_EQ(model.columnCount(), 3);
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("TIME"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("DATA"));
    EXPECT_EQ(model.headerData(2, Qt::Horizontal).toString(), QStringLiteral("MODE"));
    EXPECT_EQ(model.cornerText(), QStringLiteral("No."));
    EXPECT_EQ(model.headerData(0, Qt::Vertical).toString(), QStringLiteral("1"));
    EXPECT_EQ(model.headerData(19, Qt::Vertical).toString(), QStringLiteral("20"));

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    addRealtime(*doc, QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(model.data(model.index(0, 0)).toString(), QStringLiteral("12:00:00"));
    EXPECT_EQ(model.data(model.index(0, 1)).toString(), QStringLiteral("1.5"));
    EXPECT_EQ(model.data(model.index(0, 2)).toString(), QStringLiteral("VDC"));
    EXPECT_FALSE(model.data(model.index(0, 0), Qt::EditRole).isValid());

    for (int i = 2; i <= 22; ++i)
        addRealtime(*doc, QStringLiteral("12:00:%1").arg(i), QString::number(i), QStringLiteral("VDC"), true, QString::number(i));
    EXPECT_EQ(inserted.size(), 2); // rows 21 and 22
    EXPECT_EQ(model.rowCount(), 22);
    EXPECT_EQ(model.headerData(21, Qt::Vertical).toString(), QStringLiteral("22"));
    EXPECT_EQ(model.data(model.index(21, 1)).toString(), QStringLiteral("22"));
}

TEST_F(TableModelTest, OpeningAFileResetsTheModel)
{
    auto doc = newDocument(DataDocument::KindBeforeOpen);
    DocumentTableModel model(doc.get());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QStringList lines{"01,3", "9000,6000,0", ",,,10", "False,00,01,00,00", "20", "True,1,1", "False,0,10,1,1"};
    for (int i = 0; i < 30; ++i)
        lines << QStringLiteral("00:00:%1,%1,VDC,%1").arg(i);
    const QString file = writeFile(QStringLiteral("t.CSV"), crlf(lines));
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    ASSERT_TRUE(doc->OpenFile(file));
    EXPECT_GE(reset.size(), 1);
    EXPECT_EQ(model.rowCount(), 30);
    EXPECT_EQ(model.headerData(0, Qt::Vertical).toString(), QStringLiteral("0"));
    EXPECT_EQ(model.data(model.index(29, 1)).toString(), QStringLiteral("29"));
}

TEST_F(TableModelTest, SurvivesItsDocument)
{
    auto doc = newDocument(DataKinds::Realtime);
    DocumentTableModel model(doc.get());
    doc.reset();
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_FALSE(model.data(model.index(0, 0)).isValid());
}
