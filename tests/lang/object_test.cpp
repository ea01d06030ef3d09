#include "lang/object.h"

#include "lang/address.h"
#include "lang/class.h"
#include "lang/exception.h"
#include "lang/interface_map.h"
#include "lang/ref.h"
#include "lang/string.h"
#include "util/rw_buffer.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;

constexpr ZvIid kUnknownIid = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

// A class that the class table does not know.
class Unlisted : public CZvObject {
public:
    explicit Unlisted(bool* deleted = nullptr) : deleted(deleted) {}
    ~Unlisted() override {
        if (deleted != nullptr)
            *deleted = true;
    }
    std::uint32_t hashCode() const override { return 0x0012AB00; }

private:
    bool* deleted;
};

TEST(Object, CountsReferencesAndGoesWithTheLast) {
    bool deleted = false;
    auto* object = new Unlisted(&deleted);
    EXPECT_EQ(object->AddRef(), 1u);
    EXPECT_EQ(object->AddRef(), 2u);
    const Unlisted copy(*object);
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_FALSE(deleted);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_TRUE(deleted);
}

TEST(Object, CountsItselfInItsModuleFromTheFirstReferenceToTheLast) {
    ModuleCounter module{};
    auto* object = new CZvObject;
    object->module = &module;
    EXPECT_EQ(module.liveObjects, 0);
    object->AddRef();
    object->AddRef();
    EXPECT_EQ(module.liveObjects, 1);
    const auto clone = ZvRef<CZvObject>::share(object->clone());
    EXPECT_EQ(clone->module, nullptr);
    EXPECT_EQ(CZvObject(*object).module, nullptr);
    object->Release();
    object->Release();
    EXPECT_EQ(module.liveObjects, 0);
}

TEST(Object, ReferencesMayBeTakenByManyThreads) {
    bool deleted = false;
    auto object = makeRef<Unlisted>(&deleted);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([copy = object] {
                for (int n = 0; n < 1000; ++n)
                    ZvRef<Unlisted>(copy).reset();
            });
        }
    }
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);
    object.reset();
    EXPECT_TRUE(deleted);
}

TEST(Object, AnswersTheInterfacesOfItsMap) {
    const auto string = makeRef<CZvString>(u"x");
    const auto object = makeRef<CZvObject>();
    struct Case {
        CZvObject* object;
        ZvIid iid;
        void* expected; // null: no such interface
    };
    const Case cases[] = {
        {object.get(), IZvUnknown::kIid, static_cast<CZvComObject*>(object.get())},
        {object.get(), IZvComparable::kIid, static_cast<IZvComparable*>(object.get())},
        {object.get(), IZvCharBuffer::kIid, nullptr},
        {object.get(), kUnknownIid, nullptr},
        {string.get(), IZvUnknown::kIid, static_cast<CZvComObject*>(string.get())},
        {string.get(), IZvComparable::kIid, static_cast<IZvComparable*>(string.get())},
        {string.get(), IZvCharBuffer::kIid, static_cast<IZvCharBuffer*>(string.get())},
        {string.get(), kUnknownIid, nullptr},
    };
    for (const Case& row : cases) {
        void* found = &found;
        EXPECT_EQ(row.object->QueryInterface(row.iid, &found),
                  row.expected != nullptr ? core::kOk : core::kNoInterface);
        EXPECT_EQ(found, row.expected);
        EXPECT_EQ(row.object->AddRef(), row.expected != nullptr ? 3u : 2u);
        row.object->Release();
        if (row.expected != nullptr)
            row.object->Release();
        EXPECT_EQ(row.object->QueryInterface(row.iid, nullptr), core::kPointer);
    }
    // Each interface's own AddRef and Release reach the one count.
    IZvCharBuffer* buffer = string.get();
    EXPECT_EQ(buffer->AddRef(), 2u);
    IZvComparable* comparable = string.get();
    EXPECT_EQ(comparable->Release(), 1u);
}

TEST(InterfaceMap, EntriesDecideWhetherTheWalkGoesOn) {
    const auto object = makeRef<CZvObject>();
    static ResultCode answers[2];
    static int asked;
    const InterfaceQuery first = [](void*, const ZvIid&, void** result, std::uintptr_t) {
        ++asked;
        *result = &answers[0];
        return answers[0];
    };
    const InterfaceQuery second = [](void*, const ZvIid&, void** result, std::uintptr_t) {
        ++asked;
        *result = &answers[1];
        return answers[1];
    };
    struct Case {
        bool firstNamed;
        ResultCode answers[2];
        ResultCode expected;
        int asked;
    };
    const Case cases[] = {
        {true, {core::kOk, core::kOk}, core::kOk, 1},
        {true, {core::kFail, core::kOk}, core::kFail, 1}, // a named entry's failure is final
        {false, {core::kFail, core::kOk}, core::kOk, 2},  // a chain's is not
        {true, {1, core::kOk}, core::kOk, 2},             // nor is a positive answer
        {false, {core::kFail, 1}, core::kNoInterface, 2},
    };
    for (const Case& row : cases) {
        const InterfaceMapEntry map[] = {
            {&IZvComparable::kIid, {.query = first}, 0}, // not the one sought: never asked
            {row.firstNamed ? &kUnknownIid : nullptr, {.query = first}, 0},
            {&kUnknownIid, {.query = second}, 0},
            kInterfaceMapEnd,
        };
        std::copy_n(row.answers, 2, answers);
        asked = 0;
        void* found = nullptr;
        CZvComObject* unknown = object.get();
        EXPECT_EQ(queryInterfaceMap(unknown, object.get(), map, kUnknownIid, &found), row.expected);
        EXPECT_EQ(asked, row.asked);
        EXPECT_EQ(found != nullptr, row.expected == core::kOk);
    }
}

