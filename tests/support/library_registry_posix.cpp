#include "platform/posix/registry.h"
#include "support/test_folder.h"

namespace zv::test {

void letGoOfRegistry() noexcept {
    platform::posix::closeRegistry();
}

} // namespace zv::test
