#include "host/salvage_map.h"

#include "host/salvage_records.h"

#include <algorithm>

namespace cairn::host {

namespace {

using State = F_FoundChunk::State;

/// What stands bare in a level file: an entity's id, the count of an entity's children, the marker ahead of the selection, the
/// camera.
constexpr std::size_t ID = 4, COUNT = 4, MARKER = 1, CAMERA = 3 * 8 + 3 * 4 + 8;
/// Behind the last entity's records up to the selection, and without a selection up to what is behind the camera.
constexpr std::size_t TO_SELECTION = COUNT + MARKER, TO_GROUPS = COUNT + MARKER + CAMERA;
constexpr std::size_t SEAL = 24;
constexpr unsigned char MARKER_NOTHING = 0, MARKER_CHUNK = 2;

constexpr LevelPart SECTIONS[] = {LevelPart::VERSION,  LevelPart::TEXTURES,  LevelPart::CATEGORY,
                                  LevelPart::MATERIAL, LevelPart::LIGHTMAPS, LevelPart::PREFERENCES};

/// Goes over the chunks of a level once.
class RemainsMapper {
  public:
    explicit RemainsMapper(Bytes bytes) : m_bytes(bytes), m_chunks(F_findChunks(bytes)) {}

    LevelRemains run() {
        findParts();
        m_tree = 0;
        while (m_tree < m_chunks.size() && !startsEntity(m_tree))
            ++m_tree;
        m_tail = m_chunks.size();
        findTail();
        for (std::size_t i = 0; i < m_tree; ++i)
            m_map.sections.push_back({m_parts[i], m_chunks[i]});
        guessSections();
        m_map.treeBegin = m_tree < m_chunks.size() ? m_chunks[m_tree].offset : m_bytes.size();
        addRoot();
        for (std::size_t i = m_tree; i < m_tail; ++i)
            addToTree(i);
        finishTree();
        return std::move(m_map);
    }

  private:
    /// By content: sections up to the first entity, entities and what may end the file behind it.
    void findParts() {
        bool inTree = false;
        m_parts.assign(m_chunks.size(), LevelPart::UNKNOWN);
        for (std::size_t i = 0; i < m_chunks.size(); ++i) {
            if (!m_chunks[i].isWhole())
                continue;
            if (!inTree)
                for (const LevelPart part : SECTIONS)
                    if (m_parts[i] == LevelPart::UNKNOWN && holds(m_bytes, m_chunks[i], part))
                        m_parts[i] = part;
            if (m_parts[i] == LevelPart::UNKNOWN && !follows(i, 0) && holds(m_bytes, m_chunks[i], LevelPart::ENTITY)) {
                m_parts[i] = LevelPart::ENTITY;
                inTree = true;
            }
        }
    }

    bool isEndKnown(std::size_t i) const { return m_chunks[i].state != State::HEADER_DAMAGED; }
    /// True where the chunk begins so many bytes behind the one before.
    bool follows(std::size_t i, std::size_t distance) const {
        return i > 0 && isEndKnown(i - 1) && m_chunks[i].offset == m_chunks[i - 1].end + distance;
    }
    /// Where bare numbers ahead of the chunk may begin.
    std::size_t bareBegin(std::size_t i) const {
        if (i == 0)
            return 0;
        return isEndKnown(i - 1) ? m_chunks[i - 1].end : m_chunks[i - 1].offset + F_MemoryFile::CHUNK_HEADER_SIZE;
    }
    /// The id that stands ahead of the chunk, 0 where none can.
    int kindAhead(std::size_t i) const {
        const std::size_t at = m_chunks[i].offset;
        return at >= bareBegin(i) + ID ? bareNumber(m_bytes, at - ID) : 0;
    }

    /// True where the chunk is the common record of an entity, damaged or not.
    bool startsEntity(std::size_t i) const {
        if (m_chunks[i].isWhole())
            return m_parts[i] == LevelPart::ENTITY;
        if (follows(i, 0))
            return false;
        const bool wasEntity = i > 0 && m_parts[i - 1] == LevelPart::UNKNOWN; // or a record of its kind, or damaged
        if (follows(i, COUNT + ID) && (wasEntity || m_parts[i - 1] == LevelPart::ENTITY))
            return true;
        if (follows(i, ID) && i + 1 < m_chunks.size() && m_parts[i + 1] == LevelPart::ENTITY &&
            follows(i + 1, COUNT + ID))
            return true;
        // Four bytes may be the count of the categories.
        return follows(i, ID) ? kindAhead(i) == CN_KIND_LEVEL : isEntityKind(kindAhead(i));
    }

