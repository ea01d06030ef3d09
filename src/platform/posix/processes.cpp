// Processes: starting a program, and waiting for one's end.
#include "platform/posix/code_pages.h"
#include "platform/posix/deadline.h"
#include "platform/posix/handles.h"
#include "platform/posix/wide_functions.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

constexpr DWORD kUsesStandardHandles = 0x100; // STARTF_USESTDHANDLES
constexpr DWORD kCreatesSuspended = 4;        // CREATE_SUSPENDED

// A descriptor of a process: readable when the process has ended, and never of another one.
int openProcessDescriptor(pid_t id) {
    return static_cast<int>(syscall(SYS_pidfd_open, id, 0));
}

class Process : public HandleObject {
public:
    // startedHere: its end is collected here, so that it leaves nothing behind. (One that outlives
    // its last handle is collected by the system when this process ends.)
    Process(int owned, bool wasStartedHere) : descriptor(owned), startedHere(wasStartedHere) {}
    ~Process() override {
        collect();
        close(descriptor);
    }

    DWORD wait(DWORD milliseconds) override {
        const Deadline deadline(milliseconds);
        for (;;) {
            const auto pause = deadline.left(std::chrono::hours(1));
            pollfd watched{descriptor, POLLIN, 0};
            const int answer = poll(&watched, 1, static_cast<int>(pause.count()));
            if (answer > 0) {
                collect();
                return WAIT_OBJECT_0;
            }
            if (answer < 0 && errno != EINTR) {
                setErrorFromErrno(errno);
                return WAIT_FAILED;
            }
            if (deadline.passed())
                return WAIT_TIMEOUT;
        }
    }

private:
    // Asked by descriptor: the number may be another's by now.
    void collect() const {
        siginfo_t ignored;
        if (startedHere)
            waitid(P_PIDFD, static_cast<id_t>(descriptor), &ignored, WEXITED | WNOHANG);
    }

    const int descriptor;
    const bool startedHere;
};

// ---------------------------------------------------------------------------------------------
// Command lines

// The arguments of a command line as programs of the product's platform read them: separated by
// blanks and tabs; quotes hold blanks together; 2n backslashes in front of a quote are n of them,
// one more makes the quote a plain character; a doubled quote inside quotes is one.
std::vector<std::string> argumentsOf(std::string_view line) {
    std::vector<std::string> arguments;
    bool inArgument = false;
    bool quoted = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char unit = line[at];
        if (!quoted && (unit == ' ' || unit == '\t')) {
            inArgument = false;
            continue;
        }
        if (!inArgument)
            arguments.emplace_back();
        inArgument = true;
        std::string& argument = arguments.back();
        if (unit == '\\') {
            const std::size_t end = std::min(line.find_first_not_of('\\', at), line.size());
            const std::size_t count = end - at;
            const bool beforeQuote = end < line.size() && line[end] == '"';
            const bool plainQuote = beforeQuote && count % 2 == 1;
            argument.append(beforeQuote ? count / 2 : count, '\\');
            if (plainQuote)
                argument += '"';
            at = plainQuote ? end : end - 1;
        } else if (unit != '"') {
            argument += unit;
        } else if (quoted && at + 1 < line.size() && line[at + 1] == '"') {
            argument += '"';
            ++at;
        } else {
            quoted = !quoted;
        }
    }
    return arguments;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// "NAME=value" entries one behind the other, an empty one last.
std::vector<std::string> entriesOf(const char* block) {
    std::vector<std::string> entries;
    for (; *block != 0; block += entries.back().size() + 1)
        entries.emplace_back(block);
    return entries;
}

