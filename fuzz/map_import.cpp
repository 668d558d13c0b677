#include "host/map_import.h"

#include "cairn/foundation/exception.h"
#include "fuzz/support/imported_level.h"

// Any bytes are a map, of which a level is made, or are refused with a line. A level that is made is consistent and comes
// back from its save as it was.

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    cairn::fuzz::prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cairn;
    return fuzz::importAndCheck([&](CN_Document& document) {
        const std::string_view text(reinterpret_cast<const char*>(data), size);
        host::importMap(host::readMap(text), host::DEFAULT_MAP_SCALE, document);
    });
}
