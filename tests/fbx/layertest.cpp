#include "fbx/scene/fbxmath.h"
#include "tests/fbx/loadscene.h"

namespace
{

using namespace fbxfile;

struct LayerSettings
{
    double fWeight = 100.0;
    int nBlendMode = 0;
    int nRotationMode = 0;
    int nScaleMode = 0;
    bool bMute = false;
    bool bSolo = false;
};

/// A node with translation (1, 0, 0), rotation (0, 0, 30), scale 2 in the base layer, and (10, 0, 0), (0, 0, 60), 4 in
/// the layer above. The curves hold still.
class TwoLayers
{
public:
    explicit TwoLayers(const LayerSettings& settings, bool bAnimatedWeight = false)
        : m_scene(Make(settings, bAnimatedWeight))
    {
        EXPECT_TRUE(m_scene.IsLoaded()) << m_scene.Error();
    }
    FbxTransform At(double fSeconds)
    {
        return m_scene.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(fSeconds));
    }

private:
    static std::string Make(const LayerSettings& settings, bool bAnimatedWeight)
    {
        Scene scene;
        const int64_t nModel = scene.Model("a");
        const int64_t nStack = scene.Stack("s", 0, 1);
        const int64_t nBase = scene.Layer("base", nStack);
        const int64_t nUpper = scene.Layer("upper", nStack);
        scene.Property(nUpper, "Weight", "Number", "A", {D(settings.fWeight)});
        scene.Integer(nUpper, "BlendMode", settings.nBlendMode);
        scene.Integer(nUpper, "RotationAccumulationMode", settings.nRotationMode);
        scene.Integer(nUpper, "ScaleAccumulationMode", settings.nScaleMode);
        scene.Integer(nUpper, "Mute", settings.bMute);
        scene.Integer(nUpper, "Solo", settings.bSolo);
        const auto hold = [&](int64_t nLayer, const char* szProperty, double x, double z, double fOther)
        {
            const int64_t nNode = scene.CurveNode(nLayer, nModel, szProperty, {fOther, fOther, fOther});
            scene.Curve(nNode, "d|X", {0, kSecond}, {x, x});
            scene.Curve(nNode, "d|Z", {0, kSecond}, {z, z});
        };
        hold(nBase, "Lcl Translation", 1, 0, 0);
        hold(nBase, "Lcl Rotation", 0, 30, 0);
        hold(nBase, "Lcl Scaling", 2, 2, 2);
        hold(nUpper, "Lcl Translation", 10, 0, 0);
        hold(nUpper, "Lcl Rotation", 0, 60, 0);
        hold(nUpper, "Lcl Scaling", 4, 4, 4);
        if (bAnimatedWeight)
        {
            // The weight's curve lies in the layer that it weighs.
            const int64_t nNode = scene.CurveNode(nUpper, nUpper, "Weight", {0});
            scene.Curve(nNode, "d|Weight", {0, kSecond}, {0, 100});
        }
        return scene.Write();
    }
    LoadedScene m_scene;
};

TEST(Layer, Modes)
{
    const std::tuple<const char*, LayerSettings, double, double, double> cases[] = {
        {"additive", {}, 11, 90, 8},
        {"additive by half", {50}, 6, 60, 4},
        {"additive, channels on their own", {50, 0, 1, 1}, 6, 60, 4},
        {"additive scale by addition", {100, 0, 1, 1}, 11, 90, 6},
        {"override", {100, 1}, 10, 60, 4},
        {"override ignores its weight", {50, 1}, 10, 60, 4},
        {"override that lets through", {50, 2}, 5.5, 45, 2.8284271247461903},
        {"the same by channel", {50, 2, 1, 1}, 5.5, 45, 3},
        {"full weight lets nothing through", {100, 2}, 10, 60, 4},
        {"muted", {100, 1, 0, 0, true}, 1, 30, 2},
        {"weightless", {0}, 1, 30, 2},
        {"alone, the base is not heard", {100, 0, 1, 1, false, true}, 10, 60, 5},
    };
    for (const auto& [szLabel, settings, fX, fDegrees, fScale] : cases)
    {
        SCOPED_TRACE(szLabel);
        TwoLayers scene(settings);
        const FbxTransform transform = scene.At(0.5);
        EXPECT_NEAR(transform.t.x, fX, 1e-9);
        EXPECT_TRUE(Near(transform.q, FbxQuaternion::FromEuler({0, 0, fDegrees}), 1e-12));
        EXPECT_TRUE(Near(transform.s, {fScale, fScale, fScale}, 1e-9));
    }
}

