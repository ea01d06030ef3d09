// Elements for collections: numbers that count how many of them are alive.
#ifndef ZVSUPPORT_TESTS_UTIL_ELEMENTS_H
#define ZVSUPPORT_TESTS_UTIL_ELEMENTS_H

#include "lang/string.h"
#include "util/comparator.h"
#include "util/element.h"
#include "util/list.h"
#include "util/map.h"

#include <initializer_list>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {

// Equal and ordered by value. A negative one fails when it is asked to compare.
class Number : public CZvObject {
public:
    static inline int alive = 0;
    static constexpr ResultCode kRefusal = -77;

    explicit Number(int value) : value(value) { ++alive; }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    ~Number() override { --alive; }

    std::int32_t compareTo(const CZvObject& other) const override {
        const auto* number = dynamic_cast<const Number*>(&other);
        if (number == nullptr)
            throw EZvCastFailed();
        if (value < 0 || number->value < 0)
            throw EZvResultException(kRefusal);
        return value - number->value;
    }
    bool equals(const CZvObject& other) const override { return compareTo(other) == 0; }
    std::uint32_t hashCode() const override {
        if (value < 0)
            throw EZvResultException(kRefusal);
        return static_cast<std::uint32_t>(value);
    }

    const int value;
};

inline ZvRef<IZvUnknown> number(int value) {
    return ZvRef<IZvUnknown>::share(asUnknown(new Number(value)));
}

// Null reads as 0.
inline int valueOf(const ZvRef<IZvUnknown>& element) {
    return element ? elementAs<Number>(element)->value : 0;
}

inline std::vector<int> valuesOf(const CZvCollection& collection) {
    std::vector<int> values;
    const auto iterator = collection.createConstIterator();
    while (iterator->hasNext())
        values.push_back(valueOf(iterator->next()));
    return values;
}

inline const CZvObject& asObject(const ZvRef<CZvList>& list) {
    return dynamic_cast<const CZvObject&>(*list);
}
inline const CZvObject& asObject(const ZvRef<CZvMap>& map) {
    return dynamic_cast<const CZvObject&>(*map);
}

// Orders and hashes numbers by their remainder.
class RemainderComparator final : public CZvComparator {
public:
    explicit RemainderComparator(int divisor) : divisor(divisor) {}

    ResultCode ZV_INTERFACE_CALL Compare(IZvUnknown* left, IZvUnknown* right,
                                         std::int32_t* order) override {
        *order = remainder(left) - remainder(right);
        return zv::core::kOk;
    }
    ResultCode ZV_INTERFACE_CALL HashCode(IZvUnknown* object, std::uint32_t* hash) override {
        *hash = static_cast<std::uint32_t>(remainder(object));
        return zv::core::kOk;
    }

private:
    int remainder(IZvUnknown* object) const {
        return valueOf(ZvRef<IZvUnknown>::share(object)) % divisor;
    }

    const int divisor;
};

// Nothing may be alive before and after a test.
class CountedElements : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(Number::alive, 0); }
    void TearDown() override { EXPECT_EQ(Number::alive, 0); }
};

// EZvException itself, not one of its subclasses, without a message: a change behind the back.
template <typename Body>
bool noticesChange(Body&& body) {
    try {
        body();
    } catch (EZvException& exception) {
        return typeid(exception) == typeid(EZvException) && exception.getMessage().view().empty();
    }
    return false;
}

template <typename Body>
ResultCode codeThrownBy(Body&& body) {
    try {
        body();
    } catch (EZvResultException& exception) {
        return exception.getResult();
    }
    return zv::core::kOk;
}

} // namespace ZVCL

#endif
