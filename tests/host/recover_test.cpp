#include "cairn/document/camera.h"
#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/foundation/file.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/entity_text.h"
#include "host/generate_level.h"
#include "host/level_diff.h"
#include "host/problems.h"
#include "host/salvage.h"
#include "host/salvage_tree.h"
#include "tests/host/program_run.h"
#include "tests/support/full_level.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_records.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace cairn::host {
namespace {

using test::Bytes;

/// An entity in the bytes of an undamaged level.
struct Stored {
    std::size_t begin = 0, end = 0; ///< its chunks
    std::size_t commonEnd = 0;      ///< of the first one, which tells where it stands
    int kind = 0, parent = -1;
    int partner = -1; ///< of a portal: the mesh that its exit leads to
    std::string path;
    CN_LevelEntity::Vector place; ///< in the world

    bool isNode() const { return kind >= CN_KIND_POLYGON_GROUP && kind <= CN_KIND_PORTAL; }
};

/// A level that is damaged again and again, and what is known of it while it is whole.
struct Sample {
    Bytes bytes;
    std::vector<Stored> entities;      ///< in pre-order
    std::vector<std::size_t> sections; ///< where chunks ahead of the root and behind the tree begin
    std::size_t bareEnd = 0;           ///< of the last entity's count
};

/// Walks over the bytes of a level: chunks follow each other, with an id ahead of each entity and a count behind it.
Sample study(CN_Document& document) {
    Sample sample;
    F_MemoryFile saved;
    CN_LevelFile::write(document, saved);
    sample.bytes = test::bytesOf(saved);
    F_MemoryFile file(sample.bytes.data(), sample.bytes.size(), false);
    const auto skipChunks = [&](std::vector<std::size_t>* begins) {
        for (; file.beginsLikeChunk(); file.skipChunk())
            if (begins)
                begins->push_back(file.getPosition());
    };
    int number = 0;
    skipChunks(&sample.sections);
    file >> number; // categories
    skipChunks(&sample.sections);
    std::vector<std::pair<int, int>> open{{-1, 1}};
    while (!open.empty()) {
        if (open.back().second-- == 0) {
            open.pop_back();
            continue;
        }
        Stored& entity = sample.entities.emplace_back();
        entity.parent = open.back().first;
        file >> entity.kind;
        entity.begin = file.getPosition();
        file.skipChunk();
        entity.commonEnd = file.getPosition();
        skipChunks(nullptr);
        entity.end = file.getPosition();
        file >> number;
        open.emplace_back(static_cast<int>(sample.entities.size()) - 1, number);
    }
    sample.bareEnd = file.getPosition();
    sample.sections.push_back(sample.bareEnd + 1);

    std::map<const CN_LevelEntity*, int> places{{document.accessLevel(), 0}};
    std::vector<CN_LevelEntity*> all{document.accessLevel()};
    CN_PreIterator it = document.accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it) {
        places.emplace(*it, static_cast<int>(all.size()));
        all.push_back(*it);
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        sample.entities[i].path = qualifiedName(*all[i]);
        sample.entities[i].place = all[i]->getWorldPosition();
        if (const auto* portal = dynamic_cast<CN_LevelEntityPortal*>(all[i]))
            sample.entities[i].partner = places.at(portal->getPortalPolygon()->getExitDestinationMesh());
    }
    EXPECT_EQ(all.size(), sample.entities.size());
    return sample;
}

/// Bytes that are wrong, and where the file is cut.
struct Damage {
    std::set<std::size_t> flipped;
    std::size_t from = 0, to = static_cast<std::size_t>(-1);

    Bytes applied(Bytes bytes) const {
        for (const std::size_t at : flipped)
            bytes[at] ^= static_cast<unsigned char>(1 + at % 255);
        bytes.resize(std::min(to, bytes.size()));
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, bytes.size())));
        return bytes;
    }
    bool touches(std::size_t begin, std::size_t end) const {
        const auto first = flipped.lower_bound(begin);
        return begin < from || end > to || (first != flipped.end() && *first < end);
    }
};

