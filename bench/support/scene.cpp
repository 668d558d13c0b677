#include "bench/support/scene.h"

#include <algorithm>
#include <utility>

namespace cairn::bench {

namespace {

/// In the order of registration, which is the linker's.
std::vector<const Scene*>& registered() {
    static std::vector<const Scene*> scenes;
    return scenes;
}

} // namespace

Scene::Scene(std::string name, std::string about, Measure measure)
    : m_name(std::move(name)), m_about(std::move(about)), m_measure(measure) {
    registered().push_back(this);
}

std::vector<const Scene*> Scene::all() {
    std::vector<const Scene*> scenes = registered();
    std::sort(scenes.begin(), scenes.end(), [](const Scene* a, const Scene* b) { return a->name() < b->name(); });
    return scenes;
}

const Scene* Scene::find(const std::string& name) {
    const std::vector<const Scene*> scenes = all();
    const auto scene =
        std::find_if(scenes.begin(), scenes.end(), [&name](const Scene* other) { return other->name() == name; });
    return scene == scenes.end() ? nullptr : *scene;
}

} // namespace cairn::bench
