// Lists of 48-byte elements against a std::vector of the same.
#include "cairn/containers/dl_list.h"

#include "bench/support/report.h"

#include <cstdint>
#include <list>
#include <memory>
#include <random>
#include <vector>

namespace {

using cairn::F_DLList;
using cairn::bench::Watch;

struct Vertex {
    double local[3], world[3];
};

Vertex vertexOf(int i) { return {{double(i), double(i & 7), 1}, {0, 0, 0}}; }

void append(std::vector<Vertex>& list, const Vertex& v) { list.push_back(v); }
void append(std::list<Vertex>& list, const Vertex& v) { list.push_back(v); }
void append(F_DLList<Vertex>& list, const Vertex& v) { list.add(v); }

template <class List> List filled(int n) {
    List list;
    for (int i = 0; i < n; ++i)
        append(list, vertexOf(i));
    return list;
}

const Vertex& at(const std::vector<Vertex>& list, int i) { return list[static_cast<std::size_t>(i)]; }
const Vertex& at(const F_DLList<Vertex>& list, int i) { return list[i]; }

std::vector<int> randomIndices(int n) {
    constexpr int LOOK_UPS = 1000;
    std::mt19937 random(9);
    std::vector<int> indices;
    for (int i = 0; i < LOOK_UPS; ++i)
        indices.push_back(static_cast<int>(random() % static_cast<unsigned>(n)));
    return indices;
}

template <class List> double walk(const List& list) {
    double sum = 0;
    for (const Vertex& v : list)
        sum += v.local[0];
    return sum;
}

template <class List> double indexInOrder(const List& list, int n) {
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += at(list, i).local[0];
    return sum;
}

template <class List> double indexAtRandom(const List& list, const std::vector<int>& indices) {
    double sum = 0;
    for (int i : indices)
        sum += at(list, i).local[0];
    return sum;
}

bool isTaken(int k) { return k % 10 == 5; }

void removeTenth(std::vector<Vertex>& list) {
    int k = 0;
    std::erase_if(list, [&](const Vertex&) { return isTaken(k++); });
}

void removeTenth(F_DLList<Vertex>& list) {
    int k = 0;
    for (const Vertex& v : list)
        if (isTaken(k++))
            list.remove(&v);
}

/// The rows of one kind of list at one size.
template <class List>
void addRows(cairn::bench::Report& report, const char* name, int n,
             const std::shared_ptr<const std::vector<int>>& indices) {
    const auto list = std::make_shared<const List>(filled<List>(n));
    report.add("walk", name, n, [list] { return walk(*list); });
    report.addTimed("append", name, n, [n](Watch& watch) {
        List made;
        watch.timed([&] {
            for (int i = 0; i < n; ++i)
                append(made, vertexOf(i));
        });
        return static_cast<double>(std::distance(made.begin(), made.end()));
    });
    if constexpr (!std::is_same_v<List, std::list<Vertex>>) {
        report.add("index in order", name, n, [list, n] { return indexInOrder(*list, n); });
        report.add("index at random", name, n, [list, indices] { return indexAtRandom(*list, *indices); });
        // The index behind the removal has the list make its table again.
        report.addTimed("remove a tenth, then index", name, n, [list, n](Watch& watch) {
            List thinned = *list;
            return watch.timed([&] {
                removeTenth(thinned);
                return at(thinned, n / 2).local[0];
            });
        });
    }
}

} // namespace

static void measure(cairn::bench::Report& report) {
    report.peers({"std::vector", "std::list"});
    for (int n : cairn::bench::sizes({100, 1000, 10000, 100000, 1000000}, 10000)) {
        const auto indices = std::make_shared<const std::vector<int>>(randomIndices(n));
        addRows<std::vector<Vertex>>(report, "std::vector", n, indices);
        addRows<std::list<Vertex>>(report, "std::list", n, indices);
        addRows<F_DLList<Vertex>>(report, "F_DLList", n, indices);
    }
    report.limitRatio("index at random", "F_DLList", 1.7);
    report.limitRatio("index in order", "F_DLList", 1.1, 0, 10000);
    report.limitRatio("walk", "F_DLList", 2.5, 0, 10000);
    report.limitRatio("walk", "F_DLList", 10, 1000000, 1000000);
    report.limitRatio("remove a tenth, then index", "F_DLList", 4);
    report.reason("walk", "F_DLList",
                  "the elements of a million lie in memory alone, where each next one has to be waited for");
    report.reason("index in order", "F_DLList",
                  "each element is found through a table of places, which a hundred make up for least");
    report.reason("remove a tenth, then index", "F_DLList",
                  "the table of places is made anew, of a million elements that lie in memory alone");
}

static const cairn::bench::Scene
    SCENE("dl_list", "Lists of 48-byte elements beside a std::vector and a std::list of the same.", measure);
