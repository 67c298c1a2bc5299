#pragma once

/// The scene file library: everything that its users need.
#include "fbx/fbxanim.h"
#include "fbx/fbxaxissystem.h"
#include "fbx/fbxcamera.h"
#include "fbx/fbxevaluator.h"
#include "fbx/fbxglobalsettings.h"
#include "fbx/fbximporter.h"
#include "fbx/fbxiosettings.h"
#include "fbx/fbxmanager.h"
#include "fbx/fbxnode.h"
#include "fbx/fbxobject.h"
#include "fbx/fbxproperty.h"
#include "fbx/fbxscene.h"
#include "fbx/fbxtime.h"
#include "fbx/fbxtransform.h"
