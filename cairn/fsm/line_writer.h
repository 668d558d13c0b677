#pragma once

#include "cairn/fsm/fsm.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace cairn {

/// Writes the lines of a machine's messages anew, for the present names and places of the entities in them. What does not
/// differ is not written.
///
/// It keeps what it learns of the tree from one message to the next: from `start` to the last message of the machine nothing
/// may be renamed, moved or deleted. One writer for many machines keeps its buffers.
class CN_FSMLineWriter {
  public:
    /// Goes on to the machines of that entity, which may be null.
    void start(const CN_LevelEntity* owner);

    /// `E_FSM::Message::updateTargetName`.
    bool writeTarget(E_FSM::Message& message);
    /// Gives the arguments that name living entities these entities' names, and rebuilds the line from its "(" on where there
    /// is one such. Not for comments.
    void writeArguments(E_FSM::Message& message);
    /// `writeTarget`, then `writeArguments`. A comment stays as it is.
    void write(E_FSM::Message& message);

  private:
    /// The way from an entity up to its root, with the names on it.
    struct Way {
        /// An entity on the way.
        struct Step {
            const CN_LevelEntity* entity;
            std::size_t bytes; ///< of the path from here down, the "::" ahead of the name included
        };
        std::vector<Step> steps; ///< from the entity to its root
        std::string room;        ///< filled from its end, as the names come last one first

        std::string_view path(std::size_t bytes) const { return std::string_view(room).substr(room.size() - bytes); }
    };

    /// A text that is written piece by piece into memory that stays.
    class Line {
      public:
        std::string_view text() const { return {m_room.data(), m_size}; }
        void cutAt(std::size_t size) { m_size = size < m_size ? size : m_size; }
        Line& operator<<(std::string_view piece) {
            if (piece.size() > m_room.size() - m_size)
                m_room.resize(2 * (m_size + piece.size()));
            std::memcpy(m_room.data() + m_size, piece.data(), piece.size());
            m_size += piece.size();
            return *this;
        }

      private:
        std::string m_room;     ///< the text and what is free behind it
        std::size_t m_size = 0; ///< of the text
    };

    bool isAlive(const CN_LevelEntity* entity);
    bool isPlayer(const CN_LevelEntity& entity);
    void goUp(const CN_LevelEntity& entity);
    std::string_view liveNameOf(const CN_LevelEntity& entity);
    std::string_view keptNameOf(const CN_LevelEntity& entity);
    bool appendRelativeName(const CN_LevelEntity& to);
    bool beginLine(E_FSM::Message& message);
    bool nameArguments(E_FSM::Message& message);
    void appendArguments(const E_FSM::Message& message);
    void appendNamedArguments(const E_FSM::Message& message);

    const CN_LevelEntity* m_owner = nullptr; ///< not owned
    std::vector<const CN_LevelEntity*>
        m_ownersWay;                          ///< the owner and what it stands in, root last; empty until asked for
    Way m_way;                                ///< of the entity that was named last; no steps before the first
    const CN_LevelEntity* m_alive = nullptr;  ///< the entity that was found alive last
    const CN_Document* m_document = nullptr;  ///< whose player is known
    const CN_LevelEntity* m_player = nullptr; ///< of the document; null for none
    Line m_line;                              ///< as far as it is written
};

} // namespace cairn
