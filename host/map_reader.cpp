#include "host/map_reader.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "host/console.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstring>

namespace cairn::host {

namespace {

/// Reads one text from front to back. Where a word ends depends on what is expected: a texture's name may hold braces
/// and quotes, a number ends before a parenthesis.
class MapParser {
  public:
    explicit MapParser(std::string_view text) : m_at(text.data()), m_end(text.data() + text.size()) {
        constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
        if (text.starts_with(BYTE_ORDER_MARK))
            m_at += BYTE_ORDER_MARK.size();
    }

    MapFile read() {
        while (skipBlanks()) {
            expect('{', "an entity's opening brace");
            const std::uint32_t line = m_line;
            if (beginsBrush())
                readBrush(line, m_file.loose, m_file.looseOnes);
            else
                readEntity(line);
        }
        return std::move(m_file);
    }

  private:
    [[noreturn]] void fail(std::uint32_t line, const std::string& what) const {
        throw new F_Exception(fmt::format("line {}: {}", line, what));
    }
    [[noreturn]] void failExpected(const char* what) const {
        if (m_at == m_end)
            fail(m_line, fmt::format("{} expected, the file ends", what));
        fail(m_line, fmt::format("{} expected, found \"{}\"", what, shownPiece(peekWord())));
    }
    std::string_view peekWord() const {
        const char* end = m_at;
        while (end != m_end && !asciiIsSpace(*end))
            ++end;
        return {m_at, static_cast<std::size_t>(end - m_at)};
    }

    /// Steps over white space and comments; false at the end of the text.
    bool skipBlanks() {
        for (; m_at != m_end; ++m_at) {
            if (*m_at == '\n')
                ++m_line;
            else if (*m_at == ';' || (*m_at == '/' && m_end - m_at > 1 && m_at[1] == '/')) {
                const void* lineEnd = std::memchr(m_at, '\n', static_cast<std::size_t>(m_end - m_at));
                if (!lineEnd) {
                    m_at = m_end;
                    return false;
                }
                m_at = static_cast<const char*>(lineEnd);
                ++m_line;
            } else if (!asciiIsSpace(*m_at))
                return true;
        }
        return false;
    }
    bool stands(char c) { return skipBlanks() && *m_at == c; }
    void expect(char c, const char* what) {
        if (!stands(c))
            failExpected(what);
        ++m_at;
    }
    bool take(char c) {
        if (!stands(c))
            return false;
        ++m_at;
        return true;
    }
    bool takeWord(std::string_view word) {
        if (!skipBlanks() || !asciiEqualNoCase(peekWord(), word))
            return false;
        m_at += word.size();
        return true;
    }

    /// What stands between two quotes on one line. `\"` is no closing quote, unless nothing but a line's end follows:
    /// old editors write folders with a backslash at the end.
    std::string_view takeQuoted(const char* what) {
        expect('"', what);
        const char* begin = m_at;
        for (; m_at != m_end && *m_at != '\n'; ++m_at) {
            if (*m_at != '"' || (m_at != begin && m_at[-1] == '\\' && !lineEndsBehind()))
                continue;
            const std::string_view text(begin, static_cast<std::size_t>(m_at - begin));
            ++m_at;
            return text;
        }
        fail(m_line, fmt::format("{} without a closing quote", what));
    }
    bool lineEndsBehind() const {
        const char* at = m_at + 1;
        while (at != m_end && *at != '\n' && asciiIsSpace(*at))
            ++at;
        return at == m_end || *at == '\n';
    }

    std::string_view takeTexture() {
        if (!skipBlanks())
            failExpected("a texture's name");
        if (*m_at == '"')
            return takeQuoted("a texture's name");
        const std::string_view name = peekWord();
        m_at += name.size();
        return name;
    }

    /// The number that stands here; false, with nothing taken, where none does.
    bool takeNumber(double& number) {
        if (!skipBlanks() || !(asciiIsDigit(*m_at) || *m_at == '-' || *m_at == '+' || *m_at == '.'))
            return false;
        const char* end = m_at;
        while (end != m_end && !asciiIsSpace(*end) && !std::strchr("()[]{}\"", *end))
            ++end;
        if (!readFiniteNumber({m_at, static_cast<std::size_t>(end - m_at)}, number))
            return false;
        m_at = end;
        return true;
    }
    void expectNumbers(double* numbers, int count, const char* what) {
        for (int i = 0; i < count; ++i)
            if (!takeNumber(numbers[i]))
                failExpected(what);
    }

    void readEntity(std::uint32_t line) {
        if (m_file.entities.size() == MAX_MAP_ENTITIES)
            fail(line, fmt::format("more than {} entities", MAX_MAP_ENTITIES));
        MapEntity entity;
        entity.line = line;
        entity.firstKey = static_cast<std::uint32_t>(m_file.keys.size());
        entity.firstBrush = static_cast<std::uint32_t>(m_file.brushes.size());
        while (!take('}')) {
            if (stands('"'))
                readKey();
            else if (take('{'))
                readBrush(m_line, entity.counts, m_file.brushes);
            else
                failExpected("a key, a brush or an entity's closing brace");
        }
        entity.keyCount = static_cast<std::uint32_t>(m_file.keys.size()) - entity.firstKey;
        m_file.entities.push_back(entity);
    }

    void readKey() {
        MapKey pair;
        pair.line = m_line;
        pair.key = takeQuoted("a key");
        pair.value = takeQuoted("a key's value in quotes");
        m_file.keys.push_back(pair);
    }

