// A host process on the command line: loads the library and calls its two functions.
#include "host_library.h"
#include "result_texts.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

namespace {

enum ExitStatus { kSuccess = 0, kFailureAnswered = 1, kWrongUsage = 2 };

int report(std::int32_t code, const char* meaning) {
    std::printf("0x%08X  %s\n", static_cast<unsigned>(code), meaning);
    return code >= 0 ? kSuccess : kFailureAnswered;
}

int run(const CLI::App& migrate, const std::string& library, const std::string& source,
        const std::string& target, const std::string& drive) {
    const zvctl::HostLibrary host(library);
    if (migrate.parsed()) {
        const std::int32_t code = host.registryMigrate(source.c_str(), 0, target.c_str(), 0);
        return report(code, zvctl::meaningOfMigration(code));
    }
    const std::int32_t code = host.checkUnicodeSupport(drive.c_str());
    return report(code, zvctl::meaningOfUnicodeCheck(code));
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Calls the functions of the zvsupport library as a host process would.", "zvctl");
    app.footer("Exit status: 0 success, 1 the library answered a failure, 2 wrong usage or no "
               "library.");
    app.set_version_flag("--version", "zvctl " ZV_VERSION);
    app.require_subcommand(1);
    std::string library;
    app.add_option("--library", library, "The library to load (default: the one beside zvctl)")
        ->type_name("PATH");

    std::string source;
    std::string target;
    CLI::App* migrate = app.add_subcommand("migrate", "Move the registry between NATIVE and INI");
    migrate->add_option("SOURCE", source, "NATIVE or INI")->required();
    migrate->add_option("TARGET", target, "NATIVE or INI")->required();

    std::string drive;
    CLI::App* check = app.add_subcommand(
        "check-unicode", "Ask the server behind a drive whether it supports Unicode");
    check->add_option("DRIVE", drive, "The drive, as F:")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kSuccess : kWrongUsage;
    }
    try {
        return run(*migrate, library, source, target, drive);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zvctl: cannot load the library: %s\n", error.what());
        return kWrongUsage;
    }
}
