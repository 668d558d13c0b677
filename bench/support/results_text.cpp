#include "bench/support/results.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace cairn::bench {

namespace {

std::string valueText(double value, const std::string& unit) {
    if (unit == "bytes")
        return value < 1e4   ? fmt::format("{:.0f} B", value)
               : value < 1e7 ? fmt::format("{:.1f} kB", value / 1e3)
                             : fmt::format("{:.1f} MB", value / 1e6);
    return value < 1e3   ? fmt::format("{:.1f} ns", value)
           : value < 1e6 ? fmt::format("{:.2f} us", value / 1e3)
           : value < 1e9 ? fmt::format("{:.2f} ms", value / 1e6)
                         : fmt::format("{:.2f} s", value / 1e9);
}

/// With commas between thousands.
std::string sizeText(double n) {
    std::string text = fmt::format("{:.0f}", n);
    for (std::size_t i = text.size(); i > 3;)
        text.insert(i -= 3, 1, ',');
    return text;
}

/// Short of three digits that matter, as no run repeats more.
std::string ratioText(double ratio) {
    return ratio < 0.1 ? fmt::format("{:.4f}", ratio) : fmt::format("{:.2f}", ratio);
}

std::string limitText(const std::optional<Bound>& bound) { return bound ? fmt::format("{:.3g}", bound->limit) : ""; }

/// The exponent, and where the limit is about that, how it stands beside another contender's.
std::string growthText(const std::optional<Growth>& growth) {
    if (!growth)
        return "";
    std::string text = fmt::format("{:.2f}", growth->exponent);
    if (const auto& bound = growth->bound; bound && bound->found != growth->exponent)
        text += fmt::format(", {:.2f} beside {}", bound->found, bound->beside);
    return text;
}

std::string growthLimitText(const std::optional<Growth>& growth) {
    if (!growth || !growth->bound)
        return "";
    const Bound& bound = *growth->bound;
    const bool isTheirs = !bound.beside.empty() && bound.found == growth->exponent;
    return isTheirs ? fmt::format("{:.2f} of {}", bound.limit, bound.beside) : fmt::format("{:.3g}", bound.limit);
}

/// The limits of a line that were stated.
std::vector<const Bound*> boundsOf(const Line& line) {
    std::vector<const Bound*> bounds;
    if (line.bound)
        bounds.push_back(&*line.bound);
    if (line.growth && line.growth->bound)
        bounds.push_back(&*line.growth->bound);
    return bounds;
}

bool isMissed(const Line& line) {
    const std::vector<const Bound*> bounds = boundsOf(line);
    return std::any_of(bounds.begin(), bounds.end(), [](const Bound* bound) { return !bound->isHeld(); });
}

std::string verdictText(const Line& line) {
    if (line.differs)
        return "DIFFERS";
    return isMissed(line) ? "MISSED" : boundsOf(line).empty() ? "" : "ok";
}

/// The reasons of limits that a line misses, each once.
void addReasons(const Line& line, std::vector<std::string>& reasons) {
    for (const Bound* const bound : boundsOf(line)) {
        const std::string reason = bound->reason.empty() ? "no reason is written down" : bound->reason;
        if (!bound->isHeld() && std::find(reasons.begin(), reasons.end(), reason) == reasons.end())
            reasons.push_back(reason);
    }
}

constexpr std::size_t COLUMNS = 12;
using Cells = std::array<std::string, COLUMNS>;
constexpr std::array<bool, COLUMNS> IS_NUMBER = {false, true, false, true,  true, false,
                                                 true,  true, true,  false, true, false};

Cells cellsOf(const Line& line) {
    Cells cells{line.work,
                sizeText(line.size),
                line.ours,
                valueText(line.value, line.unit),
                line.unit == "ns" ? fmt::format("{:.1f}%", 100 * line.spread) : "",
                line.peer,
                "",
                "",
                limitText(line.bound),
                growthText(line.growth),
                growthLimitText(line.growth),
                verdictText(line)};
    if (!line.peer.empty()) {
        cells[6] = valueText(line.peerValue, line.unit);
        cells[7] = ratioText(line.ratio);
    }
    return cells;
}

void addCells(std::string& text, const Cells& cells, const std::array<std::size_t, COLUMNS>& widths) {
    std::string line = "  ";
    for (std::size_t i = 0; i < COLUMNS; ++i)
        line +=
            IS_NUMBER[i] ? fmt::format("{:>{}}  ", cells[i], widths[i]) : fmt::format("{:<{}}  ", cells[i], widths[i]);
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
}

/// All lines of one contender beside one peer, of one work.
using Rows = std::vector<const Line*>;

std::vector<Rows> rowsOf(const SceneResult& scene) {
    std::vector<Rows> all;
    for (const Line& line : scene.lines) {
        const auto isSame = [&line](const Rows& rows) {
            const Line& first = *rows.front();
            return first.work == line.work && first.ours == line.ours && first.peer == line.peer;
        };
        const auto rows = std::find_if(all.begin(), all.end(), isSame);
        if (rows == all.end())
            all.push_back({&line});
        else
            rows->push_back(&line);
    }
    return all;
}

/// What may stand in a cell.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text)
        result += c == '|' ? std::string("\\|") : std::string(1, c);
    return result;
}