TEST(InterfaceMap, AnEntryMayGiveThePlaceOfItsInterface) {
    const auto object = makeRef<CZvObject>();
    CZvComObject* unknown = object.get();
    IZvComparable* comparable = object.get();
    const auto offset = reinterpret_cast<std::uintptr_t>(comparable) -
                        reinterpret_cast<std::uintptr_t>(object.get());
    const InterfaceMapEntry map[] = {{&kUnknownIid, kAtOffset, offset}, kInterfaceMapEnd};
    void* found = nullptr;
    EXPECT_EQ(queryInterfaceMap(unknown, object.get(), map, kUnknownIid, &found), core::kOk);
    EXPECT_EQ(found, comparable);
    EXPECT_EQ(object->Release(), 1u);
}

TEST(Object, ComparesAndHashesByAddress) {
    CZvObject objects[3];
    EXPECT_LT(objects[0].compareTo(objects[1]), 0);
    EXPECT_GT(objects[2].compareTo(objects[1]), 0);
    EXPECT_EQ(objects[1].compareTo(objects[1]), 0);
    EXPECT_EQ(objects[2].compareTo(objects[0]),
              static_cast<std::int32_t>(2 * sizeof(CZvObject) / 16));
    EXPECT_TRUE(objects[1].equals(objects[1]));
    EXPECT_FALSE(objects[1].equals(objects[2]));
    EXPECT_NE(objects[0].hashCode(), objects[1].hashCode());

    std::int32_t order = 0;
    CZvComObject& other = objects[1];
    EXPECT_EQ(objects[0].CompareTo(&other, &order), core::kOk);
    EXPECT_LT(order, 0);
    CZvComObject plain; // no CZvObject: ordered by address all the same
    EXPECT_EQ(objects[0].CompareTo(&plain, &order), core::kOk);
    EXPECT_EQ(order < 0,
              reinterpret_cast<std::uintptr_t>(objects) < reinterpret_cast<std::uintptr_t>(&plain));
    EXPECT_NE(order, 0);
    std::uint32_t hash = 0;
    EXPECT_EQ(objects[0].HashCode(&hash), core::kOk);
    EXPECT_EQ(hash, objects[0].hashCode());
    EXPECT_EQ(objects[0].CompareTo(&other, nullptr), core::kPointer);
    EXPECT_EQ(objects[0].HashCode(nullptr), core::kPointer);
    // The frame around the operation: a string cannot be compared with an object.
    CZvString string(u"x");
    EXPECT_EQ(string.CompareTo(&other, &order), core::kFail);
}

TEST(Address, KeepsSignAndDifferenceOfFarAddresses) {
    const auto at = [](std::uintptr_t value) { return reinterpret_cast<const void*>(value); };
    struct Case {
        std::uintptr_t left;
        std::uintptr_t right;
        std::int32_t order;
    };
    std::vector<Case> cases = {
        {0x1000, 0x1000, 0}, {0x1010, 0x1000, 1},  {0x1000, 0x1020, -2},
        {0x1008, 0x1000, 1}, {0x1000, 0x1008, -1},
    };
    if constexpr (sizeof(void*) == 8) {
        const std::uintptr_t far = std::uintptr_t{1} << (sizeof(void*) * 8 - 18);
        cases.push_back({far + 0x1000, 0x1000, INT32_MAX});
        cases.push_back({0x1000, far + 0x1000, INT32_MIN});
        EXPECT_NE(addressHash(at(far)), 0u);
        EXPECT_NE(addressHash(at(far + 16)), addressHash(at(16)));
    }
    for (const Case& row : cases)
        EXPECT_EQ(addressOrder(at(row.left), at(row.right), 4), row.order);
    EXPECT_EQ(addressHash(nullptr), 0u);
}

TEST(Object, ClonesOnlyItsOwnClass) {
    const auto clone = ZvRef<CZvObject>::share(CZvObject().clone());
    EXPECT_EQ(clone->AddRef(), 2u);
    clone->Release();
    EXPECT_THROW((void)Unlisted().clone(), EZvCloneNotSupported);
    EXPECT_THROW((void)CZvRWByteBuffer().clone(), EZvCloneNotSupported);
}

TEST(Object, DescribesItselfByClassAndHash) {
    EXPECT_EQ(Unlisted().toString().view(), u"CZvObject@12ab00");
    CZvRWByteBuffer buffer;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%x", buffer.hashCode());
    const std::u16string expected =
        u"CZvRWByteBuffer@" +
        std::u16string(digits, digits + std::char_traits<char>::length(digits));
    EXPECT_EQ(buffer.toString().view(), expected);
    EXPECT_EQ(std::u16string_view(buffer.getClass().getName()), u"CZvRWByteBuffer");
    try {
        Unlisted().getClass();
        FAIL();
    } catch (EZvClassNotFound& exception) {
        EXPECT_EQ(exception.getMessage().toNarrow(), std::string(typeid(Unlisted).name()));
    }
}

} // namespace
} // namespace ZVCL
