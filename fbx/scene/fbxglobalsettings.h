#pragma once

#include "fbx/scene/fbxaxissystem.h"
#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxtime.h"

/// Settings of a whole scene.
class FbxGlobalSettings : public FbxObject
{
public:
    using FbxObject::FbxObject;

    FbxAxisSystem GetAxisSystem() const { return m_axisSystem; }
    void SetAxisSystem(const FbxAxisSystem& axisSystem) { m_axisSystem = axisSystem; }
    /// Number of the time mode as files write it; 0 when the file has none.
    int GetTimeMode() const { return m_nTimeMode; }
    /// The rate counts for the mode of a rate of its own.
    void SetTimeMode(int nTimeMode, double fCustomFrameRate)
    {
        m_nTimeMode = nTimeMode;
        m_fCustomFrameRate = fCustomFrameRate;
    }
    /// Frames a second of the time mode.
    double GetFrameRate() const { return FbxTime::GetFrameRate(m_nTimeMode, m_fCustomFrameRate); }
    /// Centimetres a unit. Only told: nothing is scaled.
    double GetUnitScaleFactor() const { return m_fUnitScaleFactor; }
    void SetUnitScaleFactor(double f) { m_fUnitScaleFactor = f; }

private:
    FbxAxisSystem m_axisSystem;
    int m_nTimeMode = 0;
    double m_fCustomFrameRate = 0.0;
    double m_fUnitScaleFactor = 1.0;
};
