#include "host/sound_mesh.h"

#include "cairn/geometry/validate.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "host/text.h"

#include <fmt/format.h>

namespace cairn::host {

SoundMesh::SoundMesh(Editor& editor, CN_Mesh& mesh) : m_editor(editor), m_mesh(mesh) {
    editor.root().handleOwnHierarchy();
    m_faults = findFaults();
    m_meeting = findMeetingExits();
}

void SoundMesh::finish(bool mayOpen) {
    refreshMesh(m_mesh);
    for (const CN_Finding& finding : CN_validateMesh(m_mesh, CN_LEVEL_TOLERANCE))
        if (--m_faults[finding.code] >= 0)
            continue;
        else if (mayOpen && finding.code == std::string_view("mesh-open"))
            m_editor.note(finding.message);
        else
            throw EditRefusal(fmt::format("the mesh would not be sound: {}{}", toShownText(finding.message),
                                          finding.polygon < 0 ? "" : fmt::format(" (polygon {})", finding.polygon)));
    const auto meeting = findMeetingExits();
    for (const CN_Polygon* const exit : m_mesh.getExitList())
        if (const auto before = m_meeting.find(exit); before != m_meeting.end() && !meeting.contains(exit))
            m_editor.note(fmt::format("the exit \"{}\" does not meet its partner any more", before->second));
}

SoundMesh::Faults SoundMesh::findFaults() const {
    Faults faults;
    for (const CN_Finding& finding : CN_validateMesh(m_mesh, CN_LEVEL_TOLERANCE))
        ++faults[finding.code];
    return faults;
}

std::map<const CN_Polygon*, std::string> SoundMesh::findMeetingExits() const {
    std::map<const CN_Polygon*, std::string> meeting;
    for (const CN_Polygon* const exit : m_mesh.getExitList())
        if (compareExits(*exit, *exit->getExitDestination()).matches())
            meeting.emplace(exit, toShownText(toString(exit->getExitName())));
    return meeting;
}

} // namespace cairn::host
