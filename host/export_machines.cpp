#include "host/export_machines.h"

#include "cairn/document/level_file_library.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/geometry/exit_table.h"
#include "host/entity_text.h"
#include "host/machine_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace cairn::host {

namespace {

/// The entity's name as a comment of one line: a control character would end it.
std::string commentOf(const CN_LevelEntity& entity) {
    std::string line = "# ";
    for (const char c : qualifiedName(entity)) {
        const auto code = static_cast<unsigned char>(c);
        line += code < 0x20 || code == 0x7f ? fmt::format("\\x{:02X}", code) : std::string(1, c);
    }
    return line + '\n';
}

/// Writes a script, entity by entity.
class ScriptWriter {
  public:
    explicit ScriptWriter(bool selectionOnly) : m_selectionOnly(selectionOnly) {}

    void write(const CN_LevelEntity& entity) {
        const E_FSM* const machine = entity.getFSM();
        if (!machine || (m_selectionOnly && !entity.selected()))
            return;
        std::string lines;
        machine->forEachMessage([&](const E_FSM::Message& message) { write(message, entity, lines); });
        if (lines.empty())
            return;
        ++m_script.machines;
        m_script.text += commentOf(entity) + lines;
    }

    MachineText take() {
        for (ExportLoss* loss : {&m_untargeted, &m_unwritable})
            if (loss->count > 0)
                m_script.losses.push_back(*loss);
        return std::move(m_script);
    }

  private:
    void write(const E_FSM::Message& message, const CN_LevelEntity& entity, std::string& lines) {
        if (!message.isToBeExported(m_selectionOnly)) {
            if (!message.m_text.empty() && !message.isCommentMessage() && !message.m_global && !message.m_target)
                count(m_untargeted, entity);
            return;
        }
        const std::size_t before = lines.size();
        message.exportTo(lines, m_exits);
        if (lines.size() > before)
            lines += '\n';
        else
            count(m_unwritable, entity);
    }

    static void count(ExportLoss& loss, const CN_LevelEntity& entity) {
        if (loss.count++ == 0)
            loss.first = qualifiedName(entity);
    }

    bool m_selectionOnly;
    CN_ExitTable m_exits;
    MachineText m_script;
    ExportLoss m_untargeted{"messages whose target is no entity are left out", 0, ""};
    ExportLoss m_unwritable{"messages that name no exit of their target or no groups are left out", 0, ""};
};

} // namespace

MachineText makeMachineXml(const CN_LevelEntity& root, const ExportChoice& choice) {
    MachineText xml;
    std::ostringstream out;
    out.exceptions(std::ios::badbit); // a stream that lacks memory would go on without its text
    out << "<FSMs>\n";
    const istring filter = toIString(choice.filter);
    forEachEntityOf(root, [&](const CN_LevelEntity& entity) {
        const E_FSM* const machine = entity.getFSM();
        if (machine && machine->dumpXML(out, filter, choice.selectionOnly ? &choice.selection : nullptr))
            ++xml.machines;
    });
    out << "</FSMs>\n";
    xml.text = std::move(out).str();
    return xml;
}

MachineText makeScript(CN_Document& document, const ExportChoice& choice) {
    CN_LevelFileLibrary::instance()->cacheTargetGroups(&document, choice.selectionOnly);
    ScriptWriter writer(choice.selectionOnly);
    forEachEntityOf(*document.getLevel(), [&](const CN_LevelEntity& entity) { writer.write(entity); });
    return writer.take();
}

} // namespace cairn::host
