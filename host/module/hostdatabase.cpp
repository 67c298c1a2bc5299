#include "host/module/hostdatabase.h"

#include "base/component/componentbase.h"
#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "resource/core/iresourcefactory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Host
{

namespace
{

/// Over bytes that others may read too.
class ZKeptInputStream final : public TCountedComponent<ZKeptInputStream, IInputStream>
{
public:
    explicit ZKeptInputStream(std::shared_ptr<const std::vector<uint8_t>> pBytes) : m_pBytes(std::move(pBytes)) {}

    bool IsOpen() const override { return true; }
    size_t GetSize() const override { return m_pBytes->size(); }
    size_t Read(void* pBuffer, size_t nSize) override
    {
        const size_t nRead = std::min(nSize, m_pBytes->size() - m_nTaken);
        if (nRead != 0)
            std::memcpy(pBuffer, m_pBytes->data() + m_nTaken, nRead);
        m_nTaken += nRead;
        return nRead;
    }

private:
    std::shared_ptr<const std::vector<uint8_t>> m_pBytes;
    size_t m_nTaken = 0;
};

} // namespace

void ZJobContext::Info(const ZString& text)
{
    AddMessage(ESeverity::eInfo, ToStd(text));
}

void ZJobContext::Warning(const ZString& text)
{
    AddMessage(ESeverity::eWarning, ToStd(text));
}

void ZJobContext::Error(const ZString& text)
{
    AddMessage(ESeverity::eError, ToStd(text));
}

void ZJobContext::AddMessage(ESeverity eSeverity, std::string sText)
{
    while (!sText.empty() && static_cast<unsigned char>(sText.back()) <= ' ')
        sText.pop_back();
    if (eSeverity == ESeverity::eError && !std::exchange(m_bHasErrors, true))
        m_sFirstError = sText;
    if (++m_nMessages > MOST_MESSAGES)
        return;
    if (m_nMessages == MOST_MESSAGES)
        sText += " (further messages are left out)";
    m_onMessage({eSeverity, std::move(sText)});
}

void ZJobContext::AddDependency(SDependency dependency)
{
    if (m_seen.insert(dependency.sId).second)
        m_dependencies.push_back(std::move(dependency));
}

std::string ZHostDatabase::FileOf(const ZResourceID& id) const
{
    const std::string sPath = OutputPathOf(id);
    return sPath.empty() ? sPath : m_sOut + '/' + sPath;
}

const SFileStamp& ZHostDatabase::StampOfSource(const std::string& sPath)
{
    const auto [it, bNew] = m_stamps.try_emplace(sPath);
    if (bNew)
        it->second = StampOf(sPath);
    return it->second;
}

const ZAssetTree::SLookup& ZHostDatabase::LookUp(const ZResourceID& id, ESeverity eWhenOdd)
{
    const ZAssetTree::SLookup& lookup = m_tree.Find(id);
    ZJobContext* pContext = Current();
    if (pContext == nullptr || id.IsEmpty())
        return lookup;
    const std::string sRoot = ToStd(id.GetRoot());
    if (pContext->HasDependency(sRoot))
        return lookup;
    if (!lookup.sWhy.empty())
        // Of two files nobody knows which one was meant, whatever it is needed for.
        pContext->AddMessage(lookup.IsWrong() ? ESeverity::eError : eWhenOdd, "'" + sRoot + "': " + lookup.sWhy);
    SDependency dependency{SDependency::eSource, sRoot, {}, 0};
    if (lookup.eState == ZAssetTree::SLookup::eFound)
    {
        dependency.stamp = StampOfSource(lookup.sPath);
        dependency.nHash = m_hashes.Of(lookup.sPath, dependency.stamp);
    }
    pContext->AddDependency(std::move(dependency));
    return lookup;
}

void ZHostDatabase::AddSourceDependency(const ZResourceID& id)
{
    LookUp(id, ESeverity::eWarning);
}

IInputStream* ZHostDatabase::OpenDerived(const ZResourceID& id)
{
    const std::string sId = CanonicalId(id);
    const std::string sFile = FileOf(id);
    if (sFile.empty())
    {
        if (ZJobContext* pContext = Current())
            pContext->AddMessage(ESeverity::eError, "'" + sId + "' names nothing that can be packed");
        return nullptr;
    }
    auto it = m_packed.find(sId);
    if (it == m_packed.end())
    {
        if (!m_make(sId))
            return nullptr;
        SPacked packed;
        IInputStream* pStream = OpenFileInputStream(sFile, &packed.stamp);
        if (pStream == nullptr)
            return nullptr;
        packed.nHash = m_hashes.Of(sFile, packed.stamp);
        if (packed.stamp.nSize > LARGEST_KEPT)
        {
            AddNeed(sId, packed);
            return pStream;
        }
        if (m_nKept > MOST_KEPT)
            m_packed.clear();
        m_nKept = m_packed.empty() ? 0 : m_nKept;
        std::vector<uint8_t> bytes(static_cast<size_t>(packed.stamp.nSize));
        bytes.resize(pStream->Read(bytes.data(), bytes.size()));
        pStream->Release();
        m_nKept += bytes.size();
        packed.pBytes = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
        it = m_packed.emplace(sId, std::move(packed)).first;
    }
    AddNeed(sId, it->second);
    return new ZKeptInputStream(it->second.pBytes);
}

void ZHostDatabase::AddNeed(const std::string& sId, const SPacked& packed)
{
    if (ZJobContext* pContext = Current())
        pContext->AddDependency({SDependency::eDerived, sId, packed.stamp, packed.nHash});
}

void* ZHostDatabase::LoadObject(const ZResourceID& id, STypeID* pInterface)
{
    const std::string_view component = ScannerOf(id.GetRoot().GetExtension().View());
    const TComponentScope<IResourceFactory> factory(
        component.empty() ? nullptr : CreateComponent<IResourceFactory>(ToZString(component)));
    if (!factory)
    {
        if (ZJobContext* pContext = Current())
            pContext->AddMessage(ESeverity::eError, "nothing here loads '" + ToStd(id) + "'");
        return nullptr;
    }
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*this, id.GetRoot()));
    return stream ? factory->LoadResource(stream.Get(), pInterface, id, id.GetRootParameters()) : nullptr;
}

