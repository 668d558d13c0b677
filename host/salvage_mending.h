#pragma once

#include "cairn/document/document.h"

#include <functional>
#include <string>

namespace cairn {
class CN_LevelEntityPortal;
}

namespace cairn::host {

/// What a mending needs to know of the salvage around it.
struct MendingNeeds {
    bool entitiesLost = false; ///< an exit without a portal may have had one, and a message without target that
    /// Told of a portal that is kept but not as it was, with the reason.
    std::function<void(const CN_LevelEntityPortal&, const std::string&)> tell;
};

/// Binds what names entities and polygons by numbers in a tree that was just built, and puts right what names something that is
/// lost: an exit without its partner becomes a wall, on which its portal stays, an exit without its portal gets a new one, a
/// message to nobody becomes a comment, and no polygon names a lightmap that is not there.
void mendReferences(CN_Document& document, const MendingNeeds& needs);

} // namespace cairn::host
