#include "host/export/gltffile.h"

#include "host/clip/clipbytes.h"
#include "host/clip/cliptext.h"
#include "host/clip/yup.h"
#include "host/export/gltfbody.h"
#include "host/export/gltfbuffer.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <set>

namespace Host
{

namespace
{

constexpr uint32_t MAGIC = 0x46546C67;
constexpr uint32_t VERSION = 2;
constexpr uint32_t CHUNK_JSON = 0x4E4F534A;
constexpr uint32_t CHUNK_BIN = 0x004E4942;
constexpr uint64_t LARGEST = uint64_t{1} << 32;

/// Between characters that stand side by side.
constexpr float GAP = 0.6f;

struct SCharacter
{
    SClipRig rig;
    SGltfBody body;
    uint32_t nHolder = 0; ///< node that carries it; its bones follow, then its body
    float fPlace = 0.0f;  ///< along X

    uint32_t NodeOf(uint32_t nBone) const { return nHolder + 1 + nBone; }
    uint32_t Body() const { return NodeOf(static_cast<uint32_t>(rig.bones.size())); }
};

class ZGltfWriter
{
public:
    explicit ZGltfWriter(std::vector<SGltfTake> takes) : m_takes(std::move(takes))
    {
        for (const SGltfTake& take : m_takes)
        {
            const auto it = std::find(m_rigs.begin(), m_rigs.end(), take.sRig);
            m_characterOf.push_back(static_cast<size_t>(it - m_rigs.begin()));
            if (it == m_rigs.end())
                m_rigs.push_back(take.sRig);
        }
        uint32_t nNode = 0;
        float fPlace = 0.0f;
        for (const std::string& sRig : m_rigs)
        {
            SCharacter& character = m_characters.emplace_back();
            character.rig = DecodeGltfRig(sRig);
            character.body = AddBody(character.rig, m_buffer);
            character.nHolder = nNode;
            const float fHalf = 0.5f * WidthOf(character.rig);
            character.fPlace = m_characters.size() == 1 ? 0.0f : fPlace + fHalf;
            fPlace = character.fPlace + fHalf + GAP;
            nNode = character.Body() + 1;
        }
    }

    SGltfFile Take()
    {
        ZJsonWriter json;
        json.Open('{');
        json.ObjectField("asset",
                         [&]
                         {
                             json.TextField("generator", "animpack");
                             json.TextField("version", "2.0");
                         });
        json.UnsignedField("scene", 0);
        WriteScene(json);
        WriteNodes(json);
        WriteMeshes(json);
        WriteSkins(json);
        WriteAnimations(json);
        WriteMaterial(json);
        m_buffer.WriteAccessors(json);
        m_buffer.WriteViews(json);
        const size_t nBytes = m_buffer.Bytes().size();
        json.Key("buffers");
        json.Open('[');
        json.Object([&] { json.UnsignedField("byteLength", nBytes); });
        json.Close(']');
        json.Close('}');
        return {Joined(json.Take(), m_buffer.Bytes()), m_nKeyBytes};
    }

private:
    template <class TWrite>
    void ForEach(ZJsonWriter& json, const char* szKey, TWrite write)
    {
        json.ListField(szKey, m_characters,
                       [&](const SCharacter& character) { json.Object([&] { write(character); }); });
    }

    void WriteScene(ZJsonWriter& json)
    {
        std::vector<uint32_t> roots;
        for (const SCharacter& character : m_characters)
            roots.insert(roots.end(), {character.nHolder, character.Body()});
        json.Key("scenes");
        json.Open('[');
        json.Object([&] { json.ListField("nodes", roots, [&json](uint32_t n) { json.Unsigned(n); }); });
        json.Close(']');
    }

