#include "support/run_program.h"

#include "support/scratch_folder.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace zv::test {

Outcome runProgram(const std::string& program, const std::string& arguments) {
    static std::atomic<int> runs = 0; // of which several may go on at once
    const std::filesystem::path output = "run-program-" + std::to_string(++runs) + ".log";
    const std::string command =
        quotedCommand('"' + program + "\" " + arguments + " > " + output.string() + " 2>&1");
    Outcome outcome{exitStatusOf(std::system(command.c_str())), readFile(output)};
    std::filesystem::remove(output);
    return outcome;
}

} // namespace zv::test