class FileActions {
public:
    FileActions() { check(posix_spawn_file_actions_init(&actions)); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
    void startIn(const char* folder) {
        check(posix_spawn_file_actions_addchdir_np(&actions, folder));
    }
    const posix_spawn_file_actions_t* get() const { return &actions; }

private:
    static void check(int error) {
        if (error != 0)
            throw std::bad_alloc();
    }
    posix_spawn_file_actions_t actions;
};

BOOL startProgram(const char* application, std::vector<std::string> arguments,
                  std::vector<std::string>* environment, const char* directory,
                  PROCESS_INFORMATION* process) {
    FileActions actions;
    if (directory != nullptr)
        actions.startIn(directory);
    const auto argumentPointers = pointersTo(arguments);
    std::vector<char*> environmentPointers;
    if (environment != nullptr)
        environmentPointers = pointersTo(*environment);
    char* const* variables = environment != nullptr ? environmentPointers.data() : environ;

    pid_t id = 0;
    // A program given by itself is not searched for; the first word of a command line is.
    const int error = application != nullptr
                          ? posix_spawn(&id, application, actions.get(), nullptr,
                                        argumentPointers.data(), variables)
                          : posix_spawnp(&id, arguments.front().c_str(), actions.get(), nullptr,
                                         argumentPointers.data(), variables);
    if (error != 0) {
        setErrorFromErrno(error);
        return FALSE;
    }
    const int descriptor = openProcessDescriptor(id);
    if (descriptor < 0) {
        setErrorFromErrno(errno); // the program runs; there is only no handle for it
        return FALSE;
    }
    std::shared_ptr<Process> object;
    try {
        object = std::make_shared<Process>(descriptor, true);
    } catch (...) {
        close(descriptor);
        throw;
    }
    const HANDLE handle = newHandle(object);
    try {
        // A program's first thread ends with the program.
        const HANDLE thread = newHandle(object);
        *process = {handle, thread, static_cast<DWORD>(id), static_cast<DWORD>(id)};
    } catch (...) {
        CloseHandle(handle);
        throw;
    }
    return TRUE;
}

// What of a start-up wish this system does not grant.
template <typename StartupInfo>
bool isSupported(DWORD flags, const StartupInfo* startup) {
    const DWORD startupFlags = startup != nullptr ? startup->dwFlags : 0;
    return (flags & kCreatesSuspended) == 0 && (startupFlags & kUsesStandardHandles) == 0;
}

} // namespace

BOOL CreateProcessA(const char* application, char* commandLine, SECURITY_ATTRIBUTES*,
                    SECURITY_ATTRIBUTES*, BOOL, DWORD flags, void* environment,
                    const char* directory, STARTUPINFOA* startup, PROCESS_INFORMATION* process) {
    return guarded(FALSE, [&] {
        if (process == nullptr || (application == nullptr && commandLine == nullptr))
            return failWith(ERROR_INVALID_PARAMETER, FALSE);
        if (!isSupported(flags, startup))
            return failWith(ERROR_NOT_SUPPORTED, FALSE);
        auto arguments = commandLine != nullptr ? argumentsOf(commandLine)
                                                : std::vector<std::string>{application};
        if (arguments.empty()) {
            if (application == nullptr)
                return failWith(ERROR_INVALID_PARAMETER, FALSE);
            arguments.emplace_back(application);
        }
        std::vector<std::string> variables;
        if (environment != nullptr)
            variables = entriesOf(static_cast<const char*>(environment));
        return startProgram(application, std::move(arguments),
                            environment != nullptr ? &variables : nullptr, directory, process);
    });
}

BOOL CreateProcessW(const char16_t* application, char16_t* commandLine,
                    SECURITY_ATTRIBUTES* processAttributes, SECURITY_ATTRIBUTES* threadAttributes,
                    BOOL inheritHandles, DWORD flags, void* environment, const char16_t* directory,
                    STARTUPINFOW* startup, PROCESS_INFORMATION* process) {
    return guarded(FALSE, [&] {
        if (!isSupported(flags, startup))
            return failWith(ERROR_NOT_SUPPORTED, FALSE);
        std::string texts[3];
        const char16_t* sources[3] = {application, commandLine, directory};
        for (int i = 0; i < 3; ++i)
            if (sources[i] != nullptr && !narrowExactly(sources[i], &texts[i]))
                return failWith(ERROR_INVALID_NAME, FALSE);
        const auto textOrNull = [&](int i) {
            return sources[i] != nullptr ? texts[i].data() : nullptr;
        };
        return CreateProcessA(textOrNull(0), textOrNull(1), processAttributes, threadAttributes,
                              inheritHandles, flags, environment, textOrNull(2), nullptr, process);
    });
}

HANDLE OpenProcess(DWORD, BOOL, DWORD processId) {
    return guarded<HANDLE>(nullptr, [&]() -> HANDLE {
        if (processId == 0 || processId > INT_MAX)
            return failWith<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
        const int descriptor = openProcessDescriptor(static_cast<pid_t>(processId));
        if (descriptor < 0) {
            const bool none = errno == ESRCH || errno == EINVAL;
            SetLastError(none ? ERROR_INVALID_PARAMETER : errorFromErrno(errno));
            return nullptr;
        }
        std::shared_ptr<Process> object;
        try {
            object = std::make_shared<Process>(descriptor, false);
        } catch (...) {
            close(descriptor);
            throw;
        }
        if (object->wait(0) == WAIT_OBJECT_0) // ended, and not yet collected by its parent
            return failWith<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
        return newHandle(std::move(object));
    });
}
