#pragma once
// A run-time error inside one procedure: a text that does not convert, a row past the
// last one, a file that cannot be read. It never leaves the procedure: the procedure
// catches it at its boundary, keeps description() in LastError and returns false.

#include <QString>

#include <stdexcept>

namespace quvo {

class RuntimeError : public std::runtime_error {
public:
    explicit RuntimeError(const QString& description)
        : std::runtime_error(description.toStdString()), m_description(description)
    {
    }

    const QString& description() const { return m_description; }

private:
    QString m_description;
};

} // namespace quvo
