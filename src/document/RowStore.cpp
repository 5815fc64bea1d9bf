#include "document/RowStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace quvo {

RowStore::RowStore(const RowStore& other)
    : m_capacity(other.m_used), m_used(other.m_used), m_rows(other.m_rows), m_unused(other.m_unused),
      m_content(other.m_content), m_contentSize(other.m_contentSize)
{
    if (m_used > 0) {
        m_bytes.reset(new char[m_used]);
        std::memcpy(m_bytes.get(), other.m_bytes.get(), m_used);
    }
}

RowStore& RowStore::operator=(const RowStore& other)
{
    if (this != &other) {
        RowStore copy(other);
        *this = std::move(copy);
    }
    return *this;
}

bool RowStore::fitsLatin1(QStringView text)
{
    for (const QChar c : text) {
        if (c.unicode() > 0xFF)
            return false;
    }
    return true;
}

void RowStore::resize(int rows)
{
    const auto n = static_cast<std::size_t>(std::max(rows, 0));
    for (std::size_t i = n; i < m_rows.size(); ++i)
        m_unused += bufferBytes(m_rows[i]);
    m_rows.resize(n);
}

void RowStore::clear()
{
    m_rows.clear();
    m_bytes.reset();
    m_capacity = 0;
    m_used = 0;
    m_unused = 0;
    m_content.reset();
    m_contentSize = 0;
}

void RowStore::reserve(int rows, std::size_t bytes)
{
    m_rows.reserve(static_cast<std::size_t>(std::max(rows, 0)));
    if (bytes > m_capacity)
        grow(bytes);
}

void RowStore::adoptContent(std::shared_ptr<const char[]> content, std::size_t size)
{
    if (size >= InContent)
        return; // rows could not tell it from the buffer: their texts are copied instead
    // Rows kept in an earlier content get their texts copied to the buffer first.
    for (Row& r : m_rows) {
        if ((r.offset & InContent) && r.total() > 0)
            moveToBuffer(r);
    }
    m_content = std::move(content);
    m_contentSize = size;
}

namespace {
// Copies one text into the buffer as single bytes.
char* put(char* out, QStringView text)
{
    const char16_t* in = text.utf16();
    for (qsizetype i = 0; i < text.size(); ++i)
        *out++ = static_cast<char>(in[i]);
    return out;
}

char* put(char* out, QLatin1StringView text)
{
    if (!text.isEmpty())
        std::memcpy(out, text.data(), static_cast<std::size_t>(text.size()));
    return out + text.size();
}
} // namespace

void RowStore::setRow(int row, const std::array<QStringView, FieldCount>& texts)
{
    store(row, texts);
}

void RowStore::setRow(int row, const std::array<QLatin1StringView, FieldCount>& texts)
{
    store(row, texts);
}

namespace {
// How many of the texts, from the first on, stand in one piece of memory with one character
// between neighbours, as the fields of a line do.
int leadingInOnePiece(const std::array<QLatin1StringView, RowStore::FieldCount>& texts)
{
    std::size_t f = 1;
    while (f < texts.size() && texts[f].data() == texts[f - 1].data() + texts[f - 1].size() + 1)
        ++f;
    return static_cast<int>(f);
}

int leadingInOnePiece(const std::array<QStringView, RowStore::FieldCount>&)
{
    return 0; // two-byte characters are narrowed one by one
}
} // namespace

void RowStore::moveToBuffer(Row& r)
{
    const std::uint32_t n = r.total();
    if (m_used + n > std::numeric_limits<std::uint32_t>::max() / 2)
        throw std::length_error("row store too large");
    if (m_used + n > m_capacity)
        grow(std::max(m_used + n, m_capacity * 2));
    std::memcpy(m_bytes.get() + m_used, m_content.get() + (r.offset & ~InContent), n);
    r.offset = static_cast<std::uint32_t>(m_used);
    m_used += n;
}

