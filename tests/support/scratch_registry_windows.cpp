#include "support/scratch_folder.h"

#include <array>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

namespace zv::test {

namespace {

struct Root {
    HKEY key;
    const char* name;
    const char* scratch; // the sub-key that stands in its place
};
const std::array<Root, 3> kRoots = {{{HKEY_CLASSES_ROOT, "HKEY_CLASSES_ROOT", "classes"},
                                     {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE", "machine"},
                                     {HKEY_CURRENT_USER, "HKEY_CURRENT_USER", "user"}}};

// Tells the processes that a test starts where its registry is.
constexpr const char* kVariable = "ZV_TEST_REGISTRY";

// Below HKEY_CURRENT_USER, while no root is redirected. "" outside of a ScratchFolder.
std::string scratchPath;

void check(LONG error, const char* what) {
    if (error != ERROR_SUCCESS)
        throw std::runtime_error(std::string(what) + ": Windows error " + std::to_string(error));
}

void redirectRoots() {
    std::array<HKEY, kRoots.size()> places{};
    for (std::size_t i = 0; i < kRoots.size(); ++i) {
        const std::string path = scratchPath + "\\" + kRoots[i].scratch;
        check(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &places[i], nullptr),
              "a key for the test");
    }
    for (std::size_t i = 0; i < kRoots.size(); ++i) {
        check(RegOverridePredefKey(kRoots[i].key, places[i]), kRoots[i].name);
        RegCloseKey(places[i]);
    }
}

void restoreRoots() noexcept {
    for (const Root& root : kRoots)
        RegOverridePredefKey(root.key, nullptr);
}

void removeScratch() noexcept {
    RegDeleteTreeA(HKEY_CURRENT_USER, scratchPath.c_str());
    RegDeleteKeyA(HKEY_CURRENT_USER, scratchPath.c_str());
}

// Every key and value below, with types and bytes.
void describe(HKEY key, const std::wstring& path, std::wostringstream& text) {
    std::vector<BYTE> data(1 << 16);
    wchar_t name[16384];
    for (DWORD index = 0;; ++index) {
        DWORD length = std::size(name);
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, index, name, &length, nullptr, &type, data.data(), &size) != 0)
            break;
        text << path << L'|' << name << L'|' << type << L'|';
        for (DWORD i = 0; i < size; ++i)
            text << data[i] << L',';
        text << L'\n';
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = std::size(name);
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != 0)
            break;
        text << path << L'\\' << name << L'\n';
        HKEY child = nullptr;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, &child) != 0)
            continue;
        describe(child, path + L'\\' + name, text);
        RegCloseKey(child);
    }
}

} // namespace

void setVariable(const char* name, const char* value) {
    _putenv_s(name, value != nullptr ? value : "");
}

void enterScratchRegistry(const std::filesystem::path& folder) {
    scratchPath = "Software\\Zentrova Tests\\" + folder.filename().string();
    setVariable(kVariable, scratchPath.c_str());
    redirectRoots();
}

void leaveScratchRegistry() noexcept {
    restoreRoots();
    removeScratch();
    scratchPath.clear();
}

void joinScratchRegistry() {
    if (const char* path = std::getenv(kVariable)) {
        scratchPath = path;
        redirectRoots();
    }
}

// By the system's own import, in the keys that stand in the roots' places.
void putRegistry(std::string_view lines) {
    restoreRoots();
    removeScratch();
    redirectRoots();
    if (lines.empty())
        return;
    std::istringstream source{std::string(lines)};
    std::string moved;
    for (std::string line; std::getline(source, line); moved += line + '\n') {
        for (const Root& root : kRoots) {
            const std::string start = std::string("[") + root.name;
            if (line.starts_with(start)) {
                line.replace(0, start.size(),
                             "[HKEY_CURRENT_USER\\" + scratchPath + '\\' + root.scratch);
                break;
            }
        }
    }
    writeFile("put.reg", hiveBytes(moved));
    const int status = std::system("reg import put.reg > put.log 2>&1");
    const std::string log = readFile("put.log");
    std::filesystem::remove("put.reg");
    std::filesystem::remove("put.log");
    if (status != 0)
        throw std::runtime_error("reg import: " + log);
}

std::string registrySnapshot() {
    std::wostringstream text;
    for (const Root& root : kRoots)
        describe(root.key, L"", text);
    std::string bytes;
    for (const wchar_t unit : text.str()) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

} // namespace zv::test