/// Which of the entities must be kept: those whose chunks are untouched, nodes where those of their mesh are, too.
std::vector<bool> mustKeep(const Sample& sample, const Damage& damage) {
    std::vector<bool> keep;
    for (const Stored& entity : sample.entities)
        keep.push_back(!damage.touches(entity.begin, entity.end) &&
                       (!entity.isNode() || keep[static_cast<std::size_t>(entity.parent)]));
    return keep;
}

std::string describe(const Salvage& salvage) {
    std::string text;
    for (const LostPart& part : salvage.lost)
        text += std::to_string(part.offset) + " " + part.name + ": " + part.reason + "\n";
    return text;
}

std::size_t countWhole(const Sample& sample, const Damage& damage) {
    return static_cast<std::size_t>(
        std::count_if(sample.entities.begin(), sample.entities.end(),
                      [&](const Stored& entity) { return !damage.touches(entity.begin, entity.end); }));
}

class Recover : public testing::Test {
  protected:
    Salvage salvage(const Bytes& bytes) {
        return salvageLevel(bytes, [this] { return m_session.createDocument(); });
    }

    /// Recovers a damaged copy and holds it against what is known of the sample; gives the share that was kept.
    double check(const Sample& sample, const Damage& damage) {
        const std::vector<bool> keep = mustKeep(sample, damage);
        const auto expected = static_cast<std::size_t>(std::count(keep.begin(), keep.end(), true));
        Salvage saved = salvage(damage.applied(sample.bytes));
        if (!saved.document) {
            EXPECT_EQ(expected, 0u) << "nothing was found";
            return 0;
        }
        EXPECT_GE(saved.kept, expected) << describe(saved);
        EXPECT_LE(saved.kept, countWhole(sample, damage));
        EXPECT_FALSE(saved.lost.empty());
        const std::size_t size = damage.applied(sample.bytes).size();
        EXPECT_TRUE(std::all_of(saved.lost.begin(), saved.lost.end(), [size](const LostPart& part) {
            return part.offset <= size && part.bytes <= size - part.offset;
        })) << describe(saved);
        checkSound(*saved.document, isPartnerLost(sample, keep));
        if (isTreeWhole(sample, damage)) {
            checkTree(sample, keep, *saved.document);
            checkPlaces(sample, damage, keep, *saved.document);
        }
        return static_cast<double>(saved.kept) / static_cast<double>(keep.size());
    }

    /// True where the mesh that a kept portal's exit leads to is lost.
    static bool isPartnerLost(const Sample& sample, const std::vector<bool>& keep) {
        for (std::size_t i = 0; i < keep.size(); ++i)
            if (const int partner = sample.entities[i].partner;
                keep[i] && partner >= 0 && !keep[static_cast<std::size_t>(partner)])
                return true;
        return false;
    }

    /// No errors, and nothing that a load would mend. With `mayHavePortalsOnWalls` portals may stand on no exit.
    void checkSound(CN_Document& document, bool mayHavePortalsOnWalls = false) {
        for (const CN_LoadFinding& finding : document.getLoadReport().getFindings())
            if (finding.code != "texture-undecoded")
                ADD_FAILURE() << finding.code << " " << finding.entity << ": " << finding.text;
        OpenedLevel level;
        F_MemoryFile bytes;
        CN_LevelFile::write(document, bytes);
        level.document = m_session.createDocument();
        level.sealed = CN_LevelFile::load(*level.document, test::bytesOf(bytes));
        level.hasTree = true;
        for (const Problem& problem : findProblems(level, false, nullptr, false))
            if (problem.kind->severity == Severity::ERROR &&
                !(mayHavePortalsOnWalls && problem.kind->code == std::string_view("exit-no-portal")))
                ADD_FAILURE() << problem.kind->code << " " << problem.entity.value_or("") << ": " << problem.message;
    }

