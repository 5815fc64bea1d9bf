#pragma once
// One column of texts kept in a single character buffer: a document of 32767 rows holds its
// times, values, modes, labels and raw texts in five of these instead of 160 000 separate
// strings. Each cell is an offset and a length into the buffer.
//
// A text that is written again and fits in its old place is overwritten there; a longer one
// goes to the end of the buffer, and the buffer is compacted when more than half of it is
// no longer referenced. Views handed out stay valid until the column is next changed.

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quvo {

class TextColumn {
public:
    int size() const { return static_cast<int>(m_cells.size()); }

    // New cells are empty; cells past the new size are dropped.
    void resize(int cells);
    void clear();
    void reserve(int cells, std::size_t characters);

    QStringView view(int index) const
    {
        const Cell c = m_cells[static_cast<std::size_t>(index)];
        return QStringView(m_chars.data() + c.offset, static_cast<qsizetype>(c.length));
    }
    QString text(int index) const { return view(index).toString(); }
    bool isEmpty(int index) const { return m_cells[static_cast<std::size_t>(index)].length == 0; }

    void set(int index, QStringView text);
    // The text of a whole number, written without making a QString first.
    void setNumber(int index, std::int64_t value);

    // Bytes held (capacity of the buffers), for the memory figures.
    std::size_t bytesHeld() const;

private:
    struct Cell {
        std::uint32_t offset = 0;
        std::uint32_t length = 0;
    };

    void compact();

    std::vector<char16_t> m_chars;
    std::vector<Cell> m_cells;
    std::size_t m_unused = 0; // characters of the buffer that no cell refers to any more
};

} // namespace quvo
