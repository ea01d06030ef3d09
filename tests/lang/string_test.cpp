#include "lang/string.h"

#include "core/heap.h"
#include "lang/exception.h"
#include "util/mt_buffer.h"
#include "util/rw_buffer.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {

namespace {

namespace core = zv::core;

constexpr std::int32_t kMaximum = std::numeric_limits<std::int32_t>::max();

TEST(String, IsBuiltFromManySources) {
    const auto text = std::u16string(u"text\0more", 9);
    struct Case {
        CZvString built;
        std::u16string expected;
    };
    const Case cases[] = {
        {CZvString(), u""},
        {CZvString(u""), u""},
        {CZvString(u"abc"), u"abc"},
        {CZvString(u"abc", 2), u"ab"},
        {CZvString(text.data(), 9, 100), text},
        {CZvString(text.data()), u"text"},
        {CZvString(std::u16string_view(text)), text},
        {CZvString(nullptr, 5, 3), u""},
        {CZvString::literal(u"literal"), u"literal"},
        {CZvString::wrap(u"literal", -1), u"literal"},
        {CZvString::wrap(nullptr, 3), u""},
        {CZvString::filled(u'x', 3), u"xxx"},
        {CZvString::filled(u'x', 0, 50), u""},
        {CZvString::withCapacity(0), u""},
        {CZvString::withCapacity(-4), u""},
        {CZvString::withCapacity(17), u""},
        {CZvString::fromNarrow("narrow"), u"narrow"},
        {CZvString::fromNarrow("narrow", 3), u"nar"},
        {CZvString::fromNarrow("na\0rrow", 5), std::u16string(u"na\0rr", 5)},
        {CZvString::fromNarrow(nullptr, 7, nullptr, 9), u""},
        {CZvString::fromNarrow("\xE9\x80", -1, u"CP1252"), u"\u00E9\u20AC"},
        {CZvString::valueOf(0), u"0"},
        {CZvString::valueOf(-2147483647 - 1), u"-2147483648"},
        {CZvString::valueOf(kMaximum), u"2147483647"},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(row.built.view(), row.expected);
        EXPECT_EQ(row.built.getBuffer()[row.expected.size()], 0);
        CZvString changed = row.built; // every kind can be changed
        changed.replace(-1, 0, u"+");
        EXPECT_EQ(changed.view(), row.expected + u"+");
        EXPECT_EQ(row.built.view(), row.expected);
    }
    EXPECT_THROW(CZvString::fromNarrow("x", -1, u"no such charset"), EZvUnknownEncoding);
}

TEST(String, CopiesShareUntilOneChanges) {
    const char16_t* memory = u"shared literal";
    CZvString first = CZvString::wrap(memory, 14);
    EXPECT_EQ(first.getBuffer(), memory);
    CZvString second = first;
    EXPECT_EQ(second.getBuffer(), memory);
    second.replace(0, 6, u"own");
    EXPECT_NE(second.getBuffer(), memory);
    EXPECT_EQ(first.view(), u"shared literal");
    EXPECT_EQ(second.view(), u"own literal");
    const auto clone = ZvRef<CZvObject>::share(second.clone());
    EXPECT_EQ(second.toString().getBuffer(), second.getBuffer());
    EXPECT_EQ(static_cast<CZvString&>(*clone).getBuffer(), second.getBuffer());

    CZvString moved = std::move(second);
    EXPECT_EQ(second.getLength(), 0);
    EXPECT_EQ(second.getBuffer()[0], 0);
    second = std::move(moved);
    EXPECT_EQ(moved.getLength(), 0);
    auto& self = second;
    second = std::move(self);
    EXPECT_EQ(second.view(), u"own literal");

    // What one string does to its room leaves those that share it where they are.
    CZvString sharing = second;
    const char16_t* before = second.getBuffer();
    sharing.reserve(1000);
    EXPECT_EQ(second.getBuffer(), before);
    CZvString compacting = second;
    compacting.compact();
    EXPECT_EQ(second.getBuffer(), before);
    EXPECT_EQ(compacting.UnlockWrite(1), core::kFail); // no write was begun
    EXPECT_EQ(second.view(), u"own literal");

    // An only holder changes its buffer in place.
    CZvString single(u"abc", -1, 100);
    before = single.getBuffer();
    single.replace(-1, 0, u"def");
    EXPECT_EQ(single.getBuffer(), before);
    EXPECT_EQ(CZvString().getBuffer(), CZvString::withCapacity(0).getBuffer());
}

TEST(String, FindsCharacters) {
    const CZvString text(u"aBcaBc");
    EXPECT_EQ(text.indexOf(u'B'), 1);
    EXPECT_EQ(text.indexOf(u'B', 2), 4);
    EXPECT_EQ(text.indexOf(u'b'), -1);
    EXPECT_EQ(text.indexOf(u'b', 2, true), 4);
    EXPECT_EQ(text.indexOf(u'a', 100), -1);
    EXPECT_EQ(text.indexOf(u'a', -7), 0);
    EXPECT_EQ(text.indexOf(0), -1);
    EXPECT_EQ(text.findFirstNotOf(u"aB"), 2);
    EXPECT_EQ(text.findFirstNotOf(u"ab"), 1);
    EXPECT_EQ(text.findFirstNotOf(u"ab", -1, 0, true), 2);
    EXPECT_EQ(text.findFirstNotOf(u"aBc"), -1);
    EXPECT_EQ(text.findFirstNotOf(u"aBc", 2, 3), 5);
    EXPECT_EQ(text.findFirstNotOf(u""), -1);
    EXPECT_EQ(text.findFirstNotOf(nullptr), -1);
    EXPECT_EQ(text.charAt(2), u'c');

    const CZvString five(u"12345");
    EXPECT_EQ(five.substring(2).view(), u"345");
    EXPECT_EQ(five.substring(4, 2).view(), u"");
    EXPECT_EQ(five.substring(1, 3).view(), u"23");
    EXPECT_EQ(five.substring(0, 100).view(), u"12345");
    EXPECT_NE(five.substring(0).getBuffer(), five.getBuffer());
}

TEST(String, ComparesRegions) {
    struct Case {
        const char16_t* text;
        std::int32_t start, count;
        const char16_t* other;
        std::int32_t otherLength, otherStart;
        bool ignoreCase;
        int sign;
        bool equal;
    };
    const Case cases[] = {
        {u"abc", 0, -1, u"abd", -1, 0, false, -1, false},
        {u"abc", 0, -1, u"abb", -1, 0, false, 1, false},
        {u"abc", 0, -1, u"ab", -1, 0, false, 1, false},
        {u"abc", 0, -1, u"abcd", -1, 0, false, -1, false},
        {u"abc", 0, -1, u"ABC", -1, 0, false, 1, false},
        {u"abc", 0, -1, u"ABC", -1, 0, true, 0, true},
        {u"abc", 0, -1, u"ABCD", -1, 0, true, -1, false},
        {u"xxabc", 2, -1, u"yabc", -1, 1, false, 0, true},
        {u"xxabc", 2, 2, u"yab", -1, 1, false, 0, true},
        {u"xxabc", 2, 2, u"yabc", 3, 1, false, 0, true},
        {u"abc", -1, -1, u"x", -1, 9, false, 0, true}, // both sides cut to nothing
        {u"abc", 9, 9, nullptr, 4, 0, false, 0, true},
        {u"abc", 0, 9, u"abc", -1, 0, false, 0, true},
        {u"\uFFFF", 0, -1, u"\u0001", -1, 0, false, 1, false}, // unsigned
    };
    for (const Case& row : cases) {
        const CZvString text(row.text);
        const std::int32_t order = text.regionCompare(
            row.start, row.count, row.other, row.otherLength, row.otherStart, row.ignoreCase);
        EXPECT_EQ((order > 0) - (order < 0), row.sign) << &row - cases;
        EXPECT_EQ(text.regionEquals(row.start, row.count, row.other, row.otherLength,
                                    row.otherStart, row.ignoreCase),
                  row.equal)
            << &row - cases;
    }
    const CZvString abc(u"abc");
    EXPECT_EQ(abc.compare(CZvString(u"a"), 0), 2);
    EXPECT_EQ(abc.compare(CZvString(u"abd"), 0), -1);
    EXPECT_TRUE(abc.equals(CZvString(u"ABC"), 1));
    EXPECT_FALSE(abc.equals(CZvString(u"ABC"), 0));
    EXPECT_TRUE(abc.equals(CZvString(u"abc")));
    EXPECT_FALSE(abc.equals(CZvObject()));
    EXPECT_EQ(abc.compareTo(abc), 0);
    EXPECT_GT(abc.compareTo(CZvString(u"abb")), 0);
    EXPECT_THROW(abc.compareTo(CZvObject()), EZvCastFailed);
}

TEST(String, HashesAFewCharactersOnly) {
    const auto reference = [](std::u16string_view text, std::size_t step) {
        std::uint32_t h = 0;
        for (std::size_t i = 0; i < text.size(); i += step)
            h = h * 37 + text[i];
        return h;
    };
    EXPECT_EQ(CZvString().hashCode(), 0u);
    EXPECT_EQ(CZvString(u"ab").hashCode(), 37u * u'a' + u'b');
    std::u16string text;
    for (char16_t i = 0; i < 100; ++i)
        text += static_cast<char16_t>(u'A' + i % 26);
    EXPECT_EQ(CZvString(text).hash(false), reference(text, 3));
    std::u16string lower = text;
    for (char16_t& ch : lower)
        ch += u'a' - u'A';
    EXPECT_EQ(CZvString(text).hash(true), reference(lower, 3));
    EXPECT_EQ(CZvString(text.substr(0, 63)).hash(false), reference(text.substr(0, 63), 1));
}

TEST(String, ReplacesStripsAndFolds) {
    using Change = void (*)(CZvString&);
    struct Case {
        const char16_t* text;
        Change change;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u"abc", [](CZvString& s) { s.replace(-1, 0, u"d").replace(0, 0, u"_"); }, u"_abcd"},
        {u"abc", [](CZvString& s) { s.replace(1, 1, u"12345", 4, 1); }, u"a234c"},
        {u"abc", [](CZvString& s) { s.replace(1, -1, u""); }, u"a"},
        {u"abc", [](CZvString& s) { s.replace(1, 99, nullptr); }, u"a"},
        {u"abc", [](CZvString& s) { s.replace(99, 1, u"x", -1, 9); }, u"abc"},
        {u"abc", [](CZvString& s) { s.replaceFill(1, 1, 3, u'-'); }, u"a---c"},
        {u"abc", [](CZvString& s) { s.replaceFill(-1, 0, 2, u'-'); }, u"abc--"},
        // Text that lies in the string itself, before, in and behind what it replaces.
        {u"abc", [](CZvString& s) { s.replace(-1, 0, s.getBuffer()); }, u"abcabc"},
        {u"abc", [](CZvString& s) { s.replace(0, 2, s.getBuffer() + 1, 2); }, u"bcc"},
        {u"abc", [](CZvString& s) { s.replace(0, 0, s.getBuffer(), -1, 2); }, u"cabc"},
        {u"abcdefghijklmno", // exactly its block: growing moves the text
         [](CZvString& s) { s.replace(0, 1, s.getBuffer(), -1, 1); },
         u"bcdefghijklmnobcdefghijklmno"},
        {u"abc", [](CZvString& s) { s.setLength(5, u'.'); }, u"abc.."},
        {u"abc", [](CZvString& s) { s.setLength(1); }, u"a"},
        {u"abc", [](CZvString& s) { s.setLength(-1); }, u"abc"},
        {u"abc", [](CZvString& s) { s.setLength(5, 0), s.setLength(-1); }, u"abc"},
        {u"abca", [](CZvString& s) { s.replaceChar(u'a', u'z'); }, u"zbcz"},
        {u"xxaxx", [](CZvString& s) { s.strip(u'x', 3); }, u"a"},
        {u"xxaxx", [](CZvString& s) { s.strip(u'x', CZvString::kStripLeading); }, u"axx"},
        {u"xxaxx", [](CZvString& s) { s.strip(u'x', CZvString::kStripTrailing); }, u"xxa"},
        {u"xxaxx", [](CZvString& s) { s.strip(u'x', 0); }, u"xxaxx"},
        {u"xx", [](CZvString& s) { s.strip(u'x', 3); }, u""},
        {u"aZ9", [](CZvString& s) { s.toUpperCase(); }, u"AZ9"},
        {u"abc", [](CZvString& s) { s.assign(s); }, u"abc"},
        {u"abc", [](CZvString& s) { s.assign(CZvString(s)); }, u"abc"},
        {u"abc", [](CZvString& s) { s.assign(CZvString::literal(u"longer than before, by far")); },
         u"longer than before, by far"},
        {u"abc", [](CZvString& s) { s.assign(CZvRWCharBuffer()); }, u""},
        {u"abc",
         [](CZvString& s) {
             char16_t* p = s.lockWrite(40);
             std::fill_n(p, 40, u'w'); // no zero among them: the end is found all the same
             s.unlockWrite(-1);
         },
         u"wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww"},
    };
    for (const Case& row : cases) {
        CZvString changed = CZvString::wrap(row.text, -1);
        const CZvString witness = changed;
        row.change(changed);
        EXPECT_EQ(changed.view(), row.expected) << &row - cases;
        EXPECT_EQ(changed.getBuffer()[changed.getLength()], 0);
        CZvString own(row.text);
        row.change(own);
        EXPECT_EQ(own.view(), row.expected) << &row - cases;
        EXPECT_EQ(witness.view(), row.text);
    }
}