    /// True where all that stands between the entities' chunks is untouched.
    static bool isTreeWhole(const Sample& sample, const Damage& damage) {
        std::size_t at = sample.entities.front().begin - 4;
        for (const Stored& entity : sample.entities) {
            if (damage.touches(at, entity.begin))
                return false;
            at = entity.end;
        }
        return !damage.touches(at, sample.bareEnd);
    }
    /// Each entity whose ancestors are kept has its name and place in the tree.
    static void checkTree(const Sample& sample, const std::vector<bool>& keep, CN_Document& document) {
        std::set<std::string> paths;
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            paths.insert(qualifiedName(**it));
        std::vector<bool> isBelow{true};
        for (std::size_t i = 1; i < keep.size(); ++i) {
            isBelow.push_back(keep[i] && isBelow[static_cast<std::size_t>(sample.entities[i].parent)]);
            if (isBelow[i]) {
                EXPECT_TRUE(paths.contains(sample.entities[i].path)) << sample.entities[i].path;
            }
        }
    }

    /// Each entity stands where it stood in the world, if its own place and those of all ancestors are known.
    static void checkPlaces(const Sample& sample, const Damage& damage, const std::vector<bool>& keep,
                            CN_Document& document) {
        std::multimap<int, CN_LevelEntity::Vector> places;
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            places.emplace((*it)->getEntityId(), (*it)->getWorldPosition());
        std::vector<bool> isKnown{!damage.touches(sample.entities[0].begin, sample.entities[0].commonEnd)};
        for (std::size_t i = 1; i < keep.size(); ++i) {
            const Stored& entity = sample.entities[i];
            isKnown.push_back(isKnown[static_cast<std::size_t>(entity.parent)] &&
                              !damage.touches(entity.begin, entity.commonEnd));
            if (!keep[i] || !isKnown[i] || entity.isNode()) // a node stands where its polygons do
                continue;
            const auto [first, last] = places.equal_range(entity.kind);
            const auto found = std::find_if(
                first, last, [&](const auto& placed) { return (placed.second - entity.place).length() < 1e-9; });
            EXPECT_TRUE(found != last) << entity.path;
            if (found != last)
                places.erase(found);
        }
    }

    /// Nothing has changed in entities that are kept but what has to do with others that are lost, and places of those that stand
    /// below another parent now.
    void checkContent(const Sample& sample, const std::vector<bool>& keep, CN_Document& document) {
        std::set<std::string> lost, moved;
        for (std::size_t i = 0; i < keep.size(); ++i)
            if (!keep[i])
                lost.insert(sample.entities[i].path);
        const bool isOpen = isPartnerLost(sample, keep);
        const std::unique_ptr<CN_Document> original = m_session.createDocument();
        CN_LevelFile::load(*original, sample.bytes);
        for (const LevelChange& change : compareLevels(*original, document)) {
            if (change.kind == LevelChange::MOVED)
                moved.insert(change.entity.value());
            if (change.kind != LevelChange::CHANGED || !change.entity || lost.contains(*change.entity) ||
                change.what == "order of children")
                continue;
            const auto isAbout = [&](const char* noun, const char* part) {
                return change.what.starts_with(noun) && change.what.ends_with(part);
            };
            const std::string to = change.to.value_or("");
            const bool isPlace = moved.contains(*change.entity) && (isAbout("position", "") || isAbout("rotation", ""));
            const bool isMessage = isAbout("message ", "refers to") ? to.starts_with("::Recovered::")
                                                                    : isAbout("message ", "") && to.starts_with('#');
            const bool isWall = isOpen && (isAbout("polygon ", " mode") || isAbout("polygon ", " material") ||
                                           isAbout("polygon ", " exit"));
            EXPECT_TRUE(isPlace || isMessage || isWall)
                << *change.entity << " " << change.what << ": " << change.from.value_or("-") << " -> " << to;
        }
    }

    /// Leaves the level as a seed for the fuzz target where a run of all tests asks for them.
    static void keepSeed(Bytes bytes) {
        if (const char* const folder = std::getenv("CAIRN_FUZZ_SEED_DIR")) {
            const std::filesystem::path place = std::filesystem::path(folder) / "recover";
            std::filesystem::create_directories(place);
            bytes.insert(bytes.begin(), 1); // checksums count
            F_File::replace((place / "every_kind").string(), bytes);
        }
    }

