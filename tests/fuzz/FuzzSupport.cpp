#include "FuzzSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace quvo::fuzz {

void fail(const char* file, int line, const char* condition, const QString& detail)
{
    std::fprintf(stderr, "\n*** Invariant broken at %s:%d\n    %s\n    %s\n", file, line, condition,
                 detail.toLocal8Bit().constData());
    std::fflush(stderr);
    std::abort();
}

void ensureApplication()
{
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "quvolink-fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    // Workbooks written by a target are never handed to a desktop program.
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
}

QString scratchFolder()
{
    static std::unique_ptr<QTemporaryDir> folder = [] {
        const QString base = QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm")
                                                                                 : QDir::tempPath();
        auto dir = std::make_unique<QTemporaryDir>(base + QStringLiteral("/quvolink-fuzz-XXXXXX"));
        if (!dir->isValid())
            fail(__FILE__, __LINE__, "scratch folder", dir->errorString());
        return dir;
    }();
    return folder->path();
}

QStringList entriesOf(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QString printable(const QString& text, int limit)
{
    QString out;
    for (qsizetype i = 0; i < text.size() && i < limit; ++i) {
        const char16_t c = text.at(i).unicode();
        if (c >= 0x20 && c < 0x7F)
            out += QChar(c);
        else
            out += QStringLiteral("\\x%1").arg(static_cast<int>(c), 2, 16, QLatin1Char('0'));
    }
    if (text.size() > limit)
        out += QStringLiteral("... (%1 characters)").arg(text.size());
    return out;
}

QByteArray InputReader::bytes(std::size_t count)
{
    const std::size_t n = std::min(count, m_size - std::min(m_pos, m_size));
    QByteArray out(reinterpret_cast<const char*>(m_data + m_pos), static_cast<qsizetype>(n));
    m_pos += n;
    return out;
}

} // namespace quvo::fuzz
