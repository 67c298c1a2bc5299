#include "tests/fbx/samplescenes.h"

namespace fbxfile
{

Scene RichScene()
{
    Scene scene;
    Record defaults;
    defaults.Add("P", {S("RotationActive"), S("bool"), S(""), S(""), I(1)});
    defaults.Add("P", {S("Lcl Scaling"), S("Lcl Scaling"), S(""), S("A"), D(1), D(1), D(1)});
    scene.Template("Model", "FbxNode", defaults);
    scene.Setting("TimeMode", "enum", I(11));

    const int64_t nHip = scene.Model("hip", "LimbNode");
    const int64_t nKnee = scene.Model("ns:knee", "LimbNode", nHip);
    const int64_t nEye = scene.Model("eye \"left\"", "Camera", nKnee);
    scene.Vector(nHip, "Lcl Translation", 1, 2, 3);
    scene.Vector(nHip, "Lcl Rotation", 10, 20, 30);
    scene.Vector(nHip, "PreRotation", 5, 6, 7);
    scene.Vector(nHip, "PostRotation", 3, 2, 1);
    scene.Vector(nKnee, "RotationPivot", 0, 1, 0);
    scene.Vector(nKnee, "ScalingOffset", 0, 0, 1);
    scene.Vector(nKnee, "Lcl Scaling", 1, 2, -3);
    scene.Integer(nKnee, "InheritType", 2);
    scene.Integer(nEye, "RotationOrder", 4);
    scene.Integer(nEye, "InheritType", 0);
    scene.Property(nHip, "export_flag", "Bool", "A+U", {I(1)});
    scene.Property(nHip, "TakeData", "KString", "U", {S("{\"name\": \"run\"}")});
    std::vector<Value> matrix;
    for (int n = 0; n < 16; ++n)
        matrix.push_back(D(n));
    scene.Property(nHip, "origin", "matrix4x4", "U", matrix);
    const int64_t nCamera = scene.Attribute("Camera", nEye);
    scene.Property(nCamera, "FocalLength", "Number", "A", {D(35)});
    scene.Integer(nCamera, "ApertureMode", 3);

    const int64_t nTake = scene.Stack("Take 001", 0, 2 * kSecond);
    const int64_t nBase = scene.Layer("Base", nTake);
    const int64_t nAdd = scene.Layer("Add", nTake);
    scene.Property(nAdd, "Weight", "Number", "A", {D(50)});
    const int64_t nMove = scene.CurveNode(nBase, nHip, "Lcl Translation", {1, 2, 3});
    scene.Curve(nMove, "d|X", {0, kSecond, 2 * kSecond}, {0, 10, 0},
                {{kCubicAuto, 0, 0, 218434821, 1}, {kCubicUser, 3, -3, 218434821, 2}});
    scene.Curve(nMove, "d|Y", {0, kSecond}, {0, 10}, {{kStep, 0, 0, 0, 2}}, {'R', -1}, {'A', 3});
    scene.Curve(nMove, "d|Z", {0, kSecond}, {0, 10}, {{kCubicUser | 0x3000000, 2, 1, 5000u << 16 | 7000u, 2}},
                {'K', -1}, {'M', 2});
    const int64_t nTurn = scene.CurveNode(nBase, nKnee, "Lcl Rotation", {0, 0, 0});
    scene.Curve(nTurn, "d|Z", {0, kSecond}, {0, 720}, {{0x208, 0.5f, 0.25f, 0, 2}});
    const int64_t nOver = scene.CurveNode(nAdd, nKnee, "Lcl Rotation", {0, 0, 0});
    scene.Curve(nOver, "d|X", {0, kSecond}, {0, 90});
    const int64_t nFlag = scene.CurveNode(nBase, nHip, "export_flag", {1});
    scene.Curve(nFlag, "d|export_flag", {0, kSecond}, {0, 1}, {{kStepNext, 0, 0, 0, 2}});
    const int64_t nLens = scene.CurveNode(nBase, nCamera, "FocalLength", {35});
    scene.Curve(nLens, "d|FocalLength", {0, kSecond}, {35, 70});
    const int64_t nOther = scene.Stack("Other", kSecond, 3 * kSecond);
    const int64_t nOtherBase = scene.Layer("Base", nOther);
    const int64_t nGrow = scene.CurveNode(nOtherBase, nHip, "Lcl Scaling", {1, 1, 1});
    scene.Curve(nGrow, "d|X", {kSecond, 2 * kSecond}, {1, 0});
    scene.ActiveStack("Take 001");
    return scene;
}

Record OldChannel(const std::string& sName, double fDefault, std::vector<Value> keys, int64_t nKeys)
{
    Record channel{"Channel", {S(sName)}, {}};
    channel.Add("Default", {D(fDefault)});
    if (nKeys > 0)
    {
        channel.Add("KeyVer", {I(4005)});
        channel.Add("KeyCount", {I(nKeys)});
        channel.Add("Key", std::move(keys));
    }
    return channel;
}

Record OldScene()
{
    Record top;
    top.Add("FBXHeaderExtension").Add("FBXVersion", {I(6100)});
    Record& objects = top.Add("Objects");
    const auto model = [&objects](const std::string& sName, const std::string& sType) -> Record&
    {
        Record& record = objects.Add("Model", {Name(sName, "Model"), S(sType)});
        record.Add("Version", {I(232)});
        return record.Add("Properties60");
    };
    const auto property =
        [](Record& list, const std::string& sName, const std::string& sType, std::vector<Value> values)
    {
        std::vector<Value> all{S(sName), S(sType), S("")};
        all.insert(all.end(), values.begin(), values.end());
        list.Add("Property", all);
    };
    Record& arm = model("arm", "LimbNode");
    property(arm, "Lcl Translation", "Lcl Translation", {D(1), D(2), D(3)});
    property(arm, "RotationActive", "bool", {I(1)});
    property(arm, "InheritType", "enum", {I(1)});
    Record& lens = model("lens", "Camera");
    property(lens, "InheritType", "enum", {I(1)});
    property(lens, "FocalLength", "Real", {D(50)});
    property(lens, "ApertureMode", "enum", {I(3)});
    model("Producer Front", "Camera");
    Record& settings = objects.Add("GlobalSettings").Add("Properties60");
    property(settings, "UpAxis", "int", {I(2)});
    property(settings, "FrontAxis", "int", {I(1)});
    property(settings, "FrontAxisSign", "int", {I(-1)});
    property(settings, "TimeMode", "enum", {I(10)});

    Record& connections = top.Add("Connections");
    connections.Add("Connect", {S("OO"), Name("lens", "Model"), Name("arm", "Model")});
    connections.Add("Connect", {S("OO"), Name("arm", "Model"), Name("Scene", "Model")});

    Record& takes = top.Add("Takes");
    takes.Add("Current", {S("walk")});
    Record& take = takes.Add("Take", {S("walk")});
    take.Add("LocalTime", {L(0), L(2 * kSecond)});
    Record& animated = take.Add("Model", {Name("arm", "Model")});
    Record& transform = animated.Add("Channel", {S("Transform")});
    Record& move = transform.Add("Channel", {S("T")});
    move.children.push_back(
        OldChannel("X", 7,
                   {L(0), D(0), Letter('U'), Letter('s'), D(1), D(2), Letter('a'), D(0.25), D(0.5), L(kSecond), D(10),
                    Letter('U'), Letter('a'), Letter('n'), L(2 * kSecond), D(30), Letter('L')},
                   3));
    move.children.push_back(OldChannel("Y", 5, {}, 0));
    move.children.push_back(OldChannel("Z", 0,
                                       {L(0), D(1), Letter('C'), Letter('s'), L(kSecond), D(2), Letter('C'),
                                        Letter('n'), L(2 * kSecond), D(3), Letter('L')},
                                       3));
    Record& zoom = take.Add("Model", {Name("lens", "Model")});
    zoom.children.push_back(
        OldChannel("FocalLength", 50, {L(0), D(50), Letter('L'), L(kSecond), D(100), Letter('L')}, 2));
    return top;
}

} // namespace fbxfile
