#pragma once

#include "base/collections/tarray.h"
#include "base/misc/zresourceid.h"
#include "resource/core/iresourcedatabase.h"

// Records that the host's scan service and resource database exchange with every module, as variants. Nothing here
// reads or writes them; SResourceInfo belongs to them and stands beside the database.

struct SBuildResourceMessage
{
    bool bFailed = false;
    ZResourceID resourceID;
    ZString sMessage;
};
Z_TYPE_NAME(SBuildResourceMessage, "SBuildResourceMessage");

struct SLoadResourceResult
{
    uint32_t nFileVersion = 0;
    ZString sFilePath;
    ZString sOutputMessage;
    ZString sErrorMessage;
    TArray<SBuildResourceMessage> aSubResourceMessages;
};
Z_TYPE_NAME(SLoadResourceResult, "SLoadResourceResult");

struct SLoadResourceResultArray
{
    TArray<SLoadResourceResult> array;
};
Z_TYPE_NAME(SLoadResourceResultArray, "SLoadResourceResultArray");

struct SResourceSourceControlStatus
{
    ZString clientFile;
    ZString depotFile;
    ZString headAction;
    ZString headType;
    ZString action;
    ZString type;
    ZString otherOpenUser;
    ZString changeList;
    int32_t nHeadChange = 0;
    int32_t nHeadRevision = 0;
    int32_t nHaveRevision = 0;
    bool bValid = false;
    bool bInChangeList = false;
    bool bInOurChangeList = false;
    bool bLocked = false;
    bool bOurLock = false;
    ZString otherLockUser;
    bool bSubmitLocked = false;
    bool bOurSubmitLock = false;
    ZString otherSubmitLockUser;
    ZString sErrorMessage;
};
Z_TYPE_NAME(SResourceSourceControlStatus, "SResourceSourceControlStatus");

/// Tells the type registry of these records. Safe to repeat.
Z_EXPORT void RegisterResourceRecords();