    Sample everyKind() {
        const Sample sample = study(*test::makeEveryKind());
        keepSeed(sample.bytes);
        return sample;
    }

    Sample generated(int rooms, std::uint64_t seed) {
        const std::unique_ptr<CN_Document> document = m_session.createDocument();
        document->createCairnLevelEntities();
        generateLevel(*document, rooms, seed);
        return study(*document);
    }

    Console m_console;
    LevelSession m_session{m_console, ""};
};

TEST_F(Recover, ADamagedChunkCostsTheEntityThatItBelongsTo) {
    for (const Sample& sample : {everyKind(), generated(4, 1)})
        for (const Stored& entity : sample.entities)
            for (const std::size_t at : {entity.begin, entity.begin + 13, entity.begin + 60, entity.end - 1}) {
                SCOPED_TRACE(entity.path + " at " + std::to_string(at - entity.begin));
                const std::vector<bool> keep = mustKeep(sample, {{at}});
                const auto expected = std::count(keep.begin(), keep.end(), true);
                EXPECT_EQ(check(sample, {{at}}), static_cast<double>(expected) / static_cast<double>(keep.size()));
                checkContent(sample, keep, *salvage(Damage{{at}}.applied(sample.bytes)).document);
            }
}

TEST_F(Recover, DamageBetweenChunksCostsNoEntity) {
    const Sample sample = everyKind();
    for (const Stored& entity : sample.entities)
        for (const std::size_t at : {entity.begin - 4, entity.begin - 3, entity.end, entity.end + 2}) {
            SCOPED_TRACE(entity.path + " at " + std::to_string(at - entity.begin));
            Salvage saved = salvage(Damage{{at}}.applied(sample.bytes));
            ASSERT_TRUE(saved.document);
            EXPECT_EQ(saved.kept, sample.entities.size());
            EXPECT_FALSE(saved.lost.empty());
            checkSound(*saved.document);
            if (at == entity.end + 2) // such a count is more than there is, and the others tell what it was
                checkTree(sample, std::vector<bool>(sample.entities.size(), true), *saved.document);
        }
}

TEST_F(Recover, SectionsAreLostOneByOne) {
    const Sample sample = everyKind();
    std::vector<std::string> reports;
    for (const std::size_t section : sample.sections) {
        Salvage saved = salvage(Damage{{section + 29}}.applied(sample.bytes));
        ASSERT_TRUE(saved.document);
        EXPECT_EQ(saved.kept, sample.entities.size());
        ASSERT_FALSE(saved.lost.empty());
        EXPECT_EQ(saved.lost.front().offset, section);
        reports.push_back(saved.lost.front().name);
        check(sample, {{section + 13}});
        check(sample, {{section}});
        if (saved.lost.front().name == "textures") {
            EXPECT_GT(saved.document->getTextures().list().count(), 0);
        }
        EXPECT_EQ(saved.document->getSelection()->getCount(), saved.lost.front().name == "selection" ? 0 : 2);
        EXPECT_EQ(saved.document->getCNCamera()->pos().x, 5);
    }
    EXPECT_EQ(reports, (std::vector<std::string>{"version", "textures", "Default", "", "Walls", "", "", "lightmap pool",
                                                 "preferences", "selection"}));
}

TEST_F(Recover, CutsCostWhatIsCutOff) {
    const Sample sample = everyKind();
    std::vector<std::size_t> places = sample.sections;
    for (const Stored& entity : sample.entities)
        for (const std::size_t at : {entity.begin, entity.begin + 20, entity.end - 1, entity.end, entity.end + 3})
            places.push_back(at);
    for (const std::size_t at : places) {
        SCOPED_TRACE(at);
        check(sample, {{}, 0, at});
        check(sample, {{}, at + 1});
    }
}

