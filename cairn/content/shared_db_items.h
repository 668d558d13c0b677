#pragma once

#include "cairn/containers/sorted_vector.h"
#include "cairn/foundation/shared_string.h"
#include "cairn/foundation/strings.h"

#include <memory>
#include <utility>
#include <vector>

namespace cairn {

/// An entry of the content database: something with a name. Names may hold any byte.
class Y_SharedDBItem {
  public:
    explicit Y_SharedDBItem(string name) : m_name(std::move(name)) {}

    /// The name as the database spells it; valid as long as the database.
    const string& getName() const { return m_name; }

  private:
    string m_name; ///< "" where the database has none
};

/// The entries of one kind, in the order in which the database got them. It stands still once the database is read.
template <class Item> class Y_SharedDBContainer {
  public:
    int getCount() const { return static_cast<int>(m_items.size()); }
    /// The item at `index`, valid as long as the database; null below 0 and at or beyond `getCount`.
    const Item* getItem(int index) const {
        return index >= 0 && index < getCount() ? &m_items[static_cast<std::size_t>(index)] : nullptr;
    }

  protected:
    friend class Y_SharedDBReader;
    std::vector<Item> m_items;
};

/// A name to look an entry up by, without regard to case.
class Y_SharedDBIdentifier {
  public:
    /// The name up to its NUL; null gives the empty name.
    void setNameString(const char* name) { m_name = name ? name : ""; }
    /// The whole name, whatever bytes it holds.
    void setNameString(const string& name) { m_name = toIString(view(name)); }
    const istring& getNameString() const { return m_name; }

    friend bool operator<(const Y_SharedDBIdentifier& a, const Y_SharedDBIdentifier& b) { return a.m_name < b.m_name; }

  private:
    istring m_name; ///< as given
};

/// @name Kinds that have nothing but a name
/// @{
class Y_SharedDBCameraPath : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBStoryPage : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBLevel : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBMessageBatch : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBMusic : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBParticle : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBProjectile : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBWeapon : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBSoundCategory : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBSoundEnvironment : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBLevelItem : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBStoryEvent : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBFlare : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
class Y_SharedDBPhysicalMaterial : public Y_SharedDBItem {
    using Y_SharedDBItem::Y_SharedDBItem;
};
/// @}

/// What a surface does with the polygons that carry it.
class Y_SharedDBSurfaceMaterial : public Y_SharedDBItem {
  public:
    Y_SharedDBSurfaceMaterial(string name, bool drawPolygons)
        : Y_SharedDBItem(std::move(name)), m_drawPolygons(drawPolygons) {}

    /// Whether polygons of this surface are seen.
    bool drawPolygons() const { return m_drawPolygons; }

  private:
    bool m_drawPolygons; ///< false for a surface that only collides or guides
};

/// The surface materials, with a look-up by name.
class Y_SharedDBSurfaceMaterialContainer : public Y_SharedDBContainer<Y_SharedDBSurfaceMaterial> {
  public:
    /// The material of this name without regard to case, the first of several; null where there is none. A binary
    /// search.
    const Y_SharedDBSurfaceMaterial* find(const Y_SharedDBIdentifier& identifier) const;

  private:
    friend class Y_SharedDBReader;
    void sortNames();

    std::vector<int> m_order; ///< indices of the items by name without regard to case, then by index
};

/// The bones of a body.
class Y_SharedDBSkeleton : public Y_SharedDBItem {
  public:
    using Y_SharedDBItem::Y_SharedDBItem;

    /// The bones that an animation of one hand moves above and below the waist, in the order in which the database got
    /// them. An index must be at or above 0 and below the count.
    int getOneHandedUpperBodyBoneCount() const { return static_cast<int>(m_upperBodyBones.size()); }
    const string& getOneHandedUpperBodyBoneName(int index) const {
        return m_upperBodyBones.at(static_cast<std::size_t>(index));
    }
    int getOneHandedLowerBodyBoneCount() const { return static_cast<int>(m_lowerBodyBones.size()); }
    const string& getOneHandedLowerBodyBoneName(int index) const {
        return m_lowerBodyBones.at(static_cast<std::size_t>(index));
    }

  private:
    friend class Y_SharedDBReader;
    std::vector<string> m_upperBodyBones;
    std::vector<string> m_lowerBodyBones;
};

/// The animations that a skin can play.
class Y_SharedDBAnimationContainer {
  public:
    using ReferenceMap = F_SortedVector<F_SharedString, short, F_SharedStringShortLess>;

    /// The names of the animations, as strings of `sm_ReferenceNamePool`, each with its number in the skin, counted
    /// from 0 in the order in which the database got them. A name that the database has twice is there once.
    const ReferenceMap& getReferenceMap() const { return m_references; }

    /// The texts of all references of all databases of this process. It keeps what it has once held.
    static F_SharedStringPool sm_ReferenceNamePool;
    /// Animations a skin may have: their numbers are of the type `short`.
    static constexpr std::size_t MAX_REFERENCES = 0x8000;

  private:
    friend class Y_SharedDBReader;
    ReferenceMap m_references;
};

/// The looks of a body.
class Y_SharedDBSkin : public Y_SharedDBItem {
  public:
    using Y_SharedDBItem::Y_SharedDBItem;

    /// The skin's animations, null where it has none; valid as long as the database.
    const Y_SharedDBAnimationContainer* getAnimationContainer() const { return m_animations.get(); }

  private:
    friend class Y_SharedDBReader;
    std::unique_ptr<Y_SharedDBAnimationContainer> m_animations; ///< null where there are none
};

using Y_SharedDBCameraPathContainer = Y_SharedDBContainer<Y_SharedDBCameraPath>;
using Y_SharedDBStoryPageContainer = Y_SharedDBContainer<Y_SharedDBStoryPage>;
using Y_SharedDBLevelContainer = Y_SharedDBContainer<Y_SharedDBLevel>;
using Y_SharedDBMessageBatchContainer = Y_SharedDBContainer<Y_SharedDBMessageBatch>;
using Y_SharedDBMusicContainer = Y_SharedDBContainer<Y_SharedDBMusic>;
using Y_SharedDBParticleContainer = Y_SharedDBContainer<Y_SharedDBParticle>;
using Y_SharedDBProjectileContainer = Y_SharedDBContainer<Y_SharedDBProjectile>;
using Y_SharedDBWeaponContainer = Y_SharedDBContainer<Y_SharedDBWeapon>;
using Y_SharedDBSkinContainer = Y_SharedDBContainer<Y_SharedDBSkin>;
using Y_SharedDBSoundCategoryContainer = Y_SharedDBContainer<Y_SharedDBSoundCategory>;
using Y_SharedDBSoundEnvironmentContainer = Y_SharedDBContainer<Y_SharedDBSoundEnvironment>;
using Y_SharedDBLevelItemContainer = Y_SharedDBContainer<Y_SharedDBLevelItem>;
using Y_SharedDBStoryEventContainer = Y_SharedDBContainer<Y_SharedDBStoryEvent>;
using Y_SharedDBFlareContainer = Y_SharedDBContainer<Y_SharedDBFlare>;
using Y_SharedDBPhysicalMaterialContainer = Y_SharedDBContainer<Y_SharedDBPhysicalMaterial>;
using Y_SharedDBSkeletonContainer = Y_SharedDBContainer<Y_SharedDBSkeleton>;

} // namespace cairn
