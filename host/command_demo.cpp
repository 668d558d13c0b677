#include "cairn/content/shared_db_writer.h"
#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/foundation/file.h"
#include "cairn/fsm/fsm.h"
#include "host/command_line.h"
#include "host/demo_map.h"
#include "host/editor.h"
#include "host/entity_lookup.h"
#include "host/entity_text.h"
#include "host/map_import.h"
#include "host/problems.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>

namespace cairn::host {

namespace {

struct DemoOptions : CommonOptions {
    std::string folder = "cairn-demo";
};

/// Two rooms that a door joins. Whoever goes through the gate alerts the guard, who closes it; the door opens with it.
constexpr std::string_view DEMO_LEVEL = R"(box :: Room1 0 0 0 8 4 8
box :: Room2 8 0 0 6 4 8
exit ::Room1#4 ::Room2#2 Door
add enemy ::Room1 Guard 2 0 2
add trigger ::Room2 Gate 4 1 4
place ::player 4 0 4
fsm-state ::Room1::Guard idle
fsm-state ::Room1::Guard alert
fsm-state ::Room2::Gate open
fsm-state ::Room2::Gate closed
fsm-send ::Room2::Gate T_Activate before "# somebody goes through"
fsm-send ::Room2::Gate T_Activate state:open "::Room1::Guard->FSM_Switch(alert);"
fsm-send ::Room2::Gate T_Activate after "this->FSM_Switch(open);"
fsm-send ::Room2::Gate T_Activate after "::Room1->EnableExit(1, Door);"
fsm-send ::Room1::Guard FSM_Switch(alert) before "parent::parent::Room2::Gate->FSM_Switch(closed);"
fsm-send ::Room1::Guard OnDeath before "::Room2::Gate->FSM_Switch(open);"
fsm-send ::Room2::Gate FSM_Switch(closed) after "::Room1::Guard->FSM_Switch(idle);")";

/// The demonstration, a step an operation; each reports itself in one line.
class Demo {
  public:
    Demo(const DemoOptions& options, Console& console) : m_folder(options.folder), m_console(console) {}

    void run() {
        makeFolder();
        makeContent();
        LevelSession session(m_console, path("content.db"));
        makeLevel(session);
        importMapFile(session);
        for (const char* name : {"demo.cairn", "imported.cairn"})
            reload(session, name);
        findRooms(session);
        renameRoom(session);
        tellWhatNext();
    }

  private:
    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    void step(const std::string& what) { m_console.writeLine(fmt::format("{}. {}", ++m_steps, toShownText(what))); }

    void makeFolder() const {
        std::error_code error;
        std::filesystem::create_directories(m_folder, error);
        requireMemory(error);
        if (error)
            throw Failure(ExitCode::OUTPUT, m_folder.string(), error.message());
    }

    void makeContent() {
        withFailure(ExitCode::OUTPUT, path("content.db"), [&] {
            Y_SharedDBWriter::create(path("content.db"));
            Y_SharedDBWriter writer(path("content.db"));
            for (const char* skin : {"guard", "monster_rat"})
                writer.add(Y_SharedDBKind::SKIN, skin);
            writer.add(Y_SharedDBKind::LEVEL_ITEM, "item_health");
            writer.commit();
        });
        step(fmt::format("made a content database of 2 skins and 1 level item: {}", path("content.db")));
    }

    void makeLevel(const LevelSession& session) {
        const auto document = session.createDocument();
        document->createCairnLevelEntities();
        document->setInfoDocumentCreatedWithBuild("cairn demo");
        edit(*document, DEMO_LEVEL);
        CN_LevelEntity& guard = *findEntity(*document->accessLevel(), "::Room1::Guard");
        static_cast<CN_UISphereEntity&>(guard).setSharedDBName("guard", true);
        session.save(*document, path("demo.cairn"), m_console);
        step(fmt::format("made a level of two rooms that a door joins, a guard and a gate with state machines: {}",
                         path("demo.cairn")));
    }

    static void edit(CN_Document& document, std::string_view script) {
        Editor editor(document);
        for (const EditLine& line : readEditScript(script))
            editor.run(line.words);
        editor.finish();
    }

