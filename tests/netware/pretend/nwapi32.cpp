// The pretend "nwapi32": attaches, and answers requests of the protocol.
//
// Of a request's format each letter stands for a field: b a byte, w 16 and d 32 bits in high-low
// order, c a text with its zero, p a text behind its length, r bytes and their count, _ a count of
// zeros. Behind the bar stand the reply's fields, pointers to where they go.
#include "pretend.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

using namespace zv::pretend;

const Presence presence("nwapi32");

// On the NT family a handle leads to a structure that begins with what requests go by.
const std::uint32_t attachment[] = {0x11223344, 0};

void append(Bytes& bytes, std::uint32_t number, int size) {
    while (size-- > 0)
        bytes.push_back(static_cast<std::uint8_t>(number >> 8 * size));
}

// Takes numbers and runs off the front of a reply; what a reply lacks is zeros.
struct Reply {
    Bytes bytes;
    std::size_t at = 0;

    std::uint8_t byte() { return at < bytes.size() ? bytes[at++] : 0; }
    std::uint32_t number(int size) {
        std::uint32_t value = 0;
        while (size-- > 0)
            value = value << 8 | byte();
        return value;
    }
    void run(std::uint8_t* target, std::size_t size) {
        std::generate_n(target, size, [&] { return byte(); });
    }
};

Bytes replyTo(std::uint32_t code, const Bytes& request) {
    const std::uint32_t function =
        code > 0xFF ? (code - 0x141003) >> 2 : code - 0xCC; // as each family counts them
    const std::uint32_t subfunction = request.empty() ? 0 : request[0];
    if (const std::string given = scripted("reply", ""); !given.empty())
        return bytesOf(given);
    if (function == 23 && subfunction == 17)
        return serverInformation();
    if (function == 131) { // the completion code is sent low byte first
        const std::uint32_t completion = scriptedNumber("completion", 0);
        Bytes reply;
        for (int i = 0; i < 4; ++i)
            reply.push_back(static_cast<std::uint8_t>(completion >> 8 * i));
        return reply;
    }
    return {};
}

void takeReply(const char* format, std::va_list fields, Reply reply) {
    for (; *format != 0; ++format) {
        switch (*format) {
        case 'b':
            *va_arg(fields, std::uint8_t*) = reply.byte();
            break;
        case 'w':
            *va_arg(fields, std::uint16_t*) = static_cast<std::uint16_t>(reply.number(2));
            break;
        case 'd':
            *va_arg(fields, std::uint32_t*) = reply.number(4);
            break;
        case '_':
            reply.at += static_cast<std::size_t>(va_arg(fields, int));
            break;
        case 'p': {
            // A careless library: it writes what fits, and a zero only behind a shorter name.
            const Bytes name = nameBytes(36);
            std::copy(name.begin(), name.end(), va_arg(fields, std::uint8_t*));
            break;
        }
        case 'r': {
            auto* const target = va_arg(fields, std::uint8_t*);
            reply.run(target, static_cast<std::size_t>(va_arg(fields, int)));
            break;
        }
        }
    }
}

} // namespace

ZV_PRETEND int ZV_STDAPI_CALL NWAttachToFileServer(const char* server, std::uint32_t scope,
                                                   std::uintptr_t* handle) {
    record("attach " + std::string(server) + ' ' + std::to_string(scope));
    *handle = scriptedNumber("null", 0) != 0 ? 0 : reinterpret_cast<std::uintptr_t>(attachment);
    return static_cast<int>(scriptedNumber("attach", 0));
}

ZV_PRETEND int ZV_STDAPI_CALL NWDetachFromFileServer(std::uintptr_t handle) {
    record(handle == reinterpret_cast<std::uintptr_t>(attachment) ? "detach" : "detach another");
    return 0;
}

ZV_PRETEND int ZV_STDAPI_CALL NWCheckConsolePrivileges(std::uintptr_t) {
    record("NWCheckConsolePrivileges"); // nobody is to call it
    return 0;
}

ZV_PRETEND int NwlibMakeNcp(std::uintptr_t connection, std::uint32_t code,
                            std::uint32_t requestSize, std::uint32_t replySize, const char* format,
                            ...) {
    std::va_list fields;
    va_start(fields, format);
    Bytes request;
    const char* letter = format;
    for (; *letter != 0 && *letter != '|'; ++letter) {
        switch (*letter) {
        case 'b':
            append(request, static_cast<std::uint32_t>(va_arg(fields, int)), 1);
            break;
        case 'w':
            append(request, static_cast<std::uint32_t>(va_arg(fields, int)), 2);
            break;
        case 'd':
            append(request, va_arg(fields, std::uint32_t), 4);
            break;
        case '_':
            request.resize(request.size() + static_cast<std::size_t>(va_arg(fields, int)));
            break;
        case 'c': {
            const char* const text = va_arg(fields, const char*);
            request.insert(request.end(), text, text + std::strlen(text) + 1);
            break;
        }
        }
    }
    const bool byStructure = connection == reinterpret_cast<std::uintptr_t>(attachment);
    record("ncp " + (byStructure ? std::string("handle") : hex(connection)) + ' ' + hex(code) +
           ' ' + std::to_string(requestSize) + ' ' + std::to_string(replySize) + ' ' + format +
           ' ' + hexOf(request));
    const std::uint32_t status =
        scriptedNumber("ncp " + (request.empty() ? "none" : hex(request[0])), 0);
    if (code == 0x14120F && status == 0)
        moduleIsLoaded();
    if (status == 0 && *letter == '|')
        takeReply(letter + 1, fields, {replyTo(code, request)});
    va_end(fields);
    return static_cast<int>(status);
}
