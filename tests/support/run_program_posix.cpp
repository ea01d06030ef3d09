#include "support/run_program.h"

#include <sys/wait.h>

namespace zv::test {

std::string quotedCommand(const std::string& command) {
    return command;
}

int exitStatusOf(int answer) {
    return WIFEXITED(answer) ? WEXITSTATUS(answer) : -1;
}

} // namespace zv::test