inline bool RowStore::keepsInContent(const std::array<QLatin1StringView, FieldCount>& texts, int joined,
                                     std::size_t total) const
{
    if (!m_content || total == 0)
        return false;
    for (std::size_t f = static_cast<std::size_t>(joined); f < texts.size(); ++f) {
        if (!texts[f].isEmpty())
            return false;
    }
    // The row's bytes, separators included, must lie in the content (compared as addresses:
    // the texts may come from anywhere).
    const auto begin = reinterpret_cast<std::uintptr_t>(texts[0].data());
    const auto contentBegin = reinterpret_cast<std::uintptr_t>(m_content.get());
    return total <= m_contentSize && begin >= contentBegin && begin - contentBegin <= m_contentSize - total;
}

template <class View>
void RowStore::store(int row, const std::array<View, FieldCount>& texts)
{
    Row& r = m_rows[static_cast<std::size_t>(row)];
    std::uint32_t textBytes = 0;
    for (const View t : texts)
        textBytes += static_cast<std::uint32_t>(t.size()); // each at most MaxTextLength
    const std::size_t total = withSeparators(textBytes);
    const int joined = leadingInOnePiece(texts);
    if constexpr (std::is_same_v<View, QLatin1StringView>) {
        if (keepsInContent(texts, joined, total)) {
            m_unused += bufferBytes(r);
            r.offset = InContent | static_cast<std::uint32_t>(texts[0].data() - m_content.get());
            for (std::size_t f = 0; f < texts.size(); ++f)
                r.length[f] = static_cast<std::uint16_t>(texts[f].size());
            return;
        }
    }
    // A row kept in the content has no place of its own in the buffer to be overwritten.
    const std::uint32_t old = bufferBytes(r);
    if (r.offset & InContent)
        r.offset = 0;
    char* out = nullptr;
    if (total <= old) {
        out = m_bytes.get() + r.offset; // fits where the old texts were
        m_unused += old - total;
    } else {
        if (m_used + total > std::numeric_limits<std::uint32_t>::max() / 2) // below InContent
            throw std::length_error("row store too large");
        m_unused += old;
        if (m_used + total > m_capacity)
            grow(std::max(m_used + total, m_capacity * 2));
        r.offset = static_cast<std::uint32_t>(m_used);
        m_used += total;
        out = m_bytes.get() + r.offset;
    }
    for (std::size_t f = 0; f < texts.size(); ++f)
        r.length[f] = static_cast<std::uint16_t>(texts[f].size());
    if (total == 0)
        return;

    // The texts that stand in one piece in one copy, separators included; the rest one by one.
    int f = joined;
    if (joined > 0) {
        const View lastJoined = texts[static_cast<std::size_t>(joined - 1)];
        const auto span = static_cast<std::size_t>(lastJoined.data() + lastJoined.size() - texts[0].data());
        if (span > 0)
            std::memcpy(out, texts[0].data(), span);
        out += span;
    } else {
        out = put(out, texts[0]);
        f = 1;
    }
    for (; f < FieldCount; ++f) {
        *out++ = ','; // the separator is never read; a comma as in the file
        out = put(out, texts[static_cast<std::size_t>(f)]);
    }
    if (m_unused > 4096 && m_unused > m_used / 2)
        compact();
}

std::size_t RowStore::bytesHeld() const
{
    return m_capacity + m_contentSize + m_rows.capacity() * sizeof(Row);
}

void RowStore::grow(std::size_t capacity)
{
    std::unique_ptr<char[]> bigger(new char[capacity]);
    if (m_used > 0)
        std::memcpy(bigger.get(), m_bytes.get(), m_used);
    m_bytes = std::move(bigger);
    m_capacity = capacity;
}

void RowStore::compact()
{
    const std::size_t live = m_used - m_unused;
    std::unique_ptr<char[]> packed(new char[live + 1024]);
    std::size_t used = 0;
    for (Row& r : m_rows) {
        if (r.offset & InContent)
            continue; // kept in the content, which never moves
        const std::uint32_t n = r.total();
        if (n > 0)
            std::memcpy(packed.get() + used, m_bytes.get() + r.offset, n);
        r.offset = static_cast<std::uint32_t>(used);
        used += n;
    }
    m_bytes = std::move(packed);
    m_capacity = live + 1024;
    m_used = used;
    m_unused = 0;
}

} // namespace quvo
