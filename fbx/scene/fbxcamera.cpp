#include "fbx/scene/fbxcamera.h"

#include "fbx/scene/fbxmath.h"

double FbxCamera::ComputeFieldOfView(double fFocalLength) const
{
    constexpr double kMillimetresPerInch = 25.4;
    constexpr int64_t kVertical = 2;
    const bool bVertical = FindProperty("ApertureMode").GetInt64() == kVertical;
    const double fFilm = FindProperty(bVertical ? "FilmHeight" : "FilmWidth").GetDouble() * kMillimetresPerInch;
    return 2.0 * FbxAtan2(fFilm, 2.0 * fFocalLength) * kFbxDegreesPerRadian;
}
