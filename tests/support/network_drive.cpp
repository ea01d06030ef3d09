#include "support/network_drive.h"

#include "support/scratch_folder.h"

#include <utility>

namespace zv::test {

NetworkDrives::NetworkDrives(std::vector<NetworkDrive> connected)
    : table(std::filesystem::current_path() / "config" / "zentrova" / "drives"),
      drives(std::move(connected)) {
    setVariable("XDG_CONFIG_HOME", table.parent_path().parent_path().string().c_str());
    std::string lines;
    for (const NetworkDrive& drive : drives) {
        lines += drive.localName + ' ' + drive.remoteName + ' ' + drive.folder.string() + '\n';
        if (!drive.folder.empty())
            leadDrive(drive.localName, drive.folder);
    }
    writeFile(table, lines);
}

NetworkDrives::~NetworkDrives() {
    for (const NetworkDrive& drive : drives) {
        if (!drive.folder.empty())
            leadDrive(drive.localName, {});
    }
    std::error_code ignored;
    std::filesystem::remove(table, ignored);
}

} // namespace zv::test
