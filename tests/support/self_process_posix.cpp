#include "support/self_process.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace zv::test {

std::string programPath() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

SelfProcess::SelfProcess(const std::string& role, const Arguments& arguments) {
    Arguments all = {programPath(), "--role", role};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& argument : all)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, all[0].c_str(), nullptr, nullptr, pointers.data(), environ) != 0)
        throw std::runtime_error("the program cannot be started again");
    id = static_cast<unsigned>(child);
}

SelfProcess::~SelfProcess() {
    kill();
}

int SelfProcess::join() {
    int status = -1;
    if (id != 0)
        waitpid(static_cast<pid_t>(std::exchange(id, 0)), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void SelfProcess::kill() {
    if (id != 0) {
        ::kill(static_cast<pid_t>(id), SIGKILL);
        join();
    }
}

} // namespace zv::test
