// Sub-keys against the plain rule: every section is looked at, for every prefix.
#include "core/registry/ini_iterators.h"

#include "support/test_folder.h"

#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zv::core;
using IniIteratorsTest = zv::test::FolderTest;

using Names = std::vector<std::u16string>;

Names childrenByTheRule(const Names& sections, const std::u16string& prefix) {
    const std::u16string start = prefix + u'\\';
    std::set<std::u16string> children;
    for (const std::u16string& section : sections) {
        const std::u16string name = section + u'\\';
        const std::size_t end = name.find(u'\\', start.size());
        if (name.starts_with(start) && end != name.npos && end > start.size())
            children.insert(name.substr(start.size(), end - start.size()));
    }
    return {children.begin(), children.end()};
}

Names childrenOf(IniFile& file, const std::u16string& prefix) {
    Names names;
    IniFileSetIterator iterator(file, prefix);
    while (iterator.hasNext())
        iterator.next(names.emplace_back());
    return names;
}

TEST_F(IniIteratorsTest, SubKeysAreThoseOfThePlainRule) {
    std::mt19937 random(22);
    // Units in front of the backslash and behind it, and letters in both cases.
    constexpr std::u16string_view units = u"\\\\\\aAb-]\u00E4\u00C4";
    for (int round = 0; round < 40; ++round) {
        std::filesystem::remove("t.ini");
        IniFile file(u"t.ini");
        file.beginBatch();
        std::set<std::u16string> prefixes = {u"", u"none"};
        for (int section = 0; section < 60; ++section) {
            std::u16string name;
            for (unsigned length = 1 + random() % 9; length > 0; --length)
                name += units[random() % units.size()];
            ASSERT_EQ(file.setValue(name, u"k", u"v", true), IniFile::kSet);
            for (std::size_t end = 0; end < name.size(); ++end)
                prefixes.insert(name.substr(0, end));
            if (section % 20 != 19)
                continue;
            // New sections are found among those that were there when it was asked before.
            Names sections;
            file.getSectionNames(sections);
            for (const std::u16string& prefix : prefixes)
                ASSERT_EQ(childrenOf(file, prefix), childrenByTheRule(sections, prefix))
                    << narrow(prefix);
        }
        ASSERT_TRUE(file.endBatch());
    }
}

} // namespace
