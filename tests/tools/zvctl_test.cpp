#include "support/run_program.h"
#include "support/scratch_folder.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace {

zv::test::Outcome run(const std::string& arguments) {
    return zv::test::runProgram(ZV_CTL, arguments);
}

TEST(Zvctl, ExitsByWhatTheLibraryAnswersAndTellsIt) {
    const zv::test::ScratchFolder folder;
    zv::test::writeFile("not-a-library", "text");
    struct Row {
        const char* arguments;
        int status;
        const char* output;
    };
    const Row rows[] = {
        {"migrate NATIVE INI", 0, "0x00000000  the migration ran to its end"},
        {"--library \"" ZV_LIBRARY "\" migrate native native", 0, "0x00000000"},
        {"migrate INI INI", 1, "0x80070057"},
        {"migrate FILE INI", 1, "0x80004007"},
        {"check-unicode F:", 1, "0x80004005  no server behind the drive"},
        {"--help", 0, "check-unicode"},
        {"--version", 0, "zvctl 1.0.0"},
        {"", 2, "required"},
        {"frobnicate", 2, ""},
        {"migrate INI", 2, "TARGET"},
        {"migrate INI NATIVE more", 2, "more"},
        {"check-unicode", 2, "DRIVE"},
        {"--library", 2, "--library"},
        {"--library no-such-library migrate INI NATIVE", 2, "no-such-library"},
        {"--library not-a-library migrate INI NATIVE", 2, "cannot load"},
    };
    for (const Row& row : rows) {
        const zv::test::Outcome outcome = run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << row.arguments << '\n' << outcome.output;
        EXPECT_NE(outcome.output.find(row.output), std::string::npos) << row.arguments << '\n'
                                                                      << outcome.output;
    }
}

TEST(Zvctl, MovesARegistryToTheFileAndBack) {
    const zv::test::ScratchFolder folder;
    const std::string ini = "[ZV_HKEY_CONFIG\\K]\r\na=b\r\n\r\n";
    zv::test::writeFile("zvregistry.ini", ini);
    EXPECT_EQ(run("migrate INI NATIVE").status, 0);
    EXPECT_FALSE(std::filesystem::exists("zvregistry.ini"));
    EXPECT_EQ(run("migrate NATIVE INI").status, 0);
    // A registry that is not the test's own holds more.
    EXPECT_NE(zv::test::readFile("zvregistry.ini").find(ini), std::string::npos);
}

} // namespace
