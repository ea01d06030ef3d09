// Where the stand-in's files of a user lie.
//
// Any thread, as long as none changes the environment.
#ifndef ZVSUPPORT_PLATFORM_POSIX_USER_FILE_H
#define ZVSUPPORT_PLATFORM_POSIX_USER_FILE_H

#include <cstdlib>
#include <string>

namespace zv::platform::posix {

// The file `name` of the folder that an XDG variable names, or of `fallback` below the home folder;
// empty when there is neither. Throws std::bad_alloc.
inline std::string userFile(const char* variable, const char* fallback, const char* name) {
    const char* const chosen = std::getenv(variable);
    if (chosen != nullptr && *chosen == '/') // a relative path is none
        return std::string(chosen) + "/zentrova/" + name;
    const char* const home = std::getenv("HOME");
    if (home == nullptr || *home == 0)
        return {};
    return std::string(home) + "/" + fallback + "/zentrova/" + name;
}

} // namespace zv::platform::posix

#endif
