#include "host/problems.h"

#include "cairn/document/name_validator.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/geometry/validate.h"
#include "host/entity_text.h"
#include "host/machine_lint.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <tuple>

namespace cairn::host {

namespace {

constexpr ProblemKind KINDS[] = {
    {"unreadable", Severity::ERROR},
    {"seal", Severity::ERROR},
    {"repaired", Severity::WARNING},
    {"newer-data", Severity::WARNING},
    {"broken-rotation", Severity::ERROR},
    {"broken-keyframe", Severity::ERROR},
    {"exit-unpaired", Severity::ERROR},
    {"exit-no-portal", Severity::ERROR},
    {"mesh-open", Severity::WARNING},
    {"polygon-nonplanar", Severity::ERROR},
    {"polygon-degenerate", Severity::ERROR},
    {"polygon-untriangulated", Severity::ERROR},
    {"material-missing", Severity::WARNING},
    {"texture-undecoded", Severity::WARNING},
    {"name-invalid", Severity::WARNING},
    {"parenting", Severity::ERROR},
    {"fsm-default-state", Severity::WARNING},
    {"fsm-dangling-target", Severity::ERROR},
    {"fsm-bad-exit", Severity::ERROR},
    {"fsm-unknown-message", Severity::WARNING},
    {"fsm-argument-count", Severity::WARNING},
    {"fsm-receiver", Severity::WARNING},
    {"fsm-unreached-state", Severity::WARNING},
    {"fsm-unstarted-timer", Severity::WARNING},
    {"content-unknown", Severity::WARNING},
    {"lightmap-dangling", Severity::ERROR},
    {"message", Severity::WARNING},
};

/// Gathers the problems of one level.
class ProblemFinder {
  public:
    ProblemFinder(const OpenedLevel& level, bool checkContent, const CN_FSMMessageInfoProvider* catalogue)
        : m_level(level), m_checkContent(checkContent), m_catalogue(catalogue) {}

    std::vector<Problem> find(bool force) {
        addFault();
        addReport();
        addMessages();
        if (m_level.hasTree && (m_level.isWhole() || m_level.sealFault || force)) {
            CN_LevelEntity& root = *m_level.document->accessLevel();
            m_player = findPlayer(root);
            look(root);
            addFindings();
            if (m_level.isWhole() || m_level.sealFault) // machines of a part speak to what was not read
                findMachineProblems(root, m_catalogue,
                                    [this](std::string_view code, const CN_LevelEntity& entity, std::string message) {
                                        add(code, entity, std::move(message));
                                    });
        }
        return std::move(m_problems);
    }

  private:
    Problem& add(std::string_view code, std::string message) {
        Problem problem;
        problem.kind = findProblemKind(code);
        if (!problem.kind) // a finding that is younger than this table
            problem.kind = findProblemKind("message");
        problem.message = std::move(message);
        return m_problems.emplace_back(std::move(problem));
    }
    void add(std::string_view code, const CN_LevelEntity& entity, std::string message) {
        add(code, std::move(message)).entity = qualifiedName(entity);
    }

    void addFault() {
        if (!m_level.isWhole())
            add(m_level.sealFault ? "seal" : "unreadable", m_level.fault);
    }

    void addReport() {
        const CN_LoadReport& report = m_level.document->getLoadReport();
        for (const CN_LoadFinding& finding : report.getFindings()) {
            m_reported.insert(finding.text);
            m_brokenRotation |= finding.code == "broken-rotation";
            // The load tells of these and mends nothing, so that the look at the geometry finds them again.
            if (finding.code == "broken-keyframe" || finding.code == "polygon-degenerate")
                m_lasting.emplace(finding.code, finding.entity, finding.polygon);
            Problem& problem = add(finding.code, finding.text);
            if (finding.hasEntity)
                problem.entity = finding.entity;
            problem.polygon = finding.polygon;
        }
        if (report.getDropped() > 0)
            add("message", fmt::format("{} more findings of the load are not listed", report.getDropped()));
    }

    /// What the library showed and neither its report nor the fault says already.
    void addMessages() {
        for (const std::string& message : m_level.messages)
            if (!m_reported.contains(message) && message != m_level.fault && !listsBrokenRotations(message) &&
                !tellsOfNamelessRecord(message))
                add("message", message);
    }
    bool listsBrokenRotations(const std::string& message) const {
        return m_brokenRotation && message.find("broken rotation") != std::string::npos;
    }

