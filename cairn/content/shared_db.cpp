#include "cairn/content/shared_db.h"

#include "cairn/content/database_file.h"
#include "cairn/foundation/exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>

namespace cairn {

F_SharedStringPool Y_SharedDBAnimationContainer::sm_ReferenceNamePool;

const Y_SharedDBSurfaceMaterial*
Y_SharedDBSurfaceMaterialContainer::find(const Y_SharedDBIdentifier& identifier) const {
    const std::string_view name = view(identifier.getNameString());
    const auto found = std::ranges::lower_bound(
        m_order, name, [](std::string_view a, std::string_view b) { return asciiCompareNoCase(a, b) < 0; },
        [this](int index) -> std::string_view { return getItem(index)->getName(); });
    if (found == m_order.end() || !asciiEqualNoCase(getItem(*found)->getName(), name))
        return nullptr;
    return getItem(*found);
}

void Y_SharedDBSurfaceMaterialContainer::sortNames() {
    m_order.resize(m_items.size());
    std::iota(m_order.begin(), m_order.end(), 0);
    std::ranges::stable_sort(
        m_order, [this](int a, int b) { return asciiCompareNoCase(getItem(a)->getName(), getItem(b)->getName()) < 0; });
}

/// Fills a database out of its file.
class Y_SharedDBReader {
  public:
    Y_SharedDBReader(Y_SharedDB& database, Y_DatabaseFile& file) : m_database(database), m_file(file) {}

    void read() {
        m_file.execute("BEGIN"); // all tables as they stand at one moment
        readItems(m_database.m_cameraPaths, Y_SharedDBKind::CAMERA_PATH);
        readItems(m_database.m_storyPages, Y_SharedDBKind::STORY_PAGE);
        readItems(m_database.m_levels, Y_SharedDBKind::LEVEL);
        readItems(m_database.m_messageBatches, Y_SharedDBKind::MESSAGE_BATCH);
        readItems(m_database.m_music, Y_SharedDBKind::MUSIC);
        readItems(m_database.m_particles, Y_SharedDBKind::PARTICLE);
        readItems(m_database.m_projectiles, Y_SharedDBKind::PROJECTILE);
        readItems(m_database.m_weapons, Y_SharedDBKind::WEAPON);
        readItems(m_database.m_soundCategories, Y_SharedDBKind::SOUND_CATEGORY);
        readItems(m_database.m_soundEnvironments, Y_SharedDBKind::SOUND_ENVIRONMENT);
        readItems(m_database.m_levelItems, Y_SharedDBKind::LEVEL_ITEM);
        readItems(m_database.m_storyEvents, Y_SharedDBKind::STORY_EVENT);
        readItems(m_database.m_flares, Y_SharedDBKind::FLARE);
        readItems(m_database.m_physicalMaterials, Y_SharedDBKind::PHYSICAL_MATERIAL);
        readSurfaceMaterials();
        readSkins();
        readSkeletons();
    }

  private:
    using Rows = std::vector<std::int64_t>; ///< the row of each item of a container; ascending

    /// Calls `take(statement)` with each row of the kind's table; false where the file has no such table.
    template <class Take> bool readRows(Y_SharedDBKind kind, const char* columns, const Take& take) {
        const Y_SharedDBKindInfo& info = getSharedDBKindInfo(kind);
        if (!m_file.hasTable(info))
            return false;
        Y_DatabaseStatement rows(m_file, fmt::format("SELECT {} FROM {} ORDER BY rowid", columns, info.table));
        while (rows.step())
            take(rows);
        return true;
    }

    template <class Item> void readItems(Y_SharedDBContainer<Item>& container, Y_SharedDBKind kind) {
        readRows(kind, "name", [&](Y_DatabaseStatement& row) { container.m_items.emplace_back(row.takeName(0)); });
    }