    void WriteNodes(ZJsonWriter& json)
    {
        json.Key("nodes");
        json.Open('[');
        uint32_t nCharacter = 0;
        for (const SCharacter& character : m_characters)
        {
            const std::vector<SClipBone>& bones = character.rig.bones;
            std::vector<std::vector<uint32_t>> children(bones.size());
            std::vector<uint32_t> roots;
            for (uint32_t n = 0; n < bones.size(); ++n)
                (bones[n].nParent < 0 ? roots : children[static_cast<size_t>(bones[n].nParent)]).push_back(n);
            const auto writeChildren = [&](const std::vector<uint32_t>& list)
            {
                if (!list.empty())
                    json.ListField("children", list, [&](uint32_t n) { json.Unsigned(character.NodeOf(n)); });
            };
            const std::string sName = NameOfId(character.rig.sId);
            json.Object(
                [&]
                {
                    json.TextField("name", sName);
                    json.ObjectField("extras", [&] { json.TextField("rig", character.rig.sId); });
                    if (character.fPlace != 0.0f)
                    {
                        json.Key("translation");
                        json.Numbers({character.fPlace, 0.0f, 0.0f});
                    }
                    writeChildren(roots);
                });
            for (uint32_t n = 0; n < bones.size(); ++n)
                json.Object(
                    [&]
                    {
                        json.TextField("name", bones[n].sName);
                        WritePlace(json, ToYUp(bones[n].bindPose));
                        writeChildren(children[n]);
                    });
            json.Object(
                [&]
                {
                    json.TextField("name", sName + " body");
                    json.UnsignedField("mesh", nCharacter);
                    json.UnsignedField("skin", nCharacter);
                });
            ++nCharacter;
        }
        json.Close(']');
    }

    static void WritePlace(ZJsonWriter& json, const SBoneKey& key)
    {
        const auto number = [&json](float f) { json.Number(f); };
        if (key.t != SBoneKey().t)
            json.ListField("translation", key.t, number);
        if (key.q != SBoneKey().q)
            json.ListField("rotation", key.q, number);
    }

    void WriteMeshes(ZJsonWriter& json)
    {
        ForEach(json, "meshes",
                [&](const SCharacter& character)
                {
                    json.TextField("name", NameOfId(character.rig.sId) + " body");
                    json.Key("primitives");
                    json.Open('[');
                    json.Object(
                        [&]
                        {
                            json.ObjectField("attributes",
                                             [&]
                                             {
                                                 json.UnsignedField("JOINTS_0", character.body.nJoints);
                                                 json.UnsignedField("POSITION", character.body.nPositions);
                                                 json.UnsignedField("WEIGHTS_0", character.body.nWeights);
                                             });
                            json.UnsignedField("indices", character.body.nIndices);
                            json.UnsignedField("material", 0);
                        });
                    json.Close(']');
                });
    }

    void WriteSkins(ZJsonWriter& json)
    {
        ForEach(json, "skins",
                [&](const SCharacter& character)
                {
                    json.TextField("name", NameOfId(character.rig.sId));
                    json.UnsignedField("inverseBindMatrices", character.body.nInverseBindMatrices);
                    json.UnsignedField("skeleton", character.nHolder);
                    json.Key("joints");
                    json.Open('[');
                    for (uint32_t n = 0; n < character.rig.bones.size(); ++n)
                        json.Unsigned(character.NodeOf(n));
                    json.Close(']');
                });
    }

    /// Seconds of so many keys.
    uint32_t ClockOf(uint32_t nKeys, float fFrameRate)
    {
        std::vector<float> seconds;
        std::string sBytes;
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            seconds.push_back(static_cast<float>(n / static_cast<double>(fFrameRate)));
            AppendBytes(sBytes, seconds.back());
        }
        return m_buffer.Add(sBytes, {ZGltfBuffer::eFloat, "SCALAR", nKeys, false, BoundsOf(seconds, 1)});
    }

    /// Of takes that share one in the file, all but the first tell their number.
    std::string NameOf(const SGltfTake& take)
    {
        std::string sName = take.sName;
        for (int n = 2; !m_names.insert(sName).second; ++n)
            sName = take.sName + ' ' + std::to_string(n);
        return sName;
    }

