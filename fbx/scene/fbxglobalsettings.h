#pragma once

#include "fbx/scene/fbxaxissystem.h"
#include "fbx/scene/fbxobject.h"

/// Settings of a whole scene.
class FbxGlobalSettings : public FbxObject
{
public:
    explicit FbxGlobalSettings(FbxScene* pScene) : FbxObject(pScene) {}

    FbxAxisSystem GetAxisSystem() const { return m_axisSystem; }
    void SetAxisSystem(const FbxAxisSystem& axisSystem) { m_axisSystem = axisSystem; }
    /// Number of the time mode as files write it; 0 when the file has none.
    int GetTimeMode() const { return m_nTimeMode; }
    /// Frames a second of the time mode.
    double GetFrameRate() const;
    /// Centimetres a unit. Only told: nothing is scaled.
    double GetUnitScaleFactor() const { return m_fUnitScaleFactor; }

private:
    friend struct FbxAccess;

    FbxAxisSystem m_axisSystem;
    int m_nTimeMode = 0;
    double m_fCustomFrameRate = 0.0;
    double m_fUnitScaleFactor = 1.0;
};
