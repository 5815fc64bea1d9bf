#include "document/TextColumn.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace quvo {

void TextColumn::resize(int cells)
{
    const auto n = static_cast<std::size_t>(std::max(cells, 0));
    for (std::size_t i = n; i < m_cells.size(); ++i)
        m_unused += m_cells[i].length;
    m_cells.resize(n);
}

void TextColumn::clear()
{
    m_cells.clear();
    m_chars.clear();
    m_unused = 0;
}

void TextColumn::reserve(int cells, std::size_t characters)
{
    m_cells.reserve(static_cast<std::size_t>(std::max(cells, 0)));
    m_chars.reserve(characters);
}

void TextColumn::set(int index, QStringView text)
{
    const char16_t* source = text.utf16();
    if (!m_chars.empty() && source >= m_chars.data() && source < m_chars.data() + m_chars.size()) {
        // A text of this same column: copy it out first, the buffer may move below.
        const QString copy = text.toString();
        set(index, QStringView(copy));
        return;
    }
    Cell& cell = m_cells[static_cast<std::size_t>(index)];
    const auto length = static_cast<std::size_t>(text.size());
    if (length <= cell.length) {
        // Fits where the old text was: overwrite in place.
        if (length > 0)
            std::memcpy(m_chars.data() + cell.offset, text.utf16(), length * sizeof(char16_t));
        m_unused += cell.length - length;
        cell.length = static_cast<std::uint32_t>(length);
        return;
    }
    if (m_chars.size() + length > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("text column too large");
    m_unused += cell.length;
    cell.offset = static_cast<std::uint32_t>(m_chars.size());
    cell.length = static_cast<std::uint32_t>(length);
    m_chars.insert(m_chars.end(), text.utf16(), text.utf16() + length);
    if (m_unused > 4096 && m_unused > m_chars.size() / 2)
        compact();
}

void TextColumn::setNumber(int index, std::int64_t value)
{
    char16_t digits[24];
    int n = 0;
    const bool negative = value < 0;
    auto magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        digits[n++] = static_cast<char16_t>(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (negative)
        digits[n++] = u'-';
    std::reverse(digits, digits + n);
    set(index, QStringView(digits, n));
}

std::size_t TextColumn::bytesHeld() const
{
    return m_chars.capacity() * sizeof(char16_t) + m_cells.capacity() * sizeof(Cell);
}

void TextColumn::compact()
{
    std::vector<char16_t> packed;
    packed.reserve(m_chars.size() - m_unused + 1024);
    for (Cell& cell : m_cells) {
        const auto offset = packed.size();
        packed.insert(packed.end(), m_chars.begin() + cell.offset, m_chars.begin() + cell.offset + cell.length);
        cell.offset = static_cast<std::uint32_t>(offset);
    }
    m_chars.swap(packed);
    m_unused = 0;
}

} // namespace quvo
