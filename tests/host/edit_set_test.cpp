#include "cairn/document/entity_factory.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/vol_lighting_box.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/edit_set.h"
#include "host/entity_properties.h"
#include "host/entity_text.h"
#include "tests/host/edited_level.h"
#include "tests/host/program_run.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <set>

using namespace cairn;
using namespace cairn::host;

namespace {

/// A level with an entity of each kind.
class EditSet : public test::EditedLevel {
  protected:
    EditSet() {
        EXPECT_EQ(run("box :: Hall 0 0 0 4 4 4\nbox :: Yard 4 0 0 4 4 4\nexit ::Hall#4 ::Yard#2 Door\n"
                      "smooth ::Hall Round ::Hall#0 ::Hall#1\nadd mesh :: Lift\nadd triangle_mesh :: Rock\n"
                      "add prefab :: Set"),
                  "");
        for (const char* const mesh : {"::Lift", "::Rock"})
            EXPECT_EQ(run(fmt::format("dynamic {0} on\nplace {0} 1 2 3\nkeyframe {0} Other", mesh)), "");
        for (int id = CN_KIND_FSM; id <= CN_KIND_VOL_LIGHTING_BOX; ++id)
            if (id <= CN_KIND_DYN_POINTLIGHT || id >= CN_KIND_AI_NODE)
                add(id, *m_document->accessLevel());
        auto& light = static_cast<CN_LevelEntityRadiosityLight&>(add(CN_KIND_RADIOSITY_LIGHT, at("::Hall")));
        light.setRadiosityPolygon(&dynamic_cast<CN_Mesh&>(at("::Hall")).accessPolygonList()[1]);
        static_cast<CN_LevelEntityPrefab&>(at("::Set")).createPrefabContent();
    }

    CN_LevelEntity& add(int kind, CN_LevelEntity& parent) {
        std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, m_document.get()));
        CN_LevelEntity& entity = *made;
        entity.setName(CString(fmt::format("E{}", kind)), false);
        parent.addOwned(std::move(made), false);
        return entity;
    }
    CN_LevelEntity& at(const std::string& path) { return *find(path); }
    std::vector<CN_LevelEntity*> entities(CN_Document& document) {
        std::vector<CN_LevelEntity*> all{document.accessLevel()};
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            all.push_back(*it);
        return all;
    }
    std::string bytes() {
        F_MemoryFile file;
        m_document->save(file);
        return {static_cast<const char*>(file.getAddress()), file.getSize()};
    }
    std::unique_ptr<CN_Document> reload() {
        F_MemoryFile file;
        m_document->save(file);
        file.toRead();
        auto document = m_session.createDocument();
        document->load(file);
        return document;
    }
};

/// A word for a value other than the one it has.
std::string otherWord(const EntityProperty& property, const PropertyValue& value) {
    switch (property.type) {
    case PropertyType::SWITCH:
        return std::get<bool>(value) ? "off" : "ON";
    case PropertyType::WHOLE:
        return std::to_string(std::get<int>(value) + 1);
    case PropertyType::NUMBER:
        return fmt::format("{}", std::get<double>(value) / 2 + 0.375);
    case PropertyType::TEXT:
        return "Other";
    case PropertyType::BYTE_COLOR:
    case PropertyType::COLOR:
        return "10,20,30";
    case PropertyType::VECTOR:
        return "1,2.5,3";
    }
    return "";
}

} // namespace

TEST_F(EditSet, EveryPropertyOfEveryKindIsKeptByAFile) {
    // Of the meshes Lift can have all: rooms always collide.
    std::set<int> kinds;
    for (CN_LevelEntity* const entity : entities(*m_document)) {
        const int kind = entity->getEntityId();
        if (!kinds.insert(kind).second && plainName(*entity) != "Lift")
            continue;
        for (const EntityProperty& property : entityProperties()) {
            if (entity->getParent() == &at("::Set")) // a prefab's content, which scripts do not change
                continue;
            if (!property.isOf(kind) || (kind == CN_KIND_MESH && plainName(*entity) != "Lift"))
                continue;
            const PropertyValue before = property.get(*entity);
            const std::string words =
                fmt::format("set \"{}\" {} {}", qualifiedName(*entity), property.name, otherWord(property, before));
            ASSERT_EQ(run(words), "") << words;
            EXPECT_NE(property.get(*entity), before) << words;
        }
    }
    EXPECT_EQ(kinds.size(), 19u);
    const std::unique_ptr<CN_Document> copy = reload();
    const std::vector<CN_LevelEntity*> ours = entities(*m_document), theirs = entities(*copy);
    ASSERT_EQ(ours.size(), theirs.size());
    for (std::size_t i = 0; i < ours.size(); ++i)
        for (const EntityProperty& property : entityProperties())
            if (property.isOf(ours[i]->getEntityId())) {
                EXPECT_EQ(property.get(*ours[i]), property.get(*theirs[i]))
                    << qualifiedName(*ours[i]) << ' ' << property.name;
            }
}

