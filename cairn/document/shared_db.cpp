#include "cairn/document/shared_db.h"

#include "cairn/document/level_file_library.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"
#include "cairn/platform/handlers.h"

#include <new>
#include <utility>

namespace cairn {

namespace {

/// How the reference names of use animations begin, in any case.
constexpr std::string_view USE_ANIMATION_PREFIX = "use_";
/// The use animation that every skin has.
constexpr const char* DEFAULT_USE_ANIMATION = "Default";

template <class Container> void addNames(std::set<istring>& names, const Container* items) {
    for (int i = 0; i < items->getCount(); ++i)
        names.insert(toIString(view(items->getItem(i)->getName())));
}

CString failureOf(const CString& path) { return CString("Unable to create shared database from location ") + path; }

} // namespace

CN_SharedDB* CN_SharedDB::m_pSharedDatabase = nullptr;

CN_SharedDB* CN_SharedDB::instance() { return m_pSharedDatabase; }

CN_SharedDB* CN_SharedDB::createInstance() {
    // A copy: the host's string may change while the database is made.
    const CString path = CN_LevelFileLibrary::accessSharedDBPath();
    deleteInstance();
    File->setArchiveHandling(0);
    try {
        if (!CN_LevelFileLibrary::hasSharedDBPathCallback())
            throw new F_Exception("No path callback is set");
        m_pSharedDatabase = new CN_SharedDB(toString(path), true);
        m_pSharedDatabase->fillItemNameSets();
    } catch (F_MemoryException_Allocation*) {
        deleteInstance(); // one that lacks names would call good ones unknown
        throw;
    } catch (const std::bad_alloc&) {
        deleteInstance();
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        AfxMessageBox(failureOf(path) + "\n\nDetails:\n" + CString(e->getErrorMessage()));
    } catch (CException* e) {
        const F_ExceptionGuard guard(e);
        AfxMessageBox(failureOf(path));
    } catch (...) {
        AfxMessageBox(failureOf(path));
    }
    return m_pSharedDatabase;
}

void CN_SharedDB::deleteInstance() { delete std::exchange(m_pSharedDatabase, nullptr); }

CN_SharedDB::CN_SharedDB(const string& path, bool verify) : Y_SharedDB(path, verify) {}

void CN_SharedDB::getCheckedSharedDBName(int kind, const string& name, string& out) {
    switch (kind) {
    case 100:
        return check(m_physicalMaterials, m_physicalMaterialRemaps, name, out);
    case 109:
        return check(m_levelItems, m_itemRemaps, name, out);
    case 110:
        return check(m_skins, m_skinRemaps, name, out);
    case 119:
        return check(m_flares, m_flareRemaps, name, out);
    default:
        out = name;
    }
}

void CN_SharedDB::getCheckedUseAnimName(const string& name, string& out) {
    check(m_useAnimations, m_useAnimationRemaps, name, out);
}

void CN_SharedDB::getDefaultPhysicalMaterial(string& out) const {
    const Y_SharedDBPhysicalMaterial* const first = getPhysicalMaterialContainer()->getItem(0);
    out = first ? first->getName() : string();
}

void CN_SharedDB::check(const Names& names, RemapMap& remaps, const string& name, string& out) {
    const string asked = name; // `out` may be the same object
    const istring key = toIString(view(asked));
    out = asked;
    if (names.contains(key))
        return;
    const auto known = remaps.find(key);
    if (known != remaps.end()) {
        out = known->second;
        return;
    }
    if (!m_remapNameCallback)
        return;

    std::vector<string, F_Allocator<string>> candidates;
    candidates.reserve(names.size());
    for (const istring& candidate : names)
        candidates.push_back(toString(candidate));
    m_remapNameCallback(asked, out, candidates);
    remaps.insert_or_assign(key, out);
}

void CN_SharedDB::fillItemNameSets() {
    addNames(m_cameraPaths, getCameraPathContainer());
    addNames(m_storyPages, getStoryPageContainer());
    addNames(m_levels, getLevelContainer());
    addNames(m_messageBatches, getMessageBatchContainer());
    addNames(m_music, getMusicContainer());
    addNames(m_particles, getParticleContainer());
    addNames(m_projectiles, getProjectileContainer());
    addNames(m_weapons, getWeaponContainer());
    if (getSkinContainer())
        addNames(m_skins, getSkinContainer());
    addNames(m_soundCategories, getSoundCategoryContainer());
    addNames(m_soundEnvironments, getSoundEnvironmentContainer());
    addNames(m_levelItems, getLevelItemContainer());
    addNames(m_storyEvents, getStoryEventContainer());
    addNames(m_flares, getFlareContainer());
    addNames(m_physicalMaterials, getPhysicalMaterialContainer());
    fillBones();
    fillUseAnimations();
}

void CN_SharedDB::fillBones() {
    const Y_SharedDBSkeletonContainer* const skeletons = getSkeletonContainer();
    const Y_SharedDBSkeleton* const first = skeletons ? skeletons->getItem(0) : nullptr;
    if (!first)
        return;
    for (int i = 0; i < first->getOneHandedUpperBodyBoneCount(); ++i)
        m_oneHandedUpperBodyBones.insert(toIString(view(first->getOneHandedUpperBodyBoneName(i))));
    for (int i = 0; i < first->getOneHandedLowerBodyBoneCount(); ++i)
        m_oneHandedLowerBodyBones.insert(toIString(view(first->getOneHandedLowerBodyBoneName(i))));
}

void CN_SharedDB::fillUseAnimations() {
    const Y_SharedDBSkinContainer* const skins = getSkinContainer();
    for (int i = 0; skins && i < skins->getCount(); ++i) {
        const Y_SharedDBAnimationContainer* const animations = skins->getItem(i)->getAnimationContainer();
        if (!animations)
            continue;
        for (const auto& [reference, number] : animations->getReferenceMap()) {
            const string& name = Y_SharedDBAnimationContainer::sm_ReferenceNamePool.getString(reference);
            if (asciiEqualNoCase(std::string_view(name).substr(0, USE_ANIMATION_PREFIX.size()), USE_ANIMATION_PREFIX))
                m_useAnimations.insert(toIString(view(name)));
        }
    }
    m_useAnimations.insert(DEFAULT_USE_ANIMATION);
}

} // namespace cairn
