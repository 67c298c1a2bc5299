#include "tests/fbx/loadscene.h"
#include "tests/support/tempfolder.h"

#include <cstring>

namespace
{

using namespace fbxfile;

/// A file of some megabytes: curves before and behind a mesh.
std::string LargeScene(const Format& format)
{
    Scene scene;
    const int64_t nLayer = scene.Layer("Base", scene.Stack("Take", 0, kSecond));
    const auto move = [&](const std::string& sName)
    {
        const int64_t nCurveNode = scene.CurveNode(nLayer, scene.Model(sName), "Lcl Translation", {0, 0, 0});
        std::vector<int64_t> times(100000);
        std::vector<double> values(times.size());
        for (size_t n = 0; n < times.size(); ++n)
        {
            times[n] = static_cast<int64_t>(n) * kSecond / 30;
            values[n] = static_cast<double>(n * sName.size());
        }
        scene.Curve(nCurveNode, "d|X", times, values);
    };
    move("a");
    Record mesh{"Geometry", {L(77), Name("shape", "Geometry"), S("Mesh")}, {}};
    mesh.Add("Vertices", {Doubles(std::vector<double>(1000000, 0.25))});
    scene.objects.push_back(std::move(mesh));
    move("bb");
    return scene.Write(format);
}

TEST(Input, LargeFilesAreMapped)
{
    const ZTempFolder folder;
    for (const Format& format : {Format{7400}, Format{7500, false, true, false}, Format{7400, true}})
    {
        const std::string sPath = folder.Write("large.fbx", LargeScene(format));
        FbxManager* pManager = FbxManager::Create(&FbxMakeEvaluator);
        FbxScene* pScene = FbxScene::Create(pManager, "");
        FbxImporter* pImporter = FbxImporter::Create(pManager, "");
        ASSERT_TRUE(pImporter->Initialize(sPath.c_str(), -1, nullptr)) << pImporter->GetErrorText();
        ASSERT_TRUE(pImporter->Import(pScene)) << pImporter->GetErrorText();
        for (const char* szName : {"a", "bb"})
            EXPECT_EQ(pScene->FindNodeByName(szName)->EvaluateGlobalTransform(FbxTime::FromSeconds(3000.0)).t.x,
                      90000.0 * static_cast<double>(std::strlen(szName)));
        pManager->Destroy();
    }
}

} // namespace
