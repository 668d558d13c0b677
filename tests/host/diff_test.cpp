#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/document/camera.h"
#include "cairn/document/selection.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/fsm.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "host/entity_text.h"
#include "host/level_diff.h"
#include "tests/host/edited_level.h"
#include "tests/host/program_run.h"
#include "tests/support/full_level.h"
#include "tests/support/level_bytes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <random>
#include <set>

using namespace cairn;
using namespace cairn::host;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Lines = std::vector<std::string>;

constexpr const char* KINDS[] = {"added", "removed", "renamed", "moved", "changed"};

std::string toLine(const LevelChange& change) {
    return fmt::format("{} {} {}: {} -> {}", KINDS[change.kind], change.entity.value_or("level"), change.what,
                       change.from.value_or("-"), change.to.value_or("-"));
}

Lines toLines(const std::vector<LevelChange>& changes) {
    Lines lines;
    for (const LevelChange& change : changes)
        lines.push_back(toLine(change));
    return lines;
}

/// Levels that are compared as a load gives them, whatever was done to the one that they are saves of.
class Diff : public test::EditedLevel {
  protected:
    using Image = test::Bytes;

    Image image() { return test::saveLevel(*m_document); }
    std::unique_ptr<CN_Document> load(const Image& image) {
        auto document = m_session.createDocument();
        test::loadLevel(*document, image);
        return document;
    }
    std::vector<LevelChange> compare(const Image& before, const Image& after) {
        return compareLevels(*load(before), *load(after));
    }
    /// What edit commands change; the level has changed then.
    Lines edit(const std::string& script) {
        const Image before = image();
        EXPECT_EQ(run(script), "") << script;
        return toLines(compare(before, image()));
    }
};

} // namespace