TEST(String, RefusesWhatMakesNoSenseAndStaysAsItWas) {
    using Misuse = void (*)(CZvString&);
    const Misuse ranges[] = {
        [](CZvString& s) { s.replace(-2, 0, u"x"); },
        [](CZvString& s) { s.replace(0, -2, u"x"); },
        [](CZvString& s) { s.replace(0, 0, u"x", -2); },
        [](CZvString& s) { s.replace(0, 0, u"x", 1, -1); },
        [](CZvString& s) { s.replaceFill(0, 0, -1, u'x'); },
        [](CZvString& s) { s.setLength(-2); },
        [](CZvString& s) { (void)s.substring(-1, 2); },
        [](CZvString& s) { (void)s.regionEquals(0, 0, u"x", -1, -1); },
        [](CZvString& s) { (void)s.toBytes(nullptr, 3); },
        [](CZvString&) { (void)CZvString(u"x", -3); },
        [](CZvString&) { (void)CZvString::filled(u'x', -1); },
        [](CZvString& s) { s.unlockWrite(kMaximum); },
    };
    const Misuse sizes[] = {
        [](CZvString& s) { s.replace(0, 0, u"x", kMaximum); },
        [](CZvString& s) { s.replaceFill(0, 0, kMaximum, u'x'); },
        [](CZvString& s) { s.replaceFill(-1, 0, kMaximum - 3, u'x'); },
        [](CZvString& s) { s.setLength(kMaximum); },
        [](CZvString& s) { s.lockWrite(kMaximum); },
        [](CZvString& s) { s.reserve(kMaximum - 1); },
        [](CZvString&) { (void)CZvString(u"x", kMaximum); },
        [](CZvString&) { (void)CZvString::filled(u'x', kMaximum); },
        [](CZvString&) { (void)CZvString::fromNarrow("x", kMaximum); },
    };
    CZvString text(u"unchanged");
    for (const Misuse misuse : ranges)
        EXPECT_THROW(misuse(text), EZvException) << &misuse - ranges;
    for (const Misuse misuse : sizes) {
        EXPECT_EQ(resultFrame([&] {
                      misuse(text);
                      return core::kOk;
                  }),
                  core::kOutOfMemory);
    }
    EXPECT_EQ(text.view(), u"unchanged");
}

