#include "samples.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zv::bench {

namespace fs = std::filesystem;

namespace {

template <typename Key, typename Value>
void forEach(std::int64_t values, Key key, Value value) {
    char name[64];
    char text[64];
    for (std::int64_t i = 0; i < values; ++i) {
        if (i % 10 == 0) {
            std::snprintf(name, sizeof name, "Software\\Product\\Group%03d\\Key%05d",
                          static_cast<int>(i / 1000), static_cast<int>(i / 10));
            key(name, i != 0);
        }
        std::snprintf(name, sizeof name, "Value%05d", static_cast<int>(i * 7919 % 100000));
        std::snprintf(text, sizeof text, "some text number %06d", static_cast<int>(i));
        value(name, text);
    }
}

} // namespace

Folder::Folder() {
    std::string name = (fs::temp_directory_path() / "zvbench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no folder to work in");
    path = name;
    fs::create_directories(fs::path(hive()).parent_path());
    fs::current_path(path);
    setenv("XDG_DATA_HOME", path.c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
}

Folder::~Folder() {
    fs::current_path("/");
    fs::remove_all(path);
}

std::string hiveText(std::int64_t values) {
    std::string text = "Windows Registry Editor Version 5.00\r\n\r\n";
    forEach(
        values,
        [&](const char* key, bool more) {
            text += more ? "\r\n[HKEY_LOCAL_MACHINE\\" : "[HKEY_LOCAL_MACHINE\\";
            for (const char* at = key; *at != 0; ++at)
                text += *at;
            text += "]\r\n";
        },
        [&](const char* name, const char* value) {
            text.append("\"").append(name).append("\"=\"").append(value).append("\"\r\n");
        });
    text += "\r\n";
    std::string bytes = "\xFF\xFE";
    bytes.reserve(2 + 2 * text.size());
    for (const char c : text) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

std::string iniText(std::int64_t values) {
    std::string text;
    forEach(
        values,
        [&](const char* key, bool more) {
            text += more ? "\r\n[ZV_HKEY_CONFIG\\" : "[ZV_HKEY_CONFIG\\";
            text.append(key).append("]\r\n");
        },
        [&](const char* name, const char* value) {
            text.append(name).append("=").append(value).append("\r\n");
        });
    return text += "\r\n";
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void removeFile(const std::string& path) {
    fs::remove(path);
}

std::int64_t bytesWritten() {
    std::ifstream counters("/proc/self/io");
    std::string name;
    std::int64_t value = 0;
    while (counters >> name >> value) {
        if (name == "wchar:")
            return value;
    }
    return 0;
}

} // namespace zv::bench
