// Replays a fuzz target's corpus without libFuzzer: every file of the folders (and every
// file) named on the command line goes once through LLVMFuzzerTestOneInput. Built with
// the ordinary compiler, so the corpora run in every test run, under the sanitizers in the
// sanitizer build. A broken invariant aborts; an empty corpus is an error too.

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    QStringList files;
    for (int i = 1; i < argc; ++i) {
        const QString path = QFile::decodeName(argv[i]);
        if (QFileInfo(path).isDir()) {
            QDirIterator it(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (it.hasNext())
                files.append(it.next());
        } else {
            files.append(path);
        }
    }
    std::sort(files.begin(), files.end());
    if (files.isEmpty()) {
        std::fprintf(stderr, "No input files.\n");
        return 1;
    }
    for (const QString& path : files) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "Cannot read %s\n", qPrintable(path));
            return 1;
        }
        const QByteArray bytes = file.readAll();
        std::fprintf(stderr, "%s (%lld bytes)\n", qPrintable(path), static_cast<long long>(bytes.size()));
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                               static_cast<std::size_t>(bytes.size()));
    }
    std::fprintf(stderr, "%lld inputs replayed.\n", static_cast<long long>(files.size()));
    return 0;
}
