// The peak memory of a host that migrates N values, beside the size of the INI file.
// usage: peak_memory VALUES in|out  (in: NATIVE to INI, out: INI to NATIVE)
#include "samples.h"
#include "zvsupport/zvsupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace zv::bench;

long peakKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::atol(line.c_str() + 6);
    }
    return 0;
}

// In a process that has done nothing else.
int migrateAndTell(const char* source, const char* target) {
    const long before = peakKilobytes();
    void* module = dlopen(ZV_LIBRARY, RTLD_NOW);
    if (module == nullptr)
        return 1;
    const auto migrate =
        reinterpret_cast<decltype(&RegistryMigrate)>(dlsym(module, "RegistryMigrate"));
    if (migrate(source, 0, target, 0) != 0)
        return 1;
    std::printf("peak %ld KiB (%ld KiB before the library was loaded)\n", peakKilobytes(), before);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--migrate") == 0)
        return migrateAndTell(argv[2], argv[3]);
    if (argc != 3) {
        std::fprintf(stderr, "usage: peak_memory VALUES in|out\n");
        return 2;
    }
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length < 0)
        return 1;
    self[length] = 0;
    const std::int64_t values = std::atoll(argv[1]);
    const bool in = std::strcmp(argv[2], "in") == 0;
    const Folder folder;
    const std::string ini = iniText(values);
    if (in)
        writeFile(folder.hive(), hiveText(values));
    else
        writeFile("zvregistry.ini", ini);
    std::printf("%lld values, INI text of %zu KiB: ", static_cast<long long>(values),
                ini.size() / 1024);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        execl(self, self, "--migrate", in ? "NATIVE" : "INI", in ? "INI" : "NATIVE", nullptr);
        _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}
