#include "support/run_program.h"

#include "support/scratch_folder.h"

#include <cstdlib>
#include <filesystem>

namespace zv::test {

Outcome runProgram(const std::string& program, const std::string& arguments) {
    const std::filesystem::path output = "run-program.log";
    const std::string command =
        quotedCommand('"' + program + "\" " + arguments + " > " + output.string() + " 2>&1");
    Outcome outcome{exitStatusOf(std::system(command.c_str())), readFile(output)};
    std::filesystem::remove(output);
    return outcome;
}

} // namespace zv::test
