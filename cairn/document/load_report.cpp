#include "cairn/document/load_report.h"

#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/level_entity.h"

#include <algorithm>
#include <new>
#include <utility>

namespace cairn {

namespace {

/// Findings that are kept: a damaged file can make one for each of its bytes.
constexpr std::size_t MAX_FINDINGS = 10000;
/// Bytes of texts and entity names that are kept.
constexpr std::size_t MAX_BYTES = std::size_t{4} << 20;

} // namespace

void CN_LoadReport::add(string code, const CN_LevelEntity* entity, int polygon, string text) {
    const std::size_t bytes = code.size() + text.size();
    if (m_findings.size() >= MAX_FINDINGS || bytes > MAX_BYTES - m_bytes) {
        ++m_dropped;
        return;
    }
    CN_LoadFinding finding;
    finding.code = std::move(code);
    finding.hasEntity = entity != nullptr;
    finding.polygon = polygon;
    finding.text = std::move(text);
    m_entities.push_back(entity);
    try {
        m_findings.push_back(std::move(finding));
    } catch (...) {
        m_entities.pop_back(); // one for each finding
        throw;
    }
    m_bytes += bytes;
}

/// It runs while an exception may be in flight: where memory for the names lacks, the rest is only counted.
void CN_LoadReport::resolve() noexcept {
    try {
        nameEntities();
    } catch (const std::bad_alloc&) {
        for (CN_LoadFinding& finding : m_findings)
            finding.hasEntity = finding.hasEntity && !finding.entity.empty();
        std::fill(m_entities.begin(), m_entities.end(), nullptr);
    }
}

void CN_LoadReport::nameEntities() {
    for (std::size_t i = 0; i < m_findings.size(); ++i) {
        const CN_LevelEntity* entity = std::exchange(m_entities[i], nullptr);
        CN_LoadFinding& finding = m_findings[i];
        if (!entity)
            continue;
        finding.hasEntity = CN_LevelEntity::isAlive(entity);
        if (!finding.hasEntity)
            continue;
        const std::string name = CN_HierarchyUtils::makeFullyQualifiedName(entity);
        if (name.size() > MAX_BYTES - m_bytes) {
            // Names that no one would read: what comes from here on is only counted.
            m_dropped += m_findings.size() - i;
            m_findings.resize(i);
            m_entities.resize(i);
            return;
        }
        m_bytes += name.size();
        finding.entity = name.empty() ? std::string_view("::") : std::string_view(name);
    }
}

void CN_LoadReport::clear() {
    m_findings.clear();
    m_entities.clear();
    m_dropped = 0;
    m_bytes = 0;
}

} // namespace cairn
