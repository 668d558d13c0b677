#include "host/text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace cairn::host;

namespace {

TEST(HostText, ShowsForeignBytesInTextAndJson) {
    EXPECT_EQ(toShownText("a\xC3\xA4\xFF\n\x1B[0m"), "a\xC3\xA4\\xFF\\x0A\\x1B[0m");
    EXPECT_EQ(toShownText("\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82"),
              "\\xC0\\xAF\\xED\\xA0\\x80\\xF4\\x90\\x80\\x80\\xE2\\x82");
    EXPECT_EQ(toShownText("\xC2\x9B"), "\\xC2\\x9B");
    EXPECT_EQ(toShownText("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(toJsonString(std::string("q\"\\\0\xFF\xC3\xA4", 7)), "\"q\\\"\\\\\\u0000\xEF\xBF\xBD\xC3\xA4\"");
}

TEST(HostText, WritesJsonInOrderWithShortNumbers) {
    Json json;
    json["z"] = {1.0, 0.1, 1e300, -0.5, 1.0 / 0.0, 5};
    json["a"] = Json::object();
    json["m"] = Json::array();
    json["n"] = nullptr;
    json["t"] = true;
    EXPECT_EQ(toJsonText(json), "{\"z\":[1,0.1,1e+300,-0.5,null,5],\"a\":{},\"m\":[],\"n\":null,\"t\":true}");
}

} // namespace
