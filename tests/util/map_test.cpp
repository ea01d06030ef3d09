// The hash map beside a simple model, and what every map inherits.
#include "core/heap.h"
#include "lang/class.h"
#include "util/array_list.h"
#include "util/elements.h"
#include "util/hash_map.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <utility>

namespace ZVCL {
namespace {

namespace core = zv::core;
using Pairs = std::vector<std::pair<int, int>>;

// What a map needs at least: the entries, here those of a hash map.
class MinimalMap final : public CZvAbstractMap {
public:
    ZvRef<CZvSet> createEntrySet() override { return inner->createEntrySet(); }
    ZvRef<CZvSet> createConstEntrySet() const override { return inner->createEntrySet(); }

    const ZvRef<CZvHashMap> inner = makeRef<CZvHashMap>();
};

// A map with those pairs; 0 stands for null.
ZvRef<IZvUnknown> element(int value) {
    return value != 0 ? number(value) : nullptr;
}

void putAll(CZvMap& map, const Pairs& pairs) {
    for (const auto& [key, value] : pairs)
        (void)map.put(element(key).get(), element(value).get());
}

struct MakeHashMap {
    static ZvRef<CZvMap> make(const Pairs& pairs) {
        const auto map = makeRef<CZvHashMap>();
        putAll(*map, pairs);
        return map;
    }
};

struct MakeMinimalMap {
    static ZvRef<CZvMap> make(const Pairs& pairs) {
        const auto map = makeRef<MinimalMap>();
        putAll(*map->inner, pairs);
        return map;
    }
};

Pairs pairsOf(const CZvMap& map) {
    Pairs pairs;
    const auto iterator = map.createConstEntrySet()->createConstIterator();
    while (iterator->hasNext()) {
        const auto entry = elementAs<CZvMapEntry>(iterator->next());
        pairs.emplace_back(valueOf(entry->getKey()), valueOf(entry->getValue()));
    }
    return pairs;
}

template <typename Maker>
class Map : public CountedElements {};
using MapMakers = testing::Types<MakeHashMap, MakeMinimalMap>;
TYPED_TEST_SUITE(Map, MapMakers);

TYPED_TEST(Map, FindsAndRemovesKeysNullAmongThem) {
    const auto map = TypeParam::make({{1, 10}, {0, 20}, {3, 0}});
    EXPECT_EQ(map->getSize(), 3);
    struct Row {
        int key;
        bool there;
        int value;
    };
    for (const Row& row : {Row{1, true, 10}, {0, true, 20}, {3, true, 0}, {2, false, 0}}) {
        EXPECT_EQ(map->containsKey(element(row.key).get()), row.there) << row.key;
        EXPECT_EQ(valueOf(map->get(element(row.key).get())), row.value) << row.key;
    }
    for (const auto& [value, there] : {std::pair(10, true), {0, true}, {20, true}, {1, false}})
        EXPECT_EQ(map->containsValue(element(value).get()), there) << value;
    EXPECT_EQ(valueOf(map->remove(nullptr)), 20);
    EXPECT_FALSE(map->remove(nullptr));
    EXPECT_FALSE(map->containsKey(nullptr));
    EXPECT_EQ(pairsOf(*map), Pairs({{3, 0}, {1, 10}}));
    EXPECT_EQ(map->hashCode(), 0u);
    map->clear();
    EXPECT_EQ(map->getSize(), 0);
}

TYPED_TEST(Map, ComparesByItsPairs) {
    struct Row {
        Pairs left, right;
        std::int32_t order;
    };
    const Row rows[] = {
        {{}, {}, 0},
        {{{1, 5}, {2, 6}}, {{2, 6}, {1, 5}}, 0},
        {{{1, 5}}, {{1, 3}}, 2},
        {{{1, 3}}, {{1, 5}}, -2},
        {{{1, 5}}, {}, 1},
        {{{1, 0}}, {{2, 5}}, 1},  // a null value, and no such key there
        {{{1, 0}}, {{1, 5}}, -1}, // a null value, and another one there
        {{{1, 0}}, {{1, 0}, {2, 5}, {3, 5}}, -2},
        {{{1, 0}}, {{1, 0}}, 0},
    };
    for (const Row& row : rows) {
        const auto left = TypeParam::make(row.left);
        const ZvRef<CZvMap> right = MakeHashMap::make(row.right);
        const std::int32_t order = left->compareTo(asObject(right));
        if (row.order == 1) // an object against null goes by address
            EXPECT_NE(order, 0);
        else
            EXPECT_EQ(order, row.order);
        EXPECT_EQ(left->equals(asObject(right)), row.order == 0);
    }
    const auto map = TypeParam::make({{1, 5}});
    EXPECT_TRUE(map->equals(asObject(map)));
    EXPECT_FALSE(map->equals(CZvObject()));
    EXPECT_THROW((void)map->compareTo(CZvObject()), EZvCastFailed);
}

TYPED_TEST(Map, ItsViewsLiveAndKeepIt) {
    auto map = TypeParam::make({{1, 10}, {2, 20}, {3, 10}});
    auto keys = map->createKeySet();
    auto values = map->createValues();
    auto entries = map->createEntrySet();
    EXPECT_EQ(valuesOf(*keys), std::vector({3, 2, 1}));
    EXPECT_EQ(valuesOf(*map->createConstKeySet()), std::vector({3, 2, 1}));
    EXPECT_EQ(valuesOf(*map->createConstValues()), std::vector({10, 20, 10}));
    EXPECT_TRUE(keys->contains(number(2).get()));
    EXPECT_FALSE(keys->contains(number(10).get()));
    EXPECT_TRUE(values->contains(number(20).get()));
    EXPECT_TRUE(values->remove(number(10).get()));
    EXPECT_EQ(pairsOf(*map), Pairs({{2, 20}, {1, 10}}));
    EXPECT_TRUE(keys->remove(number(1).get()));
    EXPECT_EQ(map->getSize(), 1);
    EXPECT_EQ(entries->getSize() + keys->getSize() + values->getSize(), 3);
    for (CZvCollection* view :
         std::initializer_list<CZvCollection*>{keys.get(), values.get(), entries.get()})
        EXPECT_THROW(view->add(nullptr), EZvUnsupportedOperation);
    // Sets and views are equal to themselves alone.
    const auto& object = dynamic_cast<const CZvObject&>(*keys);
    EXPECT_TRUE(keys->equals(object));
    EXPECT_FALSE(map->createKeySet()->equals(object));
    EXPECT_EQ(keys->compareTo(object), 0);
    map.reset();
    values.reset();
    entries.reset();
    EXPECT_EQ(valuesOf(*keys), std::vector({2}));
    keys->clear();
    EXPECT_EQ(Number::alive, 0);
}

TYPED_TEST(Map, EntriesOutliveTheirPlace) {
    auto map = TypeParam::make({{1, 10}, {102, 20}, {203, 30}}); // one chain
    const auto iterator = map->createEntrySet()->createIterator();
    (void)iterator->next();
    const auto entry = elementAs<CZvMapEntry>(iterator->next());
    EXPECT_EQ(valueOf(entry->setValue(number(21).get())), 20);
    EXPECT_EQ(pairsOf(*map), Pairs({{203, 30}, {102, 21}, {1, 10}}));
    iterator->remove();
    EXPECT_EQ(valueOf(elementAs<CZvMapEntry>(iterator->next())->getKey()), 1);
    EXPECT_FALSE(map->containsKey(number(102).get()));
    map->clear();
    EXPECT_EQ(Number::alive, 2);
    EXPECT_EQ(valueOf(entry->getKey()), 102);
    EXPECT_EQ(valueOf(entry->getValue()), 21);
}

TEST(AbstractMap, PutIsNotSupported) {
    const auto map = makeRef<MinimalMap>();
    EXPECT_THROW((void)map->put(nullptr, nullptr), EZvUnsupportedOperation);
    EXPECT_THROW(map->putAll(*MakeHashMap::make({{1, 1}})), EZvUnsupportedOperation);
}

// ----- the hash map

class HashMap : public CountedElements {};

// The same buckets in the plainest form.
class Model {
public:
    Model(int divisor, std::size_t capacity, double loadFactor)
        : divisor(divisor), loadFactor(loadFactor), buckets(capacity) {}

