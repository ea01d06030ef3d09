#include "support/run_program.h"

namespace zv::test {

// The shell takes the outermost quotation marks off.
std::string quotedCommand(const std::string& command) {
    return '"' + command + '"';
}

int exitStatusOf(int answer) {
    return answer;
}

} // namespace zv::test
