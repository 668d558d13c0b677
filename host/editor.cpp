#include "host/editor.h"

#include "cairn/document/change_scope.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"
#include "host/edit_set.h"
#include "host/entity_lookup.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace cairn::host {

namespace {

constexpr std::size_t ANY = std::numeric_limits<std::size_t>::max();

/// Every command there is: a new one is a line here.
constexpr EditCommand COMMANDS[] = {
    {"add", "KIND PARENT NAME [X Y Z]", "makes an entity, at the place given", 3, 6, editAdd},
    {"rename", "ENTITY NAME", "", 2, 2, editRename},
    {"move", "ENTITY PARENT", "makes it a child of PARENT; it keeps its place in the world", 2, 2, editMove},
    {"place", "ENTITY X Y Z", "", 4, 4, editPlace},
    {"turn", "ENTITY AXIS DEGREES", "turns it about an axis (x, y, z) of its parent through its own place", 3, 3,
     editTurn},
    {"delete", "ENTITY", "with all below it and the messages that name any of it", 1, 1, editDelete},
    {"set", "ENTITY PROPERTY VALUE", "changes a setting; \"edit --help set\" lists those of each kind", 3, 3, editSet},
    {"select", "ENTITY...", "selects these and no others", 1, ANY, editSelect},
    {"box", "PARENT NAME X Y Z SX SY SZ [in|out]",
     "makes a box from its least corner and its sizes, whose faces look in (a room) or out; polygons 0 to 5: floor, "
     "ceiling, least "
     "x, greatest z, greatest x, least z",
     8, 9, editBox},
    {"loft", "PARENT NAME DISTANCE X Y Z X Y Z X Y Z...",
     "draws an outline (0 0 0, 0 0 6, 8 0 6 looks up) and makes a prism of it: a room in front of it, or with a "
     "negative distance a solid behind it",
     12, ANY, editLoft},
    {"push", "POLYGON DISTANCE [MINEDGE]",
     "moves a polygon's plane along its normal, that before any tilt, into the room, and what hangs on it; no edge "
     "becomes shorter than MINEDGE (0.001)",
     2, 3, editPush},
    {"tilt", "POLYGON X0 Y0 Z0 X1 Y1 Z1 DEGREES [MINEDGE]",
     "turns a polygon's plane about the axis between two places in it, of the mesh's space", 8, 9, editTilt},
    {"split", "POLYGON NX NY NZ PX PY PZ",
     "cuts a polygon by the plane with that normal and point, in the mesh's space; the pieces behind and in front of "
     "it take its "
     "place, at the end of the mesh",
     7, 7, editSplit},
    {"unify", "POLYGON POLYGON", "makes one polygon of two that share an edge, at the end of their mesh", 2, 2,
     editUnify},
    {"weld", "ENTITY RADIUS", "merges the corners of a mesh that lie within the radius, and planes that nearly agree",
     2, 2, editWeld},
    {"mirror", "ENTITY NX NY NZ PX PY PZ",
     "reflects a mesh in the plane through its origin that is parallel to the plane given, keyframes in the plane "
     "itself",
     7, 7, editMirror},
    {"scale", "ENTITY FX FY FZ", "stretches a mesh about its origin along its axes", 4, 4, editScale},
    {"flip", "ENTITY", "turns all faces of a mesh over", 1, 1, editFlip},
    {"join", "ENTITY ENTITY", "puts the polygons of the second mesh into the first, with what stands below it", 2, 2,
     editJoin},
    {"separate", "POLYGON GRID",
     "makes a mesh of its own of the polygons that do not hang together with this one; origins go onto the grid, 0 for "
     "none",
     2, 2, editSeparate},
    {"recenter", "ENTITY GRID", "moves a mesh's origin to its middle, on the grid of its parent, 0 for none", 2, 2,
     editRecenter},
    {"texture", "ENTITY CATEGORY MATERIAL [fit]",
     "gives all polygons but exits the material; with fit its tiles' sizes, too", 3, 4, editTexture},
    {"tjunctions", "ENTITY TOLERANCE", "puts corners where other polygons' corners lie on an edge", 2, 2,
     editTJunctions},
    {"dynamic", "ENTITY on|off", "lets a mesh move in the game, with a first keyframe and a state machine", 2, 2,
     editDynamic},
    {"keyframe", "ENTITY NAME", "keeps where a dynamic mesh stands now as a keyframe", 2, 2, editKeyframe},
    {"exit", "POLYGON POLYGON NAME", "makes two polygons exits that lead to each other, with portals of that name", 3,
     3, editExit},
    {"seal", "POLYGON", "makes an exit and the one behind it walls", 1, 1, editSeal},
    {"smooth", "ENTITY GROUP POLYGON...", "puts polygons of a mesh into a group that is shaded as one surface", 3, ANY,
     editSmooth},
    {"fsm-state", "ENTITY NAME", "adds a state; the first one is the default", 2, 2, editFsmState},
    {"fsm-rename-state", "ENTITY OLD NEW", "in its machine and in all messages", 3, 3, editFsmRenameState},
    {"fsm-handler", "ENTITY NAME", "adds a message handler", 2, 2, editFsmHandler},
    {"fsm-send", "ENTITY HANDLER before|after|state:NAME \"TEXT\"",
     "adds a message: TARGET->NAME(ARGUMENTS); to an entity, NAME(ARGUMENTS); to the game, or # and a comment", 4, 4,
     editFsmSend},
};

} // namespace

