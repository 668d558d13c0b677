#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any bytes are a level or an exception; a level is consistent and comes back from its save as it was. Seeds are the stored record forms.

namespace {

using namespace cairn;

void saveInto(CN_Document& document, F_MemoryFile& file) {
    document.save(file);
    if (!CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.empty())
        std::abort();
}

void loadAndSaveTwice(const std::uint8_t* data, std::size_t size) {
    CN_Document document;
    try {
        CN_LevelFile::load(document, {data, size});
    } catch (CN_LevelFile_Exception_Seal* e) { // the level itself is whole
        e->Delete();
    } catch (F_Exception* e) {
        e->Delete();
        return;
    }
    if (!CN_isConsistent(document))
        std::abort();
    F_MemoryFile saved, savedAgain;
    saveInto(document, saved);
    CN_Document again;
    F_MemoryFile reading(saved.getAddress(), saved.getSize(), false);
    again.load(reading);
    saveInto(again, savedAgain);
    if (saved.getSize() != savedAgain.getSize() ||
        std::memcmp(saved.getAddress(), savedAgain.getAddress(), saved.getSize()) != 0)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    setProcessEndHandler([](int) { throw new F_Exception("the library ended the process"); });
    // An empty content database, so that every kind is made and every name passes.
    static CString inMemory;
    CN_LevelFileLibrary::setSharedDBPathCallback([]() -> CString& { return inMemory; });
    CN_SharedDB::createInstance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    loadAndSaveTwice(data, size);
    return 0;
}
