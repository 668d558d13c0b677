#include "cairn/document/change_scope.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/name_validator.h"
#include "cairn/entities/child_names.h"
#include "cairn/entities/load_scope.h"
#include "cairn/foundation/exception.h"
#include "cairn/fsm/change_manager.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <utility>

namespace cairn {

namespace {

/// Names that paths use for places in the tree.
bool isReservedName(std::string_view name) {
    return asciiEqualNoCase(name, "parent") || asciiEqualNoCase(name, "this");
}

/// Digits that a number gets which the name did not have.
constexpr int DEFAULT_DIGITS = 2;

} // namespace

CString CN_LevelEntity::getName() const { return m_name; }

bool CN_LevelEntity::setName(const CString& wanted, bool autoFix) {
    if (wanted.IsEmpty() && !autoFix)
        return false;
    const CString name = wanted.IsEmpty() ? getDefaultName() : wanted;
    CN_LevelEntity* sibling = m_parent ? m_parent->hasChildNamed(name) : nullptr;
    if (sibling == this)
        return true;
    if (!sibling) {
        if (isReservedName(name.view()))
            return false;
        storeName(name);
    } else if (autoFix) {
        CString next = getNextUniqueName(name);
        // White space around a name makes it another, and yet the numbers in use are counted without: a name with some
        // may come back as it is.
        if (const CN_LevelEntity* holder = m_parent->hasChildNamed(next); holder && holder != this)
            next = getNextUniqueName(CString(asciiTrimmed(name.view())));
        storeName(next);
    } else {
        const std::string fault = fmt::format("Already has a child named :\"{}\"!", name.view());
        CN_NameValidator::instance()->setLastNameFaultDescription(fault.c_str());
        return false;
    }
    const CN_ChangeScope change(m_listed ? m_document : nullptr); // many names follow the one
    generateQualifiedName();
    // While a tree is read only a hierarchy manager can look at what stands below an entity that is being attached:
    // without one the names there are made once, at the end of the load.
    const bool adopting = LoadScope::isAdopting(this);
    if (!adopting || CN_LevelFileLibrary::getHierarchyManagerInterface()) {
        std::size_t bytesLeft = adopting ? CN_MAX_QUALIFIED_NAME_BYTES : std::numeric_limits<std::size_t>::max();
        generateQualifiedNamesBelow(bytesLeft);
    }
    CN_FSMChangeManager::setNameHasChanged();
    return true;
}

/// What an entity with no name gets: its kind's name without blanks and a number.
CString CN_LevelEntity::getDefaultName() const {
    static unsigned portals = 0; // portals count through the whole process
    string name = CN_EntityFactory::instance()->getEntityTypeName(m_entityId);
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return m_entityId == CN_KIND_PORTAL ? fmt::format("{}_{}", name, portals++) : name + "_00";
}

/// Every change of a name goes through here, so that the parent's look-up stays right.
void CN_LevelEntity::storeName(const CString& name) {
    CString copy = name; // what may fail comes first
    if (m_listed)
        m_parent->tellChildNames([&](CN_ChildNames& names) { names.rename(this, name.view()); });
    m_name = std::move(copy);
}

void CN_LevelEntity::generateQualifiedName() {
    if (!m_parent) {
        m_qualifiedName.clear();
        return;
    }
    const istring& above = m_parent->m_qualifiedName;
    m_qualifiedName.reserve(above.size() + 2 + m_name.view().size()); // all that may fail
    m_qualifiedName.assign(above).append("::").append(m_name.view().data(), m_name.view().size());
}

/// Renews the qualified names of all descendants and takes their bytes from `bytesLeft`; throws ahead of the one that
/// would take more than is left.
void CN_LevelEntity::generateQualifiedNamesBelow(std::size_t& bytesLeft) {
    CN_PreIterator it(m_children);
    for (it.begin(); !it.end(); ++it) {
        CN_LevelEntity* entity = *it;
        if (!entity)
            continue;
        const std::size_t bytes = entity->m_parent->m_qualifiedName.size() + 2 + entity->m_name.view().size();
        if (bytes > bytesLeft)
            throw new F_Exception(fmt::format("The qualified names of the entities take more than {} bytes at the "
                                              "children of \"{}\"",
                                              CN_MAX_QUALIFIED_NAME_BYTES, view(entity->m_parent->m_qualifiedName)));
        bytesLeft -= bytes;
        entity->generateQualifiedName();
    }
}

/// Names what stands below an entity that was read with all its children. A child with a reserved name has none, as
/// `setName` refuses to name it.
void CN_LevelEntity::generateLoadedNames() {
    std::size_t bytesLeft = CN_MAX_QUALIFIED_NAME_BYTES;
    for (CN_LevelEntity* child : m_children) {
        if (!isReservedName(child->m_name.view()))
            child->generateQualifiedName();
        bytesLeft -= std::min(bytesLeft, child->m_qualifiedName.size());
        child->generateQualifiedNamesBelow(bytesLeft);
    }
}

/// The same for what a load that failed leaves behind. Its own failure, the names' limit or memory, must not hide that of
/// the load.
void CN_LevelEntity::generateNamesOfFailedLoad() {
    try {
        generateLoadedNames();
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
    } catch (const std::bad_alloc&) {
    }
}

CN_LevelEntity* CN_LevelEntity::hasChildNamed(const CString& name) {
    if (const CN_ChildNames* names = accessChildNames())
        return names->find(name.view());
    for (CN_LevelEntity* child : m_children)
        if (child && asciiEqualNoCase(child->m_name.view(), name.view()))
            return child;
    return nullptr;
}

CString CN_LevelEntity::getNextUniqueName(const CString& name) {
    if (!m_parent)
        return name;
    std::string base, number;
    int digits = 0;
    splitName(name.view(), base, number, digits);
    const CN_LevelEntity* own = m_listed ? this : nullptr;
    CN_ChildNames* names = m_parent->accessChildNames();
    number = names ? names->firstFreeNumber(base, number, own)
                   : CN_ChildNames::firstFreeNumberByWalk(m_parent->m_children, base, number, own);
    if (digits == 0 && number.empty())
        return CString(base);
    const auto width = static_cast<std::size_t>(digits == 0 ? DEFAULT_DIGITS : digits);
    return CString(base + std::string(width - std::min(width, number.size()), '0') + number);
}

void CN_LevelEntity::splitName(std::string_view full, std::string& base, std::string& number, int& digits) {
    std::size_t baseSize = full.size();
    while (baseSize > 0 && asciiIsDigit(full[baseSize - 1]))
        --baseSize;
    digits = static_cast<int>(full.size() - baseSize);
    base = full.substr(0, baseSize);
    const std::size_t first = full.find_first_not_of('0', baseSize);
    number = first == std::string_view::npos ? std::string_view() : full.substr(first);
}

/// The look-up of the children's names, made here where they have become many; null where they are few.
CN_ChildNames* CN_LevelEntity::accessChildNames() {
    if (!m_childNames && m_children.size() > CN_ChildNames::MIN_CHILDREN) {
        try {
            m_childNames = std::make_unique<CN_ChildNames>(m_children);
        } catch (const std::bad_alloc&) {
            return nullptr; // a walk does as well
        }
    }
    return m_childNames.get();
}

void CN_LevelEntity::tellChildNames(const std::function<void(CN_ChildNames&)>& change) {
    if (!m_childNames)
        return;
    try {
        change(*m_childNames);
    } catch (const std::bad_alloc&) {
        m_childNames.reset(); // half a change is worse than none: the next question builds it anew
    }
}

} // namespace cairn
