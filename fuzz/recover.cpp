#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"
#include "host/salvage.h"

#include <cstdint>
#include <cstdlib>

// Of any bytes something is saved or nothing is: a level that is saved is consistent, saves and loads, and no exception comes
// out. With the first byte the checksums of chunks count or do not.

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    using namespace cairn;
    setMessageBoxHandler([](const CString&, unsigned) {});
    setProcessEndHandler([](int) { throw new F_Exception("the library ended the process"); });
    // An empty content database, so that every kind is made and every name passes.
    static CString inMemory;
    CN_LevelFileLibrary::setSharedDBPathCallback([]() -> CString& { return inMemory; });
    CN_SharedDB::createInstance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cairn;
    if (size == 0)
        return 0;
    F_MemoryFile::setVerifying(data[0] % 2 == 1);
    const host::Salvage salvage =
        host::salvageLevel({data + 1, size - 1}, [] { return std::make_unique<CN_Document>(); });
    if (!CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.empty())
        std::abort();
    if (!salvage.document)
        return 0;
    if (!CN_isConsistent(*salvage.document))
        std::abort();
    F_MemoryFile saved;
    salvage.document->save(saved);
    saved.toRead();
    CN_Document again;
    again.load(saved);
    return 0;
}