    int put(int key, int value) {
        if (auto* pair = find(key))
            return std::exchange(pair->second, value);
        if (size >= threshold())
            grow();
        bucketOf(key).insert(bucketOf(key).begin(), {key, value});
        ++size;
        return 0;
    }
    std::pair<int, int>* find(int key) {
        for (auto& pair : bucketOf(key)) {
            if (pair.first % divisor == key % divisor)
                return &pair;
        }
        return nullptr;
    }
    int remove(int key) {
        auto* pair = find(key);
        if (pair == nullptr)
            return 0;
        const int value = pair->second;
        bucketOf(key).erase(bucketOf(key).begin() + (pair - bucketOf(key).data()));
        --size;
        return value;
    }
    void clear() {
        buckets = std::vector<Pairs>(buckets.size());
        size = 0;
    }
    Pairs pairs() const {
        Pairs all;
        for (auto bucket = buckets.rbegin(); bucket != buckets.rend(); ++bucket)
            all.insert(all.end(), bucket->begin(), bucket->end());
        return all;
    }
    int threshold() const { return static_cast<int>(buckets.size() * loadFactor); }
    std::size_t capacity() const { return buckets.size(); }

    int size = 0;

private:
    Pairs& bucketOf(int key) {
        return buckets[static_cast<std::size_t>(key % divisor) % buckets.size()];
    }
    void grow() {
        std::vector<Pairs> old(2 * buckets.size() + 1);
        std::swap(old, buckets);
        for (auto bucket = old.rbegin(); bucket != old.rend(); ++bucket) {
            for (const auto& pair : *bucket)
                bucketOf(pair.first).insert(bucketOf(pair.first).begin(), pair);
        }
    }

