#include "bench/fbx/benchscenes.h"

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "tests/fbx/fbxfile.h"

#include <cmath>
#include <ctime>
#include <fstream>
#include <iterator>

namespace
{

using namespace fbxfile;

constexpr int kOneLayer = -1;

std::string MakeMotion(size_t nNodes, size_t nFrames, size_t nStep, const KeyAttribute& kind, bool bText,
                       int nUpperMode = kOneLayer)
{
    Scene scene;
    const int64_t nStack = scene.Stack("Take", 0, static_cast<int64_t>(nFrames) * kSecond / 30);
    std::vector<int64_t> layers{scene.Layer("Base", nStack)};
    if (nUpperMode != kOneLayer)
    {
        layers.push_back(scene.Layer("Upper", nStack));
        scene.Property(layers[1], "Weight", "Number", "A", {D(50)});
        scene.Integer(layers[1], "BlendMode", nUpperMode);
    }
    std::vector<int64_t> times;
    for (size_t n = 0; n < nFrames; n += nStep)
        times.push_back(static_cast<int64_t>(n) * kSecond / 30);
    std::vector<int64_t> models;
    for (size_t nNode = 0; nNode < nNodes; ++nNode)
    {
        const int64_t nParent = nNode == 0 ? 0 : models[(nNode - 1) / 2];
        const int64_t nModel = scene.Model("node" + std::to_string(nNode), "LimbNode", nParent);
        models.push_back(nModel);
        static const char* const properties[] = {"Lcl Translation", "Lcl Rotation", "Lcl Scaling"};
        for (size_t nPart = 0; nPart < 3 * layers.size(); ++nPart)
        {
            const size_t p = nPart % 3;
            const int64_t nLayer = layers[nPart / 3];
            const double fRest = p == 2 ? 1.0 : 0.0;
            const int64_t nCurveNode = scene.CurveNode(nLayer, nModel, properties[p], {fRest, fRest, fRest});
            for (size_t c = 0; c < 3; ++c)
            {
                std::vector<double> values;
                for (const int64_t nTime : times)
                {
                    const double t = static_cast<double>(nTime) / static_cast<double>(kSecond);
                    const double f = static_cast<double>(nNode * 7 + c * 3 + 1);
                    const bool bMoves = p == 1 || (p == 0 && nNode == 0);
                    // Noise in the last digits, as captured motion has it: smooth curves would pack unlike real ones.
                    values.push_back(bMoves ? 40.0 * std::sin(t * (1.0 + f * 0.01) + f) + 0.01 * std::sin(t * 977.0 * f)
                                     : p == 0 ? f
                                              : 1.0);
                }
                KeyAttribute attribute = kind;
                attribute.nCount = static_cast<int64_t>(times.size());
                static const char* const channels[] = {"d|X", "d|Y", "d|Z"};
                scene.Curve(nCurveNode, channels[c], times, values, {attribute});
            }
        }
    }
    return scene.Write({7400, bText, false, !bText});
}

} // namespace

std::string MakeBakedScene(size_t nNodes, size_t nFrames, bool bText)
{
    return MakeMotion(nNodes, nFrames, 1, {kLinear, 0, 0, 218434821, 1}, bText);
}

std::string MakeCubicScene(size_t nNodes, size_t nFrames)
{
    return MakeMotion(nNodes, nFrames, 8, {kCubicAuto | 0x6000, 0, 0, 218434821, 1}, false);
}

std::string MakeLayeredScene(size_t nNodes, size_t nFrames, int nBlendMode)
{
    return MakeMotion(nNodes, nFrames, 1, {kLinear, 0, 0, 218434821, 1}, false, nBlendMode);
}

