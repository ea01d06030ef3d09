// The test's side of the pretend client libraries (pretend/pretend.h).
#ifndef ZVSUPPORT_TESTS_NETWARE_PRETEND_SERVER_H
#define ZVSUPPORT_TESTS_NETWARE_PRETEND_SERVER_H

#include "support/scratch_folder.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace zv::test {

// The server of the libraries that this process, and the ones it starts, load. Within a scratch
// folder.
class PretendServer {
public:
    PretendServer() : folder(std::filesystem::current_path() / "pretend") {
        std::filesystem::create_directories(volume());
        setVariable("ZV_PRETEND", folder.string().c_str());
    }
    ~PretendServer() { setVariable("ZV_PRETEND", nullptr); }
    PretendServer(const PretendServer&) = delete;
    PretendServer& operator=(const PretendServer&) = delete;

    // Gives the server its lines "key=value" and forgets what was recorded.
    void play(std::string_view script) {
        writeFile(folder / "script", script);
        std::filesystem::remove(folder / "record");
    }
    // What was asked since then, a line for each call.
    std::string recorded() const { return readFile(folder / "record"); }

    std::filesystem::path volume() const { return folder / "volume"; }
    std::filesystem::path resultFile() const { return volume() / "zvinst.dat"; }

private:
    std::filesystem::path folder;
};

} // namespace zv::test

#endif
