#pragma once

/// The scene file library: everything that its users need.
#include "fbx/evaluate/fbxevaluator.h"
#include "fbx/load/fbximporter.h"
#include "fbx/load/fbxiosettings.h"
#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxaxissystem.h"
#include "fbx/scene/fbxcamera.h"
#include "fbx/scene/fbxglobalsettings.h"
#include "fbx/scene/fbxmanager.h"
#include "fbx/scene/fbxnode.h"
#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxproperty.h"
#include "fbx/scene/fbxscene.h"
#include "fbx/scene/fbxtime.h"
#include "fbx/scene/fbxtransform.h"
