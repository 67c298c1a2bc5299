#pragma once

#include "base/collections/tmap.h"
#include "base/component/componentbase.h"
#include "base/component/imodule.h"

/// A module that is a table of components. A subclass supplies RegisterComponents().
///
/// Slot order: destructor, GetVariantRef, AddRef, Release, QueryInterface, then IModule's in their order, then
/// RegisterComponents.
class Z_EXPORT ZSimpleModuleBase : public IModule
{
public:
    /// One row of the table. Rows live as long as the module.
    class Z_EXPORT ZComponentInfoBase
    {
    public:
        explicit ZComponentInfoBase(const ZString& name) : m_name(name) {}
        virtual ~ZComponentInfoBase() = default;
        virtual void OnRegistered() {}
        /// Null when memory has run out.
        virtual void* CreateInstance(STypeID* pInterface, ZComponentCreateInfo& info) = 0;
        virtual void OnRemoved() {}
        virtual ZString GetName() const { return m_name; }

    private:
        ZString m_name;
    };

    /// Makes a `TComponent` by its default constructor, whatever the host passes. NOTHING is 0 for all of them.
    template <class TComponent, class TInterface, int NOTHING = 0>
    class TComponentInfo : public ZComponentInfoBase
    {
    public:
        using ZComponentInfoBase::ZComponentInfoBase;
        void* CreateInstance(STypeID* pInterface, ZComponentCreateInfo&) override
        {
            if (pInterface != GetTypeID<TInterface>())
                return nullptr;
            return static_cast<TInterface*>(ZNew<TComponent>());
        }
    };

    /// The same for components that read their creation arguments: TComponent(ZComponentCreateInfo&).
    template <class TComponent, class TInterface>
    class TArgumentComponentInfo : public ZComponentInfoBase
    {
    public:
        using ZComponentInfoBase::ZComponentInfoBase;
        void* CreateInstance(STypeID* pInterface, ZComponentCreateInfo& info) override
        {
            if (pInterface != GetTypeID<TInterface>())
                return nullptr;
            return static_cast<TInterface*>(new TComponent(info));
        }
    };

    explicit ZSimpleModuleBase(const ZString& name);
    ~ZSimpleModuleBase() override;

    ZObjectRef GetVariantRef() override;
    /// Modules are not counted: -1, and Release() ends nothing.
    size_t AddRef() override { return static_cast<size_t>(-1); }
    size_t Release() override { return static_cast<size_t>(-1); }
    void* QueryInterface(STypeID* pInterface) override;

    ZString Name() const override { return m_name; }
    bool Initialize() override;
    void Shutdown() override;
    bool Activate() override;
    void OnAfterActivation() override {}
    void OnBeforeDeactivation() override {}
    void Deactivate() override { m_bActive = false; }
    TArray<ZString> GetOptions() const override;
    bool GetOption(const ZString& name, ZString& value) const override;
    bool HasOptions() const override { return !m_options.IsEmpty(); }
    bool GetOptionBool(const ZString& name) const override;
    void SetOption(const ZString& name, const ZString& value) override { m_options[name] = value; }
    void BeginInitialization() override {}
    void EndInitialization() override {}
    void WaitForInitialization() override {}
    void* CreateComponent(const ZString& name, STypeID* pInterface, ZComponentCreateInfo& info) override;
    virtual void RegisterComponents() = 0;

protected:
    /// A name that is there already gets the new row; the old one stays allocated.
    void RegisterComponent(const ZString& name, ZComponentInfoBase* pInfo);
    template <class TInfo>
    void RegisterComponent(const ZString& name)
    {
        RegisterComponent(name, ZNew<TInfo>(name));
    }

private:
    ZString m_name;
    TMap<ZString, ZComponentInfoBase*>* m_pComponents = nullptr; ///< there from Initialize() to Shutdown()
    TArray<ZComponentInfoBase*> m_infos;                         ///< every row ever made
    TMap<ZString, ZString> m_options;
    bool m_bActive = false;
};
