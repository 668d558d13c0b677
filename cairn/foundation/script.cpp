#include "cairn/foundation/script.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace cairn {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::string_view SPECIAL = "{}=\"#\\"; // what ends a word

bool isControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }
bool isOfWord(char c) { return c != ' ' && !isControl(c) && SPECIAL.find(c) == std::string_view::npos; }

bool isBeforeNoCase(std::string_view a, std::string_view b) { return asciiCompareNoCase(a, b) < 0; }

/// The value of a hexadecimal digit; -1 where it is none.
int hexDigit(char c) {
    if (asciiIsDigit(c))
        return c - '0';
    const char low = asciiLower(c);
    return low >= 'a' && low <= 'f' ? low - 'a' + 10 : -1;
}

/// An escape at the head of a text.
struct Escape {
    char meaning = 0;
    std::size_t size = 0; ///< bytes of it, backslash included; 0 where none stands there
};

Escape readEscape(std::string_view text) {
    if (text.size() < 2 || text[0] != '\\')
        return {};
    switch (text[1]) {
    case '"':
    case '\\':
        return {text[1], 2};
    case 'n':
        return {'\n', 2};
    case 't':
        return {'\t', 2};
    case 'x': {
        const int high = text.size() > 2 ? hexDigit(text[2]) : -1, low = text.size() > 3 ? hexDigit(text[3]) : -1;
        const int byte = 16 * high + low;
        return high < 0 || low < 0 || byte == 0 ? Escape{} : Escape{static_cast<char>(byte), 4};
    }
    default:
        return {};
    }
}

/// What stands between quotes, whose escapes were looked at, as it is meant.
string withoutEscapes(std::string_view quoted) {
    string text;
    while (!quoted.empty()) {
        const Escape escape = readEscape(quoted);
        text += escape.size > 0 ? escape.meaning : quoted[0];
        quoted.remove_prefix(std::max<std::size_t>(escape.size, 1));
    }
    return text;
}

/// A text of a failure shows no more than the head of what somebody else wrote, and no control characters.
string shown(std::string_view text) {
    constexpr std::size_t MOST = 40;
    string head(text.substr(0, MOST));
    std::replace_if(head.begin(), head.end(), isControl, '?');
    return text.size() > MOST ? head + "..." : head;
}

string shownMost(unsigned int most) { return most == 0x7FFFFFFF ? string("any number") : fmt::format("{}", most); }

} // namespace

/// Takes the text apart from front to back; which block it stands in is all that it keeps of the nesting.
class F_Script::Reader {
  public:
    explicit Reader(F_Script& script) : m_script(script), m_text(script.m_text) {}

    void read() {
        if (m_text.size() > MAX_BYTES)
            throw new F_Exception(
                fmt::format("Cannot read \"{}\": it is longer than {} bytes", m_script.m_name, MAX_BYTES));
        if (const std::size_t nul = m_text.find('\0'); nul != std::string_view::npos)
            m_script.fail(nul, "a script has no NUL bytes");
        m_at = m_text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
        m_script.m_blocks.emplace_back();
        while (skipBlanks())
            if (take('}'))
                closeBlock();
            else
                readNamed();
        if (m_depth > 0)
            m_script.fail(block().name.at, fmt::format("the block \"{}\" is not closed", shown(block().name)));
    }

  private:
    Block& block() { return m_script.m_blocks[m_block]; }
    string shown(Piece piece) const { return cairn::shown(m_script.textOf(piece)); }
    bool ended() const { return m_at == m_text.size(); }