    void readSurfaceMaterials() {
        Y_SharedDBSurfaceMaterialContainer& container = m_database.m_surfaceMaterials;
        readRows(Y_SharedDBKind::SURFACE_MATERIAL, "name, draw_polygons", [&](Y_DatabaseStatement& row) {
            container.m_items.emplace_back(row.takeName(0), row.takeNumber(1) != 0);
        });
        container.sortNames();
    }

    /// Reads the items that own rows of other tables; null where the file has no such table.
    template <class Item> std::unique_ptr<Y_SharedDBContainer<Item>> readOwners(Y_SharedDBKind kind, Rows& owners) {
        auto container = std::make_unique<Y_SharedDBContainer<Item>>();
        const bool there = readRows(kind, "name, rowid", [&](Y_DatabaseStatement& row) {
            container->m_items.emplace_back(row.takeName(0));
            owners.push_back(row.takeNumber(1));
        });
        return there ? std::move(container) : nullptr;
    }

    /// Calls `take(owner, name)` with each row of a kind whose rows belong to an item; the owner by its index.
    template <class Take> void readOwned(Y_SharedDBKind kind, const Rows& owners, const Take& take) {
        const Y_SharedDBKindInfo& info = getSharedDBKindInfo(kind);
        readRows(kind, fmt::format("name, {}", info.owner).c_str(), [&](Y_DatabaseStatement& row) {
            const auto owner = std::ranges::lower_bound(owners, row.takeNumber(1));
            if (owner == owners.end() || *owner != row.takeNumber(1))
                m_file.fail(fmt::format("a row of \"{}\" belongs to no {}", info.table, info.owner));
            take(static_cast<std::size_t>(owner - owners.begin()), row.takeName(0));
        });
    }

    void readSkins() {
        Rows rows;
        std::unique_ptr<Y_SharedDBSkinContainer> skins = readOwners<Y_SharedDBSkin>(Y_SharedDBKind::SKIN, rows);
        readOwned(Y_SharedDBKind::ANIMATION, rows,
                  [&](std::size_t skin, const string& name) { addAnimation(skins->m_items[skin], name); });
        m_database.m_skins = std::move(skins);
    }

    void addAnimation(Y_SharedDBSkin& skin, const string& name) {
        if (!skin.m_animations)
            skin.m_animations = std::make_unique<Y_SharedDBAnimationContainer>();
        Y_SharedDBAnimationContainer::ReferenceMap& references = skin.m_animations->m_references;
        if (references.size() >= Y_SharedDBAnimationContainer::MAX_REFERENCES)
            m_file.fail("a skin in it has more animations than a short can number");
        references.insert(Y_SharedDBAnimationContainer::sm_ReferenceNamePool.share(name),
                          static_cast<short>(references.size()));
    }

    void readSkeletons() {
        Rows rows;
        std::unique_ptr<Y_SharedDBSkeletonContainer> skeletons =
            readOwners<Y_SharedDBSkeleton>(Y_SharedDBKind::SKELETON, rows);
        readOwned(Y_SharedDBKind::UPPER_BODY_BONE, rows, [&](std::size_t skeleton, string name) {
            skeletons->m_items[skeleton].m_upperBodyBones.push_back(std::move(name));
        });
        readOwned(Y_SharedDBKind::LOWER_BODY_BONE, rows, [&](std::size_t skeleton, string name) {
            skeletons->m_items[skeleton].m_lowerBodyBones.push_back(std::move(name));
        });
        m_database.m_skeletons = std::move(skeletons);
    }

