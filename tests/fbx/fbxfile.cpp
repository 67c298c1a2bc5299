#include "tests/fbx/fbxfile.h"

#include <libdeflate.h>

#include <bit>
#include <charconv>
#include <cstring>

namespace fbxfile
{
namespace
{

class BinaryWriter
{
public:
    explicit BinaryWriter(const Format& format) : m_format(format), m_bWide(format.nVersion >= 7500) {}

    std::string Write(const Record& top)
    {
        m_s = std::string("Kaydara FBX Binary  \0\x1a", 22);
        m_s += m_format.bBigEndian ? '\x01' : '\0';
        Number<uint32_t>(static_cast<uint32_t>(m_format.nVersion));
        for (const Record& record : top.children)
            WriteRecord(record);
        m_s.append(m_bWide ? 25 : 13, '\0');
        m_s.append("a footer that nobody reads");
        return std::move(m_s);
    }

private:
    template <class T>
    void Number(T value, size_t nAt = std::string::npos)
    {
        char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof value);
        if (m_format.bBigEndian)
            for (size_t n = 0; n < sizeof(T) / 2; ++n)
                std::swap(bytes[n], bytes[sizeof(T) - 1 - n]);
        if (nAt == std::string::npos)
            m_s.append(bytes, sizeof bytes);
        else
            m_s.replace(nAt, sizeof bytes, bytes, sizeof bytes);
    }
    void Offset(uint64_t n, size_t nAt = std::string::npos)
    {
        if (m_bWide)
            Number<uint64_t>(n, nAt);
        else
            Number<uint32_t>(static_cast<uint32_t>(n), nAt);
    }
    void WriteText(const std::string& s)
    {
        Number<uint32_t>(static_cast<uint32_t>(s.size()));
        m_s += s;
    }
    void WriteElements(const Value& value)
    {
        for (const int64_t n : value.integers)
        {
            if (value.type == 'l')
                Number<int64_t>(n);
            else if (value.type == 'i')
                Number<int32_t>(static_cast<int32_t>(n));
            else
                Number<uint8_t>(static_cast<uint8_t>(n));
        }
        for (const double f : value.numbers)
        {
            if (value.type == 'd')
                Number<double>(f);
            else
                Number<float>(static_cast<float>(f));
        }
    }
    void WriteValue(const Value& value)
    {
        if (value.type == 'N')
        {
            std::string s = value.s;
            s.insert(s.rfind('\x01'), 1, '\0');
            m_s += 'S';
            WriteText(s);
            return;
        }
        m_s += value.type;
        switch (value.type)
        {
        case 'Q':
            m_s += value.s;
            return;
        case 'C':
        case 'Z':
            return Number<uint8_t>(static_cast<uint8_t>(value.i));
        case 'Y':
            return Number<int16_t>(static_cast<int16_t>(value.i));
        case 'I':
            return Number<int32_t>(static_cast<int32_t>(value.i));
        case 'L':
            return Number<int64_t>(value.i);
        case 'F':
            return Number<float>(static_cast<float>(value.d));
        case 'D':
            return Number<double>(value.d);
        case 'S':
        case 'R':
            return WriteText(value.s);
        default:
            break;
        }
        Number<uint32_t>(static_cast<uint32_t>(value.integers.size() + value.numbers.size()));
        Number<uint32_t>(m_format.bDeflate ? 1 : 0);
        const size_t nLengthAt = m_s.size();
        Number<uint32_t>(0);
        const size_t nBegin = m_s.size();
        WriteElements(value);
        if (m_format.bDeflate)
        {
            const std::string sPlain = m_s.substr(nBegin);
            libdeflate_compressor* p = libdeflate_alloc_compressor(6);
            std::string sPacked(libdeflate_zlib_compress_bound(p, sPlain.size()), '\0');
            sPacked.resize(libdeflate_zlib_compress(p, sPlain.data(), sPlain.size(), sPacked.data(), sPacked.size()));
            libdeflate_free_compressor(p);
            m_s.replace(nBegin, std::string::npos, sPacked);
        }
        Number<uint32_t>(static_cast<uint32_t>(m_s.size() - nBegin), nLengthAt);
    }
    void WriteRecord(const Record& record)
    {
        const size_t nAt = m_s.size();
        const size_t nField = m_bWide ? 8 : 4;
        Offset(0);
        Offset(record.values.size());
        Offset(0);
        m_s += static_cast<char>(record.name.size());
        m_s += record.name;
        const size_t nValues = m_s.size();
        for (const Value& value : record.values)
            WriteValue(value);
        Offset(m_s.size() - nValues, nAt + 2 * nField);
        for (const Record& child : record.children)
            WriteRecord(child);
        if (!record.children.empty())
            m_s.append(m_bWide ? 25 : 13, '\0');
        Offset(m_s.size(), nAt);
    }

    Format m_format;
    bool m_bWide;
    std::string m_s;
};

std::string NumberText(double f)
{
    char buffer[40];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, f).ptr);
}

