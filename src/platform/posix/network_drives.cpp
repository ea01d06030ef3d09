#include "platform/posix/network_drives.h"

#include "platform/posix/file_seam.h"
#include "platform/posix/handles.h"
#include "platform/posix/last_error.h"
#include "platform/posix/user_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

constexpr char kProvider[] = "zentrova drives";
constexpr DWORD kDisplaysShare = 3;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF"; // that some editors begin a text with

struct Drive {
    std::string localName; // "F:", as it is written
    std::string remoteName;
    std::string folder; // empty when the line names none
};

// The whole table; empty when there is none. Answers the Windows error.
DWORD readTable(std::string& text) {
    // A pipe in its place must not keep the caller waiting.
    const std::string path = userFile("XDG_CONFIG_HOME", ".config", "drives");
    const int file = seam::openFile(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return errno == ENOENT || errno == ENOTDIR ? ERROR_SUCCESS : errorFromErrno(errno);
    struct stat status {};
    DWORD error = ERROR_SUCCESS;
    if (fstat(file, &status) != 0)
        error = errorFromErrno(errno);
    else if (!S_ISREG(status.st_mode))
        error = ERROR_ACCESS_DENIED;
    try {
        char block[4096];
        while (error == ERROR_SUCCESS) {
            const ssize_t size = seam::readFrom(file, block, sizeof block);
            if (size < 0)
                error = errorFromErrno(errno, ERROR_READ_FAULT);
            if (size <= 0)
                break;
            text.append(block, static_cast<std::size_t>(size));
        }
    } catch (...) {
        close(file);
        throw;
    }
    close(file);
    return error;
}

bool isLetter(char ch) {
    return (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
}

bool isDrive(std::string_view name) {
    return name.size() == 2 && isLetter(name[0]) && name[1] == ':';
}

// Takes the next word, and the blanks in front of it, off the line.
std::string_view takeWord(std::string_view& line) {
    constexpr std::string_view blanks = " \t";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(blanks));
    line.remove_prefix(word.size());
    return word;
}

std::optional<Drive> driveIn(std::string_view line) {
    if (line.find('\0') != line.npos)
        return std::nullopt;
    line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    const std::string_view name = takeWord(line);
    const std::string_view remote = takeWord(line);
    if (!isDrive(name) || remote.empty())
        return std::nullopt;
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return Drive{std::string(name), std::string(remote), std::string(line)};
}

DWORD readDrives(std::vector<Drive>& drives) {
    std::string text;
    if (const DWORD error = readTable(text); error != ERROR_SUCCESS)
        return error;
    std::string_view rest = text;
    if (rest.starts_with(kByteOrderMark))
        rest.remove_prefix(kByteOrderMark.size());
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (auto drive = driveIn(rest.substr(0, end)))
            drives.push_back(*std::move(drive));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return ERROR_SUCCESS;
}

// The folder that holds the files of the drive of that letter; empty when there is none.
std::string folderOf(char letter) {
    std::vector<Drive> drives;
    if (readDrives(drives) != ERROR_SUCCESS)
        return {};
    const auto found = std::find_if(drives.begin(), drives.end(), [&](const Drive& drive) {
        return (drive.localName[0] | 0x20) == (letter | 0x20);
    });
    return found != drives.end() ? found->folder : std::string();
}

// The entries of a call: structures from the area's beginning, their texts from its end.
class Area {
public:
    Area(void* area, DWORD size) : front(static_cast<char*>(area)), back(front + size) {}

    static DWORD sizeOf(const Drive& drive) {
        return static_cast<DWORD>(sizeof(NETRESOURCEA) + drive.localName.size() + 1 +
                                  drive.remoteName.size() + 1 + sizeof kProvider);
    }
    bool hasRoomFor(const Drive& drive) const {
        return static_cast<std::size_t>(back - front) >= sizeOf(drive);
    }
    void put(const Drive& drive) {
        const NETRESOURCEA entry = {.dwScope = RESOURCE_CONNECTED,
                                    .dwType = RESOURCETYPE_DISK,
                                    .dwDisplayType = kDisplaysShare,
                                    .dwUsage = 0,
                                    .lpLocalName = putText(drive.localName),
                                    .lpRemoteName = putText(drive.remoteName),
                                    .lpComment = nullptr,
                                    .lpProvider = putText(kProvider)};
        std::memcpy(front, &entry, sizeof entry);
        front += sizeof entry;
    }

private:
    char* putText(std::string_view text) {
        back -= text.size() + 1;
        back[text.copy(back, text.size())] = 0;
        return back;
    }

    char* front;
    char* back;
};

class Enumeration : public HandleObject {
public:
    explicit Enumeration(std::vector<Drive> found) : drives(std::move(found)) {}
    bool endsByCloseHandle() const override { return false; }

    DWORD next(DWORD& count, void* area, DWORD& size) {
        const std::lock_guard lock(mutex);
        if (given == drives.size())
            return ERROR_NO_MORE_ITEMS;
        if (const DWORD needed = Area::sizeOf(drives[given]); needed > size) {
            size = needed;
            return ERROR_MORE_DATA;
        }
        Area entries(area, size);
        DWORD put = 0;
        for (; put < count && given < drives.size() && entries.hasRoomFor(drives[given]); ++put)
            entries.put(drives[given++]);
        count = put;
        return ERROR_SUCCESS;
    }

private:
    std::mutex mutex;
    const std::vector<Drive> drives;
    std::size_t given = 0;
};

} // namespace

namespace zv::platform::posix {

SystemPath::SystemPath(const char* path) : text(path) {
    if (path == nullptr || !isLetter(path[0]) || path[1] != ':')
        return;
    translated = folderOf(path[0]);
    if (translated.empty())
        return;
    std::string inside(path + 2);
    std::replace(inside.begin(), inside.end(), '\\', '/');
    if (!inside.starts_with('/'))
        translated += '/';
    translated += inside;
    text = translated.c_str();
}

} // namespace zv::platform::posix

DWORD WNetOpenEnumA(DWORD scope, DWORD type, DWORD usage, NETRESOURCEA* container,
                    HANDLE* enumeration) {
    try {
        const bool isKnown = scope == RESOURCE_CONNECTED && type <= RESOURCETYPE_DISK &&
                             usage == 0 && container == nullptr;
        if (enumeration == nullptr || !isKnown)
            return ERROR_INVALID_PARAMETER;
        std::vector<Drive> drives;
        if (const DWORD error = readDrives(drives); error != ERROR_SUCCESS)
            return error;
        *enumeration = newHandle(std::make_shared<Enumeration>(std::move(drives)));
        return ERROR_SUCCESS;
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

DWORD WNetEnumResourceA(HANDLE handle, DWORD* count, void* area, DWORD* size) {
    if (count == nullptr || area == nullptr || size == nullptr || *count == 0)
        return ERROR_INVALID_PARAMETER;
    const auto enumeration = objectOf<Enumeration>(handle);
    return enumeration != nullptr ? enumeration->next(*count, area, *size) : ERROR_INVALID_HANDLE;
}

DWORD WNetCloseEnum(HANDLE handle) {
    const ObjectPointer ended = takeHandle(handle, [](const HandleObject& object) {
        return dynamic_cast<const Enumeration*>(&object) != nullptr;
    });
    return ended != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
