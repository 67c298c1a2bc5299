#pragma once

#include "fbx/scene/fbxobject.h"

/// An attribute of a node: camera, light, skeleton, mesh. GetTypeText() tells which.
class FbxNodeAttribute : public FbxObject
{
public:
    using FbxObject::FbxObject;
    virtual bool IsCamera() const { return false; }
};

/// A camera. Its properties "FieldOfView" (degrees) and "FocalLength" (millimetres) are found by FindProperty.
class FbxCamera : public FbxNodeAttribute
{
public:
    using FbxNodeAttribute::FbxNodeAttribute;
    bool IsCamera() const override { return true; }

    /// Degrees, from a focal length in millimetres and the film's size ("FilmWidth", "FilmHeight", inches): the
    /// vertical angle when the aperture mode is vertical (2), the horizontal one otherwise.
    /// f = 2 atan(25.4 size / (2 focal length)).
    double ComputeFieldOfView(double fFocalLength) const;
};
