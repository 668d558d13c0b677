#include "host/entity_lookup.h"

#include "cairn/geometry/mesh/mesh.h"
#include "host/entity_text.h"
#include "host/failure.h"
#include "host/text.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

namespace cairn::host {

namespace {

/// The N of "@N".
std::optional<std::size_t> numberOf(const std::string& word) {
    std::size_t number = 0;
    const char* const end = word.data() + word.size();
    if (word.size() < 2 || word[0] != '@')
        return {};
    const auto [stop, error] = std::from_chars(word.data() + 1, end, number);
    if (stop != end || error != std::errc())
        return {};
    return number;
}

} // namespace

CN_LevelEntity* findEntity(CN_LevelEntity& root, const std::string& word) {
    const std::optional<std::size_t> number = numberOf(word);
    const istring name = toIString(word);
    if (number == 0u || name == "::")
        return &root;
    if (CN_LevelEntity* const found = number ? nullptr : root.mapNameToObject(name, nullptr))
        if (found->getQualifiedName() == name)
            return found;
    std::size_t at = 0; // in a level that was read in part, siblings may share a name
    CN_PreIterator it = root.createIterator();
    for (it.begin(); !it.end(); ++it)
        if (++at == number || (*it)->getQualifiedName() == name)
            return *it;
    return nullptr;
}

CN_Polygon* findPolygon(CN_LevelEntity& root, const std::string& word) {
    const std::size_t mark = word.rfind('#');
    if (mark == std::string::npos)
        return nullptr;
    int index = -1;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data() + mark + 1, end, index);
    if (error != std::errc() || stop != end || index < 0)
        return nullptr;
    auto* const mesh = dynamic_cast<CN_Mesh*>(findEntity(root, word.substr(0, mark)));
    return mesh && index < mesh->getPolygonList().count() ? &mesh->accessPolygonList()[index] : nullptr;
}

CN_LevelEntity& requireEntity(CN_LevelEntity& root, const std::string& word, const std::string& file) {
    CN_LevelEntity* const entity = findEntity(root, word);
    if (!entity)
        throw Failure(ExitCode::NO, file, fmt::format("no entity is named \"{}\"", toShownText(word)));
    return *entity;
}

} // namespace cairn::host
