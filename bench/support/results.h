#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a run of the benchmarks found, and its forms: JSON, a table for terminals, one for documents.
namespace cairn::bench {

/// A number that was to stay below a limit.
struct Bound {
    double found = 0;
    double limit = 0;
    std::string beside; ///< what a growth is told beside or is the limit's; empty for none
    std::string reason; ///< what keeps it from the limit, where that is known

    bool isHeld() const { return found <= limit; }
};

/// The exponent e of time ~ n^e of one contender, over all its sizes.
struct Growth {
    double exponent = 0;
    std::optional<Bound> bound; ///< where a limit was stated
};

/// One contender of ours at one size, beside a peer or by itself.
struct Line {
    std::string work; ///< what both do
    double size = 0;  ///< the n of the work
    std::string unit; ///< of the values: "ns" or "bytes"
    std::string ours;
    double value = 0;             ///< the median of the repetitions
    double spread = 0;            ///< half the distance between their quartiles, as a part of the value
    std::string peer;             ///< empty for none, and then the next two are 0
    double peerValue = 0;         ///< like `value`
    double ratio = 0;             ///< ours to the peer's
    std::optional<Bound> bound;   ///< of the ratio, where a limit was stated
    bool differs = false;         ///< the peer computed something else
    std::optional<Growth> growth; ///< stands once for a contender, at its largest size
};

/// One scene: a file of this folder.
struct SceneResult {
    std::string name;
    std::string about;   ///< a sentence
    double seconds = 0;  ///< that all of it took
    bool failed = false; ///< a row reported an error, or the scene ended ahead of its time
    std::vector<Line> lines;
};

/// A run.
struct RunResult {
    std::string machine; ///< its kind, and the compiler
    bool isQuick = false;
    std::vector<SceneResult> scenes;
};

/// How many limits of a run were held and missed.
struct LimitCount {
    int held = 0;
    int missed = 0;
};
LimitCount countLimits(const RunResult& run);
/// True where a row failed or computed something else than its peer.
bool isFaulty(const SceneResult& scene);

/// One JSON document of a run or a scene, keys in a fixed order, and back. Reading throws `std::exception` for other texts.
std::string toJson(const RunResult& run);
std::string toJson(const SceneResult& scene);
RunResult readRun(std::string_view json);
SceneResult readScene(std::string_view json);

/// A table with a line a size, under a heading a scene, and the reason below each limit that was missed.
std::string toTable(const RunResult& run);
/// Sections in Markdown with a row for all sizes of a contender beside a peer.
std::string toMarkdown(const RunResult& run);

} // namespace cairn::bench
