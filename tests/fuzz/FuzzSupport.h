#pragma once
// Shared pieces of the fuzz targets: the invariant check that stops a run with a readable
// report, the Qt application object some classes expect, and a scratch folder.
//
// A failed check prints what was expected and aborts. libFuzzer then keeps the input as
// a crash; the replay program (ReplayMain.cpp) ends with an error, so CTest fails.

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace quvo::fuzz {

[[noreturn]] void fail(const char* file, int line, const char* condition, const QString& detail);

// A QCoreApplication for the whole run (made once).
void ensureApplication();

// A folder of this process for files the target writes, created once and emptied by
// nobody else. Under /dev/shm when there is one, so syncing files to disk costs little.
QString scratchFolder();

// The names in `folder` (files and folders, hidden ones too), sorted.
QStringList entriesOf(const QString& folder);

// Text for reports: non-printable characters as \xNN, cut after `limit` characters.
QString printable(const QString& text, int limit = 200);

// Reads input bytes field by field; past the end every read gives 0 or nothing.
class InputReader {
public:
    InputReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    bool atEnd() const { return m_pos >= m_size; }
    std::uint8_t byte() { return atEnd() ? 0 : m_data[m_pos++]; }
    // Up to `count` bytes.
    QByteArray bytes(std::size_t count);
    QByteArray rest() { return bytes(m_size - m_pos); }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

} // namespace quvo::fuzz

#define FUZZ_CHECK(condition, detail)                                                      \
    do {                                                                                   \
        if (!(condition))                                                                  \
            ::quvo::fuzz::fail(__FILE__, __LINE__, #condition, (detail));                  \
    } while (false)
