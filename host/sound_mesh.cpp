#include "host/sound_mesh.h"

#include "cairn/document/change_scope.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/strings.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "host/text.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>
#include <vector>

namespace cairn::host {

namespace {

/// What is wrong with a mesh, its open places one by one, and the lights and portals below it that stand on no polygon of it.
std::vector<CN_Finding> findFaultsOf(const CN_Mesh& mesh) {
    std::vector<CN_Finding> faults;
    for (const CN_Finding& finding : CN_validateMesh(mesh, CN_LEVEL_TOLERANCE)) {
        const bool isOpen = finding.code == std::string_view("mesh-open");
        faults.insert(faults.end(), isOpen ? CN_findOpenEdges(mesh, CN_LEVEL_TOLERANCE).size() : 1, finding);
    }
    for (const CN_LevelEntity* const child : mesh.getChildren())
        if (const auto* const node = dynamic_cast<const CN_VirtualNode*>(child); node && !node->isStorable())
            faults.push_back(CN_Finding{"lost-node", child, -1,
                                        "\"" + toString(child->getName()) + "\" would stand on no polygon", false});
    return faults;
}

} // namespace

SoundMesh::SoundMesh(Editor& editor, CN_Mesh& mesh) : m_editor(editor), m_mesh(mesh) {
    editor.root().handleOwnHierarchy();
    include(mesh);
    m_meeting = findMeetingExits(mesh);
}

void SoundMesh::include(const CN_Mesh& other) {
    for (const CN_Finding& fault : findFaultsOf(other))
        ++m_faults[fault.code];
}

void SoundMesh::finish(bool mayOpen) {
    const CN_ChangeScope change(m_mesh.getDocument()); // one that is refused here is made already
    refreshMesh(m_mesh);
    bool isOpenNow = false;
    for (const CN_Finding& fault : findFaultsOf(m_mesh)) {
        std::size_t& before = m_faults[fault.code];
        if (before > 0) {
            --before;
        } else if (mayOpen && fault.code == std::string_view("mesh-open")) {
            if (!std::exchange(isOpenNow, true))
                m_editor.note(fault.message);
        } else {
            throw EditRefusal(fmt::format("the mesh would not be sound: {}{}", toShownText(fault.message),
                                          fault.polygon < 0 ? "" : fmt::format(" (polygon {})", fault.polygon)));
        }
    }
    const auto meeting = findMeetingExits(m_mesh);
    for (const CN_Polygon* const exit : m_mesh.getExitList())
        if (const auto before = m_meeting.find(exit); before != m_meeting.end() && !meeting.contains(exit))
            m_editor.note(fmt::format("the exit \"{}\" does not meet its partner any more", before->second));
}

} // namespace cairn::host
