#pragma once

#include "cairn/foundation/memory_file.h"
#include "tests/support/old_records.h"

#include <filesystem>
#include <string>
#include <vector>

/// Writers of the records of state machines as older versions wrote them, which no save makes any more.
namespace cairn::test {

/// A message as it shall stand in a file.
struct OldMessage {
    std::string text = {}, name = {}, targetName = {};
    std::vector<std::string> arguments = {};
    bool global = false;
    unsigned int target = 0;                ///< identity, where the version stores it
    std::vector<unsigned int> objects = {}; ///< likewise
};

struct OldHandler {
    std::string name = {};
    std::vector<OldMessage> before = {};
    std::vector<std::pair<std::string, std::vector<OldMessage>>> onState = {};
    std::vector<OldMessage> after = {};
};

struct OldMachine {
    int version = 1;        ///< of the machine: 0 has no chunk and no timers
    int messageVersion = 1; ///< 0 has no chunk and no identities
    std::vector<std::string> states = {};
    std::string defaultState = {};
    std::vector<std::string> events = {};
    std::vector<OldHandler> handlers = {};
    std::vector<std::string> timers = {}; ///< with the flag set and 2.5 for the time
};

void writeOldMachine(F_MemoryFile& file, const OldMachine& machine);

/// A form of which one record by itself is stored in tests/data/records.
struct StoredMachine {
    std::string name; ///< of the file, without its ending
    OldMachine machine;

    std::filesystem::path path() const;
    Bytes bytes() const;
};

/// Every stored form: both versions, and one for each thing of the past that a load brings up to date.
std::vector<StoredMachine> storedMachines();

} // namespace cairn::test
