#include "base/component/componentmanager.h"

void ZComponentManager::RegisterModule(IModule* pModule)
{
    m_modules.Add(pModule);
}

void ZComponentManager::UnregisterModule(IModule* pModule)
{
    for (uint32_t i = m_modules.Size(); i-- > 0;)
        if (m_modules[i] == pModule)
            m_modules.RemoveAt(i);
}

TArrayRef<IModule* const> ZComponentManager::Modules() const
{
    return m_modules;
}

void* ZComponentManager::CreateComponent(const ZString& name, STypeID* pInterface, ZComponentCreateInfo& info)
{
    for (IModule* pModule : m_modules)
        if (void* pComponent = pModule->CreateComponent(name, pInterface, info))
            return pComponent;
    return nullptr;
}

ZComponentManager* GetComponentManager()
{
    static auto* const s_pManager = new ZComponentManager; // outlives the modules, which take themselves out
    return s_pManager;
}
