// The network drives of the stand-in: a table in a file, and the paths that begin with a drive.
//
// `${XDG_CONFIG_HOME:-$HOME/.config}/zentrova/drives` has a line for each drive:
//
//     # a comment
//     F: \\SERVER\VOLUME /where/it/is/mounted
//
// The drive, the remote name and the rest of the line, which is the folder that holds the drive's
// files and may have blanks in it or be missing. Lines of another form are passed over; of two
// lines for a drive the first counts. The file is read anew whenever it is needed, so that a change
// holds from the next call on.
//
// Any thread may make any call.
#ifndef ZVSUPPORT_PLATFORM_POSIX_NETWORK_DRIVES_H
#define ZVSUPPORT_PLATFORM_POSIX_NETWORK_DRIVES_H

#include <string>

namespace zv::platform::posix {

// A path as the file system knows it: one that begins with a drive of the table ("F:/file",
// "f:\folder\file") leads into that drive's folder, any other stands as it is given (null too).
class SystemPath {
public:
    // Keeps the text, which must outlive the object. Throws std::bad_alloc.
    explicit SystemPath(const char* path);
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    operator const char*() const { return text; }

private:
    std::string translated;
    const char* text;
};

} // namespace zv::platform::posix

#endif
