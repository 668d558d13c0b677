// Keeping the messages of state machines true: whole updates, binding after a load and each walker by the number of messages,
// beside a plain read of those; paths by the number of siblings beside each step; qualified names by the size of a subtree that moves.
#include "bench/support/message_level.h"
#include "bench/support/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace cairn;

using bench::addEntity;
using Level = bench::MessageLevel;

constexpr const char* LIBRARY = "E_FSM";
constexpr const char* READ = "plain read";

/// What a scene does to a level, and which of the level's memory that must read.
struct Scene {
    enum Reads { TARGETS, REFERENCES, LINES };

    const char* name;
    Reads reads;
    std::function<void(Level&)> prepare;
    std::function<void(Level&)> run;
};

/// Walks a level as an update does and adds up a field of each piece of memory that one reads.
class Reader : public CN_ForEach {
  public:
    Reader(const CN_LevelEntity* entity, Scene::Reads reads) : m_entity(entity), m_reads(reads) {}

    void operator()(CN_LevelEntity* entity) override {
        if (E_FSM* const machine = entity->accessFSM())
            machine->forEachMessage([this](const E_FSM::Message& message) { read(message); });
    }
    std::size_t sum() const { return m_sum; }

  private:
    void read(const E_FSM::Message& message) {
        m_sum += message.m_target == m_entity;
        if (m_reads == Scene::TARGETS)
            return;
        for (const CN_LevelEntity* const object : message.m_objectArguments)
            m_sum += object == m_entity;
        if (m_reads == Scene::REFERENCES)
            return;
        m_sum += last(message.m_text) + last(message.m_targetName) + last(message.m_targetPath);
        for (const istring& argument : message.m_arguments)
            m_sum += last(argument);
        for (const unsigned id : message.m_objectArgumentIds)
            m_sum += id;
        if (const CN_LevelEntity* const target = message.m_target)
            m_sum += last(target->getQualifiedName()) + target->getParent()->getChildren().size();
    }
    static std::size_t last(const istring& text) { return text.empty() ? 0 : static_cast<unsigned char>(text.back()); }

    const CN_LevelEntity* m_entity; ///< not owned
    Scene::Reads m_reads;
    std::size_t m_sum = 0;
};

/// The scene beside a plain read of the same level in the same state. Both then leave the level alike.
void addScene(bench::Report& report, int n, const std::shared_ptr<Level>& level, const Scene& scene) {
    // What is timed is a small part of an iteration: by time there would be thousands.
    const benchmark::IterationCount iterations = std::max(3, 100000 / n);
    report
        .addTimed(scene.name, LIBRARY, n,
                  [level, scene](bench::Watch& watch) {
                      scene.prepare(*level);
                      watch.timed([&] { scene.run(*level); });
                      return level->summary();
                  })
        ->Iterations(iterations);
    report
        .addTimed(scene.name, READ, n,
                  [level, scene](bench::Watch& watch) {
                      scene.prepare(*level);
                      Reader reader(level->first(), scene.reads);
                      watch.timed([&] { level->root().forEachEntity(&reader); });
                      benchmark::DoNotOptimize(reader.sum());
                      scene.run(*level);
                      return level->summary();
                  })
        ->Iterations(iterations);
}

Scene makeUpdate() {
    const auto rename = [](Level& level) {
        CN_LevelEntity* const room = level.first()->getParent();
        level.use();
        room->setName(room->getName() == "Room00000" ? "Hall00000" : "Room00000", false);
    };
    return {"update after a rename", Scene::LINES, rename,
            [](Level&) { CN_FSMChangeManager::instance()->updateMessages(); }};
}

Scene makeBind(const char* name, bool known) {
    const auto unbind = [known](Level& level) {
        level.restore();
        level.unbind(known);
    };
    return {name, Scene::LINES, unbind, [](Level& level) {
                CN_FSMChangeManager::instance()->deserializeFSMs(&level.root(), false);
                CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
            }};
}

template <class Walker, class... Names> Scene makeWalk(const char* name, Scene::Reads reads, const Names&... names) {
    return {name, reads, [](Level& level) { level.restoreMessages(); },
            [names...](Level& level) { level.run(Walker(level.first(), names...)); }};
}

const std::vector<Scene>& scenes() {
    static const std::vector<Scene> SCENES = {
        makeUpdate(),
        makeBind("bind by identity", true),
        makeBind("bind by name", false),
        makeWalk<ForEach_FSMRenameStates>("rename a state", Scene::TARGETS, "old", "newer"),
        makeWalk<ForEach_FSMRenameTimer>("rename a timer", Scene::TARGETS, "old", "newer"),
        makeWalk<ForEach_FSMRenameAnimations>("rename an animation", Scene::TARGETS, "old", "newer"),
        makeWalk<ForEach_FSMRenameCustomSends>("rename an event", Scene::TARGETS, "old", "newer"),
        makeWalk<ForEach_FSMRenameExits>("rename an exit", Scene::TARGETS, "old", "newer"),
        makeWalk<ForEach_FSMDeleteObject>("delete an entity", Scene::REFERENCES),
        makeWalk<ForEach_FSMDeleteAnimationSends>("delete an animation", Scene::TARGETS, "old"),
        makeWalk<ForEach_FSMDeleteCustomSends>("delete an event", Scene::TARGETS, "old"),
        makeWalk<ForEach_FSMDeleteExitSends>("delete an exit", Scene::TARGETS, "old"),
    };
    return SCENES;
}