TEST(Layer, BlendedRotationsMixInXYZOrItsReverse)
{
    const FbxVector3 below{10, 40, -70};
    const FbxVector3 above{80, -30, 50};
    for (int nOrder = 0; nOrder < 6; ++nOrder)
    {
        for (const double fWeight : {0.0, 30.0, 100.0})
        {
            SCOPED_TRACE(nOrder * 1000 + fWeight);
            Scene scene;
            const int64_t nModel = scene.Model("a");
            scene.Integer(nModel, "RotationOrder", nOrder);
            scene.Integer(nModel, "RotationActive", 1);
            const int64_t nStack = scene.Stack("s", 0, 1);
            scene.CurveNode(scene.Layer("base", nStack), nModel, "Lcl Rotation", {below.x, below.y, below.z});
            const int64_t nUpper = scene.Layer("upper", nStack);
            scene.Property(nUpper, "Weight", "Number", "A", {D(fWeight)});
            scene.Integer(nUpper, "BlendMode", 2);
            scene.CurveNode(nUpper, nModel, "Lcl Rotation", {above.x, above.y, above.z});
            LoadedScene loaded(scene.Write());

            const auto eMix = nOrder % 2 ? EFbxRotationOrder::eZYX : EFbxRotationOrder::eXYZ;
            const FbxVector3 mixed = FbxToEuler(
                FbxSlerp(FbxQuaternion::FromEuler(below, eMix), FbxQuaternion::FromEuler(above, eMix), fWeight / 100.0),
                eMix);
            const FbxVector3 angles = fWeight == 100.0 ? above : mixed;
            double values[4];
            loaded->GetAnimationEvaluator()->EvaluateProperty(loaded.Node("a").FindProperty("Lcl Rotation"), FbxTime(),
                                                              values);
            EXPECT_TRUE(Near({values[0], values[1], values[2]}, angles, 1e-11));
            EXPECT_TRUE(Near(loaded.Node("a").EvaluateLocalTransform(FbxTime()).q,
                             FbxQuaternion::FromEuler(angles, static_cast<EFbxRotationOrder>(nOrder)), 1e-13));
        }
    }
}

TEST(Layer, WeightMayMove)
{
    TwoLayers scene({100, 0, 1, 1}, true);
    for (const double f : {0.0, 0.25, 0.75, 1.0})
        EXPECT_NEAR(scene.At(f).t.x, 1 + 10 * f, 1e-9) << f;
}

TEST(Layer, RotationsOfTwoAxesAddAsRotations)
{
    Scene scene;
    const int64_t nModel = scene.Model("a");
    const int64_t nStack = scene.Stack("s", 0, 1);
    const int64_t nBase = scene.CurveNode(scene.Layer("base", nStack), nModel, "Lcl Rotation", {0, 0, 90});
    const int64_t nUpper = scene.CurveNode(scene.Layer("upper", nStack), nModel, "Lcl Rotation", {90, 0, 0});
    scene.Curve(nBase, "d|Z", {0}, {90});
    scene.Curve(nUpper, "d|X", {0}, {90});
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded());
    EXPECT_TRUE(Near(loaded.Node("a").EvaluateLocalTransform(FbxTime()).q,
                     FbxQuaternion::FromEuler({0, 0, 90}) * FbxQuaternion::FromEuler({90, 0, 0}), 1e-13));
}

} // namespace
