#include "cairn/document/entity_factory.h"
#include "cairn/document/name_validator.h"
#include "cairn/document/selection.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/fsm/walkers.h"
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

void checkName(const std::string& name) {
    CN_NameValidator& validator = *CN_NameValidator::instance();
    if (!validator.isValidEntityName(name.c_str()) || name.find('\0') != std::string::npos)
        throw EditRefusal(fmt::format("\"{}\" is no name: {}", toShownText(name),
                                      toShownText(std::string_view(validator.getLastNameFaultDescription()))));
}

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

/// The entity and all below it.
std::vector<CN_LevelEntity*> subtreeOf(CN_LevelEntity& entity) {
    std::vector<CN_LevelEntity*> entities{&entity};
    CN_PreIterator it = entity.createIterator();
    for (it.begin(); !it.end(); ++it)
        entities.push_back(*it);
    return entities;
}

} // namespace

void editAdd(Editor& editor, Words words) {
    if (words.size() != 3 && words.size() != 6)
        throw EditRefusal("a place has three numbers");
    const int kind = kindOf(words[0]);
    CN_LevelEntity& parent = editor.entity(words[1]);
    checkName(words[2]);
    const auto place = words.size() == 6 ? Editor::vector(words.subspan(3)) : CN_LevelEntity::Vector();
    std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, &editor.document()));
    if (!made)
        throw EditRefusal(fmt::format("no entity of the kind \"{}\" can be made", toShownText(words[0])));
    checkParenting(parent, *made, words[2]);
    if (parent.hasChildNamed(CString(words[2])))
        throw EditRefusal(fmt::format("the name \"{}\" is taken there", toShownText(words[2])));
    CN_LevelEntity& entity = *made;
    giveName(entity, words[2]);
    parent.addOwned(std::move(made), false);
    entity.setPosition(place);
}

void editRename(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.movableEntity(words[0]);
    checkName(words[1]);
    const std::string old(entity.getName().view());
    if (asciiEqualNoCase(old, words[1]) && old != words[1])
        entity.setName(CString(old + "_"), true); // or the library takes another case for the same name
    giveName(entity, words[1]);
}

void editMove(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.movableEntity(words[0]);
    CN_LevelEntity& parent = editor.entity(words[1]);
    if (&parent == &entity || parent.isParent(&entity))
        throw EditRefusal(fmt::format("\"{}\" is the entity itself or lies below it", toShownText(words[1])));
    if (entity.getParent() == &parent)
        return;
    checkParenting(parent, entity, words[0]);
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
    CN_LevelEntity& entity = editor.movableEntity(words[0]);
    const std::vector<CN_LevelEntity*> dying = subtreeOf(entity);
    ForEach_FSMDeleteObject deleteMessages(std::set<const CN_LevelEntity*>(dying.begin(), dying.end()));
    editor.root().forEachEntity(&deleteMessages);
    for (CN_LevelEntity* const one : dying) {
        editor.document().accessSelection()->remove(one);
        if (auto* const mesh = dynamic_cast<CN_MeshInterface*>(one))
            mesh->updateMaterialRefCounts(false);
    }
    entity.getParent()->remove(&entity);
    delete &entity;
}

void editSelect(Editor& editor, Words words) {
    std::vector<CN_LevelEntity*> entities;
    for (const std::string& word : words)
        entities.push_back(&editor.entity(word));
    CN_Selection& selection = *editor.document().accessSelection();
    selection.clear();
    for (CN_LevelEntity* const entity : entities)
        selection.add(entity);
}

} // namespace cairn::host
