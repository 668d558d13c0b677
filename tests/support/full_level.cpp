#include "tests/support/full_level.h"

#include "cairn/animation/mesh_animations.h"
#include "cairn/document/camera.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/fsm.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/lighting/volume_lighting.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/old_materials.h"

#include <string>

namespace cairn::test {

namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

constexpr unsigned long LIGHTMAP = 5;

/// A new entity below `parent`.
template <class Entity> Entity& addBelow(CN_LevelEntity& parent, const CString& name) {
    auto owned = std::make_unique<Entity>();
    Entity& entity = *owned;
    entity.setDocument(parent.getDocument());
    entity.setName(name, false);
    parent.addOwned(std::move(owned), false);
    return entity;
}

void addMaterials(CN_Document& document) {
    F_MemoryFile textures;
    writeTextures(textures, {"wall.tga", "lamp.tga"});
    textures.toRead();
    textures >> document.accessTextures();
    CN_MaterialsCategory* const category = document.accessMaterials().addCategory(&document.accessTextures(), "Walls");
    category->add(0, "wall.tga", nullptr)->setName("wall");
    CN_Material* const lit = category->add(0, "wall.tga", nullptr);
    lit->setName("lit");
    lit->setLightTexture(document.accessTextures().get("lamp.tga"));
}

void addLightmap(CN_Document& document) {
    CN_Lightmap* const lightmap = dynamic_cast<CN_LightmapPool&>(*document.accessLightmaps()).allocateNew(LIGHTMAP);
    lightmap->setBuffer(4, 4);
    lightmap->setPixel(1, 2, I_FColor(10, 20, 30, 255));
}

void furnishRoom(CN_LevelEntityMesh& room) {
    CN_Document& document = *room.getDocument();
    CN_Polygon& floor = room.accessPolygonList()[0];
    CN_Polygon& ceiling = room.accessPolygonList()[1];
    floor.setMaterial(document.accessMaterials().find("Walls", "lit"));
    floor.accessUVSpaces()[1] = floor.accessUVSpaces()[0];
    floor.setLightmap(LIGHTMAP);
    floor.accessLightmapMapping().initialFitLightmap(&floor, true);
    ceiling.setLightmap(LIGHTMAP);
    ceiling.setMaterial(document.accessMaterials().find("Walls", "wall"));

    auto& group = addBelow<CN_LevelEntityPolygonGroup>(room, "Smooth");
    group.setSmooth(true);
    group.addPolygon(&room.accessPolygonList()[3]);
    group.addPolygon(&floor);
    addBelow<CN_LevelEntityPolygonGroup>(room, "Nobody");
    addBelow<CN_LevelEntityRadiosityLight>(room, "Lamp").setRadiosityPolygon(&ceiling);

    struct OneGrid : CN_VolumeLighting {
        OneGrid() {
            const LightingData points[2];
            addGrid({0, 0, 0}, {8, 4, 6}, 2, 1, 1, points);
        }
    };
    room.replaceVolumeLighting(new CN_VolumeLighting(OneGrid()));
}

/// Two keyframes and an animation between them.
void addMotion(CN_LevelEntity& entity) {
    auto& animated = dynamic_cast<CN_AnimationInterface&>(entity);
    dynamic_cast<CN_MeshInterface&>(entity).makeDynamic(true);
    entity.setPosition({1, 2, 3});
    entity.setRotation(Matrix::rotationY(0.5));
    animated.addKeyframe("open");
    CN_MeshAnimation* const move = animated.accessAnimations()->allocate();
    move->reset();
    move->setStartFrame(animated.getDefaultKeyframe());
    move->setEndFrame("open");
    move->setLength(2.5);
    move->updateAllGraphs();
    animated.accessAnimations()->insert("swing", move);
}

CN_LevelEntityTriMesh& addTriangles(CN_LevelEntity& parent, const CString& name) {
    auto& mesh = addBelow<CN_LevelEntityTriMesh>(parent, name);
    for (const Vector& corner : {Vector(0, 0, 0), Vector(0, 1, 0), Vector(1, 0, 0)}) {
        mesh.accessVertices().emplace_back();
        mesh.accessVertices().back().position = corner;
    }
    CN_TMTriangle& triangle = mesh.accessTriangles().emplace_back();
    triangle.setParent(&mesh);
    for (int corner = 0; corner < 3; ++corner)
        triangle.setVertex(corner, corner);
    triangle.setMaterial(parent.getDocument()->accessMaterials().find("Walls", "wall"));
    mesh.calculateBoundingBox();
    return mesh;
}

CN_LevelEntity& add(CN_LevelEntity& parent, int kind, const char* name) {
    std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, parent.getDocument()));
    CN_LevelEntity& entity = *made;
    entity.setName(name, false);
    parent.addOwned(std::move(made), false);
    entity.setPosition({static_cast<double>(kind - 100), 1, 2});
    return entity;
}

