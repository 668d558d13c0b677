#include "cairn/fsm/fsm.h"
#include "cairn/fsm/line_writer.h"

#include <algorithm>

namespace cairn {

bool E_FSM::Message::updateTargetName(E_FSM* fsm) {
    CN_FSMLineWriter writer;
    writer.start(fsm->getParent());
    return writer.writeTarget(*this);
}

istring E_FSM::Message::joinArguments(const char* separator) const {
    istring text;
    for (const istring& argument : m_arguments) {
        if (&argument != &m_arguments.front())
            text += separator;
        text += argument;
    }
    return text;
}

std::size_t E_FSM::Message::findArguments() const {
    const std::string_view line = view(m_text); // the same answer as of the name's own search, which folds each byte
    const std::size_t arrow = m_global ? std::string_view::npos : line.find("->");
    return line.find('(', arrow == std::string_view::npos ? 0 : arrow);
}

void E_FSM::Message::rewriteArguments(const istring& arguments) {
    m_text.erase(std::min(findArguments(), m_text.size()));
    m_text.append("(").append(arguments).append(");");
}

} // namespace cairn
