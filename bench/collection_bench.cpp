// Collections beside the standard library's, over counted objects on both sides. The peers hold
// std::shared_ptr, and the peer map asks a virtual comparator which asks the key, as ours does.
//
// A host has threads, and with a second thread std::shared_ptr counts atomically, as our objects
// always do; so one is started (and sleeps) before anything is measured. Walks and look-ups hand
// out a reference of the caller's own on both sides; "Borrowed" peers do without.
#include "core/lifecycle.h"
#include "util/array_list.h"
#include "util/element.h"
#include "util/hash_map.h"
#include "util/linked_list.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

using namespace ZVCL;

constexpr int kKeys = 100'000;

class Key final : public CZvObject {
public:
    explicit Key(std::uint32_t value) : value(value) {}
    std::int32_t compareTo(const CZvObject& other) const override {
        const auto* key = dynamic_cast<const Key*>(&other);
        if (key == nullptr)
            throw EZvCastFailed();
        return value < key->value ? -1 : value > key->value;
    }
    std::uint32_t hashCode() const override { return value; }

private:
    std::uint32_t value;
};

// The peer's object: order and hash by virtual calls, the other's class checked in the same way.
class PeerObject {
public:
    virtual ~PeerObject() = default;
    virtual std::int32_t compareTo(const PeerObject& other) const = 0;
    virtual std::uint32_t hashCode() const = 0;
};

class PeerKey final : public PeerObject {
public:
    explicit PeerKey(std::uint32_t value) : value(value) {}
    std::int32_t compareTo(const PeerObject& other) const override {
        const auto* key = dynamic_cast<const PeerKey*>(&other);
        if (key == nullptr)
            throw EZvCastFailed();
        return value < key->value ? -1 : value > key->value;
    }
    std::uint32_t hashCode() const override { return value; }

private:
    std::uint32_t value;
};

class PeerComparator {
public:
    virtual ~PeerComparator() = default;
    virtual std::int32_t compare(const PeerObject* left, const PeerObject* right) const {
        return left->compareTo(*right);
    }
    virtual std::uint32_t hash(const PeerObject* object) const { return object->hashCode(); }
};

using PeerRef = std::shared_ptr<PeerObject>;

struct PeerHash {
    std::size_t operator()(const PeerRef& key) const { return comparator->hash(key.get()); }
    std::shared_ptr<PeerComparator> comparator;
};
struct PeerEqual {
    bool operator()(const PeerRef& left, const PeerRef& right) const {
        return comparator->compare(left.get(), right.get()) == 0;
    }
    std::shared_ptr<PeerComparator> comparator;
};
using PeerMap = std::unordered_map<PeerRef, PeerRef, PeerHash, PeerEqual>;

std::vector<std::uint32_t> numbers() {
    std::vector<std::uint32_t> all(kKeys);
    std::mt19937 random(7);
    for (auto& each : all)
        each = static_cast<std::uint32_t>(random());
    return all;
}

// Made in one order and asked for in another, like the peer's.
std::vector<ZvRef<IZvUnknown>> ourObjects() {
    std::vector<ZvRef<IZvUnknown>> objects;
    for (const std::uint32_t value : numbers())
        objects.push_back(ZvRef<IZvUnknown>::share(asUnknown(new Key(value))));
    return objects;
}
std::vector<PeerRef> peerObjects() {
    std::vector<PeerRef> objects;
    for (const std::uint32_t value : numbers())
        objects.push_back(std::make_shared<PeerKey>(value));
    return objects;
}
template <typename Objects>
Objects shuffled(Objects objects) {
    std::shuffle(objects.begin(), objects.end(), std::mt19937(11));
    return objects;
}

template <typename Fill>
void fill(ZvRef<CZvHashMap>& map, const Fill& objects) {
    map = makeRef<CZvHashMap>();
    for (const auto& object : objects)
        (void)map->put(object.get(), object.get());
}

std::unique_ptr<PeerMap> makePeerMap(const std::vector<PeerRef>& objects) {
    const auto comparator = std::make_shared<PeerComparator>();
    auto map = std::make_unique<PeerMap>(101, PeerHash{comparator}, PeerEqual{comparator});
    map->max_load_factor(0.75F);
    for (const PeerRef& object : objects)
        map->insert_or_assign(object, object);
    return map;
}

void perElement(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kKeys);
}

// ----- hash map

