#pragma once

#include "base/component/icomponentinterface.h"
#include "base/misc/zresourceid.h"

/// Where a packer's messages for the user go. Supplied by the host for one Pack call.
class Z_EXPORT IResourcePackerContext
{
public:
    virtual void Info(const ZString& text) = 0;
    virtual void Warning(const ZString& text) = 0;
    virtual void Error(const ZString& text) = 0;

protected:
    ~IResourcePackerContext() = default;
};

/// A component that makes packed resources. Create, Pack once, Release.
class Z_EXPORT IResourcePacker : public IComponentInterface
{
public:
    /// True when the target was written. `extra` is the host's own and is passed through.
    virtual bool Pack(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                      const ZVariantRef& extra) = 0;
};
Z_TYPE_NAME(IResourcePacker, "IResourcePacker");

/// What the host tells a packer: the options of its command line, such as "t" for the target platform.
class Z_EXPORT IPackerUtility : public IComponentInterface
{
public:
    virtual bool SetContext(IResourcePackerContext* pContext) = 0;
    /// False, and the value untouched, when the option was not given.
    virtual bool GetOption(const ZString& name, ZString& value) = 0;
};
Z_TYPE_NAME(IPackerUtility, "IPackerUtility");

/// The host registers it under this name.
constexpr const char PACKER_UTILITY[] = "Resource.Core.PackerUtility";
