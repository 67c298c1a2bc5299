#pragma once

#include "fbx/scene/fbxmanager.h"

#include <string>
#include <vector>

/// Named switches for importing. Owned by its manager.
///
/// "Import|AdvOptGrp|FileFormat|Fbx|Animation" set to false leaves curves and stacks out. Other names are kept and
/// mean nothing to the importer.
class FbxIOSettings
{
public:
    static FbxIOSettings* Create(FbxManager* pManager, const char* szName);
    ~FbxIOSettings();

    void SetBoolProp(const char* szName, bool bValue);
    bool GetBoolProp(const char* szName, bool bDefault) const;

private:
    explicit FbxIOSettings(const char* szName);

    [[no_unique_address]] SFbxLiveCount m_live;
    std::string m_sName;
    struct SSwitch
    {
        std::string sName;
        bool bValue;
    };
    std::vector<SSwitch> m_switches;
};