void hashMapInsert(benchmark::State& state) {
    const auto objects = ourObjects();
    for (auto unused : state) {
        ZvRef<CZvHashMap> map;
        fill(map, objects);
        benchmark::DoNotOptimize(map->getSize());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    perElement(state);
}

void unorderedMapInsert(benchmark::State& state) {
    const auto objects = peerObjects();
    for (auto unused : state) {
        auto map = makePeerMap(objects);
        benchmark::DoNotOptimize(map->size());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    perElement(state);
}

void hashMapFind(benchmark::State& state) {
    const auto objects = ourObjects();
    ZvRef<CZvHashMap> map;
    fill(map, objects);
    const auto asked = shuffled(objects);
    for (auto unused : state) {
        for (const auto& key : asked)
            benchmark::DoNotOptimize(map->get(key.get()).get());
    }
    perElement(state);
}

void unorderedMapFind(benchmark::State& state) {
    const auto objects = peerObjects();
    const auto map = makePeerMap(objects);
    const auto asked = shuffled(objects);
    for (auto unused : state) {
        for (const auto& key : asked) {
            const PeerRef value = map->find(key)->second;
            benchmark::DoNotOptimize(value.get());
        }
    }
    perElement(state);
}

void hashMapIterate(benchmark::State& state) {
    ZvRef<CZvHashMap> map;
    fill(map, ourObjects());
    for (auto unused : state) {
        const auto entries = map->createConstEntrySet()->createConstIterator();
        while (entries->hasNext())
            benchmark::DoNotOptimize(entries->next().get());
    }
    perElement(state);
}

void hashMapIterateKeys(benchmark::State& state) {
    ZvRef<CZvHashMap> map;
    fill(map, ourObjects());
    for (auto unused : state) {
        const auto keys = map->createConstKeySet()->createConstIterator();
        while (keys->hasNext())
            benchmark::DoNotOptimize(keys->next().get());
    }
    perElement(state);
}

void unorderedMapIterate(benchmark::State& state) {
    const auto map = makePeerMap(peerObjects());
    for (auto unused : state) {
        for (const auto& entry : *map) {
            const PeerRef key = entry.first;
            benchmark::DoNotOptimize(key.get());
        }
    }
    perElement(state);
}

void unorderedMapIterateBorrowed(benchmark::State& state) {
    const auto map = makePeerMap(peerObjects());
    for (auto unused : state) {
        for (const auto& entry : *map)
            benchmark::DoNotOptimize(entry.first.get());
    }
    perElement(state);
}

// ----- lists

template <typename List>
void listAppend(benchmark::State& state) {
    const auto objects = ourObjects();
    for (auto unused : state) {
        const ZvRef<CZvList> list = makeRef<List>();
        for (const auto& object : objects)
            list->add(object.get());
        benchmark::DoNotOptimize(list->getSize());
    }
    perElement(state);
}

template <typename List>
void peerAppend(benchmark::State& state) {
    const auto objects = peerObjects();
    for (auto unused : state) {
        List list;
        for (const auto& object : objects)
            list.push_back(object);
        benchmark::DoNotOptimize(list.size());
    }
    perElement(state);
}

template <typename List>
ZvRef<CZvList> filledList() {
    const ZvRef<CZvList> list = makeRef<List>();
    for (const auto& object : ourObjects())
        list->add(object.get());
    return list;
}

void arrayListGet(benchmark::State& state) {
    const auto list = filledList<CZvArrayList>();
    for (auto unused : state) {
        for (int i = 0; i < kKeys; ++i)
            benchmark::DoNotOptimize(list->get(i).get());
    }
    perElement(state);
}

void vectorGet(benchmark::State& state) {
    const auto objects = peerObjects();
    for (auto unused : state) {
        for (int i = 0; i < kKeys; ++i) {
            const PeerRef object = objects.at(static_cast<std::size_t>(i));
            benchmark::DoNotOptimize(object.get());
        }
    }
    perElement(state);
}

template <typename List>
void listIterate(benchmark::State& state) {
    const auto list = filledList<List>();
    for (auto unused : state) {
        const auto iterator = list->createConstIterator();
        while (iterator->hasNext())
            benchmark::DoNotOptimize(iterator->next().get());
    }
    perElement(state);
}

template <typename List, bool borrowed>
void peerIterate(benchmark::State& state) {
    const auto objects = peerObjects();
    const List list(objects.begin(), objects.end());
    for (auto unused : state) {
        for (const PeerRef& each : list) {
            if constexpr (borrowed) {
                benchmark::DoNotOptimize(each.get());
            } else {
                const PeerRef object = each;
                benchmark::DoNotOptimize(object.get());
            }
        }
    }
    perElement(state);
}

using Vector = std::vector<PeerRef>;
using StdList = std::list<PeerRef>;

BENCHMARK(hashMapInsert);
BENCHMARK(unorderedMapInsert);
BENCHMARK(hashMapFind);
BENCHMARK(unorderedMapFind);
BENCHMARK(hashMapIterate);
BENCHMARK(hashMapIterateKeys);
BENCHMARK(unorderedMapIterate);
BENCHMARK(unorderedMapIterateBorrowed);
BENCHMARK(listAppend<CZvArrayList>);
BENCHMARK(peerAppend<Vector>);
BENCHMARK(arrayListGet);
BENCHMARK(vectorGet);
BENCHMARK(listIterate<CZvArrayList>);
BENCHMARK(peerIterate<Vector, false>);
BENCHMARK(peerIterate<Vector, true>);
BENCHMARK(listAppend<CZvLinkedList>);
BENCHMARK(peerAppend<StdList>);
BENCHMARK(listIterate<CZvLinkedList>);
BENCHMARK(peerIterate<StdList, false>);

} // namespace

int main(int argc, char** argv) {
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    benchmark::Initialize(&argc, argv);
    std::mutex lock;
    std::condition_variable changed;
    bool ended = false;
    std::thread sleeper([&] {
        std::unique_lock hold(lock);
        changed.wait(hold, [&] { return ended; });
    });
    benchmark::RunSpecifiedBenchmarks();
    {
        const std::lock_guard hold(lock);
        ended = true;
    }
    changed.notify_one();
    sleeper.join();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
