#pragma once

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"
#include "host/adopt/rigid.h"

#include <memory>
#include <string>
#include <vector>

namespace Host
{

/// A stock file, read and turned to Z up and front -Y, with what its records say beside the scene.
class ZSourceScene
{
public:
    ZSourceScene();

    /// Once. False with Error().
    bool Load(const std::string& sPath);
    const std::string& Error() const { return m_sError; }

    FbxScene& Scene() const { return *m_pScene; }
    /// Centimetres that a unit of the file's lengths has.
    double Unit() const;
    /// That it was in before.
    const FbxAxisSystem& Axes() const { return m_axes; }
    /// By node: numbers of the skins that it moves, ascending.
    const std::vector<std::vector<int>>& SkinsOfNodes() const { return m_skins; }

    struct SConstraint
    {
        std::string sName;
        std::string sKind;
        std::vector<int> nodes; ///< that it moves, as far as the file tells
    };
    const std::vector<SConstraint>& Constraints() const { return m_constraints; }

    /// Where a node stands in the world, in centimetres. FbxTime::Infinite() for its rest.
    SRigid WorldOf(int nNode, FbxTime time) const;

private:
    void ReadRecords(const std::string& sPath);

    FbxManagerPtr m_pManager;
    FbxScene* m_pScene;
    FbxAxisSystem m_axes;
    std::string m_sError;
    std::vector<std::vector<int>> m_skins;
    std::vector<SConstraint> m_constraints;
};

} // namespace Host
