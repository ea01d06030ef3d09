#include "support/hive_path.h"
#include "support/scratch_folder.h"

#include <cstdlib>

namespace zv::test {

namespace fs = std::filesystem;

void setVariable(const char* name, const char* value) {
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

void enterScratchRegistry(const fs::path& folder) {
    setVariable("XDG_DATA_HOME", (folder / "data").c_str());
    setVariable("XDG_CONFIG_HOME", (folder / "config").c_str());
}

void leaveScratchRegistry() noexcept {}
void joinScratchRegistry() {} // the environment leads there

fs::path hivePath() {
    return fs::path(std::getenv("XDG_DATA_HOME")) / "zentrova" / "registry.reg";
}

// A new file, not new bytes of the old one: that is what tells a process that has it open.
void putRegistry(std::string_view lines) {
    fs::remove(hivePath());
    if (!lines.empty())
        writeFile(hivePath(), hiveBytes(lines));
}

std::string registrySnapshot() {
    return readFile(hivePath());
}

} // namespace zv::test
