#include "cairn/foundation/shared_string.h"

#include "cairn/foundation/exception.h"

#include <limits>

namespace cairn {

F_SharedString F_SharedStringPool::share(std::string_view text) {
    if (const auto found = m_indices.find(text); found != m_indices.end())
        return F_SharedString(found->second);
    if (m_texts.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw new F_Exception("The pool of shared strings is full");
    const auto index = static_cast<int>(m_texts.size());
    m_indices.emplace(m_texts.emplace_back(text), index);
    return F_SharedString(index);
}

const string& F_SharedStringPool::getString(const F_SharedString& shared) const {
    static const string none;
    if (shared.getIndex() < 0)
        return none;
    const auto index = static_cast<std::size_t>(shared.getIndex());
    if (index >= m_texts.size())
        throw new F_Exception(formatText("Shared string %zu is not of this pool of %zu", index, m_texts.size()));
    return m_texts[index];
}

} // namespace cairn
