#include "host/show/scenetext.h"

#include "base/misc/utf8.h"
#include "fbx/scene/fbxstackframes.h"
#include "host/text/textformat.h"

#include <algorithm>

namespace Host
{

namespace
{

constexpr size_t DEEPEST_INDENT = 40;
constexpr size_t LONGEST_VALUE = 60;

std::string TransformText(const FbxTransform& transform)
{
    const FbxVector3& s = transform.s;
    std::string sText = Formatted("t %.3f %.3f %.3f  r %.4f %.4f %.4f %.4f", transform.t.x, transform.t.y,
                                  transform.t.z, transform.q.x, transform.q.y, transform.q.z, transform.q.w);
    if (std::max({s.x - 1.0, 1.0 - s.x, s.y - 1.0, 1.0 - s.y, s.z - 1.0, 1.0 - s.z}) > 1e-6)
        sText += Formatted("  s %.4g %.4g %.4g", s.x, s.y, s.z);
    return sText;
}

std::string ValueText(const FbxProperty& property)
{
    const int nChannels = property.GetChannelCount();
    if (nChannels > 1)
    {
        double channels[16];
        property.GetChannels(channels);
        std::string sText;
        for (int n = 0; n < nChannels; ++n)
            sText.append(n == 0 ? "" : " ").append(Formatted("%g", channels[n]));
        return sText;
    }
    std::string sText = property.GetString();
    std::replace(sText.begin(), sText.end(), '\n', ' ');
    if (sText.size() > LONGEST_VALUE)
    {
        sText.resize(LONGEST_VALUE);
        while (!sText.empty() && !IsUtf8(sText))
            sText.pop_back();
        sText += "...";
    }
    return nChannels == 0 ? '"' + sText + '"' : sText;
}

const char* AxisName(int nAxis, int nSign)
{
    constexpr const char* names[] = {"X", "Y", "Z", "-X", "-Y", "-Z"};
    const int n = nAxis + (nSign < 0 ? 3 : 0);
    return n >= 0 && n < 6 ? names[n] : "?";
}

std::string AxesText(const FbxAxisSystem& axes)
{
    return std::string(AxisName(axes.GetUpAxis(), axes.GetUpSign())) + " up, " +
           AxisName(axes.GetFrontAxis(), axes.GetFrontSign()) + " front, " +
           AxisName(axes.GetCoordAxis(), axes.GetCoordSign()) + " right";
}

/// One node with its user properties.
std::string NodeText(const FbxNode& node, size_t nDepth)
{
    const std::string sIndent(2 + 2 * std::min(nDepth, DEEPEST_INDENT), ' ');
    std::string sText = sIndent + node.GetName() + "  [" + node.GetTypeText() + "]  " +
                        TransformText(node.EvaluateLocalTransform(FbxTime::Infinite())) + '\n';
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
    {
        const FbxProperty property = node.GetProperty(n);
        if (!property.IsUserDefined())
            continue;
        const FbxAnimCurveNode* pCurveNode = property.GetCurveNode();
        sText += sIndent + "  . " + property.GetName() + " (" + property.GetTypeName() + ") = " + ValueText(property) +
                 (pCurveNode != nullptr && pCurveNode->IsAnimated() ? ", animated" : "") + '\n';
    }
    return sText;
}

} // namespace

std::string SceneText(const ZSceneFile& file, const std::string& sPath, const std::vector<FbxTime>& times)
{
    const FbxScene& scene = file.Scene();
    const FbxImporter& importer = file.Importer();
    const FbxGlobalSettings& settings = scene.GetGlobalSettings();
    std::string sText = sPath + '\n';
    sText +=
        Formatted("  FBX %d.%d %s, %g frames a second, a unit is %g cm, %zu nodes\n", importer.GetFileVersion() / 1000,
                  importer.GetFileVersion() / 100 % 10, importer.IsBinary() ? "binary" : "text",
                  settings.GetFrameRate(), settings.GetUnitScaleFactor(), scene.GetNodeCount());
    sText += "  axes: " + AxesText(settings.GetAxisSystem());
    if (!(file.OriginalAxes() == settings.GetAxisSystem()))
        sText += "; in the file " + AxesText(file.OriginalAxes());
    sText += '\n';
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *scene.GetAnimStack(n);
        const FbxTimeSpan span = FbxSpanOf(stack);
        const SFbxFrames frames = FbxFramesOf(span, FbxFrameRateOf(scene));
        sText += std::string(&stack == scene.GetCurrentAnimStack() ? "  current stack '" : "  stack '") +
                 stack.GetName() + "'" +
                 Formatted(": frames %lld to %lld, %g to %g s, %zu layer", static_cast<long long>(frames.nFirst),
                           static_cast<long long>(frames.nLast), span.start.GetSecondDouble(),
                           span.stop.GetSecondDouble(), stack.GetLayerCount()) +
                 (stack.GetLayerCount() == 1 ? "\n" : "s\n");
    }
    sText += '\n';

    struct SOpen
    {
        const FbxNode* pNode;
        size_t nDepth;
    };
    std::vector<SOpen> open{{scene.GetRootNode(), 0}};
    while (!open.empty())
    {
        const SOpen next = open.back();
        open.pop_back();
        sText += NodeText(*next.pNode, next.nDepth);
        for (size_t n = next.pNode->GetChildCount(); n-- > 0;)
            open.push_back({next.pNode->GetChild(n), next.nDepth + 1});
    }
    for (const FbxTime time : times)
    {
        sText += Formatted("\nat %g s\n", time.GetSecondDouble());
        for (size_t n = 0; n < scene.GetNodeCount(); ++n)
            sText += std::string("  ") + scene.GetNode(n)->GetName() + "  " +
                     TransformText(scene.GetNode(n)->EvaluateLocalTransform(time)) + '\n';
    }
    return sText;
}

} // namespace Host
