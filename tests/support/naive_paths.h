#pragma once

#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"

namespace cairn::test {

/// What `CN_HierarchyUtils::mapNameToObject` gives, by walks over the children and without their look-up.
inline const CN_LevelEntity* naiveMapNameToObject(const istring& name, const CN_LevelEntity*& deepest,
                                                  const CN_LevelEntity* base) {
    deepest = base;
    if (name == "this")
        return base;
    const bool relative = base->getParent() && name.substr(0, 2) != "::";
    const CN_LevelEntity* current = relative ? base : CN_HierarchyUtils::getLevel(base);
    deepest = current;
    istring rest = name;
    while (current && !rest.empty()) {
        if (rest.substr(0, 2) == "::")
            rest.erase(0, 2);
        const istring head = rest.substr(0, rest.find("::"));
        const CN_LevelEntity* next = nullptr;
        if (head == "parent")
            next = current->getParent();
        else {
            for (const CN_LevelEntity* const child : current->getChildren()) {
                const istring childName = toIString(child->getName());
                if (rest.starts_with(childName))
                    deepest = current;
                if (childName == head) {
                    next = child;
                    break;
                }
            }
            if (!next)
                return nullptr;
        }
        rest.erase(0, head.size());
        current = deepest = next;
    }
    return current;
}

} // namespace cairn::test
