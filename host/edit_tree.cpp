#include "cairn/document/change_scope.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/name_validator.h"
#include "cairn/document/selection.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/fsm/walkers.h"
#include "host/edit_deletion.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/text.h"

#include <fmt/format.h>

#include <memory>
#include <numbers>
#include <set>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;
using Matrix = M_Matrix3Template<double>;

/// Gives the entity that name, or refuses where a sibling has it.
void giveName(CN_LevelEntity& entity, const std::string& name) {
    if (!entity.setName(CString(name), false))
        throw EditRefusal(fmt::format("the name \"{}\" is taken there", toShownText(name)));
}

int kindOf(const std::string& word) {
    for (int id = CN_KIND_MESH; id <= CN_KIND_VOL_LIGHTING_BOX; ++id)
        if (const string name = CN_EntityFactory::instance()->getEntityTypeName(id); !name.empty())
            if (asciiEqualNoCase(name, word))
                return id;
    throw EditRefusal(fmt::format("\"{}\" is no kind of entity", toShownText(word)));
}

void checkParenting(CN_LevelEntity& parent, CN_LevelEntity& child, std::string_view name) {
    if (!parent.canAdd(&child))
        throw EditRefusal(
            fmt::format("\"{}\" cannot hold \"{}\"", toShownText(qualifiedName(parent)), toShownText(name)));
}

/// Refuses what stands on polygons of its parent: no file holds it without them.
void checkStandsAlone(const CN_LevelEntity& entity, std::string_view name) {
    if (dynamic_cast<const CN_VirtualNode*>(&entity))
        throw EditRefusal(fmt::format("\"{}\" stands on polygons of its parent", toShownText(name)));
}

template <class Walker> void walk(Editor& editor, Walker&& walker) { editor.root().forEachEntity(&walker); }

int depthOf(const CN_LevelEntity* entity) {
    int depth = 0;
    while ((entity = entity->getParent()))
        ++depth;
    return depth;
}

/// Refuses what would lie too deep below the new parent for a file.
void checkDepth(const CN_LevelEntity& parent, CN_LevelEntity& child, std::string_view name) {
    int below = 0;
    CN_PreIterator it = child.createIterator();
    for (it.begin(); !it.end(); ++it)
        below = std::max(below, depthOf(*it) - depthOf(&child));
    if (depthOf(&parent) + 1 + below >= CN_MAX_ENTITY_DEPTH)
        throw EditRefusal(
            fmt::format("\"{}\" would lie more than {} levels deep", toShownText(name), CN_MAX_ENTITY_DEPTH));
}

} // namespace

void Editor::checkName(const std::string& name) {
    CN_NameValidator& validator = *CN_NameValidator::instance();
    if (!validator.isValidEntityName(name.c_str()) || name.find('\0') != std::string::npos)
        throw EditRefusal(fmt::format("\"{}\" is no name: {}", toShownText(name),
                                      toShownText(std::string_view(validator.getLastNameFaultDescription()))));
}

CN_LevelEntity& Editor::addEntity(int kind, CN_LevelEntity& parent, const std::string& name,
                                  const CN_LevelEntity::Vector& place) {
    checkName(name);
    std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, &m_document));
    if (!made)
        throw EditRefusal(fmt::format("no entity of the kind \"{}\" can be made",
                                      toShownText(CN_EntityFactory::instance()->getEntityTypeName(kind))));
    checkParenting(parent, *made, name);
    checkStandsAlone(*made, name);
    checkDepth(parent, *made, name);
    if (parent.hasChildNamed(CString(name)))
        throw EditRefusal(fmt::format("the name \"{}\" is taken there", toShownText(name)));
    CN_LevelEntity& entity = *made;
    giveName(entity, name);
    const CN_ChangeScope change(&m_document);
    parent.addOwned(std::move(made), false);
    entity.setPosition(place);
    return entity;
}

void editAdd(Editor& editor, Words words) {
    if (words.size() != 3 && words.size() != 6)
        throw EditRefusal("a place has three numbers");
    const int kind = kindOf(words[0]);
    CN_LevelEntity& parent = editor.changeableEntity(words[1]);
    const auto place = words.size() == 6 ? Editor::vector(words.subspan(3)) : CN_LevelEntity::Vector();
    editor.addEntity(kind, parent, words[2], place);
}

void editRename(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.movableEntity(words[0]);
    Editor::checkName(words[1]);
    const std::string old(entity.getName().view());
    if (asciiEqualNoCase(old, words[1]) && old != words[1])
        entity.setName(CString(old + "_"), true); // or the library takes another case for the same name
    giveName(entity, words[1]);
    const CN_ChangeScope change(&editor.document());
    if (entity.getEntityId() == CN_KIND_PORTAL)
        walk(editor, ForEach_FSMRenameExits(entity.getParent(), toIString(old), toIString(words[1])));
}

void editMove(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.movableEntity(words[0]);
    CN_LevelEntity& parent = editor.changeableEntity(words[1]);
    if (&parent == &entity || parent.isParent(&entity))
        throw EditRefusal(fmt::format("\"{}\" is the entity itself or lies below it", toShownText(words[1])));
    if (entity.getParent() == &parent)
        return;
    checkParenting(parent, entity, words[0]);
    checkStandsAlone(entity, words[0]);
    checkDepth(parent, entity, words[0]);
    parent.add(&entity, true);
}

void editPlace(Editor& editor, Words words) {
    editor.placeableEntity(words[0]).setPosition(Editor::vector(words.subspan(1)));
}

void editTurn(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.placeableEntity(words[0]);
    const double angle = Editor::number(words[2]) * std::numbers::pi / 180;
    const std::string axis = asciiLowered(words[1]);
    if (axis != "x" && axis != "y" && axis != "z")
        throw EditRefusal(fmt::format("\"{}\" is none of the axes x, y and z", toShownText(words[1])));
    const Matrix turn = axis == "x"   ? Matrix::rotationX(angle)
                        : axis == "y" ? Matrix::rotationY(angle)
                                      : Matrix::rotationZ(angle);
    entity.setRotation(entity.getRotation() * turn);
}

void editDelete(Editor& editor, Words words) {
    Deletion deletion(editor.document());
    deletion.add(editor.movableEntity(words[0]));
    deletion.run();
}

void editSelect(Editor& editor, Words words) {
    std::vector<CN_LevelEntity*> entities;
    for (const std::string& word : words)
        entities.push_back(&editor.entity(word));
    CN_Selection& selection = *editor.document().accessSelection();
    const CN_ChangeScope change(&editor.document());
    selection.clear();
    for (CN_LevelEntity* const entity : entities)
        selection.add(entity);
}

} // namespace cairn::host
