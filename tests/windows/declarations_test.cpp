// The declarations of win32.h against the system's own.
#include "windows/system_facts.h"

#include "platform/win32.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace zv::test {
namespace {

std::vector<Fact> ownFacts() {
#undef ZV_SIZE
#define ZV_SIZE(type) {"size of " #type, sizeof(type)},
#define ZV_OFFSET(type, field) {#type "." #field, offsetof(type, field)},
#define ZV_VALUE(name) {#name, (unsigned long long)(name)},
#define ZV_RENAMED(ours, theirs) {#ours, (unsigned long long)(ours)},
    return {
#include "windows/facts.inc"
    };
}

TEST(Declarations, AgreeWithTheSystems) {
    const std::vector<Fact> own = ownFacts();
    const std::vector<Fact> systems = systemFacts();
    ASSERT_EQ(own.size(), systems.size());
    for (std::size_t i = 0; i < own.size(); ++i)
        EXPECT_EQ(own[i].value, systems[i].value) << own[i].name;
}

} // namespace
} // namespace zv::test
