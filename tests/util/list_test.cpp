// One suite for everything that is a CZvList, and what the two concrete lists have of their own.
#include "core/heap.h"
#include "lang/class.h"
#include "util/array_list.h"
#include "util/elements.h"
#include "util/linked_list.h"

#include <algorithm>
#include <functional>
#include <random>

namespace ZVCL {
namespace {

namespace core = zv::core;
using Values = std::vector<int>;

// What a list needs at least.
class MinimalList final : public CZvAbstractList {
public:
    using CZvAbstractList::add;
    bool add(std::int32_t index, IZvUnknown* element) override {
        checkPosition(index, getSize());
        elements.insert(elements.begin() + index, ZvRef<IZvUnknown>::share(element));
        countChange();
        return true;
    }
    ZvRef<IZvUnknown> removeAt(std::int32_t index) override {
        checkElement(index, getSize());
        ZvRef<IZvUnknown> removed = elements[static_cast<std::size_t>(index)];
        elements.erase(elements.begin() + index);
        countChange();
        return removed;
    }
    ZvRef<IZvUnknown> get(std::int32_t index) const override {
        checkElement(index, getSize());
        return elements[static_cast<std::size_t>(index)];
    }
    ZvRef<IZvUnknown> set(std::int32_t index, IZvUnknown* element) override {
        checkElement(index, getSize());
        countChange();
        return std::exchange(elements[static_cast<std::size_t>(index)],
                             ZvRef<IZvUnknown>::share(element));
    }
    std::int32_t getSize() const override { return static_cast<std::int32_t>(elements.size()); }

private:
    std::vector<ZvRef<IZvUnknown>> elements;
};

void append(CZvList& list, const Values& values) {
    for (const int value : values)
        list.add(number(value).get());
}

// Makers of a list with those values. appendIsCounted: whether appending ends iterators.
template <typename List, bool counted = false>
struct Whole {
    static constexpr bool appendIsCounted = counted;
    static ZvRef<CZvList> make(const Values& values) {
        ZvRef<CZvList> list = makeRef<List>();
        append(*list, values);
        return list;
    }
};

template <typename Inner>
struct ViewOf {
    static constexpr bool appendIsCounted = true;
    static ZvRef<CZvList> make(Values values) {
        const auto size = static_cast<std::int32_t>(values.size());
        values.insert(values.begin(), {901, 902});
        values.push_back(903);
        return Inner::make(values)->subList(2, 2 + size);
    }
};

template <typename Maker>
class List : public CountedElements {};

using ListMakers =
    testing::Types<Whole<CZvArrayList>, Whole<CZvLinkedList>, Whole<MinimalList, true>,
                   ViewOf<Whole<CZvArrayList>>, ViewOf<Whole<CZvLinkedList>>,
                   ViewOf<ViewOf<Whole<CZvLinkedList>>>>;
TYPED_TEST_SUITE(List, ListMakers);

TYPED_TEST(List, RefusesAnIndexOutsideItsRangeAndDoesNotChange) {
    const auto list = TypeParam::make({1, 2, 3});
    const auto other = TypeParam::make({});
    const auto seven = number(7);
    const std::function<void(std::int32_t)> elementCalls[] = {
        [&](std::int32_t index) { (void)list->get(index); },
        [&](std::int32_t index) { (void)list->set(index, seven.get()); },
        [&](std::int32_t index) { (void)list->removeAt(index); },
    };
    const std::function<void(std::int32_t)> positionCalls[] = {
        [&](std::int32_t index) { list->add(index, seven.get()); },
        [&](std::int32_t index) { list->addAll(index, *other); },
        [&](std::int32_t index) { (void)list->createListIterator(index); },
        [&](std::int32_t index) { (void)list->createConstListIterator(index); },
        [&](std::int32_t index) { (void)list->subList(0, index); },
        [&](std::int32_t index) { (void)list->constSubList(index, 3); },
    };
    for (const std::int32_t index : {INT32_MIN, -1, 4, INT32_MAX}) {
        for (const auto& call : elementCalls)
            EXPECT_THROW(call(index), EZvRangeError) << index;
        for (const auto& call : positionCalls)
            EXPECT_THROW(call(index), EZvRangeError) << index;
    }
    for (const auto& call : elementCalls)
        EXPECT_THROW(call(3), EZvRangeError);
    EXPECT_THROW((void)list->subList(2, 1), EZvRangeError);
    EXPECT_EQ(valuesOf(*list), Values({1, 2, 3}));
    EXPECT_EQ(list->subList(1, 1)->getSize(), 0);
}

TYPED_TEST(List, IteratorsWalkBothWaysAndStopAtTheEnds) {
    const auto list = TypeParam::make({1, 2});
    const auto iterator = list->createListIterator(1);
    EXPECT_EQ(valueOf(iterator->next()), 2);
    EXPECT_FALSE(iterator->hasNext());
    EXPECT_THROW((void)iterator->next(), EZvRangeError);
    EXPECT_EQ(iterator->nextIndex(), 2);
    EXPECT_EQ(valueOf(iterator->previous()), 2);
    EXPECT_EQ(valueOf(iterator->previous()), 1);
    EXPECT_FALSE(iterator->hasPrevious());
    EXPECT_THROW((void)iterator->previous(), EZvRangeError);
    EXPECT_EQ(iterator->previousIndex(), -1);
    EXPECT_EQ(valueOf(iterator->next()), 1);
}

TYPED_TEST(List, IteratorsChangeTheElementLastReturned) {
    const auto list = TypeParam::make({1, 2, 3, 4});
    const auto iterator = list->createListIterator(0);
    EXPECT_THROW(iterator->remove(), EZvIllegalState);
    EXPECT_THROW(iterator->set(nullptr), EZvIllegalState);
    (void)iterator->next();
    iterator->set(number(10).get());
    iterator->set(number(11).get());
    iterator->remove();
    EXPECT_THROW(iterator->remove(), EZvIllegalState);
    EXPECT_EQ(valueOf(iterator->next()), 2);
    iterator->add(number(20).get());
    EXPECT_THROW(iterator->set(nullptr), EZvIllegalState);
    EXPECT_EQ(valueOf(iterator->previous()), 20);
    EXPECT_EQ(valueOf(iterator->previous()), 2);
    iterator->remove(); // what previous() returned
    EXPECT_EQ(valueOf(iterator->next()), 20);
    EXPECT_EQ(valueOf(iterator->next()), 3);
    EXPECT_EQ(valuesOf(*list), Values({20, 3, 4}));
    EXPECT_EQ(valueOf(iterator->next()), 4);
}

TYPED_TEST(List, IteratorsNoticeChangesBehindTheirBack) {
    using Change = std::function<void(CZvList&)>;
    const Change changes[] = {
        [](CZvList& list) { list.add(0, nullptr); },
        [](CZvList& list) { (void)list.removeAt(2); },
        [](CZvList& list) { (void)list.set(0, nullptr); },
        [](CZvList& list) { list.clear(); },
        [](CZvList& list) { list.createListIterator(1)->add(nullptr); },
        [](CZvList& list) { list.subList(0, 1)->clear(); },
    };
    for (const Change& change : changes) {
        const auto list = TypeParam::make({1, 2, 3});
        const auto iterator = list->createListIterator(0);
        (void)iterator->next();
        change(*list);
        EXPECT_NO_THROW((void)iterator->hasNext());
        EXPECT_TRUE(iterator->hasPrevious());
        EXPECT_TRUE(noticesChange([&] { (void)iterator->next(); }));
        EXPECT_TRUE(noticesChange([&] { (void)iterator->previous(); }));
        EXPECT_TRUE(noticesChange([&] { iterator->remove(); }));
        EXPECT_TRUE(noticesChange([&] { iterator->set(nullptr); }));
        EXPECT_TRUE(noticesChange([&] { iterator->add(nullptr); }));
    }
}

TYPED_TEST(List, AppendingIsNoChangeForIteratorsOfTheConcreteLists) {
    const auto list = TypeParam::make({1});
    const auto atEnd = list->createListIterator(1);
    const auto atStart = list->createIterator();
    EXPECT_TRUE(list->add(number(2).get()));
    if (TypeParam::appendIsCounted) {
        EXPECT_TRUE(noticesChange([&] { (void)atStart->next(); }));
        return;
    }
    EXPECT_EQ(valueOf(atStart->next()), 1);
    EXPECT_EQ(valueOf(atStart->next()), 2);
    EXPECT_TRUE(atEnd->hasNext());
    EXPECT_EQ(valueOf(atEnd->next()), 2);
    atEnd->remove();
    EXPECT_EQ(valuesOf(*list), Values({1}));
}

TYPED_TEST(List, ComparesByItsElements) {
    struct Row {
        Values left, right;
        int sign;
    };
    const Row rows[] = {
        {{}, {}, 0},       {{1}, {1}, 0},       {{1}, {1, 2}, -1},         {{1, 2}, {1}, 1},
        {{1, 3}, {2}, -1}, {{2, 1}, {1, 9}, 1}, {{1, 2, 3}, {1, 2, 3}, 0}, {{}, {5}, -1},
    };
    for (const Row& row : rows) {
        const auto left = TypeParam::make(row.left);
        const ZvRef<CZvList> right = Whole<CZvArrayList>::make(row.right);
        const std::int32_t order = left->compareTo(asObject(right));
        EXPECT_EQ((order > 0) - (order < 0), row.sign);
        EXPECT_EQ(left->equals(asObject(right)), row.sign == 0);
        EXPECT_TRUE(left->equals(asObject(left)));
        EXPECT_EQ(left->hashCode() == right->hashCode(), row.sign == 0);
    }
    EXPECT_EQ(TypeParam::make({})->hashCode(), 1u);
    EXPECT_EQ(TypeParam::make({4, 5})->hashCode(), (38u + 4) * 38 + 5);
    EXPECT_THROW((void)TypeParam::make({})->compareTo(CZvObject()), EZvCastFailed);
    EXPECT_FALSE(TypeParam::make({})->equals(CZvObject()));
}

TYPED_TEST(List, AFailingComparatorsCodeIsThrown) {
    const auto list = TypeParam::make({-1, 2});
    const auto two = number(2);
    const auto other = TypeParam::make({3, 2});
    EXPECT_EQ(codeThrownBy([&] { (void)list->contains(two.get()); }), Number::kRefusal);
    EXPECT_EQ(codeThrownBy([&] { list->remove(two.get()); }), Number::kRefusal);
    EXPECT_EQ(codeThrownBy([&] { (void)list->hashCode(); }), Number::kRefusal);
    EXPECT_EQ(codeThrownBy([&] { (void)list->equals(asObject(other)); }), Number::kRefusal);
    EXPECT_EQ(list->lastIndexOf(two.get()), 1);
    EXPECT_EQ(valuesOf(*list), Values({-1, 2}));
}

TYPED_TEST(List, MayBeItsOwnArgument) {
    const auto list = TypeParam::make({1, 2, 1});
    EXPECT_TRUE(list->containsAll(*list));
    EXPECT_FALSE(list->retainAll(*list));
    EXPECT_TRUE(list->addAll(*list));
    EXPECT_EQ(valuesOf(*list), Values({1, 2, 1, 1, 2, 1}));
    EXPECT_TRUE(list->addAll(2, *list->subList(1, 3)));
    EXPECT_EQ(valuesOf(*list), Values({1, 2, 2, 1, 1, 1, 2, 1}));
    EXPECT_TRUE(list->addAll(1, *list));
    EXPECT_EQ(list->getSize(), 16);
    EXPECT_TRUE(list->removeAll(*list->subList(0, 2))); // a 1 and a 1
    EXPECT_EQ(list->getSize(), 14);
    EXPECT_TRUE(list->removeAll(*list));
    EXPECT_EQ(list->getSize(), 0);
    EXPECT_FALSE(list->removeAll(*list));
}

// Every operation in random order beside a vector of numbers; 0 stands for null.
TYPED_TEST(List, DoesWhatAVectorDoes) {
    std::mt19937 random(20240607);
    const auto pick = [&](std::size_t below) { return static_cast<int>(random() % below); };
    const auto element = [](int value) { return value != 0 ? number(value) : nullptr; };
    for (int round = 0; round < 20; ++round) {
        Values model;
        auto list = TypeParam::make(model);
        for (int step = 0; step < 300; ++step) {
            const int value = pick(8);
            const auto object = element(value);
            const int place = pick(model.size() + 1);
            const bool inside = static_cast<std::size_t>(place) < model.size();
            const auto found = std::find(model.begin(), model.end(), value);
            switch (pick(12)) {
            case 0:
                EXPECT_TRUE(list->add(object.get()));
                model.push_back(value);
                break;
            case 1:
            case 2:
                EXPECT_TRUE(list->add(place, object.get()));
                model.insert(model.begin() + place, value);
                break;
            case 3:
                if (!inside)
                    break;
                EXPECT_EQ(valueOf(list->removeAt(place)), model[place]);
                model.erase(model.begin() + place);
                break;
            case 4:
                if (!inside)
                    break;
                EXPECT_EQ(valueOf(list->set(place, object.get())), model[place]);
                model[place] = value;
                break;
            case 5:
                EXPECT_EQ(list->remove(object.get()), found != model.end());
                if (found != model.end())
                    model.erase(found);
                break;
            case 6: {
                const bool there = found != model.end();
                EXPECT_EQ(list->contains(object.get()), there);
                EXPECT_EQ(list->indexOf(object.get()), there ? found - model.begin() : -1);
                const auto last = std::find(model.rbegin(), model.rend(), value);
                EXPECT_EQ(list->lastIndexOf(object.get()), model.rend() - last - 1);
                break;
            }
            case 7: {
                const Values added = {value, pick(8), pick(8)};
                const auto some = Whole<CZvLinkedList>::make({});
                for (const int each : added)
                    some->add(element(each).get());
                EXPECT_TRUE(list->addAll(place, *some));
                model.insert(model.begin() + place, added.begin(), added.end());
                break;
            }
            case 8: {
                const auto some = Whole<CZvArrayList>::make({});
                bool removed = false;
                for (const int each : {value, value, pick(8)}) {
                    some->add(element(each).get());
                    const auto where = std::find(model.begin(), model.end(), each);
                    removed |= where != model.end();
                    if (where != model.end())
                        model.erase(where);
                }
                EXPECT_EQ(list->removeAll(*some), removed);
                break;
            }
            case 9: {
                if (pick(6) != 0)
                    break;
                const auto kept = Whole<CZvArrayList>::make({1, 2, 3, 4});
                kept->add(nullptr);
                const auto dropped = std::erase_if(model, [](int each) { return each > 4; });
                EXPECT_EQ(list->retainAll(*kept), dropped != 0);
                break;
            }
            case 10: { // a view's changes are the list's
                const auto view = list->subList(place / 2, place);
                EXPECT_TRUE(view->add(object.get()));
                model.insert(model.begin() + place, value);
                EXPECT_EQ(valueOf(view->removeAt(0)), model[place / 2]);
                model.erase(model.begin() + place / 2);
                break;
            }
            default: { // a walk with changes on its way
                const auto iterator = list->createListIterator(place);
                int cursor = place;
                for (int moves = pick(12); moves > 0; --moves) {
                    const bool forward = pick(2) != 0;
                    if (forward ? !iterator->hasNext() : !iterator->hasPrevious())
                        continue;
                    const int at = forward ? cursor : cursor - 1;
                    const auto seen = forward ? iterator->next() : iterator->previous();
                    cursor = forward ? cursor + 1 : cursor - 1;
                    ASSERT_EQ(valueOf(seen), model[at]);
                    switch (pick(5)) {
                    case 0:
                        iterator->remove();
                        model.erase(model.begin() + at);
                        cursor = at;
                        break;
                    case 1:
                        iterator->add(object.get());
                        model.insert(model.begin() + cursor++, value);
                        break;
                    case 2:
                        iterator->set(object.get());
                        model[at] = value;
                        break;
                    default:
                        break;
                    }
                    ASSERT_EQ(iterator->nextIndex(), cursor);
                }
                break;
            }
            }
            ASSERT_EQ(valuesOf(*list), model) << "round " << round << " step " << step;
            ASSERT_EQ(list->getSize(), static_cast<std::int32_t>(model.size()));
        }
        if (round % 2 == 0) {
            list->clear();
            EXPECT_EQ(list->getSize(), 0);
        }
    }
}

TYPED_TEST(List, IsKeptByItsViewsAndIterators) {
    auto list = TypeParam::make({1, 2, 3});
    auto view = list->subList(1, 3);
    auto iterator = view->createListIterator(1);
    list.reset();
    view.reset();
    EXPECT_EQ(valueOf(iterator->next()), 3);
    iterator->remove();
    const auto kept = iterator->previous();
    EXPECT_EQ(Number::alive > 1, true);
    iterator.reset();
    EXPECT_EQ(Number::alive, 1);
    EXPECT_EQ(valueOf(kept), 2);
}

TYPED_TEST(List, AViewEndsWhenItsListIsChangedPastIt) {
    const auto list = TypeParam::make({1, 2, 3, 4});
    const auto view = list->subList(1, 4);
    const auto inner = view->subList(1, 2);
    inner->add(number(5).get());
    EXPECT_EQ(valuesOf(*inner), Values({3, 5}));
    EXPECT_EQ(valuesOf(*view), Values({2, 3, 5, 4}));
    EXPECT_EQ(valuesOf(*list), Values({1, 2, 3, 5, 4}));
    const auto iterator = inner->createIterator();
    (void)list->set(0, nullptr);
    const std::function<void()> calls[] = {
        [&] { (void)inner->getSize(); },   [&] { (void)inner->get(0); },
        [&] { (void)inner->removeAt(0); }, [&] { (void)inner->set(0, nullptr); },
        [&] { inner->add(nullptr); },      [&] { inner->add(0, nullptr); },
        [&] { inner->clear(); },           [&] { (void)inner->createIterator(); },
        [&] { inner->addAll(0, *list); },  [&] { (void)view->subList(0, 0); },
        [&] { (void)iterator->next(); },
    };
    for (const auto& call : calls)
        EXPECT_TRUE(noticesChange(call));
    EXPECT_TRUE(iterator->hasNext());
    EXPECT_EQ(valuesOf(*list), Values({0, 2, 3, 5, 4}));
}

// ----- what the two lists have of their own

// A walk that sought every element from the beginning would not come to an end here.
TEST(LinkedList, AWalkCostsAStepForEachElement) {
    constexpr std::int32_t count = 300'000;
    const ZvRef<CZvList> list = makeRef<CZvLinkedList>();
    for (std::int32_t i = 0; i < count; ++i)
        list->add(nullptr);
    for (const bool view : {false, true}) {
        const auto walked = view ? list->subList(1, count)->subList(0, count - 1) : list;
        const auto iterator = walked->createListIterator(0);
        while (iterator->hasNext()) {
            (void)iterator->next();
            iterator->set(nullptr);
        }
        EXPECT_EQ(iterator->nextIndex(), walked->getSize());
        while (iterator->hasPrevious())
            (void)iterator->previous();
    }
    EXPECT_FALSE(list->retainAll(*list->subList(0, 1)));
}

TEST(LinkedList, UsesItsOwnComparator) {
    const auto remainders = makeRef<RemainderComparator>(10);
    const auto list = makeRef<CZvLinkedList>(remainders.get());
    append(*list, {11, 22, 31});
    EXPECT_EQ(list->indexOf(number(92).get()), 1);
    EXPECT_EQ(list->subList(1, 3)->lastIndexOf(number(1).get()), 1);
    EXPECT_EQ(remainders->AddRef(), 3u);
    remainders->Release();
}

template <typename List>
class ConcreteList : public CountedElements {};
using ConcreteLists = testing::Types<CZvArrayList, CZvLinkedList>;
TYPED_TEST_SUITE(ConcreteList, ConcreteLists);

TYPED_TEST(ConcreteList, CountsItsStructuralChanges) {
    const auto list = makeRef<TypeParam>();
    const auto one = number(1);
    EXPECT_EQ(list->getModCount(), 0);
    list->add(one.get());
    (void)list->get(0);
    EXPECT_EQ(list->getModCount(), 0);
    list->add(1, one.get());
    EXPECT_EQ(list->getModCount(), 1);
    (void)list->set(0, nullptr);
    EXPECT_EQ(list->getModCount(), 2);
    (void)list->removeAt(0);
    EXPECT_EQ(list->getModCount(), 3);
    EXPECT_THROW(list->add(5, nullptr), EZvRangeError);
    list->addAll(0, *list->subList(0, 1));
    EXPECT_EQ(list->getModCount(), 4);
    list->clear(); // of two elements
    const bool countsEach = std::is_same_v<TypeParam, CZvArrayList>;
    EXPECT_EQ(list->getModCount(), countsEach ? 7 : 5);
    list->clear();
    EXPECT_EQ(list->getModCount(), countsEach ? 8 : 6);
}

TYPED_TEST(ConcreteList, IsAsItWasWhenMemoryRunsOut) {
    const auto list = makeRef<TypeParam>();
    append(*list, {1, 2, 3, 4}); // the array is full
    const auto five = number(5);
    const std::int32_t changes = list->getModCount();
    for (const bool atIndex : {false, true}) {
        bool thrown = false;
        core::setHeapGate([] { return false; });
        try {
            atIndex ? list->add(2, five.get()) : list->add(five.get());
        } catch (std::bad_alloc&) {
            thrown = true;
        }
        core::setHeapGate(nullptr);
        EXPECT_TRUE(thrown);
        EXPECT_EQ(valuesOf(*list), Values({1, 2, 3, 4}));
        EXPECT_EQ(list->getModCount(), changes);
    }
}

// An element that empties its list while the list lets go of it.
class Meddler final : public CZvObject {
public:
    explicit Meddler(CZvList& list) : list(list) {}
    ~Meddler() override {
        list.add(nullptr);
        (void)list.removeAt(0);
    }

private:
    CZvList& list;
};

TYPED_TEST(ConcreteList, StandsElementsThatTouchItWhenTheyEnd) {
    const auto list = makeRef<TypeParam>();
    for (int i = 0; i < 3; ++i)
        list->add(asUnknown(new Meddler(*list)));
    (void)list->removeAt(1);
    (void)list->set(1, nullptr);
    list->add(asUnknown(new Meddler(*list)));
    list->clear();
    EXPECT_EQ(list->getSize(), 0);
}

TYPED_TEST(ConcreteList, IsCreatedByName) {
    const char16_t* name =
        std::is_same_v<TypeParam, CZvArrayList> ? u"CZvArrayList" : u"CZvLinkedList";
    const auto object = ZvRef<CZvObject>::share(CZvClass::forName(name)->newInstance());
    auto& list = dynamic_cast<TypeParam&>(*object);
    EXPECT_TRUE(list.add(number(1).get()));
    EXPECT_TRUE(list.toString().view().starts_with(name));
    EXPECT_EQ(&list.getComparator(),
              static_cast<IZvComparator*>(CZvComparator::defaultComparator().get()));
}

TEST(ArrayList, GrowsByDoublingAndNeverShrinks) {
    const auto list = makeRef<CZvArrayList>();
    EXPECT_EQ(list->getCapacity(), 0);
    for (const std::int32_t capacity : {1, 2, 4, 4, 8, 8, 8, 8, 16}) {
        list->add(nullptr);
        EXPECT_EQ(list->getCapacity(), capacity);
    }
    const auto many = Whole<CZvLinkedList>::make(Values(40, 0));
    list->addAll(3, *many);
    EXPECT_EQ(list->getCapacity(), 9 + 40);
    list->clear();
    EXPECT_EQ(list->getCapacity(), 49);
}

} // namespace
} // namespace ZVCL
