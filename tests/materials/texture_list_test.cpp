#include "cairn/foundation/file.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/image_files.h"
#include "tests/support/level_bytes.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <functional>
#include <random>

namespace cairn {
namespace {

using test::Bytes;
using test::bytesOf;
using test::failureText;

CN_Texture* addNamed(CN_TextureList& list, const char* name) {
    CN_Texture* texture = list.addNew();
    texture->setName(name);
    return texture;
}

std::string namesOf(const CN_TextureList& list) {
    std::string names;
    for (const CN_Texture& texture : list.list())
        names += (names.empty() ? "" : " ") + texture.name().str();
    return names;
}

/// A texture as it stands in a file.
struct Record {
    const char* name;
    Bytes source;
    unsigned int format = I_Image::TGA;
    int id = 0;
    int size = -2; ///< what the record says; that of the source where it is -2
};

void write(F_MemoryFile& file, unsigned int count, const std::vector<Record>& records,
           const std::function<void(F_MemoryFile&)>& behind = {}) {
    file.createChunk(0, CAIRN_TEXTURE_LIST_VERSION);
    file << count;
    for (const Record& record : records) {
        file.createChunk(record.id, CAIRN_TEXTURE_VERSION);
        const int bytes = static_cast<int>(record.source.size());
        file << record.format << (record.size == -2 ? bytes : record.size) << record.name;
        file.write(record.source.data(), bytes);
        file.closeChunk();
    }
    if (behind)
        behind(file);
    file.closeChunk();
}

class TextureListTest : public testing::Test {
  protected:
    TextureListTest() { m_list.setLoadReport(&m_report); }

    void load(F_MemoryFile& file) {
        file.toRead();
        file >> m_list;
    }
    std::string codes() const {
        std::string codes;
        for (const CN_LoadFinding& finding : m_report.getFindings())
            codes += (codes.empty() ? "" : " ") + finding.code;
        return codes;
    }

