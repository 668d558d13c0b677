#include "host/level_changes.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace cairn::host {

namespace {

std::optional<std::string> shownOf(const Fact* fact) {
    return fact ? std::optional<std::string>(fact->shown) : std::nullopt;
}

std::vector<Fact> factsOf(const ElementList& list, int place) {
    FactList facts;
    list.describe(place, facts);
    return facts.get();
}

std::string plural(const std::string& noun) {
    return noun.ends_with("ex") ? noun.substr(0, noun.size() - 2) + "ices" : noun + "s";
}

/// "polygon 3", "polygons 0-2 5".
std::string elementsText(const std::string& noun, const std::vector<int>& places) {
    return fmt::format("{} {}", places.size() == 1 ? noun : plural(noun), toRunsText(places));
}

std::vector<int> unpaired(const std::vector<int>& partners) {
    std::vector<int> places;
    for (std::size_t i = 0; i < partners.size(); ++i)
        if (partners[i] < 0)
            places.push_back(static_cast<int>(i));
    return places;
}

/// What is told of elements that only one side has.
std::string presence(const std::string& noun, const ElementList& list, const std::vector<int>& places) {
    return places.size() == 1 ? factsOf(list, places[0]).front().shown
                              : fmt::format("{} {}", places.size(), plural(noun));
}

/// A fact that differs in several elements.
struct SharedDifference {
    std::string name;
    std::optional<std::string> from, to;
    std::vector<int> places;
    bool isWord;
};

/// One for each fact and, of words, for each pair of values, in the order of their first elements.
class SharedDifferences {
  public:
    void add(int place, const Fact* from, const Fact* to) {
        const Fact& fact = to ? *to : *from;
        std::string key = fact.name;
        if (fact.isWord)
            key +=
                fmt::format("\n{} {}\n{} {}", from != nullptr, from ? from->key : "", to != nullptr, to ? to->key : "");
        const auto [found, isNew] = m_places.emplace(std::move(key), m_all.size());
        if (isNew)
            m_all.push_back({fact.name, shownOf(from), shownOf(to), {}, fact.isWord});
        m_all[found->second].places.push_back(place);
    }
    const std::vector<SharedDifference>& get() const { return m_all; }

  private:
    std::unordered_map<std::string, std::size_t> m_places;
    std::vector<SharedDifference> m_all;
};

/// The first names, and how many there are where these are not all.
std::string namesText(const std::vector<std::string>& names) {
    constexpr std::size_t MOST = 8;
    const std::size_t count = std::min(names.size(), MOST);
    std::string text =
        fmt::format("{}", fmt::join(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count), ", "));
    return count == names.size() ? text : fmt::format("{}, ... ({})", text, names.size());
}

/// Those of `list` whose key is in the other list as well.
ChangeList::Ordered commonOf(const ChangeList::Ordered& list, const ChangeList::Ordered& other) {
    std::unordered_set<std::string_view> keys;
    for (const auto& [key, name] : other)
        keys.insert(key);
    ChangeList::Ordered common;
    for (const auto& entry : list)
        if (keys.contains(entry.first))
            common.push_back(entry);
    return common;
}

/// The things with a key each: the name, with a number behind the first of that name.
std::vector<std::pair<std::string, const NamedThing*>> withKeys(const std::vector<NamedThing>& things) {
    std::unordered_map<std::string, int> counts;
    std::vector<std::pair<std::string, const NamedThing*>> keyed;
    for (const NamedThing& thing : things) {
        const int count = ++counts[thing.name];
        keyed.emplace_back(count == 1 ? thing.name : fmt::format("{} ({})", thing.name, count), &thing);
    }
    return keyed;
}

} // namespace

void ChangeList::add(LevelChange::Kind kind, std::string what, std::optional<std::string> from,
                     std::optional<std::string> to) {
    m_changes.push_back({kind, m_entity, std::move(what), std::move(from), std::move(to)});
}

void ChangeList::compareFacts(const std::vector<Fact>& first, const std::vector<Fact>& second) {
    forEachDifference(first, second, [this](const Fact* from, const Fact* to) {
        addChanged((to ? to : from)->name, shownOf(from), shownOf(to));
    });
}

