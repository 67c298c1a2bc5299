#pragma once

#include "base/collections/tarray.h"
#include "base/collections/tmap.h"
#include "base/misc/zresourceid.h"

/// One thing that a source file holds. All property values are text, numbers too.
struct SSubResourceScanData
{
    ZResourceID resourceID;
    ZResourceID sourceResourceID; ///< the scanned file
    TArray<ZResourceID> referencedResources;
    TMap<ZString, ZString> properties;
};

/// What a scanner fills for one source file; the host owns it.
struct SResourceScanData
{
    TArray<ZResourceID> fileReferencedResources;
    TMap<ZString, ZString> fileProperties;
    TArray<SSubResourceScanData> subResources; ///< in the order in which the scanner found them
};
