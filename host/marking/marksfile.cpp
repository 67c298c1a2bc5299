#include "host/marking/marksfile.h"

#include "fbx/scene/fbxtransform.h"
#include "host/text/words.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <initializer_list>
#include <set>

namespace Host
{

namespace
{

using TJson = nlohmann::json; // keys in order of their names

struct STypeOfMark
{
    std::string_view name;
    std::string_view type;
    std::string_view label;
    size_t nValues;
    char letter;
    bool bFlag; ///< true and false only
};

constexpr STypeOfMark TYPES[] = {
    {"bool", "bool", "", 1, 'I', true},       {"Bool", "Bool", "", 1, 'I', true},
    {"int", "int", "Integer", 1, 'I', false}, {"Integer", "Integer", "", 1, 'I', false},
    {"enum", "enum", "", 1, 'I', false},      {"float", "float", "", 1, 'D', false},
    {"Float", "Float", "", 1, 'D', false},    {"double", "double", "Number", 1, 'D', false},
    {"Number", "Number", "", 1, 'D', false},  {"KString", "KString", "", 1, 'S', false},
    {"Vector", "Vector", "", 3, 'D', false},  {"Vector3D", "Vector3D", "Vector", 3, 'D', false},
    {"Color", "Color", "", 3, 'D', false},    {"matrix", "matrix4x4", "", 16, 'D', false},
};

[[noreturn]] void Fail(const std::string& sPlace, const std::string& sWhat)
{
    throw ZMarksError((sPlace.empty() ? "/" : sPlace) + ": " + sWhat);
}

std::string KindOf(const TJson& json)
{
    switch (json.type())
    {
    case TJson::value_t::null:
        return "null";
    case TJson::value_t::object:
        return "an object";
    case TJson::value_t::array:
        return "an array of " + std::to_string(json.size());
    case TJson::value_t::string:
        return "a text";
    case TJson::value_t::boolean:
        return json.get<bool>() ? "true" : "false";
    default:
        return json.dump();
    }
}

void RequireObject(const TJson& json, const std::string& sPlace, std::initializer_list<std::string_view> keys)
{
    if (!json.is_object())
        Fail(sPlace, "must be an object, not " + KindOf(json));
    if (keys.size() == 0)
        return;
    for (const auto& [key, value] : json.items())
    {
        bool bKnown = false;
        std::string sKeys;
        for (const std::string_view known : keys)
        {
            bKnown = bKnown || key == known;
            sKeys += (sKeys.empty() ? "" : ", ") + std::string(known);
        }
        if (!bKnown)
            Fail(sPlace + JsonStep(key), "there is no such key; known are " + sKeys);
    }
}

std::string TextOf(const TJson& json, const std::string& sPlace)
{
    if (!json.is_string())
        Fail(sPlace, "must be a text, not " + KindOf(json));
    std::string sText = json.get<std::string>();
    if (sText.find('\0') != std::string::npos)
        Fail(sPlace, "holds a zero byte");
    return sText;
}

std::string NameOf(const TJson& json, const std::string& sPlace)
{
    std::string sName = TextOf(json, sPlace);
    if (sName.empty())
        Fail(sPlace, "must not be empty");
    return sName;
}

bool FlagOf(const TJson& json, const std::string& sPlace)
{
    if (!json.is_boolean())
        Fail(sPlace, "must be true or false, not " + KindOf(json));
    return json.get<bool>();
}

double NumberOf(const TJson& json, const std::string& sPlace)
{
    if (!json.is_number())
        Fail(sPlace, "must be a number, not " + KindOf(json));
    return json.get<double>();
}

int32_t IntegerOf(const TJson& json, const std::string& sPlace)
{
    const double f = NumberOf(json, sPlace);
    if (!json.is_number_integer() && f != std::floor(f))
        Fail(sPlace, "must be a whole number, not " + KindOf(json));
    if (f < INT32_MIN || f > INT32_MAX)
        Fail(sPlace, "must lie within 32 bits");
    return static_cast<int32_t>(f);
}

std::vector<double> NumbersOf(const TJson& json, size_t nCount, const std::string& sPlace)
{
    if (!json.is_array() || json.size() != nCount)
        Fail(sPlace, "must be an array of " + std::to_string(nCount) + " numbers, not " + KindOf(json));
    std::vector<double> numbers;
    for (size_t n = 0; n < nCount; ++n)
        numbers.push_back(NumberOf(json[n], sPlace + '/' + std::to_string(n)));
    return numbers;
}

const TJson& Member(const TJson& json, const char* szKey, const std::string& sPlace)
{
    const auto found = json.find(szKey);
    if (found == json.end())
        Fail(sPlace, std::string("the key '") + szKey + "' is missing");
    return *found;
}

const STypeOfMark& TypeOf(const TJson& json, const std::string& sPlace)
{
    const std::string sName = TextOf(json, sPlace);
    std::string sKnown;
    for (const STypeOfMark& type : TYPES)
    {
        if (type.name == sName)
            return type;
        sKnown += (sKnown.empty() ? "" : ", ") + std::string(type.name);
    }
    Fail(sPlace, "there is no type '" + sName + "'; known are " + sKnown);
}

SPropertyMark ReadProperty(const std::string& sName, const TJson& json, const std::string& sPlace)
{
    SPropertyMark mark;
    mark.sName = sName;
    mark.bRemove = json.is_null();
    if (sName.empty() || sName.find('\0') != std::string::npos)
        Fail(sPlace, "a property must have a name");
    if (mark.bRemove)
        return mark;
    RequireObject(json, sPlace, {"type", "value", "flags"});
    const STypeOfMark& type = TypeOf(Member(json, "type", sPlace), sPlace + "/type");
    mark.type = type.type;
    mark.label = type.label;
    mark.letter = type.letter;
    if (json.contains("flags"))
    {
        mark.sFlags = TextOf(json["flags"], sPlace + "/flags");
        if (mark.sFlags.find_first_not_of("A+UHNLM1234567") != std::string::npos || mark.sFlags.size() > 16)
            Fail(sPlace + "/flags", "'" + mark.sFlags + "' holds what is no flag; known are A + U H N L M");
    }
    const TJson& value = Member(json, "value", sPlace);
    const std::string sValue = sPlace + "/value";
    if (type.letter == 'S')
        mark.sText = TextOf(value, sValue);
    else if (type.bFlag)
        mark.numbers = {FlagOf(value, sValue) ? 1.0 : 0.0};
    else if (type.letter == 'I')
        mark.numbers = {static_cast<double>(IntegerOf(value, sValue))};
    else if (type.nValues == 1)
        mark.numbers = {NumberOf(value, sValue)};
    else
        mark.numbers = NumbersOf(value, type.nValues, sValue);
    return mark;
}

std::vector<double> ReadOrigin(const TJson& json, const std::string& sPlace)
{
    if (json.is_array())
        return NumbersOf(json, 16, sPlace);
    if (!json.is_object())
        Fail(sPlace, "must be an object with translation and rotation, or 16 numbers, not " + KindOf(json));
    RequireObject(json, sPlace, {"translation", "rotation"});
    FbxTransform transform;
    const auto vector = [&](const char* szKey)
    {
        const std::vector<double> v =
            json.contains(szKey) ? NumbersOf(json[szKey], 3, sPlace + '/' + szKey) : std::vector<double>(3);
        return FbxVector3{v[0], v[1], v[2]};
    };
    transform.t = vector("translation");
    transform.q = FbxQuaternion::FromEuler(vector("rotation"));
    const FbxMatrix4 matrix = FbxMatrix4::FromTransform(transform);
    return {&matrix.m[0][0], &matrix.m[0][0] + 16};
}

STakeMark ReadTake(const TJson& json, const std::string& sPlace)
{
    RequireObject(json, sPlace,
                  {"ground", "node", "name", "stack", "startFrame", "endFrame", "partialList", "sequenceOrigin"});
    STakeMark take;
    take.sGround = NameOf(Member(json, "ground", sPlace), sPlace + "/ground");
    take.sName = NameOf(Member(json, "name", sPlace), sPlace + "/name");
    // The name becomes part of an identifier and of the path of a file.
    if (take.sName.find_first_of("/\\?<>()|:*\"") != std::string::npos)
        Fail(sPlace + "/name",
             "'" + take.sName + "' holds a letter that identifiers have a meaning for: / \\ ? < > ( ) | : * \"");
    if (json.contains("node"))
        take.sNode = NameOf(json["node"], sPlace + "/node");
    if (json.contains("stack"))
        take.sStack = NameOf(json["stack"], sPlace + "/stack");
    if (json.contains("startFrame"))
        take.startFrame = IntegerOf(json["startFrame"], sPlace + "/startFrame");
    if (json.contains("endFrame"))
        take.endFrame = IntegerOf(json["endFrame"], sPlace + "/endFrame");
    if (take.startFrame && take.endFrame && *take.endFrame < *take.startFrame)
        Fail(sPlace + "/endFrame", "frame " + std::to_string(*take.endFrame) + " lies before the first one, " +
                                       std::to_string(*take.startFrame));
    if (json.contains("partialList"))
    {
        const TJson& list = json["partialList"];
        if (!list.is_array())
            Fail(sPlace + "/partialList", "must be an array of texts, not " + KindOf(list));
        for (size_t n = 0; n < list.size(); ++n)
            take.partialList.push_back(NameOf(list[n], sPlace + "/partialList/" + std::to_string(n)));
    }
    if (json.contains("sequenceOrigin"))
        take.sequenceOrigin = ReadOrigin(json["sequenceOrigin"], sPlace + "/sequenceOrigin");
    return take;
}

/// What the pipeline looks for on nodes, and of what type.
constexpr struct
{
    std::string_view name;
    std::string_view type;
} LOOKED_FOR[] = {{"IsGroundRoot", "bool"},  {"IsAttachRoot", "bool"},   {"IsRig", "bool"},
                  {"GroundName", "KString"}, {"RigResource", "KString"}, {"RootObjectNames", "KString"}};

/// A type that reading would refuse is a fault; a name that is nearly one of these is told.
void CheckLookedFor(const SPropertyMark& mark, const std::string& sPlace, std::vector<std::string>& warnings)
{
    std::vector<std::string> names;
    for (const auto& known : LOOKED_FOR)
    {
        names.emplace_back(known.name);
        if (ToLower(known.name) != ToLower(mark.sName))
            continue;
        if (!mark.bRemove && ToLower(known.type) != ToLower(mark.type))
            Fail(sPlace + "/type",
                 "'" + mark.sName + "' is read as " + std::string(known.type) + ", not as " + std::string(mark.type));
        return;
    }
    if (const std::string sNear = NearestName(mark.sName, names); !sNear.empty())
        warnings.push_back(sPlace + ": nothing looks for '" + mark.sName + "'; did you mean '" + sNear + "'?");
}

void ReadNodes(const TJson& nodes, SMarks& marks, ZMarksFaults& faults)
{
    RequireObject(nodes, "/nodes", {});
    for (const auto& [sNode, properties] : nodes.items())
    {
        const std::string sPlace = "/nodes" + JsonStep(sNode);
        SNodeMarks node{sNode, {}};
        faults.Try(
            [&, &sProperties = properties]
            {
                RequireObject(sProperties, sPlace, {});
                std::set<std::string> names;
                for (const auto& [sName, property] : sProperties.items())
                    faults.Try(
                        [&, &sKey = sName, &value = property]
                        {
                            const std::string sWhere = sPlace + JsonStep(sKey);
                            node.properties.push_back(ReadProperty(sKey, value, sWhere));
                            CheckLookedFor(node.properties.back(), sWhere, marks.warnings);
                            if (!names.insert(ToLower(sKey)).second)
                                Fail(sWhere, "properties that differ in case alone are taken for one");
                        });
            });
        marks.nodes.push_back(std::move(node));
    }
}

void ReadTakes(const TJson& takes, SMarks& marks, ZMarksFaults& faults)
{
    if (!takes.is_array())
        Fail("/takes", "must be an array, not " + KindOf(takes));
    std::set<std::string> names;
    for (size_t n = 0; n < takes.size(); ++n)
        faults.Try(
            [&]
            {
                const std::string sPlace = "/takes/" + std::to_string(n);
                marks.takes.push_back(ReadTake(takes[n], sPlace));
                marks.takes.back().nIndex = n;
                if (!names.insert(ToLower(marks.takes.back().sName)).second)
                    Fail(sPlace + "/name",
                         "there are two takes '" + marks.takes.back().sName + "'; case does not tell them apart");
            });
}

/// The parser keeps the last of equal keys without a word; that would drop a node's marks.
TJson Parse(std::string_view text)
{
    std::vector<std::set<std::string>> open;
    std::string sTwice;
    const TJson::parser_callback_t callback = [&](int, TJson::parse_event_t eEvent, TJson& parsed)
    {
        if (eEvent == TJson::parse_event_t::object_start)
            open.emplace_back();
        else if (eEvent == TJson::parse_event_t::object_end)
            open.pop_back();
        else if (eEvent == TJson::parse_event_t::key && !open.back().insert(parsed.get<std::string>()).second &&
                 sTwice.empty())
            sTwice = parsed.get<std::string>();
        return true;
    };
    try
    {
        TJson json = TJson::parse(text.begin(), text.end(), callback);
        if (!sTwice.empty())
            throw ZMarksError("the key '" + sTwice + "' is there twice in one object");
        return json;
    }
    catch (const TJson::exception& e)
    {
        // "[json.exception.parse_error.101] parse error at line 1, column 1: ..."
        const std::string_view what = e.what();
        const size_t nStart = what.find("] ");
        throw ZMarksError("no JSON: " + std::string(what.substr(nStart == std::string_view::npos ? 0 : nStart + 2)));
    }
}

} // namespace

std::string JsonStep(std::string_view key)
{
    std::string sStep = "/";
    for (const char c : key)
        sStep += c == '~' ? std::string("~0") : c == '/' ? std::string("~1") : std::string(1, c);
    return sStep;
}

std::string NoSuchStack(const std::string& sName, const std::vector<std::string>& stacks)
{
    std::string sKnown;
    for (const std::string& sStack : stacks)
        sKnown.append(sKnown.empty() ? "; there are '" : ", '").append(sStack).append("'");
    return "/stack: there is no anim stack '" + sName + "'" + (sKnown.empty() ? "; the file has none" : sKnown);
}

SMarks ReadMarks(std::string_view text)
{
    const TJson json = Parse(text);
    RequireObject(json, "", {});
    SMarks marks;
    // Further in an unknown key is a slip of the pen; here it may be another tool's, which shares the file.
    for (const auto& [sKey, value] : json.items())
        if (sKey != "$schema" && sKey != "stack" && sKey != "stripNamespaces" && sKey != "nodes" && sKey != "takes")
            marks.warnings.push_back(JsonStep(sKey) +
                                     ": is passed over; known are $schema, stack, stripNamespaces, nodes, takes");
    ZMarksFaults faults;
    if (json.contains("stack"))
        faults.Try([&] { marks.sStack = NameOf(json["stack"], "/stack"); });
    if (json.contains("stripNamespaces"))
        faults.Try([&] { marks.bStripNamespaces = FlagOf(json["stripNamespaces"], "/stripNamespaces"); });
    if (json.contains("nodes"))
        faults.Try([&] { ReadNodes(json["nodes"], marks, faults); });
    if (json.contains("takes"))
        faults.Try([&] { ReadTakes(json["takes"], marks, faults); });
    faults.Finish();
    return marks;
}

} // namespace Host