    /// Steps over white space and comments; false at the end of the text.
    bool skipBlanks() {
        while (!ended() && (asciiIsSpace(m_text[m_at]) || m_text[m_at] == '#'))
            m_at = m_text[m_at] == '#' ? std::min(m_text.find('\n', m_at), m_text.size()) : m_at + 1;
        return !ended();
    }
    bool take(char c) {
        if (!skipBlanks() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }
    [[noreturn]] void failExpected(const char* what) {
        if (!skipBlanks())
            m_script.fail(m_at, fmt::format("{} expected, the file ends", what));
        const char found = m_text[m_at];
        m_script.fail(m_at, isControl(found) ? fmt::format("{} expected, found the byte 0x{:02X}", what,
                                                           static_cast<unsigned>(found))
                                             : fmt::format("{} expected, found '{}'", what, found));
    }

    Piece readWord(const char* what) {
        skipBlanks();
        const std::size_t begin = m_at;
        while (!ended() && isOfWord(m_text[m_at]))
            ++m_at;
        if (m_at == begin)
            failExpected(what);
        return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_at - begin)};
    }
    /// Reads up to the quote that closes the one just taken.
    Piece readQuoted() {
        const std::size_t begin = m_at;
        while (!ended() && m_text[m_at] != '"' && m_text[m_at] != '\n' && m_text[m_at] != '\r') {
            const Escape escape = readEscape(m_text.substr(m_at, 4));
            if (m_text[m_at] == '\\' && escape.size == 0)
                m_script.fail(m_at, "a backslash begins none of \\\", \\\\, \\n, \\t and \\x01 to \\xFF");
            m_at += std::max<std::size_t>(escape.size, 1);
        }
        if (ended() || m_text[m_at] != '"')
            m_script.fail(begin - 1, "the quote is not closed on its line");
        return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_at++ - begin)};
    }

    void readNamed() {
        const Piece name = readWord("a name or '}'");
        if (take('{'))
            openBlock(name);
        else if (take('='))
            readValue(name);
        else
            failExpected("'{' or '='");
    }
    void readValue(Piece name) {
        if (m_depth == 0)
            m_script.fail(name.at, fmt::format("the variable \"{}\" stands in no block", shown(name)));
        const bool quoted = take('"');
        const Piece value = quoted ? readQuoted() : readWord("a value");
        m_script.m_variables.push_back({name, value, quoted, m_block});
        ++block().variables;
    }
    void openBlock(Piece name) {
        if (m_depth == MAX_DEPTH)
            m_script.fail(name.at, fmt::format("blocks stand more than {} deep in one another", MAX_DEPTH));
        ++m_depth;
        ++block().blockCount;
        const std::uint32_t parent = std::exchange(m_block, static_cast<std::uint32_t>(m_script.m_blocks.size()));
        m_script.m_blocks.push_back({name, parent});
    }
    void closeBlock() {
        if (m_depth == 0)
            m_script.fail(m_at - 1, "'}' closes no block");
        --m_depth;
        m_block = block().parent;
    }

    F_Script& m_script;
    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_depth = 0;   ///< blocks around the place
    std::uint32_t m_block = 0; ///< the innermost of them
};

F_Script::F_Script(const char* fileName) : m_name(fileName ? fileName : "") {
    File->size(fileName); // a pipe of that name might never end
    const std::vector<unsigned char> bytes = F_File::readAll(m_name, {MAX_BYTES, nullptr});
    m_text.assign(bytes.begin(), bytes.end());
    read();
}

F_Script::F_Script(std::string_view text, const char* name) : m_name(name), m_text(text) { read(); }

void F_Script::read() {
    F_withFoundationExceptions([this] {
        Reader(*this).read();
        sortBlocks();
        sortVariables();
    });
}

/// Sorts by counting: each parent's blocks get a range of their own, and fill it in their order.
void F_Script::sortBlocks() {
    std::uint32_t begin = 0;
    for (Block& block : m_blocks) {
        block.firstBlock = begin;
        begin += std::exchange(block.blockCount, 0u);
    }
    m_inOrder.resize(begin);
    for (std::uint32_t i = 1; i < m_blocks.size(); ++i) {
        Block& parent = m_blocks[m_blocks[i].parent];
        m_inOrder[parent.firstBlock + parent.blockCount++] = i;
    }
    m_byName = m_inOrder;
    const auto isBefore = [this](std::uint32_t a, std::uint32_t b) {
        return isBeforeNoCase(nameOf(m_blocks[a]), nameOf(m_blocks[b]));
    };
    for (const Block& block : m_blocks)
        if (block.blockCount > 1) {
            const auto first = m_byName.begin() + block.firstBlock;
            std::stable_sort(first, first + block.blockCount, isBefore);
        }
}

void F_Script::sortVariables() {
    std::uint32_t begin = 0;
    for (Block& block : m_blocks) {
        block.firstVariable = begin;
        begin += std::exchange(block.variables, 0u);
    }
    std::vector<Variable> sorted(m_variables.size());
    for (const Variable& variable : m_variables) {
        Block& block = m_blocks[variable.block];
        sorted[block.firstVariable + block.variables++] = variable;
    }
    m_variables.swap(sorted);
}

void F_Script::fail(std::size_t at, const string& what) const {
    const std::string_view before = std::string_view(m_text).substr(0, at);
    const std::size_t lineEnd = before.rfind('\n');
    throw new F_Exception(fmt::format("Cannot read \"{}\": line {}, column {}: {}", m_name,
                                      1 + std::count(before.begin(), before.end(), '\n'),
                                      lineEnd == std::string_view::npos ? at + 1 : at - lineEnd, what));
}