    test::ProcessStateGuard m_process;
    CN_LoadReport m_report;
    CN_TextureList m_list;
    const Bytes m_tga = test::makeTga(2, 2, 10, 20, 30);
};

TEST_F(TextureListTest, FindsTheFirstOfANameInAnyCase) {
    CN_Texture* const first = addNamed(m_list, "Wall.TGA");
    CN_Texture* const second = addNamed(m_list, "wall.tga");
    EXPECT_EQ(m_list.get("WALL.tga"), first);
    EXPECT_EQ(m_list.get("wall"), nullptr);
    EXPECT_EQ(m_list.get(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(m_list.get(CString(std::string("wall.tga\0", 9))), nullptr);
    first->editName() = "floor.tga";
    EXPECT_EQ(m_list.get("Wall.TGA"), second);
    EXPECT_EQ(m_list.get("Floor.TGA"), first);
    first->setName("wall.tga");
    EXPECT_EQ(m_list.get("wall.tga"), first) << "its place in the order is the old one";
    m_list.remove("wall.TGA");
    EXPECT_EQ(m_list.get("wall.tga"), second);
    EXPECT_EQ(failureText([&] { m_list.remove("floor.tga"); }), "Texture floor.tga not found in texture list!");

    CString& kept = second->editName();
    EXPECT_TRUE(m_list.get("wall.tga"));
    kept = "late.tga";
    EXPECT_FALSE(m_list.get("wall.tga")) << "a name that is no longer the texture's is never found";
    EXPECT_EQ(m_list.get("late.tga"), second);
}

/// Look-ups and unique names are those of a walk over the list.
RC_GTEST_PROP(TextureListIndex, FindsWhatAWalkFinds, (const std::vector<unsigned>& steps)) {
    constexpr const char* NAMES[] = {"a", "A", "b", "[1]a", ""};
    CN_TextureList list;
    const auto walk = [&](std::string_view name, const CN_Texture* other) -> CN_Texture* {
        for (CN_Texture& texture : list.list())
            if (&texture != other && asciiEqualNoCase(texture.name().view(), name))
                return &texture;
        return nullptr;
    };
    for (const unsigned step : steps) {
        const char* const name = NAMES[step / 8 % std::size(NAMES)];
        CN_Texture* const any =
            list.list().empty() ? nullptr : &list.list()[static_cast<int>(step / 64) % list.list().count()];
        if (step % 8 < 3)
            addNamed(list, name);
        else if (any && step % 8 == 3)
            list.remove(any);
        else if (any && step % 8 == 4)
            any->setName(name);
        else if (any && step % 8 == 5) {
            CN_Texture outside;
            outside.setName(name);
            for (CN_Texture* each : {any, &outside}) {
                std::string expected(each->name().view());
                for (int i = 1; walk(expected, each); ++i)
                    expected = "[" + std::to_string(i) + "]" + std::string(each->name().view());
                list.setUniqueName(each);
                RC_ASSERT(each->name().view() == expected);
            }
        } else
            RC_ASSERT(list.get(name) == walk(name, nullptr));
    }
    for (const char* name : NAMES)
        RC_ASSERT(list.get(name) == walk(name, nullptr));
}

TEST_F(TextureListTest, AddsFilesAndCopies) {
    const test::TemporaryFolder folder;
    const std::string red = folder.path("red.tga").string();
    F_File::replace(red, m_tga);
    EXPECT_TRUE(m_list.add(red.c_str(), false));
    EXPECT_FALSE(m_list.add(folder.path("absent.tga").string().c_str(), false));
    F_File::replace(folder.path("bad.tga").string(), Bytes(7));
    EXPECT_FALSE(m_list.add(folder.path("bad.tga").string().c_str(), false));
    ASSERT_EQ(m_list.list().count(), 1);

    std::filesystem::remove(red);
    EXPECT_TRUE(m_list.add(red.c_str(), false)) << "one that is there is not looked for on the disk";
    EXPECT_FALSE(m_list.add(red.c_str(), true));
    EXPECT_EQ(m_list.get(red.c_str())->getSourceSize(), static_cast<int>(m_tga.size()));
    F_File::replace(red, test::makeTga(4, 4, 0, 0, 0));
    EXPECT_TRUE(m_list.add(red.c_str(), true));
    EXPECT_EQ(m_list.totalTexels(), 16);

    CN_TextureList copies;
    copies.add(m_list.list().first());
    copies.add(m_list.list().first());
    ASSERT_EQ(copies.list().count(), 1);
    EXPECT_TRUE(*copies.list().first() == *m_list.list().first());
    EXPECT_TRUE(copies.list().first()->getRenderTexture()->getTexture());
    EXPECT_EQ(copies.list().first()->getParent(), &copies);
}

TEST_F(TextureListTest, DumpsEachTexture) {
    for (const int format : {0, 1, 2, 3, 4, 5, 6})
        addNamed(m_list, "n")->setSourceFormat(static_cast<I_Image::Format>(format));
    m_list.dump();
    EXPECT_EQ(m_process.log(), "CN_TextureList dump -- Total textures: 7\n"
                               "Texture 0, refcount 0, format TGA: name n\n"
                               "Texture 1, refcount 0, format >INVALID<: name n\n"
                               "Texture 2, refcount 0, format SCX: name n\n"
                               "Texture 3, refcount 0, format PCX: name n\n"
                               "Texture 4, refcount 0, format JPEG: name n\n"
                               "Texture 5, refcount 0, format >INVALID<: name n\n"
                               "Texture 6, refcount 0, format UNSUPPORTED: name n\n");
}

TEST_F(TextureListTest, RemovesUnreferencedTexturesNowOrLater) {
    CN_Texture* const a = addNamed(m_list, "a");
    addNamed(m_list, "b");
    {
        const CN_TextureList::DeferredRemoval outer(&m_list);
        {
            const CN_TextureList::DeferredRemoval inner(&m_list), none(nullptr);
            m_list.removeUnreferenced(a);
        }
        EXPECT_EQ(namesOf(m_list), "a b");
    }
    EXPECT_EQ(namesOf(m_list), "b") << "what nobody ever referred to stays";
    EXPECT_FALSE(m_list.get("a"));
    m_list.removeUnreferenced(m_list.get("b"));
    EXPECT_TRUE(m_list.list().empty());
}

TEST_F(TextureListTest, ReadsOnBehindABadTexture) {
    F_MemoryFile file;
    write(file, 8,
          {{.name = "a", .source = m_tga},
           {.name = "empty", .source = {}},
           {.name = "negative", .source = m_tga, .size = -1},
           {.name = "short", .source = m_tga, .size = 1 << 30},
           {.name = "id", .source = m_tga, .id = 9},
           {.name = "undecoded", .source = Bytes(7), .format = 77},
           {.name = "", .source = m_tga},
           {.name = "", .source = m_tga}});
    addNamed(m_list, "NONAME-5");
    m_list.remove("NONAME-5"); // no number that a name is made with
    load(file);
    EXPECT_EQ(namesOf(m_list), "a undecoded NONAME00 NONAME01");
    EXPECT_EQ(codes(), "repaired repaired repaired repaired texture-undecoded repaired repaired");
    EXPECT_EQ(file.getUnreadBytes(), 0u) << "what was dropped is reported once";
    const CN_Texture& undecoded = *m_list.get("undecoded");
    EXPECT_EQ(undecoded.getSourceSize(), 7);
    EXPECT_EQ(undecoded.getWidth(), 0);
    EXPECT_FALSE(undecoded.getRenderTexture());
    ASSERT_EQ(m_process.boxes().size(), 3u);
    EXPECT_EQ(m_process.boxes()[0].style, MB_SYSTEMMODAL);
    EXPECT_EQ(m_process.boxes()[0].text, m_report.getFindings()[4].text);
    EXPECT_EQ(m_process.boxes()[1].text, "Problems loading texture; trying to continue.\nTake this file to Pim.");

    F_MemoryFile saved, again;
    saved << m_list;
    saved.toRead();
    CN_TextureList second;
    saved >> second;
    again << second;
    EXPECT_EQ(bytesOf(again), bytesOf(saved)) << "a format that no one knows is kept too";
}

TEST_F(TextureListTest, EndsWhereNoTextureCanBeFound) {
    F_MemoryFile file;
    write(file, 3, {{.name = "a", .source = m_tga}}, [&](F_MemoryFile& out) { out << 1 << 2 << 3; });
    file << 42;
    load(file);
    EXPECT_EQ(namesOf(m_list), "a");
    EXPECT_EQ(codes(), "repaired repaired");
    int behind = 0;
    file >> behind;
    EXPECT_EQ(behind, 42) << "the load goes on behind the list";
}

TEST_F(TextureListTest, WritesASetInTheOrderOfTheSet) {
    std::set<CN_Texture*> set;
    for (const char* name : {"a", "b", "c"}) {
        CN_Texture* const texture = addNamed(m_list, name);
        test::setSource(*texture, m_tga);
        if (*name != 'b')
            set.insert(texture);
    }
    F_MemoryFile file;
    file << set;
    std::string names;
    for (const CN_Texture* texture : set)
        names += (names.empty() ? "" : " ") + texture->name().str();
    file.toRead();
    CN_TextureList subset;
    file >> subset;
    EXPECT_EQ(namesOf(subset), names);
    EXPECT_TRUE(*subset.get("c") == *m_list.get("c"));
}

TEST_F(TextureListTest, ADocumentKeepsATextureOfEachFormat) {
    CAIRN_SHARED_DATA_OR_SKIP(images, "images");
    const auto read = [&](const char* name) { return F_File::readAll((images / name).string()); };
    const std::vector<Record> records{
        {.name = "c.tga", .source = read("utc32.tga")},
        {.name = "c.scx", .source = test::makeScx(4, 4, 6), .format = I_Image::SCX},
        {.name = "c.pcx", .source = read("24bit.pcx"), .format = I_Image::PCX},
        {.name = "c.jpg", .source = read("progressive_444_test.jpg"), .format = I_Image::JPEG},
        {.name = "c.xyz", .source = Bytes(5), .format = I_Image::UNSUPPORTED}};
    F_MemoryFile file;
    write(file, 5, records);
    CN_Document document;
    document.createCairnLevelEntities();
    file.toRead();
    file >> document.accessTextures();
    const Bytes saved = test::saveLevel(document);
    CN_Document again;
    test::loadLevel(again, saved);
    EXPECT_EQ(test::reportCodes(again), "texture-undecoded");
    EXPECT_EQ(test::saveLevel(again), saved);
    for (const Record& record : records) {
        const CN_Texture& texture = *again.getTextures().get(record.name);
        EXPECT_TRUE(texture == *document.getTextures().get(record.name)) << record.name;
        EXPECT_EQ(texture.getWidth() > 0, record.format != I_Image::UNSUPPORTED) << record.name;
        const auto* bytes = static_cast<const unsigned char*>(texture.getSource());
        EXPECT_EQ(Bytes(bytes, bytes + texture.getSourceSize()), record.source) << record.name;
    }
}

TEST(TextureListHostile, TakesOrRefusesDamagedBytes) {
    const test::ProcessStateGuard process;
    F_MemoryFile file;
    write(file, 3,
          {{.name = "a", .source = test::makeTga(2, 2, 1, 2, 3)},
           {.name = "", .source = test::makeScx(1, 1, 6), .format = I_Image::SCX},
           {.name = "b", .source = Bytes(3), .format = I_Image::JPEG}});
    const test::HostileBytesResult result =
        test::driveHostileBytes(bytesOf(file), [](std::span<const unsigned char> bytes) {
            CN_TextureList list;
            F_MemoryFile damaged(bytes.data(), bytes.size(), false);
            damaged >> list;
            F_MemoryFile saved;
            saved << list;
        });
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.taken, 0u);
    EXPECT_GT(result.refused, 0u);
}

} // namespace
} // namespace cairn
