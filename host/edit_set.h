#pragma once

#include <span>
#include <string>

namespace cairn::host {

class Editor;

/// The command `set`: gives an entity's property a value. See `editCommands`.
void editSet(Editor& editor, std::span<const std::string> words);

/// Help on one command: its words, what it does, and of `set` all properties by kind. Empty where no command has the name.
std::string describeEditCommand(const std::string& name);

} // namespace cairn::host
