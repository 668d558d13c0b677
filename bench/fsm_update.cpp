// Keeping the messages of state machines true: whole updates, binding after a load and each walker by the number of messages;
// paths by the number of siblings beside each step; qualified names by the size of a subtree that moves.
#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/walkers.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace cairn;

CN_LevelEntity* addEntity(CN_LevelEntity& parent, const std::string& name) {
    auto made = std::make_unique<CN_LevelEntityFSM>();
    CN_LevelEntity* const entity = made.get();
    entity->setDocument(parent.getDocument());
    entity->setName(CString(name), false);
    parent.addOwned(std::move(made), false);
    return entity;
}

/// Rooms of entities with ten messages each, to entities all over the level; a hundredth of them to the first one.
class Level {
  public:
    static constexpr int MESSAGES_AN_ENTITY = 10;

    explicit Level(int messages) {
        constexpr int ENTITIES_A_ROOM = 100;
        m_document.createCairnLevelEntities();
        CN_LevelEntity* room = nullptr;
        for (int i = 0; i < messages / MESSAGES_AN_ENTITY; ++i) {
            if (i % ENTITIES_A_ROOM == 0)
                room = addEntity(root(), fmt::format("Room{:05}", i));
            m_entities.push_back(addEntity(*room, fmt::format("Door{:05}", i)));
        }
        for (int i = 0; i < messages; ++i)
            listOf(i).push_back(makeMessage(i));
        for (CN_LevelEntity* const entity : m_entities)
            m_machines.push_back(*entity->getFSM());
    }

    CN_LevelEntity& root() { return *m_document.accessLevel(); }
    CN_LevelEntity* first() { return m_entities.front(); }
    void run(CN_ForEach&& walker) { root().forEachEntity(&walker); }
    /// Makes this the document that updates are for.
    void use() { CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, &m_document, nullptr); }

    /// Brings back the messages of the beginning.
    void restore() {
        for (std::size_t i = 0; i < m_entities.size(); ++i)
            *m_entities[i]->accessFSM() = m_machines[i];
    }

    /// Turns every reference into an identity as a record holds it; `known` says whether the load met its entity.
    void unbind(bool known) {
        auto& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
        loaded.clear();
        for (CN_LevelEntity* const entity : m_entities) {
            if (known)
                loaded.emplace(CN_LevelEntity::getSerialisationId(entity), entity);
            entity->accessFSM()->forEachMessage([](E_FSM::Message& message) {
                message.m_targetId = CN_LevelEntity::getSerialisationId(message.m_target);
                message.m_target = nullptr;
                message.m_objectArgumentIds.clear();
                for (CN_LevelEntity*& object : message.m_objectArguments)
                    message.m_objectArgumentIds.push_back(
                        CN_LevelEntity::getSerialisationId(std::exchange(object, nullptr)));
            });
        }
    }

    /// The bytes of all lines and the messages that have a target.
    std::size_t summary() const {
        std::size_t sum = 0;
        for (const CN_LevelEntity* const entity : m_entities)
            entity->getFSM()->forEachMessage(
                [&](const E_FSM::Message& message) { sum += message.m_text.size() + (message.m_target ? 1 : 0); });
        return sum;
    }

  private:
    E_FSM::MessageList& listOf(int message) {
        E_FSM& machine = *m_entities[static_cast<std::size_t>(message / MESSAGES_AN_ENTITY)]->accessFSM();
        return message % 2 ? machine.createMessageHandler("Startup").m_sendBefore
                           : machine.createMessageHandler("OnUse").m_sendOnState["idle"];
    }

    E_FSM::Message makeMessage(int i) {
        constexpr int TO_THE_FIRST = 100;
        static const std::pair<istring, std::vector<istring>> SENT[] = {{"FSM_Switch", {"old"}},
                                                                        {"FSM_StartTimer", {"old"}},
                                                                        {"FSM_Send", {"old"}},
                                                                        {"DO_Animate", {"old", "1"}},
                                                                        {"EnableExit", {"1", "old"}}};
        E_FSM::Message message;
        const auto index = static_cast<std::size_t>(i);
        message.m_target = i / 5 % (TO_THE_FIRST / 5) == 0 ? first() : m_entities[index * 7919 % m_entities.size()];
        std::tie(message.m_name, message.m_arguments) = SENT[index % std::size(SENT)];
        message.m_objectArguments.resize(message.m_arguments.size());
        message.m_arguments.push_back(message.m_target->getQualifiedName());
        message.m_objectArguments.push_back(message.m_target);
        message.m_text = i % 4 ? "" : "::";
        message.updateTargetName(listOwner(i)->accessFSM());
        return message;
    }

    CN_LevelEntity* listOwner(int message) {
        return m_entities[static_cast<std::size_t>(message / MESSAGES_AN_ENTITY)];
    }

    CN_Document m_document;
    std::vector<CN_LevelEntity*> m_entities; ///< those with messages
    std::vector<E_FSM> m_machines;           ///< theirs as they were made
};

