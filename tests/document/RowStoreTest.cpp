// The texts of a document's rows: stored from a file's line in one piece or text by text,
// overwritten in place or moved, compacted, copied.

#include "document/RowStore.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

using namespace quvo;

namespace {

using Latin1Row = std::array<QLatin1StringView, RowStore::FieldCount>;

QStringList rowTexts(const RowStore& store, int row)
{
    QStringList texts;
    for (int f = 0; f < RowStore::FieldCount; ++f)
        texts << QString(store.text(row, static_cast<RowStore::Field>(f)));
    return texts;
}

// The four fields of a line "a,b,c,d" as views into the line itself.
Latin1Row fieldsOf(const QByteArray& line)
{
    Latin1Row fields;
    qsizetype start = 0;
    for (std::size_t f = 0; f < fields.size(); ++f) {
        qsizetype end = line.indexOf(',', start);
        if (end < 0)
            end = line.size();
        fields[f] = QLatin1StringView(line.constData() + start, end - start);
        start = end + 1;
    }
    return fields;
}

} // namespace

TEST(RowStoreTest, NewRowsAreEmpty)
{
    RowStore store;
    store.resize(3);
    EXPECT_EQ(store.size(), 3);
    for (int row = 0; row < 3; ++row)
        EXPECT_EQ(rowTexts(store, row), QStringList({"", "", "", ""}));
}

// Lines stored into the second of two rows: their fields come back as they stand, empty
// ones included, and the row before stays empty.
TEST(RowStoreTest, FieldsOfALineAreKeptAsTheyStand)
{
    const struct {
        QByteArray line;
        QStringList texts;
    } lines[] = {
        {"00:00:01,2.626E-3,VDC,2.626E-3", {"00:00:01", "2.626E-3", "VDC", "2.626E-3"}},
        {"00:00:00,ERROR,,ERROR", {"00:00:00", "ERROR", "", "ERROR"}},
    };
    for (const auto& [line, texts] : lines) {
        SCOPED_TRACE(line.toStdString());
        RowStore store;
        store.resize(2);
        store.setRow(1, fieldsOf(line));
        EXPECT_EQ(rowTexts(store, 1), texts);
        EXPECT_EQ(rowTexts(store, 0), QStringList({"", "", "", ""}));
    }
}

TEST(RowStoreTest, ThreeFieldsOfALineAndNoRawText)
{
    const QByteArray line = "1,0.154,VDC";
    Latin1Row fields = fieldsOf(line);
    fields[3] = QLatin1StringView(); // a file without raw texts
    RowStore store;
    store.resize(1);
    store.setRow(0, fields);
    EXPECT_EQ(rowTexts(store, 0), QStringList({"1", "0.154", "VDC", ""}));
}

TEST(RowStoreTest, TextsFromSeparatePlaces)
{
    const QByteArray time = "12:00:00", value = "-0.5", mode = "ADC", raw = "-0.5E-3";
    RowStore store;
    store.resize(1);
    store.setRow(0, Latin1Row{QLatin1StringView(time), QLatin1StringView(value), QLatin1StringView(mode),
                              QLatin1StringView(raw)});
    EXPECT_EQ(rowTexts(store, 0), QStringList({"12:00:00", "-0.5", "ADC", "-0.5E-3"}));
}

TEST(RowStoreTest, TwoByteTextsAreNarrowed)
{
    const QString time = QStringLiteral("10:00:00"), value = QStringLiteral("25.1"),
                  mode = QStringLiteral("\u00b0C"), raw;
    RowStore store;
    store.resize(1);
    store.setRow(0, std::array<QStringView, RowStore::FieldCount>{time, value, mode, raw});
    EXPECT_EQ(rowTexts(store, 0), QStringList({"10:00:00", "25.1", QStringLiteral("\u00b0C"), ""}));
}

TEST(RowStoreTest, RowsWrittenAgainShorterOrLonger)
{
    RowStore store;
    store.resize(3);
    const QByteArray a = "1,10,V,10", b = "2,20,V,20", c = "3,30,V,30";
    store.setRow(0, fieldsOf(a));
    store.setRow(1, fieldsOf(b));
    store.setRow(2, fieldsOf(c));

    const QByteArray shorter = "4,5,V,";
    store.setRow(1, fieldsOf(shorter));
    const QByteArray longer = "00:00:05,123.456,OHM,123.456E+3";
    store.setRow(0, fieldsOf(longer));
    const QByteArray empty = ",,,";
    store.setRow(2, fieldsOf(empty));

    EXPECT_EQ(rowTexts(store, 0), QStringList({"00:00:05", "123.456", "OHM", "123.456E+3"}));
    EXPECT_EQ(rowTexts(store, 1), QStringList({"4", "5", "V", ""}));
    EXPECT_EQ(rowTexts(store, 2), QStringList({"", "", "", ""}));
}

