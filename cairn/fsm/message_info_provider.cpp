#include "cairn/fsm/message_info_provider.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/script.h"
#include "cairn/platform/handlers.h"

namespace cairn {

namespace {

constexpr const char* FILE_NAME = "messages.txt";
constexpr unsigned int ANY = 0x7FFFFFFF; ///< as often as one likes

using Text = char[F_Script::STRING_SIZE];

void readValue(const F_Script& script, unsigned int index, CN_FSMMessageInfoProvider::ValueInfo& value) {
    Text text{};
    const F_Script::Variables variables[] = {
        {"String", text, nullptr, F_Script::t_string},
        {"DependentType", &value.dependentType, "0", F_Script::t_unsigned},
        {},
    };
    script.parse(variables, "Value", index, true);
    value.text = text;
}

/// Reads the argument whose block is the scope.
void readArgument(const F_Script& script, CN_FSMMessageInfoProvider::ArgumentInfo& argument) {
    static constexpr F_Script::Blocks BLOCKS[] = {{"General", 1, 1}, {"Value", 0, ANY}, {}};
    script.blockCheck(BLOCKS, false);
    Text format{}, description{};
    const F_Script::Variables variables[] = {
        {"Format", format, nullptr, F_Script::t_string},
        {"Type", &argument.type, "0", F_Script::t_unsigned},
        {"Description", description, nullptr, F_Script::t_string},
        {},
    };
    script.parse(variables, "General", 0, true);
    argument.format = format;
    argument.description = description;
    argument.values.resize(script.count("Value"));
    for (unsigned int i = 0; i < argument.values.size(); ++i)
        readValue(script, i, argument.values[i]);
}

string readName(const F_Script& script) {
    Text name{};
    const F_Script::Variables variables[] = {{"Name", name, nullptr, F_Script::t_string}, {}};
    script.parse(variables, "Msg", 0, true);
    return name;
}

} // namespace

void CN_FSMMessageInfoProvider::reset() {
    initializeMembers();
    initMessageInfoData();
}

void CN_FSMMessageInfoProvider::read(const string& fileName) {
    initializeMembers();
    F_withFoundationExceptions([&] { readMessageInfos(fileName); });
}

void CN_FSMMessageInfoProvider::read(F_Script& script) {
    initializeMembers();
    F_withFoundationExceptions([&] { readMessageInfos(script); });
}

const CN_FSMMessageInfoProvider::MessageInfo* CN_FSMMessageInfoProvider::getMessageInfo(const istring& name) const {
    const auto found = m_messages.find(name);
    return found == m_messages.end() ? nullptr : &found->second;
}

void CN_FSMMessageInfoProvider::initializeMembers() {
    m_messages.clear();
    m_receiverNames.clear();
}

void CN_FSMMessageInfoProvider::initMessageInfoData() {
    try {
        F_withFoundationExceptions([this] { readMessageInfos(FILE_NAME); });
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        writeConsoleLine(e->getErrorMessage());
    }
}

void CN_FSMMessageInfoProvider::readMessageInfos(const string& fileName) {
    F_Script script(fileName.c_str());
    readMessageInfos(script);
}

/// An entry whose block has a fault further in stays with what was read of it, but one that lacks a block or has one too
/// many is not made.
void CN_FSMMessageInfoProvider::readMessageInfos(F_Script& script) {
    static constexpr F_Script::Blocks BLOCKS[] = {{"Msg", 1, 1}, {"Argument", 0, ANY}, {"Receiver", 1, ANY}, {}};
    const unsigned int messages = script.count();
    for (unsigned int i = 0; i < messages; ++i) {
        const F_ScriptLock inMessage(&script, i);
        script.blockCheck(BLOCKS, false);
        const unsigned int arguments = script.count("Argument");
        MessageInfo& message = m_messages[toIString(asciiLowered(script.getBlockName()))];
        message.name = readName(script);
        message.arguments.resize(arguments);
        for (unsigned int a = 0; a < arguments; ++a) {
            const F_ScriptLock inArgument(&script, "Argument", a);
            readArgument(script, message.arguments[a]);
        }
        readReceivers(script, message);
    }
}

/// Reads the receivers of the message whose block is the scope.
void CN_FSMMessageInfoProvider::readReceivers(const F_Script& script, MessageInfo& message) {
    message.receivers.resize(script.count("Receiver"));
    for (unsigned int i = 0; i < message.receivers.size(); ++i) {
        ReceiverInfo& receiver = message.receivers[i];
        Text name{};
        const F_Script::Variables variables[] = {
            {"Type", &receiver.type, nullptr, F_Script::t_unsigned},
            {"Name", name, "", F_Script::t_string},
            {},
        };
        script.parse(variables, "Receiver", i, true);
        receiver.name = name;
        m_receiverNames.emplace(toIString(receiver.name), 0);
    }
}

} // namespace cairn
