#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

class CN_Document;
class F_MemoryFile;

/// What the own records of several kinds have in common.

/// Reads the name of a use animation and gives what the content database makes of it; without one the name itself.
istring CN_readUseAnimName(F_MemoryFile& file);

/// Enters the AI character group of a character that was read, with no enemy in it, unless the document knows the group.
/// Nothing happens for an empty name and without a document.
void CN_enterCharacterGroup(CN_Document* document, const istring& group);

} // namespace cairn
