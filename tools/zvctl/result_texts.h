// What a result code means, for a person to read.
#ifndef ZVSUPPORT_TOOLS_ZVCTL_RESULT_TEXTS_H
#define ZVSUPPORT_TOOLS_ZVCTL_RESULT_TEXTS_H

#include <cstdint>

namespace zvctl {

const char* meaningOfMigration(std::int32_t code);
const char* meaningOfUnicodeCheck(std::int32_t code);

} // namespace zvctl

#endif
