// What the system tells about the built library and the user.
#ifndef ZVSUPPORT_TESTS_EXPORTS_LIBRARY_FACTS_H
#define ZVSUPPORT_TESTS_EXPORTS_LIBRARY_FACTS_H

#include <set>
#include <string>

namespace zv::test {

std::set<std::string> exportedNames(const char* library);
std::string userName();

} // namespace zv::test

#endif
