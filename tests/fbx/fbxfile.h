#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A writer of scene files for tests: records, and on top of them the usual objects. Stands apart from the reader, so
/// that both can't share a mistake.
namespace fbxfile
{

/// A value by its letter in binary files: C Z Y I L F D S R, arrays i l f d b; Q, which no file has, with any bytes.
struct Value
{
    char type = 'I';
    int64_t i = 0;
    double d = 0.0;
    std::string s;
    std::vector<int64_t> integers;
    std::vector<double> numbers;
};

inline constexpr auto I = [](int64_t n) { return Value{'I', n, 0.0, {}, {}, {}}; };
inline constexpr auto L = [](int64_t n) { return Value{'L', n, 0.0, {}, {}, {}}; };
inline constexpr auto D = [](double f) { return Value{'D', 0, f, {}, {}, {}}; };
inline constexpr auto S = [](std::string s) { return Value{'S', 0, 0.0, std::move(s), {}, {}}; };
/// An object's name with its class, which text and binary files write differently.
inline Value Name(const std::string& sName, const std::string& sClass)
{
    return {'N', 0, 0.0, sName + '\x01' + sClass, {}, {}};
}
inline constexpr auto Ints = [](std::vector<int64_t> v) { return Value{'i', 0, 0.0, {}, std::move(v), {}}; };
inline constexpr auto Longs = [](std::vector<int64_t> v) { return Value{'l', 0, 0.0, {}, std::move(v), {}}; };
inline constexpr auto Floats = [](std::vector<double> v) { return Value{'f', 0, 0.0, {}, {}, std::move(v)}; };
inline constexpr auto Doubles = [](std::vector<double> v) { return Value{'d', 0, 0.0, {}, {}, std::move(v)}; };

struct Record
{
    std::string name;
    std::vector<Value> values;
    std::vector<Record> children;

    Record& Add(std::string sName, std::vector<Value> v = {})
    {
        children.push_back({std::move(sName), std::move(v), {}});
        return children.back();
    }
};

struct Format
{
    int nVersion = 7400;
    bool bText = false;
    bool bBigEndian = false;
    bool bDeflate = false;
};

/// The top record's children are the file's records.
std::string Write(const Record& top, const Format& format);

/// Key attributes, run-length coded as files have them: flags, four words, count.
struct KeyAttribute
{
    uint32_t nFlags = 4;
    float fRight = 0.0f;
    float fNextLeft = 0.0f;
    uint32_t nWeights = 218434821; ///< two thirds as 16-bit parts of 9999
    int64_t nCount = 1;
};
constexpr uint32_t kStep = 0x2;
constexpr uint32_t kStepNext = 0x102;
constexpr uint32_t kLinear = 0x4;
constexpr uint32_t kCubicUser = 0x408;
constexpr uint32_t kCubicAuto = 0x108;
constexpr int64_t kSecond = 46186158000;

struct Extrapolation
{
    char type = 'C';
    int nRepetition = -1;
};

/// A scene of version 7, object by object. Numbers of objects are returned and used to connect them.
class Scene
{
public:
    Scene();

    int64_t Model(const std::string& sName, const std::string& sType = "Null", int64_t nParent = 0);
    int64_t Attribute(const std::string& sType, int64_t nModel);
    int64_t Stack(const std::string& sName, int64_t nStart, int64_t nStop);
    int64_t Layer(const std::string& sName, int64_t nStack);
    /// Values of the channels, each named d|X, d|Y, d|Z unless there is one only.
    int64_t CurveNode(int64_t nLayer, int64_t nObject, const std::string& sProperty, std::vector<double> defaults);
    int64_t Curve(int64_t nCurveNode, const std::string& sChannel, std::vector<int64_t> times,
                  std::vector<double> values, std::vector<KeyAttribute> attributes = {}, Extrapolation pre = {},
                  Extrapolation post = {});
    /// A property record: name, type, label, flags, values.
    void Property(int64_t nObject, const std::string& sName, const std::string& sType, const std::string& sFlags,
                  std::vector<Value> values);
    void Vector(int64_t nObject, const std::string& sName, double x, double y, double z);
    void Integer(int64_t nObject, const std::string& sName, int64_t n);
    void Setting(const std::string& sName, const std::string& sType, Value value);
    void Template(const std::string& sObjectType, const std::string& sName, Record properties);
    void Connect(const std::string& sKind, int64_t nSource, int64_t nTarget, const std::string& sProperty = "");
    void ActiveStack(const std::string& sName) { m_sActiveStack = sName; }

    Record Records() const;
    std::string Write(const Format& format = {}) const { return fbxfile::Write(Records(), format); }

    /// Records of all objects, to be bent by tests of damage.
    std::vector<Record> objects;

private:
    Record& Object(int64_t nId);
    int64_t Add(const std::string& sRecord, const std::string& sName, const std::string& sClass,
                const std::string& sType);

    int64_t m_nNext = 1000;
    Record m_settings{"GlobalSettings", {}, {}};
    Record m_definitions{"Definitions", {}, {}};
    Record m_connections{"Connections", {}, {}};
    std::string m_sActiveStack;
};

} // namespace fbxfile