/// The ratio (without a peer the value) at each size, with the limit behind one that has a limit, bold where it is missed.
std::string sizesText(const Rows& rows) {
    std::string text;
    for (const Line* const line : rows) {
        std::string number = line->peer.empty() ? valueText(line->value, line->unit) : ratioText(line->ratio);
        if (line->bound)
            number += fmt::format(" ({} {})", line->bound->isHeld() ? "≤" : ">", limitText(line->bound));
        if (line->bound && !line->bound->isHeld())
            number = "**" + number + "**";
        text += fmt::format("{}{}: {}", text.empty() ? "" : "; ", sizeText(line->size), number);
    }
    return text;
}

std::string growthCell(const Rows& rows) {
    for (const Line* const line : rows)
        if (line->growth) {
            std::string text = growthText(line->growth);
            if (const auto& bound = line->growth->bound)
                text += fmt::format(" ({} {})", bound->isHeld() ? "≤" : ">", growthLimitText(line->growth));
            const bool missed = line->growth->bound && !line->growth->bound->isHeld();
            return missed ? "**" + text + "**" : text;
        }
    return "";
}

void addMarkdown(std::string& text, const SceneResult& scene) {
    text +=
        fmt::format("\n### {}\n\n{}\n\n| work | ours | peer | ratio, or value without a peer, at each size | growth |\n"
                    "|---|---|---|---|---|\n",
                    scene.name, scene.about);
    for (const Rows& rows : rowsOf(scene)) {
        const Line& first = *rows.front();
        text += fmt::format("| {} | {} | {} | {} | {} |\n", escaped(first.work), escaped(first.ours),
                            escaped(first.peer), sizesText(rows), growthCell(rows));
    }
    std::vector<std::string> notes;
    for (const Line& line : scene.lines) {
        std::vector<std::string> reasons;
        addReasons(line, reasons);
        for (const std::string& reason : reasons)
            if (const std::string note = fmt::format("- {}, {}: {}", line.work, line.ours, reason);
                std::find(notes.begin(), notes.end(), note) == notes.end())
                notes.push_back(note);
    }
    if (!notes.empty())
        text += "\nMissed:\n\n";
    for (const std::string& note : notes)
        text += note + '\n';
}

/// That all scenes may take.
constexpr double MOST_SECONDS = 15 * 60;

double secondsOf(const RunResult& run) {
    double seconds = 0;
    for (const SceneResult& scene : run.scenes)
        seconds += scene.seconds;
    return seconds;
}

} // namespace

std::string toTable(const RunResult& run) {
    const Cells heads{"work", "size", "ours", "value", "+-", "peer", "value", "ratio", "limit", "growth", "limit", ""};
    std::array<std::size_t, COLUMNS> widths{};
    const auto widen = [&widths](const Cells& cells) {
        for (std::size_t i = 0; i < COLUMNS; ++i)
            widths[i] = std::max(widths[i], cells[i].size());
    };
    widen(heads);
    for (const SceneResult& scene : run.scenes)
        for (const Line& line : scene.lines)
            widen(cellsOf(line));

    std::string text = fmt::format("{}{}\n", run.machine, run.isQuick ? "; small sizes only" : "");
    for (const SceneResult& scene : run.scenes) {
        text += fmt::format("\n{} ({:.1f} s): {}\n", scene.name, scene.seconds, scene.about);
        if (scene.failed)
            text += "  FAILED\n";
        addCells(text, heads, widths);
        for (const Line& line : scene.lines) {
            addCells(text, cellsOf(line), widths);
            std::vector<std::string> reasons;
            addReasons(line, reasons);
            for (const std::string& reason : reasons)
                text += fmt::format("      missed: {}\n", reason);
        }
    }
    const LimitCount limits = countLimits(run);
    return text + fmt::format("\n{} scenes in {:.0f} s (at most {:.0f}{}), limits: {} held, {} missed\n",
                              run.scenes.size(), secondsOf(run), MOST_SECONDS,
                              secondsOf(run) > MOST_SECONDS ? ": MISSED" : "", limits.held, limits.missed);
}

std::string toMarkdown(const RunResult& run) {
    const LimitCount limits = countLimits(run);
    std::string text =
        fmt::format("{}{}. {} scenes took {:.0f} s, of at most {:.0f}; of the limits {} were held and {} missed.\n",
                    run.machine, run.isQuick ? ", small sizes only" : "", run.scenes.size(), secondsOf(run),
                    MOST_SECONDS, limits.held, limits.missed);
    for (const SceneResult& scene : run.scenes)
        addMarkdown(text, scene);
    return text;
}

} // namespace cairn::bench
