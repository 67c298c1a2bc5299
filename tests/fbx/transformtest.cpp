#include "tests/fbx/loadscene.h"

#include <array>
#include <cmath>
#include <map>

namespace
{

using namespace fbxfile;

using Matrix = FbxMatrix4; // row vectors: a * b lets a act first

Matrix Move(const FbxVector3& v)
{
    Matrix m;
    m.m[3][0] = v.x;
    m.m[3][1] = v.y;
    m.m[3][2] = v.z;
    return m;
}
Matrix Scale(const FbxVector3& v)
{
    Matrix m;
    m.m[0][0] = v.x;
    m.m[1][1] = v.y;
    m.m[2][2] = v.z;
    return m;
}
Matrix TurnAbout(int nAxis, double fDegrees)
{
    const double f = fDegrees * 3.14159265358979323846 / 180.0;
    Matrix m;
    const int j = (nAxis + 1) % 3;
    const int k = (nAxis + 2) % 3;
    m.m[j][j] = m.m[k][k] = std::cos(f);
    m.m[j][k] = std::sin(f);
    m.m[k][j] = -std::sin(f);
    return m;
}
Matrix Turn(const FbxVector3& v, const char* szOrder = "xyz")
{
    const double angles[3] = {v.x, v.y, v.z};
    Matrix m;
    for (const char* p = szOrder; *p; ++p)
        m = m * TurnAbout(*p - 'x', angles[*p - 'x']);
    return m;
}
Matrix TurnBack(const FbxVector3& v)
{
    return TurnAbout(2, -v.z) * TurnAbout(1, -v.y) * TurnAbout(0, -v.x);
}
constexpr const char* kOrders[] = {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx", "xyz"};
constexpr const char* kVectors[] = {"Lcl Translation", "Lcl Rotation",  "Lcl Scaling",   "PreRotation", "PostRotation",
                                    "RotationOffset",  "RotationPivot", "ScalingOffset", "ScalingPivot"};

struct Pieces
{
    std::map<std::string, FbxVector3> vectors{{"Lcl Scaling", {1, 1, 1}}};
    int nOrder = 0;
    int nActive = 1;
    int nForLimitOnly = 0;
    int nInherit = 1;

    const FbxVector3 operator[](const char* sz) const
    {
        const auto found = vectors.find(sz);
        return found == vectors.end() ? FbxVector3() : found->second;
    }
    /// The formula, piece by piece.
    Matrix Local() const
    {
        const bool bActive = nActive && !nForLimitOnly;
        const Matrix turn = bActive ? TurnBack((*this)["PostRotation"]) *
                                          Turn((*this)["Lcl Rotation"], kOrders[nOrder]) * Turn((*this)["PreRotation"])
                                    : Turn((*this)["Lcl Rotation"]);
        return Move(-(*this)["ScalingPivot"]) * Scale((*this)["Lcl Scaling"]) * Move((*this)["ScalingPivot"]) *
               Move((*this)["ScalingOffset"]) * Move(-(*this)["RotationPivot"]) * turn *
               Move((*this)["RotationPivot"]) * Move((*this)["RotationOffset"]) * Move((*this)["Lcl Translation"]);
    }
    int64_t AddTo(Scene& scene, const std::string& sName, int64_t nParent) const
    {
        const int64_t nModel = scene.Model(sName, "Null", nParent);
        for (const auto& [sVector, v] : vectors)
            scene.Vector(nModel, sVector, v.x, v.y, v.z);
        scene.Integer(nModel, "RotationOrder", nOrder);
        scene.Integer(nModel, "RotationActive", nActive);
        scene.Integer(nModel, "RotationSpaceForLimitOnly", nForLimitOnly);
        scene.Integer(nModel, "InheritType", nInherit);
        return nModel;
    }
};

class Random
{
public:
    double Number(double fFrom, double fTo)
    {
        m_n = m_n * 6364136223846793005u + 1442695040888963407u;
        return fFrom + (fTo - fFrom) * (static_cast<double>(m_n >> 11) / 9007199254740992.0);
    }
    int Below(int n) { return static_cast<int>(Number(0, n)); }
    FbxVector3 Vector(double fFrom, double fTo) { return {Number(fFrom, fTo), Number(fFrom, fTo), Number(fFrom, fTo)}; }

private:
    uint64_t m_n = 0x5eed;
};

Pieces RandomPieces(Random& random, bool bUniform)
{
    Pieces pieces;
    for (const char* sz : kVectors)
        if (random.Below(3) != 0)
            pieces.vectors[sz] = random.Vector(-50, 50);
    pieces.vectors["Lcl Rotation"] = random.Vector(-400, 400);
    pieces.vectors["Lcl Scaling"] = bUniform ? FbxVector3{1, 1, 1} * random.Number(0.5, 2) : random.Vector(0.3, 3);
    pieces.nOrder = random.Below(7);
    pieces.nActive = random.Below(4) != 0;
    pieces.nForLimitOnly = random.Below(6) == 0;
    return pieces;
}

TEST(Transform, EveryPieceAgainstTheFormula)
{
    Random random;
    std::vector<Pieces> nodes;
    Scene scene;
    for (int n = 0; n < 300; ++n)
    {
        nodes.push_back(RandomPieces(random, n % 2 == 0));
        nodes.back().AddTo(scene, "n" + std::to_string(n), 0);
    }
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    for (size_t n = 0; n < nodes.size(); ++n)
    {
        SCOPED_TRACE(n);
        const FbxNode& node = *loaded->GetNode(n + 1);
        const Matrix expected = nodes[n].Local();
        EXPECT_TRUE(Near(node.EvaluateLocalMatrix(FbxTime::Infinite()), expected, 1e-10));
        EXPECT_TRUE(Near(Matrix::FromTransform(node.EvaluateGlobalTransform(FbxTime::Infinite())), expected, 1e-10));
    }
}

TEST(Transform, ScaleInheritance)
{
    // A parent with scale (2, 3, 4) below a grandparent with scale 5, a child turned by 90 degrees about Z with scale
    // (1, 1, 2): what arrives depends on how the child inherits.
    // expected: of the child's rotation and scale
    const std::tuple<const char*, int, Matrix> cases[] = {
        {"parent's scale first, along its own axes", 1, Scale({1, 1, 2}) * TurnAbout(2, 90) * Scale({10, 15, 20})},
        {"all scales along the child's axes", 0, Scale({10, 15, 40}) * TurnAbout(2, 90)},
        {"without the parent's own", 2, Scale({5, 5, 10}) * TurnAbout(2, 90)},
        {"unknown counts as the first kind", 7, Scale({10, 15, 40}) * TurnAbout(2, 90)},
    };
    for (const auto& [szLabel, nInherit, turnAndScale] : cases)
    {
        SCOPED_TRACE(szLabel);
        Scene scene;
        Pieces grand;
        grand.vectors["Lcl Scaling"] = {5, 5, 5};
        Pieces parent;
        parent.vectors["Lcl Scaling"] = {2, 3, 4};
        parent.vectors["Lcl Translation"] = {1, 0, 0};
        Pieces child;
        child.vectors["Lcl Rotation"] = {0, 0, 90};
        child.vectors["Lcl Scaling"] = {1, 1, 2};
        child.vectors["Lcl Translation"] = {0, 7, 0};
        child.nInherit = nInherit;
        child.AddTo(scene, "child", parent.AddTo(scene, "parent", grand.AddTo(scene, "grand", 0)));
        LoadedScene loaded(scene.Write());
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        // The translation always goes through all of the parent.
        const Matrix expected = turnAndScale * Move({5, 105, 0});
        for (const FbxTime time : {FbxTime::Infinite(), FbxTime()})
        {
            const Matrix global = loaded.Node("child").EvaluateGlobalMatrix(time);
            EXPECT_TRUE(Near(global, expected, 1e-12));
            const Matrix local = loaded.Node("child").EvaluateLocalMatrix(time);
            EXPECT_TRUE(Near(local * loaded.Node("parent").EvaluateGlobalMatrix(time), global, 1e-12));
        }
    }
}

/// Whatever the scales and the kinds of inheritance: global is local times the parent's global, and where a node
/// inherits in the plain way, local is the formula.
TEST(Transform, LocalIsRelativeToTheParent)
{
    Random random;
    for (int nRound = 0; nRound < 60; ++nRound)
    {
        Scene scene;
        std::vector<int64_t> ids{0};
        std::vector<Pieces> nodes;
        for (int n = 0; n < 10; ++n)
        {
            nodes.push_back(RandomPieces(random, random.Below(2) == 0));
            nodes.back().nInherit = nRound % 2 ? 1 : random.Below(3);
            const size_t nParent = static_cast<size_t>(nRound % 4 == 1 ? n : random.Below(n + 1));
            ids.push_back(nodes.back().AddTo(scene, "n" + std::to_string(n), ids[nParent]));
        }
        LoadedScene loaded(scene.Write());
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        for (size_t n = 10; n > 0; --n) // who stands at the end is asked first
        {
            const FbxNode& node = *loaded->GetNode(n);
            const Matrix global = node.EvaluateGlobalMatrix(FbxTime::Infinite());
            const Matrix local = node.EvaluateLocalMatrix(FbxTime::Infinite());
            double fSize = 1.0;
            for (const auto& row : global.m)
                for (const double f : row)
                    fSize = std::max(fSize, std::abs(f));
            const Matrix product = local * node.GetParent()->EvaluateGlobalMatrix(FbxTime::Infinite());
            ASSERT_TRUE(Near(global, product, 1e-11 * fSize)) << nRound << ' ' << n;
            ASSERT_TRUE(nRound % 2 == 0 || Near(local, nodes[n - 1].Local(), 1e-10)) << nRound << ' ' << n;
        }
    }
}

TEST(Transform, ZeroScales)
{
    Scene scene;
    Pieces none;
    none.vectors["Lcl Scaling"] = {0, 0, 0};
    none.vectors["Lcl Rotation"] = {0, 0, 30};
    Pieces flat = none;
    flat.vectors["Lcl Scaling"] = {0, 0, 1};
    Pieces child;
    child.vectors["Lcl Translation"] = {1, 2, 3};
    child.AddTo(scene, "belowNone", none.AddTo(scene, "none", 0));
    child.AddTo(scene, "belowFlat", flat.AddTo(scene, "flat", 0));
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    for (const FbxTime time : {FbxTime::Infinite(), FbxTime()})
    {
        EXPECT_TRUE(Near(loaded.Node("none").EvaluateLocalTransform(time).s, {0, 0, 0}, 0.0));
        EXPECT_TRUE(Near(loaded.Node("flat").EvaluateGlobalTransform(time).s, {0, 0, 1}, 0.0));
        EXPECT_TRUE(Near(loaded.Node("belowNone").EvaluateGlobalTransform(time).s, {0, 0, 0}, 0.0));
        EXPECT_TRUE(Near(loaded.Node("belowFlat").EvaluateGlobalTransform(time).t, {0, 0, 3}, 1e-15));
        EXPECT_TRUE(Near(loaded.Node("belowFlat").EvaluateLocalTransform(time).t, {1, 2, 3}, 0.0));
    }
}

TEST(Transform, RestIsWithoutAnimation)
{
    Scene scene;
    const int64_t nLayer = scene.Layer("l", scene.Stack("s", 0, 1));
    const int64_t nA = scene.Model("a");
    const int64_t nB = scene.Model("b", "Null", nA);
    scene.Vector(nA, "Lcl Translation", 1, 2, 3);
    scene.Vector(nB, "RotationPivot", 5, 0, 0);
    scene.Integer(nB, "RotationActive", 1);
    scene.Curve(scene.CurveNode(nLayer, nA, "Lcl Translation", {7, 8, 9}), "d|X", {0, kSecond}, {10, 20});
    // A pivot that moves, and a pre-rotation: rare, and taken by another road.
    scene.Curve(scene.CurveNode(nLayer, nB, "RotationPivot", {5, 0, 0}), "d|Y", {0, kSecond}, {0, 4});
    scene.Curve(scene.CurveNode(nLayer, nB, "PreRotation", {0, 0, 0}), "d|Z", {0, kSecond}, {0, 180});
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    FbxNode& a = loaded.Node("a");
    FbxNode& b = loaded.Node("b");
    for (int nRound = 0; nRound < 2; ++nRound)
    {
        EXPECT_TRUE(Near(a.EvaluateLocalTransform(FbxTime::Infinite()).t, {1, 2, 3}, 0.0));
        EXPECT_TRUE(Near(a.EvaluateLocalTransform(FbxTime::FromSeconds(0.5)).t, {15, 8, 9}, 1e-12))
            << "channels without a curve have the curve node's value";
        const Matrix expected = Move({-5, -2, 0}) * TurnAbout(2, 90) * Move({5, 2, 0}) * Move({15, 8, 9});
        EXPECT_TRUE(Near(b.EvaluateGlobalMatrix(FbxTime::FromSeconds(0.5)), expected, 1e-12));
        EXPECT_TRUE(Near(b.EvaluateGlobalMatrix(FbxTime::Infinite()), Move({1, 2, 3}), 1e-12));
    }
    // Taken out of the tree, a node's global transform is its local one.
    a.RemoveChild(&b);
    EXPECT_TRUE(Near(b.EvaluateGlobalMatrix(FbxTime::Infinite()), Matrix(), 1e-12));
}

TEST(Transform, RotationActiveAndPostRotation)
{
    Scene scene;
    Pieces pieces;
    pieces.vectors["Lcl Rotation"] = {10, 20, 30};
    pieces.vectors["PreRotation"] = {0, 0, 90};
    pieces.vectors["PostRotation"] = {0, -90, 0};
    pieces.nOrder = 5;
    pieces.AddTo(scene, "a", 0);
    scene.Model("unwritten"); // no flag anywhere means off
    LoadedScene loaded(scene.Write());
    FbxNode& node = loaded.Node("a");
    EXPECT_FALSE(loaded.Node("unwritten").GetRotationActive());
    EXPECT_TRUE(node.GetRotationActive());
    EXPECT_TRUE(Near(node.EvaluateLocalMatrix(FbxTime()), pieces.Local(), 1e-12));
    node.SetPostRotation(1, {1, 2, 3});
    EXPECT_TRUE(Near(node.EvaluateLocalMatrix(FbxTime()), pieces.Local(), 1e-12)) << "the other pivot set does not act";
    node.SetPostRotation(0, {0, 0, 0});
    pieces.vectors["PostRotation"] = {0, 0, 0};
    EXPECT_TRUE(Near(node.EvaluateLocalMatrix(FbxTime()), pieces.Local(), 1e-12));
    node.SetRotationActive(false);
    EXPECT_FALSE(node.GetRotationActive());
    EXPECT_TRUE(Near(node.EvaluateLocalMatrix(FbxTime()), Turn({10, 20, 30}), 1e-12));
    EXPECT_TRUE(Near(node.EvaluateGlobalMatrix(FbxTime::Infinite()), Turn({10, 20, 30}), 1e-12));
}

} // namespace
