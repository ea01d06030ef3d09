// Registries to measure with: `values` texts of about 20 characters, ten to a key.
#ifndef ZVSUPPORT_BENCH_SAMPLES_H
#define ZVSUPPORT_BENCH_SAMPLES_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zv::bench {

// A folder of the benchmark's own, current and holding the hive's folder, removed at the end.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string hive() const { return path + "/zentrova/registry.reg"; }

    std::string path;
};

std::string hiveText(std::int64_t values); // as the registry editor exports it: UTF-16LE
std::string iniText(std::int64_t values);

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);
void removeFile(const std::string& path);

// Bytes that this process has handed to write calls so far.
std::int64_t bytesWritten();

} // namespace zv::bench

#endif