TEST(RowStoreTest, CompactionKeepsEveryText)
{
    RowStore store;
    store.resize(200);
    // Every row written again and again with longer texts leaves old places behind, which
    // the store gives back by compacting.
    for (int round = 1; round <= 30; ++round) {
        for (int row = 0; row < 200; ++row) {
            const QByteArray line = QByteArray::number(row) + ',' + QByteArray(round, 'x') + ",V,"
                                    + QByteArray::number(round);
            store.setRow(row, fieldsOf(line));
        }
    }
    for (int row = 0; row < 200; ++row)
        ASSERT_EQ(rowTexts(store, row), QStringList({QString::number(row), QString(30, 'x'), "V", "30"})) << row;
    // Live texts are about 40 bytes a row; without compaction the buffer would hold all 30 rounds.
    EXPECT_LT(store.bytesHeld(), std::size_t(200) * 40 * 8);
}

TEST(RowStoreTest, DroppedRowsComeBackEmpty)
{
    RowStore store;
    store.resize(2);
    const QByteArray line = "1,2,3,4";
    store.setRow(1, fieldsOf(line));
    store.resize(1);
    store.resize(2);
    EXPECT_EQ(rowTexts(store, 1), QStringList({"", "", "", ""}));
}

TEST(RowStoreTest, CopiesAreIndependent)
{
    RowStore store;
    store.resize(1);
    const QByteArray line = "1,2.5,VDC,2.5";
    store.setRow(0, fieldsOf(line));
    RowStore copy(store);
    const QByteArray other = "2,9,ADC,9E-3";
    store.setRow(0, fieldsOf(other));
    EXPECT_EQ(rowTexts(copy, 0), QStringList({"1", "2.5", "VDC", "2.5"}));
    EXPECT_EQ(rowTexts(store, 0), QStringList({"2", "9", "ADC", "9E-3"}));
}

// --- Rows kept in an adopted data file content ------------------------------------------------

namespace {

// A data file's content as the reader hands it over: shared, never changed.
struct Content {
    explicit Content(const QByteArray& bytes) : size(static_cast<std::size_t>(bytes.size()))
    {
        std::shared_ptr<char[]> copy(new char[size]);
        std::memcpy(copy.get(), bytes.constData(), size);
        data = std::move(copy);
    }
    // The four fields of the line that begins at `at`.
    Latin1Row fieldsAt(qsizetype at) const
    {
        const QByteArray view = QByteArray::fromRawData(data.get(), static_cast<qsizetype>(size));
        qsizetype end = view.indexOf('\r', at);
        if (end < 0)
            end = view.size();
        return fieldsOf(QByteArray::fromRawData(data.get() + at, end - at));
    }
    bool holds(QLatin1StringView text) const
    {
        const auto p = reinterpret_cast<std::uintptr_t>(text.data());
        const auto begin = reinterpret_cast<std::uintptr_t>(data.get());
        return p >= begin && p < begin + size;
    }
    // Makes the store `rows` rows long and hands it this content.
    void givenTo(RowStore& store, int rows) const
    {
        store.resize(rows);
        store.adoptContent(data, size);
    }
    std::shared_ptr<const char[]> data;
    std::size_t size;
};

const QByteArray TwoLines = "00:00:01,2.626E-3,VDC,2.626E-3\r\n00:00:02,ERROR,,ERROR\r\n";
const QStringList FirstRow = {"00:00:01", "2.626E-3", "VDC", "2.626E-3"};
const QStringList SecondRow = {"00:00:02", "ERROR", "", "ERROR"};

// Both lines of TwoLines into rows 0 and 1, from the content.
void storeTwoLines(RowStore& store, const Content& content)
{
    store.setRow(0, content.fieldsAt(0));
    store.setRow(1, content.fieldsAt(TwoLines.indexOf("00:00:02")));
}

} // namespace

TEST(RowStoreTest, RowsOfAnAdoptedContentAreNotCopied)
{
    const Content content(TwoLines);
    RowStore store;
    content.givenTo(store, 2);
    storeTwoLines(store, content);
    EXPECT_EQ(rowTexts(store, 0), FirstRow);
    EXPECT_EQ(rowTexts(store, 1), SecondRow);
    EXPECT_TRUE(content.holds(store.text(0, RowStore::Value)));
    EXPECT_TRUE(content.holds(store.text(1, RowStore::Raw)));
}

