// README.md shows the tour's body and what it prints: both are what there is.
#include "support/run_program.h"
#include "support/scratch_folder.h"

#include <string>

#include <gtest/gtest.h>

namespace {

std::string withoutCarriageReturns(std::string text) {
    std::erase(text, '\r');
    return text;
}

// What stands between a line and the next line that begins with `end`.
std::string section(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t from = text.find(begin);
    return from == text.npos ? "" : text.substr(from, text.find("\n" + end, from) + 1 - from);
}

TEST(Tour, IsTheOneThatTheReadmeShows) {
    const std::string readme = withoutCarriageReturns(zv::test::readFile(ZV_README));
    const std::string source = withoutCarriageReturns(zv::test::readFile(ZV_TOUR_SOURCE));
    const std::string body = section(source, "void tour() {", "}");
    ASSERT_FALSE(body.empty());
    EXPECT_EQ(section(readme, "void tour() {", "}"), body);

    const zv::test::ScratchFolder folder;
    const zv::test::Outcome outcome = zv::test::runProgram(ZV_TOUR, "");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    std::string shown;
    for (const char ch : withoutCarriageReturns(outcome.output))
        shown +=
            shown.empty() || shown.back() == '\n' ? std::string("    ") + ch : std::string(1, ch);
    EXPECT_NE(readme.find(shown), readme.npos) << shown;
}

} // namespace