    /// True where what follows an opening brace belongs to a brush and not to an entity.
    bool beginsBrush() { return skipBlanks() && *m_at != '"' && *m_at != '{' && *m_at != '}'; }

    void readBrush(std::uint32_t line, MapBrushCounts& counts, std::vector<MapBrush>& brushes) {
        if (takeWord("patchDef2") || takeWord("patchDef3")) {
            readPatch();
            ++counts.patches;
        } else {
            MapBrush brush;
            brush.line = line;
            brush.firstFace = static_cast<std::uint32_t>(m_file.faces.size());
            while (stands('('))
                readFace(counts);
            brush.faceCount = static_cast<std::uint32_t>(m_file.faces.size()) - brush.firstFace;
            if (brush.faceCount == 0)
                failExpected("a brush's face");
            brushes.push_back(brush);
            ++counts.brushes;
        }
        if (!take('}')) {
            if (m_at == m_end)
                fail(m_line, fmt::format("the brush begun on line {} has no closing brace", line));
            failExpected("a face or a brush's closing brace");
        }
    }

    void readFace(MapBrushCounts& counts) {
        Progress::count();
        MapFace face;
        face.line = m_line;
        for (double* point : face.points) {
            expect('(', "a face's point");
            expectNumbers(point, 3, "a point's coordinate");
            expect(')', "the end of a face's point");
        }
        face.texture = takeTexture();
        face.valve = stands('[');
        if (face.valve) {
            readValveAxes(face);
            ++counts.valveFaces;
        } else {
            double n[5];
            expectNumbers(n, 5, "a texture's offset, rotation or scale");
            for (int i = 0; i < 2; ++i) {
                face.offset[i] = n[i];
                face.scale[i] = n[i + 3];
            }
            face.rotation = n[2];
            ++counts.standardFaces;
        }
        m_file.faces.push_back(face);
        // Later games of the family write the surface's flags and values behind.
        double flag = 0;
        while (takeNumber(flag))
            continue;
    }

    void readValveAxes(MapFace& face) {
        for (int i = 0; i < 2; ++i) {
            double n[4];
            expect('[', "a texture's axis");
            expectNumbers(n, 4, "a number of a texture's axis");
            expect(']', "the end of a texture's axis");
            for (int k = 0; k < 3; ++k)
                face.axes[i][k] = n[k];
            face.offset[i] = n[3];
        }
        double n[3];
        expectNumbers(n, 3, "a texture's rotation or scale");
        face.rotation = n[0];
        face.scale[0] = n[1];
        face.scale[1] = n[2];
    }

    /// `{ TEXTURE` and then numbers in parentheses that nest, up to the closing brace.
    void readPatch() {
        expect('{', "a patch's opening brace");
        takeTexture();
        std::size_t depth = 0;
        double number = 0;
        while (!take('}')) {
            if (take('('))
                ++depth;
            else if (depth > 0 && take(')'))
                --depth;
            else if (depth == 0 || !takeNumber(number))
                failExpected("a patch's control points");
        }
        if (depth != 0)
            fail(m_line, "a patch's parenthesis is not closed");
    }

    const char* m_at;
    const char* m_end;
    std::uint32_t m_line = 1;
    MapFile m_file;
};

} // namespace

bool readFiniteNumber(std::string_view word, double& number) {
    if (word.size() > 1 && word[0] == '+' && word[1] != '-')
        word.remove_prefix(1);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size() && std::isfinite(number);
}

std::string shownPiece(std::string_view word) {
    constexpr std::size_t LONGEST = 40;
    std::string text;
    for (const char c : word.substr(0, LONGEST)) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x20 || byte >= 0x7f ? fmt::format("\\x{:02X}", byte) : std::string(1, c);
    }
    return word.size() > LONGEST ? text + "..." : text;
}

MapBrushCounts& MapBrushCounts::operator+=(const MapBrushCounts& o) {
    brushes += o.brushes;
    patches += o.patches;
    standardFaces += o.standardFaces;
    valveFaces += o.valveFaces;
    return *this;
}

const MapKey* MapFile::find(const MapEntity& entity, std::string_view key) const {
    for (std::uint32_t i = entity.keyCount; i-- > 0;)
        if (keys[entity.firstKey + i].key == key)
            return &keys[entity.firstKey + i];
    return nullptr;
}

std::string_view MapFile::value(const MapEntity& entity, std::string_view key) const {
    const MapKey* pair = find(entity, key);
    return pair ? pair->value : std::string_view();
}

MapBrushCounts MapFile::total() const {
    MapBrushCounts sum = loose;
    for (const MapEntity& entity : entities)
        sum += entity.counts;
    return sum;
}

MapFile readMap(std::string_view text) {
    if (text.size() > MAX_MAP_BYTES)
        throw new F_Exception(fmt::format("line 1: a map of more than {} bytes", MAX_MAP_BYTES));
    return MapParser(text).read();
}

bool readMapNumbers(std::string_view text, double* numbers, int count) {
    for (int i = 0; i < count; ++i) {
        text = asciiTrimmed(text);
        std::size_t length = 0;
        while (length < text.size() && !asciiIsSpace(text[length]))
            ++length;
        if (!readFiniteNumber(text.substr(0, length), numbers[i]))
            return false;
        text.remove_prefix(length);
    }
    return asciiTrimmed(text).empty();
}

} // namespace cairn::host
