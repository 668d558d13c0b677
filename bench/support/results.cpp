#include "bench/support/results.h"

#include <nlohmann/json.hpp>

namespace cairn::bench {

namespace {

using Json = nlohmann::ordered_json;

Json toValue(const Bound& bound) {
    return {{"found", bound.found},
            {"limit", bound.limit},
            {"beside", bound.beside},
            {"held", bound.isHeld()},
            {"reason", bound.reason}};
}

Bound readBound(const Json& json) { return {json.at("found"), json.at("limit"), json.at("beside"), json.at("reason")}; }

Json toValue(const std::optional<Bound>& bound) { return bound ? toValue(*bound) : Json(); }

std::optional<Bound> readOptionalBound(const Json& json) {
    return json.is_null() ? std::nullopt : std::optional(readBound(json));
}

Json toValue(const Line& line) {
    Json json{{"work", line.work},       {"size", line.size},
              {"unit", line.unit},       {"ours", line.ours},
              {"value", line.value},     {"spread", line.spread},
              {"peer", line.peer},       {"peer_value", line.peerValue},
              {"ratio", line.ratio},     {"ratio_limit", toValue(line.bound)},
              {"differs", line.differs}, {"growth", Json()}};
    if (line.growth)
        json["growth"] = {{"exponent", line.growth->exponent}, {"limit", toValue(line.growth->bound)}};
    return json;
}

Line readLine(const Json& json) {
    Line line{json.at("work"),    json.at("size"),
              json.at("unit"),    json.at("ours"),
              json.at("value"),   json.at("spread"),
              json.at("peer"),    json.at("peer_value"),
              json.at("ratio"),   readOptionalBound(json.at("ratio_limit")),
              json.at("differs"), {}};
    if (const Json& growth = json.at("growth"); !growth.is_null())
        line.growth = Growth{growth.at("exponent"), readOptionalBound(growth.at("limit"))};
    return line;
}

Json toValue(const SceneResult& scene) {
    Json lines = Json::array();
    for (const Line& line : scene.lines)
        lines.push_back(toValue(line));
    return {{"name", scene.name},
            {"about", scene.about},
            {"seconds", scene.seconds},
            {"failed", scene.failed},
            {"lines", std::move(lines)}};
}

SceneResult readSceneValue(const Json& json) {
    SceneResult scene{json.at("name"), json.at("about"), json.at("seconds"), json.at("failed"), {}};
    for (const Json& line : json.at("lines"))
        scene.lines.push_back(readLine(line));
    return scene;
}

} // namespace

LimitCount countLimits(const RunResult& run) {
    LimitCount count;
    const auto add = [&count](const std::optional<Bound>& bound) {
        if (bound)
            ++(bound->isHeld() ? count.held : count.missed);
    };
    for (const SceneResult& scene : run.scenes)
        for (const Line& line : scene.lines) {
            add(line.bound);
            if (line.growth)
                add(line.growth->bound);
        }
    return count;
}

bool isFaulty(const SceneResult& scene) {
    for (const Line& line : scene.lines)
        if (line.differs)
            return true;
    return scene.failed;
}

std::string toJson(const RunResult& run) {
    Json scenes = Json::array();
    for (const SceneResult& scene : run.scenes)
        scenes.push_back(toValue(scene));
    return Json{{"machine", run.machine}, {"quick", run.isQuick}, {"scenes", std::move(scenes)}}.dump(1) + '\n';
}

std::string toJson(const SceneResult& scene) { return toValue(scene).dump(); }

RunResult readRun(std::string_view json) {
    const Json value = Json::parse(json);
    RunResult run{value.at("machine"), value.at("quick"), {}};
    for (const Json& scene : value.at("scenes"))
        run.scenes.push_back(readSceneValue(scene));
    return run;
}

SceneResult readScene(std::string_view json) { return readSceneValue(Json::parse(json)); }

} // namespace cairn::bench
