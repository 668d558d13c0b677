#include "host/edit_language.h"

#include <fmt/format.h>

#include <charconv>

namespace cairn::host {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

/// Reads the words of one command, one after the other.
class WordReader {
  public:
    explicit WordReader(std::string_view text) : m_left(text) {}

    /// False at the end of the command.
    bool read(std::string& word) {
        while (!m_left.empty() && isBlank(m_left.front()))
            m_left.remove_prefix(1);
        word.clear();
        if (m_left.empty() || m_left.front() == '#')
            return false;
        if (m_left.front() == '"')
            readQuoted(word);
        else
            readPlain(word);
        return true;
    }

  private:
    void readPlain(std::string& word) {
        while (!m_left.empty() && !isBlank(m_left.front())) {
            const char c = take();
            if (c == '"')
                throw EditRefusal("a quote stands within a word");
            if (isControl(c))
                throw EditRefusal("a control character stands in a word");
            word += c;
        }
    }

    void readQuoted(std::string& word) {
        take();
        for (;;) {
            if (m_left.empty())
                throw EditRefusal("a quote is not closed");
            const char c = take();
            if (c == '"')
                break;
            if (isControl(c) && c != '\t')
                throw EditRefusal("a control character stands in a word");
            word += c == '\\' ? readEscape() : c;
        }
        if (!m_left.empty() && !isBlank(m_left.front()))
            throw EditRefusal("a quote stands within a word");
    }

    char readEscape() {
        const char c = m_left.empty() ? '\0' : take();
        if (c == '"' || c == '\\')
            return c;
        unsigned char byte = 0;
        if (c == 'x' && m_left.size() >= 2) {
            const auto [end, error] = std::from_chars(m_left.data(), m_left.data() + 2, byte, 16);
            if (end == m_left.data() + 2 && error == std::errc()) {
                m_left.remove_prefix(2);
                return static_cast<char>(byte);
            }
        }
        throw EditRefusal("a backslash in quotes has none of \" \\ xNN behind it");
    }

    char take() {
        const char c = m_left.front();
        m_left.remove_prefix(1);
        return c;
    }

    std::string_view m_left; ///< of the command
};

} // namespace

std::vector<std::string> readEditWords(std::string_view command) {
    WordReader reader(command);
    std::vector<std::string> words;
    for (std::string word; reader.read(word);)
        words.push_back(std::move(word));
    return words;
}

EditScriptReader::EditScriptReader(std::string_view text) : m_left(text) {
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (m_left.starts_with(BYTE_ORDER_MARK))
        m_left.remove_prefix(BYTE_ORDER_MARK.size());
}

bool EditScriptReader::read(EditLine& line) {
    while (!m_left.empty()) {
        ++m_number;
        const std::size_t end = m_left.find('\n');
        std::string_view text = m_left.substr(0, end);
        m_left.remove_prefix(end == std::string_view::npos ? m_left.size() : end + 1);
        if (text.ends_with('\r'))
            text.remove_suffix(1);
        try {
            line = {m_number, readEditWords(text)};
        } catch (const EditRefusal& refusal) {
            throw EditRefusal(fmt::format("line {}: {}", m_number, refusal.what()));
        }
        if (!line.words.empty())
            return true;
    }
    return false;
}

std::vector<EditLine> readEditScript(std::string_view text) {
    EditScriptReader reader(text);
    std::vector<EditLine> lines;
    for (EditLine line; reader.read(line);)
        lines.push_back(std::move(line));
    return lines;
}

} // namespace cairn::host
