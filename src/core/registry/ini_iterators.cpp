#include "core/registry/ini_iterators.h"

#include <algorithm>
#include <string_view>

namespace zv::core {

void IniFileIteratorBase::next(std::u16string& result) {
    if (!hasNext())
        throw EZvCoreException(kFail);
    result = names[position++];
}

IniFileSetIterator::IniFileSetIterator(IniFile& file, std::u16string prefix)
    : IniFileIteratorBase(std::move(prefix)) {
    const std::u16string start = name + u'\\';
    const std::lock_guard memoryHold(file.memoryMutex);
    file.flushBatch();
    const IniFile::Access access(file);
    const IniSections& sections = file.table.sections();
    // Sections that begin with the prefix in any spelling stand together.
    for (auto section = sections.lower_bound(start); section != sections.end(); ++section) {
        const std::u16string_view sectionName = section->first;
        if (compareNames(sectionName.substr(0, start.size()), start) != 0)
            break;
        if (!sectionName.starts_with(start))
            continue;
        const std::u16string_view below = sectionName.substr(start.size());
        const std::u16string_view child = below.substr(0, below.find(u'\\'));
        // An empty component would lead from a root to itself.
        if (!child.empty() && (names.empty() || names.back() != child))
            names.emplace_back(child);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
}

IniFileKeyIterator::IniFileKeyIterator(IniFile& file, std::u16string section)
    : IniFileIteratorBase(std::move(section)) {
    const std::lock_guard memoryHold(file.memoryMutex);
    file.flushBatch();
    const IniFile::Access access(file);
    const IniSections& sections = file.table.sections();
    const auto found = sections.find(name);
    if (found == sections.end())
        throw EZvCoreException(kFail);
    names.reserve(found->second.keys.size());
    for (const IniEntry::Pointer& entry : found->second.keys)
        names.emplace_back(entry->key());
}

} // namespace zv::core
