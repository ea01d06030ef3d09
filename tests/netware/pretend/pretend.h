// What the pretend client libraries have in common: a scripted server, and a record of all that was
// asked of it.
//
// Both are files of the folder that the variable ZV_PRETEND names. "script" has a line "key=value"
// for each thing that is other than usual; "record" gets a line for each call. The result file of
// the server-side module appears as "volume/zvinst.dat" as soon as a module is loaded, if the
// script says what it holds ("file", in hexadecimal).
#ifndef ZVSUPPORT_TESTS_NETWARE_PRETEND_PRETEND_H
#define ZVSUPPORT_TESTS_NETWARE_PRETEND_PRETEND_H

#include "platform/calling_convention.h"

#include <cstdint>
#include <string>
#include <vector>

#define ZV_PRETEND extern "C" __attribute__((visibility("default")))

namespace zv::pretend {

using Bytes = std::vector<std::uint8_t>;

std::string scripted(const std::string& key, const std::string& usual);
std::uint32_t scriptedNumber(const std::string& key, std::uint32_t usual);

void record(const std::string& line);
std::string hex(std::uint64_t number); // 0x…
std::string hexOf(const Bytes& bytes); // two digits for each

// The server's information block: 128 bytes with the version in its places ("version", as 4.11.0).
Bytes serverInformation();
// The text that fills a name ("name"), with its zero only when that fits the size.
Bytes nameBytes(std::size_t size);
Bytes bytesOf(const std::string& hexDigits);
void moduleIsLoaded();

// Records the library's coming and going.
class Presence {
public:
    explicit Presence(const char* library);
    ~Presence();

private:
    const char* library;
};

} // namespace zv::pretend

#endif
