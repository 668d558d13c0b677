#include "host/list_alignment.h"

#include <algorithm>
#include <unordered_map>

namespace cairn::host {

namespace {

using Keys = std::span<const ElementKeys>;

/// The pairing under way.
class Aligner {
  public:
    Aligner(Keys first, Keys second) : m_first(first), m_second(second) {
        m_result.toSecond.assign(first.size(), -1);
        m_result.toFirst.assign(second.size(), -1);
    }

    void pairEnds() {
        const std::size_t most = std::min(m_first.size(), m_second.size());
        std::size_t head = 0, tail = 0;
        while (head < most && m_first[head].whole == m_second[head].whole) {
            pair(head, head);
            ++head;
        }
        while (tail < most - head &&
               m_first[m_first.size() - 1 - tail].whole == m_second[m_second.size() - 1 - tail].whole) {
            ++tail;
            pair(m_first.size() - tail, m_second.size() - tail);
        }
    }

    void pairByKey(std::uint64_t ElementKeys::*key) {
        struct Queue {
            std::vector<std::size_t> places;
            std::size_t next = 0;
        };
        std::unordered_map<std::uint64_t, Queue> waiting;
        for (std::size_t i = 0; i < m_second.size(); ++i)
            if (m_result.toFirst[i] < 0)
                waiting[m_second[i].*key].places.push_back(i);
        for (std::size_t i = 0; i < m_first.size(); ++i) {
            if (m_result.toSecond[i] >= 0)
                continue;
            const auto found = waiting.find(m_first[i].*key);
            if (found != waiting.end() && found->second.next < found->second.places.size())
                pair(i, found->second.places[found->second.next++]);
        }
    }

    void pairRest(Leftovers leftovers) {
        std::size_t j = 0;
        for (std::size_t i = 0; i < m_first.size(); ++i) {
            if (m_result.toSecond[i] >= 0)
                continue;
            if (leftovers == Leftovers::AT_SAME_PLACE)
                j = i;
            else
                while (j < m_second.size() && m_result.toFirst[j] >= 0)
                    ++j;
            if (j < m_second.size() && m_result.toFirst[j] < 0)
                pair(i, j);
        }
    }

    Alignment take() {
        int last = -1;
        for (const int place : m_result.toSecond) {
            if (place < 0)
                continue;
            m_result.inOrder &= place > last;
            last = place;
        }
        return std::move(m_result);
    }

  private:
    void pair(std::size_t i, std::size_t j) {
        m_result.toSecond[i] = static_cast<int>(j);
        m_result.toFirst[j] = static_cast<int>(i);
    }

    Keys m_first, m_second;
    Alignment m_result;
};

} // namespace

Alignment align(Keys first, Keys second, Leftovers leftovers) {
    Aligner aligner(first, second);
    aligner.pairEnds();
    aligner.pairByKey(&ElementKeys::whole);
    aligner.pairByKey(&ElementKeys::likeness);
    aligner.pairRest(leftovers);
    return aligner.take();
}

} // namespace cairn::host
