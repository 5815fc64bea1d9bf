#pragma once
// The texts of a document's readings: per grid row its time, value, mode and raw text, kept
// as single-byte (Latin-1) characters, the data file's own character set, one after the
// other in a single buffer with one separator byte between them, as a data file line has
// them: a row read from a file is stored with one copy of its line. A full document of
// 32767 rows is one buffer of about 1 MB plus 12 bytes per row, instead of 130 000 separate
// strings.
//
// A row written again whose texts fit in its old place is overwritten there; otherwise its
// texts go to the end of the buffer, which is compacted when more than half of it is no
// longer referenced. Views handed out stay valid until the store is next changed.
//
// The rows read from a data file need not be copied at all: the store can take the file's
// content (adoptContent), and a row whose texts lie in it, as a line's fields do, then refers
// to them where they stand. The content is never changed, so copies of the store share it.

#include <QLatin1StringView>
#include <QStringView>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace quvo {

class RowStore {
public:
    enum Field { Time = 0, Value = 1, Mode = 2, Raw = 3 };
    static constexpr int FieldCount = 4;
    static constexpr qsizetype MaxTextLength = 65535; // characters of one text

    // True when every character of the text has a single-byte form (U+0000..U+00FF).
    static bool fitsLatin1(QStringView text);

    RowStore() = default;
    RowStore(const RowStore& other);
    RowStore& operator=(const RowStore& other);
    RowStore(RowStore&& other) noexcept { *this = std::move(other); }
    RowStore& operator=(RowStore&& other) noexcept
    {
        m_bytes = std::move(other.m_bytes);
        m_capacity = std::exchange(other.m_capacity, 0);
        m_used = std::exchange(other.m_used, 0);
        m_rows = std::move(other.m_rows);
        other.m_rows.clear();
        m_unused = std::exchange(other.m_unused, 0);
        m_content = std::move(other.m_content);
        m_contentSize = std::exchange(other.m_contentSize, 0);
        return *this;
    }
    ~RowStore() = default;

    int size() const { return static_cast<int>(m_rows.size()); }

    // New rows are empty; rows past the new size are dropped.
    void resize(int rows);
    void clear();
    void reserve(int rows, std::size_t bytes);

    // Takes a data file's content for setRow to keep rows whose texts lie in it by reference:
    // the texts one after the other with one character between them (any texts after them
    // empty), as the fields of a line are. Contents of 2 GB or more are not taken.
    void adoptContent(std::shared_ptr<const char[]> content, std::size_t size);

    QLatin1StringView text(int row, Field field) const
    {
        const Row& r = m_rows[static_cast<std::size_t>(row)];
        const std::uint16_t length = r.length[static_cast<std::size_t>(field)];
        if (length == 0)
            return QLatin1StringView("");
        std::uint32_t offset = (r.offset & ~InContent) + static_cast<std::uint32_t>(field); // the separators before it
        for (int f = 0; f < field; ++f)
            offset += r.length[static_cast<std::size_t>(f)];
        return QLatin1StringView(base(r) + offset, length);
    }

    // Stores the four texts of a row. Each must fit Latin-1 and MaxTextLength (the caller
    // checks; characters beyond U+00FF would be cut to their low byte). Texts that follow
    // each other with one character between them, as the fields of a line do, are copied
    // in one piece, or kept where they stand when that is in the adopted content.
    void setRow(int row, const std::array<QStringView, FieldCount>& texts);
    void setRow(int row, const std::array<QLatin1StringView, FieldCount>& texts);

    // Bytes held (capacities), for the memory figures.
    std::size_t bytesHeld() const;

private:
    // A row's offset with this bit set counts in the adopted content instead of the buffer.
    static constexpr std::uint32_t InContent = 0x8000'0000u;

    struct Row {
        std::uint32_t offset = 0;
        std::array<std::uint16_t, FieldCount> length{};
        // Bytes in the buffer: the texts and the separators between them; none for a row
        // whose texts are all empty.
        std::uint32_t total() const { return withSeparators(std::uint32_t(length[0]) + length[1] + length[2] + length[3]); }
    };

    static std::uint32_t withSeparators(std::uint32_t textBytes)
    {
        return textBytes == 0 ? 0 : textBytes + (FieldCount - 1);
    }

    const char* base(const Row& r) const { return (r.offset & InContent) ? m_content.get() : m_bytes.get(); }
    // Bytes of the buffer the row holds: none for a row kept in the content.
    static std::uint32_t bufferBytes(const Row& r) { return (r.offset & InContent) ? 0 : r.total(); }
    bool keepsInContent(const std::array<QLatin1StringView, FieldCount>& texts, int joined, std::size_t total) const;
    void moveToBuffer(Row& r);

    template <class View>
    void store(int row, const std::array<View, FieldCount>& texts);
    void compact();
    void grow(std::size_t capacity);

    // The buffer, grown in steps and never zero-filled: bytes past m_used are free room.
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_capacity = 0;
    std::size_t m_used = 0;
    std::vector<Row> m_rows;
    std::size_t m_unused = 0; // bytes of the buffer no row refers to any more
    std::shared_ptr<const char[]> m_content; // a data file's content, see adoptContent
    std::size_t m_contentSize = 0;
};

} // namespace quvo
