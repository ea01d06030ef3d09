#include "exports/library_facts.h"

#include <array>
#include <cstdio>
#include <memory>

namespace zv::test {

namespace {

// The first word of each line that a command prints.
std::set<std::string> firstWordsOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::set<std::string> words;
    std::array<char, 512> line{};
    while (fgets(line.data(), line.size(), pipe.get()) != nullptr) {
        const std::string text(line.data());
        words.insert(text.substr(0, text.find_first_of(" \n")));
    }
    return words;
}

} // namespace

std::set<std::string> exportedNames(const char* library) {
    return firstWordsOf(std::string("nm -D --defined-only --format=posix ") + library);
}

std::string userName() {
    return *firstWordsOf("id -un").begin();
}

} // namespace zv::test
