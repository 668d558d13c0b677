// Looking up names without regard to case: a thousand look-ups among n names, nine in ten present, every letter in a case of
// its own.
#include "bench/support/report.h"
#include "cairn/containers/name_index.h"

#include <fmt/format.h>

#ifdef CAIRN_BENCH_WITH_ABSL
#include <absl/container/flat_hash_map.h>
#endif

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
unsigned char lower(char c) { return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + 32 : c); }

struct LessFolded {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                            [](char x, char y) { return lower(x) < lower(y); });
    }
};
struct HashFolded {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return cairn::hashFolded(name, 0); }
};
struct EqualFolded {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const { return cairn::equalFolded(a, b); }
};

using Map = std::map<std::string, int, LessFolded>;
using UnorderedMap = std::unordered_map<std::string, int, HashFolded, EqualFolded>;
using NameIndex = cairn::F_NameIndex<int>;

template <class Names> void insert(Names& names, const std::string& name, int value) { names.emplace(name, value); }
void insert(NameIndex& names, const std::string& name, int value) { names.insert(name, value); }

template <class Names> int find(const Names& names, const std::string& name) {
    const auto found = names.find(name);
    return found == names.end() ? 0 : found->second;
}
int find(const NameIndex& names, const std::string& name) {
    const int* found = names.find(name);
    return found ? *found : 0;
}

struct Input {
    std::vector<std::string> names;    ///< n different ones
    std::vector<std::string> look_ups; ///< what is asked for

    explicit Input(int n) {
        constexpr const char* KINDS[] = {"Room",     "Portal",        "Trigger_Door", "Enemy",
                                         "Waypoint", "Light_Ceiling", "FSM",          "PolygonGroup"};
        constexpr int LOOK_UPS = 1000;
        std::mt19937 random(23);
        for (int i = 0; i < n; ++i)
            names.push_back(fmt::format("{}_{:05}", KINDS[random() % std::size(KINDS)], i));
        for (int i = 0; i < LOOK_UPS; ++i) {
            std::string name = names[random() % names.size()];
            if (random() % 10 == 0)
                name += 'x';
            for (char& c : name)
                if (isLetter(c) && random() % 2)
                    c = static_cast<char>(c ^ 0x20);
            look_ups.push_back(name);
        }
    }
};

/// The rows of one kind of index at one size.
template <class Names>
void addRows(cairn::bench::Report& report, const char* name, const std::shared_ptr<const Input>& input) {
    const auto made = std::make_shared<Names>();
    for (std::size_t i = 0; i < input->names.size(); ++i)
        insert(*made, input->names[i], static_cast<int>(i));
    const auto n = static_cast<double>(input->names.size());
    report.add("look up", name, n, [input, made] {
        double sum = 0;
        for (const std::string& look_up : input->look_ups)
            sum += find(std::as_const(*made), look_up);
        return sum;
    });
    report.add("build", name, n, [input] {
        Names names;
        for (std::size_t i = 0; i < input->names.size(); ++i)
            insert(names, input->names[i], static_cast<int>(i));
        return static_cast<double>(names.size());
    });
}

} // namespace

static void measure(cairn::bench::Report& report) {
    report.peers({"std::map", "std::unordered_map", "absl::flat_hash_map"});
    for (int n : cairn::bench::sizes({100, 1000, 10000, 100000})) {
        const auto input = std::make_shared<const Input>(n);
        addRows<Map>(report, "std::map", input);
        addRows<UnorderedMap>(report, "std::unordered_map", input);
#ifdef CAIRN_BENCH_WITH_ABSL
        addRows<absl::flat_hash_map<std::string, int, HashFolded, EqualFolded>>(report, "absl::flat_hash_map", input);
#endif
        addRows<NameIndex>(report, "F_NameIndex", input);
    }
    report.limitRatio("look up", "F_NameIndex", 0.25, 1000, 10000);
    report.limitRatio("look up", "F_NameIndex", 0.1, 100000, 100000);
}

static const cairn::bench::Scene
    SCENE("names", "A thousand look-ups among n names without regard to case, beside maps and hash tables.", measure);
