// A folder of its own for a test: empty, current while the test runs, and gone afterwards.
#ifndef ZVSUPPORT_TESTS_SUPPORT_SCRATCH_FOLDER_H
#define ZVSUPPORT_TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <filesystem>
#include <string>
#include <string_view>

namespace zv::test {

// Points the stand-in's data and configuration folders into the folder as well.
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

// Where the stand-in keeps the registry while a ScratchFolder lives.
std::filesystem::path hivePath();

// A hive in the form that the registry editor exports, from its lines in UTF-8 (LF line ends). The
// header and the byte order mark are added.
std::string hiveBytes(std::string_view lines);

} // namespace zv::test

#endif