constexpr const char* LIBRARY = "E_FSM";

void addUpdateRow(bench::Report& report, int n, const std::shared_ptr<Level>& level) {
    report.addTimed("update after a rename", LIBRARY, n, [level, turn = false](bench::Watch& watch) mutable {
        turn = !turn;
        level->use();
        level->first()->getParent()->setName(turn ? "Hall00000" : "Room00000", false);
        watch.timed([] { CN_FSMChangeManager::instance()->updateMessages(); });
        return level->summary();
    });
}

void addBindRows(bench::Report& report, int n, const std::shared_ptr<Level>& level) {
    for (const bool known : {true, false})
        report.addTimed(known ? "bind by identity" : "bind by name", LIBRARY, n, [level, known](bench::Watch& watch) {
            level->restore();
            level->unbind(known);
            watch.timed([&] { CN_FSMChangeManager::instance()->deserializeFSMs(&level->root(), false); });
            CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
            return level->summary();
        });
}

template <class Walker>
void addRenameRow(bench::Report& report, const char* scene, int n, const std::shared_ptr<Level>& level) {
    report.addTimed(scene, LIBRARY, n, [level](bench::Watch& watch) {
        level->restore();
        watch.timed([&] { level->run(Walker(level->first(), "old", "newer")); });
        return level->summary();
    });
}

using MakeWalker = std::function<std::unique_ptr<CN_ForEach>(const CN_LevelEntity*)>;

void addDeleteRow(bench::Report& report, const char* scene, int n, const std::shared_ptr<Level>& level,
                  const MakeWalker& make) {
    report.addTimed(scene, LIBRARY, n, [level, make](bench::Watch& watch) {
        level->restore();
        const auto walker = make(level->first());
        watch.timed([&] { level->root().forEachEntity(walker.get()); });
        return level->summary();
    });
}

void addWalkerRows(bench::Report& report, int n, const std::shared_ptr<Level>& level) {
    addRenameRow<ForEach_FSMRenameStates>(report, "rename a state", n, level);
    addRenameRow<ForEach_FSMRenameTimer>(report, "rename a timer", n, level);
    addRenameRow<ForEach_FSMRenameAnimations>(report, "rename an animation", n, level);
    addRenameRow<ForEach_FSMRenameCustomSends>(report, "rename an event", n, level);
    addRenameRow<ForEach_FSMRenameExits>(report, "rename an exit", n, level);
    addDeleteRow(report, "delete an entity", n, level,
                 [](const CN_LevelEntity* entity) { return std::make_unique<ForEach_FSMDeleteObject>(entity); });
    addDeleteRow(report, "delete an animation", n, level, [](const CN_LevelEntity* entity) {
        return std::make_unique<ForEach_FSMDeleteAnimationSends>(entity, "old");
    });
    addDeleteRow(report, "delete an event", n, level, [](const CN_LevelEntity* entity) {
        return std::make_unique<ForEach_FSMDeleteCustomSends>(entity, "old");
    });
    addDeleteRow(report, "delete an exit", n, level, [](const CN_LevelEntity* entity) {
        return std::make_unique<ForEach_FSMDeleteExitSends>(entity, "old");
    });
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
}

} // namespace

int main(int argc, char** argv) {
    bench::keepFreedMemory();
    bench::Report report("fsm_update");
    for (const int n : bench::sizes({1000, 10000, 100000})) {
        addUpdateRow(report, n, std::make_shared<Level>(n));
        const auto level = std::make_shared<Level>(n);
        addBindRows(report, n, level);
        addWalkerRows(report, n, level);
    }
    for (const char* const scene : {"update after a rename", "bind by identity", "bind by name", "rename a state",
                                    "rename a timer", "rename an animation", "rename an event", "rename an exit",
                                    "delete an entity", "delete an animation", "delete an event", "delete an exit"})
        report.limitGrowth(scene, LIBRARY, 1.1);
    addPathRows(report);
    addMoveRows(report);
    return report.run(argc, argv);
}
