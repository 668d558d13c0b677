#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

class F_MemoryFile;

/// Version of the chunk that holds a trigger's settings.
inline constexpr int CAIRN_LVL_ENTITY_TRIGGER_VERSION = 3;

/// What sets a trigger off. Each flag names who or what does; how the game uses them is its own matter.
class CN_TriggerProperties {
  public:
    CN_TriggerProperties() = default;
    CN_TriggerProperties(const CN_TriggerProperties&) = default;
    CN_TriggerProperties& operator=(const CN_TriggerProperties&) = default;
    virtual ~CN_TriggerProperties() = default;
    bool operator==(const CN_TriggerProperties& other) const;

    /// Sets all to the defaults.
    void initialize();
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote and older forms; what a version lacks stays. The animation's name is checked against the
    /// content database. The radius is not in the record. Throws on damage.
    void load(F_MemoryFile& file);

    bool playerTrigger = false;
    bool useTrigger = false;
    bool enemyTrigger = false;
    bool bulletTrigger = false;
    bool lookAtTrigger = false;
    bool visibilityTrigger = false;
    double radius = 0.5;               ///< of the trigger's sphere; never stored here
    istring animationName = "Default"; ///< of the use animation
};

} // namespace cairn
