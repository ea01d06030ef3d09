#include "support/self_process.h"

#include <stdexcept>
#include <string>
#include <utility>

#include <windows.h>

namespace zv::test {

namespace {

constexpr UINT kKilled = 0xFFFFFFFF; // -1

} // namespace

std::string programPath() {
    char path[MAX_PATH];
    return {path, GetModuleFileNameA(nullptr, path, MAX_PATH)};
}

SelfProcess::SelfProcess(const std::string& role, const Arguments& arguments) {
    std::string command = '"' + programPath() + "\" --role " + role;
    for (const std::string& argument : arguments)
        command += ' ' + argument;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information{};
    // Wine now and then fails to start a program that it starts the next moment.
    for (int tries = 1; CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                       nullptr, &startup, &information) == 0;
         ++tries) {
        if (tries == 3)
            throw std::runtime_error("the program cannot be started again: Windows error " +
                                     std::to_string(GetLastError()));
        Sleep(100);
    }
    CloseHandle(information.hThread);
    process = information.hProcess;
    id = information.dwProcessId;
}

SelfProcess::~SelfProcess() {
    kill();
}

int SelfProcess::join() {
    DWORD status = kKilled;
    if (HANDLE handle = std::exchange(process, nullptr)) {
        WaitForSingleObject(handle, INFINITE);
        GetExitCodeProcess(handle, &status);
        CloseHandle(handle);
    }
    return static_cast<int>(status);
}

void SelfProcess::kill() {
    if (process != nullptr) {
        TerminateProcess(process, kKilled);
        join();
    }
}

} // namespace zv::test