std::span<const EditCommand> editCommands() { return COMMANDS; }

Editor::Editor(CN_Document& document, const CN_FSMMessageInfoProvider* catalogue)
    : m_document(document), m_catalogue(catalogue) {
    CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, &document, nullptr);
}

Editor::~Editor() { CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, nullptr, nullptr); }

void Editor::run(std::span<const std::string> words) {
    const auto commands = editCommands();
    const auto command =
        std::find_if(commands.begin(), commands.end(), [&](const EditCommand& c) { return c.name == words.front(); });
    if (command == commands.end())
        throw EditRefusal(fmt::format("\"{}\" is no command", toShownText(words.front())));
    words = words.subspan(1);
    if (words.size() < command->leastWords || words.size() > command->mostWords)
        throw EditRefusal(fmt::format("\"{0}\" takes: {0} {1}", command->name, command->usage));
    command->run(*this, words);
}

void Editor::finish() {
    const CN_ChangeScope change(&m_document);
    CN_FSMChangeManager::setNameHasChanged(); // a message may be new and nothing else
    CN_FSMChangeManager::instance()->documentUpdatedNotification(nullptr);
}

CN_LevelEntity& Editor::root() { return *m_document.accessLevel(); }

CN_LevelEntity& Editor::entity(const std::string& word) {
    CN_LevelEntity* const found = findEntity(root(), word);
    if (!found)
        throw EditRefusal(fmt::format("no entity is named \"{}\"", toShownText(word)));
    return *found;
}

CN_LevelEntity& Editor::changeableEntity(const std::string& word) {
    CN_LevelEntity& found = entity(word);
    if (CN_HierarchyUtils::isNonEditablePrefabContent(&found))
        throw EditRefusal(fmt::format("\"{}\" belongs to its prefab", toShownText(word)));
    return found;
}

CN_LevelEntity& Editor::placeableEntity(const std::string& word) {
    CN_LevelEntity& found = changeableEntity(word);
    if (&found == &root())
        throw EditRefusal("the root of the level stays as it is");
    return found;
}

CN_LevelEntity& Editor::movableEntity(const std::string& word) {
    CN_LevelEntity& found = placeableEntity(word);
    if (&found == m_document.accessPlayer())
        throw EditRefusal("the player stays below the root, under its name");
    return found;
}

CN_Mesh& Editor::mesh(const std::string& word) {
    auto* const mesh = dynamic_cast<CN_Mesh*>(&changeableEntity(word));
    if (!mesh)
        throw EditRefusal(fmt::format("\"{}\" has no polygons", toShownText(word)));
    return *mesh;
}

CN_Polygon& Editor::polygon(const std::string& word) {
    CN_Polygon* const found = findPolygon(root(), word);
    if (!found)
        throw EditRefusal(fmt::format("there is no polygon \"{}\": ENTITY#INDEX", toShownText(word)));
    changeableEntity(word.substr(0, word.rfind('#')));
    return *found;
}

double Editor::number(const std::string& word) {
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (end != word.data() + word.size() || error != std::errc() || !std::isfinite(value))
        throw EditRefusal(fmt::format("\"{}\" is no number", toShownText(word)));
    return value;
}

Editor::Vector Editor::vector(std::span<const std::string> words) {
    constexpr double LARGEST = 1e15; // beyond it corners a unit apart are one
    const Vector vector(number(words[0]), number(words[1]), number(words[2]));
    if (maxAbsComponent(vector) > LARGEST)
        throw EditRefusal(fmt::format("a place or a size does not go beyond {:g}", LARGEST));
    return vector;
}

} // namespace cairn::host
