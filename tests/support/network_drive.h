// Network drives for tests: what the system lists as connected, and where their files lie.
#ifndef ZVSUPPORT_TESTS_SUPPORT_NETWORK_DRIVE_H
#define ZVSUPPORT_TESTS_SUPPORT_NETWORK_DRIVE_H

#include <filesystem>
#include <string>
#include <vector>

namespace zv::test {

struct NetworkDrive {
    std::string localName;  // "F:"
    std::string remoteName; // "\\SERVER\VOLUME"
    // Where paths that begin with the drive lead. Empty for a drive that is only listed.
    std::filesystem::path folder;
};

// Connects these drives, in this order, in place of all others, for the programs that are started
// in the life of the object; on Linux for this one too. Within a scratch folder. On Windows drives
// are the whole session's: tests that use them run one at a time.
class NetworkDrives {
public:
    explicit NetworkDrives(std::vector<NetworkDrive> drives);
    ~NetworkDrives();
    NetworkDrives(const NetworkDrives&) = delete;
    NetworkDrives& operator=(const NetworkDrives&) = delete;

private:
    std::filesystem::path table;
    std::vector<NetworkDrive> drives;
};

// What differs by system, beyond the table of drives: makes the letter lead to the folder, or to
// nothing (an empty one).
void leadDrive(const std::string& localName, const std::filesystem::path& folder);

} // namespace zv::test

#endif
