#pragma once

#include "base/misc/zresourceid.h"
#include "base/misc/zsystem.h"
#include "system/io/streams.h"

/// What the database knows of a source file.
struct SResourceInfo
{
    bool bExists = false;
    bool bIsReadOnly = false;
    ZTime lastModificationTime;
};
Z_TYPE_NAME(SResourceInfo, "SResourceInfo");

/// What a module may ask of the asset tree. The host supplies it; streams are the caller's, who ends them with
/// Release().
class Z_EXPORT IResourceDatabase
{
public:
    /// The resource being packed depends on this source, there or not.
    virtual void AddSourceDependency(const ZResourceID& id) = 0;
    /// An object of the interface asked for; null when the identifier names nothing. Covers source files, their
    /// sub-resources and packed resources. Opening a derived resource packs it first when it is missing or stale.
    virtual void* OpenInputStream(const ZResourceID& id, STypeID* pInterface, int nFlags, int nMask) = 0;
    /// Null when the target can't be written. The resource appears when the stream is released, whole or not at all.
    virtual IOutputStream* OpenOutputStream(const ZResourceID& id) = 0;
    virtual SResourceInfo QuerySourceResource(const ZResourceID& id) = 0;
    /// The file on disk; empty when there is none.
    virtual ZFilePath GetResourceFilePath(const ZResourceID& id) = 0;
    /// Brackets the making of one resource. True: EndResourceUpdate() is owed when it is done.
    virtual bool BeginResourceUpdate(const ZResourceID& id, int nFlags) = 0;
    virtual void EndResourceUpdate(int nFlags) = 0;

protected:
    ~IResourceDatabase() = default; // owned by the host, never deleted through this face
};

/// Flags and mask that every caller of OpenInputStream passes.
constexpr int OPEN_FLAGS = 0;
constexpr int OPEN_MASK = 255;

template <class TInterface>
TInterface* OpenResource(IResourceDatabase& database, const ZResourceID& id)
{
    return static_cast<TInterface*>(database.OpenInputStream(id, GetTypeID<TInterface>(), OPEN_FLAGS, OPEN_MASK));
}

/// The one database of the process; null until the host has set it.
Z_EXPORT IResourceDatabase* GetResourceDatabase();
Z_EXPORT void SetResourceDatabase(IResourceDatabase* pDatabase);
