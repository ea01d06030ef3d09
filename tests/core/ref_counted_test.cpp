#include "core/ref_counted.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

// Writes what happens to it, and what its holder's slot reads at that moment, into a log.
class Logged : public CZvCoreRefCounted {
public:
    Logged(std::string& log, char name, const CoreRef<Logged>* slot = nullptr)
        : log(log), name(name), slot(slot) {}
    ~Logged() override {
        log += '~';
        log += name;
        if (slot != nullptr)
            log += slot->get() == this ? '!' : '0';
    }

private:
    std::string& log;
    char name;
    const CoreRef<Logged>* slot;
};

TEST(CoreRef, DropsEachReferenceOnceAndEmptiesTheSlotFirst) {
    std::string log;
    {
        CoreRef<Logged> slot;
        slot = makeCoreRef<Logged>(log, 'a', &slot);
        slot = *&slot; // itself
        slot = CoreRef<Logged>(slot);
        EXPECT_EQ(log, "");
        slot = makeCoreRef<Logged>(log, 'b', &slot);
        EXPECT_EQ(log, "~a0");
        CoreRef<Logged> second = slot;
        slot.reset();
        EXPECT_EQ(log, "~a0");
        second = nullptr;
        EXPECT_EQ(log, "~a0~b0");
    }
    EXPECT_EQ(log, "~a0~b0");
}

TEST(CoreRef, AdoptTakesOverAndShareAddsOne) {
    std::string log;
    Logged* object = makeCoreRef<Logged>(log, 'a').detach();
    {
        const auto shared = CoreRef<Logged>::share(object);
        EXPECT_EQ(object->addReference(), 3);
        EXPECT_EQ(object->dropReference(), 2);
    }
    EXPECT_EQ(log, "");
    CoreRef<Logged>::adopt(object).reset();
    EXPECT_EQ(log, "~a");
}

TEST(CZvCoreRefCounted, CountsAcrossThreads) {
    std::string log;
    {
        const auto object = makeCoreRef<Logged>(log, 'a');
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([object] {
                for (int round = 0; round < 2000; ++round)
                    CoreRef<Logged>(object).reset();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(log, "");
    }
    EXPECT_EQ(log, "~a");
}

} // namespace
} // namespace zv::core
