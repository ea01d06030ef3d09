#include "pretend.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zv::pretend {
namespace {

std::filesystem::path folder() {
    const char* const named = std::getenv("ZV_PRETEND");
    return named != nullptr ? named : ".";
}

} // namespace

std::string scripted(const std::string& key, const std::string& usual) {
    std::ifstream script(folder() / "script");
    for (std::string line; std::getline(script, line);) {
        if (line.starts_with(key + "="))
            return line.substr(key.size() + 1);
    }
    return usual;
}

std::uint32_t scriptedNumber(const std::string& key, std::uint32_t usual) {
    const std::string text = scripted(key, "");
    return text.empty() ? usual
                        : static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 0));
}

void record(const std::string& line) {
    std::ofstream(folder() / "record", std::ios::app | std::ios::binary) << line + '\n';
}

std::string hex(std::uint64_t number) {
    std::ostringstream text;
    text << "0x" << std::hex << std::uppercase << number;
    return text.str();
}

std::string hexOf(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

Bytes bytesOf(const std::string& hexDigits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hexDigits.size(); i += 2)
        bytes.push_back(
            static_cast<std::uint8_t>(std::strtoul(hexDigits.substr(i, 2).c_str(), nullptr, 16)));
    return bytes;
}

Bytes serverInformation() {
    Bytes information(128, 0xEE);
    std::istringstream version(scripted("version", "4.11.3"));
    for (const std::size_t place : {48, 49, 56}) {
        unsigned number = 0;
        version >> number;
        version.ignore(1);
        information[place] = static_cast<std::uint8_t>(number);
    }
    return information;
}

Bytes nameBytes(std::size_t size) {
    const std::string name = scripted("name", "NAME");
    Bytes bytes(name.begin(), name.end());
    bytes.push_back(0);
    bytes.resize(std::min(bytes.size(), size));
    return bytes;
}

void moduleIsLoaded() {
    const Bytes file = bytesOf(scripted("file", ""));
    if (!file.empty())
        std::ofstream(folder() / "volume" / "zvinst.dat", std::ios::binary)
            .write(reinterpret_cast<const char*>(file.data()),
                   static_cast<std::streamsize>(file.size()));
}

Presence::Presence(const char* name) : library(name) {
    record(std::string("+") + library);
}
Presence::~Presence() {
    record(std::string("-") + library);
}

} // namespace zv::pretend
