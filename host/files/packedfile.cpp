#include "host/files/packedfile.h"

#include "host/files/contenthash.h"
#include "host/files/outputfile.h"
#include "host/files/resourceids.h"

#include <cstring>

namespace Host
{

namespace
{

constexpr size_t FIXED_HEADER = 24;
/// The sizes in a header are 32 bits.
constexpr uint64_t LARGEST_FILE = uint64_t(1) << 32;

constexpr uint32_t CODES[] = {RESOURCE_CODE_ANIMATION, RESOURCE_CODE_RIG, RESOURCE_CODE_DATABASE};

} // namespace

bool ZPackedFile::Fail(const std::string& sWhy)
{
    m_sError = sWhy;
    return false;
}

bool ZPackedFile::Read(const std::string& sPath)
{
    SFileStamp stamp;
    std::error_code error;
    const TComponentScope<IInputStream> file(OpenFileInputStream(sPath, &stamp, &error));
    if (!file)
        return Fail(error == std::errc::no_such_file_or_directory ? "there is no such file"
                    : error                                       ? "it can't be read: " + error.message()
                                                                  : "it is no regular file");
    if (stamp.nSize > LARGEST_FILE)
        return Fail("the file is too large for a packed resource");
    m_bytes.resize(stamp.nSize);
    if (file->Read(m_bytes.data(), m_bytes.size()) != m_bytes.size())
        return Fail("the file can't be read to its end");
    if (m_bytes.size() < FIXED_HEADER)
        return Fail("no packed resource: the file is shorter than a header");

    bool bKnown = false;
    for (const EEndian eEndian : {eEndian_Little, eEndian_Big})
        for (const uint32_t nCode : CODES)
            if (LoadEndian<uint32_t>(m_bytes.data(), eEndian) == nCode)
            {
                m_eEndian = eEndian;
                bKnown = true;
            }
    if (!bKnown)
        return Fail("no packed resource: the file begins with no type of one");
    const TArrayRef<const uint8_t> all(m_bytes.data(), m_bytes.size());
    const TComponentScope<IInputStream> stream(CreateComponent<IInputStream>(MEMORY_INPUT_STREAM, all));
    if (!m_header.Read(stream.Get(), m_eEndian))
        return Fail("the header contradicts itself, or the file ends within it");
    m_sType = ToStd(m_header.Type());
    m_nHeaderSize = FIXED_HEADER + m_header.ReferenceBlockSize();
    if (m_bytes.size() - m_nHeaderSize != m_header.DataSize())
        return Fail("the header tells of " + std::to_string(m_header.DataSize()) + " bytes of data, and the file has " +
                    std::to_string(m_bytes.size() - m_nHeaderSize));
    m_references.resize(m_header.References().Size());
    for (const auto& [id, info] : m_header.References())
        m_references[info.nPosition] = {ToStd(id), info.nFlags};
    return true;
}

const SystemAnimation::SAnimationResourceData* ZPackedFile::Animation()
{
    if (m_animation.Get() != nullptr)
        return m_animation.Get();
    ZString why;
    if (!DeserializeObject(Data(), true, m_animation))
        Fail("the animation can't be read: " + ToStd(m_animation.Error()));
    // Against the largest rig that there can be: the true one is looked at when frames are decoded.
    else if (!m_animation.Get()->IsConsistent(SBoneId::INVALID_ID, why))
        Fail("the animation contradicts itself: " + ToStd(why));
    else
        return m_animation.Get();
    return nullptr;
}

const ZAnimationRig* ZPackedFile::Rig()
{
    if (m_rig.Get() != nullptr)
        return m_rig.Get();
    ZString why;
    if (!DeserializeObject(Data(), false, m_rig))
        Fail("the rig can't be read: " + ToStd(m_rig.Error()));
    else if (!m_rig.Get()->IsConsistent(why))
        Fail("the rig contradicts itself: " + ToStd(why));
    else
        return m_rig.Get();
    return nullptr;
}

/// n, then n positions of references, n flag bytes, n offsets of names from the first offset, and the names, each with
/// a zero byte.
const std::vector<ZPackedFile::SEntry>* ZPackedFile::Character()
{
    const TArrayRef<const uint8_t> data = Data();
    const auto fail = [this](const char* szWhy) -> const std::vector<SEntry>*
    {
        Fail(std::string("the character contradicts itself: ") + szWhy);
        return nullptr;
    };
    const auto word = [&](uint64_t nOffset) { return LoadEndian<uint32_t>(data.GetStart() + nOffset, m_eEndian); };
    if (data.Size() < 4)
        return fail("it is shorter than a count");
    const uint64_t n = word(0);
    const uint64_t nFlags = 4 + 4 * n;
    const uint64_t nOffsets = nFlags + n;
    if (nOffsets + 4 * n > data.Size())
        return fail("it is shorter than its lists");
    uint64_t nNameBytes = 0;
    m_character.clear();
    for (uint64_t i = 0; i < n; ++i)
    {
        const uint64_t nName = nOffsets + word(nOffsets + 4 * i);
        const uint32_t nReference = word(4 + 4 * i);
        if (nName >= data.Size() || nReference >= m_references.size())
            return fail("an animation has no name or no reference");
        const auto* pName = reinterpret_cast<const char*>(data.GetStart() + nName);
        const size_t nRoom = data.Size() - nName;
        const size_t nLength = strnlen(pName, nRoom);
        if (nLength == nRoom)
            return fail("a name has no end");
        // Many entries could share one long name, and would take far more memory than the file has bytes.
        nNameBytes += nLength;
        if (nNameBytes > data.Size())
            return fail("names overlap");
        m_character.push_back({std::string(pName, nLength), nReference, data[nFlags + i] != 0});
    }
    return &m_character;
}

} // namespace Host
