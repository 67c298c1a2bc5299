#include "tests/fbx/loadscene.h"
#include "tests/fbx/samplescenes.h"

#include <cstring>
#include <thread>

namespace
{

using namespace fbxfile;

std::vector<FbxTransform> EvaluateAll(const std::string& sFile)
{
    std::vector<FbxTransform> result;
    LoadedScene scene(sFile);
    FbxAxisSystem(1, 1, 2, 1, 0, 1).ConvertScene(scene.Get());
    for (int nFrame = 0; nFrame < 100; ++nFrame)
        for (size_t n = 0; n < scene->GetNodeCount(); ++n)
            result.push_back(scene->GetNode(n)->EvaluateGlobalTransform(FbxTime::FromSeconds(nFrame / 30.0)));
    return result;
}

/// Scenes on several threads share nothing and give the same bits.
TEST(Thread, ScenesDoNotMeet)
{
    const std::string sFile = RichScene().Write({7500, false, false, true});
    const std::vector<FbxTransform> expected = EvaluateAll(sFile);
    std::vector<std::vector<FbxTransform>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back(
            [&]
            {
                for (int n = 0; n < 5; ++n)
                    result = EvaluateAll(sFile);
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& result : results)
    {
        ASSERT_EQ(result.size(), expected.size());
        EXPECT_EQ(std::memcmp(result.data(), expected.data(), expected.size() * sizeof(FbxTransform)), 0);
    }
}

} // namespace