TEST(String, KeepsItsTextWhenTheHeapIsExhausted) {
    CZvString text = CZvString::literal(u"a literal");
    CZvString own(u"0123456789abcde");
    using Change = void (*)(CZvString&);
    const Change changes[] = {
        [](CZvString& s) { s.replace(0, 1, u"12345678901234567890"); },
        [](CZvString& s) { s.replace(-1, 0, s.getBuffer()); },
        [](CZvString& s) { s.setLength(100); },
        [](CZvString& s) { s.assign(CZvString::literal(u"12345678901234567890")); },
        [](CZvString& s) { (void)s.toNarrow(); },
    };
    for (const Change change : changes) {
        for (CZvString* string : {&text, &own}) {
            const std::u16string before(string->view());
            core::setHeapGate([] { return false; });
            const ResultCode code = resultFrame([&] {
                change(*string);
                return core::kOk;
            });
            core::setHeapGate(nullptr);
            EXPECT_EQ(code, core::kOutOfMemory);
            EXPECT_EQ(string->view(), before);
        }
    }
}

TEST(String, GivesNarrowText) {
    CZvString text(u"h\u00E9llo");
    char bytes[8];
    std::fill(std::begin(bytes), std::end(bytes), '#');
    EXPECT_EQ(text.toBytes(bytes, 8, u"ISO8859_1"), 6);
    EXPECT_EQ(std::string(bytes, 8), std::string("h\xE9llo\0##", 8));
    EXPECT_EQ(text.toBytes(bytes, 5, u"ISO8859_1"), 5); // no room for the zero
    EXPECT_EQ(text.toBytes(bytes, 2, u"ISO8859_1"), 2);
    EXPECT_EQ(text.toBytes(nullptr, 0, u"ISO8859_1"), 0);
    EXPECT_THROW(text.toBytes(bytes, 8, u"no such charset"), EZvUnknownEncoding);

    CZvMTByteBuffer buffer;
    text.getBytes(buffer, u"CP437");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.getBuffer()), 6),
              std::string("h\x82llo\0", 6));
    EXPECT_EQ(buffer.getLength(), 6);
    // A lone surrogate is no text; the buffer keeps what it had and is no longer held.
    EXPECT_THROW(CZvString(u"\xD800").getBytes(buffer, u"CP437"), EZvInvalidCharacter);
    EXPECT_EQ(buffer.getLength(), 6);
    std::jthread([&] {
        EXPECT_EQ(buffer.LockWrite(1, std::make_unique<std::uint8_t*>().get()), core::kOk);
        EXPECT_EQ(buffer.UnlockWrite(-1), core::kOk);
    }).join();

    const CZvString plain(u"plain");
    const char* narrow = plain.toNarrow();
    EXPECT_STREQ(narrow, "plain");
    const CZvString copy = plain;
    EXPECT_STREQ(copy.toNarrow(), "plain");
    EXPECT_NE(copy.toNarrow(), narrow);
    text = plain;
    EXPECT_STREQ(text.replace(-1, 0, u"er").toNarrow(), "plainer");
    EXPECT_STREQ(CZvString().toNarrow(), "");
}

