#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/selection.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

// Any bytes are a level or an exception; a level is consistent, comes back from its save as it was, and stays as it is whatever is
// copied and selected of it. Seeds are the stored record forms.

namespace {

using namespace cairn;

void saveInto(CN_Document& document, F_MemoryFile& file) {
    document.save(file);
    if (!CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.empty())
        std::abort();
}

/// Copies each of the first entities, which leaves the level as it is, and selects all for a moment.
void copyAndSelect(CN_Document& document) {
    constexpr int MOST = 64;
    int count = 0;
    CN_PreIterator it = document.accessLevel()->createIterator();
    for (it.begin(); !it.end() && count < MOST; ++it, ++count) {
        const std::unique_ptr<CN_LevelEntity> copy((*it)->clone());
        if (copy->getEntityId() != (*it)->getEntityId() || copy->getParent())
            std::abort();
        F_MemoryFile record;
        if (!dynamic_cast<const CN_VirtualNode*>(copy.get())) // which is saved by its mesh's polygons
            copy->saveEntitySpecificData(record);
    }
    const CN_Selection before(*document.getSelection());
    CN_Selection& selection = *document.accessSelection();
    selection.clear();
    selection.addSubTrees(true, document.accessLevel());
    CN_Selection::List children;
    selection.getListOfNonSelectedChildren(children);
    selection.areAllSelectedParantedToSelectedRoom();
    selection.addSubTrees(false, document.accessLevel());
    if (selection.getCount() != 0)
        std::abort();
    selection = before;
}

void requireEqual(const F_MemoryFile& a, const F_MemoryFile& b) {
    if (a.getSize() != b.getSize() || std::memcmp(a.getAddress(), b.getAddress(), a.getSize()) != 0)
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
    F_MemoryFile saved, savedCopied, savedAgain;
    saveInto(document, saved);
    copyAndSelect(document);
    saveInto(document, savedCopied);
    requireEqual(saved, savedCopied);
    CN_Document again;
    F_MemoryFile reading(saved.getAddress(), saved.getSize(), false);
    again.load(reading);
    saveInto(again, savedAgain);
    requireEqual(saved, savedAgain);
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
