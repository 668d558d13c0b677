#include "cairn/content/shared_db.h"
#include "cairn/content/shared_db_writer.h"
#include "cairn/foundation/exception.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// Any file is a content database or an exception; what is read of one stays when a name is added to it. A seed is a database
// with a name of each kind.

namespace {

using namespace cairn;

/// Where the inputs are put, each in place of the one before.
std::string placeOfInputs() {
    return (std::filesystem::temp_directory_path() / ("cairn_fuzz_" + std::to_string(::getpid()) + ".db")).string();
}

bool read(const std::string& path, std::vector<string>& names) {
    try {
        const Y_SharedDB content(path, true);
        for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
            for (const string& name : content.getNames(info.kind))
                names.push_back(name);
    } catch (F_Exception* e) {
        e->Delete();
        return false;
    }
    return true;
}

/// False where the database takes no more: another program's tables may refuse a row.
bool add(const std::string& path, const string& name) {
    try {
        Y_SharedDBWriter writer(path);
        writer.add(Y_SharedDBKind::FLARE, name);
        writer.commit();
    } catch (F_Exception* e) {
        e->Delete();
        return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = placeOfInputs();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    std::vector<string> before, after;
    const bool isRead = read(path, before);
    const bool isAdded = add(path, "a name that is new");
    // The writer looks at the head alone: it may write to what a reader refuses, but never ends what could be read.
    if (isRead && (!read(path, after) || after.size() != before.size() + (isAdded ? 1 : 0)))
        std::abort();
    std::filesystem::remove(path);
    return 0;
}
