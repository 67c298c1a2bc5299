#pragma once

#include "base/math/quaternion.h"
#include "base/typeinfo/stypeid.h"

// Here and not beside the types, so that the mathematics needs no reflection.
Z_TYPE_NAME(SVector2, "SVector2");
Z_TYPE_NAME(SVector3, "SVector3");
Z_TYPE_NAME(SVector4, "SVector4");
Z_TYPE_NAME(SQuaternion, "SQuaternion");
Z_TYPE_NAME(SQV, "SQV");