TEST_F(Recover, WhatHasNoParentKeepsItsPlaceInTheWorld) {
    const Sample sample = everyKind();
    const auto plate = std::find_if(sample.entities.begin(), sample.entities.end(),
                                    [](const Stored& entity) { return entity.path == "::Machine::Plate"; });
    // The first byte is one of the common record, the second one of the kind's, ahead of which the place is known.
    for (const std::size_t at : {plate->begin + 40, plate->end - 1}) {
        Salvage saved = salvage(Damage{{at}}.applied(sample.bytes));
        CN_LevelEntity& root = *saved.document->accessLevel();
        CN_LevelEntity* const recovered = root.hasChildNamed("Recovered");
        ASSERT_TRUE(recovered);
        for (const Stored& entity : sample.entities)
            if (&sample.entities[static_cast<std::size_t>(std::max(entity.parent, 0))] == &*plate) {
                const CN_LevelEntity* const child =
                    recovered->hasChildNamed(entity.path.substr(plate->path.size() + 2).c_str());
                ASSERT_TRUE(child) << entity.path;
                EXPECT_LT((child->getWorldPosition() - entity.place).length(), 1e-9) << entity.path;
            }
        std::string lines;
        root.hasChildNamed("Machine")->accessFSM()->forEachMessage(
            [&](const E_FSM::Message& message) { lines += view(message.m_text); });
        EXPECT_EQ(lines, "# Plate->FSM_Switch(on);");
    }
}

TEST_F(Recover, ASoundLevelIsKeptAsItIs) {
    const Sample sample = everyKind();
    const Salvage saved = salvage(sample.bytes);
    EXPECT_EQ(saved.kept, sample.entities.size());
    EXPECT_TRUE(saved.lost.empty());
    F_MemoryFile again;
    CN_LevelFile::write(*saved.document, again);
    EXPECT_EQ(test::bytesOf(again), sample.bytes);
    for (const std::size_t at : {sample.bytes.size() - 1, sample.bytes.size() - 24}) {
        const Salvage unsealed = salvage(Damage{{at}}.applied(sample.bytes));
        EXPECT_EQ(unsealed.kept, sample.entities.size());
        ASSERT_EQ(unsealed.lost.size(), 1u);
        EXPECT_EQ(unsealed.lost[0].name, "seal");
    }
    for (const test::StoredRecord& stored : test::storedRecords()) {
        SCOPED_TRACE(stored.name);
        Bytes bytes = test::makeLevel(stored.level);
        EXPECT_EQ(describe(salvage(bytes)), "0 ::player: The level had no player; one was made\n");
        bytes[bytes.size() / 2] ^= 1;
        EXPECT_FALSE(salvage(bytes).document && salvage(bytes).kept == 0);
    }
    const std::unique_ptr<CN_Document> skewed = m_session.createDocument();
    skewed->createCairnLevelEntities();
    skewed->accessCNCamera()->setPosition(std::numeric_limits<double>::quiet_NaN(), 0, 0);
    const Salvage repaired = salvage(study(*skewed).bytes);
    ASSERT_EQ(repaired.lost.size(), 1u) << "what a load repairs is not as it was";
    EXPECT_NE(repaired.lost[0].reason.find("camera"), std::string::npos);
    EXPECT_FALSE(salvage({'n', 'o', ' ', 'l', 'e', 'v', 'e', 'l'}).document);
    EXPECT_FALSE(salvage({}).document);
}

/// Damages of a level by chance, up to `most` bytes or a cut.
Damage damageByChance(const Sample& sample, std::mt19937& random, std::size_t most) {
    Damage damage;
    const std::size_t size = sample.bytes.size();
    const auto choice = random() % 8;
    if (choice == 0)
        damage.to = random() % size;
    else if (choice == 1)
        damage.from = 1 + random() % (size / 2);
    for (auto left = choice < 2 ? random() % 3 : 1 + random() % most; left > 0; --left)
        damage.flipped.insert(random() % size);
    return damage;
}

TEST_F(Recover, AllThatIsUntouchedIsKeptWhateverIsDamaged) {
    std::mt19937 random(1);
    const Sample samples[] = {everyKind(), generated(6, 2)};
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        const Sample& sample = samples[i % 2];
        check(sample, damageByChance(sample, random, 12));
    }
}

