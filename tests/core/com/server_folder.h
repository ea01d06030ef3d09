// A folder with a copy of the component server, which can be unloaded and loaded on its own.
#ifndef ZVSUPPORT_TESTS_CORE_COM_SERVER_FOLDER_H
#define ZVSUPPORT_TESTS_CORE_COM_SERVER_FOLDER_H

#include "core/com/component_server.h"
#include "core/lifecycle.h"
#include "support/test_folder.h"

#include <filesystem>
#include <string>

namespace zv::test {

class ServerFolderTest : public FolderTest {
protected:
    ServerFolderTest() : server(folder.path() / built().filename()) {
        std::filesystem::copy_file(built(), server);
    }
    // What the library has loaded goes before the folder does.
    ~ServerFolderTest() override { restartLibrary(); }

    static void restartLibrary() {
        DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
        DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    }

    std::u16string serverPath() const { return server.u16string(); }
    static std::string log() { return readFile(kServerLog); }

private:
    // The build's own path counts from the folder where the test program was started.
    static const std::filesystem::path& built() {
        static const std::filesystem::path path = startFolder / ZV_COMPONENT_SERVER;
        return path;
    }
    static inline const std::filesystem::path startFolder = std::filesystem::current_path();

    std::filesystem::path server;
};

} // namespace zv::test

#endif
