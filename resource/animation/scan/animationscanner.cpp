#include "resource/animation/scan/animationscanner.h"

#include "base/collections/thashmap.h"
#include "base/component/componentbase.h"
#include "base/misc/trace.h"
#include "resource/_shared/_internal/resourcescandata.h"
#include "resource/animation/fbximport/fbxsceneloan.h"
#include "resource/animation/fbximport/motioncharacteristics.h"
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/frame/animationresourceids.h"
#include "resource/animation/frame/resourcename.h"

#include <cmath>

namespace ResourceAnimation
{

namespace
{

ZString TrackTypes(const ZFbxTakeData& take)
{
    ZString types("Trajectory");
    const EGroundKind eKind = take.m_pGround->m_eKind;
    if (eKind != eGround_Attach && eKind != eGround_Camera)
        types.Append("|Bones");
    if (take.m_bFieldOfViewAnimated)
        types.Append("|FieldOfView");
    return types;
}

/// What comes of transforms that are none, or of a frame rate too small for a float, is no property.
void CheckMotion(const ZFbxTakeData& take, const SAnimationCharacteristics& c)
{
    float fSum = static_cast<float>(take.m_frameCount) / take.m_frameRate;
    for (const float f : {c.fAverageLinearVelocity, c.fLinearStartVelocity, c.fLinearEndVelocity, c.fTotalLinearDelta,
                          c.fTotalLinearXDelta, c.fTotalLinearYDelta, c.fAverageAngularVelocity, c.fTotalAngularDelta,
                          c.fStartDirectionAngle})
        fSum += f * 0.0f;
    if (!std::isfinite(fSum))
        throw ZAnimationException(ZString::Format("The motion of take '{0}' of ground '{1}' is no finite number",
                                                  take.m_name, take.m_pGround->GetDisplayName()));
}

void SetMotionProperties(const SAnimationCharacteristics& c, TMap<ZString, ZString>& properties)
{
    const struct
    {
        ZString key;
        float fValue;
    } rows[] = {
        {"ACD_AverageLinearVelocity", c.fAverageLinearVelocity},
        {"ACD_LinearStartVelocity", c.fLinearStartVelocity},
        {"ACD_LinearEndVelocity", c.fLinearEndVelocity},
        {"ACD_TotalLinearDelta", c.fTotalLinearDelta},
        {"ACD_TotalLinearXDelta", c.fTotalLinearXDelta},
        {"ACD_TotalLinearYDelta", c.fTotalLinearYDelta},
        {"ACD_AverageAngularVelocity", c.fAverageAngularVelocity},
        {"ACD_TotalAngularDelta", c.fTotalAngularDelta},
        {"ACD_StartDirectionAngle", c.fStartDirectionAngle},
        {"ACD_AimingYaw", c.fAimingYaw},
        {"ACD_AimingPitch", c.fAimingPitch},
        {"ACD_HeadYaw", c.fHeadYaw},
        {"ACD_HeadPitch", c.fHeadPitch},
    };
    for (const auto& row : rows)
        properties[row.key] = ZString::Format("{0}", row.fValue);
}

void CheckName(const char* szWhat, const ZString& name)
{
    if (const ZString fault = NameFault(name); !fault.IsEmpty())
        throw ZAnimationException(ZString::Format("The {0} '{1}' can't be packed: {2}",
                                                  ZString::ReferenceCString(szWhat), PrintableName(name), fault));
}

/// Identifiers know names without regard to case, and the first of a name stands for all.
class ZFirstOfName
{
public:
    void Tell(const char* szWhat, const ZString& name, const ZFbxGround& ground)
    {
        const ZString groundName = ground.GetDisplayName();
        if (const auto key = name.CopyToLower(); !m_grounds.Insert(key, groundName))
            ZTRACE(ITraceListener::eTrace_Notice, "ZAnimationScanner",
                   "The {0} '{1}' of ground '{2}' is lost: another one of this name, of ground '{3}', stands before it",
                   ZString::ReferenceCString(szWhat), name, groundName, *m_grounds.Find(key));
    }

private:
    THashMap<ZString, ZString> m_grounds;
};

} // namespace

ZObjectRef ZAnimationScanner::GetVariantRef()
{
    return {this, GetTypeID<IResourceFactory>()};
}

void* ZAnimationScanner::QueryInterface(STypeID* pInterface)
{
    return TInterfaceTable<ZAnimationScanner, IResourceFactory, IComponentInterface>::Query(this, pInterface);
}

void* ZAnimationScanner::LoadResource(IInputStream*, STypeID* pTypeID, const ZResourceID& id, const ZString&)
{
    ZASSERT_MESSAGE(false, "false",
                    ZString::Format("'{0}' is of an FBX file, which is no {1}", id, pTypeID).ToCString());
    return nullptr;
}

bool ZAnimationScanner::ScanResource(const ZResourceID& id, IInputStream* pStream, SResourceScanData& result)
{
    if (pStream == nullptr || !pStream->IsOpen())
        return false;
    try
    {
        if (id.GetExtension().ICompare("fbx") != 0)
            throw ZAnimationException("The file is not an .fbx");
        const ZFbxSceneLoan reader(id);
        ScanTakes(id, *reader, result);
        ScanRigs(id, *reader, result);
        return true;
    }
    catch (const ZAnimationException& e)
    {
        m_sLastError = ZString::Format("Error when scanning FBX: {0}", e.Message());
        ZTRACE(ITraceListener::eTrace_Failure, "ZAnimationScanner", "ERROR @ ZAnimationScanner: {0}.", m_sLastError);
        return false;
    }
}

void ZAnimationScanner::ScanTakes(const ZResourceID& id, ZFbxSceneReader& reader, SResourceScanData& result)
{
    ZFirstOfName first;
    for (unsigned int i = 0; i < reader.m_takeCount; ++i)
    {
        const ZFbxTakeData* pTake = reader.GetTakeAt(i);
        ZASSERT_OR_HALT(pTake);
        CheckName("take", pTake->m_name);
        first.Tell("take", pTake->m_name, *pTake->m_pGround);
        SAnimationCharacteristics characteristics;
        ComputeAnimationCharacteristics(ExtractTrajectory(pTake->m_pGround->m_pFbxNode, *pTake), pTake->m_frameRate,
                                        characteristics);
        CheckMotion(*pTake, characteristics);
        SSubResourceScanData entry;
        entry.sourceResourceID = id;
        entry.resourceID = GenerateFbxTakeResourceID(id, pTake->m_name);
        auto& properties = entry.properties;
        properties["TakeName"] = pTake->m_name;
        properties["SequenceDuration"] =
            ZString::Format("{0}/{1}FPS", pTake->m_frameCount - 1, static_cast<int32_t>(pTake->m_frameRate));
        properties["DurationSeconds"] =
            ZString::Format("{0}", static_cast<float>(pTake->m_frameCount) / pTake->m_frameRate);
        properties["FPS"] = ZString::Format("{0}", pTake->m_frameRate);
        properties["CutsequenceRigResource"] = pTake->m_pGround->m_rigResource.ToString();
        SetMotionProperties(characteristics, properties);
        properties["SequenceTrackTypes"] = TrackTypes(*pTake);
        result.subResources.Add(std::move(entry));
    }
}

void ZAnimationScanner::ScanRigs(const ZResourceID& id, ZFbxSceneReader& reader, SResourceScanData& result)
{
    ZFirstOfName first;
    for (unsigned int i = 0; i < reader.m_rigCount; ++i)
    {
        const ZFbxGround* pRig = reader.GetRigAt(i);
        ZASSERT_OR_HALT(pRig);
        ZASSERT(pRig->IsRig());
        CheckName("rig", pRig->GetDisplayName());
        first.Tell("rig", pRig->GetDisplayName(), *pRig);
        SSubResourceScanData entry;
        entry.sourceResourceID = id;
        entry.resourceID = GenerateFbxRigResourceID(id, pRig->GetDisplayName());
        result.subResources.Add(std::move(entry));
    }
}

} // namespace ResourceAnimation
