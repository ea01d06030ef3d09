#include "result_texts.h"

#include <iterator>

namespace zvctl {
namespace {

struct Meaning {
    std::uint32_t code;
    const char* text;
};

constexpr Meaning kCommon[] = {
    {0x80004005, "failure without a code of its own"},
    {0x80070002, "file or key not found"},
    {0x80070005, "access denied"},
    {0x80070006, "invalid handle"},
    {0x8007000E, "out of memory"},
    {0x800700B7, "already exists"},
};

constexpr Meaning kMigration[] = {
    {0x00000000, "the migration ran to its end"},
    {0x80070057, "a back-end name is unknown, or both are INI; nothing was touched"},
    {0x80004007, "FILE is reserved, no back-end serves it; nothing was copied"},
};

constexpr Meaning kUnicodeCheck[] = {
    {0x00000000, "the server supports Unicode"},
    {0x80004001, "this version of the library does not offer the check yet"},
    {0x80070057, "the drive makes no sense"},
};

template <std::size_t Size>
const char* meaning(const Meaning (&own)[Size], std::int32_t code) {
    for (const Meaning& entry : own) {
        if (static_cast<std::int32_t>(entry.code) == code)
            return entry.text;
    }
    for (const Meaning& entry : kCommon) {
        if (static_cast<std::int32_t>(entry.code) == code)
            return entry.text;
    }
    return code < 0 ? "failure" : "success";
}

} // namespace

const char* meaningOfMigration(std::int32_t code) {
    return meaning(kMigration, code);
}
const char* meaningOfUnicodeCheck(std::int32_t code) {
    return meaning(kUnicodeCheck, code);
}

} // namespace zvctl
