#include "support/scratch_folder.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace zv::test {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() : before(fs::current_path()) {
    std::random_device random;
    do
        folder = fs::temp_directory_path() / ("zvtest-" + std::to_string(random()));
    while (!fs::create_directory(folder));
    fs::current_path(folder);
    enterScratchRegistry(folder);
}

ScratchFolder::~ScratchFolder() {
    leaveScratchRegistry();
    std::error_code ignored;
    fs::current_path(before, ignored);
    fs::remove_all(folder, ignored);
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void writeFile(const fs::path& path, std::string_view bytes) {
    fs::create_directories(fs::absolute(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

std::string hiveBytes(std::string_view lines) {
    const std::string text = "Windows Registry Editor Version 5.00\n\n" + std::string(lines);
    std::u16string units = u"\uFEFF";
    for (std::size_t i = 0; i < text.size();) {
        // The tests' own well-formed UTF-8.
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t point = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k)
            point = (point << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        i += length;
        if (point == U'\n')
            units += u"\r\n";
        else if (point < 0x10000)
            units += static_cast<char16_t>(point);
        else {
            units += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        }
    }
    std::string bytes;
    for (const char16_t unit : units) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

} // namespace zv::test