void ChangeList::compareEach(const std::string& noun, const ElementList& first, const ElementList& second) {
    const Alignment alignment = align(first.keys, second.keys, Leftovers::IN_ORDER);
    for (const int place : unpaired(alignment.toSecond))
        addChanged(fmt::format("{} {}", noun, place), factsOf(first, place).front().shown, std::nullopt);
    for (std::size_t i = 0; i < second.keys.size(); ++i) {
        const int place = static_cast<int>(i), before = alignment.toFirst[i];
        if (before >= 0 && first.keys[static_cast<std::size_t>(before)].whole == second.keys[i].whole)
            continue;
        const std::string name = fmt::format("{} {}", noun, place);
        const std::vector<Fact> now = factsOf(second, place);
        if (before < 0) {
            addChanged(name, std::nullopt, now.front().shown);
            continue;
        }
        const std::vector<Fact> old = factsOf(first, before);
        if (old.front().shown != now.front().shown)
            addChanged(name, old.front().shown, now.front().shown);
        else // it looks the same, and stands for something else
            addChanged(fmt::format("{} {}", name, now.back().name), old.back().shown, now.back().shown);
    }
    if (!alignment.inOrder)
        addChanged("order of " + noun, std::nullopt, std::nullopt);
}

void ChangeList::compareGrouped(const std::string& noun, const ElementList& first, const ElementList& second,
                                const Alignment& alignment) {
    if (const std::vector<int> gone = unpaired(alignment.toSecond); !gone.empty())
        addChanged(elementsText(noun, gone), presence(noun, first, gone), std::nullopt);
    SharedDifferences differences;
    for (std::size_t i = 0; i < second.keys.size(); ++i) {
        const int before = alignment.toFirst[i];
        if (before >= 0 && first.keys[static_cast<std::size_t>(before)].whole != second.keys[i].whole)
            forEachDifference(
                factsOf(first, before), factsOf(second, static_cast<int>(i)),
                [&](const Fact* from, const Fact* to) { differences.add(static_cast<int>(i), from, to); });
    }
    for (const SharedDifference& each : differences.get()) {
        const bool hasValues = each.isWord || each.places.size() == 1;
        addChanged(fmt::format("{} {}", elementsText(noun, each.places), each.name),
                   hasValues ? each.from : std::nullopt, hasValues ? each.to : std::nullopt);
    }
    if (const std::vector<int> come = unpaired(alignment.toFirst); !come.empty())
        addChanged(elementsText(noun, come), std::nullopt, presence(noun, second, come));
    if (!alignment.inOrder)
        addChanged(fmt::format("order of {}", plural(noun)), std::nullopt, std::nullopt);
}

void ChangeList::compareThings(const std::string& order, const std::vector<NamedThing>& first,
                               const std::vector<NamedThing>& second) {
    const auto ofFirst = withKeys(first), ofSecond = withKeys(second);
    const std::unordered_map<std::string, const NamedThing*> before(ofFirst.begin(), ofFirst.end()),
        after(ofSecond.begin(), ofSecond.end());
    Ordered orderOfFirst, orderOfSecond;
    for (const auto& [key, thing] : ofFirst) {
        orderOfFirst.emplace_back(key, key);
        if (!after.contains(key))
            addChanged(key, thing->facts.get().front().shown, std::nullopt);
    }
    for (const auto& [key, thing] : ofSecond) {
        orderOfSecond.emplace_back(key, key);
        const auto found = before.find(key);
        if (found == before.end()) {
            addChanged(key, std::nullopt, thing->facts.get().front().shown);
            continue;
        }
        const std::string& name = key;
        forEachDifference(found->second->facts.get(), thing->facts.get(), [&](const Fact* from, const Fact* to) {
            const std::string& fact = (to ? to : from)->name;
            addChanged(fact.empty() ? name : fmt::format("{} {}", name, fact), shownOf(from), shownOf(to));
        });
    }
    compareOrder(order, orderOfFirst, orderOfSecond);
}

void ChangeList::compareOrder(const std::string& what, const Ordered& first, const Ordered& second) {
    const Ordered before = commonOf(first, second), after = commonOf(second, first);
    std::size_t head = 0, tail = 0;
    const std::size_t count = std::min(before.size(), after.size());
    while (head < count && before[head].first == after[head].first)
        ++head;
    while (tail < count - head && before[count - 1 - tail].first == after[count - 1 - tail].first)
        ++tail;
    if (head == count)
        return;
    const auto between = [&](const Ordered& list) {
        std::vector<std::string> names;
        for (std::size_t i = head; i < count - tail; ++i)
            names.push_back(list[i].second);
        return namesText(names);
    };
    addChanged(what, between(before), between(after));
}

} // namespace cairn::host
