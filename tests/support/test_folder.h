// A scratch folder for tests that have the library inside.
#ifndef ZVSUPPORT_TESTS_SUPPORT_TEST_FOLDER_H
#define ZVSUPPORT_TESTS_SUPPORT_TEST_FOLDER_H

#include "support/scratch_folder.h"

#include <gtest/gtest.h>

namespace zv::test {

// What the process keeps open of the registry is let go, as when the library is unloaded.
void letGoOfRegistry() noexcept;

// The registry is let go at both ends, so that each test meets its own.
class TestFolder : public ScratchFolder {
public:
    TestFolder() { letGoOfRegistry(); }
    ~TestFolder() { letGoOfRegistry(); }
};

class FolderTest : public testing::Test {
protected:
    TestFolder folder;
};

} // namespace zv::test

#endif
