#pragma once
// The data files of a recording that goes on after its document is full
// (`quvolink-cli record --continue`).

#include <QString>

namespace quvo::cli {

// The n-th data file of a recording saved as `path`. The first is `path` itself. The n-th
// (n >= 2) puts "-" and n with at least four digits between the file name's stem and its
// extension (the part from the last "." of the file name on; a name that starts with its
// only "." has none): bench.csv -> bench-0002.csv, bench-10000.csv; bench -> bench-0002;
// run.2024.CSV -> run.2024-0002.CSV. The folder part of `path` is kept as it is.
QString recordingFileName(const QString& path, int number);

} // namespace quvo::cli