void say(CN_LevelEntity& from, CN_LevelEntity& to) {
    E_FSM::Message message;
    message.m_text = toIString("this->FSM_Switch(on);");
    message.m_name = "FSM_Switch";
    message.m_arguments = {"on"};
    message.m_objectArguments = {nullptr};
    message.m_target = &to;
    message.updateTargetName(from.accessFSM());
    from.accessFSM()->createMessageHandler("Startup").m_sendAfter.push_back(message);
}

} // namespace

std::unique_ptr<CN_Document> makeFullLevel() {
    auto document = std::make_unique<ShelfDocument>();
    addMaterials(*document);
    addLightmap(*document);
    CN_LevelEntityMesh* const first = twoRooms(*document);
    furnishRoom(*first);
    pillarRoom(*document);
    CN_LevelEntityMesh* const door = unitFloor(*document);
    door->setName("Door", false);
    addMotion(*door);
    CN_LevelEntityMesh* const gate = tPair(*document);
    gate->setName("Gate", false);
    const CN_TriggerProperties trigger;
    gate->setTriggerProperties(&trigger);
    gate->createFSM();
    CN_LevelEntityTriMesh& statue = addTriangles(*document->accessLevel(), "Statue");
    statue.setLightmapID(LIGHTMAP);
    document->accessLightmaps()->referenceLightmap(LIGHTMAP);
    addMotion(addTriangles(*document->accessLevel(), "Fan"));
    return document;
}

std::unique_ptr<CN_Document> makeEveryKind() {
    auto document = makeFullLevel();
    CN_LevelEntity& root = *document->accessLevel();
    CN_LevelEntity& prefab = add(root, CN_KIND_PREFAB, "Bench");
    prefab.setRotation(Matrix::rotationY(1));
    add(add(prefab, CN_KIND_PREFAB_CONTENT, "Content"), CN_KIND_ITEM, "Cushion");
    CN_LevelEntity& machine = add(root, CN_KIND_FSM, "Machine");
    CN_LevelEntity& trigger = add(machine, CN_KIND_TRIGGER, "Plate");
    for (const int kind : {CN_KIND_WAYPOINT, CN_KIND_JUMPPOINT, CN_KIND_ITEM, CN_KIND_ENEMY, CN_KIND_DYN_POINTLIGHT,
                           CN_KIND_AI_NODE, CN_KIND_FLARE})
        add(trigger, kind, ("Plate" + std::to_string(kind)).c_str());
    add(add(root, CN_KIND_VOL_LIGHTING_BOX, "Box"), CN_KIND_VOL_LIGHTING_BOX, "InnerBox");
    say(machine, trigger);
    say(trigger, machine);
    root.handleParenting(true);
    document->accessSelection()->add(&trigger);
    document->accessSelection()->add(&machine);
    document->accessCNCamera()->setPosition(5, 6, 7);
    return document;
}

} // namespace cairn::test
