// Any bytes as the text of a hive: the reader must take them in pieces as it takes them whole, and
// what it made of them must come back the same from the writer's text.
#include "platform/posix/hive_text.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace zv::platform::posix;

void load(KeyTree& tree, std::u16string_view text, std::size_t cut, bool oldHeader) {
    TreeBuilder builder(tree);
    RegTextReader reader(builder);
    reader.restart(0, oldHeader);
    const std::size_t first = reader.read(text.substr(0, cut), TextEnd::More);
    // The reader stops once, behind the journal's mark.
    const std::size_t second = first + reader.read(text.substr(first), TextEnd::Foreign);
    if (second < text.size())
        reader.read(text.substr(second), TextEnd::Foreign);
}

std::u16string written(const KeyTree& tree) {
    std::u16string piece, whole;
    writeTree(tree, piece, [&](std::u16string& text) {
        whole += text;
        return true;
    });
    return whole;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3)
        return 0;
    // The first bytes choose the encoding and where the text is cut.
    const bool wide = (data[0] & 1) != 0;
    const bool oldHeader = (data[0] & 2) != 0;
    std::u16string text;
    if (wide) {
        text.resize((size - 3) / 2);
        std::memcpy(text.data(), data + 3, 2 * text.size());
    } else {
        appendUtf8(text, {reinterpret_cast<const char*>(data) + 3, size - 3});
    }
    const std::size_t cut = (data[1] | std::size_t{data[2]} << 8) % (text.size() + 1);
    if (committedLength(text) > text.size())
        std::abort();

    KeyTree whole, pieces;
    load(whole, text, 0, oldHeader);
    load(pieces, text, cut, oldHeader);
    const std::u16string out = written(whole);
    if (out != written(pieces))
        std::abort();

    const std::size_t start = 1 + readHeader(std::u16string_view(out).substr(1)).length;
    KeyTree again;
    load(again, std::u16string_view(out).substr(start), 0, false);
    if (committedLength(out) != out.size() || out != written(again))
        std::abort();
    return 0;
}