void* ZHostDatabase::OpenInputStream(const ZResourceID& id, STypeID* pInterface, int, int)
{
    if (pInterface != GetTypeID<IInputStream>())
        return LoadObject(id, pInterface);
    if (id.IsDerived())
        return OpenDerived(id);
    const ZAssetTree::SLookup& lookup = LookUp(id, ESeverity::eError);
    if (lookup.eState != ZAssetTree::SLookup::eFound)
        return nullptr;
    std::error_code error;
    IInputStream* pStream = OpenFileInputStream(lookup.sPath, nullptr, &error);
    const std::string sRoot = ToStd(id.GetRoot());
    ZJobContext* pContext = Current();
    if (pStream == nullptr && error && pContext != nullptr)
        pContext->AddMessage(ESeverity::eError, "'" + sRoot + "' can't be read: " + error.message());
    return pStream;
}

IOutputStream* ZHostDatabase::OpenOutputStream(const ZResourceID& id)
{
    ZJobContext* pContext = Current();
    if (pContext == nullptr)
        return nullptr;
    if (pContext->Job().eKind != SJob::ePack || CanonicalId(id) != pContext->Job().sId)
    {
        pContext->AddMessage(ESeverity::eError,
                             std::string("'").append(ToStd(id)).append("' is not what this job is to make"));
        return nullptr;
    }
    if (!pContext->Output().Open(FileOf(id)))
    {
        pContext->AddMessage(ESeverity::eError, pContext->Output().Error());
        return nullptr;
    }
    return CreateFileOutputStream(pContext->Output());
}

SResourceInfo ZHostDatabase::QuerySourceResource(const ZResourceID& id)
{
    SResourceInfo info;
    const ZAssetTree::SLookup& lookup = LookUp(id, ESeverity::eWarning);
    if (lookup.eState != ZAssetTree::SLookup::eFound)
        return info;
    const SFileStamp& stamp = StampOfSource(lookup.sPath);
    info.bExists = stamp.bExists;
    info.bIsReadOnly = !Os::IsWritable(lookup.sPath);
    info.lastModificationTime = ZTime{stamp.nTime};
    return info;
}

ZFilePath ZHostDatabase::GetResourceFilePath(const ZResourceID& id)
{
    const ZAssetTree::SLookup& lookup = LookUp(id, ESeverity::eError);
    return lookup.eState == ZAssetTree::SLookup::eFound ? ZFilePath(ToZString(lookup.sPath)) : ZFilePath();
}

bool ZHostDatabase::BeginResourceUpdate(const ZResourceID&, int)
{
    if (Current() == nullptr)
        return false;
    ++Current()->m_nOpenUpdates;
    return true;
}

void ZHostDatabase::EndResourceUpdate(int)
{
    if (Current() != nullptr)
        --Current()->m_nOpenUpdates;
}

} // namespace Host
