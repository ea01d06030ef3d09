// A network provider for tests: tells the system of the drives in the file
// %XDG_CONFIG_HOME%\zentrova\drives, a line "F: \\SERVER\VOLUME ..." for each.
#include <windows.h>
#include <winnetwk.h>

extern "C" {
#include <npapi.h>
}

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Drive {
    std::wstring localName;
    std::wstring remoteName;
};

struct Enumeration {
    std::vector<Drive> drives;
    std::size_t given = 0;
};

wchar_t providerName[] = L"Zentrova Tests";

std::wstring widen(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

std::vector<Drive> readDrives() {
    std::vector<Drive> drives;
    const char* const config = std::getenv("XDG_CONFIG_HOME");
    std::ifstream table(std::string(config != nullptr ? config : "") + "\\zentrova\\drives");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string name, remote;
        words >> name >> remote;
        drives.push_back({widen(name), widen(remote)});
    }
    return drives;
}

std::size_t sizeOf(const Drive& drive) {
    return sizeof(NETRESOURCEW) +
           (drive.localName.size() + drive.remoteName.size() + 2) * sizeof(wchar_t);
}

// Puts a text where `place` is, which goes on behind it.
wchar_t* putText(wchar_t*& place, const std::wstring& text) {
    wchar_t* const put = place;
    place += text.copy(place, text.size());
    *place++ = 0;
    return put;
}

} // namespace

extern "C" {

DWORD APIENTRY NPGetCaps(DWORD index) {
    switch (index) {
    case WNNC_SPEC_VERSION:
        return WNNC_SPEC_VERSION51;
    case WNNC_NET_TYPE:
        return WNNC_NET_LANMAN;
    case WNNC_START:
        return WNNC_WAIT_FOR_START;
    case WNNC_ENUMERATION:
        return WNNC_ENUM_LOCAL;
    default:
        return 0;
    }
}

DWORD APIENTRY NPOpenEnum(DWORD scope, DWORD, DWORD, LPNETRESOURCEW, LPHANDLE handle) {
    if (scope != RESOURCE_CONNECTED)
        return WN_NOT_SUPPORTED;
    *handle = new Enumeration{readDrives()};
    return WN_SUCCESS;
}

// One entry a call, which a provider may: of several that do not all fit into its caller's area the
// system, as Wine 8 plays it, loses count and reads what was never written.
DWORD APIENTRY NPEnumResource(HANDLE handle, LPDWORD count, LPVOID area, LPDWORD size) {
    auto& enumeration = *static_cast<Enumeration*>(handle);
    *count = 0;
    if (enumeration.given == enumeration.drives.size())
        return WN_NO_MORE_ENTRIES;
    const Drive& drive = enumeration.drives[enumeration.given];
    if (*size < sizeOf(drive)) {
        *size = static_cast<DWORD>(sizeOf(drive));
        return WN_MORE_DATA;
    }
    auto* const entry = static_cast<NETRESOURCEW*>(area);
    auto* texts = reinterpret_cast<wchar_t*>(entry + 1);
    *entry = {.dwScope = RESOURCE_CONNECTED,
              .dwType = RESOURCETYPE_DISK,
              .dwDisplayType = RESOURCEDISPLAYTYPE_SHARE,
              .dwUsage = 0,
              .lpLocalName = putText(texts, drive.localName),
              .lpRemoteName = putText(texts, drive.remoteName),
              .lpComment = nullptr,
              .lpProvider = providerName};
    ++enumeration.given;
    *count = 1;
    return WN_SUCCESS;
}

DWORD APIENTRY NPCloseEnum(HANDLE handle) {
    delete static_cast<Enumeration*>(handle);
    return WN_SUCCESS;
}

} // extern "C"