    int divisor;
    double loadFactor;
    std::vector<Pairs> buckets;
};

TEST_F(HashMap, DoesWhatItsModelDoes) {
    std::mt19937 random(19700101);
    const auto pick = [&](int below) { return static_cast<int>(random() % below); };
    for (int round = 0; round < 12; ++round) {
        // Many keys, or many keys of equal hash and order; several table shapes.
        const int divisor = round % 3 == 0 ? 40 : 100'000;
        const int capacity = round % 2 == 0 ? 3 : 101;
        const float loadFactor = round % 4 < 2 ? 0.75F : 2.5F;
        const auto comparator = makeRef<RemainderComparator>(divisor);
        auto map = makeRef<CZvHashMap>(comparator.get(), nullptr, capacity, loadFactor);
        Model model(divisor, static_cast<std::size_t>(capacity), loadFactor);
        const int keys = 30 << (round % 5);
        for (int step = 0; step < 1500; ++step) {
            const int key = pick(keys);
            const auto object = element(key);
            const int value = 1 + pick(50);
            switch (pick(8)) {
            case 0:
            case 1:
            case 2:
            case 3:
                ASSERT_EQ(valueOf(map->put(object.get(), number(value).get())),
                          model.put(key, value));
                break;
            case 4:
                ASSERT_EQ(valueOf(map->remove(object.get())), model.remove(key));
                break;
            case 5: {
                const auto* found = model.find(key);
                ASSERT_EQ(map->containsKey(object.get()), found != nullptr);
                ASSERT_EQ(valueOf(map->get(object.get())), found != nullptr ? found->second : 0);
                break;
            }
            case 6: {
                if (pick(5) != 0)
                    break;
                // Takes some out on a walk, looking ahead before each removal.
                const auto iterator = map->createKeySet()->createIterator();
                while (iterator->hasNext()) {
                    const auto seen = iterator->next();
                    (void)iterator->hasNext();
                    if (pick(4) == 0) {
                        iterator->remove();
                        ASSERT_NE(model.remove(valueOf(seen)), 0);
                    }
                }
                break;
            }
            default:
                if (pick(200) == 0) {
                    map->clear();
                    model.clear();
                }
                break;
            }
            ASSERT_EQ(map->getSize(), model.size);
            ASSERT_EQ(map->getCapacity(), static_cast<std::int32_t>(model.capacity()));
            ASSERT_EQ(map->getThreshold(), model.threshold());
            if (step % 10 == 0) {
                ASSERT_EQ(pairsOf(*map), model.pairs()) << "round " << round << " step " << step;
            }
        }
    }
}

TEST_F(HashMap, MadeByNameItGrowsAtThe76thKey) {
    const auto object = ZvRef<CZvObject>::share(CZvClass::forName(u"CZvHashMap")->newInstance());
    auto& map = dynamic_cast<CZvHashMap&>(*object);
    for (int key = 1; key <= 75; ++key)
        (void)map.put(number(key).get(), number(key).get());
    EXPECT_EQ(map.getCapacity(), 101);
    EXPECT_EQ(map.getThreshold(), 75);
    (void)map.put(number(75).get(), nullptr); // no new key
    EXPECT_EQ(map.getCapacity(), 101);
    (void)map.put(number(76).get(), number(76).get());
    EXPECT_EQ(map.getCapacity(), 203);
    EXPECT_EQ(map.getThreshold(), 152);
    for (int key = 1; key <= 76; ++key)
        EXPECT_TRUE(map.containsKey(number(key).get())) << key;
}

TEST_F(HashMap, RefusesATableThatCannotWork) {
    struct Row {
        std::int32_t capacity;
        float loadFactor;
    };
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    for (const Row& row : {Row{0, 0.75F},
                           {-1, 0.75F},
                           {INT32_MIN, -1.0F},
                           {101, 0.0F},
                           {101, nan},
                           {101, -0.5F},
                           {1, 0.75F},
                           {101, 0.0099F}})
        EXPECT_THROW((void)makeRef<CZvHashMap>(row.capacity, row.loadFactor), EZvRangeError);
    EXPECT_EQ(makeRef<CZvHashMap>(1, 1.0F)->getThreshold(), 1);
    EXPECT_EQ(makeRef<CZvHashMap>(101, 1e30F)->getThreshold(), INT32_MAX);
}

TEST_F(HashMap, IteratorsNoticeStructuralChangesAlone) {
    struct Row {
        std::function<void(CZvMap&)> change;
        bool noticed;
    };
    const Row rows[] = {
        {[](CZvMap& map) { (void)map.put(number(1).get(), nullptr); }, false},
        {[](CZvMap& map) { (void)map.remove(number(9).get()); }, false},
        {[](CZvMap& map) { (void)map.put(number(9).get(), nullptr); }, true},
        {[](CZvMap& map) { (void)map.remove(number(1).get()); }, true},
        {[](CZvMap& map) { map.clear(); }, true},
        {[](CZvMap& map) { map.createValues()->clear(); }, true},
    };
    for (const Row& row : rows) {
        const auto map = MakeHashMap::make({{1, 10}, {2, 20}});
        const auto iterator = map->createKeySet()->createIterator();
        EXPECT_THROW(iterator->remove(), EZvIllegalState);
        (void)iterator->next();
        (void)iterator->hasNext();
        row.change(*map);
        EXPECT_EQ(noticesChange([&] { (void)iterator->next(); }), row.noticed);
        EXPECT_EQ(noticesChange([&] { iterator->remove(); }), row.noticed);
        if (!row.noticed) {
            EXPECT_THROW(iterator->remove(), EZvIllegalState);
            EXPECT_TRUE(noticesChange([&] { (void)iterator->next(); })); // the end
        }
        EXPECT_NO_THROW((void)iterator->hasNext());
    }
}

TEST_F(HashMap, ItsIteratorGivesKeysValuesOrEntries) {
    const auto map = makeRef<CZvHashMap>();
    putAll(*map, {{1, 10}});
    using Kind = CZvHashMapIterator::Kind;
    EXPECT_EQ(valueOf(makeRef<CZvHashMapIterator>(*map, Kind::keys)->next()), 1);
    EXPECT_EQ(valueOf(makeRef<CZvHashMapIterator>(*map, Kind::values)->next()), 10);
    const auto entry = makeRef<CZvHashMapIterator>(*map, Kind::entries)->next();
    EXPECT_EQ(valueOf(elementAs<CZvMapEntry>(entry)->getValue()), 10);
}

TEST_F(HashMap, TheEntrySetContainsPairs) {
    const auto map = MakeHashMap::make({{1, 10}, {2, 20}});
    const auto entries = map->createEntrySet();
    struct Row {
        int key, value;
        bool there;
    };
    for (const Row& row : {Row{1, 10, true}, {1, 20, false}, {3, 10, false}, {2, 20, true}}) {
        const auto pair = makeRef<CZvHashMapEntry>(element(row.key).get(), element(row.value).get(),
                                                   12345u, nullptr);
        EXPECT_EQ(entries->contains(asUnknown(pair)), row.there) << row.key;
        EXPECT_FALSE(entries->remove(asUnknown(pair))); // another object
    }
    EXPECT_THROW((void)entries->contains(number(1).get()), EZvCastFailed);
    EXPECT_THROW((void)entries->contains(nullptr), EZvCastFailed);
    EXPECT_TRUE(entries->remove(entries->createIterator()->next().get()));
    EXPECT_EQ(map->getSize(), 1);
    EXPECT_TRUE(entries->containsAll(*map->createEntrySet()));
}

TEST_F(HashMap, IsAsItWasWhenSomethingFails) {
    const auto map = makeRef<CZvHashMap>(2, 1.0F);
    putAll(*map, {{1, 10}, {2, 20}});
    const auto before = pairsOf(*map);
    const std::int32_t changes = map->getModCount();
    const auto bad = number(-1);
    const std::function<void()> calls[] = {
        [&] { (void)map->put(bad.get(), nullptr); },
        [&] { (void)map->get(bad.get()); },
        [&] { (void)map->remove(bad.get()); },
        [&] { (void)map->containsValue(bad.get()); },
    };
    for (const auto& call : calls)
        EXPECT_EQ(codeThrownBy(call), Number::kRefusal);

    static int admitted;
    const auto three = number(3);
    for (admitted = 0; map->getSize() == 2; ++admitted) { // the entry, then the larger table
        static int left;
        left = admitted;
        core::setHeapGate([] { return left-- > 0; });
        bool thrown = false;
        try {
            (void)map->put(three.get(), three.get());
        } catch (std::bad_alloc&) {
            thrown = true;
        }
        core::setHeapGate(nullptr);
        ASSERT_EQ(thrown, map->getSize() == 2);
        if (thrown) {
            EXPECT_EQ(pairsOf(*map), before);
            EXPECT_EQ(map->getModCount(), changes);
            EXPECT_EQ(map->getCapacity(), 2);
        }
    }
    EXPECT_EQ(admitted, 3);
    EXPECT_EQ(map->getCapacity(), 5);
}

TEST_F(HashMap, TakesAllPairsOfAnotherMapOrOfItself) {
    const auto map = MakeHashMap::make({{1, 10}, {2, 20}});
    map->putAll(*MakeMinimalMap::make({{2, 21}, {0, 30}}));
    EXPECT_EQ(pairsOf(*map), Pairs({{2, 21}, {1, 10}, {0, 30}}));
    map->putAll(*map);
    EXPECT_EQ(map->getSize(), 3);
    EXPECT_TRUE(map->createKeySet()->retainAll(*map->createValues()));
    EXPECT_EQ(map->getSize(), 0);
}

// Entries that ended each other would need a stack as deep as this chain.
TEST_F(HashMap, ALongChainEndsOneByOne) {
    const auto comparator = makeRef<RemainderComparator>(1'000'000);
    for (const bool byClearing : {false, true}) {
        const auto map = makeRef<CZvHashMap>(comparator.get(), nullptr, 1, 1e9F);
        for (int key = 1; key <= 12'000; ++key)
            (void)map->put(number(key).get(), nullptr);
        EXPECT_EQ(map->getCapacity(), 1);
        if (byClearing)
            map->clear();
    }
}

} // namespace
} // namespace ZVCL
