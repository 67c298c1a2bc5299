#include "fbx/load/fbxiosettings.h"

FbxIOSettings* FbxIOSettings::Create(FbxManager* pManager, const char* /*szName*/)
{
    return pManager->Own(std::unique_ptr<FbxIOSettings>(new FbxIOSettings()));
}

void FbxIOSettings::SetBoolProp(std::string_view name, bool bValue)
{
    for (SSwitch& entry : m_switches)
    {
        if (entry.sName == name)
        {
            entry.bValue = bValue;
            return;
        }
    }
    m_switches.push_back({std::string(name), bValue});
}

bool FbxIOSettings::GetBoolProp(std::string_view name, bool bDefault) const
{
    for (const SSwitch& entry : m_switches)
        if (entry.sName == name)
            return entry.bValue;
    return bDefault;
}
