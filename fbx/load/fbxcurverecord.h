#pragma once

#include "fbx/load/fbxscenebuilder.h"

/// Fills a curve from a record of files from version 7 on: arrays of times, values and attributes. pOut stays as it is
/// for a record without keys; false, with a text, for a damaged one.
bool FbxReadCurve(const SFbxRecord& record, FbxSceneBuilder& builder, const FbxAnimCurve*& pOut);

/// Constant when there is no such record.
SFbxExtrapolation FbxReadExtrapolation(const SFbxRecord* pRecord);
