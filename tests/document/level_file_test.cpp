#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;

constexpr std::size_t GROUP_NAMES = F_MemoryFile::CHUNK_HEADER_SIZE + 4 + 4 + 4 + 12; // "" and "PLAYER_GROUP"

enum class Outcome { SEALED, UNSEALED, SEAL, UNREADABLE };

Outcome outcomeOf(std::span<const unsigned char> bytes) {
    CN_Document document;
    try {
        return CN_LevelFile::load(document, bytes) ? Outcome::SEALED : Outcome::UNSEALED;
    } catch (CN_LevelFile_Exception_Seal* e) {
        const F_ExceptionGuard guard(e);
        EXPECT_NE(e->getErrorMessage().find("offset"), string::npos);
        EXPECT_TRUE(document.getPlayer()) << "the level is whole where only the seal is damaged";
        return Outcome::SEAL;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return Outcome::UNREADABLE;
    }
}

class LevelFileTest : public testing::Test {
  protected:
    LevelFileTest()
        : m_path((std::filesystem::path(testing::TempDir()) /
                  (string("level_file_") + testing::UnitTest::GetInstance()->current_test_info()->name() + ".cairn"))
                     .string()) {
        m_document.createCairnLevelEntities();
        F_MemoryFile file;
        CN_LevelFile::write(m_document, file);
        m_sealed = test::bytesOf(file);
    }
    ~LevelFileTest() override { std::filesystem::remove(m_path); }

    test::ProcessStateGuard m_process;
    CN_Document m_document;
    Bytes m_sealed;
    std::string m_path;
};

TEST_F(LevelFileTest, AnyCutButTheLegalOnesIsRefused) {
    const std::size_t seal = m_sealed.size() - CN_LevelFile::SEAL_SIZE;
    for (std::size_t size = 0; size <= m_sealed.size(); ++size) {
        const Outcome expected = size == m_sealed.size()                      ? Outcome::SEALED
                                 : size == seal || size == seal - GROUP_NAMES ? Outcome::UNSEALED
                                 : size > seal                                ? Outcome::SEAL
                                                                              : Outcome::UNREADABLE;
        const Bytes cut(m_sealed.begin(), m_sealed.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(outcomeOf(cut), expected) << "cut to " << size << " of " << m_sealed.size();
    }
}

TEST_F(LevelFileTest, EveryChangedByteIsNoticed) {
    const std::size_t seal = m_sealed.size() - CN_LevelFile::SEAL_SIZE;
    for (std::size_t i = 0; i < m_sealed.size(); ++i) {
        Bytes changed = m_sealed;
        changed[i] ^= 0x10;
        const Outcome outcome = outcomeOf(changed);
        ASSERT_TRUE(outcome == Outcome::SEAL || (i < seal && outcome == Outcome::UNREADABLE)) << "byte " << i;
    }
    Bytes camera = m_sealed;
    camera[seal - GROUP_NAMES - 1] ^= 1; // no chunk guards it: only the seal does
    EXPECT_EQ(outcomeOf(camera), Outcome::SEAL);
    Bytes longer = m_sealed;
    longer.push_back(0);
    EXPECT_EQ(outcomeOf(longer), Outcome::SEAL);
    Bytes doubled = m_sealed;
    doubled.insert(doubled.end(), m_sealed.begin() + static_cast<std::ptrdiff_t>(seal), m_sealed.end());
    EXPECT_EQ(outcomeOf(doubled), Outcome::SEAL);
}

TEST_F(LevelFileTest, SavesInPlaceOfTheOldFileOrNotAtAll) {
    CN_LevelFile::save(m_document, m_path);
    EXPECT_EQ(CN_LevelFile::read(m_path), m_sealed);
    CN_Document loaded;
    EXPECT_TRUE(CN_LevelFile::load(loaded, m_path));
    CN_LevelFile::save(loaded, m_path);
    EXPECT_EQ(CN_LevelFile::read(m_path), m_sealed);

    loaded.accessPlayer()->setPosition({std::numeric_limits<double>::infinity(), 0, 0});
    EXPECT_NE(failureText([&] { CN_LevelFile::save(loaded, m_path); }).find("::player"), string::npos);
    EXPECT_EQ(CN_LevelFile::read(m_path), m_sealed);
    EXPECT_NE(failureText([&] { CN_LevelFile::save(m_document, m_path + "/below"); }), "(nothing thrown)");

    F_MemoryFile used;
    used << 1;
    EXPECT_NE(failureText([&] { CN_LevelFile::write(m_document, used); }).find("empty file"), string::npos);
}

} // namespace
} // namespace cairn
