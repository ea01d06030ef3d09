// Snapshots of an INI file's names.
//
// A snapshot is taken by the constructor, under the file's lock; later changes are not seen, and
// the lock is not held while the iterator is used. One thread at a time.
#ifndef ZVSUPPORT_CORE_REGISTRY_INI_ITERATORS_H
#define ZVSUPPORT_CORE_REGISTRY_INI_ITERATORS_H

#include "core/registry/ini_file.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zv::core {

class IniFileIteratorBase {
public:
    IniFileIteratorBase(const IniFileIteratorBase&) = delete;
    IniFileIteratorBase& operator=(const IniFileIteratorBase&) = delete;
    virtual ~IniFileIteratorBase() = default;

    // What the iterator was built for: the prefix or the section.
    virtual std::u16string getName() { return name; }
    // The next name. Throws EZvCoreException with kFail when there is none.
    virtual void next(std::u16string& result);
    virtual bool hasNext() { return position < names.size(); }

protected:
    explicit IniFileIteratorBase(std::u16string name) : name(std::move(name)) {}

    std::u16string name;
    std::vector<std::u16string> names;
    std::size_t position = 0;
};

// The children of a section: whatever stands between "prefix\" and the next backslash or the end of
// some section's name, once each and in code-unit order. The prefix has to match in its very
// spelling. An empty name is no child. What is below a child is passed over in one step.
class IniFileSetIterator final : public IniFileIteratorBase {
public:
    IniFileSetIterator(IniFile& file, std::u16string prefix);
};

// The keys of a section, in map order. Throws EZvCoreException with kFail when it does not exist.
class IniFileKeyIterator final : public IniFileIteratorBase {
public:
    IniFileKeyIterator(IniFile& file, std::u16string section);
};

} // namespace zv::core

#endif
