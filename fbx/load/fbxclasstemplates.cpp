#include "fbx/load/fbxclasstemplates.h"

#include "fbx/load/fbxpropertyrecord.h"

#include <algorithm>
#include <span>

namespace
{

constexpr SFbxPropertyData Number(std::string_view name, std::string_view typeName, EFbxType eType, double f,
                                  uint32_t nFlags = 0)
{
    SFbxPropertyData data;
    data.name = name;
    data.typeName = typeName;
    data.eType = eType;
    data.values[0] = f;
    data.integer = static_cast<int64_t>(f);
    data.nFlags = nFlags;
    return data;
}

constexpr SFbxPropertyData Vector(std::string_view name, std::string_view typeName, double f, uint32_t nFlags = 0)
{
    SFbxPropertyData data;
    data.name = name;
    data.typeName = typeName;
    data.eType = EFbxType::eDouble3;
    data.nChannels = 3;
    data.values[0] = data.values[1] = data.values[2] = f;
    data.integer = static_cast<int64_t>(f);
    data.nFlags = nFlags;
    return data;
}

/// Every object of a class shows all of its template's properties, so a long template would weigh a hundred
/// thousandfold.
constexpr size_t kMaxTemplateProperties = 4096;

constexpr SFbxPropertyData kNodeProperties[] = {
    Vector("Lcl Translation", "Lcl Translation", 0, eFbxFlag_Animatable),
    Vector("Lcl Rotation", "Lcl Rotation", 0, eFbxFlag_Animatable),
    Vector("Lcl Scaling", "Lcl Scaling", 1, eFbxFlag_Animatable),
    Number("Visibility", "Visibility", EFbxType::eDouble, 1, eFbxFlag_Animatable),
    Number("RotationOrder", "enum", EFbxType::eEnum, 0),
    Number("RotationActive", "bool", EFbxType::eBool, 0),
    Number("RotationSpaceForLimitOnly", "bool", EFbxType::eBool, 0),
    Vector("PreRotation", "Vector3D", 0),
    Vector("PostRotation", "Vector3D", 0),
    Vector("RotationOffset", "Vector3D", 0),
    Vector("RotationPivot", "Vector3D", 0),
    Vector("ScalingOffset", "Vector3D", 0),
    Vector("ScalingPivot", "Vector3D", 0),
    Number("InheritType", "enum", EFbxType::eEnum, 0),
};

constexpr SFbxPropertyData kCameraProperties[] = {
    Number("FieldOfView", "FieldOfView", EFbxType::eDouble, 25.114999771118164, eFbxFlag_Animatable),
    Number("FocalLength", "Number", EFbxType::eDouble, 34.893276, eFbxFlag_Animatable),
    Number("FilmWidth", "double", EFbxType::eDouble, 0.816),
    Number("FilmHeight", "double", EFbxType::eDouble, 0.612),
    Number("ApertureMode", "enum", EFbxType::eEnum, 2),
    Number("NearPlane", "double", EFbxType::eDouble, 10),
    Number("FarPlane", "double", EFbxType::eDouble, 4000),
};

} // namespace

void FbxClassTemplates::Read(const SFbxRecord& root, const FbxFileTime& fileTime)
{
    m_fileTime = fileTime;
    const SFbxRecord* pDefinitions = root.Find("Definitions");
    for (const SFbxRecord* p = pDefinitions ? pDefinitions->pChild : nullptr; p; p = p->pNext)
    {
        if (!p->Is("ObjectType"))
            continue;
        for (const SFbxRecord* pTemplate = p->pChild; pTemplate; pTemplate = pTemplate->pNext)
        {
            if (!pTemplate->Is("PropertyTemplate"))
                continue;
            // The first files of this layout wrote "KFbxNode".
            std::string_view name = pTemplate->Text(0);
            if (name.substr(0, 4) == "KFbx")
                name.remove_prefix(1);
            m_classes.try_emplace(name, SClass{pTemplate->Find("Properties70"), nullptr});
        }
    }
}

const SFbxPropertyTemplate* FbxClassTemplates::Of(std::string_view name)
{
    const auto found = m_classes.find(name);
    SClass& entry = found != m_classes.end() ? found->second
                                             : m_plain[name == "FbxNode"     ? 0
                                                       : name == "FbxCamera" ? 1
                                                                             : 2];
    if (!entry.pTemplate)
        entry.pTemplate = Make(name, entry.pProperties);
    return entry.pTemplate;
}

const SFbxPropertyTemplate* FbxClassTemplates::Make(std::string_view name, const SFbxRecord* pProperties)
{
    SFbxPropertyTemplate* pMade = m_scene.AddTemplate();
    std::vector<SFbxPropertyData>& made = pMade->properties;
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
    {
        SFbxPropertyData data;
        if (made.size() < kMaxTemplateProperties && FbxParseProperty(*p, true, m_fileTime, m_scene.GetMemory(), data))
            made.push_back(data);
    }
    std::span<const SFbxPropertyData> builtIn;
    if (name == "FbxNode")
        builtIn = kNodeProperties;
    else if (name == "FbxCamera")
        builtIn = kCameraProperties;
    const size_t nWritten = made.size();
    for (const SFbxPropertyData& data : builtIn)
        if (std::none_of(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(nWritten),
                         [&data](const SFbxPropertyData& written) { return written.name == data.name; }))
            made.push_back(data);
    return pMade;
}
