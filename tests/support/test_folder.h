// A scratch folder for tests that have the library inside.
#ifndef ZVSUPPORT_TESTS_SUPPORT_TEST_FOLDER_H
#define ZVSUPPORT_TESTS_SUPPORT_TEST_FOLDER_H

#include "platform/posix/registry.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

namespace zv::test {

// The stand-in's registry is let go at both ends, so that each test meets its own hive.
class TestFolder : public ScratchFolder {
public:
    TestFolder() { platform::posix::closeRegistry(); }
    ~TestFolder() { platform::posix::closeRegistry(); }
};

class FolderTest : public testing::Test {
protected:
    TestFolder folder;
};

} // namespace zv::test

#endif
