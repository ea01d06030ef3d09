#include "support/self_process.h"

#include "support/scratch_folder.h"

#include <map>
#include <string_view>

namespace zv::test {

namespace {

std::map<std::string, Role>& roles() {
    static std::map<std::string, Role> table;
    return table;
}

} // namespace

RoleEntry::RoleEntry(const char* name, Role role) {
    roles().emplace(name, role);
}

std::optional<int> runRole(int argc, char** argv) {
    if (argc < 3 || std::string_view(argv[1]) != "--role")
        return std::nullopt;
    const auto role = roles().find(argv[2]);
    if (role == roles().end())
        return 99;
    joinScratchRegistry();
    return role->second(Arguments(argv + 3, argv + argc));
}

} // namespace zv::test