    /// Looks for the selection and the group names among the last two chunks.
    void findTail() {
        const std::size_t count = m_chunks.size();
        for (std::size_t i = count - std::min<std::size_t>(count, 2); i < count; ++i) {
            if (i <= m_tree || startsEntity(i))
                continue;
            if (!m_map.selection && isSelection(i)) {
                m_map.selection = m_chunks[i];
                m_tail = i;
            } else if (i + 1 == count && isGroups(i)) {
                m_map.groups = m_chunks[i];
                m_tail = std::min(m_tail, i);
            }
        }
    }
    bool isSelection(std::size_t i) const {
        if (follows(i, TO_SELECTION))
            return true;
        return m_chunks[i].isWhole() && !follows(i, 0) && m_bytes[m_chunks[i].offset - MARKER] == MARKER_CHUNK &&
               holds(m_bytes, m_chunks[i], LevelPart::SELECTION);
    }
    bool isGroups(std::size_t i) const {
        if (follows(i, CAMERA) || follows(i, TO_GROUPS))
            return true;
        return m_chunks[i].isWhole() && !follows(i, 0) && holds(m_bytes, m_chunks[i], LevelPart::GROUPS);
    }

    /// Says of each damaged chunk ahead of the tree what it most likely was, by those around it.
    void guessSections() {
        std::vector<SectionRemains>& all = m_map.sections;
        const auto isThere = [&all](LevelPart part) {
            return std::any_of(all.begin(), all.end(), [part](const SectionRemains& s) { return s.part == part; });
        };
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (all[i].chunk.isWhole())
                continue;
            const LevelPart before = i > 0 ? all[i - 1].part : LevelPart::UNKNOWN;
            const LevelPart after = i + 1 < all.size() ? all[i + 1].part : LevelPart::UNKNOWN;
            const bool isLast = i + 1 == all.size() && m_tree < m_chunks.size();
            if (i == 0 && all[i].chunk.offset == 0)
                all[i].part = LevelPart::VERSION;
            else if (before == LevelPart::VERSION && !isThere(LevelPart::TEXTURES))
                all[i].part = LevelPart::TEXTURES;
            else if (isLast && !isThere(LevelPart::PREFERENCES))
                all[i].part = LevelPart::PREFERENCES;
            else if ((after == LevelPart::PREFERENCES || i + 2 == all.size()) && !isThere(LevelPart::LIGHTMAPS))
                all[i].part = LevelPart::LIGHTMAPS;
            else
                all[i].part = before == LevelPart::TEXTURES || mayBeCategory(all[i].chunk) ? LevelPart::CATEGORY
                                                                                           : LevelPart::MATERIAL;
        }
    }

    /// Whether the first entity is the root; where its mark alone is damaged, it is added.
    void addRoot() {
        if (m_tree >= m_tail)
            return;
        m_map.hasRoot = kindAhead(m_tree) == CN_KIND_LEVEL || follows(m_tree, ID);
        const std::size_t from = m_tree > 0 && isEndKnown(m_tree - 1) ? m_chunks[m_tree - 1].end + ID : 0;
        if (m_map.hasRoot || from == 0 || from >= m_chunks[m_tree].offset || !F_looksLikeChunk(m_bytes, from))
            return;
        m_map.hasRoot = true;
        EntityRemains& root = m_map.entities.emplace_back();
        root.offset = m_map.treeBegin = from;
        root.end = from + F_MemoryFile::CHUNK_HEADER_SIZE;
        root.kind = CN_KIND_LEVEL;
    }

    /// True where what is left of the body reads like one.
    bool mayBeCategory(const F_FoundChunk& chunk) const {
        if (chunk.state == State::HEADER_DAMAGED)
            return false;
        F_MemoryFile again;
        rewrap(m_bytes, chunk, again);
        const Bytes bytes(static_cast<const unsigned char*>(again.getAddress()), again.getSize());
        return holds(bytes, {State::WHOLE, 0, bytes.size(), chunk.version}, LevelPart::CATEGORY);
    }

    void addToTree(std::size_t i) {
        const F_FoundChunk& chunk = m_chunks[i];
        const bool starts = startsEntity(i);
        if (i > m_tree && !follows(i, starts ? COUNT + ID : 0))
            fillHole(chunk.offset, isEndKnown(i - 1), starts);
        if (starts)
            begin(chunk, i);
        else
            m_map.entities.back().own.push_back(chunk);
        m_map.entities.back().end = isEndKnown(i) ? chunk.end : chunk.offset + F_MemoryFile::CHUNK_HEADER_SIZE;
    }

    void begin(const F_FoundChunk& chunk, std::size_t i) {
        const std::size_t from = i == m_tree ? bareBegin(i) : std::max(bareBegin(i), m_map.entities.back().end);
        if (!m_map.entities.empty() && chunk.offset >= from + COUNT + ID)
            m_map.entities.back().children = static_cast<unsigned int>(bareNumber(m_bytes, chunk.offset - ID - COUNT));
        EntityRemains& entity = m_map.entities.emplace_back();
        entity.common = chunk;
        entity.offset = chunk.offset;
        entity.kind = chunk.offset >= from + ID ? bareNumber(m_bytes, chunk.offset - ID) : 0;
        entity.isHoleAhead = std::exchange(m_isHole, false);
    }