    void WriteAnimations(ZJsonWriter& json)
    {
        m_buffer.BeginView();
        const size_t nBefore = m_buffer.Bytes().size();
        json.Key("animations");
        json.Open('[');
        for (size_t n = 0; n < m_takes.size(); ++n)
        {
            SGltfTake take = std::move(m_takes[n]);
            const SCharacter& character = m_characters[m_characterOf[n]];
            const uint32_t nWhole = ClockOf(take.nFrames, take.fFrameRate);
            json.Open('{');
            json.TextField("name", NameOf(take));
            json.Key("extras");
            json.Raw(take.sExtras);
            std::vector<std::pair<uint32_t, uint32_t>> samplers;
            json.Key("channels");
            json.Open('[');
            for (const SGltfChannel& channel : take.channels)
            {
                json.Object(
                    [&]
                    {
                        json.UnsignedField("sampler", samplers.size());
                        json.ObjectField("target",
                                         [&]
                                         {
                                             json.UnsignedField("node", character.NodeOf(channel.nBone));
                                             json.TextField("path", channel.bRotation ? "rotation" : "translation");
                                         });
                    });
                const uint32_t nKeys = m_buffer.Add(
                    channel.sKeys, {ZGltfBuffer::eFloat, channel.bRotation ? "VEC4" : "VEC3", channel.nKeys, false});
                samplers.emplace_back(channel.nKeys == take.nFrames ? nWhole : ClockOf(1, take.fFrameRate), nKeys);
                if (m_buffer.Bytes().size() >= LARGEST)
                    throw ZHostError("the takes are too many for one glTF file, which holds four gigabytes at most");
            }
            json.Close(']');
            // Linear is what a sampler is that does not say.
            json.ListField("samplers", samplers,
                           [&](const auto& sampler)
                           {
                               json.Object(
                                   [&]
                                   {
                                       json.UnsignedField("input", sampler.first);
                                       json.UnsignedField("output", sampler.second);
                                   });
                           });
            json.Close('}');
        }
        json.Close(']');
        m_nKeyBytes = m_buffer.Bytes().size() - nBefore;
    }

    static void WriteMaterial(ZJsonWriter& json)
    {
        json.Key("materials");
        json.Open('[');
        json.Object(
            [&]
            {
                json.TextField("name", "bones");
                json.ObjectField("pbrMetallicRoughness",
                                 [&]
                                 {
                                     json.Key("baseColorFactor");
                                     json.Numbers({0.55f, 0.62f, 0.7f, 1.0f});
                                     json.NumberField("metallicFactor", 0.0);
                                     json.NumberField("roughnessFactor", 0.7);
                                 });
            });
        json.Close(']');
    }

    static std::string Joined(std::string sJson, const std::string& sBinary)
    {
        sJson.resize((sJson.size() + 3) / 4 * 4, ' ');
        const uint64_t nBinary = (sBinary.size() + 3) / 4 * 4;
        const uint64_t nAll = 12 + 8 + sJson.size() + 8 + nBinary;
        if (nAll >= LARGEST)
            throw ZHostError("the takes are too many for one glTF file, which holds four gigabytes at most");
        std::string sBytes;
        sBytes.reserve(nAll);
        for (const uint32_t nWord :
             {MAGIC, VERSION, static_cast<uint32_t>(nAll), static_cast<uint32_t>(sJson.size()), CHUNK_JSON})
            AppendBytes(sBytes, nWord);
        sBytes += sJson;
        AppendBytes(sBytes, static_cast<uint32_t>(nBinary));
        AppendBytes(sBytes, CHUNK_BIN);
        sBytes += sBinary;
        sBytes.resize(nAll);
        return sBytes;
    }

    std::vector<SGltfTake> m_takes;
    std::vector<std::string> m_rigs;
    std::vector<size_t> m_characterOf; ///< of each take
    std::vector<SCharacter> m_characters;
    ZGltfBuffer m_buffer;
    std::set<std::string> m_names;
    uint64_t m_nKeyBytes = 0;
};

} // namespace

SGltfFile MakeGltfFile(std::vector<SGltfTake> takes)
{
    return ZGltfWriter(std::move(takes)).Take();
}

} // namespace Host