std::string MakeMeshScene(size_t nMeshBytes, bool bText)
{
    Scene scene;
    const int64_t nModel = scene.Model("mesh", "Mesh");
    std::vector<double> vertices(nMeshBytes / 8);
    for (size_t n = 0; n < vertices.size(); ++n)
        vertices[n] = std::sin(static_cast<double>(n));
    Record mesh{"Geometry", {L(77), Name("shape", "Geometry"), S("Mesh")}, {}};
    mesh.Add("Vertices", {Doubles(std::move(vertices))});
    scene.objects.push_back(std::move(mesh));
    scene.Connect("OO", 77, nModel);
    return scene.Write({7500, bText, false, false});
}

std::string MakeNodeScene(size_t nNodes, bool bText)
{
    Scene scene;
    int64_t nParent = 0;
    for (size_t n = 0; n < nNodes; ++n)
    {
        const int64_t nModel = scene.Model("node" + std::to_string(n), "Null", nParent);
        if (n % 10 == 0)
            nParent = nModel;
        scene.Vector(nModel, "Lcl Translation", 1, 2, 3);
        scene.Vector(nModel, "Lcl Rotation", 10, 20, 30);
        scene.Vector(nModel, "Lcl Scaling", 1, 1, 1);
        scene.Integer(nModel, "DefaultAttributeIndex", 0);
        scene.Property(nModel, "MaxHandle", "int", "UH", {I(static_cast<int64_t>(n))});
    }
    return scene.Write({7400, bText, false, !bText});
}

std::string MakeOldScene(size_t nNodes, size_t nFrames, bool bText)
{
    Record top{"", {}, {}};
    Record& header = top.Add("FBXHeaderExtension");
    header.Add("FBXVersion", {I(6100)});
    Record objects{"Objects", {}, {}};
    Record take{"Take", {S("Take 001")}, {}};
    for (size_t nNode = 0; nNode < nNodes; ++nNode)
    {
        const Value name = Name("node" + std::to_string(nNode), "Model");
        Record& model = objects.Add("Model", {name, S("LimbNode")});
        Record& properties = model.Add("Properties60");
        for (const char* szName : {"Lcl Translation", "Lcl Rotation", "Lcl Scaling"})
            properties.Add("Property", {S(szName), S(szName), S("A+"), D(1), D(1), D(1)});
        Record& transform = take.Add("Model", {name}).Add("Channel", {S("Transform")});
        for (const char* szPart : {"T", "R", "S"})
        {
            Record& part = transform.Add("Channel", {S(szPart)});
            for (const char* szAxis : {"X", "Y", "Z"})
            {
                Record& channel = part.Add("Channel", {S(szAxis)});
                channel.Add("Default", {D(0)});
                channel.Add("KeyVer", {I(4005)});
                channel.Add("KeyCount", {I(static_cast<int64_t>(nFrames))});
                std::vector<Value> keys;
                for (size_t n = 0; n < nFrames; ++n)
                {
                    keys.push_back(L(static_cast<int64_t>(n) * kSecond / 30));
                    keys.push_back(D(40.0 * std::sin(static_cast<double>(n * nNode))));
                    keys.push_back({'C', 'L', 0.0, {}, {}, {}});
                }
                channel.Add("Key", std::move(keys));
            }
        }
    }
    top.children.push_back(std::move(objects));
    Record takes{"Takes", {}, {}};
    takes.Add("Current", {S("Take 001")});
    takes.children.push_back(std::move(take));
    top.children.push_back(std::move(takes));
    return fbxfile::Write(top, {6100, bText, false, false});
}

std::string ReadShared(const std::string& sPath)
{
    std::ifstream file(std::string(Z_SOURCE_DIR "/../shared/") + sPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

double ThreadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

LoadedScene::LoadedScene(const std::string& sFile)
    : m_pManager(FbxManager::Create(&FbxMakeEvaluator)), m_pScene(FbxScene::Create(m_pManager, ""))
{
    FbxImporter* pImporter = FbxImporter::Create(m_pManager, "");
    m_bLoaded = pImporter->InitializeFromMemory(sFile.data(), sFile.size()) && pImporter->Import(m_pScene);
    pImporter->Destroy();
}
