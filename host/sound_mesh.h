#pragma once

#include "cairn/geometry/mesh/mesh.h"
#include "host/editor.h"

#include <map>
#include <string>
#include <utility>

namespace cairn::host {

/// Watches over an edit of a mesh: what was sound before is sound afterwards, or the edit is refused.
class SoundMesh {
  public:
    /// Looks at the mesh before the edit.
    SoundMesh(Editor& editor, CN_Mesh& mesh);

    /// Takes what is wrong with another mesh for what was wrong before: for one that the edit takes in.
    void include(const CN_Mesh& other);
    CN_Mesh& mesh() { return m_mesh; }
    /// Brings what derives of the mesh up to date, looks again, and throws an `EditRefusal` where more of one kind is wrong than
    /// before. Exits that met their partners and do not any more are told in a note, and so is, with `mayOpen`, a mesh that is
    /// open now.
    void finish(bool mayOpen = false);

  private:
    using Faults = std::map<std::string, std::size_t>; ///< how many of a code

    Editor& m_editor;
    CN_Mesh& m_mesh;
    Faults m_faults;                                    ///< before
    std::map<const CN_Polygon*, std::string> m_meeting; ///< before; looked up only
};

} // namespace cairn::host
