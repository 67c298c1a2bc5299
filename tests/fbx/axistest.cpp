#include "tests/fbx/loadscene.h"

namespace
{

using namespace fbxfile;

/// Children of the root in every state that the turn must get through, each with a child of its own.
Scene MakeScene(const FbxAxisSystem& axes)
{
    Scene scene;
    scene.Setting("UpAxis", "int", I(axes.GetUpAxis()));
    scene.Setting("UpAxisSign", "int", I(axes.GetUpSign()));
    scene.Setting("FrontAxis", "int", I(axes.GetFrontAxis()));
    scene.Setting("FrontAxisSign", "int", I(axes.GetFrontSign()));
    scene.Setting("CoordAxis", "int", I(axes.GetCoordAxis()));
    scene.Setting("CoordAxisSign", "int", I(axes.GetCoordSign()));
    const int64_t nStack = scene.Stack("s", 0, kSecond);
    const int64_t nLayer = scene.Layer("l", nStack);
    const int64_t nUpper = scene.Layer("upper", nStack);
    const int64_t nShared = scene.CurveNode(nLayer, 1000, "nothing", {1, 2, 3});
    scene.Curve(nShared, "d|X", {0, kSecond}, {1, 9});
    scene.Curve(nShared, "d|Z", {0, kSecond}, {4, -4});
    for (int n = 0; n < 8; ++n)
    {
        const int64_t nModel = scene.Model("n" + std::to_string(n));
        scene.Vector(nModel, "Lcl Translation", 1, 2, 3);
        scene.Vector(nModel, "Lcl Rotation", 10, 20, 30);
        scene.Vector(nModel, "Lcl Scaling", 1, 2, 3);
        scene.Integer(nModel, "RotationActive", n & 1);
        scene.Integer(nModel, "RotationSpaceForLimitOnly", n == 5);
        scene.Integer(nModel, "RotationOrder", n % 6);
        scene.Vector(nModel, "PreRotation", 40, 50, 60);
        scene.Vector(nModel, "PostRotation", 7, 8, 9);
        if (n & 2)
        {
            scene.Vector(nModel, "RotationPivot", 5, -6, 7);
            scene.Vector(nModel, "RotationOffset", 1, 1, 2);
            scene.Vector(nModel, "ScalingPivot", 3, 2, 1);
        }
        if (n & 4)
        {
            const int64_t nMove = n == 7 ? nShared : scene.CurveNode(nLayer, nModel, "Lcl Translation", {1, 2, 3});
            if (n == 7)
                scene.Connect("OP", nShared, nModel, "Lcl Translation");
            else
                scene.Curve(nMove, "d|Y", {0, kSecond}, {2, 5}, {{kCubicUser, 8, -3, 218434821, 2}});
            scene.Curve(scene.CurveNode(nLayer, nModel, "Lcl Rotation", {10, 20, 30}), "d|X", {0, kSecond}, {0, 90});
        }
        // Pivots that move, where they act and where they don't, and layers that have one channel of three.
        if (n == 2 || n == 3)
        {
            scene.Curve(scene.CurveNode(nLayer, nModel, "PreRotation", {1, 2, 3}), "d|Y", {0, kSecond}, {-40, 80});
            scene.Curve(scene.CurveNode(nUpper, nModel, "RotationPivot", {}), "d|Z", {0, kSecond}, {6, 8});
        }
        if (n == 4 || n == 6)
            scene.Curve(scene.CurveNode(nUpper, nModel, "Lcl Translation", {}), "d|Z", {0, kSecond}, {3, 4});
        // Layers mix in the order that a node has, whether that acts or not.
        if (n == 4 || n == 5)
            scene.CurveNode(nUpper, nModel, "Lcl Rotation", {30, 40, 50});
        const int64_t nChild = scene.Model("below" + std::to_string(n), "Null", nModel);
        scene.Vector(nChild, "Lcl Translation", 4, 5, 6);
        if (n == 6)
            scene.Connect("OP", nShared, nChild, "Lcl Translation");
    }
    return scene;
}

/// Row i is the image of axis i of the file.
FbxMatrix4 TurnOf(const FbxAxisSystem& from, const FbxAxisSystem& to)
{
    FbxMatrix4 turn;
    for (auto& row : turn.m)
        for (double& f : row)
            f = 0.0;
    turn.m[from.GetUpAxis()][to.GetUpAxis()] = from.GetUpSign() * to.GetUpSign();
    turn.m[from.GetFrontAxis()][to.GetFrontAxis()] = from.GetFrontSign() * to.GetFrontSign();
    turn.m[from.GetCoordAxis()][to.GetCoordAxis()] = from.GetCoordSign() * to.GetCoordSign();
    turn.m[3][3] = 1.0;
    return turn;
}

double Determinant(const FbxMatrix4& a)
{
    const auto& m = a.m;
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

TEST(Axis, EverySystemTurnsEverythingAlike)
{
    int nSystems = 0;
    const FbxAxisSystem& to = FbxAxisSystem::ZUpMinusYFront();
    for (int nBits = 0; nBits < 72; ++nBits)
    {
        const int nUp = nBits % 3;
        const int nFront = (nUp + 1 + nBits / 3 % 2) % 3;
        const int nCoord = 3 - nUp - nFront;
        const FbxAxisSystem from(nUp, nBits / 6 % 2 ? 1 : -1, nFront, nBits / 12 % 2 ? 1 : -1, nCoord,
                                 nBits / 24 % 2 ? 1 : -1);
        const FbxMatrix4 turn = TurnOf(from, to);
        if (nBits >= 48 || Determinant(turn) < 0.0)
            continue;
        ++nSystems;
        SCOPED_TRACE(nBits);
        LoadedScene plain(MakeScene(from).Write());
        LoadedScene turned(MakeScene(from).Write());
        ASSERT_TRUE(plain.IsLoaded()) << plain.Error();
        to.ConvertScene(turned.Get());
        EXPECT_EQ(turned->GetGlobalSettings().GetAxisSystem(), to);
        for (size_t n = 1; n < plain->GetNodeCount(); ++n)
        {
            for (const FbxTime time : {FbxTime::Infinite(), FbxTime::FromSeconds(0.3), FbxTime::FromSeconds(5.0)})
            {
                const FbxMatrix4 expected = plain->GetNode(n)->EvaluateGlobalMatrix(time) * turn;
                ASSERT_TRUE(Near(turned->GetNode(n)->EvaluateGlobalMatrix(time), expected, 1e-12))
                    << plain->GetNode(n)->GetName();
            }
        }
        // Again changes nothing.
        const FbxTransform before = turned.Node("n3").EvaluateGlobalTransform(FbxTime());
        to.ConvertScene(turned.Get());
        EXPECT_TRUE(Near(turned.Node("n3").EvaluateGlobalTransform(FbxTime()).t, before.t, 0.0));
    }
    EXPECT_EQ(nSystems, 24);
}

TEST(Axis, YUpPutsTheTurnIntoThePreRotation)
{
    LoadedScene scene(MakeScene(FbxAxisSystem()).Write());
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(scene.Get());
    const FbxNode& node = scene.Node("n0"); // its rotation was not active
    EXPECT_TRUE(node.GetRotationActive());
    EXPECT_TRUE(Near(node.FindProperty("Lcl Translation").GetVector3(), {1, -3, 2}, 0.0));
    EXPECT_TRUE(Near(node.FindProperty("Lcl Rotation").GetVector3(), {10, 20, 30}, 0.0));
    EXPECT_TRUE(Near(node.FindProperty("PreRotation").GetVector3(), {90, 0, 0}, 1e-12));
    EXPECT_TRUE(Near(scene.Node("below0").FindProperty("Lcl Translation").GetVector3(), {4, 5, 6}, 0.0));
    // A camera that is straightened afterwards loses the turn again.
    scene.Node("n0").SetRotationActive(false);
    EXPECT_TRUE(
        Near(scene.Node("n0").EvaluateLocalTransform(FbxTime()).q, FbxQuaternion::FromEuler({10, 20, 30}), 1e-14));
}

TEST(Axis, LeftHandedAndInvalidSystems)
{
    // Left-handed: no rotation leads there; up and front are kept, right gives way.
    const FbxAxisSystem left(1, 1, 2, 1, 0, -1);
    LoadedScene scene(MakeScene(left).Write());
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(scene.Get());
    EXPECT_TRUE(Near(scene.Node("n0").EvaluateGlobalTransform(FbxTime::Infinite()).t, {1, -3, 2}, 1e-12));

    LoadedScene kept(MakeScene(FbxAxisSystem()).Write());
    FbxAxisSystem(1, 1, 1, 1, 0, 1).ConvertScene(kept.Get());
    EXPECT_TRUE(Near(kept.Node("n0").EvaluateGlobalTransform(FbxTime::Infinite()).t, {1, 2, 3}, 1e-12));
}

} // namespace
