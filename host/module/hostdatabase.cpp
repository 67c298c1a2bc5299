#include "host/module/hostdatabase.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "resource/core/iresourcefactory.h"

#include <utility>

namespace Host
{

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

ZAssetTree::SLookup ZHostDatabase::LookUp(const ZResourceID& id, ESeverity eWhenOdd)
{
    ZAssetTree::SLookup lookup = m_tree.Find(id);
    ZJobContext* pContext = Current();
    if (pContext == nullptr || id.IsEmpty())
        return lookup;
    const std::string sRoot = ToStd(id.GetRoot());
    if (pContext->HasDependency(sRoot))
        return lookup;
    if (!lookup.sWhy.empty())
        // Of two files nobody knows which one was meant, whatever it is needed for.
        pContext->AddMessage(lookup.eState == ZAssetTree::SLookup::eAmbiguous ? ESeverity::eError : eWhenOdd,
                             "'" + sRoot + "': " + lookup.sWhy);
    SDependency dependency{SDependency::eSource, sRoot, {}, 0};
    if (lookup.eState == ZAssetTree::SLookup::eFound)
    {
        dependency.stamp = StampOf(lookup.sPath);
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
    if (!m_make(sId))
        return nullptr;
    const SFileStamp stamp = StampOf(sFile);
    IInputStream* pStream = OpenFileInputStream(sFile);
    if (ZJobContext* pContext = Current(); pContext != nullptr && pStream != nullptr)
        pContext->AddDependency({SDependency::eDerived, sId, stamp, m_hashes.Of(sFile, stamp)});
    return pStream;
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
    const ZAssetTree::SLookup lookup = LookUp(id, ESeverity::eError);
    return lookup.eState == ZAssetTree::SLookup::eFound ? OpenFileInputStream(lookup.sPath) : nullptr;
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
    const ZAssetTree::SLookup lookup = LookUp(id, ESeverity::eWarning);
    if (lookup.eState != ZAssetTree::SLookup::eFound)
        return info;
    const SFileStamp stamp = StampOf(lookup.sPath);
    info.bExists = stamp.bExists;
    info.bIsReadOnly = !Os::IsWritable(lookup.sPath);
    info.lastModificationTime = ZTime{stamp.nTime};
    return info;
}

ZFilePath ZHostDatabase::GetResourceFilePath(const ZResourceID& id)
{
    const ZAssetTree::SLookup lookup = LookUp(id, ESeverity::eError);
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