/// The counts and the curves of docs/recovery.md.
TEST_F(Recover, DISABLED_ManyDamagesAndTheCurve) {
    // Other damages with --gtest_random_seed=N.
    std::mt19937 random(static_cast<unsigned int>(testing::UnitTest::GetInstance()->random_seed()));
    std::vector<Sample> samples{everyKind()};
    for (std::uint64_t seed = 1; seed <= 4; ++seed)
        samples.push_back(generated(5 * static_cast<int>(seed), seed));
    int copies = 0;
    for (; copies < 1000 && !HasFailure(); ++copies) {
        SCOPED_TRACE(copies);
        const Sample& sample = samples[static_cast<std::size_t>(copies) % samples.size()];
        check(sample, damageByChance(sample, random, 40));
    }
    std::cout << copies << " damaged copies: all entities kept whose chunks are whole\n";
    const Sample large = generated(30, 9);
    std::cout << std::fixed << std::setprecision(1) << large.entities.size() << " entities in " << large.bytes.size()
              << " bytes\n| bytes changed | kept |\n";
    const auto mean = [&](const auto& makeDamage) {
        constexpr int RUNS = 20;
        double sum = 0;
        for (int i = 0; i < RUNS; ++i)
            sum += check(large, makeDamage());
        return 100 * sum / RUNS;
    };
    for (std::size_t flips = 1; flips <= 1024; flips *= 2)
        std::cout << "| " << flips << " | " << mean([&] {
            Damage damage;
            while (damage.flipped.size() < flips)
                damage.flipped.insert(random() % large.bytes.size());
            return damage;
        }) << " % |\n";
    std::cout << "| left of the file | of its end cut off | of its beginning cut off |\n";
    for (std::size_t tenth = 1; tenth < 10; ++tenth) {
        const std::size_t size = large.bytes.size();
        std::cout << "| " << 10 * tenth << " % | " << 100 * check(large, {{}, 0, size * tenth / 10}) << " % | "
                  << 100 * check(large, {{}, size - size * tenth / 10}) << " % |\n";
    }
}

/// Knows nothing, or that a node is the child of that one.
struct Knowing : TreeWitness {
    explicit Knowing(std::map<std::size_t, std::size_t> known = {}) : parents(std::move(known)) {}
    std::map<std::size_t, std::size_t> parents;
    Verdict ask(std::size_t node, std::size_t parent) override {
        const auto known = parents.find(node);
        return known == parents.end()    ? Verdict::UNKNOWN
               : known->second == parent ? Verdict::AGREES
                                         : Verdict::DISAGREES;
    }
    void settle(std::size_t, int) override {}
};

TEST(InferTree, FindsParentsWhereCountsAreLost) {
    constexpr int L = CN_KIND_LEVEL, M = CN_KIND_MESH, W = CN_KIND_WAYPOINT;
    constexpr std::nullopt_t NONE = std::nullopt;
    const auto infer = [](std::vector<TreeNode> nodes, bool hasEnd = true, Knowing witness = Knowing()) {
        return inferTree(nodes, nodes.front().kind == L, hasEnd, witness).parents;
    };
    using Parents = std::vector<int>;
    const Parents tree{-1, 0, 1, 1, 0, 4};
    EXPECT_EQ(infer({{L, 2}, {M, 2}, {W, 0}, {W, 0}, {M, 1}, {W, 0}}), tree);
    EXPECT_EQ(infer({{L, NONE}, {M, 2}, {W, 0}, {W, 0}, {M, 1}, {W, 0}}), tree) << "one unknown";
    EXPECT_EQ(infer({{L, 2}, {M, 1000000}, {W, 0}, {W, 0}, {M, 1}, {W, 0}}), tree) << "one too large";
    EXPECT_EQ(infer({{L, 2}, {M, 2}, {W, 0}, {W, 1}, {M, 1}, {W, 3}}), tree) << "leaves with children";
    EXPECT_EQ(infer({{L, 3}, {M, 3}, {W, 0}, {W, 0}, {M, 5}, {W, 0}}, false), (Parents{-1, 0, 1, 1, 1, 4})) << "cut";
    EXPECT_EQ(infer({{L, 3}, {M, 3}, {W, 0}, {W, 0, true}, {M, 1}, {W, 0}}), (Parents{-1, 0, 1, 0, 0, 4}))
        << "two of three are missing: they came first";
    EXPECT_EQ(infer({{L, 1}, {M, 1}, {W, 0}, {W, 0, true}, {M, 0}, {M, 0}}), (Parents{-1, 0, 1, -1, -1, -1}))
        << "children of what is missing";
    EXPECT_EQ(infer({{L, 2}, {M, 2}, {M, 1}, {W, 0}, {M, 0}, {M, 0}}, true, Knowing({{4, 1}, {5, 0}})),
              (Parents{-1, 0, 1, 2, 1, 0}));
    EXPECT_EQ(infer({{L, 2}, {M, 2}, {M, 2}, {W, 0}, {M, 0}, {M, 0}}, true, Knowing({{4, 1}, {5, 0}})),
              (Parents{-1, 0, 1, 2, 1, 0}))
        << "a count that is one too large";
    EXPECT_EQ(infer({{M, 1}, {W, 0}, {M, 0}}), (Parents{-1, 0, -1})) << "no root";
}