void addScenes(bench::Report& report) {
    for (const int n : bench::sizes({1000, 10000, 100000})) {
        const auto used = std::make_shared<Level>(n);
        const auto level = std::make_shared<Level>(n);
        for (const Scene& scene : scenes())
            addScene(report, n, &scene == &scenes().front() ? used : level, scene);
    }
    for (const Scene& scene : scenes())
        report.limitGrowthBeside(READ, scene.name, LIBRARY, 1.1);
    for (const char* const scene : {"bind by identity", "bind by name", "update after a rename"})
        report.reason(scene, LIBRARY,
                      "it goes from each message to the entities that it names, which lie apart in memory where there "
                      "are many");
}

/// Three levels, the entities of each beside `siblings` others.
struct Siblings {
    static constexpr int PATHS = 1000;
    static constexpr int STEPS = 3;

    explicit Siblings(int siblings) {
        document.createCairnLevelEntities();
        CN_LevelEntity* at = document.accessLevel();
        std::string path;
        for (int step = 0; step < STEPS; ++step) {
            CN_LevelEntity* middle = nullptr;
            for (int i = 0; i < siblings; ++i) {
                CN_LevelEntity* const made = addEntity(*at, fmt::format("Door{:06}", i));
                middle = i == siblings / 2 ? made : middle;
            }
            at = middle;
            path += "::" + at->getName().str();
        }
        from = at;
        name = toIString(path);
    }

    CN_Document document;
    const CN_LevelEntity* from = nullptr;
    istring name;
};

const CN_LevelEntity* resolveByWalks(const CN_LevelEntity* at, std::string_view path) {
    while (at && !path.empty()) {
        path.remove_prefix(2);
        const std::string_view step = path.substr(0, path.find("::"));
        path.remove_prefix(step.size());
        const CN_LevelEntity* next = nullptr;
        for (const CN_LevelEntity* const child : at->getChildren())
            if (asciiEqualNoCase(child->getName().view(), step)) {
                next = child;
                break;
            }
        at = next;
    }
    return at;
}

void addPathRows(bench::Report& report) {
    constexpr int MOST_FOR_WALKS = 10000; // a second an iteration beyond
    const std::string scene = fmt::format("{} paths beside n siblings", Siblings::PATHS);
    for (const int n : bench::sizes({100, 1000, 10000, 100000})) {
        const auto level = std::make_shared<Siblings>(n);
        const auto resolveAll = [level](const auto& resolve) {
            int found = 0;
            for (int i = 0; i < Siblings::PATHS; ++i)
                found += resolve() == level->from;
            return found;
        };
        if (n <= MOST_FOR_WALKS)
            report.add(scene, "walk of the siblings", n, [level, resolveAll] {
                return resolveAll([&] { return resolveByWalks(level->document.getLevel(), view(level->name)); });
            });
        report.add(scene, "mapNameToObject", n, [level, resolveAll] {
            return resolveAll([&] { return level->from->mapNameToObject(level->name, nullptr); });
        });
    }
    report.limitGrowth(scene, "mapNameToObject", 0.1);
}

/// A subtree that goes to and fro between two parents.
struct Moving {
    explicit Moving(int entities) {
        constexpr int CHILDREN = 8;
        document.createCairnLevelEntities();
        here = addEntity(*document.accessLevel(), "Here");
        there = addEntity(*document.accessLevel(), "There");
        std::vector<CN_LevelEntity*> made{addEntity(*here, "Moving")};
        for (int i = 1; i < entities; ++i)
            made.push_back(addEntity(*made[static_cast<std::size_t>((i - 1) / CHILDREN)], fmt::format("Door{:06}", i)));
        top = made.front();
        last = made.back();
    }

    CN_Document document;
    CN_LevelEntity *here = nullptr, *there = nullptr, *top = nullptr, *last = nullptr;
};

void addMoveRows(bench::Report& report) {
    for (const int n : bench::sizes({1000, 10000, 100000})) {
        const auto moving = std::make_shared<Moving>(n);
        report.add("qualified names of a moved subtree", "CN_LevelEntity", n, [moving] {
            moving->there->add(moving->top, false);
            moving->here->add(moving->top, false);
            return moving->last->getQualifiedName().size();
        });
    }
    report.limitGrowth("qualified names of a moved subtree", "CN_LevelEntity", 1.1);
    report.reason("qualified names of a moved subtree", "CN_LevelEntity",
                  "a thousand entities with their names lie in the caches, a hundred thousand do not");
}

} // namespace

static void measure(cairn::bench::Report& report) {
    bench::keepFreedMemory();
    report.peers({"plain read", "walk of the siblings"});
    report.repeat(3); // of most rows what comes between is far more than what is timed
    addScenes(report);
    addPathRows(report);
    addMoveRows(report);
}

static const cairn::bench::Scene
    SCENE("fsm_update",
          "Keeping messages true through renames, loads and deletions, by their number, beside a plain read of the "
          "same memory; paths beside siblings; names of what moves.",
          measure);
