// The names of a folder's entries.
#ifndef ZVSUPPORT_TESTS_SUPPORT_NAMES_IN_H
#define ZVSUPPORT_TESTS_SUPPORT_NAMES_IN_H

#include <filesystem>
#include <set>
#include <string>

namespace zv::test {

inline std::set<std::string> namesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

} // namespace zv::test

#endif
