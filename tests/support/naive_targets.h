#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

/// Paths of messages by the plainest means, for comparing: every step walks the siblings.
namespace cairn::test {

/// Where a path leads, and how far it got.
struct NaiveResolution {
    const CN_LevelEntity* entity = nullptr;
    const CN_LevelEntity* deepest = nullptr;
    bool operator==(const NaiveResolution&) const = default;
};

namespace naive {

inline bool beginsWith(std::string_view text, std::string_view begin) {
    return asciiEqualNoCase(text.substr(0, begin.size()), begin);
}

/// The child that the first step of `rest` names. The place is reached already where a name is the begin of `rest`.
inline const CN_LevelEntity* findChild(const CN_LevelEntity* at, std::string_view rest, NaiveResolution& so) {
    const std::string_view head = rest.substr(0, rest.find("::"));
    for (const CN_LevelEntity* const child : at->getChildren()) {
        const CString name = child->getName();
        if (beginsWith(rest, name.view()))
            so.deepest = at;
        if (asciiEqualNoCase(name.view(), head))
            return child;
    }
    return nullptr;
}

} // namespace naive

inline NaiveResolution naiveMapNameToObject(std::string_view path, const CN_LevelEntity* base) {
    if (asciiEqualNoCase(path, "this"))
        return {base, base};
    const bool fromRoot = !base->getParent() || path.starts_with("::");
    NaiveResolution so;
    so.entity = so.deepest = fromRoot ? base->getDocument()->getLevel() : base;
    while (so.entity && !path.empty()) {
        path.remove_prefix(path.starts_with("::") ? 2 : 0);
        const std::string_view head = path.substr(0, path.find("::"));
        const bool up = asciiEqualNoCase(head, "parent");
        const CN_LevelEntity* const next = up ? so.entity->getParent() : naive::findChild(so.entity, path, so);
        path.remove_prefix(head.size());
        so.entity = next;
        if (up || next)
            so.deepest = next;
    }
    return so;
}

inline std::string naiveQualifiedName(const CN_LevelEntity* entity) {
    return entity->getParent() ? naiveQualifiedName(entity->getParent()) + "::" + entity->getName().str() : "";
}

/// The shortest path from one entity of a level to another.
inline std::string naiveRelativeName(const CN_LevelEntity* from, const CN_LevelEntity* to) {
    if (from->getDocument()->getPlayer() == to)
        return "player";
    if (from == to)
        return "this";
    const auto chainOf = [](const CN_LevelEntity* entity) {
        std::vector<const CN_LevelEntity*> chain;
        for (; entity; entity = entity->getParent())
            chain.push_back(entity);
        return chain;
    };
    std::vector<const CN_LevelEntity*> up = chainOf(from), down = chainOf(to);
    while (!up.empty() && !down.empty() && up.back() == down.back()) {
        up.pop_back();
        down.pop_back();
    }
    std::string path;
    for (std::size_t i = 0; i < up.size(); ++i)
        path += "::parent";
    for (; !down.empty(); down.pop_back())
        path += "::" + down.back()->getName().str();
    return path.substr(2);
}

} // namespace cairn::test
