#include "core/registry/ini_iterators.h"

#include <algorithm>
#include <string_view>

namespace zv::core {

namespace {

// The unit that follows the backslash in code-unit order.
constexpr char16_t kBehindSeparator = u'\\' + 1;

bool bySpelling(const std::u16string* left, const std::u16string& right) {
    return *left < right;
}

} // namespace

void IniFileIteratorBase::next(std::u16string& result) {
    if (!hasNext())
        throw EZvCoreException(kFail);
    result = names[position++];
}

IniFileSetIterator::IniFileSetIterator(IniFile& file, std::u16string prefix)
    : IniFileIteratorBase(std::move(prefix)) {
    const std::u16string start = name + u'\\';
    const MutexHold memoryHold(file.memoryMutex.get());
    file.flushBatch();
    const IniFile::Access access(file);
    const auto& sections = file.table.sectionsBySpelling();
    auto section = std::lower_bound(sections.begin(), sections.end(), start, bySpelling);
    while (section != sections.end() && (*section)->starts_with(start)) {
        const auto below = std::u16string_view(**section).substr(start.size());
        const std::u16string_view child = below.substr(0, below.find(u'\\'));
        // An empty component would lead from a root to itself.
        if (!child.empty())
            names.emplace_back(child);
        // What is below the child stands together, and apart from the child itself.
        if (child.size() == below.size()) {
            ++section;
        } else {
            const std::u16string behind = start + std::u16string(child) + kBehindSeparator;
            section = std::lower_bound(section, sections.end(), behind, bySpelling);
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
}

IniFileKeyIterator::IniFileKeyIterator(IniFile& file, std::u16string section)
    : IniFileIteratorBase(std::move(section)) {
    const MutexHold memoryHold(file.memoryMutex.get());
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
