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
    {0x804E0001, "the server does not support Unicode"},
    {0x804E0202, "the server refused to load the module that decides"},
    {0x804E897C, "no console operator rights on the server"},
    {0x804E9800, "the client stack of this system cannot ask the server to load the module"},
    {0x80004005, "no server behind the drive, none to attach to, no client stack, or no answer of "
                 "the server's module in time"},
};

template <std::size_t Size>
const char* meaning(const Meaning (&own)[Size], std::int32_t code, const char* otherFailure,
                    const char* otherSuccess) {
    for (const Meaning& entry : own) {
        if (static_cast<std::int32_t>(entry.code) == code)
            return entry.text;
    }
    for (const Meaning& entry : kCommon) {
        if (static_cast<std::int32_t>(entry.code) == code)
            return entry.text;
    }
    return code < 0 ? otherFailure : otherSuccess;
}

} // namespace

const char* meaningOfMigration(std::int32_t code) {
    return meaning(kMigration, code, "failure", "success");
}
const char* meaningOfUnicodeCheck(std::int32_t code) {
    return meaning(kUnicodeCheck, code, "a failure of which the server's module tells no more",
                   "a success of which the server's module tells no more");
}

} // namespace zvctl
