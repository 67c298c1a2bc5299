#include "tests/fbx/loadscene.h"
#include "tests/support/tempfolder.h"

namespace
{

using namespace fbxfile;

/// Everything that a reader of a scene can see, as text.
std::string Describe(FbxScene& scene)
{
    std::string s;
    const auto number = [&s](double f) { s += std::to_string(f) + ' '; };
    const auto transform = [&number](const FbxTransform& t)
    {
        for (const double f : {t.t.x, t.t.y, t.t.z, t.q.x, t.q.y, t.q.z, t.q.w, t.s.x, t.s.y, t.s.z})
            number(f);
    };
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        FbxNode& node = *scene.GetNode(n);
        s += std::string(node.GetName()) + '/' + node.GetTypeText() + '/' +
             (node.GetParent() ? node.GetParent()->GetName() : "") + ": ";
        for (const FbxTime time :
             {FbxTime::Infinite(), FbxTime(), FbxTime::FromSeconds(0.4), FbxTime::FromSeconds(2.7)})
        {
            transform(node.EvaluateLocalTransform(time));
            transform(node.EvaluateGlobalTransform(time));
        }
        const FbxObject* objects[] = {&node, node.GetNodeAttributeCount() ? node.GetNodeAttribute(0) : nullptr};
        for (const FbxObject* pObject : objects)
        {
            for (size_t i = 0; pObject && i < pObject->GetPropertyCount(); ++i)
            {
                const FbxProperty property = pObject->GetProperty(i);
                double values[4];
                scene.GetAnimationEvaluator()->EvaluateProperty(property, FbxTime::FromSeconds(0.6), values);
                s += std::string("\n  ") + property.GetName() + ' ' + property.GetTypeName() + ' ' +
                     property.GetFlagsText() + ' ' + property.GetString() + ' ';
                number(values[0]);
                number(property.GetMatrix().m[2][1]);
                s += property.GetCurveNode() ? "animated" : "";
            }
        }
        s += '\n';
    }
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
        s += std::string(scene.GetAnimStack(n)->GetName()) + std::to_string(scene.GetAnimStack(n)->GetLayerCount()) +
             ' ' + std::to_string(scene.GetAnimStack(n)->GetLocalTimeSpan().stop.Get()) + '\n';
    return s;
}

TEST(Format, AllKindsOfFilesGiveOneScene)
{
    const std::string sPlain = CorpusFile("binary/rich7400"), sWide = CorpusFile("binary/rich7500deflated");
    LoadedScene plain(sPlain);
    ASSERT_TRUE(plain.IsLoaded()) << plain.Error();
    ASSERT_EQ(plain->GetNodeCount(), 4u);
    const std::string sExpected = Describe(*plain.Get());
    const std::tuple<const char*, std::string, int> cases[] = {
        {"7.1", WithVersion(sPlain, 7100), 7100},
        {"7.7", WithVersion(sWide, 7700), 7700},
        {"deflated", sWide, 7500},
        {"big endian", CorpusFile("binary/rich7400big"), 7400},
        {"7.5 big endian, deflated", CorpusFile("binary/rich7500bigdeflated"), 7500},
        {"text", CorpusFile("text/rich7400"), 7400},
    };
    for (const auto& [szLabel, sFile, nVersion] : cases)
    {
        SCOPED_TRACE(szLabel);
        LoadedScene scene(sFile);
        ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
        EXPECT_EQ(scene.Version(), nVersion);
        EXPECT_EQ(Describe(*scene.Get()), sExpected);
    }
}

TEST(Format, FilesOnDisk)
{
    const ZTempFolder folder;
    const std::string sName = folder.Write("rich.fbx", CorpusFile("binary/rich7400"));
    FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
    FbxImporter* pImporter = FbxImporter::Create(pManager, "");
    FbxScene* pScene = FbxScene::Create(pManager, "");
    EXPECT_TRUE(pImporter->Initialize(sName.c_str(), -1, nullptr)) << pImporter->GetErrorText();
    EXPECT_TRUE(pImporter->IsBinary() && !pImporter->IsBigEndian() && pImporter->IsFBX());
    EXPECT_TRUE(pImporter->Import(pScene)) << pImporter->GetErrorText();
    EXPECT_EQ(pScene->GetNodeCount(), 4u);
    EXPECT_FALSE(pImporter->Import(pScene)) << "a file is read once";
    for (const std::string& sPath : {sName + "x", folder.Path(), std::string()})
    {
        EXPECT_FALSE(pImporter->Initialize(sPath.c_str(), -1, nullptr)) << sPath;
        EXPECT_STRNE(pImporter->GetErrorText(), "");
        EXPECT_FALSE(pImporter->IsFBX());
    }
    pManager->Destroy();
    EXPECT_EQ(FbxManager::LiveObjectCount(), 0u);
}

TEST(Format, AnimationCanBeLeftOut)
{
    const std::string sFile = CorpusFile("binary/rich7400");
    FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
    FbxIOSettings* pSettings = FbxIOSettings::Create(pManager, "IOSRoot");
    pSettings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Animation", false);
    pManager->SetIOSettings(pSettings);
    FbxImporter* pImporter = FbxImporter::Create(pManager, "");
    FbxScene* pScene = FbxScene::Create(pManager, "");
    ASSERT_TRUE(pImporter->InitializeFromMemory(sFile.data(), sFile.size()) && pImporter->Import(pScene));
    EXPECT_EQ(pScene->GetAnimStackCount(), 0u);
    EXPECT_EQ(pScene->GetNodeCount(), 4u);
    pManager->Destroy();
}

} // namespace
