#include "cairn/entities/child_names.h"

#include "cairn/entities/level_entity.h"

#include <iterator>

namespace cairn {

std::string nextDecimal(std::string number) {
    for (auto digit = number.rbegin(); digit != number.rend(); ++digit) {
        if (*digit != '9') {
            ++*digit;
            return number;
        }
        *digit = '0';
    }
    return "1" + number;
}

CN_UsedNumbers::Runs::const_iterator CN_UsedNumbers::runOf(const std::string& number) const {
    auto run = m_runs.upper_bound(number);
    if (run == m_runs.begin())
        return m_runs.end();
    --run;
    return CN_DecimalLess()(number, run->second) ? run : m_runs.end();
}

void CN_UsedNumbers::add(const std::string& number) {
    if (runOf(number) != m_runs.end()) {
        ++m_extraUses[number];
        return;
    }
    const auto behind = m_runs.upper_bound(number);
    std::string end = nextDecimal(number);
    if (behind != m_runs.end() && behind->first == end) {
        end = behind->second;
        m_runs.erase(behind);
    }
    const auto next = m_runs.upper_bound(number);
    if (next != m_runs.begin() && std::prev(next)->second == number)
        std::prev(next)->second = std::move(end);
    else
        m_runs.emplace_hint(next, number, std::move(end));
}

void CN_UsedNumbers::remove(const std::string& number) {
    if (const auto extra = m_extraUses.find(number); extra != m_extraUses.end()) {
        if (--extra->second == 0)
            m_extraUses.erase(extra);
        return;
    }
    const auto run = runOf(number);
    if (run == m_runs.end())
        return;
    const std::string first = run->first, end = run->second, next = nextDecimal(number);
    m_runs.erase(run);
    if (first != number)
        m_runs.emplace(first, number);
    if (next != end)
        m_runs.emplace(next, end);
}

std::string CN_UsedNumbers::firstFree(const std::string& from, const std::string* own) const {
    const auto run = runOf(from);
    if (run == m_runs.end())
        return from;
    const CN_DecimalLess less;
    const bool ownInReach = own && !less(*own, from) && less(*own, run->second);
    return ownInReach && m_extraUses.count(*own) == 0 ? *own : run->second;
}

CN_ChildNames::CN_ChildNames(const CN_EntityChildList& children) : m_children(&children) {
    for (CN_LevelEntity* child : children)
        if (child)
            m_index.insert(child->m_name.view(), child);
}

CN_LevelEntity* CN_ChildNames::find(std::string_view name) const {
    CN_LevelEntity* const* found = m_index.find(name);
    return found ? *found : nullptr;
}

std::string CN_ChildNames::firstFreeNumber(std::string_view base, const std::string& number,
                                           const CN_LevelEntity* own) {
    if (!m_numbers) {
        Bases bases;
        for (const CN_LevelEntity* child : *m_children)
            if (child)
                use(bases, child->m_name.view());
        m_numbers = std::move(bases);
    }
    const auto used = m_numbers->find(toIString(base));
    if (used == m_numbers->end())
        return number;
    if (own) {
        std::string ownBase, ownNumber;
        int digits = 0;
        CN_LevelEntity::splitName(asciiTrimmed(own->m_name.view()), ownBase, ownNumber, digits);
        if (asciiEqualNoCase(ownBase, base))
            return used->second.firstFree(number, &ownNumber);
    }
    return used->second.firstFree(number, nullptr);
}

std::string CN_ChildNames::firstFreeNumberByWalk(const CN_EntityChildList& children, std::string_view base,
                                                 const std::string& number, const CN_LevelEntity* own) {
    CN_UsedNumbers used;
    std::string childBase, childNumber;
    int digits = 0;
    for (const CN_LevelEntity* child : children) {
        if (!child || child == own)
            continue;
        CN_LevelEntity::splitName(asciiTrimmed(child->m_name.view()), childBase, childNumber, digits);
        if (asciiEqualNoCase(childBase, base))
            used.add(childNumber);
    }
    return used.firstFree(number, nullptr);
}

void CN_ChildNames::add(CN_LevelEntity* child) {
    m_index.insert(child->m_name.view(), child);
    if (m_numbers)
        use(*m_numbers, child->m_name.view());
}

void CN_ChildNames::remove(CN_LevelEntity* child) {
    m_index.erase(child->m_name.view(), child);
    release(child->m_name.view());
}

void CN_ChildNames::rename(CN_LevelEntity* child, std::string_view name) {
    m_index.rename(child->m_name.view(), name, child);
    release(child->m_name.view());
    if (m_numbers)
        use(*m_numbers, name);
}

void CN_ChildNames::use(Bases& bases, std::string_view name) {
    std::string base, number;
    int digits = 0;
    CN_LevelEntity::splitName(asciiTrimmed(name), base, number, digits);
    bases[toIString(base)].add(number);
}

void CN_ChildNames::release(std::string_view name) {
    if (!m_numbers)
        return;
    std::string base, number;
    int digits = 0;
    CN_LevelEntity::splitName(asciiTrimmed(name), base, number, digits);
    const auto used = m_numbers->find(toIString(base));
    if (used == m_numbers->end())
        return;
    used->second.remove(number);
    if (used->second.empty())
        m_numbers->erase(used);
}

} // namespace cairn
