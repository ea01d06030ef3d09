// The migration's peer: a straight-line program that reads the whole source into nested std::map
// and writes the whole target once, with a rename. It knows nothing of locks, other processes,
// damaged files, value sizes or types other than text.
#ifndef ZVSUPPORT_BENCH_STRAIGHT_LINE_H
#define ZVSUPPORT_BENCH_STRAIGHT_LINE_H

#include <string>

namespace zv::bench {

// flush: also waits for the disk before the rename, as the library does for the file.
void straightHiveToIni(const std::string& hive, const std::string& ini, bool flush);
void straightIniToHive(const std::string& ini, const std::string& hive, bool flush);

} // namespace zv::bench

#endif
