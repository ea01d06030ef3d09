#include "core/com/module_manager.h"

namespace zv::core {

CZvModuleManager::CZvModuleManager() : m_setLock(makeMutex("CZvModuleManager::m_setLock", 0)) {}

void CZvModuleManager::ProcessAttach(std::uintptr_t module) {
    MutexHold hold(m_setLock.get());
    modules.insert(module);
}

void CZvModuleManager::ProcessDetach(std::uintptr_t module) {
    MutexHold hold(m_setLock.get());
    modules.erase(module);
}

std::size_t CZvModuleManager::moduleCount() {
    MutexHold hold(m_setLock.get());
    return modules.size();
}

} // namespace zv::core
