#include "host/edit_set.h"

#include "host/editor.h"
#include "host/entity_properties.h"
#include "host/entity_text.h"

#include <fmt/format.h>

namespace cairn::host {

namespace {

void describeProperty(std::string& text, const EntityProperty& property) {
    text += fmt::format("  {:<19} {}", property.name, describeValue(property));
    text += property.help.empty() ? "\n" : fmt::format(": {}\n", property.help);
}

std::string describeProperties() {
    std::string text = "Properties of every entity:\n";
    for (const EntityProperty& property : generalProperties())
        describeProperty(text, property);
    for (int kind = CN_KIND_MESH; kind <= CN_KIND_VOL_LIGHTING_BOX; ++kind) {
        std::string own;
        for (const EntityProperty& property : entityProperties())
            if (property.isOf(kind) && !property.isGeneral())
                describeProperty(own, property);
        if (!own.empty())
            text += fmt::format("{}:\n{}", kindName(kind), own);
    }
    return text;
}

} // namespace

void editSet(Editor& editor, std::span<const std::string> words) {
    CN_LevelEntity& entity = editor.changeableEntity(words[0]);
    const EntityProperty& property = requireProperty(entity, words[1]);
    setProperty(entity, property, readValue(property, words[2]));
}

std::string describeEditCommand(const std::string& name) {
    for (const EditCommand& command : editCommands()) {
        if (command.name != name)
            continue;
        std::string text = fmt::format("{} {}\n", command.name, command.usage);
        if (!command.help.empty())
            text += fmt::format("    {}\n", command.help);
        if (command.run == editSet)
            text += '\n' + describeProperties();
        return text;
    }
    return {};
}

} // namespace cairn::host
