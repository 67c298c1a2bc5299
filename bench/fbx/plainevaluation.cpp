#include "bench/fbx/plainevaluation.h"

#include "fbx/scene/fbxcurve.h"

#include <algorithm>
#include <cmath>

PlainEvaluation::PlainEvaluation(const FbxScene& scene) : m_nodes(scene.GetNodeCount()), m_globals(scene.GetNodeCount())
{
    static constexpr const char* names[] = {"Lcl Translation", "Lcl Rotation", "Lcl Scaling"};
    for (size_t n = 0; n < m_nodes.size(); ++n)
    {
        const FbxNode& node = *scene.GetNode(n);
        m_nodes[n].nParent = node.GetParent() ? node.GetParent()->GetIndex() : -1;
        for (size_t p = 0; p < 3; ++p)
        {
            const FbxProperty property = node.FindProperty(names[p]);
            double channels[16];
            property.GetChannels(channels);
            for (size_t c = 0; c < 3; ++c)
                m_nodes[n].values[p * 3 + c] = channels[c];
            const FbxAnimCurveNode* pCurveNode = property.GetCurveNode();
            for (size_t c = 0; pCurveNode && c < 3; ++c)
            {
                const FbxAnimCurve* pCurve = pCurveNode->GetCurve(c);
                for (size_t k = 0; pCurve && k < pCurve->GetKeyCount(); ++k)
                    m_nodes[n].keys[p * 3 + c].push_back(
                        {pCurve->GetKeyTime(k).GetSecondDouble(), static_cast<double>(pCurve->GetKeyValue(k))});
            }
        }
    }
    std::vector<size_t> pending{0};
    while (!pending.empty())
    {
        const size_t n = pending.back();
        pending.pop_back();
        m_order.push_back(n);
        for (size_t i = 0; i < scene.GetNode(n)->GetChildCount(); ++i)
            pending.push_back(static_cast<size_t>(scene.GetNode(n)->GetChild(i)->GetIndex()));
    }
}

void PlainEvaluation::Evaluate(double fSeconds)
{
    for (const size_t nNode : m_order)
    {
        const SNode& node = m_nodes[nNode];
        double v[9];
        for (size_t c = 0; c < 9; ++c)
        {
            v[c] = node.values[c];
            const std::vector<SKey>& keys = node.keys[c];
            if (keys.empty())
                continue;
            const auto after = std::upper_bound(keys.begin(), keys.end(), fSeconds,
                                                [](double f, const SKey& key) { return f < key.fTime; });
            if (after == keys.begin())
                v[c] = keys.front().fValue;
            else if (after == keys.end())
                v[c] = keys.back().fValue;
            else
            {
                const SKey& before = *(after - 1);
                v[c] = before.fValue +
                       (after->fValue - before.fValue) * ((fSeconds - before.fTime) / (after->fTime - before.fTime));
            }
        }
        FbxMatrix4 scale;
        FbxMatrix4 turns[3];
        FbxMatrix4 move;
        for (int i = 0; i < 3; ++i)
        {
            scale.m[i][i] = v[6 + i];
            move.m[3][i] = v[i];
            const double fAngle = v[3 + i] * 3.14159265358979323846 / 180.0;
            const int j = (i + 1) % 3;
            const int k = (i + 2) % 3;
            turns[i].m[j][j] = turns[i].m[k][k] = std::cos(fAngle);
            turns[i].m[j][k] = std::sin(fAngle);
            turns[i].m[k][j] = -turns[i].m[j][k];
        }
        m_globals[nNode] = scale * turns[0] * turns[1] * turns[2] * move;
        if (node.nParent >= 0)
            m_globals[nNode] = m_globals[nNode] * m_globals[static_cast<size_t>(node.nParent)];
    }
}
