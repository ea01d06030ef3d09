#include "straight_line.h"

#include <cstring>
#include <map>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zv::bench {
namespace {

using Table = std::map<std::u16string, std::map<std::u16string, std::u16string>>;

constexpr std::u16string_view kHiveRoot = u"HKEY_LOCAL_MACHINE";
constexpr std::u16string_view kIniRoot = u"ZV_HKEY_CONFIG";

std::string readWhole(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY);
    struct stat info {};
    if (file < 0 || fstat(file, &info) != 0)
        throw std::runtime_error("cannot read " + path);
    std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
    if (read(file, bytes.data(), bytes.size()) != info.st_size)
        throw std::runtime_error("cannot read " + path);
    close(file);
    return bytes;
}

void writeWhole(const std::string& path, const std::string& bytes, bool flush) {
    const std::string beside = path + ".new";
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file < 0 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        (flush && fsync(file) != 0))
        throw std::runtime_error("cannot write " + path);
    close(file);
    rename(beside.c_str(), path.c_str());
}

std::u16string unquote(std::u16string_view quoted) {
    std::u16string text;
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        if (quoted[i] == u'\\')
            ++i;
        text += quoted[i];
    }
    return text;
}

std::u16string quote(std::u16string_view text) {
    std::u16string quoted;
    for (const char16_t unit : text) {
        if (unit == u'\\' || unit == u'"')
            quoted += u'\\';
        quoted += unit;
    }
    return quoted;
}

std::u16string fromUtf8(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t point = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length && i + k < bytes.size(); ++k)
            point = (point << 6) | (static_cast<unsigned char>(bytes[i + k]) & 0x3F);
        i += length;
        if (point < 0x10000) {
            text += static_cast<char16_t>(point);
        } else {
            text += static_cast<char16_t>(0xD7C0 + (point >> 10));
            text += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        }
    }
    return text;
}

void appendUtf8(std::string& bytes, std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (point < 0x80) {
            bytes += static_cast<char>(point);
            continue;
        }
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size())
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (point < 0x800) {
            bytes += static_cast<char>(0xC0 | (point >> 6));
        } else {
            if (point < 0x10000) {
                bytes += static_cast<char>(0xE0 | (point >> 12));
            } else {
                bytes += static_cast<char>(0xF0 | (point >> 18));
                bytes += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
            }
            bytes += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        }
        bytes += static_cast<char>(0x80 | (point & 0x3F));
    }
}

Table readHive(const std::string& path) {
    const std::string bytes = readWhole(path);
    std::u16string text((bytes.size() - 2) / 2, u'\0');
    std::memcpy(text.data(), bytes.data() + 2, text.size() * 2);
    Table table;
    auto* section = &table[u""];
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find(u"\r\n", at);
        const std::u16string_view line(text.data() + at, end - at);
        if (!line.empty() && line.front() == u'[') {
            const auto path16 = line.substr(1, line.size() - 2).substr(kHiveRoot.size());
            section = &table[std::u16string(kIniRoot).append(path16)];
        } else if (!line.empty() && line.front() == u'"') {
            const std::size_t split = line.find(u"\"=\"");
            (*section)[unquote(line.substr(1, split - 1))] =
                unquote(line.substr(split + 3, line.size() - split - 4));
        }
        at = end + 2;
    }
    table.erase(u"");
    return table;
}

Table readIni(const std::string& path) {
    const std::string bytes = readWhole(path);
    Table table;
    std::map<std::u16string, std::u16string>* section = nullptr;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", at);
        const std::u16string line = fromUtf8(std::string_view(bytes).substr(at, end - at));
        if (!line.empty() && line.front() == u'[') {
            section = &table[line.substr(1, line.size() - 2)];
        } else if (!line.empty()) {
            const std::size_t split = line.find(u'=');
            (*section)[line.substr(0, split)] = line.substr(split + 1);
        }
        at = end + 2;
    }
    return table;
}

} // namespace

void straightHiveToIni(const std::string& hive, const std::string& ini, bool flush) {
    std::string text;
    for (const auto& [section, keys] : readHive(hive)) {
        text += '[';
        appendUtf8(text, section);
        text += "]\r\n";
        for (const auto& [key, value] : keys) {
            appendUtf8(text, key);
            text += '=';
            appendUtf8(text, value);
            text += "\r\n";
        }
        text += "\r\n";
    }
    writeWhole(ini, text, flush);
}

void straightIniToHive(const std::string& ini, const std::string& hive, bool flush) {
    std::u16string text = u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n";
    for (const auto& [section, keys] : readIni(ini)) {
        text.append(u"[")
            .append(kHiveRoot)
            .append(section.substr(kIniRoot.size()))
            .append(u"]\r\n");
        for (const auto& [key, value] : keys)
            text.append(u"\"")
                .append(quote(key))
                .append(u"\"=\"")
                .append(quote(value))
                .append(u"\"\r\n");
        text += u"\r\n";
    }
    std::string bytes(text.size() * 2, '\0');
    std::memcpy(bytes.data(), text.data(), bytes.size());
    writeWhole(hive, bytes, flush);
    unlink(ini.c_str());
}

} // namespace zv::bench
