#include "tests/support/old_machines.h"

#include "tests/support/level_bytes.h"
#include "tests/support/test_data.h"

namespace cairn::test {

namespace {

template <class Items, class Write>
void writeAll(F_MemoryFile& file, F_MemoryFile::BasicType type, const Items& items, Write&& write) {
    file.writeTaggedCount(type, items.size());
    for (const auto& item : items)
        write(item);
}

void writeNames(F_MemoryFile& file, F_MemoryFile::BasicType type, const std::vector<std::string>& names) {
    writeAll(file, type, names, [&](const std::string& name) { file << name.c_str(); });
}

void writeMessages(F_MemoryFile& file, const std::vector<OldMessage>& messages, int version) {
    writeAll(file, F_MemoryFile::TAG_VECTOR, messages, [&](const OldMessage& message) {
        if (version > 0)
            file.createChunk(0, version);
        file << message.text.c_str() << message.name.c_str() << message.targetName.c_str();
        writeNames(file, F_MemoryFile::TAG_VECTOR, message.arguments);
        file << message.global;
        if (version == 0)
            return;
        file << message.target;
        writeAll(file, F_MemoryFile::TAG_VECTOR, message.objects, [&](unsigned int identity) { file << identity; });
        file.closeChunk();
    });
}

void writeTimer(F_MemoryFile& file, const std::string& name) {
    file << name.c_str();
    file.createChunk(0, 1);
    file << true << 2.5f;
    file.closeChunk();
}

OldHandler before(std::string name, std::vector<OldMessage> messages) {
    return {.name = std::move(name), .before = std::move(messages)};
}

} // namespace

void writeOldMachine(F_MemoryFile& file, const OldMachine& machine) {
    if (machine.version > 0)
        file.createChunk(0, machine.version);
    writeNames(file, F_MemoryFile::TAG_ISTRING_SET, machine.states);
    file << machine.defaultState.c_str();
    writeNames(file, F_MemoryFile::TAG_ISTRING_SET, machine.events);
    writeAll(file, F_MemoryFile::TAG_ISTRING_MAP, machine.handlers, [&](const OldHandler& handler) {
        file << handler.name.c_str();
        writeMessages(file, handler.before, machine.messageVersion);
        writeAll(file, F_MemoryFile::TAG_ISTRING_MAP, handler.onState, [&](const auto& state) {
            file << state.first.c_str();
            writeMessages(file, state.second, machine.messageVersion);
        });
        writeMessages(file, handler.after, machine.messageVersion);
    });
    file << false << false;
    if (machine.version == 0)
        return;
    writeAll(file, F_MemoryFile::TAG_ISTRING_MAP, machine.timers,
             [&](const std::string& name) { writeTimer(file, name); });
    file.closeChunk();
}

std::filesystem::path StoredMachine::path() const {
    return projectFile("tests/data/records/machine_" + name + ".record");
}

Bytes StoredMachine::bytes() const {
    F_MemoryFile file;
    writeOldMachine(file, machine);
    return bytesOf(file);
}

std::vector<StoredMachine> storedMachines() {
    const OldMessage go{.text = "::Door->DO_Animate(open);",
                        .name = "DO_Animate",
                        .targetName = "::Door",
                        .arguments = {"open"},
                        .target = 9,
                        .objects = {0}};
    const OldMessage print{.text = "Print(hello)", .name = "Print", .arguments = {"hello"}, .global = true};
    const OldMessage note{.text = " # note"};
    const auto line = [](std::string name, std::vector<std::string> arguments) {
        std::string text = "door->" + name + "(";
        for (const std::string& argument : arguments)
            text += (&argument == &arguments.front() ? "" : ", ") + argument;
        return OldMessage{.text = text + ");", .name = name, .targetName = "::door", .arguments = std::move(arguments)};
    };
    const OldMachine whole{
        .states = {"idle", "Run"},
        .defaultState = "RUN",
        .events = {"alarm"},
        .handlers = {{"FSM_Switch(idle)", {go, note}, {{"run", {print}}}, {go}}, before("Startup", {})},
        .timers = {"fuse"}};
    OldMachine bare = whole, bareMessages = whole;
    bare.version = bare.messageVersion = bareMessages.messageVersion = 0;
    const OldHandler after{.name = "Enter2nd(", .before = {note}, .onState = {}, .after = {print}};
    return {
        {"1", whole},
        {"bare", bare},
        {"messages_bare", bareMessages},
        {"state_unknown", {.states = {"a"}, .defaultState = "b", .handlers = {before("Startup", {})}}},
        {"state_left", {.defaultState = "b", .handlers = {before("Startup", {})}}},
        {"activate", {.handlers = {before("Activate", {go, note})}}},
        {"activate_both", {.handlers = {before("Activate", {go}), before("t_activate", {note})}}},
        {"keyframes",
         {.handlers = {before("Animation(run)", {note}), before("enter1ST(run)", {go, note}), after,
                       before("Leave1st", {go}), before("Leave1st(run)x", {print})}}},
        {"renamed",
         {.handlers = {before("Startup",
                              {line("DO_InvertAnimation", {"run"}),
                               line("LI_CreateLevelItemToBone", {"Enemy_hand", "enemy_x"}),
                               line("LI_CreateLevelItemToBone", {"hand"}), line("LI_CreateLevelItemToBone", {})})}}},
        {"player_ai",
         {.handlers = {before("Startup", {{.text = "player.ai->Look(PLAYER.AI, a.trigger);",
                                           .name = "Look",
                                           .targetName = "::a.trigger",
                                           .arguments = {"PLAYER.AI", "a.trigger"}},
                                          {.text = "# player.ai"},
                                          line("AI_SetTarget", {"player_group", "x"}),
                                          line("AI_SetTargetGroups", {"PLAYER_GROUP", "PLAYER_GROUP"}),
                                          line("AI_SetTargetGroups", {"7", "PLAYER_GROUP"}),
                                          line("AI_SetTargetGroups", {"7", "8"})})}}},
        {"collides", {.handlers = {before("DO_CharacterCollides", {go}), before("Startup", {})}}},
    };
}

} // namespace cairn::test
