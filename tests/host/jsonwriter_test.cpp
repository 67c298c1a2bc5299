#include "base/misc/utf8.h"
#include "host/text/jsonwriter.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Host;

namespace
{

std::string Text(std::string_view text)
{
    ZJsonWriter json;
    json.Text(text);
    return json.Take();
}

} // namespace

TEST(JsonWriter, TextIsAlwaysJson)
{
    EXPECT_EQ(Text("a\"b\\c\n\t\x01\x1f"), R"("a\"b\\c\n\t\u0001\u001f")");
    EXPECT_EQ(Text("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), "\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\"");
    // Stray, cut, too long, a surrogate, beyond the last.
    for (const char* szBad : {"\xe9", "\xe2\x82", "\xc0\xaf", "\xed\xa0\x80", "\xf5\x80\x80\x80", "\x80"})
    {
        EXPECT_FALSE(IsUtf8(szBad));
        EXPECT_NE(Text(szBad).find("\xef\xbf\xbd"), std::string::npos);
        EXPECT_TRUE(IsUtf8(Text(szBad)));
    }
    EXPECT_EQ(Text(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
}

TEST(JsonWriter, NumbersReadBack)
{
    ZJsonWriter json;
    json.Open('[');
    json.Number(0.1);
    json.Number(0.1f);
    json.Number(std::numeric_limits<double>::quiet_NaN());
    json.Number(-std::numeric_limits<float>::infinity());
    json.Unsigned(18446744073709551615u);
    json.Integer(-9223372036854775807);
    json.Open('{');
    json.Close('}');
    json.Bool(true);
    json.Close(']');
    EXPECT_EQ(json.Get(), "[0.1,0.1,null,null,18446744073709551615,-9223372036854775807,{},true]");
}
