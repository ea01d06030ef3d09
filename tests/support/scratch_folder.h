// A folder and a registry of its own for a test: both empty at first and gone afterwards.
#ifndef ZVSUPPORT_TESTS_SUPPORT_SCRATCH_FOLDER_H
#define ZVSUPPORT_TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <filesystem>
#include <string>
#include <string_view>

namespace zv::test {

// The folder is current while the test runs. The process's registry leads into a hive file of the
// folder (stand-in) or below a key of its own (Windows).
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return folder; }

private:
    std::filesystem::path folder;
    std::filesystem::path before;
};

// Whole files, byte for byte. readFile answers "" for a file that is not there.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, std::string_view bytes);

// A registry file as the registry editor exports it, from its lines in UTF-8 (LF line ends). The
// header and the byte order mark are added.
std::string hiveBytes(std::string_view lines);

// Puts such lines in the place of the whole registry.
void putRegistry(std::string_view lines);
// Tells one state of the registry from another; "" is the empty one.
std::string registrySnapshot();

// An environment variable of this process and the programs that it starts; null removes it.
void setVariable(const char* name, const char* value);

// What differs by system: the registry of a ScratchFolder, and of the processes that its test
// starts.
void enterScratchRegistry(const std::filesystem::path& folder);
void leaveScratchRegistry() noexcept;
void joinScratchRegistry();

} // namespace zv::test

#endif
