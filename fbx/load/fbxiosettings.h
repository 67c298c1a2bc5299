#pragma once

#include "fbx/scene/fbxmanager.h"

#include <string>
#include <string_view>
#include <vector>

/// Named switches for importing. Owned by its manager.
///
/// "Import|AdvOptGrp|FileFormat|Fbx|Animation" set to false leaves curves and stacks out. Other names are kept and
/// mean nothing to the importer.
class FbxIOSettings : public FbxManaged
{
public:
    static FbxIOSettings* Create(FbxManager* pManager, const char* szName);

    void SetBoolProp(std::string_view name, bool bValue);
    bool GetBoolProp(std::string_view name, bool bDefault) const;

private:
    FbxIOSettings() = default;

    [[no_unique_address]] SFbxLiveCount m_live;
    struct SSwitch
    {
        std::string sName;
        bool bValue;
    };
    std::vector<SSwitch> m_switches;
};
