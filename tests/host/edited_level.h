#pragma once

#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/geometry/validate.h"
#include "host/editor.h"
#include "host/level_session.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace cairn::test {

/// A fresh level that edit commands change in memory.
class EditedLevel : public testing::Test {
  protected:
    EditedLevel() { m_document->createCairnLevelEntities(); }

    /// Runs commands, a line each, up to the first that is refused; gives why it is, else the notes and then what is told.
    std::string run(const std::string& script) {
        host::Editor editor(*m_document);
        try {
            for (const host::EditLine& line : host::readEditScript(script))
                editor.run(line.words);
            editor.finish();
        } catch (const host::EditRefusal& refusal) {
            return refusal.what();
        }
        std::string said;
        for (const auto& texts : {editor.takeNotes(), editor.takeTold()})
            for (const std::string& text : texts)
                said += text;
        return said;
    }
    CN_LevelEntity* find(const std::string& path) {
        return m_document->accessLevel()->mapNameToObject(toIString(path), nullptr);
    }
    CN_LevelEntityMesh& mesh(const char* path) { return dynamic_cast<CN_LevelEntityMesh&>(*find(path)); }
    CN_Polygon& face(const char* path, int index) { return mesh(path).accessPolygonList()[index]; }
    /// "code entity#polygon" of everything that is wrong with the level.
    std::vector<std::string> faults() {
        std::vector<std::string> found;
        for (const CN_Finding& finding : CN_validateDocument(*m_document, CN_LEVEL_TOLERANCE))
            found.push_back(fmt::format("{} {}#{}", finding.code, finding.entity->getName().view(), finding.polygon));
        return found;
    }

    host::Console m_console;
    host::LevelSession m_session{m_console, ""};
    std::unique_ptr<CN_Document> m_document = m_session.createDocument();
};

} // namespace cairn::test
