// A file path in its canonical form: backslashes alone, no empty and no "." components, ".." taken
// back where there is something to take back.
//
//     C:/dir/./sub//file.txt     C:\dir\sub\file.txt     root: C:\ (3 characters)
//     \\srv\share\a\..\b         \\srv\share\b           root: \\srv\share\ (12)
//     /a/../../b                 \b                      root: \ (1)
//     x/../../y                  ..\y                    no root
//
// A path does not change after its construction; any thread may read it.
#ifndef ZVSUPPORT_CORE_COM_FILE_PATH_H
#define ZVSUPPORT_CORE_COM_FILE_PATH_H

#include "lang/object.h"
#include "lang/string.h"

#include <cstdint>

namespace ZVCL {

class CZvFilePath : public CZvObject {
public:
    // Takes either kind of slash, a drive letter, a network share or neither. A text with a zero in
    // it ends there, as it would for the system. Throws EZvInvalidPath "invalid drive" for a first
    // ":" behind index 1, "no server name" or "no share name" for a network path without them.
    explicit CZvFilePath(const CZvString& path);
    ~CZvFilePath() override;

    CZvString toString() const override; // the canonical path

    // The characters at the beginning that form the root, its separator included; 0 for a relative
    // path, 2 for one that is relative to its drive's current folder.
    std::int32_t getRootLength() const { return rootLength; }

private:
    void findRoot();

    CZvString path;
    std::int32_t rootLength = 0;
};

} // namespace ZVCL

#endif
