#include "host/obj_reader.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "host/console.h"
#include "host/map_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <unordered_map>

namespace cairn::host {

namespace {

/// Takes the first word off a line; empty at its end.
std::string_view takeWord(std::string_view& line) {
    std::size_t begin = 0;
    while (begin < line.size() && asciiIsSpace(line[begin]))
        ++begin;
    std::size_t end = begin;
    while (end < line.size() && !asciiIsSpace(line[end]))
        ++end;
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

/// Takes the lines of a text one after the other, without their ends and without comments that fill a line's end.
class LineTaker {
  public:
    /// Where no line ends in a line feed, carriage returns end them.
    explicit LineTaker(std::string_view text)
        : m_rest(text), m_lineEnd(text.find('\n') == std::string_view::npos ? '\r' : '\n') {
        constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
        if (m_rest.starts_with(BYTE_ORDER_MARK))
            m_rest.remove_prefix(BYTE_ORDER_MARK.size());
    }

    /// False at the end of the text. A line that ends in "\" comes with the next one: white space stands between.
    bool next(std::string_view& line) {
        if (m_rest.empty())
            return false;
        m_line += m_taken;
        m_taken = 0;
        std::size_t end = 0;
        for (bool goesOn = true; goesOn && end < m_rest.size();) {
            const std::size_t begin = end;
            end = std::min(m_rest.find(m_lineEnd, begin), m_rest.size());
            std::size_t last = end;
            while (last > begin && asciiIsSpace(m_rest[last - 1]))
                --last;
            goesOn = last > begin && m_rest[last - 1] == '\\';
            end = std::min(end + 1, m_rest.size());
            ++m_taken;
        }
        line = m_rest.substr(0, end);
        m_rest.remove_prefix(end);
        line = asciiTrimmed(line.substr(0, commentOf(line)));
        return true;
    }
    /// The number of the line that was taken last, of its first where it goes on; from 1.
    std::uint32_t number() const { return m_line; }

  private:
    /// Where a comment begins: at a "#" ahead of which there is nothing or a blank, as names may hold one.
    static std::size_t commentOf(std::string_view line) {
        std::size_t at = line.find('#');
        while (at != std::string_view::npos && at > 0 && !asciiIsSpace(line[at - 1]))
            at = line.find('#', at + 1);
        return at;
    }

    std::string_view m_rest;
    char m_lineEnd;
    std::uint32_t m_line = 1;
    std::uint32_t m_taken = 0; ///< lines of the text in the one taken last
};

/// Statements that say nothing of polygons: read over.
constexpr std::string_view IDLE_WORDS[] = {
    "vp",     "s",     "mg",   "lod",  "usemap", "maplib", "shadow_obj", "trace_obj", "bevel", "c_interp", "d_interp",
    "cstype", "deg",   "bmat", "step", "parm",   "trim",   "hole",       "scrv",      "sp",    "end",      "con",
    "ctech",  "stech", "cdc",  "cdp",  "bsp",    "bzp",    "res",        "call",      "csh",
};
/// Elements of other kinds.
constexpr std::string_view OTHER_ELEMENTS[] = {"p", "l", "curv", "curv2", "surf"};

template <std::size_t N> bool isOneOf(std::string_view word, const std::string_view (&words)[N]) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

class ObjParser {
  public:
    explicit ObjParser(std::string_view text) : m_lines(text) {}

    ObjFile read() {
        m_file.materials.emplace_back();
        m_materialNumbers.emplace(std::string_view(), 0);
        std::string_view line;
        while (m_lines.next(line)) {
            if (const std::string_view word = takeStatementWord(line); !word.empty())
                readStatement(word, line);
            Progress::count();
        }
        return std::move(m_file);
    }

  private:
    [[noreturn]] void fail(const std::string& what) const {
        throw new F_Exception(fmt::format("line {}: {}", m_lines.number(), what));
    }

    /// The next word of the line, a "\" before a line's end read over.
    static std::string_view takeStatementWord(std::string_view& line) {
        std::string_view word = takeWord(line);
        while (word == "\\")
            word = takeWord(line);
        if (word.size() > 1 && word.back() == '\\' && asciiIsDigit(word[word.size() - 2]))
            word.remove_suffix(1);
        return word;
    }

    void readStatement(std::string_view word, std::string_view rest) {
        if (word == "v")
            readPosition(rest);
        else if (word == "vt")
            readCoordinate(rest);
        else if (word == "vn")
            ++m_normals;
        else if (word == "f" || word == "fo")
            readFace(rest);
        else if (word == "o") {
            m_object = asciiTrimmed(rest);
            m_group = {};
        } else if (word == "g")
            m_group = asciiTrimmed(rest);
        else if (word == "usemtl")
            m_material = numberOf(asciiTrimmed(rest));
        else if (word == "mtllib")
            m_file.libraries.push_back({asciiTrimmed(rest), m_lines.number()});
        else if (isOneOf(word, OTHER_ELEMENTS)) {
            if (m_file.passedOver++ == 0)
                m_file.firstPassedOver = m_lines.number();
        } else if (!isOneOf(word, IDLE_WORDS))
            fail(fmt::format("no statement of an object: \"{}\"", shownPiece(word)));
    }

    void readNumbers(std::string_view& rest, double* numbers, int least, int most, const char* what) {
        for (int i = 0; i < most; ++i) {
            const std::string_view word = takeStatementWord(rest);
            if (word.empty() && i >= least)
                return;
            if (!readFiniteNumber(word, numbers[i]))
                fail(word.empty() ? fmt::format("{} expected, the line ends", what)
                                  : fmt::format("{} expected, found \"{}\"", what, shownPiece(word)));
        }
    }
    /// What stands behind the coordinates, a weight or a colour, says nothing of the place.
    void readPosition(std::string_view rest) {
        double n[3];
        readNumbers(rest, n, 3, 3, "a vertex's coordinate");
        for (const double c : n)
            if (std::abs(c) > MAX_OBJ_COORDINATE)
                fail("a vertex lies too far out");
        m_file.positions.emplace_back(n[0], n[1], n[2]);
    }
    void readCoordinate(std::string_view rest) {
        double n[2] = {};
        readNumbers(rest, n, 1, 2, "a texture coordinate");
        m_file.coordinates.emplace_back(n[0], n[1]);
    }

    std::uint32_t numberOf(std::string_view material) {
        const auto [at, isNew] =
            m_materialNumbers.emplace(material, static_cast<std::uint32_t>(m_file.materials.size()));
        if (isNew)
            m_file.materials.push_back(material);
        return at->second;
    }

    void readFace(std::string_view rest) {
        ObjFace face;
        face.line = m_lines.number();
        face.firstCorner = static_cast<std::uint32_t>(m_file.corners.size());
        for (std::string_view word = takeStatementWord(rest); !word.empty(); word = takeStatementWord(rest)) {
            if (face.cornerCount == MAX_OBJ_CORNERS)
                fail(fmt::format("a face of more than {} corners", MAX_OBJ_CORNERS));
            m_file.corners.push_back(readCorner(word));
            ++face.cornerCount;
        }
        if (face.cornerCount < 3)
            fail(fmt::format("a face needs three corners, this has {}", face.cornerCount));
        face.group = currentGroup();
        face.material = m_material;
        m_file.faces.push_back(face);
    }

    std::uint32_t currentGroup() {
        const auto [at, isNew] =
            m_groupNumbers.emplace(std::make_pair(m_object, m_group), static_cast<std::uint32_t>(m_file.groups.size()));
        if (isNew)
            m_file.groups.push_back({m_object, m_group, m_lines.number()});
        return at->second;
    }

    /// `P`, `P/T`, `P//N` or `P/T/N`; the last two may be left empty.
    ObjCorner readCorner(std::string_view word) {
        const std::string_view whole = word;
        std::string_view parts[3];
        std::size_t count = 0;
        for (bool goesOn = true; goesOn;) {
            if (count == 3)
                fail(fmt::format("no corner of a face: \"{}\"", shownPiece(whole)));
            const std::size_t slash = word.find('/');
            goesOn = slash != std::string_view::npos;
            parts[count++] = word.substr(0, slash);
            word.remove_prefix(goesOn ? slash + 1 : word.size());
        }
        ObjCorner corner{};
        corner.position = static_cast<std::uint32_t>(place(parts[0], m_file.positions.size(), "vertex", whole));
        corner.coordinate =
            parts[1].empty()
                ? -1
                : static_cast<std::int32_t>(place(parts[1], m_file.coordinates.size(), "texture coordinate", whole));
        if (!parts[2].empty())
            place(parts[2], m_normals, "normal", whole);
        return corner;
    }
    /// An index from 1, or from the end with -1 for the last so far, as a place in the list.
    std::size_t place(std::string_view text, std::size_t size, const char* what, std::string_view corner) const {
        std::int64_t index = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
        if (error != std::errc() || end != text.data() + text.size())
            fail(fmt::format("no corner of a face: \"{}\"", shownPiece(corner)));
        const auto count = static_cast<std::int64_t>(size);
        const std::int64_t at = index < 0 ? count + index : index - 1;
        if (index == 0 || at < 0 || at >= count)
            fail(fmt::format("there is no {} {}: {} stand ahead", what, index, count));
        return static_cast<std::size_t>(at);
    }

    LineTaker m_lines;
    ObjFile m_file;
    std::size_t m_normals = 0; ///< so far
    std::string_view m_object, m_group;
    std::uint32_t m_material = 0;
    std::map<std::pair<std::string_view, std::string_view>, std::uint32_t> m_groupNumbers;
    std::unordered_map<std::string_view, std::uint32_t> m_materialNumbers;
};

/// How many words behind an option of a texture belong to it; -1 for up to three numbers.
int wordsOfOption(std::string_view option) {
    if (option == "-mm")
        return 2;
    return option == "-o" || option == "-s" || option == "-t" ? -1 : 1;
}

/// The file's name in the rest of a `map_Kd` line, which may hold blanks.
std::string_view imageOf(std::string_view rest) {
    for (rest = asciiTrimmed(rest); rest.starts_with('-'); rest = asciiTrimmed(rest)) {
        std::string_view behind = rest;
        const int words = wordsOfOption(takeWord(behind));
        double number = 0;
        for (int i = 0; i < (words < 0 ? 3 : words); ++i) {
            std::string_view next = behind;
            if (words < 0 && !readFiniteNumber(takeWord(next), number))
                break;
            takeWord(behind);
        }
        rest = behind;
    }
    return rest;
}

} // namespace

ObjFile readObj(std::string_view text) {
    if (text.size() > MAX_OBJ_BYTES)
        throw new F_Exception(fmt::format("line 1: an object of more than {} bytes", MAX_OBJ_BYTES));
    return ObjParser(text).read();
}

std::vector<MtlMaterial> readMtl(std::string_view text) {
    std::vector<MtlMaterial> materials;
    LineTaker lines(text.substr(0, MAX_OBJ_BYTES));
    for (std::string_view line; lines.next(line);) {
        const std::string_view word = takeWord(line);
        if (word == "newmtl")
            materials.push_back({asciiTrimmed(line), {}});
        else if (!materials.empty() && asciiEqualNoCase(word, "map_Kd"))
            materials.back().image = imageOf(line);
    }
    return materials;
}

} // namespace cairn::host
