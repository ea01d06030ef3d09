#include "lang/ref.h"

#include "lang/object.h"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

std::string events;

// Writes down every reference taken and dropped, and what its slot held at that moment.
struct Fake {
    char name;
    ZvRef<Fake>* slot = nullptr;

    std::uint32_t AddRef() {
        events += '+';
        events += name;
        return 1;
    }
    std::uint32_t Release() {
        events += '-';
        events += name;
        if (slot != nullptr)
            events += slot->get() == nullptr ? "(empty)"
                      : slot->get() == this  ? "(self)"
                                             : "(other)";
        return 1;
    }
};
struct Derived : Fake {};

class Ref : public testing::Test {
protected:
    void SetUp() override { events.clear(); }

    // What the events were since the last look.
    std::string take() { return std::exchange(events, std::string()); }

    Fake a{'a'};
    Fake b{'b'};
};

TEST_F(Ref, EntersByANamedActAndLeavesByDetach) {
    {
        const auto shared = ZvRef<Fake>::share(&a);
        EXPECT_EQ(take(), "+a");
        const auto adopted = ZvRef<Fake>::adopt(&b);
        EXPECT_EQ(take(), "");
        EXPECT_EQ(shared.get(), &a);
    }
    EXPECT_EQ(take(), "-b-a");
    auto ref = ZvRef<Fake>::adopt(&a);
    EXPECT_EQ(ref.detach(), &a);
    EXPECT_FALSE(ref);
    ref = ZvRef<Fake>::share(nullptr);
    ref.reset();
    EXPECT_EQ(take(), "");
}

TEST_F(Ref, CopiesShareAndMovesDoNot) {
    auto first = ZvRef<Fake>::adopt(&a);
    ZvRef<Fake> copy = first;
    EXPECT_EQ(take(), "+a");
    ZvRef<Fake> moved = std::move(copy);
    EXPECT_EQ(take(), "");
    EXPECT_FALSE(copy);
    Derived derived{{'d'}};
    ZvRef<Derived> exact = ZvRef<Derived>::adopt(&derived);
    ZvRef<Fake> asBase = exact;
    EXPECT_EQ(take(), "+d");
    asBase = std::move(exact);
    EXPECT_EQ(take(), "-d");
    EXPECT_EQ(asBase.get(), &derived);
}

TEST_F(Ref, AssignmentTakesTheNewBeforeItDropsTheOld) {
    auto ref = ZvRef<Fake>::adopt(&a);
    a.slot = &ref;
    const auto other = ZvRef<Fake>::adopt(&b);
    ref = other;
    EXPECT_EQ(take(), "+b-a(other)");
    a.slot = nullptr;
    auto& self = ref;
    ref = self;
    EXPECT_EQ(take(), "+b-b");
    ref = std::move(self);
    EXPECT_EQ(take(), "");
    EXPECT_EQ(ref.get(), &b);
    b.slot = &ref;
    ref.reset();
    EXPECT_EQ(take(), "-b(empty)");
    b.slot = nullptr;
}

#ifndef NDEBUG
class TakesAReferenceWhileDying : public CZvObject {
public:
    ~TakesAReferenceWhileDying() override { ZvRef<CZvObject>::share(this).reset(); }
};

TEST(RefDeathTest, AReferenceTakenDuringDestructionIsNoticed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(makeRef<TakesAReferenceWhileDying>().reset(), "being deleted");
}
#endif

} // namespace
} // namespace ZVCL
