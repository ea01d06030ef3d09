#include "core/com/process_manager.h"

namespace zv::core {

CZvProcessManager::CZvProcessManager()
    : m_setMutex(makeMutex("CZvProcessManager::m_setMutex", 0)) {}

} // namespace zv::core
