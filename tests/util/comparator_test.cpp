#include "util/comparator.h"

#include "lang/address.h"
#include "lang/class.h"
#include "util/array_list.h"
#include "util/elements.h"
#include "util/hash_map.h"
#include "util/object_list.h"
#include "util/object_map.h"

#include <string>
#include <thread>

namespace ZVCL {
namespace {

// Counted, but not comparable.
class Plain final : public CZvComObject {};

TEST(Comparator, LeavesTheAnswerToTheObjectOrGoesByAddress) {
    const auto comparator = CZvComparator::defaultComparator();
    const auto one = number(1);
    const auto alsoOne = number(1);
    const auto three = number(3);
    const auto failing = number(-1);
    const auto plain = makeRef<Plain>();
    const auto other = makeRef<Plain>();
    constexpr std::int32_t unset = 4711;
    struct Row {
        IZvUnknown *left, *right;
        ResultCode code;
        std::int32_t order;
    };
    const Row rows[] = {
        {one.get(), alsoOne.get(), 0, 0},
        {one.get(), three.get(), 0, -2},
        {three.get(), one.get(), 0, 2},
        {nullptr, nullptr, 0, 0},
        {plain.get(), plain.get(), 0, 0},
        {plain.get(), other.get(), 0, addressOrder(plain.get(), other.get(), 2)},
        {plain.get(), nullptr, 0, addressOrder(plain.get(), nullptr, 2)},
        {nullptr, three.get(), 0, addressOrder(nullptr, three.get(), 2)},
        {failing.get(), one.get(), Number::kRefusal, unset},
    };
    for (const Row& row : rows) {
        std::int32_t order = unset;
        EXPECT_EQ(comparator->Compare(row.left, row.right, &order), row.code);
        EXPECT_EQ(order, row.order);
    }
    std::int32_t order = 0;
    EXPECT_EQ(comparator->Compare(three.get(), asUnknown(plain), &order), 0);
    EXPECT_NE(order, 0);

    std::uint32_t hash = 1;
    EXPECT_EQ(comparator->HashCode(nullptr, &hash), 0);
    EXPECT_EQ(hash, 0u);
    EXPECT_EQ(comparator->HashCode(three.get(), &hash), 0);
    EXPECT_EQ(hash, 3u);
    EXPECT_EQ(comparator->HashCode(plain.get(), &hash), 0);
    EXPECT_EQ(hash, addressHash(plain.get()));
    EXPECT_EQ(comparator->HashCode(failing.get(), &hash), Number::kRefusal);
    EXPECT_EQ(comparator->Compare(nullptr, nullptr, nullptr), zv::core::kPointer);
    EXPECT_EQ(comparator->HashCode(nullptr, nullptr), zv::core::kPointer);
    EXPECT_EQ(one->AddRef(), 2u); // what was asked for was given back
    one->Release();
}

TEST(Comparator, IsAnObjectOfItsOwn) {
    const auto comparator = makeRef<CZvComparator>();
    const auto other = ZvRef<CZvObject>::share(comparator->clone());
    EXPECT_TRUE(comparator->equals(*other));
    EXPECT_EQ(comparator->compareTo(*other), 0);
    EXPECT_EQ(comparator->compareSelf(*other), 0);
    EXPECT_EQ(comparator->hashSelf(), static_cast<const CZvObject&>(*comparator).hashCode());
    const RemainderComparator derived(2);
    EXPECT_FALSE(comparator->equals(derived));
    EXPECT_THROW((void)comparator->compareTo(derived), EZvCastFailed);
    EXPECT_THROW((void)derived.clone(), EZvCloneNotSupported);
    for (const ZvIid& iid : {IZvUnknown::kIid, IZvComparable::kIid, IZvComparator::kIid}) {
        void* found = nullptr;
        EXPECT_EQ(comparator->QueryInterface(iid, &found), zv::core::kOk);
        EXPECT_EQ(comparator->AddRef(), 3u);
        comparator->Release();
        comparator->Release();
    }
    EXPECT_EQ(std::u16string_view(comparator->getClass().getName()), u"CZvComparator");
    EXPECT_THROW((void)CZvClass::forName(u"CZvComparator")->newInstance(), EZvIllegalAccess);
}

TEST(Comparator, TheDefaultOneIsMadeOnceByWhoeverComesFirst) {
    for (int round = 0; round < 20; ++round) {
        CZvComparator::releaseDefault();
        ZvRef<CZvComparator> seen[4];
        std::vector<std::thread> threads;
        for (auto& slot : seen)
            threads.emplace_back([&slot] { slot = CZvComparator::defaultComparator(); });
        for (auto& thread : threads)
            thread.join();
        for (const auto& slot : seen)
            EXPECT_EQ(slot.get(), seen[0].get());
        EXPECT_EQ(seen[0]->AddRef(), 6u);
        seen[0]->Release();
    }
    const auto list = makeRef<CZvArrayList>();
    CZvComparator::releaseDefault(); // a collection keeps the one it has
    list->add(nullptr);
    EXPECT_TRUE(list->contains(nullptr));
}

// ----- the typed facades

class Facades : public CountedElements {};

TEST_F(Facades, OfListsReadNaturally) {
    CZvObjectList<CZvString> names(makeRef<CZvArrayList>());
    const auto ada = makeRef<CZvString>(u"Ada");
    EXPECT_TRUE(names.isEmpty());
    names.add(ada);
    names.add(makeRef<CZvString>(u"Grace"));
    names.add(0, nullptr);
    CZvString grace(u"Grace");
    grace.AddRef(); // on the stack: never released to the end
    EXPECT_EQ(names.indexOf(&grace), 2);
    std::u16string text;
    for (const ZvRef<CZvString>& name : names)
        text += name ? std::u16string(name->view()) + u";" : u"-;";
    EXPECT_EQ(text, u"-;Ada;Grace;");
    EXPECT_EQ(names.get(1).get(), ada.get());
    EXPECT_EQ(names.lastIndexOf(nullptr), 0);
    EXPECT_EQ(names.set(0, ada).get(), nullptr);
    EXPECT_EQ(names.lastIndexOf(ada), 1);

    const auto firstTwo = names.subList(0, 2);
    EXPECT_EQ(firstTwo->removeAt(0)->view(), u"Ada");
    EXPECT_EQ(names.getSize(), 2);
    CZvObjectList<CZvString> copies(makeRef<CZvArrayList>());
    copies.addAll(names);
    EXPECT_TRUE(copies.equals(names));
    EXPECT_TRUE(names.equals(names));
    EXPECT_EQ(copies.compareTo(names), 0);
    EXPECT_EQ(copies.hashCode(), names.hashCode());
    EXPECT_TRUE(copies.addAll(1, names));
    EXPECT_TRUE(copies.removeAll(*names.constSubList(1, 2)));
    EXPECT_FALSE(copies.equals(names));
    EXPECT_TRUE(copies.retainAll(*names.constSubList(0, 1)));
    EXPECT_EQ(copies.getSize(), 2);
    EXPECT_TRUE(copies.remove(ada));

    const auto iterator = names.createListIterator(2);
    EXPECT_EQ(iterator->previous()->view(), u"Grace");
    iterator->set(ada);
    iterator->add(nullptr);
    EXPECT_EQ(iterator->nextIndex(), 2);
    EXPECT_EQ(iterator->next().get(), ada.get());
    iterator->remove();
    EXPECT_EQ(names.getSize(), 2);
    EXPECT_EQ(names.createConstListIterator(1)->previousIndex(), 0);
    const auto walk = names.createIterator();
    (void)walk->next();
    walk->remove();
    EXPECT_FALSE(names.createConstIterator()->next());
    names.clear();
    EXPECT_THROW((void)names.get(0), EZvRangeError);
    EXPECT_THROW(CZvObjectList<CZvString>(nullptr), EZvIllegalState);
}

TEST_F(Facades, OfMapsReadNaturally) {
    CZvObjectMap<CZvString, Number> ages(makeRef<CZvHashMap>());
    const auto ada = makeRef<CZvString>(u"Ada");
    EXPECT_FALSE(ages.put(ada, makeRef<Number>(36)));
    EXPECT_EQ(ages.put(makeRef<CZvString>(u"Ada"), makeRef<Number>(37))->value, 36);
    EXPECT_FALSE(ages.put(nullptr, nullptr));
    int sum = 0;
    for (const auto& [name, age] : ages)
        sum += age ? age->value : 100;
    EXPECT_EQ(sum, 137);
    EXPECT_EQ(ages.get(ada)->value, 37);
    EXPECT_TRUE(ages.containsKey(nullptr));
    EXPECT_TRUE(ages.containsValue(makeRef<Number>(37)));
    EXPECT_TRUE(ages.createConstKeySet()->contains(ada));
    EXPECT_TRUE(ages.createConstValues()->contains(nullptr));

    CZvObjectMap<CZvString, Number> others(makeRef<CZvHashMap>());
    others.putAll(ages);
    EXPECT_TRUE(others.equals(ages));
    EXPECT_EQ(others.compareTo(ages), 0);
    // Entries enter and leave as what they are, whichever of their interfaces names them.
    const auto entries = ages.createEntrySet();
    for (const ZvRef<CZvMapEntry>& entry : *entries)
        EXPECT_TRUE(entries->contains(entry));
    const ZvRef<CZvMapEntry> entry = entries->createIterator()->next();
    EXPECT_TRUE(entries->remove(entry));
    EXPECT_FALSE(entries->remove(entry));
    EXPECT_EQ(ages.getSize(), 1);
    ages.createValues()->clear();
    EXPECT_TRUE(ages.isEmpty());
    EXPECT_EQ(others.remove(ada)->value, 37);
    others.createKeySet()->clear();
    EXPECT_EQ(others.getSize(), 0);
    // A collection of interfaces is checked where its elements come back.
    CZvObjectList<CZvMapEntry> mistaken(makeRef<CZvArrayList>());
    mistaken.getCollection().add(number(1).get());
    EXPECT_THROW((void)mistaken.get(0), EZvCastFailed);
}

} // namespace
} // namespace ZVCL