TEST(RowStoreTest, TextsOutsideTheAdoptedContentOrNotInOnePieceAreCopied)
{
    const Content content(TwoLines);
    RowStore store;
    content.givenTo(store, 2);
    const QByteArray elsewhere = "1,2,3,4";
    store.setRow(0, fieldsOf(elsewhere));
    Latin1Row wrapped = content.fieldsAt(0); // a short line's fields start over: not one piece
    wrapped[2] = wrapped[0];
    store.setRow(1, wrapped);
    EXPECT_EQ(rowTexts(store, 0), QStringList({"1", "2", "3", "4"}));
    EXPECT_EQ(rowTexts(store, 1), QStringList({"00:00:01", "2.626E-3", "00:00:01", "2.626E-3"}));
    EXPECT_FALSE(content.holds(store.text(0, RowStore::Time)));
    EXPECT_FALSE(content.holds(store.text(1, RowStore::Mode)));
}

// Without a raw text the row still counts a separator after the mode, which must lie in the
// content: a last line without its line end is copied.
TEST(RowStoreTest, ThreeFieldsAtTheVeryEndOfTheContentAreCopied)
{
    for (const QByteArray& bytes : {QByteArray("1,0.154,VDC\r\n"), QByteArray("1,0.154,VDC")}) {
        SCOPED_TRACE(bytes.toStdString());
        const Content content(bytes);
        RowStore store;
        content.givenTo(store, 1);
        Latin1Row fields = content.fieldsAt(0);
        fields[3] = QLatin1StringView();
        store.setRow(0, fields);
        EXPECT_EQ(rowTexts(store, 0), QStringList({"1", "0.154", "VDC", ""}));
        EXPECT_EQ(content.holds(store.text(0, RowStore::Mode)), bytes.endsWith("\r\n"));
    }
}

TEST(RowStoreTest, RowsOfTheContentWrittenAgainLeaveTheContentAsItWas)
{
    const Content content(TwoLines);
    RowStore store;
    content.givenTo(store, 2);
    storeTwoLines(store, content);
    const QByteArray shorter = "9,1,V,1";
    store.setRow(0, fieldsOf(shorter));
    const QByteArray empty = ",,,";
    store.setRow(1, fieldsOf(empty));
    EXPECT_EQ(rowTexts(store, 0), QStringList({"9", "1", "V", "1"}));
    EXPECT_EQ(rowTexts(store, 1), QStringList({"", "", "", ""}));
    EXPECT_EQ(QByteArray(content.data.get(), static_cast<qsizetype>(content.size)), TwoLines);
}

TEST(RowStoreTest, CopiesShareTheContentAndOutliveTheOriginal)
{
    auto store = std::make_unique<RowStore>();
    std::unique_ptr<RowStore> copy;
    {
        const Content content(TwoLines);
        content.givenTo(*store, 1);
        store->setRow(0, content.fieldsAt(0));
        copy = std::make_unique<RowStore>(*store);
    }
    store.reset(); // the copy alone keeps the content now
    EXPECT_EQ(rowTexts(*copy, 0), FirstRow);
}

TEST(RowStoreTest, AnotherContentTakesTheRowsOfTheFirstIntoTheBuffer)
{
    RowStore store;
    store.resize(2);
    {
        const Content first(TwoLines);
        store.adoptContent(first.data, first.size);
        store.setRow(0, first.fieldsAt(0));
    } // the store holds the only reference to the first content now
    const QByteArray secondLines = "00:00:03,1.5,V,1.5\r\n";
    const Content second(secondLines);
    store.adoptContent(second.data, second.size);
    store.setRow(1, second.fieldsAt(0));
    EXPECT_EQ(rowTexts(store, 0), FirstRow);
    EXPECT_EQ(rowTexts(store, 1), QStringList({"00:00:03", "1.5", "V", "1.5"}));
    EXPECT_TRUE(second.holds(store.text(1, RowStore::Time)));
}

TEST(RowStoreTest, CompactingTheBufferLeavesRowsOfTheContentAlone)
{
    const Content content(TwoLines);
    RowStore store;
    content.givenTo(store, 101);
    store.setRow(0, content.fieldsAt(0));
    for (int round = 1; round <= 30; ++round) {
        for (int row = 1; row <= 100; ++row) {
            const QByteArray line = QByteArray::number(row) + ',' + QByteArray(round, 'x') + ",V,";
            store.setRow(row, fieldsOf(line));
        }
    }
    EXPECT_EQ(rowTexts(store, 0), FirstRow);
    EXPECT_TRUE(content.holds(store.text(0, RowStore::Time)));
    for (int row = 1; row <= 100; ++row)
        ASSERT_EQ(rowTexts(store, row), QStringList({QString::number(row), QString(30, 'x'), "V", ""})) << row;
    EXPECT_LT(store.bytesHeld(), content.size + std::size_t(100) * 40 * 8);
}