    /// The report has the name that the texture got, and which material was dropped.
    static bool tellsOfNamelessRecord(const std::string& message) {
        return message.starts_with("Problems loading texture;") || message.starts_with("Invalid material found,");
    }

    /// What a look at the geometry and all that it refers to finds. Of a level that was read in part much does not know
    /// its partner, which is no fault.
    void addFindings() {
        const bool whole = m_level.isWhole() || m_level.sealFault;
        for (const CN_Finding& finding : CN_validateDocument(*m_level.document, CN_LEVEL_TOLERANCE)) {
            const std::string_view code = finding.code;
            const std::string entity = qualifiedName(*finding.entity);
            if ((!whole && (finding.internal || code.starts_with("exit-"))) ||
                m_lasting.contains({code, entity, finding.polygon}))
                continue;
            Problem& problem = add(code, finding.message);
            problem.entity = entity;
            problem.polygon = finding.polygon;
        }
    }

    /// Recursion is as deep as the tree, which a load bounds.
    void look(CN_LevelEntity& entity) {
        checkName(entity);
        checkParent(entity);
        if (m_checkContent)
            checkContent(entity);
        for (CN_LevelEntity* child : entity.getChildren())
            look(*child);
    }

    /// Where the load ended before it looked for the player, the one that it would have found.
    const CN_LevelEntity* findPlayer(CN_LevelEntity& root) const {
        const CN_LevelEntity* player = m_level.document->getPlayer();
        return player ? player : root.hasChildNamed("player");
    }

    void checkName(CN_LevelEntity& entity) {
        const CString name = entity.getName();
        if (&entity == m_player && name.CompareNoCase("player") == 0)
            return;
        CN_NameValidator* validator = CN_NameValidator::instance();
        if (!validator->isValidEntityName(name))
            add("name-invalid", entity, validator->getLastNameFaultDescription());
    }

    void checkParent(CN_LevelEntity& entity) {
        CN_LevelEntity* parent = entity.getParent();
        if (!parent || parent->canAdd(&entity))
            return;
        // The content of a prefab comes to it by another way than other children.
        if (parent->getEntityId() == CN_KIND_PREFAB && entity.getEntityId() == CN_KIND_PREFAB_CONTENT)
            return;
        add("parenting", entity,
            fmt::format("A {} cannot stand under a {}", kindName(entity.getEntityId()),
                        kindName(parent->getEntityId())));
    }

    void checkContent(const CN_LevelEntity& entity) {
        const auto* sphere = dynamic_cast<const CN_UISphereEntity*>(&entity);
        const std::set<istring>* names = sphere ? namesFor(entity.getEntityId()) : nullptr;
        if (!names || sphere->getSharedDBName().empty() || names->contains(toIString(sphere->getSharedDBName())))
            return;
        add("content-unknown", entity,
            fmt::format("The content database does not hold \"{}\"", sphere->getSharedDBName()));
    }
    /// The names that are valid for that kind of entity, or null where the kind has none.
    static const std::set<istring>* namesFor(int entityId) {
        const CN_SharedDB* content = CN_SharedDB::instance();
        switch (entityId) {
        case CN_KIND_ITEM:
            return &content->getLevelItems();
        case CN_KIND_ENEMY:
            return &content->getSkins();
        case CN_KIND_FLARE:
            return &content->getFlares();
        default:
            return nullptr;
        }
    }

    const OpenedLevel& m_level;
    bool m_checkContent;
    const CN_FSMMessageInfoProvider* m_catalogue; ///< not owned: null for none
    const CN_LevelEntity* m_player = nullptr;     ///< not owned
    bool m_brokenRotation = false;                ///< the report names the entities with broken rotations
    std::set<std::string> m_reported;             ///< texts of the load's report
    /// Codes of its findings that last, entities and polygons.
    std::set<std::tuple<std::string_view, std::string, int>> m_lasting;
    std::vector<Problem> m_problems;
};

} // namespace

std::span<const ProblemKind> problemKinds() { return KINDS; }

const ProblemKind* findProblemKind(std::string_view code) {
    const auto* found = std::find_if(std::begin(KINDS), std::end(KINDS), [&](const auto& k) { return k.code == code; });
    return found == std::end(KINDS) ? nullptr : found;
}

std::vector<Problem> findProblems(const OpenedLevel& level, bool checkContent,
                                  const CN_FSMMessageInfoProvider* catalogue, bool force) {
    return ProblemFinder(level, checkContent, catalogue).find(force);
}

} // namespace cairn::host
