#pragma once

#include "base/collections/tmap.h"
#include "resource/core/iresourcedatabase.h"
#include "tests/support/printing.h"

#include <functional>

/// The resource database of a test: sources and outputs live in memory, calls are written down. It is the process's
/// database for the time of its scope.
class ZMemoryResourceDatabase final : public IResourceDatabase
{
public:
    using TBytes = TArray<uint8_t>;
    /// Makes a derived resource that is opened and not there: true when it has written it through OpenOutputStream.
    using FMaker = std::function<bool(const ZResourceID& derived)>;
    /// Gives an object of a type that is no stream.
    using FLoader = std::function<void*(const ZResourceID& id, STypeID* pTypeID)>;

    /// What goes wrong with output streams.
    enum class EOutputFault
    {
        eNone,
        eNull,        ///< none is given
        eNotOpen,     ///< it says that it is not open
        eTakesNothing ///< it takes no bytes
    };

    ZMemoryResourceDatabase();
    ZMemoryResourceDatabase(const ZMemoryResourceDatabase&) = delete;
    ZMemoryResourceDatabase& operator=(const ZMemoryResourceDatabase&) = delete;
    ~ZMemoryResourceDatabase();

    /// A source or a packed resource. Opening a sub-resource opens its root when it is not there itself.
    void AddSource(const ZResourceID& id, const TBytes& bytes) { m_sources[id] = bytes; }
    void AddSource(const ZResourceID& id, const ZString& text);
    /// assembly:/ is this folder, for what has not been added otherwise.
    void Mount(const ZString& folder) { m_folder = folder; }
    void SetMaker(const FMaker& maker) { m_maker = maker; }
    void SetLoader(const FLoader& loader) { m_loader = loader; }
    void SetOutputFault(EOutputFault eFault) { m_eOutputFault = eFault; }
    /// Resources whose output stream has been released, by identifier.
    const TMap<ZResourceID, TBytes>& Outputs() const { return m_outputs; }
    /// The bytes of one output; none when it was not written.
    TBytes Output(const ZResourceID& id) const;
    /// Updates begun and not ended.
    uint32_t OpenUpdates() const { return m_nOpenUpdates; }
    /// Calls that begin so: "OpenInputStream assembly:/a.fbx".
    uint32_t CountCalls(const ZString& start) const;

    void AddSourceDependency(const ZResourceID& id) override;
    void* OpenInputStream(const ZResourceID& id, STypeID* pInterface, int nFlags, int nMask) override;
    IOutputStream* OpenOutputStream(const ZResourceID& id) override;
    SResourceInfo QuerySourceResource(const ZResourceID& id) override;
    ZFilePath GetResourceFilePath(const ZResourceID& id) override;
    bool BeginResourceUpdate(const ZResourceID& id, int nFlags) override;
    void EndResourceUpdate(int nFlags) override;

private:
    friend class ZMemoryOutput;

    void Record(const char* szCall, const ZResourceID& id);
    /// The bytes behind an identifier, from memory or disk.
    bool Find(const ZResourceID& id, TBytes& bytes) const;

    IResourceDatabase* m_pOuter;
    TMap<ZResourceID, TBytes> m_sources;
    TMap<ZResourceID, TBytes> m_outputs;
    ZString m_folder;
    FMaker m_maker;
    FLoader m_loader;
    TArray<ZString> m_calls;
    uint32_t m_nOpenUpdates = 0;
    EOutputFault m_eOutputFault = EOutputFault::eNone;
};
