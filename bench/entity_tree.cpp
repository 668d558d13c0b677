#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/memory_file.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

// Loading and saving levels by the number of their entities, and what naming costs under a parent of many children.

namespace cairn {
namespace {

/// How deep the chains of a chained level are.
constexpr int CHAIN = 64;
/// Names that one iteration asks for or makes.
constexpr int NAMES = 100;

CN_LevelEntity* addMesh(CN_LevelEntity& parent, const std::string& name) {
    CN_LevelEntity* mesh = CN_EntityFactory::instance()->createEntity(CN_KIND_MESH, parent.getDocument());
    mesh->setName(CString(name), false);
    parent.add(mesh, false);
    return mesh;
}

/// A level of `count` meshes that all have one base name, side by side or in chains.
std::unique_ptr<CN_Document> makeLevel(int count, int chain) {
    auto document = std::make_unique<CN_Document>();
    document->createCairnLevelEntities();
    CN_LevelEntity* parent = document->accessLevel();
    for (int i = 0; i < count; ++i) {
        if (i % chain == 0)
            parent = document->accessLevel();
        CN_LevelEntity* mesh = addMesh(*parent, "Door");
        if (chain > 1)
            parent = mesh;
    }
    return document;
}

std::vector<unsigned char> saved(CN_Document& document) {
    F_MemoryFile file;
    document.save(file);
    const auto* bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

void addScenes(bench::Report& report, const std::string& shape, int n, int chain) {
    const std::shared_ptr<CN_Document> level = makeLevel(n, chain);
    const auto image = std::make_shared<const std::vector<unsigned char>>(saved(*level));
    report.add("save " + shape, "cairn", n, [level] {
        F_MemoryFile file;
        level->save(file);
        return file.getSize();
    });
    // What the machine's memory alone grows by from its caches to its banks: the entities read and the file written.
    const std::size_t memory = static_cast<std::size_t>(n) * sizeof(CN_LevelEntityMesh);
    const auto from = std::make_shared<std::vector<unsigned char>>(memory, 1);
    const auto to = std::make_shared<std::vector<unsigned char>>(memory);
    report.add("save " + shape, "memcpy of the entities", n, [from, to, size = image->size()] {
        std::memcpy(to->data(), from->data(), from->size());
        benchmark::DoNotOptimize(to->data());
        return size;
    });
    report.addTimed("load " + shape, "cairn", n, [image](bench::Watch& watch) {
        CN_Document document;
        F_MemoryFile file(image->data(), image->size(), false);
        watch.timed([&] { document.load(file); });
        return document.getLevel()->getChildren().size();
    });
}

/// The naming of one entity, NAMES times, under a parent of n children of one base name.
void addNaming(bench::Report& report, int n) {
    const std::shared_ptr<CN_Document> level = makeLevel(n, 1);
    CN_LevelEntity* root = level->accessLevel();
    report.addTimed("add and remove", "cairn", n, [level, root](bench::Watch& watch) {
        std::vector<std::unique_ptr<CN_LevelEntity>> added;
        for (int i = 0; i < NAMES; ++i) {
            added.emplace_back(CN_EntityFactory::instance()->createEntity(CN_KIND_MESH, level.get()));
            added.back()->setName("Door", false);
        }
        return watch.timed([&] {
            for (const auto& entity : added)
                root->add(entity.get(), false);
            for (const auto& entity : added)
                root->remove(entity.get());
            return root->getChildren().size();
        });
    });
    report.add("hasChildNamed", "cairn", n, [level, root] {
        int found = 0;
        for (int i = 0; i < NAMES; ++i)
            found += root->hasChildNamed(CString("door" + std::to_string(i))) != nullptr;
        return found;
    });
    CN_LevelEntity* last = root->getChildren().back();
    report.add("getNextUniqueName", "cairn", n, [level, last] {
        int renamed = 0;
        for (int i = 0; i < NAMES; ++i)
            renamed += last->setName("Door", true);
        return renamed;
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    cairn::bench::keepFreedMemory();
    report.peers({"memcpy of the entities"});
    for (const int n : cairn::bench::sizes({1000, 10000, 100000})) {
        cairn::addScenes(report, "flat", n, 1);
        cairn::addScenes(report, "chains", n, cairn::CHAIN);
        cairn::addNaming(report, n);
    }
    for (const char* scene : {"save flat", "load flat", "save chains", "load chains"})
        report.limitGrowth(scene, "cairn", 1.1);
    for (const char* scene : {"save flat", "save chains"})
        report.reason(scene, "cairn", "a thousand entities lie in the caches, a hundred thousand do not");
    // No walk over the siblings: what grows is the cache's misses.
    for (const char* scene : {"add and remove", "hasChildNamed", "getNextUniqueName"})
        report.limitGrowth(scene, "cairn", 0.3);
}

static const cairn::bench::Scene SCENE(
    "entity_tree",
    "Saving and loading the tree of entities, beside a copy of their bytes, and changing a node of many children.",
    measure);
