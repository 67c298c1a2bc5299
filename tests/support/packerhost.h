#pragma once

#include "base/pointers/tcomponentsharedptr.h"
#include "resource/core/iresourcepacker.h"
#include "tests/support/memoryresourcedatabase.h"

/// Keeps a packer's messages: "error: TEXT", "warning: TEXT", "info: TEXT", in the order in which they came.
class ZRecordingContext final : public IResourcePackerContext
{
public:
    void Info(const ZString& text) override { m_messages.Add(ZString("info: ") + text); }
    void Warning(const ZString& text) override { m_messages.Add(ZString("warning: ") + text); }
    void Error(const ZString& text) override { m_messages.Add(ZString("error: ") + text); }

    const TArray<ZString>& Messages() const { return m_messages; }
    /// Empty when there was none.
    ZString FirstMessage() const { return m_messages.IsEmpty() ? ZString() : m_messages[0]; }
    void Clear() { m_messages.Clear(); }

private:
    TArray<ZString> m_messages;
};

/// The host's side of packers for the time of a scope: the engine's modules, the component
/// "Resource.Core.PackerUtility" with the option "t", a context and a database. One packs at a time, the one made last.
class ZPackerHost
{
public:
    /// Without a platform the option "t" is not given.
    explicit ZPackerHost(const ZString& platform = "pc");
    ZPackerHost(const ZPackerHost&) = delete;
    ZPackerHost& operator=(const ZPackerHost&) = delete;
    ~ZPackerHost();

    ZMemoryResourceDatabase& Database() { return m_database; }
    const ZMemoryResourceDatabase& Database() const { return m_database; }
    ZRecordingContext& Context() { return m_context; }
    const ZRecordingContext& Context() const { return m_context; }

    /// One job as a host runs it: create, Pack, Release.
    template <class TPacker>
    bool Pack(const ZResourceID& source, const ZResourceID& target)
    {
        const TComponentScope<IResourcePacker> packer(new TPacker);
        return packer->Pack(&m_context, source, target, ZVariantRef());
    }

private:
    ZMemoryResourceDatabase m_database;
    ZRecordingContext m_context;
};
