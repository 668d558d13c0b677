#pragma once

#include "cairn/foundation/strings.h"

#include <map>
#include <vector>

namespace cairn {

class F_Script;

/// The catalogue of the messages that state machines may send, for a host that offers or checks them: nothing in the
/// library looks a message up. `docs/script.md` describes its file.
class CN_FSMMessageInfoProvider {
  public:
    /// A value that an argument may have.
    struct ValueInfo {
        string text;
        unsigned int dependentType = 0; ///< of what depends on the choice: for the host, no meaning here
    };
    /// One argument of a message.
    struct ArgumentInfo {
        string format;                 ///< how it is written
        unsigned int type = 0;         ///< for the host, no meaning here
        string description;            ///< for people
        std::vector<ValueInfo> values; ///< to choose from, in the order of the file
    };
    /// A kind of entity that a message may go to.
    struct ReceiverInfo {
        unsigned int type = 0; ///< for the host, no meaning here
        string name;           ///< may be empty
    };
    /// A message that machines may send.
    struct MessageInfo {
        string name;                         ///< as it is written in a message
        std::vector<ArgumentInfo> arguments; ///< in the order of the file
        std::vector<ReceiverInfo> receivers; ///< likewise
    };

    /// Reads "messages.txt" of the working directory, as `reset` does.
    CN_FSMMessageInfoProvider() { reset(); }
    CN_FSMMessageInfoProvider(const CN_FSMMessageInfoProvider&) = default;
    CN_FSMMessageInfoProvider& operator=(const CN_FSMMessageInfoProvider&) = default;
    virtual ~CN_FSMMessageInfoProvider() = default;

    /// Empties the catalogue and reads "messages.txt" of the working directory. Nothing is thrown: where the file cannot be
    /// read, or not to its end, the entries before the fault stay, and the reason is a line for the console
    /// (`setConsoleLineHandler`).
    void reset();
    /// Empties the catalogue and reads a file. Throws an `F_Exception*` that names the file and what is wrong with it; the
    /// entries before the fault stay.
    void read(const string& fileName);
    /// The same for a script, which must stand in no block.
    void read(F_Script& script);

    /// The entry of a message by the name of its block, in any case; null where there is none. Valid until the catalogue is
    /// read again.
    const MessageInfo* getMessageInfo(const istring& name) const;
    /// All entries by the names of their blocks, in lower case.
    const std::map<istring, MessageInfo>& getMessages() const { return m_messages; }
    /// Every receiver's name that was read, the empty one included, each with the value 0.
    const std::map<istring, int>& getReceiverNames() const { return m_receiverNames; }
    /// True where the catalogue knows no message.
    bool isEmpty() const { return m_messages.empty(); }

  private:
    void initializeMembers();
    void initMessageInfoData();
    void readMessageInfos(const string& fileName);
    void readMessageInfos(F_Script& script);
    void readReceivers(const F_Script& script, MessageInfo& message);

    std::map<istring, MessageInfo> m_messages; ///< by the folded name of the message's block
    std::map<istring, int> m_receiverNames;    ///< of all messages that were read
};

} // namespace cairn
