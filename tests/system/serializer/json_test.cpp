#include "system/serializer/jsonvalue.h"

#include "tests/support/testing.h"

namespace
{

ZString ErrorOf(const ZString& text)
{
    return MessageOf<ZJsonException>([&text] { const ZJsonValue value(text); });
}

TEST(Json, ReadsATakeDescriptionWithAndWithoutCommas)
{
    for (const char* szText :
         {R"({"name": "run", "startFrame": -5, "endFrame": 9e1, "partialList": ["a", "b\u00e9\ud83d\ude00"]})",
          R"({"startFrame": -5"endFrame": 90"partialList": ["a" "b\u00e9\ud83d\ude00"]"name": "run"})"})
    {
        const ZJsonValue take(ZString::ReferenceCString(szText));
        EXPECT_TRUE(take["name"].AsString() == "run");
        EXPECT_EQ(take["startFrame"].AsInt32(), -5);
        EXPECT_EQ(take["endFrame"].AsInt32(), 90);
        ASSERT_EQ(take["partialList"].AsArray().Size(), 2u);
        EXPECT_TRUE(take["partialList"].AsArray()[1].AsString() == "b\xC3\xA9\xF0\x9F\x98\x80");
    }
}

TEST(Json, SaysWhereAndWhy)
{
    const std::pair<ZString, ZString> cases[] = {
        {"", "line 1, column 1: the text ends here"},
        {"{\"a\": ,\n}", "line 1, column 7: unexpected character ','"},
        {"{\"a\": 1,\n \"b\"}", "line 2, column 5: unexpected character '}'"},
        {"[1, 2", "line 1, column 6: the text ends here"},
        {"[1,]", "line 1, column 4: unexpected character ']'"},
        {"\"abc", "line 1, column 5: a string has no end"},
        {"\"\\ud800x\"", "line 1, column 8: half of a surrogate pair"},
        {"\"\\u0000\"", "line 1, column 8: a string holds a zero character"},
        {"nul", "line 1, column 1: unexpected character 'n'"},
        {"-", "line 1, column 1: unexpected character '-'"},
        {"1e999", "line 1, column 1: the number does not fit"},
        {"{} x", "line 1, column 4: text stands behind the value"},
    };
    for (const auto& [text, error] : cases)
    {
        SCOPED_TRACE(text.ToCString());
        EXPECT_EQ(ErrorOf(text), error);
    }
    ZString deep;
    for (int i = 0; i < 100000; ++i)
        deep.Append('[');
    EXPECT_NE(ErrorOf(deep).IndexOf("nested too deep"), ZString::NOT_FOUND);
}

TEST(Json, ConversionsAreStrictUnlessAskedOtherwise)
{
    const ZJsonValue value(R"({"text": "one", "half": 1.5, "big": 3000000000, "list": [], "no": null})");
    const auto fails = [](auto function, const char* szMessage)
    { EXPECT_EQ(MessageOf<ZJsonException>(function), szMessage); };
    fails([&] { value["gone"].AsString(); }, "the key 'gone' is missing");
    fails([&] { value["text"].AsInt32(); }, "expected a number, found a string");
    fails([&] { value["half"].AsInt32(); }, "expected a whole number of 32 bits, found 1.5");
    fails([&] { value["big"].AsInt32(); }, "expected a whole number of 32 bits, found 3e+09");
    fails([&] { value["list"]["x"].AsString(); }, "expected an object, found an array");
    fails([&] { value["no"].AsArray(); }, "expected an array, found null");
    EXPECT_EQ(value["text"].AsInt32(EJsonValidationMode::eLenient), 0);
    EXPECT_TRUE(value["gone"].AsArray(EJsonValidationMode::eLenient).IsEmpty());
}

} // namespace
