// The facts of facts.inc as the system's own header has them.
#ifndef ZVSUPPORT_TESTS_WINDOWS_SYSTEM_FACTS_H
#define ZVSUPPORT_TESTS_WINDOWS_SYSTEM_FACTS_H

#include <string>
#include <vector>

namespace zv::test {

struct Fact {
    const char* name;
    unsigned long long value;
};

std::vector<Fact> systemFacts();

// The access list of a key below HKEY_CURRENT_USER: "none", or the number of its entries.
std::string accessListOf(const std::string& path);

// True for a system whose new keys get a list of their own although they are made with a descriptor
// that has none.
bool keepsNoAccessList();

} // namespace zv::test

#endif
