// The values of both back-ends as maps, for the tests of the migration. All are texts below
// HKEY_LOCAL_MACHINE, and the registry file is the one of the current folder.
#ifndef ZVSUPPORT_TESTS_CORE_REGISTRY_REGISTRY_VALUES_H
#define ZVSUPPORT_TESTS_CORE_REGISTRY_REGISTRY_VALUES_H

#include "core/registry/ini_text.h"
#include "core/registry/migration.h"
#include "core/wide_text.h"
#include "platform/win32.h"
#include "support/names_in.h"
#include "support/test_folder.h"

#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace zv::test {

using namespace zv::core;

using Values = std::map<std::string, std::string>; // "Key:name" to text, below HKEY_LOCAL_MACHINE

inline constexpr const char* kFile = "zvregistry.ini";
inline constexpr std::string_view kPrefix = "ZV_HKEY_CONFIG\\";

inline ResultCode migrate(BackendKind source, BackendKind target) {
    return MigrateRegistry(source, 0, target, 0);
}
inline ResultCode nativeToIni() {
    return migrate(BackendKind::Native, BackendKind::Ini);
}
inline ResultCode iniToNative() {
    return migrate(BackendKind::Ini, BackendKind::Native);
}

inline void addValues(Values& values, const std::filesystem::path& file) {
    IniTable table;
    table.parse(readFile(file));
    for (const auto& [name, section] : table.sections()) {
        for (const auto& entry : section.keys) {
            if (const std::string key = narrow(name); key.starts_with(kPrefix))
                values[key.substr(kPrefix.size()) + ':' + narrow(entry->key())] =
                    narrow(entry->value());
        }
    }
}

inline Values iniValues() {
    Values values;
    addValues(values, kFile);
    return values;
}

// What every file of the current folder holds, those that were moved aside too.
inline Values fileValues() {
    Values values;
    for (const std::string& name : namesIn(".")) {
        if (name.starts_with(kFile))
            addValues(values, name);
    }
    return values;
}

inline Values nativeValues() {
    letGoOfRegistry();
    Values values;
    std::vector<CoreRef<CRegKey>> open;
    open.push_back(CreateRegKey(HKEY_LOCAL_MACHINE_VALUE, u"", BackendKind::Native));
    while (!open.empty()) {
        const CoreRef<CRegKey> key = open.back();
        open.pop_back();
        while (key->hasNextValue()) {
            const std::u16string name = key->nextValue();
            char16_t text[1024];
            std::uint32_t size = sizeof text;
            RegValueType type = kRegBinary;
            EXPECT_EQ(key->queryValue(name.c_str(), type, text, size), kOk);
            values[narrow(key->getPath()) + ':' + narrow(name)] = narrow(text);
        }
        while (key->hasNextSubKey())
            open.push_back(key->nextSubKey());
    }
    letGoOfRegistry();
    return values;
}

inline std::string iniOf(const Values& values) {
    IniTable table;
    for (const auto& [place, text] : values) {
        const std::size_t split = place.find(':');
        table.set(widen(std::string(kPrefix) + place.substr(0, split)),
                  IniEntry::make(widen(place.substr(split + 1)), widen(text)));
    }
    return table.write();
}

inline std::string registryOf(const Values& values) {
    std::ostringstream lines;
    for (const auto& [place, text] : values) {
        const std::size_t split = place.find(':');
        lines << "[HKEY_LOCAL_MACHINE\\" << place.substr(0, split) << "]\n\""
              << place.substr(split + 1) << "\"=\"" << text << "\"\n\n";
    }
    return lines.str();
}

} // namespace zv::test

#endif
