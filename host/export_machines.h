#pragma once

#include "host/export_scene.h"

#include <string>
#include <vector>

namespace cairn::host {

/// A text of the state machines of a level.
struct MachineText {
    std::string text;
    std::size_t machines = 0;       ///< that have anything in it
    std::vector<ExportLoss> losses; ///< messages that should be in it and cannot
};

/// The machines as XML inside one element `FSMs`, of which the choice lets through messages: those that touch the selection
/// and have the filter's text in their line; see `E_FSM::dumpXML`, which escapes nothing.
MachineText makeMachineXml(const CN_LevelEntity& root, const ExportChoice& choice);

/// The lines that the game's script has for the level, those of each entity under a comment with its qualified name. The
/// choice's filter takes no part; its selection must be the document's.
MachineText makeScript(CN_Document& document, const ExportChoice& choice);

} // namespace cairn::host
