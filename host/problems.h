#pragma once

#include "host/level_session.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

enum class Severity { ERROR, WARNING };

/// A kind of problem that a level may have.
struct ProblemKind {
    std::string_view code; ///< a stable word
    Severity severity;
};

/// One problem of one level.
struct Problem {
    const ProblemKind* kind = nullptr; ///< for ever
    std::optional<std::string> entity; ///< qualified name, "::" for the root; none where no entity is concerned
    int polygon = -1;                  ///< index in the entity's mesh, -1 for none
    std::string message;
};

/// All kinds of problems that levels may have, in the order of the documentation.
std::span<const ProblemKind> problemKinds();
/// The kind of that code, or null.
const ProblemKind* findProblemKind(std::string_view code);

/// Everything wrong with a level that was just opened: what its load reported, then what a look at its tree finds. With
/// `checkContent` names are looked up in the content database, and messages in the catalogue, unless it is null. Of a
/// level that did not load the tree is looked at with `force` only.
std::vector<Problem> findProblems(const OpenedLevel& level, bool checkContent,
                                  const CN_FSMMessageInfoProvider* catalogue, bool force);

} // namespace cairn::host