void WriteTextValue(std::string& s, const Value& value)
{
    switch (value.type)
    {
    case 'S':
    case 'N':
    {
        std::string sText = value.s;
        if (value.type == 'N')
        {
            const size_t n = sText.rfind('\x01');
            sText = sText.substr(n + 1) + "::" + sText.substr(0, n);
        }
        s += '"';
        for (const char c : sText)
            s += c == '"' ? std::string("&quot;") : std::string(1, c);
        s += '"';
        return;
    }
    case 'C':
        s += static_cast<char>(value.i);
        return;
    case 'Y':
    case 'I':
    case 'L':
        s += std::to_string(value.i);
        return;
    case 'F':
    case 'D':
        s += NumberText(value.d);
        return;
    default:
        break;
    }
    s += '*' + std::to_string(value.integers.size() + value.numbers.size()) + " {\n\ta: ";
    const char* szComma = "";
    for (const int64_t n : value.integers)
    {
        s += szComma + std::to_string(n);
        szComma = ",";
    }
    for (const double f : value.numbers)
    {
        s += szComma + NumberText(f);
        szComma = ",";
    }
    s += "\n}";
}

void WriteTextRecord(std::string& s, const Record& record, int nDepth)
{
    s.append(static_cast<size_t>(nDepth), '\t');
    s += record.name + ": ";
    const char* szComma = "";
    for (const Value& value : record.values)
    {
        s += szComma;
        WriteTextValue(s, value);
        szComma = ", ";
    }
    if (!record.children.empty() || record.values.empty())
    {
        s += " {\n";
        for (const Record& child : record.children)
            WriteTextRecord(s, child, nDepth + 1);
        s.append(static_cast<size_t>(nDepth), '\t');
        s += '}';
    }
    s += '\n';
}

} // namespace

std::string Write(const Record& top, const Format& format)
{
    if (!format.bText)
        return BinaryWriter(format).Write(top);
    const std::string sVersion = std::to_string(format.nVersion);
    std::string s = std::string("; FBX ") + sVersion[0] + '.' + sVersion[1] + '.' + sVersion[2] + " project file\n";
    for (const Record& record : top.children)
        WriteTextRecord(s, record, 0);
    return s;
}

Scene::Scene()
{
    m_settings.Add("Version", {I(1000)});
    m_settings.Add("Properties70");
    // Z up, so that tests meet the axis conversion only where they ask for it.
    Setting("UpAxis", "int", I(2));
    Setting("FrontAxis", "int", I(1));
    Setting("FrontAxisSign", "int", I(-1));
}

Record& Scene::Object(int64_t nId)
{
    for (Record& record : objects)
        if (record.values[0].i == nId)
            return record;
    return objects.front();
}

int64_t Scene::Add(const std::string& sRecord, const std::string& sName, const std::string& sClass,
                   const std::string& sType)
{
    objects.push_back({sRecord, {L(m_nNext), Name(sName, sClass), S(sType)}, {}});
    return m_nNext++;
}

int64_t Scene::Model(const std::string& sName, const std::string& sType, int64_t nParent)
{
    const int64_t nId = Add("Model", sName, "Model", sType);
    // What exporters write for nearly every node; tests of other values set them anew.
    Object(nId).Add("Properties70");
    Integer(nId, "InheritType", 1);
    Connect("OO", nId, nParent);
    return nId;
}

int64_t Scene::Attribute(const std::string& sType, int64_t nModel)
{
    const int64_t nId = Add("NodeAttribute", "", "NodeAttribute", sType);
    Connect("OO", nId, nModel);
    return nId;
}

int64_t Scene::Stack(const std::string& sName, int64_t nStart, int64_t nStop)
{
    const int64_t nId = Add("AnimationStack", sName, "AnimStack", "");
    Property(nId, "LocalStart", "KTime", "", {L(nStart)});
    Property(nId, "LocalStop", "KTime", "", {L(nStop)});
    return nId;
}

int64_t Scene::Layer(const std::string& sName, int64_t nStack)
{
    const int64_t nId = Add("AnimationLayer", sName, "AnimLayer", "");
    Connect("OO", nId, nStack);
    return nId;
}

int64_t Scene::CurveNode(int64_t nLayer, int64_t nObject, const std::string& sProperty, std::vector<double> defaults)
{
    const int64_t nId = Add("AnimationCurveNode", "N", "AnimCurveNode", "");
    static const char* const names[] = {"d|X", "d|Y", "d|Z", "d|W"};
    for (size_t n = 0; n < defaults.size(); ++n)
        Property(nId, defaults.size() == 1 ? "d|" + sProperty : names[n], "Number", "A", {D(defaults[n])});
    Connect("OO", nId, nLayer);
    Connect("OP", nId, nObject, sProperty);
    return nId;
}

