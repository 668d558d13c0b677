#pragma once

#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"
#include "host/console.h"
#include "host/level_session.h"

#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

namespace cairn::fuzz {

/// Opens an empty content database, without which items and monsters cannot be made, silences the library's message boxes
/// and turns an end of the process that it asks for into an exception.
inline void prepare() {
    static const host::Console console;
    static const host::LevelSession session(console, "");
    setMessageBoxHandler([](const CString&, unsigned) {}); // the session would keep what they say
}

/// Runs `import` on a new level. One that it refuses, with a text that begins with "line ", is fine; else the level must be
/// consistent, and saving what was loaded from a save must give the same bytes. Gives 0.
template <class Import> int importAndCheck(Import&& import) {
    CN_Document document;
    document.createCairnLevelEntities();
    try {
        import(document);
    } catch (F_Exception* e) {
        F_ExceptionGuard guard(e);
        if (std::string_view(e->getErrorMessage()).substr(0, 5) != "line ")
            std::abort();
        return 0;
    }
    if (!CN_isConsistent(document))
        std::abort();
    F_MemoryFile saved, again;
    CN_LevelFile::write(document, saved);
    CN_Document loaded;
    const auto* bytes = static_cast<const unsigned char*>(saved.getAddress());
    CN_LevelFile::load(loaded, std::span<const unsigned char>(bytes, saved.getSize()));
    CN_LevelFile::write(loaded, again);
    if (saved.getSize() != again.getSize() || std::memcmp(saved.getAddress(), again.getAddress(), saved.getSize()) != 0)
        std::abort();
    return 0;
}

} // namespace cairn::fuzz
