#include "core/com/client_data.h"

namespace zv::core {

CZvClientData::CZvClientData() = default;
CZvClientData::~CZvClientData() = default;

} // namespace zv::core