TEST_F(Diff, TellsEachEditInItsOwnWords) {
    ASSERT_EQ(
        run("box :: Hall 0 0 0 4 4 4\nbox :: Yard 4 0 0 4 4 4\nexit ::Hall#4 ::Yard#2 Door\n"
            "add fsm :: Clock\nfsm-handler ::Clock Tick\nadd waypoint ::Hall A 1 1 1\nadd waypoint ::Hall B 2 1 1\n"
            "add mesh :: Lift\nadd fsm ::Lift Panel\n"
            "fsm-send ::Clock Tick before \"::Hall::A->Look(::Yard);\"\n"
            "fsm-send ::Clock Tick before \"::Hall->EnableExit(1, Door);\"\nadd trigger :: Gate 9 9 9"),
        "");
    const struct {
        const char* script;
        Lines changes;
    } cases[] = {
        {"select ::Gate", {"changed ::Gate selected: off -> on"}},
        // All that lies below goes along, and so do messages that name it, exits and places in the world.
        {"rename ::Hall Atrium", {"renamed ::Atrium name: ::Hall -> ::Atrium"}},
        {"place ::Atrium 0 0 1", {"changed ::Atrium position: 0 0 0 -> 0 0 1"}},
        {"place ::Atrium 0 0 0", {"changed ::Atrium position: 0 0 1 -> 0 0 0"}},
        {"move ::Atrium::A ::Yard",
         {"moved ::Yard::A parent: ::Atrium::A -> ::Yard::A", "changed ::Yard::A position: 1 1 1 -> -3 1 1"}},
        {"set ::Gate use-trigger on\nset ::Gate radius 2",
         {"changed ::Gate radius: 0.5 -> 2", "changed ::Gate use-trigger: off -> on"}},
        {"delete ::Gate\nadd waypoint :: Gate 9 9 9",
         {"removed ::Gate kind: Trigger -> -", "added ::Gate kind: - -> Waypoint"}},
        {"fsm-state ::Clock idle",
         {"changed ::Clock default state:  -> idle", "changed ::Clock handler FSM_Switch(idle): - -> FSM_Switch(idle)",
          "changed ::Clock state idle: - -> idle"}},
        {"fsm-send ::Clock Tick before \"Print(now);\"", {"changed ::Clock message Tick before 2: - -> Print(now);"}},
        {"dynamic ::Lift on",
         {"changed ::Lift default-keyframe:  -> Keyframe_0", "changed ::Lift dynamic: off -> on",
          "changed ::Lift keyframe Keyframe_0: - -> 1 0 0 0 1 0 0 0 1 0 0 0", "changed ::Lift keyframe:  -> Keyframe_0",
          "changed ::Lift lighting-keyframe:  -> Keyframe_0", "changed ::Lift state machine: off -> on"}},
        {"keyframe ::Lift Up", {"changed ::Lift keyframe Up: - -> 1 0 0 0 1 0 0 0 1 0 0 0"}},
        {"split ::Yard#1 1 0 0 2 0 0",
         {"changed ::Yard polygon 1: (0 4 0) (4 4 0) (4 4 4) (0 4 4) -> -",
          "changed ::Yard polygons 5-6: - -> 2 polygons", "changed ::Yard polygons: 6 -> 7",
          "changed ::Yard vertices: 8 -> 16"}},
    };
    for (const auto& c : cases) {
        Lines lines = edit(c.script), expected = c.changes;
        std::sort(lines.begin(), lines.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(lines, expected) << c.script;
    }
}

TEST_F(Diff, FindsEntitiesAgainAmongMany) {
    std::string crates = "box :: Hall 0 0 0 9 9 9\nbox :: Store 20 0 0 9 9 9\n";
    for (int i = 0; i < 6; ++i) // alike but for their names, and in twos but for their places
        crates += fmt::format("add fsm :: Twin{0}\nadd mesh ::Hall Crate{0} {1} 0 0\nadd fsm ::Hall::Crate{0} Lock\n",
                              i, i / 2);
    ASSERT_EQ(run(crates + "fsm-state ::Hall::Crate5::Lock shut"), "");
    EXPECT_THAT(edit("rename ::Twin3 Other"), ElementsAre("renamed ::Other name: ::Twin3 -> ::Other"));
    EXPECT_THAT(edit("rename ::Hall::Crate2 Box\nrename ::Hall::Crate4 Chest"),
                ElementsAre("renamed ::Hall::Box name: ::Hall::Crate2 -> ::Hall::Box",
                            "renamed ::Hall::Chest name: ::Hall::Crate4 -> ::Hall::Chest"));
    // Two at once: the parent is another one by name, and has another place.
    EXPECT_THAT(edit("rename ::Hall Attic\nplace ::Attic 0 1 0\nrename ::Attic::Crate5 Safe"),
                ElementsAre("renamed ::Attic name: ::Hall -> ::Attic", "changed ::Attic position: 0 0 0 -> 0 1 0",
                            "renamed ::Attic::Safe name: ::Hall::Crate5 -> ::Attic::Safe"));
    // What is moved keeps its place in the world, and its name gets a number where that is taken.
    ASSERT_EQ(run("add mesh ::Store Safe"), "");
    const Lines moved = edit("move ::Attic::Safe ::Store");
    EXPECT_EQ(moved.at(0), "moved ::Store::Safe01 parent: ::Attic::Safe -> ::Store::Safe01");
    EXPECT_EQ(moved.size(), 2u) << "and its position";
    // Out of a parent that goes.
    EXPECT_THAT(edit("move ::Attic::Crate0 ::\ndelete ::Attic"),
                testing::Contains(testing::StartsWith("moved ::Crate0 ")));
    EXPECT_THAT(edit("move ::Twin0 ::Store\nplace ::Store::Twin0 0 0 0\nmove ::Store::Twin0 ::\nplace ::Twin0 0 0 0"),
                ElementsAre(testing::StartsWith("changed :: order of children: ")));
}

TEST_F(Diff, TellsWhatNoEditCommandChanges) {
    const auto full = test::makeFullLevel();
    E_FSM::MessageHandler& handler =
        full->accessLevel()->hasChildNamed("Gate")->accessFSM()->createMessageHandler("T_Activate");
    handler.m_sendBefore.emplace_back().m_text = "Print(one);";
    const Image before = test::saveLevel(*full);
    ASSERT_THAT(toLines(compare(before, before)), IsEmpty());
    const auto at = [](CN_Document& document, const char* path) -> CN_LevelEntity& {
        return *document.accessLevel()->mapNameToObject(toIString(path), nullptr);
    };
    const auto roomName = [&] {
        const auto document = load(before);
        for (const CN_LevelEntity* const child : document->getLevel()->getChildren())
            if (const auto* mesh = dynamic_cast<const CN_LevelEntityMesh*>(child); mesh && mesh->getVolumeLighting())
                return plainName(*child);
        return std::string();
    }();
    const auto room = [&](CN_Document& document) -> CN_LevelEntityMesh& {
        return dynamic_cast<CN_LevelEntityMesh&>(at(document, ("::" + roomName).c_str()));
    };
    const auto statue = [&](CN_Document& document) -> CN_LevelEntityTriMesh& {
        return dynamic_cast<CN_LevelEntityTriMesh&>(at(document, "::Statue"));
    };
    const auto door = [&](CN_Document& document) -> CN_AnimationInterface& {
        return dynamic_cast<CN_AnimationInterface&>(at(document, "::Door"));
    };
    const auto message = [&](CN_Document& document) -> E_FSM::Message& {
        return at(document, "::Gate").accessFSM()->accessMessageHandler("T_Activate")->m_sendBefore[0];
    };
    const struct {
        const char* change; ///< the head of the one line, with ROOM for the room
        std::function<void(CN_Document&)> make;
    } cases[] = {
        {"level build: ", [](CN_Document& d) { d.setInfoDocumentCreatedWithBuild("other"); }},
        {"level camera position: ", [](CN_Document& d) { d.accessCNCamera()->setPosition(1, 2, 3); }},
        {"level children are selected with parents: on -> off", [](CN_Document& d) { d.setAutoSelectChildren(false); }},
        {"level group wolves: - -> wolves", [](CN_Document& d) { d.accessAICharacterGroups()["wolves"] = 0; }},
        {"level preference field of view: ", [](CN_Document& d) { d.accessPreferences().setFOV(45); }},
        {"level lightmap 5: 4 x 4, checksum ",
         [](CN_Document& d) { d.accessLightmaps()->getLightmap(5)->setPixel(0, 0, I_FColor(1, 1, 1, 255)); }},
        {"level lightmap 5 final colors: off -> on",
         [](CN_Document& d) { d.accessLightmaps()->getLightmap(5)->setPassThrough(true); }},
        {"level lightmap curve: ", [](CN_Document& d) { d.accessLightmaps()->getLightmapCurve().set(1, 2, 3, 4); }},
        {"level texture new.tga: - -> TGA, ",
         [](CN_Document& d) {
             d.accessTextures().add(d.accessTextures().list().first());
             const std::size_t size = static_cast<std::size_t>(d.getTextures().list().first()->getSourceSize());
             auto* const bytes = new unsigned char[size];
             std::copy_n(static_cast<const unsigned char*>(d.getTextures().list().first()->getSource()), size, bytes);
             CN_Texture* const texture = d.accessTextures().addNew();
             texture->setName("new.tga");
             texture->setSourceFormat(I_Image::TGA);
             texture->setSource(bytes, static_cast<int>(size), true);
         }},
        {"level material Walls/wall double-sided: off -> on",
         [](CN_Document& d) { d.accessMaterials().find("Walls", "wall")->setDoubleSided(true); }},
        {"::ROOM polygon 0 texture space 1: ",
         [&](CN_Document& d) {
             room(d).accessPolygonList()[0].accessUVSpaces()[1].space.setOffset({0.5, 0});
         }},
        {"::ROOM polygon 0 lightmap resolution: 4 -> 8",
         [&](CN_Document& d) { room(d).accessPolygonList()[0].accessLightmapMapping().setResolution(8); }},
        {"::ROOM polygons 2-3 mode: 0 -> 1",
         [&](CN_Document& d) {
             for (const int place : {2, 3})
                 room(d).accessPolygonList()[place].setPolyMode(PT_ADD);
         }},
        {"::ROOM volume lighting: ", [&](CN_Document& d) { room(d).replaceVolumeLighting(nullptr); }},
        {"::ROOM faces flipped: off -> on", [&](CN_Document& d) { room(d).setFacesFlipped(true); }},
        {"::ROOM::Smooth polygons: 0 3 -> 0",
         [&](CN_Document& d) {
             dynamic_cast<CN_LevelEntityPolygonGroup&>(*room(d).hasChildNamed("Smooth"))
                 .removePolygon(&room(d).accessPolygonList()[3]);
         }},
        {"::Statue vertex 1 color: 0,0,0 -> 9,0,0",
         [&](CN_Document& d) { statue(d).accessVertices()[1].color[0] = 9; }},
        {"::Statue triangle 0 extra value: 0 -> 7",
         [&](CN_Document& d) { statue(d).accessTriangles()[0].setExtraValue(7); }},
        {"::Statue lightmap: 5 -> none", [&](CN_Document& d) { statue(d).setLightmapID(NO_LIGHTMAP); }},
        {"::Door keyframe spare: - -> ", [&](CN_Document& d) { door(d).addKeyframe("spare"); }},
        {"::Door animation swing: ", [&](CN_Document& d) { door(d).accessAnimations()->getFirst()->setLength(9); }},
        // Nothing has a name for it.
        {"level bytes: differs at offset ",
         [&](CN_Document& d) { message(d).m_objectArguments.resize(3); }}, // more than the line has
    };
    for (const auto& c : cases) {
        const auto document = load(before);
        c.make(*document);
        std::string expected = c.change;
        if (const std::size_t place = expected.find("ROOM"); place != std::string::npos)
            expected.replace(place, 4, roomName);
        EXPECT_THAT(toLines(compare(before, test::saveLevel(*document))),
                    ElementsAre(testing::StartsWith("changed " + expected)));
    }
}

namespace {

/// One edit command after the other, on a level of rooms with things in them.
class RandomEdits {
  public:
    RandomEdits(unsigned seed, CN_Document& document) : m_random(seed), m_document(document) {}

    std::string next() {
        constexpr const char* PATTERNS[] = {
            "place {entity} {a} {b} {c}",
            "turn {entity} y {angle}",
            "rename {entity} {name}",
            "add waypoint {room} {name} {a} {b} {c}",
            "move {entity} {place}",
            "set {entity} visible {switch}",
            "push {room}#{a} {quarters}",
            "split {room}#{a} 1 0 0 {halves} 0 0",
            "unify {room}#{a} {room}#{b}",
            "smooth {room} {name} {room}#{a} {room}#{b}",
            "fsm-send ::Clock Tick before \"{entity}->Look({entity});\"",
            "delete {entity}",
            "select {entity}",
            "mirror {room} 1 0 0 {a} 0 0",
            "dynamic {entity} {switch}",
            "box :: {name} {x} 50 0 2 2 {size}",
        };
        const std::string entity = anyOf(false), room = anyOf(true), other = anyOf(true);
        const int a = below(7), b = below(7), c = below(5) - 2;
        const std::string_view pattern = PATTERNS[below(16)];
        m_names += pattern.find("{name}") != std::string_view::npos;
        return fmt::format(fmt::runtime(pattern), fmt::arg("entity", entity), fmt::arg("room", room),
                           fmt::arg("place", a < 2 ? "::" : other), fmt::arg("name", fmt::format("N{}", m_names)),
                           fmt::arg("x", 9 * m_names), fmt::arg("a", a), fmt::arg("b", b), fmt::arg("c", c),
                           fmt::arg("angle", 15 * a), fmt::arg("size", 1 + a), fmt::arg("halves", 0.5 * b),
                           fmt::arg("quarters", 0.25 * c), fmt::arg("switch", a % 2 ? "on" : "off"));
    }

  private:
    int below(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
    /// An entity, or a mesh below the root.
    std::string anyOf(bool isRoom) {
        std::vector<std::string> names;
        CN_PreIterator it = m_document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            if (!isRoom || (dynamic_cast<CN_Mesh*>(*it) && (*it)->getParent() == m_document.getLevel()))
                names.push_back(qualifiedName(**it));
        return names.empty() ? "::none" : names[m_random() % names.size()];
    }

    std::mt19937 m_random;
    CN_Document& m_document;
    int m_names = 0;
};

std::string topOf(const std::string& path) { return path.substr(0, path.find("::", 2)); }

/// Numbers of elements are those of one level.
LevelChange withoutNumbers(LevelChange change) {
    std::erase_if(change.what,
                  [](char c) { return std::isdigit(static_cast<unsigned char>(c)) || c == '-' || c == ' '; });
    return change;
}

/// The change as it looks from the other level, without the numbers of elements, which are those of one level.
std::string mirrored(LevelChange change, const std::vector<LevelChange>& all) {
    if (change.kind == LevelChange::ADDED || change.kind == LevelChange::REMOVED) {
        change.kind = change.kind == LevelChange::ADDED ? LevelChange::REMOVED : LevelChange::ADDED;
    } else if (change.entity) {
        std::size_t longest = 0; // path of a pair at or above the entity
        const std::string path = *change.entity;
        for (const LevelChange& each : all)
            if (each.kind == LevelChange::RENAMED || each.kind == LevelChange::MOVED)
                if ((path + "::").starts_with(*each.to + "::") && each.to->size() > longest) {
                    longest = each.to->size();
                    change.entity = *each.from + path.substr(longest);
                }
    }
    std::swap(change.from, change.to);
    return toLine(withoutNumbers(change));
}

/// The top entities that a command may change: those it names, what they are called then, those that their exits lead to, and
/// the one that sends messages.
std::set<std::string> touchedBy(const std::string& command, CN_Document& before,
                                const std::vector<LevelChange>& changes) {
    std::set<std::string> touched{"::Clock"};
    if (command.starts_with("select")) // and what was selected before
        for (const CN_LevelEntity* const child : before.getLevel()->getChildren())
            touched.insert(qualifiedName(*child));
    for (const std::string& word : readEditWords(command)) {
        touched.insert(topOf(word.substr(0, word.find('#'))));
        touched.insert("::" + word);
    }
    for (const LevelChange& change : changes)
        if (change.kind == LevelChange::RENAMED || change.kind == LevelChange::MOVED)
            touched.insert(topOf(*change.to));
    for (const CN_LevelEntity* const child : before.getLevel()->getChildren())
        if (const auto* const mesh = dynamic_cast<const CN_Mesh*>(child);
            mesh && touched.contains(qualifiedName(*child)))
            for (const CN_Polygon& polygon : mesh->getPolygonList())
                if (const CN_Mesh* const other = polygon.getExitDestinationMesh())
                    touched.insert(qualifiedName(*other));
    return touched;
}

} // namespace

TEST_F(Diff, TellsRandomEditsExactlyWhereSavesDiffer) {
    ASSERT_EQ(
        run("box :: A 0 0 0 4 4 4\nbox :: B 4 0 0 4 4 4\nexit ::A#4 ::B#2 Door\nbox :: C 20 0 0 4 4 4\n"
            "add fsm :: Clock\nfsm-handler ::Clock Tick\nadd trigger ::A T 1 1 1\nadd flare ::C F\nadd mesh ::C M"),
        "");
    for (const unsigned seed : {1u, 2u, 3u}) {
        RandomEdits edits(seed, *m_document);
        int done = 0;
        for (int i = 0; i < 120; ++i) {
            const std::string command = edits.next();
            const auto before = load(image());
            run(command);
            const auto after = load(image());
            SCOPED_TRACE(fmt::format("seed {}, {}: {}", seed, i, command));
            const std::vector<LevelChange> changes = compareLevels(*before, *after),
                                           back = compareLevels(*after, *before);
            EXPECT_EQ(changes.empty(), test::saveLevel(*before) == test::saveLevel(*after));
            EXPECT_THAT(toLines(compareLevels(*after, *load(image()))), IsEmpty());
            std::multiset<std::string> there, andBack;
            const std::set<std::string> touched = touchedBy(command, *before, changes);
            for (const LevelChange& change : changes) {
                there.insert(mirrored(change, changes));
                EXPECT_NE(change.what, "bytes");
                EXPECT_TRUE(touched.contains(topOf(*change.entity))) << toLine(change);
            }
            for (const LevelChange& change : back)
                andBack.insert(toLine(withoutNumbers(change)));
            EXPECT_EQ(there, andBack);
            done += !changes.empty();
        }
        EXPECT_GT(done, 40);
    }
}

using DiffProgram = test::ProgramTest;

TEST_F(DiffProgram, AnswersScriptsAndPeople) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    ASSERT_EQ(
        run({"edit", "a.cairn", "-o", "b.cairn", "-c", "add waypoint :: Way 1 2 3", "-c", "place ::player 1 0 0"}).code,
        0);
    const test::ProgramRun equal = run({"diff", "a.cairn", "-"}, read("a.cairn"));
    EXPECT_EQ(equal.code, 0);
    EXPECT_EQ(equal.output + equal.error, "");
    EXPECT_EQ(run({"diff", "a.cairn", "a.cairn", "--json"}).output, "{\"equal\":true,\"changes\":[]}\n");

    const test::ProgramRun other = run({"diff", "a.cairn", "b.cairn"});
    EXPECT_EQ(other.code, 1);
    EXPECT_EQ(other.output,
              "changed ::player\n    position: 0 0 0 -> 1 0 0\nadded   ::Way (Waypoint)\n1 added, 1 changed\n");
    EXPECT_EQ(
        run({"diff", "-", "b.cairn", "--json"}, read("a.cairn")).output,
        "{\"equal\":false,\"changes\":[{\"kind\":\"changed\",\"entity\":\"::player\",\"what\":\"position\",\"from\":"
        "\"0 0 "
        "0\",\"to\":\"1 0 0\"},{\"kind\":\"added\",\"entity\":\"::Way\",\"what\":\"kind\",\"from\":null,"
        "\"to\":\"Waypoint\"}]}\n");
}
