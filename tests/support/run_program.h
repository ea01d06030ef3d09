// Programs that a test starts by a command line of the system's shell.
#ifndef ZVSUPPORT_TESTS_SUPPORT_RUN_PROGRAM_H
#define ZVSUPPORT_TESTS_SUPPORT_RUN_PROGRAM_H

#include <string>

namespace zv::test {

struct Outcome {
    int status;
    std::string output; // both streams
};

Outcome runProgram(const std::string& program, const std::string& arguments);

// What differs by system: a command line as std::system takes it, and the exit status in its
// answer.
std::string quotedCommand(const std::string& command);
int exitStatusOf(int answer);

} // namespace zv::test

#endif