TEST_F(EditSet, WhatHangsOnAValueFollows) {
    ASSERT_EQ(
        run("set ::E110 group Guards\nset ::E120 size 2,4,6\nset ::Hall trigger on\nset ::Lift keyframe Keyframe_0\n"
            "set ::E110 radius 2\nset ::E111 color Yellow\nset ::E111 falloff 1e30"),
        "");
    EXPECT_EQ(m_document->getAICharacterGroups().at("Guards"), 1);
    EXPECT_EQ(m_document->getAICharacterGroups().at(""), 0);
    EXPECT_EQ(at("::E120").getBoundingMax(), CN_LevelEntity::Vector(1, 2, 3));
    EXPECT_TRUE(at("::Hall").getFSM()->getMessageHandler("T_Activate"));
    EXPECT_EQ(at("::Lift").getPosition(), CN_LevelEntity::Vector());
    EXPECT_EQ(at("::E110").getBoundingMax(), CN_LevelEntity::Vector(2, 2, 2));
    auto& hall = dynamic_cast<CN_Mesh&>(at("::Hall"));
    hall.clearGeometryDirty();
    at("::E107").setObjectDirty(false);
    ASSERT_EQ(run("set ::Hall::Round smooth off\nset ::E107 excluded on"), "");
    EXPECT_TRUE(hall.isGeometryDirty());
    EXPECT_TRUE(at("::E107").isObjectDirty());
}

TEST_F(EditSet, RefusesWithAReasonAndChangesNothing) {
    ASSERT_EQ(run("set ::Hall::E113 falloff-angle 0\nset ::Set editable off"), "");
    const std::string before = bytes();
    const struct {
        const char *command, *reason;
    } cases[] = {
        {"::E107 colour 1", "\"colour\" is no property of \"::E107\" (Waypoint), which has visible, excluded, "
                            "export-regrouping, gameplay-critical, reserved"},
        {"::player visible off",
         "\"visible\" is no property of \"::player\" (CN_LevelEntityPlayer), which has excluded, "
         "export-regrouping, gameplay-critical, reserved"},
        {"::E107 excluded maybe", "\"excluded\" takes on|off, not \"maybe\""},
        {"::E111 radius -1", "\"radius\" takes a number from 0, not \"-1\""},
        {"::E111 radius nan", "\"nan\" is no number"},
        {"::E111 intensity 1e39", "\"intensity\" takes a number, not \"1e39\""},
        {"::E111 color 1,2", "\"color\" takes R,G,B from 0 (255 is full) or a colour's name, not \"1,2\""},
        {"::E111 color 1,2,3,4", "\"color\" takes R,G,B from 0 (255 is full) or a colour's name, not \"1,2,3,4\""},
        {"::Hall::E113 color 1,2,256", "\"color\" takes R,G,B from 0 to 255 or a colour's name, not \"1,2,256\""},
        {"::Hall::E113 color 1,2,2.5", "\"color\" takes R,G,B from 0 to 255 or a colour's name, not \"1,2,2.5\""},
        {"::Hall::E113 hotspot-angle 181", "\"hotspot-angle\" takes a number from 0 to 180, not \"181\""},
        {"::Hall::E113 hotspot-angle 1e-60", "one of the angles must be above 0"},
        {"::E120 size 1,2,inf", "\"size\" takes X,Y,Z from 0, not \"1,2,inf\""},
        {"::E120 resolution 0", "\"resolution\" takes a whole number from 1, not \"0\""},
        {"::E120 resolution 1.5", "\"resolution\" takes a whole number from 1, not \"1.5\""},
        {"::E109 content \"a\\x00b\"", "\"content\" takes text, not \"a\\x00b\""},
        {"::Hall collide-b off", "\"::Hall\" has exits: it always collides"},
        {"::Hall physical-material Wood", "\"::Hall\" is not dynamic"},
        {"::Hall keyframe Other", "\"::Hall\" is not dynamic"},
        {"::Lift default-keyframe other", "\"::Lift\" has no keyframe \"other\""},
        {"::Lift use-trigger on", "\"::Lift\" is no trigger; the property trigger makes it one"},
        {"::Set::prefab visible off", "\"::Set::prefab\" belongs to its prefab"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(fmt::format("set {}", c.command)), c.reason) << c.command;
    EXPECT_EQ(bytes(), before);
}

using EditSetProgram = test::ProgramTest;

TEST_F(EditSetProgram, HelpOnACommandTellsOfItAlone) {
    const test::ProgramRun set = run({"edit", "--help", "set"});
    EXPECT_EQ(set.code, 0);
    EXPECT_EQ(set.output.find("set ENTITY PROPERTY VALUE\n"), 0u);
    for (const EntityProperty& property : entityProperties())
        EXPECT_NE(set.output.find(fmt::format("\n  {} ", property.name)), std::string::npos) << property.name;
    EXPECT_EQ(run({"edit", "--help", "fsm-state"}).output,
              "fsm-state ENTITY NAME\n    adds a state; the first one is the default\n");
    const std::string all = run({"edit", "--help"}).output;
    EXPECT_NE(all.find("fsm-state ENTITY NAME"), std::string::npos);
    EXPECT_EQ(run({"edit", "--help", "a.cairn"}).output, all);
}
