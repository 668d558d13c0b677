#include "cairn/foundation/exception.h"
#include "host/map_reader.h"

#include <gtest/gtest.h>

#include <string>

using namespace cairn;
using namespace cairn::host;
using namespace std::string_literals;

namespace {

const std::string FACE = "( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) wall 0 0 0 1 1\n";
const std::string VALVE_FACE = "( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) wall [ 1 0 0 0 ] [ 0 -1 0 16.5 ] 0 1 1\n";

std::string faultOf(const std::string& text) {
    try {
        readMap(text);
    } catch (F_Exception* e) {
        F_ExceptionGuard guard(e);
        return e->getErrorMessage();
    }
    return "";
}

TEST(MapReader, ReadsKeysAsTheyStand) {
    const std::string text = "{\r\n\"classname\" \"light\" // torch\r\n; more\n\"a\"\t\"x\0\xFF//;{}\"\n"
                             "\"wad\" \"c:\\quake\\\" \r\n\"message\" \"say \\\"hi\\\"\"\n\"a\" \"\"\n}\n{}"s;
    const MapFile map = readMap(text);
    ASSERT_EQ(map.entities.size(), 2u);
    const MapEntity& entity = map.entities[0];
    ASSERT_EQ(entity.keyCount, 5u);
    EXPECT_EQ(map.value(entity, "classname"), "light");
    EXPECT_EQ(map.keys[1].value, std::string_view("x\0\xFF//;{}", 8));
    EXPECT_EQ(map.keys[1].line, 4u);
    EXPECT_EQ(map.value(entity, "wad"), "c:\\quake\\");
    EXPECT_EQ(map.value(entity, "message"), "say \\\"hi\\\"");
    EXPECT_EQ(map.value(entity, "a"), "") << "the last pair of a key counts";
    EXPECT_EQ(map.find(entity, "Classname"), nullptr);
    EXPECT_EQ(map.entities[1].keyCount, 0u);
    EXPECT_EQ(map.entities[1].line, 9u);
}

TEST(MapReader, CountsBrushesOfEveryForm) {
    const std::string patch = "{ patchDef2 { common/caulk ( 3 3 0 0 0 ) ( ( ( 0 0 0 0 0 ) ( 1 1 1 1 1 ) ) ) } }\n";
    const std::string named =
        "(0 0 0)(1 0 0)(0 1 0) {fence 0 0 0 1 1 5 6 7\n( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) \"a b\" 0 0 0 1 +1";
    const std::string text = "\xEF\xBB\xBF{\n\"classname\" \"worldspawn\"\n{" + FACE + VALVE_FACE + "}\n{" + named +
                             "}" + patch + "}\n{" + FACE + "}\n" + patch;
    const MapFile map = readMap(text);
    ASSERT_EQ(map.entities.size(), 1u);
    const MapBrushCounts& counts = map.entities[0].counts;
    EXPECT_EQ(counts.brushes, 2u);
    EXPECT_EQ(counts.patches, 1u);
    EXPECT_EQ(counts.standardFaces, 3u);
    EXPECT_EQ(counts.valveFaces, 1u);
    EXPECT_EQ(map.loose.brushes, 1u);
    EXPECT_EQ(map.loose.patches, 1u);
    EXPECT_EQ(map.total().faces(), 5u);
    ASSERT_EQ(map.brushes.size(), 2u);
    ASSERT_EQ(map.looseOnes.size(), 1u);
    EXPECT_EQ(map.brushes[1].line, 6u);
    ASSERT_EQ(map.brushes[0].faceCount, 2u);
    const MapFace& valve = map.faces[1];
    EXPECT_TRUE(valve.valve);
    EXPECT_EQ(valve.line, 4u);
    EXPECT_EQ(valve.texture, "wall");
    EXPECT_EQ(valve.points[1][0], 1);
    EXPECT_EQ(valve.axes[1][1], -1);
    EXPECT_EQ(valve.offset[1], 16.5);
    EXPECT_EQ(map.faces[2].texture, "{fence");
    EXPECT_EQ(map.faces[3].texture, "a b");
}

TEST(MapReader, StopsAtTheLineOfAFault) {
    const std::string open = "{\n\"classname\" \"worldspawn\"\n{\n";
    const struct {
        std::string text;
        std::string fault;
    } cases[] = {
        {"{\n\"classname\" \"light\"", "line 2: a key, a brush or an entity's closing brace expected, the file ends"},
        {"{\n\"classname\" \"light\n}", "line 2: a key's value in quotes without a closing quote"},
        {"{\n\"classname\"\n}", "line 3: a key's value in quotes expected, found \"}\""},
        {"{}\n}", "line 2: an entity's opening brace expected, found \"}\""},
        {"hello\n", "line 1: an entity's opening brace expected, found \"hello\""},
        {std::string("{\n\0}", 4), "line 2: a brush's face expected, found \"\\x00}\""},
        {open + "( 0 0 ) ( 1 0 0 ) ( 0 1 0 ) w 0 0 0 1 1\n}}", "line 4: a point's coordinate expected, found \")\""},
        {open + "( 0 0 nan ) ( 1 0 0 ) ( 0 1 0 ) w 0 0 0 1 1\n}}",
         "line 4: a point's coordinate expected, found \"nan\""},
        {open + "( 0 0 1e999 ) ( 1 0 0 )", "line 4: a point's coordinate expected, found \"1e999\""},
        {open + FACE + "( 0 0 0 ) ( 1 0 0 ) w 0 0 0 1 1\n}}", "line 5: a face's point expected, found \"w\""},
        {open + "( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) w 0 0 0 1\n}}",
         "line 5: a texture's offset, rotation or scale expected, found \"}}\""},
        {open + "( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) w [ 1 0 0 ] [ 0 1 0 0 ] 0 1 1",
         "line 4: a number of a texture's axis expected, found \"]\""},
        {open + FACE, "line 5: the brush begun on line 3 has no closing brace"},
        {open + "}\n}", "line 4: a brush's face expected, found \"}\""},
        {open + "brushDef\n{", "line 4: a brush's face expected, found \"brushDef\""},
        {open + "patchDef2\n{\ntex\n( ( 1 )\n}\n}", "line 8: a patch's parenthesis is not closed"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(faultOf(c.text), c.fault) << c.text;
}

TEST(MapReader, NestsWithoutRecursion) {
    EXPECT_NE(faultOf(std::string(1 << 20, '{')), "");
    EXPECT_NE(faultOf("{ patchDef2 { t " + std::string(1 << 20, '(')), "");
}

TEST(MapReader, ReadsNumbersOfAValue) {
    double n[3] = {};
    EXPECT_TRUE(readMapNumbers(" 1\t-2.5 +3e1 ", n, 3));
    EXPECT_EQ(n[1], -2.5);
    EXPECT_EQ(n[2], 30);
    for (const char* bad : {"1 2", "1 2 3 4", "1 2 x", "", "1 2 inf", "1 2 +-3", "1,2 3 4"})
        EXPECT_FALSE(readMapNumbers(bad, n, 3)) << bad;
}

} // namespace
