#include "support/network_drive.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

namespace zv::test {
namespace {

constexpr char kOrderKey[] = "SYSTEM\\CurrentControlSet\\Control\\NetworkProvider\\Order";
constexpr char kServiceKey[] = "SYSTEM\\CurrentControlSet\\Services\\zventrovatests";
constexpr char kProviderKey[] =
    "SYSTEM\\CurrentControlSet\\Services\\zventrovatests\\NetworkProvider";

void setValue(const char* path, const char* name, const std::string& text) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != 0)
        return;
    RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>(text.size() + 1));
    RegCloseKey(key);
}

// Makes the provider of the tests the system's only one while this program runs, for the programs
// that it starts. Done before any test leads the registry elsewhere.
class ProviderRegistration : public testing::Environment {
public:
    void SetUp() override {
        char whole[MAX_PATH];
        GetFullPathNameA(ZV_NETWORK_PROVIDER, MAX_PATH, whole, nullptr);
        setValue(kOrderKey, "ProviderOrder", "zventrovatests");
        setValue(kProviderKey, "Name", "Zentrova Tests");
        setValue(kProviderKey, "ProviderPath", whole);
    }
    void TearDown() override {
        setValue(kOrderKey, "ProviderOrder", "");
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, kProviderKey);
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, kServiceKey);
    }
};

const auto* const registration = testing::AddGlobalTestEnvironment(new ProviderRegistration);

// The path below the system that Wine runs on; empty on a system of its own.
std::string hostPath(const std::filesystem::path& path) {
    using Translate = char*(__cdecl*)(const wchar_t*);
    const auto translate = reinterpret_cast<Translate>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
    if (translate == nullptr)
        return {};
    char* const text = translate(path.c_str());
    const std::string translated = text != nullptr ? text : "";
    HeapFree(GetProcessHeap(), 0, text);
    return translated;
}

// A program of the system that Wine runs on; the shell would not take it for one.
void runOnHost(std::string command) {
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &start, &process) == 0)
        throw std::runtime_error("cannot run " + command);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

} // namespace

void leadDrive(const std::string& localName, const std::filesystem::path& folder) {
    // Wine takes a definition and follows the links of its prefix all the same.
    if (const std::string system = hostPath("C:\\"); !system.empty()) {
        std::string name = localName;
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
        const std::string link = std::string(std::getenv("WINEPREFIX")) + "/dosdevices/" + name;
        if (folder.empty())
            runOnHost("Z:\\bin\\rm -f " + link);
        else
            runOnHost("Z:\\bin\\ln -sfn " + hostPath(folder) + ' ' + link);
        return;
    }
    const DWORD flags = folder.empty() ? DDD_REMOVE_DEFINITION : 0;
    DefineDosDeviceA(flags, localName.c_str(), folder.empty() ? nullptr : folder.string().c_str());
}

} // namespace zv::test
