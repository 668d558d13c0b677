#pragma once

namespace cairn {

/// Describes the messages that state machines may send.
class CN_FSMMessageInfoProvider {};

} // namespace cairn
