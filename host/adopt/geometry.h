#pragma once

#include "fbx/file/fbxdocument.h"
#include "host/adopt/sourcescene.h"

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace Host
{

/// Meshes of a source with what hangs on them, skins, shapes, materials and textures, to be copied into a document that
/// has its bones without scale. Skins are bound anew: on every pose they come out as in the source, in centimetres and
/// the pipeline's axes. Needs a file of version 7.
class ZGeometry
{
public:
    explicit ZGeometry(const ZSourceScene& source) : m_source(source) {}

    /// Once. False with Error().
    bool Load(const std::string& sPath);
    const std::string& Error() const { return m_sError; }

    struct SBone
    {
        int64_t nId;  ///< in the document
        SRigid world; ///< at rest there, centimetres
    };
    /// Adds the meshes that a skin joins to one of these bones (by node of the source), and those that hang below one;
    /// with bAll every mesh of the file. What is copied stays in this object's memory: the document must be written
    /// while it stands. The number of meshes.
    size_t AddTo(FbxDocument& document, const std::map<int, SBone>& bones, bool bAll);

private:
    struct SLink
    {
        int64_t nFrom;
        int64_t nTo;
        const SFbxRecord* pRecord;
    };
    void Collect(int64_t nObject, std::vector<int64_t>& objects) const;
    int NearestBone(int nMesh, const std::map<int, SBone>& bones) const;

    const ZSourceScene& m_source;
    FbxDocument m_document;
    std::string m_sError;
    std::unordered_map<int64_t, const SFbxRecord*> m_objects;
    std::unordered_map<int64_t, std::vector<SLink>> m_into; ///< connections by their target
    std::unordered_map<int64_t, int> m_nodes;               ///< of the scene, by number
};

} // namespace Host
