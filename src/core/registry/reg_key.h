// A position in the configuration registry, of either back-end, and the walk over what is below it.
//
// Key objects belong to one thread at a time. Their operations answer result codes, except where a
// comment says that they throw.
#ifndef ZVSUPPORT_CORE_REGISTRY_REG_KEY_H
#define ZVSUPPORT_CORE_REGISTRY_REG_KEY_H

#include "core/handle.h"
#include "core/ref_counted.h"
#include "core/result.h"

#include <cstdint>
#include <string>

namespace zv::core {

// The type of a value as keys know it. A type of the system's registry that is not among these
// passes through reads as the number it has there.
using RegValueType = std::uint32_t;
inline constexpr RegValueType kRegString = 0;
inline constexpr RegValueType kRegNumber = 1;
inline constexpr RegValueType kRegBinary = 3;
inline constexpr RegValueType kRegExpandString = 4; // written only: a read expands
inline constexpr RegValueType kRegMultiString = 5;

// The largest value that is copied between back-ends, in bytes.
inline constexpr std::uint32_t kRegCopyLimit = 2048;

class CRegKey : public CZvCoreRefCounted {
public:
    // root: the 32-bit value of a root key (HKEY_…_VALUE). path: components with single backslashes
    // between them; empty for the root itself.
    CRegKey(std::uint32_t root, std::u16string path);

    // Opens the enumeration of the sub-keys, or of the values.
    virtual ResultCode openSubKeys() = 0;
    // The next name into the caller's buffer. nameLength: in, its room in characters; out, the
    // name's length. A failure is the end of the enumeration, or a name that does not fit.
    virtual ResultCode enumSubKey(char16_t* name, std::uint32_t& nameLength) = 0;
    virtual ResultCode openValues() = 0;
    virtual ResultCode enumValue(char16_t* name, std::uint32_t& nameLength) = 0;
    // Ends an enumeration of this back-end; does not use the object.
    virtual ResultCode closeEnum(Handle handle) = 0;
    // A new key object of the same class.
    virtual ResultCode createKey(CoreRef<CRegKey>& result, std::uint32_t root,
                                 const std::u16string& path) = 0;
    // Reads a value. size: in, the room at data in bytes; out, the value's size. A value that does
    // not fit is a failure, and data then hold nothing of use.
    virtual ResultCode queryValue(const char16_t* name, RegValueType& type, void* data,
                                  std::uint32_t& size) = 0;
    // Writes a value at (root, path), whatever the object's own position, and creates the key as
    // needed. Text is terminated by a zero.
    virtual ResultCode setValue(std::uint32_t root, const std::u16string& path,
                                const char16_t* name, RegValueType type, const void* data,
                                std::uint32_t size) = 0;

    // The walk. It runs once; a fresh key object starts a fresh one. These throw EZvCoreException:
    // hasNextSubKey when the enumeration cannot be opened, both when memory runs out, the next…
    // operations with kNoMoreItems at the end.
    bool hasNextSubKey();
    CoreRef<CRegKey> nextSubKey();
    bool hasNextValue(); // a key whose values cannot be enumerated has none
    std::u16string nextValue();

    // Reads a value of this key (of at most kRegCopyLimit bytes) and writes it under the same root,
    // path and name through target. The answer is the read's failure, or the write's answer.
    ResultCode copyValue(const std::u16string& name, CRegKey& target);

    std::uint32_t getRoot() const { return root; }
    const std::u16string& getPath() const { return path; }

protected:
    // Ends one enumeration, so that it can be opened anew.
    void closeEnumeration(Handle& handle);
    // Ends both: for the destructors of the back-ends, whose closeEnum it needs.
    void closeEnumerations();

    std::uint32_t root;
    std::u16string path;
    Handle subKeyEnum = kNoHandle;
    Handle valueEnum = kNoHandle;

private:
    bool subKeyPending = false;
    std::u16string subKeyName;
    bool valuePending = false;
    std::u16string valueName;
};

} // namespace zv::core

#endif
