#include "host/catalogue.h"

#include "host/failure.h"

#include <limits>
#include <system_error>

namespace cairn::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* FILE_NAME = "messages.txt";
/// From the folder of the installed program to that of its data.
constexpr const char* DATA_FROM_PROGRAM = CAIRN_DATA_FROM_PROGRAM;

bool isThere(const fs::path& file) {
    std::error_code ignored; // what cannot be looked at is not there
    return fs::exists(file, ignored);
}

} // namespace

fs::path programFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    requireMemory(error);
    return error ? fs::path() : program.parent_path();
}

std::string findCatalogue(const std::string& named, const fs::path& program) {
    if (!named.empty())
        return named;
    if (isThere(FILE_NAME))
        return FILE_NAME;
    if (!program.empty())
        for (const fs::path& file : {program / FILE_NAME, program / DATA_FROM_PROGRAM / FILE_NAME})
            if (isThere(file))
                return file.lexically_normal().string();
    return "";
}

ArgumentCount countArguments(const CN_FSMMessageInfoProvider::MessageInfo& message) {
    ArgumentCount count;
    bool bounded = true;
    for (const auto& argument : message.arguments) {
        ++count.most;
        if (!argument.format.starts_with('['))
            ++count.least;
        else if (argument.format.ends_with("..."))
            bounded = false;
    }
    if (!bounded)
        count.most = std::numeric_limits<std::size_t>::max();
    return count;
}

} // namespace cairn::host
