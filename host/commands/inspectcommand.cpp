#include "host/commands/commands.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/packedfile.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/show/inspecttext.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "system/animation/animationsampler.h"

#include "base/typeinfo/mathtypes.h"

#include <filesystem>

namespace Host
{

namespace fs = std::filesystem;
using SystemAnimation::SAnimationResourceData;
using SystemAnimation::SPropertyTrack;
using SystemAnimation::STrackGroup;

namespace
{

void WriteQuaternion(ZJsonWriter& json, const SQuaternion& q)
{
    json.Numbers({q.x, q.y, q.z, q.w});
}

void WriteTransform(ZJsonWriter& json, const SQV& transform)
{
    json.Key("r");
    WriteQuaternion(json, transform.rotation);
    json.Key("t");
    json.Numbers({transform.translation.x, transform.translation.y, transform.translation.z});
}

void WriteKey(ZJsonWriter& json, bool b)
{
    json.Bool(b);
}
void WriteKey(ZJsonWriter& json, int n)
{
    json.Integer(n);
}
void WriteKey(ZJsonWriter& json, unsigned int n)
{
    json.Unsigned(n);
}
void WriteKey(ZJsonWriter& json, float f)
{
    json.Number(f);
}
void WriteKey(ZJsonWriter& json, const SVector2& v)
{
    json.Numbers({v.x, v.y});
}
void WriteKey(ZJsonWriter& json, const SVector3& v)
{
    json.Numbers({v.x, v.y, v.z});
}
void WriteKey(ZJsonWriter& json, const SVector4& v)
{
    json.Numbers({v.x, v.y, v.z, v.w});
}
void WriteKey(ZJsonWriter& json, const SQuaternion& q)
{
    WriteQuaternion(json, q);
}

/// The keys as a list, if they are of one of these types.
template <class... T>
bool WriteKeysOf(ZJsonWriter& json, const ZVariant& keys)
{
    const auto writeIf = [&]<class TKey>(const TKey*)
    {
        if (keys.GetTypeID() != GetTypeID<TArray<TKey>>())
            return false;
        json.Open('[');
        for (const TKey& key : *static_cast<const TArray<TKey>*>(keys.Get()))
            WriteKey(json, key);
        json.Close(']');
        return true;
    };
    return (writeIf(static_cast<const T*>(nullptr)) || ...);
}

void WriteProperty(ZJsonWriter& json, const SPropertyTrack& track)
{
    json.Open('{');
    json.UnsignedField("boneId", track.boneId);
    json.UnsignedField("nameHash", track.name.GetHashCode());
    json.TextField("type", track.typeId->m_szName);
    json.UnsignedField("flags", track.flags);
    json.Key("keys");
    if (!WriteKeysOf<bool, int, unsigned int, float, SVector2, SVector3, SVector4, SQuaternion>(json, track.keys))
        json.Null();
    json.Close('}');
}

void WriteAnimation(ZJsonWriter& json, const SAnimationResourceData& animation)
{
    json.Key("animation");
    json.Open('{');
    json.TextField("name", animation.name.View());
    json.IntegerField("eventTrackReference", animation.eventTrackReference);
    json.IntegerField("rigReference", animation.rigReference);
    json.UnsignedField("boneCount", animation.boneCount);
    json.Key("frameRate");
    json.Number(animation.frameRate);
    json.UnsignedField("frameCount", animation.frameCount);
    json.Key("sequenceOffset");
    json.Open('{');
    json.Key("rotation");
    WriteQuaternion(json, animation.sequenceOffset.rotation);
    json.Key("translation");
    const SVector4& t = animation.sequenceOffset.translation;
    json.Numbers({t.x, t.y, t.z, t.w});
    json.Close('}');
    json.Key("trackGroups");
    json.Open('[');
    for (const STrackGroup& group : animation.trackGroups)
    {
        json.Open('{');
        json.IntegerField("type", group.type);
        json.Key("bones");
        json.Open('[');
        for (const uint16_t nBone : group.boneIndices)
            json.Unsigned(nBone);
        json.Close(']');
        json.UnsignedField("dataBytes", group.data.Size());
        json.Close('}');
    }
    json.Close(']');
    json.Key("properties");
    json.Open('[');
    for (const SPropertyTrack& track : animation.properties)
        WriteProperty(json, track);
    json.Close(']');
    json.Close('}');
}

void WriteRig(ZJsonWriter& json, const ZAnimationRig& rig)
{
    const auto index = [](SBoneId id) { return id.IsValid() ? int64_t(id) : -1; };
    json.Key("rig");
    json.Open('{');
    json.UnsignedField("trajectoryIndex", rig.TrajectoryIndex());
    json.Key("rootIndices");
    json.Open('[');
    for (const SBoneId id : rig.RootIndices())
        json.Unsigned(id);
    json.Close(']');
    json.Key("bones");
    json.Open('[');
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
    {
        json.Open('{');
        json.UnsignedField("index", n);
        json.TextField("name", rig.Name(n).View());
        json.UnsignedField("uid", rig.UniqueId(n));
        json.IntegerField("parent", index(rig.ParentId(n)));
        WriteTransform(json, rig.Bone(n));
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

void WriteCharacter(ZJsonWriter& json, const std::vector<ZPackedFile::SEntry>& entries)
{
    json.Key("character");
    json.Open('{');
    json.Key("animations");
    json.Open('[');
    for (const ZPackedFile::SEntry& entry : entries)
    {
        json.Open('{');
        json.TextField("name", entry.sName);
        json.UnsignedField("reference", entry.nReference);
        json.BoolField("blendSpace", entry.bBlendSpace);
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

/// The file that the command names, and what the text alone says of it.
struct SNamedFile
{
    std::string sPath;
    std::string sPlatform; ///< empty: not known
};

SNamedFile FindFile(const SOptions& options)
{
    const std::string& sWord = options.sources.front();
    const auto place = [&options](const std::string& sId)
    {
        const std::string sPath = OutputPathOf(ToId(sId));
        if (sPath.empty())
            throw ZUsageError("'" + sId + "' names no packed resource");
        return SNamedFile{options.sOut + '/' + sPath, ToStd(ToId(sId).GetPlatformFromExtension())};
    };
    if (sWord.starts_with('<'))
        return place(sWord);
    if (sWord.find(":/") != std::string::npos)
    {
        // A take or a rig stands for what a build makes of it.
        const ZResourceID id = ToId(sWord);
        for (const SDerivedKind& kind : DerivedKinds())
            if (!kind.builtFrom.empty() && id.GetExtension().View() == kind.builtFrom)
                return place(ToStd(
                    id.CreateDerivedResourceID(ToZString(kind.extension), "", ToZString(options.platforms.front()))));
        throw ZUsageError("'" + sWord + "' is a source; name what is packed of it");
    }
    SNamedFile file{sWord, {}};
    std::error_code error;
    const fs::path below =
        fs::weakly_canonical(sWord, error).lexically_relative(fs::weakly_canonical(options.sOut, error));
    if (!below.empty() && below.begin()->string() != "..")
        file.sPlatform = below.begin()->string();
    return file;
}

class ZInspector
{
public:
    ZInspector(const SOptions& options, ZConsole& console)
        : m_options(options), m_console(console), m_named(FindFile(options))
    {
    }

    int Run()
    {
        if (!m_file.Read(m_named.sPath))
            return Fail(m_file.Error());
        SettlePlatform();
        const bool bAnimation = m_file.Type() == "ARTY";
        if ((bAnimation && m_file.Animation() == nullptr) || (m_file.Type() == "RRTY" && m_file.Rig() == nullptr) ||
            (m_file.Type() == "ChrT" && m_file.Character() == nullptr))
            return Fail(m_file.Error());
        if (!m_options.frames.empty() && !bAnimation)
            return Fail("only animations have frames");
        if (!m_options.frames.empty() && !LoadSampler())
            return Fail(m_sError);
        if (m_console.IsJson())
            m_console.Output(Json());
        else
            m_console.Output(Text());
        return eExit_Done;
    }

private:
    int Fail(const std::string& sWhy)
    {
        m_console.Diagnostic(ESeverity::eError, m_named.sPath, sWhy);
        return eExit_AssetsFailed;
    }

    /// A packed file does not say its platform. Its place may, what it refers to does, and the user may have.
    void SettlePlatform()
    {
        if (!m_file.References().empty())
            m_named.sPlatform = ToStd(ToId(m_file.References().front().sId).GetPlatformFromExtension());
        else if (m_named.sPlatform.empty() && m_options.bPlatformGiven)
            m_named.sPlatform = m_options.platforms.front();
    }

    bool LoadSampler()
    {
        const SAnimationResourceData& animation = *m_file.Animation();
        const auto fail = [this](const std::string& sWhy)
        {
            m_sError = sWhy;
            return false;
        };
        for (const uint32_t nFrame : m_options.frames)
            if (nFrame >= animation.frameCount)
                return fail("there is no frame " + std::to_string(nFrame) + ": the animation has " +
                            std::to_string(animation.frameCount));
        const int nRig = animation.rigReference;
        if (nRig < 0 || static_cast<size_t>(nRig) >= m_file.References().size())
            return fail("frames can't be decoded: the animation refers to no rig");
        const std::string& sRig = m_file.References()[static_cast<size_t>(nRig)].sId;
        const std::string sPlace = OutputPathOf(ToId(sRig));
        if (sPlace.empty() || !m_rigFile.Read(m_options.sOut + '/' + sPlace))
            return fail("frames can't be decoded without the rig '" + sRig + "' in '" + m_options.sOut +
                        "': " + (sPlace.empty() ? "that names no packed resource" : m_rigFile.Error()));
        if (m_rigFile.Type() != "RRTY" || m_rigFile.Rig() == nullptr)
            return fail("the rig '" + sPlace + "' can't be used: " + m_rigFile.Error());
        ZString why;
        m_pDescriptor = ZAnimPoseDescriptor::Create(*m_rigFile.Rig());
        m_pSampler = ZAnimationSampler::Create(animation, m_file.Endian(), m_pDescriptor, why);
        return m_pSampler || fail("the animation does not fit its rig: " + ToStd(why));
    }

    void WriteFrames(ZJsonWriter& json)
    {
        const ZAnimationRig& rig = *m_rigFile.Rig();
        const TSharedPtr<ZAnimPoseBuffer> pPose = ZAnimPoseBuffer::Create(m_pDescriptor);
        json.Key("frames");
        json.Open('[');
        for (const uint32_t nFrame : m_options.frames)
        {
            m_pSampler->Sample(nFrame, *pPose);
            pPose->ToCharacterSpace();
            json.Open('{');
            json.UnsignedField("frame", nFrame);
            json.Key("bones");
            json.Open('[');
            for (uint32_t n = 0; n < rig.BoneCount(); ++n)
            {
                json.Open('{');
                json.UnsignedField("index", n);
                json.TextField("name", rig.Name(n).View());
                json.Key("local");
                json.Open('{');
                WriteTransform(json, pPose->Local()[n]);
                json.Close('}');
                json.Key("character");
                json.Open('{');
                WriteTransform(json, pPose->Character()[n]);
                json.Close('}');
                json.Close('}');
            }
            json.Close(']');
            json.Close('}');
        }
        json.Close(']');
    }

    std::string Json()
    {
        const ZResourceHeader& header = m_file.Header();
        ZJsonWriter json;
        json.Open('{');
        json.TextField("file", m_named.sPath);
        json.TextField("type", m_file.Type());
        json.OptionalField("platform", m_named.sPlatform);
        json.TextField("endian", m_file.Endian() == eEndian_Little ? "little" : "big");
        json.UnsignedField("headerSize", m_file.HeaderSize());
        json.UnsignedField("referenceBlockSize", header.ReferenceBlockSize());
        json.Key("sizes");
        json.Open('[');
        for (const uint64_t nSize : {header.DataSize(), header.SecondSize(), header.ThirdSize()})
            json.Unsigned(nSize);
        json.Close(']');
        json.Key("references");
        json.Open('[');
        for (const ZPackedFile::SReference& reference : m_file.References())
        {
            json.Open('{');
            json.TextField("id", reference.sId);
            json.UnsignedField("flags", reference.nFlags);
            json.Close('}');
        }
        json.Close(']');
        if (m_file.Type() == "ARTY")
            WriteAnimation(json, *m_file.Animation());
        else if (m_file.Type() == "RRTY")
            WriteRig(json, *m_file.Rig());
        else
            WriteCharacter(json, *m_file.Character());
        if (!m_options.frames.empty())
            WriteFrames(json);
        json.Close('}');
        return json.Take();
    }

    std::string Text()
    {
        std::string sText = HeaderText(m_file, m_named.sPath, m_named.sPlatform);
        if (m_file.Type() == "ARTY")
            sText += AnimationText(*m_file.Animation());
        else if (m_file.Type() == "RRTY")
            sText += RigText(*m_file.Rig());
        else
            sText += CharacterText(*m_file.Character());
        for (const uint32_t nFrame : m_options.frames)
            sText += FrameText(*m_pSampler, m_pDescriptor, *m_rigFile.Rig(), nFrame);
        return sText;
    }

    const SOptions& m_options;
    ZConsole& m_console;
    SNamedFile m_named;
    ZPackedFile m_file;
    ZPackedFile m_rigFile;
    TSharedPtr<ZAnimPoseDescriptor> m_pDescriptor;
    TSharedPtr<ZAnimationSampler> m_pSampler;
    std::string m_sError;
};

} // namespace

int RunInspect(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    try
    {
        return ZInspector(options, console).Run();
    }
    catch (const SAssertionFailed& e)
    {
        console.Diagnostic(ESeverity::eError, options.sources.front(), "assertion failed: " + e.sExpression);
    }
    catch (const zhalt_exception&)
    {
        console.Diagnostic(ESeverity::eError, options.sources.front(), "the file contradicts itself");
    }
    return eExit_AssetsFailed;
}

} // namespace Host
