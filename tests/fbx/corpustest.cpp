// Real files with tables of what they hold, where they are there: header, tree, rest transforms, and transforms of
// every node at the tables' times. Times outside of what tables and files agree on are marked in the tables themselves.
#include "tests/fbx/loadscene.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>

namespace
{

using nlohmann::json;

const std::filesystem::path kCorpus = std::filesystem::path(Z_SOURCE_DIR) / ".." / "shared" / "fbx-corpus";

struct Tolerance
{
    double t;
    double r;
    double s;
};

/// Empty, or what differs. A row is ten numbers, or 22 where the matrix is no plain product.
std::string Compare(const FbxTransform& got, const json& row, Tolerance within)
{
    if (row.is_null())
        return {};
    double want[10];
    for (size_t n = 0; n < 10; ++n)
    {
        if (row[n].is_null())
            return {};
        want[n] = row[n].get<double>();
    }
    if (row.size() > 10)
        within = {within.t * 10, std::max(within.r * 10, 1e-4), std::max(within.s * 10, 1e-4)};
    const double have[10] = {got.t.x, got.t.y, got.t.z, got.q.x, got.q.y, got.q.z, got.q.w, got.s.x, got.s.y, got.s.z};
    const auto off = [&](size_t nFirst, double fWithin)
    {
        double fSize = 1.0;
        for (size_t n = nFirst; n < nFirst + 3; ++n)
            fSize = std::max(fSize, std::abs(want[n]));
        for (size_t n = nFirst; n < nFirst + 3; ++n)
            if (!(std::abs(have[n] - want[n]) <= fWithin * fSize))
                return true;
        return false;
    };
    if (off(0, within.t))
        return "translation";
    double fSame = 0.0;
    double fTurned = 0.0;
    for (size_t n = 3; n < 7; ++n)
    {
        fSame += (have[n] - want[n]) * (have[n] - want[n]);
        fTurned += (have[n] + want[n]) * (have[n] + want[n]);
    }
    const double fAngle = 4.0 * std::asin(std::min(1.0, std::sqrt(std::min(fSame, fTurned)) / 2.0));
    const double fLeast = std::min({std::abs(want[7]), std::abs(want[8]), std::abs(want[9])});
    if (fLeast > 1e-6 && !(fAngle <= within.r))
        return "rotation";
    return off(7, within.s) ? "scale" : "";
}

double Slack(const json& table, const char* szKey)
{
    const auto found = table.find("sdk");
    const double f = found != table.end() && found->contains(szKey) && (*found)[szKey].is_number()
                         ? (*found)[szKey].get<double>()
                         : 0.0;
    return std::max(1e-5, 2.0 * f);
}

void CheckTree(LoadedScene& scene, const json& table)
{
    EXPECT_EQ(scene.Version(), table["fbx_version"].get<int>());
    ASSERT_EQ(scene->GetNodeCount(), table["nodes"].size());
    for (size_t n = 1; n < scene->GetNodeCount(); ++n)
    {
        const json& node = table["nodes"][n];
        EXPECT_EQ(scene->GetNode(n)->GetName(), node["name"].get<std::string>());
        EXPECT_EQ(scene->GetNode(n)->GetParent()->GetIndex(), node["parent"].get<int>());
    }
    const double fRate = table["settings"].value("fps", 30.0);
    EXPECT_NEAR(scene->GetGlobalSettings().GetFrameRate(), fRate, 1e-3);
    ASSERT_EQ(scene->GetAnimStackCount(), table["stacks"].size());
    for (size_t n = 0; n < scene->GetAnimStackCount(); ++n)
    {
        EXPECT_EQ(scene->GetAnimStack(n)->GetName(), table["stacks"][n]["name"].get<std::string>());
        const FbxTimeSpan span = scene->GetAnimStack(n)->GetLocalTimeSpan();
        const double fStop = table["stacks"][n]["stop"].get<double>();
        EXPECT_NEAR(span.stop.GetSecondDouble(), fStop, 1e-6 + 1e-8 * std::abs(fStop));
    }
}

void CheckTransforms(LoadedScene& scene, const json& table, const std::set<size_t>& passed)
{
    const Tolerance within{Slack(table, "max_t"), Slack(table, "max_r"), Slack(table, "max_s")};
    const Tolerance wide{within.t * 4, within.r * 4, within.s * 4};
    const auto check = [&](size_t nNode, FbxTime time, const json& local, const json& global, bool bRest)
    {
        const FbxNode& node = *scene->GetNode(nNode);
        const Tolerance rest{2e-6, 2e-6, 2e-6};
        const Tolerance restWide{4e-6, 4e-6, 4e-6};
        std::string s = Compare(node.EvaluateLocalTransform(time), local, bRest ? rest : within);
        EXPECT_EQ(s, "") << "local of " << node.GetName() << " at " << time.Get();
        s = Compare(node.EvaluateGlobalTransform(time), global, bRest ? restWide : wide);
        EXPECT_EQ(s, "") << "global of " << node.GetName() << " at " << time.Get();
    };
    const json& nodes = table["nodes"];
    for (size_t n = 0; n < nodes.size(); ++n)
        if (!passed.count(n))
            check(n, FbxTime::Infinite(), nodes[n]["l"], nodes[n]["g"], true);
    if (!table.contains("anims"))
        return;
    for (size_t nStack = 0; nStack < table["anims"].size(); ++nStack)
    {
        const json& run = table["anims"][nStack];
        if (run["stack"].is_null())
            continue;
        scene->SetCurrentAnimStack(scene->GetAnimStack(nStack));
        for (size_t nTime = 0; nTime < run["ticks"].size(); ++nTime)
        {
            const FbxTime time = FbxTime::FromTicks(run["ticks"][nTime].get<int64_t>());
            for (size_t n = 0; n < nodes.size() && !testing::Test::HasFailure(); ++n)
            {
                if (passed.count(n))
                    continue;
                const std::string sKey = std::to_string(n);
                const json& local = run["local"].contains(sKey) ? run["local"][sKey][nTime] : nodes[n]["l"];
                const json& global = run["global"].contains(sKey) ? run["global"][sKey][nTime] : nodes[n]["g"];
                check(n, time, local, global, false);
            }
        }
    }
}

TEST(Corpus, FilesAgreeWithTheirTables)
{
    if (!std::filesystem::exists(kCorpus / "ref"))
        GTEST_SKIP() << "no corpus beside the repository";
    size_t nFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kCorpus / "ref"))
    {
        const std::string sName = entry.path().stem().string();
        SCOPED_TRACE(sName);
        std::ifstream file(kCorpus / "files" / (sName + ".fbx"), std::ios::binary);
        const std::string sBytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        std::ifstream tableFile(entry.path());
        const json table = json::parse(tableFile);
        LoadedScene scene(sBytes);
        ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
        FbxAxisSystem::ZUpMinusYFront().ConvertScene(scene.Get());
        CheckTree(scene, table);
        // Nodes on which the two sources of the tables differ, and all below them.
        std::set<size_t> passed;
        if (table.contains("sdk") && table["sdk"].contains("differs"))
            for (const auto& item : table["sdk"]["differs"].items())
                passed.insert(std::stoul(item.key()));
        for (size_t n = 0; n < table["nodes"].size(); ++n)
        {
            const int nParent = table["nodes"][n]["parent"].get<int>();
            if (nParent >= 0 && passed.count(static_cast<size_t>(nParent)))
                passed.insert(n);
        }
        CheckTransforms(scene, table, passed);
        if (HasFailure())
            return;
        ++nFiles;
    }
    EXPECT_GE(nFiles, 90u);
}

TEST(Corpus, BrokenFilesEndWithAText)
{
    size_t nFiles = 0;
    for (const std::filesystem::path& folder : {kCorpus / "malformed", kCorpus / ".." / "samples" / "bad"})
    {
        if (!std::filesystem::exists(folder))
            GTEST_SKIP() << "no corpus beside the repository";
        for (const auto& entry : std::filesystem::directory_iterator(folder))
        {
            if (entry.path().extension() != ".fbx")
                continue;
            SCOPED_TRACE(entry.path().filename().string());
            std::ifstream file(entry.path(), std::ios::binary);
            LoadedScene scene(std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>()));
            EXPECT_TRUE(scene.IsLoaded() || !scene.Error().empty());
            for (size_t n = 0; scene.IsLoaded() && n < scene->GetNodeCount(); ++n)
                scene->GetNode(n)->EvaluateGlobalTransform(FbxTime::FromSeconds(0.5));
            ++nFiles;
        }
    }
    EXPECT_GE(nFiles, 60u);
}

} // namespace