class RecoverCommand : public test::ProgramTest {};

TEST_F(RecoverCommand, TellsWhatIsKeptAndWhatIsLost) {
    ASSERT_EQ(run({"generate", "--rooms", "3", "--seed", "1", "-o", "a.cairn"}).code, 0);
    const test::ProgramRun whole = run({"recover", "a.cairn", "-o", "b.cairn", "--json"});
    EXPECT_EQ(whole.code, 0) << whole.error;
    EXPECT_EQ(read("b.cairn"), read("a.cairn"));
    EXPECT_EQ(nlohmann::json::parse(whole.output)["lost"].size(), 0u);

    std::string bytes = read("a.cairn");
    const std::size_t name = bytes.find(std::string("\5\0\0\0Room2", 9)) + 4; // the entity's, not that in a message
    bytes[name - 50] ^= 0x40;
    write("c.cairn", bytes);
    const test::ProgramRun damaged = run({"recover", "c.cairn", "-o", "d.cairn", "--json"});
    EXPECT_EQ(damaged.code, 1) << damaged.error;
    const auto json = nlohmann::ordered_json::parse(damaged.output);
    const auto room = std::find_if(json["lost"].begin(), json["lost"].end(),
                                   [](const auto& part) { return part["name"] == "Room2"; });
    ASSERT_NE(room, json["lost"].end());
    EXPECT_LT((*room)["offset"].get<std::size_t>(), name);
    std::string keys;
    for (const auto& [key, value] : json["lost"][0].items())
        keys += key + ' ';
    EXPECT_EQ(keys, "offset bytes name reason ");
    const std::string problems = run({"check", "d.cairn"}).output;
    EXPECT_NE(problems.find("exit-no-portal"), std::string::npos) << problems;
    EXPECT_EQ(problems.find("exit-unpaired"), std::string::npos) << problems;
    const test::ProgramRun text = run({"recover", "c.cairn", "-o", "-"});
    EXPECT_EQ(text.output, read("d.cairn"));
    EXPECT_NE(text.error.find("\"Room2\": a Mesh: "), std::string::npos) << text.error;
    EXPECT_NE(run({"recover", "c.cairn", "-o", "d.cairn"}).output.find("\"Room2\": a Mesh: "), std::string::npos);

    write("none.cairn", "nothing like a level");
    for (const char* file : {"none.cairn", "absent.cairn"}) {
        const test::ProgramRun refused = run({"recover", file, "-o", "e.cairn"});
        EXPECT_EQ(refused.code, 3);
        EXPECT_EQ(refused.output, "");
        EXPECT_EQ(read("e.cairn"), "");
    }
    EXPECT_EQ(run({"recover", "c.cairn", "-o", "-", "--json"}).code, 2);
    EXPECT_EQ(run({"recover", "c.cairn", "-o", "no/where.cairn"}).code, 4);
}

} // namespace
} // namespace cairn::host
