// Where the stand-in keeps the registry while a ScratchFolder lives.
#ifndef ZVSUPPORT_TESTS_SUPPORT_HIVE_PATH_H
#define ZVSUPPORT_TESTS_SUPPORT_HIVE_PATH_H

#include <filesystem>

namespace zv::test {

std::filesystem::path hivePath();

} // namespace zv::test

#endif
