#pragma once

#include "base/component/icomponentinterface.h"
#include "base/misc/zresourceid.h"
#include "system/io/streams.h"

struct SResourceScanData;

/// A component that says what a source holds, and may load it.
class Z_EXPORT IResourceFactory : public IComponentInterface
{
public:
    /// A new object of the type asked for, owned by the caller; raises the factory's exception on failure.
    /// `subResourceName` is the identifier's root parameters as they stand: "/hero.chartype".
    virtual void* LoadResource(IInputStream* pStream, STypeID* pTypeID, const ZResourceID& id,
                               const ZString& subResourceName) = 0;
    /// True when the source could be read and `result` holds what it has. On false GetLastErrorMessage() tells why, and
    /// entries found before the failure stay.
    virtual bool ScanResource(const ZResourceID& id, IInputStream* pStream, SResourceScanData& result) = 0;
    virtual ZString GetLastErrorMessage() const = 0;
};
Z_TYPE_NAME(IResourceFactory, "IResourceFactory");
