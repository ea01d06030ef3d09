// Processes of a test's own: this program started once more, in a role.
//
//     ZV_TEST_ROLE(writer) { return arguments.size() == 1 ? write(arguments[0]) : 1; }
//     SelfProcess child("writer", {"7"});
//     EXPECT_EQ(child.join(), 0);
//
// A child has the folder, the environment and the registry of the test that started it.
#ifndef ZVSUPPORT_TESTS_SUPPORT_SELF_PROCESS_H
#define ZVSUPPORT_TESTS_SUPPORT_SELF_PROCESS_H

#include <optional>
#include <string>
#include <vector>

namespace zv::test {

using Arguments = std::vector<std::string>; // without quotation marks and white space
using Role = int (*)(const Arguments& arguments);

class SelfProcess {
public:
    // Throws std::runtime_error when it cannot be started.
    explicit SelfProcess(const std::string& role, const Arguments& arguments = {});
    ~SelfProcess(); // kills it if it is still there
    SelfProcess(const SelfProcess&) = delete;
    SelfProcess& operator=(const SelfProcess&) = delete;

    int join(); // the role's answer, or -1 for a child that was killed
    void kill();
    unsigned number() const { return id; }

private:
    void* process = nullptr;
    unsigned id = 0;
};

// This program's own path.
std::string programPath();

class RoleEntry {
public:
    RoleEntry(const char* name, Role role);
};

// For main(): runs the role that the program was started for and answers its result; nothing when
// it was started for the tests.
std::optional<int> runRole(int argc, char** argv);

} // namespace zv::test

#define ZV_TEST_ROLE(name)                                                                         \
    int roleOf_##name(const zv::test::Arguments& arguments);                                       \
    const zv::test::RoleEntry entryOf_##name(#name, roleOf_##name);                                \
    int roleOf_##name([[maybe_unused]] const zv::test::Arguments& arguments)

#endif