TEST(String, IsACharacterBuffer) {
    CZvString string(u"abc");
    IZvCharBuffer& buffer = string;
    EXPECT_EQ(buffer.GetLength(), 3);
    EXPECT_TRUE(buffer.IsWritable());
    char16_t* text = nullptr;
    ASSERT_EQ(buffer.LockWrite(20, &text), core::kOk);
    std::copy_n(u"0123456789", 10, text);
    EXPECT_EQ(buffer.UnlockWrite(10), core::kOk);
    EXPECT_EQ(string.view(), u"0123456789");
    text = nullptr;
    EXPECT_EQ(buffer.Reserve(1000, &text), core::kOk);
    EXPECT_EQ(text, buffer.GetBuffer());
    EXPECT_EQ(buffer.Compact(), core::kOk);
    const char16_t* read = nullptr;
    EXPECT_EQ(buffer.LockRead(&read), core::kOk);
    EXPECT_EQ(std::u16string_view(read), u"0123456789");
    EXPECT_EQ(buffer.UnlockRead(), core::kOk);
    text = &text[1];
    EXPECT_EQ(buffer.LockWrite(kMaximum, &text), core::kOutOfMemory);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(buffer.LockRead(nullptr), core::kPointer);
    EXPECT_EQ(buffer.LockWrite(1, nullptr), core::kPointer);
    // The empty string and a literal refuse nothing either.
    for (CZvString other : {CZvString(), CZvString::literal(u"")}) {
        EXPECT_EQ(other.Reserve(4, &text), core::kOk);
        EXPECT_EQ(other.Compact(), core::kOk);
        EXPECT_EQ(other.getLength(), 0);
    }
}