    /// Between the entity before and `to` something may stand that was not found, as its mark is damaged. `isAfterEnd` says that
    /// the records before are known up to their end, `toStart` that an entity begins at `to`.
    void fillHole(std::size_t to, bool isAfterEnd, bool toStart) {
        EntityRemains& before = m_map.entities.back();
        const bool isOwn = isAfterEnd && F_looksLikeChunk(m_bytes, before.end);
        if (isOwn) {
            before.own.push_back({State::HEADER_DAMAGED, before.end, to, 0});
            before.end += F_MemoryFile::CHUNK_HEADER_SIZE;
        }
        if (addHidden(before.end, to) || isOwn || !isAfterEnd)
            return;
        m_isHole = true;
        if (toStart)
            return;
        EntityRemains lost; // which the chunk at `to` belongs to
        lost.offset = lost.end = to;
        lost.isHoleAhead = std::exchange(m_isHole, false);
        m_map.entities.push_back(std::move(lost));
    }

    /// Adds the entities whose records begin there with a mark of which one byte is damaged; false where none does.
    bool addHidden(std::size_t from, std::size_t to) {
        const std::size_t count = m_map.entities.size();
        for (std::size_t at = from + COUNT + ID; at + F_MemoryFile::CHUNK_HEADER_SIZE <= to; ++at) {
            if (!F_looksLikeChunk(m_bytes, at) || !isEntityKind(bareNumber(m_bytes, at - ID)) ||
                F_MemoryFile(m_bytes.data() + at, m_bytes.size() - at, false).beginsLikeChunk())
                continue;
            EntityRemains lost;
            lost.offset = at;
            lost.end = at + F_MemoryFile::CHUNK_HEADER_SIZE;
            lost.kind = bareNumber(m_bytes, at - ID);
            m_map.entities.back().children = static_cast<unsigned int>(bareNumber(m_bytes, at - ID - COUNT));
            m_map.entities.back().isEndKnown |= m_map.entities.back().end == at - ID - COUNT;
            m_map.entities.push_back(std::move(lost));
            at += F_MemoryFile::CHUNK_HEADER_SIZE + COUNT + ID - 1;
        }
        return m_map.entities.size() > count;
    }

    /// What follows each entity, and where the tree ends.
    void finishTree() {
        std::vector<EntityRemains>& all = m_map.entities;
        for (EntityRemains& entity : all)
            entity.end = std::min(entity.end, m_bytes.size()); // a header may be cut off
        for (std::size_t i = 0; i + 1 < all.size(); ++i)
            all[i].isEndKnown |= all[i + 1].offset == all[i].end + COUNT + ID;
        m_map.treeEnd = all.empty() ? m_bytes.size() : all.back().end;
        if (all.empty())
            return;
        EntityRemains& last = all.back();
        const std::size_t end = last.end, left = m_bytes.size() - end;
        if (!m_map.selection && F_looksLikeChunk(m_bytes, end + TO_SELECTION)) { // its mark is damaged
            const std::size_t begin = end + TO_SELECTION;
            m_map.selection = {State::HEADER_DAMAGED, begin,
                               std::min(begin + F_MemoryFile::CHUNK_HEADER_SIZE, m_bytes.size()), 0};
        }
        const std::size_t tail = m_map.selection ? m_map.selection->offset - TO_SELECTION
                                 : m_map.groups  ? m_map.groups->offset - std::min(m_map.groups->offset, TO_GROUPS)
                                                 : end;
        const bool endsOld = !m_map.selection && (m_map.groups || left == TO_GROUPS || left == TO_GROUPS + SEAL) &&
                             tail + COUNT < m_bytes.size() && m_bytes[tail + COUNT] == MARKER_NOTHING;
        m_map.hasTreeEnd = m_map.selection || endsOld;
        if (m_map.hasTreeEnd && tail >= end)
            last.children = static_cast<unsigned int>(bareNumber(m_bytes, tail));
        last.isEndKnown |= m_map.hasTreeEnd && tail == end;
    }

    Bytes m_bytes;
    std::vector<F_FoundChunk> m_chunks;
    std::vector<LevelPart> m_parts;     ///< of the chunks that are whole
    std::size_t m_tree = 0, m_tail = 0; ///< the first chunk of the tree, the first one behind it
    bool m_isHole = false;              ///< ahead of the next entity
    LevelRemains m_map;
};

} // namespace

bool EntityRemains::isWhole() const {
    return common && common->isWhole() &&
           std::all_of(own.begin(), own.end(), [](const F_FoundChunk& chunk) { return chunk.isWhole(); });
}

bool LevelRemains::isEmpty() const {
    return entities.empty() && std::none_of(sections.begin(), sections.end(), [](const SectionRemains& section) {
               return section.chunk.isWhole() && section.part != LevelPart::UNKNOWN;
           });
}

LevelRemains mapRemains(std::span<const unsigned char> bytes) { return RemainsMapper(bytes).run(); }

} // namespace cairn::host
