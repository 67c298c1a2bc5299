#include "base/component/simplemodulebase.h"

#include "base/component/componentmanager.h"

ZSimpleModuleBase::ZSimpleModuleBase(const ZString& name) : m_name(name) {}

ZSimpleModuleBase::~ZSimpleModuleBase()
{
    ZSimpleModuleBase::Shutdown();
    GetComponentManager()->UnregisterModule(this);
    for (ZComponentInfoBase* pInfo : m_infos)
        ZDelete(pInfo);
}

ZObjectRef ZSimpleModuleBase::GetVariantRef()
{
    return {this, GetTypeID<IModule>()};
}

void* ZSimpleModuleBase::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZSimpleModuleBase, IModule, IComponentInterface>::Query(this, pInterface);
}

bool ZSimpleModuleBase::Initialize()
{
    if (m_pComponents == nullptr)
    {
        m_pComponents = ZNew<TMap<ZString, ZComponentInfoBase*>>();
        RegisterComponents();
    }
    return true;
}

void ZSimpleModuleBase::Shutdown()
{
    ZDelete(m_pComponents);
    m_pComponents = nullptr;
}

bool ZSimpleModuleBase::Activate()
{
    m_bActive = true;
    return true;
}

TArray<ZString> ZSimpleModuleBase::GetOptions() const
{
    TArray<ZString> names;
    for (const auto& [name, value] : m_options)
        names.Add(name);
    return names;
}

bool ZSimpleModuleBase::GetOption(const ZString& name, ZString& value) const
{
    const ZString* pValue = m_options.Find(name);
    if (pValue == nullptr)
        return false;
    value = *pValue;
    return true;
}

bool ZSimpleModuleBase::GetOptionBool(const ZString& name) const
{
    ZString value;
    return GetOption(name, value) && (value.ICompare("true") == 0 || value == "1");
}

void* ZSimpleModuleBase::CreateComponent(const ZString& name, STypeID* pInterface, ZComponentCreateInfo& info)
{
    if (m_pComponents == nullptr)
        return nullptr;
    ZComponentInfoBase** ppInfo = m_pComponents->Find(name);
    return ppInfo != nullptr ? (*ppInfo)->CreateInstance(pInterface, info) : nullptr;
}

void ZSimpleModuleBase::RegisterComponent(const ZString& name, ZComponentInfoBase* pInfo)
{
    if (pInfo == nullptr)
        return;
    m_infos.Add(pInfo);
    ZASSERT_OR_HALT(m_pComponents != 0);
    (*m_pComponents)[name] = pInfo;
    pInfo->OnRegistered();
}