    void importMapFile(const LevelSession& session) {
        const std::string_view text = DEMO_MAP;
        withFailure(ExitCode::OUTPUT, path("demo.map"), [&] {
            F_File::replace(path("demo.map"), {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
        });
        const auto document = session.createDocument();
        document->createCairnLevelEntities();
        const MapImportSummary summary = importMap(readMap(text), DEFAULT_MAP_SCALE, *document);
        session.save(*document, path("imported.cairn"), m_console);
        step(fmt::format("made {} of {}: {}", path("imported.cairn"), path("demo.map"), summary.text()));
    }

    /// Loads, saves and loads again, checks and lists: the way of every level.
    void reload(LevelSession& session, const std::string& name) {
        const OpenedLevel level = session.openForUse(path(name), false);
        step(fmt::format("loaded {}: {} bytes, {}", path(name), level.bytes, level.sealed ? "sealed" : "not sealed"));

        F_MemoryFile saved;
        CN_LevelFile::write(*level.document, saved);
        const std::vector<unsigned char> bytes = CN_LevelFile::read(path(name));
        if (saved.getSize() != bytes.size() || std::memcmp(saved.getAddress(), bytes.data(), bytes.size()) != 0)
            throw new F_Exception(path(name) + " differs when it is saved again");
        step(fmt::format("saved it again: the same {} bytes", bytes.size()));

        const std::vector<Problem> problems = findProblems(level, true, session.readCatalogue(""), false);
        if (!problems.empty())
            throw new F_Exception(fmt::format("{}: {}: {}", path(name), problems[0].kind->code, problems[0].message));
        step("checked it: no problems");

        std::vector<std::string> names;
        CN_ConstPreIterator it = level.document->getLevel()->createConstIterator();
        for (it.begin(); !it.end(); ++it)
            names.push_back(qualifiedName(**it));
        step(fmt::format("listed it: {}", fmt::join(names, ", ")));
    }

    /// Asks where the guard and the gate are, and what leads from one to the other.
    void findRooms(LevelSession& session) {
        const OpenedLevel level = session.openForUse(path("demo.cairn"), false);
        CN_LevelEntity& root = *level.document->accessLevel();
        std::vector<std::string> places;
        for (const char* name : {"::Room1::Guard", "::Room2::Gate"}) {
            const CN_LevelEntity& entity = *findEntity(root, name);
            CN_LevelEntityMesh* const room =
                CN_HierarchyUtils::getRoomContainingPosition(entity.getWorldPosition(), &root);
            if (!room)
                throw new F_Exception(fmt::format("{} is in no room", name));
            std::vector<std::string> exits;
            for (const CN_Polygon* const exit : room->getExitList())
                exits.push_back(fmt::format("{} to {}", toString(exit->getExitName()),
                                            qualifiedName(*exit->getExitDestinationMesh())));
            places.push_back(
                fmt::format("{} is in {}, with the exit {}", name, qualifiedName(*room), fmt::join(exits, ", ")));
        }
        step(fmt::format("{}", fmt::join(places, "; ")));
    }

    /// Renames a room; the lines that name it follow.
    void renameRoom(LevelSession& session) {
        const OpenedLevel level = session.openForUse(path("demo.cairn"), false);
        edit(*level.document, "rename ::Room1 Hall");
        std::vector<std::string> lines;
        findEntity(*level.document->accessLevel(), "::Room2::Gate")
            ->getFSM()
            ->forEachMessage([&](const E_FSM::Message& message) { lines.emplace_back(view(message.m_text)); });
        step(fmt::format("renamed ::Room1 to Hall; the gate says now: {}", fmt::join(lines, " ")));
    }

    void tellWhatNext() {
        m_console.writeLine("Look at them next:");
        const std::string level = path("demo.cairn"), content = path("content.db");
        for (const std::string& words :
             {"tree " + level, "info --json " + level, "check " + level, "fsm " + level, "rooms " + level,
              "explain " + level + " ::Room1::Door", "render " + level + " --top -o " + path("demo.png"),
              std::string("edit --help"), "content list " + content})
            m_console.writeLine("  " + toShownText(m_console.program() + ' ' + words));
    }

    std::filesystem::path m_folder;
    Console& m_console;
    int m_steps = 0; ///< done
};

ExitCode runDemo(const DemoOptions& options, Console& console) {
    Demo(options, console).run();
    return ExitCode::DONE;
}

} // namespace

void addDemoCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<DemoOptions>();
    CommandSyntax command = program.addCommand("demo", "Do the main job end to end on bundled input, one line a step");
    command.addOption("--out", options->folder, "Folder for the files, by default cairn-demo")
        .typeName("DIR")
        .check(refuseStandardStream);
    options->addQuiet(command);
    onChosen(command, options, runDemo, chosen);
}

} // namespace cairn::host