class Subclass : public CZvString {};

TEST(String, OnlyAPlainStringClones) {
    EXPECT_THROW((void)Subclass().clone(), EZvCloneNotSupported);
    EXPECT_TRUE(Subclass().equals(CZvString()));
}

// Strings in several threads share one buffer, read it, and change their own text.
TEST(String, SharedTextMayLiveInManyThreads) {
    const CZvString shared(u"shared text");
    std::vector<std::jthread> threads;
    for (char16_t mark = u'0'; mark < u'4'; ++mark) {
        threads.emplace_back([copy = shared, mark]() mutable {
            for (int i = 0; i < 500; ++i) {
                CZvString own = copy;
                own.replaceFill(0, 6, 1, mark);
                const CZvString second = own;
                own.replace(-1, 0, u"!");
                ASSERT_EQ(second.view().substr(1), u" text");
                ASSERT_EQ(own.charAt(0), mark);
            }
        });
    }
    threads.clear();
    EXPECT_EQ(shared.view(), u"shared text");
}

// A few strings that share and unshare at random, beside a model of each.
TEST(String, AgreesWithAModel) {
    std::mt19937 random(20020229);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const auto randomText = [&] {
        std::u16string text;
        for (int n = below(24); n > 0; --n)
            text += static_cast<char16_t>(u'a' + below(4));
        return text;
    };
    CZvString strings[4];
    std::u16string models[4];
    for (int step = 0; step < 20000; ++step) {
        CZvString& string = strings[below(4)];
        std::u16string& model = models[&string - strings];
        const int length = static_cast<int>(model.size());
        const int start = below(length + 1);
        const int count = below(length - start + 1);
        const int place = start < length ? start : -1; // the end has two names
        const std::u16string text = randomText();
        switch (below(length > 200 ? 8 : 11)) {
        case 0: {
            const int other = below(4);
            string = strings[other];
            model = models[other];
            break;
        }
        case 1:
            string = CZvString(text);
            model = text;
            break;
        case 2:
            string = string.substring(start, start + count);
            model = model.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(count));
            break;
        case 3:
            string.setLength(start);
            model.resize(static_cast<std::size_t>(start));
            break;
        case 4:
            string.replaceChar(u'a', u'b');
            std::replace(model.begin(), model.end(), u'a', u'b');
            break;
        case 5:
            string.strip(u'b', 3);
            model.erase(0, std::min(model.find_first_not_of(u'b'), model.size()));
            model.erase(model.find_last_not_of(u'b') + 1);
            break;
        case 6:
            string.assign(strings[below(4)]);
            model = string.view();
            break;
        case 7:
            string.compact();
            break;
        case 8:
            string.replaceFill(start, count, below(9), u'c');
            model.replace(
                static_cast<std::size_t>(start), static_cast<std::size_t>(count),
                string.view().substr(static_cast<std::size_t>(start),
                                     static_cast<std::size_t>(string.getLength()) -
                                         (model.size() - static_cast<std::size_t>(count))));
            break;
        case 9: { // out of itself
            const int from = below(length + 1);
            const std::u16string piece = model.substr(static_cast<std::size_t>(from));
            string.replace(place, count, string.getBuffer(), length, from);
            model.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(count), piece);
            break;
        }
        default:
            string.replace(place, count, text.data(), static_cast<std::int32_t>(text.size()));
            model.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(count), text);
        }
        const auto sought = static_cast<char16_t>(u'a' + below(5));
        ASSERT_EQ(string.indexOf(sought, start),
                  static_cast<std::int32_t>(model.find(sought, static_cast<std::size_t>(start))));
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(string.equals(strings[i], 0), model == models[i]);
            ASSERT_EQ(string.compare(strings[i], 0) < 0, model < models[i]);
            ASSERT_EQ(strings[i].view(), models[i]) << "step " << step;
            ASSERT_EQ(strings[i].getBuffer()[models[i].size()], 0);
        }
    }
}

} // namespace
} // namespace ZVCL
