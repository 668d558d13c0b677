// Looking up materials by name among n: a thousand look-ups by category and name as the polygons of a level make them, and
// a thousand taken names made unique. Beside them a walk over the list. The names that are asked for are the same at every
// n, so that the caches hold their materials and what growth there is comes from the index; they stand last, for the walk.
#include "bench/support/report.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"

#include <fmt/format.h>

#include <memory>
#include <random>
#include <vector>

namespace {

using namespace cairn;

constexpr int LOOK_UPS = 1000;
constexpr int LEAST = 100; ///< materials

/// n materials without textures in ten categories.
struct Level {
    explicit Level(int n) {
        constexpr int CATEGORIES = 10;
        std::vector<CN_MaterialsCategory*> categories;
        for (int i = 0; i < CATEGORIES; ++i)
            categories.push_back(materials.addCategory(nullptr, CString(fmt::format("category {}", i))));
        for (int i = n - 1; i >= 0; --i) {
            CN_MaterialsCategory* category = categories[static_cast<std::size_t>(i % CATEGORIES)];
            CN_Material* material = category->add(0, nullptr, nullptr);
            material->setName(CString(fmt::format("material/of the level/{}", i)));
        }
        std::mt19937 random(7);
        for (int i = 0; i < LOOK_UPS; ++i) {
            const int one = static_cast<int>(random() % static_cast<unsigned>(LEAST));
            asked.emplace_back(CString(fmt::format("CATEGORY {}", one % CATEGORIES)),
                               CString(fmt::format("Material/of the Level/{}", one)));
        }
    }

    CN_MaterialWrapper materials;
    std::vector<std::pair<CString, CString>> asked; ///< in another case than they stand
};

const CN_Material* walk(const CN_MaterialWrapper& materials, const CString& category, const CString& name) {
    for (const CN_MaterialsCategory& each : materials.getCategories())
        if (each.name().CompareNoCase(category) == 0)
            for (const CN_Material* material : each.getMaterials())
                if (material->name().CompareNoCase(name) == 0)
                    return material;
    return nullptr;
}

int findByWalk(const Level& level) {
    int found = 0;
    for (const auto& [category, name] : level.asked)
        found += walk(level.materials, category, name) != nullptr;
    return found;
}

int find(const Level& level) {
    int found = 0;
    for (const auto& [category, name] : level.asked)
        found += level.materials.find(category, name) != nullptr;
    return found;
}

/// Each time the name of a material that is there.
int makeUnique(const Level& level) {
    int renamed = 0;
    CN_Material material;
    for (const auto& [category, name] : level.asked) {
        material.setName(name);
        level.materials.find(category)->setUniqueName(&material, false);
        renamed += material.name() != name;
    }
    return renamed;
}

} // namespace

static void measure(cairn::bench::Report& report) {
    report.peers({"walk"});
    constexpr int WALKED = 10000;
    const std::vector<int> sizes = cairn::bench::sizes({LEAST, 1000, 10000, 100000});
    for (const int n : sizes) {
        const auto level = std::make_shared<Level>(n);
        if (n <= WALKED)
            report.add("find", "walk", n, [level] { return findByWalk(*level); });
        report.add("find", "CN_MaterialWrapper", n, [level] { return find(*level); });
        report.add("setUniqueName", "CN_MaterialsCategory", n, [level] { return makeUnique(*level); });
    }
    constexpr double GROWTH = 0.2;
    report.limitRatio("find", "CN_MaterialWrapper", 0.05, 1000, WALKED);
    report.limitGrowth("find", "CN_MaterialWrapper", GROWTH);
    report.limitGrowth("setUniqueName", "CN_MaterialsCategory", GROWTH);
}

static const cairn::bench::Scene
    SCENE("material_find",
          "A thousand look-ups of materials among n, beside a walk over the list; a thousand taken names made unique.",
          measure);