    Y_SharedDB& m_database; ///< not owned: what is filled
    Y_DatabaseFile& m_file; ///< not owned
};

Y_SharedDB::Y_SharedDB(const string& path, bool verify) {
    F_withFoundationExceptions([&] {
        if (path.empty() || path == ":memory:") {
            m_skins = std::make_unique<Y_SharedDBSkinContainer>();
            m_skeletons = std::make_unique<Y_SharedDBSkeletonContainer>();
            return;
        }
        Y_DatabaseFile file(path, Y_DatabaseFile::Access::READ);
        if (verify)
            file.verify();
        Y_SharedDBReader(*this, file).read();
    });
}

Y_SharedDB::~Y_SharedDB() = default;

namespace {

template <class Container> std::vector<string> namesOf(const Container* container) {
    std::vector<string> names;
    for (int i = 0; container && i < container->getCount(); ++i)
        names.push_back(container->getItem(i)->getName());
    return names;
}

std::vector<string> animationNames(const Y_SharedDBSkinContainer* skins) {
    std::vector<string> names;
    for (int i = 0; skins && i < skins->getCount(); ++i) {
        const Y_SharedDBAnimationContainer* const animations = skins->getItem(i)->getAnimationContainer();
        if (!animations)
            continue;
        const auto& references = animations->getReferenceMap();
        const std::size_t first = names.size();
        names.resize(first + references.size());
        for (const auto& [name, number] : references)
            names[first + static_cast<std::size_t>(number)] =
                Y_SharedDBAnimationContainer::sm_ReferenceNamePool.getString(name);
    }
    return names;
}

std::vector<string> boneNames(const Y_SharedDBSkeletonContainer* skeletons, bool upper) {
    std::vector<string> names;
    for (int i = 0; skeletons && i < skeletons->getCount(); ++i) {
        const Y_SharedDBSkeleton& skeleton = *skeletons->getItem(i);
        const int count = upper ? skeleton.getOneHandedUpperBodyBoneCount() : skeleton.getOneHandedLowerBodyBoneCount();
        for (int bone = 0; bone < count; ++bone)
            names.push_back(upper ? skeleton.getOneHandedUpperBodyBoneName(bone)
                                  : skeleton.getOneHandedLowerBodyBoneName(bone));
    }
    return names;
}

} // namespace

std::vector<string> Y_SharedDB::getNames(Y_SharedDBKind kind) const {
    switch (kind) {
    case Y_SharedDBKind::CAMERA_PATH:
        return namesOf(getCameraPathContainer());
    case Y_SharedDBKind::STORY_PAGE:
        return namesOf(getStoryPageContainer());
    case Y_SharedDBKind::LEVEL:
        return namesOf(getLevelContainer());
    case Y_SharedDBKind::MESSAGE_BATCH:
        return namesOf(getMessageBatchContainer());
    case Y_SharedDBKind::MUSIC:
        return namesOf(getMusicContainer());
    case Y_SharedDBKind::PARTICLE:
        return namesOf(getParticleContainer());
    case Y_SharedDBKind::PROJECTILE:
        return namesOf(getProjectileContainer());
    case Y_SharedDBKind::WEAPON:
        return namesOf(getWeaponContainer());
    case Y_SharedDBKind::SKIN:
        return namesOf(getSkinContainer());
    case Y_SharedDBKind::SOUND_CATEGORY:
        return namesOf(getSoundCategoryContainer());
    case Y_SharedDBKind::SOUND_ENVIRONMENT:
        return namesOf(getSoundEnvironmentContainer());
    case Y_SharedDBKind::LEVEL_ITEM:
        return namesOf(getLevelItemContainer());
    case Y_SharedDBKind::STORY_EVENT:
        return namesOf(getStoryEventContainer());
    case Y_SharedDBKind::FLARE:
        return namesOf(getFlareContainer());
    case Y_SharedDBKind::PHYSICAL_MATERIAL:
        return namesOf(getPhysicalMaterialContainer());
    case Y_SharedDBKind::SURFACE_MATERIAL:
        return namesOf(getSurfaceMaterialContainer());
    case Y_SharedDBKind::SKELETON:
        return namesOf(getSkeletonContainer());
    case Y_SharedDBKind::UPPER_BODY_BONE:
        return boneNames(getSkeletonContainer(), true);
    case Y_SharedDBKind::LOWER_BODY_BONE:
        return boneNames(getSkeletonContainer(), false);
    case Y_SharedDBKind::ANIMATION:
        return animationNames(getSkinContainer());
    }
    return {};
}

} // namespace cairn
