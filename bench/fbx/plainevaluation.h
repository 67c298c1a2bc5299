#pragma once

#include "fbx/scene/fbxscene.h"

#include <cstddef>
#include <vector>

/// The evaluation that one writes first: each channel searched on its own, angles through the library's sine and
/// cosine, every piece a 4 by 4 matrix, all of them multiplied. What the evaluator is measured against, and checked
/// with.
class PlainEvaluation
{
public:
    explicit PlainEvaluation(const FbxScene& scene);
    /// Local and global matrices of all nodes, in scene order.
    void Evaluate(double fSeconds);
    const FbxMatrix4& Global(size_t nNode) const { return m_globals[nNode]; }

private:
    struct SKey
    {
        double fTime;
        double fValue;
    };
    struct SNode
    {
        int nParent;
        double values[9];
        std::vector<SKey> keys[9];
    };
    std::vector<SNode> m_nodes;
    std::vector<size_t> m_order; ///< parents first
    std::vector<FbxMatrix4> m_globals;
};