std::span<const std::uint32_t> F_Script::named(std::string_view name) const {
    const std::span<const std::uint32_t> blocks(m_byName.data() + scope().firstBlock, scope().blockCount);
    const auto nameOfBlock = [this](std::uint32_t block) { return nameOf(m_blocks[block]); };
    const auto first = std::ranges::lower_bound(blocks, name, isBeforeNoCase, nameOfBlock);
    const auto last = std::ranges::upper_bound(blocks, name, isBeforeNoCase, nameOfBlock);
    return {first, last};
}

unsigned int F_Script::count(const char* name) const { return static_cast<unsigned int>(named(name).size()); }

std::uint32_t F_Script::find(unsigned int index) const {
    if (index >= scope().blockCount)
        fail(scope().name.at, fmt::format("\"{}\" has no block {}", shown(nameOf(scope())), index));
    return m_inOrder[scope().firstBlock + index];
}

std::uint32_t F_Script::find(const char* name, unsigned int index) const {
    const std::span<const std::uint32_t> blocks = named(name);
    if (index >= blocks.size())
        fail(scope().name.at, fmt::format("\"{}\" has no block \"{}\" {}", shown(nameOf(scope())), name, index));
    return blocks[index];
}

void F_Script::blockCheck(const Blocks* rows, bool othersAllowed) const {
    for (const Blocks* row = rows; row->name; ++row) {
        const unsigned int held = count(row->name);
        if (held < row->least || held > row->most)
            fail(scope().name.at,
                 fmt::format("\"{}\" has {} blocks \"{}\" where {} to {} belong", shown(nameOf(scope())), held,
                             row->name, row->least, shownMost(row->most)));
    }
    for (unsigned int i = 0; !othersAllowed && i < count(); ++i) {
        const Block& block = m_blocks[find(i)];
        const Blocks* row = rows;
        while (row->name && !asciiEqualNoCase(row->name, nameOf(block)))
            ++row;
        if (!row->name)
            fail(block.name.at, fmt::format("the block \"{}\" does not belong into \"{}\"", shown(nameOf(block)),
                                            shown(nameOf(scope()))));
    }
}

void F_Script::store(const Variables& row, std::string_view value, std::size_t at) const {
    switch (row.format) {
    case t_string: {
        const std::size_t size = std::min(value.size(), STRING_SIZE - 1);
        auto* const text = static_cast<char*>(row.destination);
        std::memcpy(text, value.data(), size);
        text[size] = '\0';
        return;
    }
    case t_unsigned: {
        unsigned int number = 0;
        const char* const end = value.data() + value.size();
        const auto [stop, error] = std::from_chars(value.data(), end, number);
        if (error != std::errc() || stop != end)
            fail(at, fmt::format("\"{}\" is no whole number from 0 to 4294967295", shown(value)));
        *static_cast<unsigned int*>(row.destination) = number;
        return;
    }
    }
}

void F_Script::parse(const Variables* rows, const char* blockName, unsigned int index, bool onlyThese) const {
    const Block& block = m_blocks[find(blockName, index)];
    std::size_t size = 0;
    while (rows[size].name)
        ++size;
    std::vector<const Variable*> held(size);
    for (std::uint32_t i = 0; i < block.variables; ++i) {
        const Variable& variable = m_variables[block.firstVariable + i];
        const std::string_view name = textOf(variable.name);
        const auto row = static_cast<std::size_t>(
            std::find_if(rows, rows + size, [name](const Variables& r) { return asciiEqualNoCase(r.name, name); }) -
            rows);
        if (row == size && onlyThese)
            fail(variable.name.at,
                 fmt::format("the variable \"{}\" does not belong into \"{}\"", shown(name), shown(nameOf(block))));
        if (row < size && std::exchange(held[row], &variable))
            fail(variable.name.at,
                 fmt::format("\"{}\" has the variable \"{}\" already", shown(nameOf(block)), shown(name)));
    }
    for (std::size_t i = 0; i < size; ++i) {
        if (const Variable* const variable = held[i]) {
            const std::string_view value = textOf(variable->value);
            store(rows[i], variable->quoted ? withoutEscapes(value) : string(value), variable->value.at);
        } else if (rows[i].defaultText)
            store(rows[i], rows[i].defaultText, block.name.at);
        else
            fail(block.name.at, fmt::format("\"{}\" has no variable \"{}\"", shown(nameOf(block)), rows[i].name));
    }
}

F_ScriptLock::F_ScriptLock(F_Script* script, unsigned int index)
    : m_script(script), m_outer(std::exchange(script->m_scope, script->find(index))) {}

F_ScriptLock::F_ScriptLock(F_Script* script, const char* name, unsigned int index)
    : m_script(script), m_outer(std::exchange(script->m_scope, script->find(name, index))) {}

} // namespace cairn
