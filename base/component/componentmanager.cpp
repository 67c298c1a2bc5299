#include "base/component/componentmanager.h"

void ZComponentManager::RegisterModule(IModule* pModule)
{
    m_modules.Add(pModule);
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
    static ZComponentManager s_manager;
    return &s_manager;
}
