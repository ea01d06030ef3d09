// Runs a conversion in every way that must not matter: behind padding, with the input cut in two at
// every unit, into output of every size. Input and output live in heap blocks of their exact size,
// so that the address sanitizer sees a unit read or written outside.
#ifndef ZVSUPPORT_TESTS_SUPPORT_CONVERTER_CASES_H
#define ZVSUPPORT_TESTS_SUPPORT_CONVERTER_CASES_H

#include "lang/class.h"
#include "lang/exception.h"
#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zv::test {

using Bytes = std::basic_string<std::uint8_t>;

inline Bytes toBytes(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

// Wide text of ASCII characters; others become '?'.
inline std::string narrowed(std::u16string_view text) {
    std::string result;
    for (const char16_t unit : text)
        result += unit < 0x80 ? static_cast<char>(unit) : '?';
    return result;
}

// "" for a body that returns, else the exception's class, with ": " and its message if it has one.
inline std::string errorOf(const std::function<void()>& body) {
    const auto describe = [](const std::string& name, const ZVCL::EZvException& exception) {
        const std::string message = narrowed(exception.getMessage().view());
        return message.empty() ? name : name + ": " + message;
    };
    try {
        body();
    } catch (ZVCL::EZvResultException& exception) {
        return describe("EZvResultException " + std::to_string(exception.getResult()), exception);
    } catch (ZVCL::EZvException& exception) {
        return describe(narrowed(exception.getClass().getName()), exception);
    }
    return "";
}

// The two directions under one set of names.
struct Encoding {
    using Converter = ZVCL::CZvCharToByteConverter;
    using Input = char16_t;
    using Output = std::uint8_t;
};
struct Decoding {
    using Converter = ZVCL::CZvByteToCharConverter;
    using Input = std::uint8_t;
    using Output = char16_t;
};

// A heap block of exactly the units of a text.
template <typename Unit>
std::unique_ptr<Unit[]> exactCopy(std::basic_string_view<Unit> text) {
    auto block = std::make_unique_for_overwrite<Unit[]>(text.size());
    std::copy(text.begin(), text.end(), block.get());
    return block;
}

// Converts input[0, cut) and then the rest, each call into a fresh block of `room` units, and then
// flushes. What a call leaves behind is presented again in front of what follows; a last torn
// sequence is put into `left`. Checks what every call must keep.
template <typename Direction>
std::basic_string<typename Direction::Output>
convertInPieces(typename Direction::Converter& converter,
                const std::basic_string<typename Direction::Input>& input, std::size_t cut,
                std::int32_t room, std::basic_string<typename Direction::Input>& left) {
    using Input = typename Direction::Input;
    using Output = typename Direction::Output;
    std::basic_string<Output> result;
    left.clear();
    for (const auto& part : {input.substr(0, cut), input.substr(cut)}) {
        left += part;
        for (bool progress = true; progress && !left.empty();) {
            const std::int32_t size = static_cast<std::int32_t>(left.size());
            const auto from = exactCopy(std::basic_string_view<Input>(left));
            const auto to =
                std::make_unique_for_overwrite<Output[]>(static_cast<std::size_t>(room));
            std::int32_t in = 0, out = 0;
            try {
                const std::int32_t written =
                    converter.convert(from.get(), in, size, to.get(), out, room);
                EXPECT_EQ(out, written);
            } catch (...) {
                EXPECT_EQ(0, in);
                EXPECT_EQ(0, out);
                throw;
            }
            EXPECT_TRUE(0 <= in && in <= size && 0 <= out && out <= room);
            result.append(to.get(), static_cast<std::size_t>(out));
            left.erase(0, static_cast<std::size_t>(in));
            progress = in != 0;
        }
    }
    std::int32_t out = 0;
    EXPECT_EQ(0, converter.flush(nullptr, out, 0));
    return result;
}

// Checks that `input` gives `expected` and leaves `expectedLeft` behind, or fails with `error`, in
// every way to convert it. `pad` stands for itself in both directions. Rooms start at `minRoom`,
// the longest thing that the charset writes at once.
template <typename Direction>
void checkConversion(const std::function<ZVCL::ZvRef<typename Direction::Converter>()>& create,
                     const std::basic_string<typename Direction::Input>& input,
                     const std::basic_string<typename Direction::Output>& expected,
                     const std::basic_string<typename Direction::Input>& expectedLeft,
                     const std::string& error, std::int32_t minRoom, char pad = 'x') {
    using Input = typename Direction::Input;
    using Output = typename Direction::Output;
    for (const std::size_t padding : {0, 1, 7, 8, 9, 15, 16, 31, 33}) {
        const auto padded = std::basic_string<Input>(padding, static_cast<Input>(pad)) + input;
        const auto whole = std::basic_string<Output>(padding, static_cast<Output>(pad)) + expected;
        const std::int32_t mostRoom =
            std::max(minRoom, static_cast<std::int32_t>(whole.size()) + 1);
        for (std::size_t cut = 0; cut <= padded.size(); ++cut) {
            for (std::int32_t room = minRoom; room <= mostRoom; ++room) {
                std::basic_string<Output> result;
                std::basic_string<Input> left;
                const std::string met = errorOf([&] {
                    result = convertInPieces<Direction>(*create(), padded, cut, room, left);
                });
                if (met == error && (!error.empty() || (result == whole && left == expectedLeft)))
                    continue;
                ADD_FAILURE() << "padding " << padding << ", cut " << cut << ", room " << room
                              << ": error '" << met << "', result "
                              << testing::PrintToString(
                                     std::vector<int>(result.begin(), result.end()))
                              << ", left behind " << left.size();
                return;
            }
        }
    }
}

} // namespace zv::test

#endif