int64_t Scene::Curve(int64_t nCurveNode, const std::string& sChannel, std::vector<int64_t> times,
                     std::vector<double> values, std::vector<KeyAttribute> attributes, Extrapolation pre,
                     Extrapolation post)
{
    const int64_t nId = Add("AnimationCurve", "", "AnimCurve", "");
    if (attributes.empty())
        attributes.push_back({kLinear, 0.0f, 0.0f, 218434821, static_cast<int64_t>(times.size())});
    std::vector<int64_t> flags;
    std::vector<int64_t> counts;
    std::vector<int64_t> words;
    for (const KeyAttribute& attribute : attributes)
    {
        flags.push_back(attribute.nFlags);
        counts.push_back(attribute.nCount);
        words.push_back(std::bit_cast<int32_t>(attribute.fRight));
        words.push_back(std::bit_cast<int32_t>(attribute.fNextLeft));
        words.push_back(static_cast<int32_t>(attribute.nWeights));
        words.push_back(0);
    }
    Record& record = Object(nId);
    record.Add("Default", {D(0.0)});
    record.Add("KeyVer", {I(4009)});
    record.Add("KeyTime", {Longs(std::move(times))});
    record.Add("KeyValueFloat", {Floats(std::move(values))});
    record.Add("KeyAttrFlags", {Ints(std::move(flags))});
    record.Add("KeyAttrDataFloat", {Ints(std::move(words))});
    record.Add("KeyAttrRefCount", {Ints(std::move(counts))});
    for (const auto& [szName, how] : {std::pair("Pre-Extrapolation", pre), std::pair("Post-Extrapolation", post)})
    {
        if (how.type == 'C')
            continue;
        Record& extrapolation = record.Add(szName);
        extrapolation.Add("Type", {{'C', how.type, 0.0, {}, {}, {}}});
        extrapolation.Add("Repetition", {I(how.nRepetition)});
    }
    Connect("OP", nId, nCurveNode, sChannel);
    return nId;
}

void Scene::Property(int64_t nObject, const std::string& sName, const std::string& sType, const std::string& sFlags,
                     std::vector<Value> values)
{
    Record& object = Object(nObject);
    if (object.children.empty() || object.children[0].name != "Properties70")
        object.children.insert(object.children.begin(), Record{"Properties70", {}, {}});
    std::vector<Value> all{S(sName), S(sType), S(""), S(sFlags)};
    all.insert(all.end(), values.begin(), values.end());
    for (Record& p : object.children[0].children)
    {
        if (p.values[0].s == sName)
        {
            p.values = all;
            return;
        }
    }
    object.children[0].Add("P", all);
}

void Scene::Vector(int64_t nObject, const std::string& sName, double x, double y, double z)
{
    const bool bMain = sName.compare(0, 4, "Lcl ") == 0;
    Property(nObject, sName, bMain ? sName : "Vector3D", bMain ? "A" : "", {D(x), D(y), D(z)});
}

void Scene::Integer(int64_t nObject, const std::string& sName, int64_t n)
{
    Property(nObject, sName, "int", "", {I(n)});
}

void Scene::Setting(const std::string& sName, const std::string& sType, Value value)
{
    for (Record& p : m_settings.children[1].children)
    {
        if (p.values[0].s == sName)
        {
            p.values[4] = std::move(value);
            return;
        }
    }
    m_settings.children[1].Add("P", {S(sName), S(sType), S(""), S(""), std::move(value)});
}

void Scene::Template(const std::string& sObjectType, const std::string& sName, Record properties)
{
    Record& type = m_definitions.Add("ObjectType", {S(sObjectType)});
    properties.name = "Properties70";
    type.Add("PropertyTemplate", {S(sName)}).children.push_back(std::move(properties));
}

void Scene::Connect(const std::string& sKind, int64_t nSource, int64_t nTarget, const std::string& sProperty)
{
    std::vector<Value> values{S(sKind), L(nSource), L(nTarget)};
    if (!sProperty.empty())
        values.push_back(S(sProperty));
    m_connections.Add("C", values);
}

Record Scene::Records() const
{
    Record top;
    Record& header = top.Add("FBXHeaderExtension");
    header.Add("FBXHeaderVersion", {I(1003)});
    top.Add("FileId", {{'R', 0, 0.0, "0123456789abcdef", {}, {}}});
    top.children.push_back(m_settings);
    if (!m_sActiveStack.empty())
    {
        Record& document = top.Add("Documents").Add("Document", {L(1), S(""), S("Scene")});
        document.Add("Properties70")
            .Add("P", {S("ActiveAnimStackName"), S("KString"), S(""), S(""), S(m_sActiveStack)});
        document.Add("RootNode", {L(0)});
    }
    top.children.push_back(m_definitions);
    Record& list = top.Add("Objects");
    list.children = objects;
    top.children.push_back(m_connections);
    top.Add("Takes").Add("Current", {S("")});
    return top;
}

} // namespace fbxfile
