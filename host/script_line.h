#pragma once

#include "cairn/fsm/fsm.h"
#include "cairn/fsm/message_info_provider.h"

#include <string>

namespace cairn::host {

/// Makes a message of the line that a user wrote for the machine, whose entity must stand in a level:
///
///     # any text                          a comment
///     NAME(ARGUMENT, ...);                to the game
///     TARGET->NAME(ARGUMENT, ...);        to an entity; TARGET is a path, "player", "this", or "activator", whom the game knows
///
/// Blanks around the parts, the parentheses where there are no arguments, and ";" may be left out. An argument that begins
/// with "::" must name an entity; one in quotes may hold any character but a quote. Throws an `EditRefusal` for a line that
/// is none of these, and for a target or argument that does not name an entity.
///
/// A name of a state, event, timer, animation or exit loses its quotes. The catalogue, which may be null, tells which
/// targets are no entities but receivers of the game: a line to one goes to the game.
E_FSM::Message readScriptLine(const std::string& line, E_FSM& machine, const CN_FSMMessageInfoProvider* catalogue);

} // namespace cairn::host
