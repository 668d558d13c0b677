#pragma once

#include "cairn/foundation/strings.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace cairn {

/// A text of nested blocks with variables in them, as `docs/script.md` describes it: read whole, then asked for its parts.
///
/// The script stands in one block at a time, the scope; at first in the file itself, which is a block without a name. An
/// `F_ScriptLock` takes it into another. Names of blocks and variables are compared without regard to case. Every
/// `F_Exception*` names the file, and the line and column (in bytes, from 1) of what it is about.
class F_Script {
  public:
    static constexpr std::size_t MAX_BYTES = std::size_t{16} << 20; ///< of a text
    static constexpr std::size_t MAX_DEPTH = 64;                    ///< of blocks in one another
    static constexpr std::size_t STRING_SIZE = 256;                 ///< bytes of a string's buffer, its NUL included

    /// How a variable is read, and what its destination must be.
    enum Format {
        t_string,   ///< `char[STRING_SIZE]`: at most 255 bytes, the rest is cut off, and a NUL
        t_unsigned, ///< `unsigned int`: decimal digits, at most 4294967295
    };

    /// How often a block may stand in a scope; the row after the last has a null name.
    struct Blocks {
        const char* name;
        unsigned int least, most;
    };
    /// Where a variable goes; the row after the last has a null name.
    struct Variables {
        const char* name;
        void* destination;       ///< not owned: as the format says
        const char* defaultText; ///< read where the block has no such variable; null where it must have it
        Format format;
    };

    /// Reads a regular file whole. Throws where it cannot be read, is longer than `MAX_BYTES`, or is no script.
    explicit F_Script(const char* fileName);
    /// Reads a text; `name` stands for the file in the texts of failures. Throws where it is longer than `MAX_BYTES` or no
    /// script. Time and memory are linear in the text, but for a logarithm of the number of blocks of one scope.
    F_Script(std::string_view text, const char* name);
    F_Script(const F_Script&) = delete;
    F_Script& operator=(const F_Script&) = delete;

    /// The number of blocks directly in the scope.
    unsigned int count() const { return scope().blockCount; }
    /// The number of those with that name.
    unsigned int count(const char* name) const;
    /// The name of the scope as the text spells it; empty outside every block.
    string getBlockName() const { return string(nameOf(scope())); }

    /// Throws unless every block of `rows` stands in the scope as often as its row says and, without `othersAllowed`, no
    /// block that has no row.
    void blockCheck(const Blocks* rows, bool othersAllowed) const;
    /// Reads the variables of the scope's block with that name, the `index`-th of them from 0, into the destinations of
    /// `rows`. Throws where there is no such block, where a variable stands there twice, is not of its format or is missing
    /// and has no default text, and, with `onlyThese`, where one has no row. What was read before stays.
    void parse(const Variables* rows, const char* block, unsigned int index, bool onlyThese) const;

  private:
    friend class F_ScriptLock;
    class Reader;

    /// A piece of the text.
    struct Piece {
        std::uint32_t at = 0, size = 0;
    };
    struct Variable {
        Piece name, value;       ///< the value of a quoted one without its quotes
        bool quoted = false;     ///< the value may hold escapes
        std::uint32_t block = 0; ///< that it stands in
    };
    struct Block {
        Piece name;
        std::uint32_t parent = 0;                       ///< the file's block is its own
        std::uint32_t firstBlock = 0, blockCount = 0;   ///< in `m_inOrder` and `m_byName`
        std::uint32_t firstVariable = 0, variables = 0; ///< in `m_variables`
    };

    std::string_view textOf(Piece piece) const { return std::string_view(m_text).substr(piece.at, piece.size); }
    std::string_view nameOf(const Block& block) const { return textOf(block.name); }
    const Block& scope() const { return m_blocks[m_scope]; }
    [[noreturn]] void fail(std::size_t at, const string& what) const;

    void read();
    void sortBlocks();
    void sortVariables();
    std::span<const std::uint32_t> named(std::string_view name) const;
    std::uint32_t find(unsigned int index) const;
    std::uint32_t find(const char* name, unsigned int index) const;
    void store(const Variables& row, std::string_view value, std::size_t at) const;

    string m_name; ///< of the file, for failures
    string m_text;
    std::vector<Block> m_blocks;          ///< as they begin in the text; the first is the file
    std::vector<Variable> m_variables;    ///< by block, each block's as they stand
    std::vector<std::uint32_t> m_inOrder; ///< blocks by parent, each parent's as they stand
    std::vector<std::uint32_t> m_byName;  ///< the same, each parent's by name, those of one name as they stand
    std::uint32_t m_scope = 0;            ///< index in `m_blocks`
};

/// Takes a script into one of the blocks of its scope, and back at the end of its life. Locks end in the reverse of the
/// order in which they were made, before the script does.
class F_ScriptLock {
  public:
    /// Enters the `index`-th block of the scope, from 0. Throws where there is none.
    F_ScriptLock(F_Script* script, unsigned int index);
    /// Enters the `index`-th block of that name. Throws where there is none.
    F_ScriptLock(F_Script* script, const char* name, unsigned int index);
    ~F_ScriptLock() { m_script->m_scope = m_outer; }
    F_ScriptLock(const F_ScriptLock&) = delete;
    F_ScriptLock& operator=(const F_ScriptLock&) = delete;

  private:
    F_Script* m_script;    ///< not owned
    std::uint32_t m_outer; ///< the scope before
};

} // namespace cairn
