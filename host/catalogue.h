#pragma once

#include "cairn/fsm/message_info_provider.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace cairn::host {

/// The type of a receiver that is the game and no entity.
inline constexpr unsigned GAME_RECEIVER = 0;

/// The folder that the running program stands in; empty where the system does not tell.
std::filesystem::path programFolder();

/// The file of the message catalogue: `named` unless that is empty, else "messages.txt" of the working directory, else the
/// one that ships with the program, which stands beside it or in its installation's folder of data. Empty where there is
/// none of these. A named file need not exist.
std::string findCatalogue(const std::string& named, const std::filesystem::path& program = programFolder());

/// How many arguments a message takes.
struct ArgumentCount {
    std::size_t least = 0, most = 0; ///< `most` is the greatest number where there is no bound

    bool contains(std::size_t count) const { return least <= count && count <= most; }
};

/// How many arguments the message takes by the formats of its arguments: "[%s]" may be left out, "[%s]..." may be left out
/// or stand there any number of times.
ArgumentCount countArguments(const CN_FSMMessageInfoProvider::MessageInfo& message);

} // namespace cairn::host
