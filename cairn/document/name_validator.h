#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

/// Judges names of entities for hosts, and keeps the reason of the last refusal.
class CN_NameValidator {
  public:
    static CN_NameValidator* instance();

    /// True for a name of letters, digits, "+", "-" and "_" that begins with a letter or digit and is none of
    /// "parent", "this" and "player". False leaves the reason, true clears it.
    bool isValidEntityName(const string& name);
    bool isValidEntityName(const CString& name) { return isValidEntityName(toString(name)); }
    bool isValidEntityName(const istring& name) { return isValidEntityName(toString(name)); }
    bool isValidEntityName(const char* name) { return isValidEntityName(string(name ? name : "")); }
    /// "Naming Error! " and the reason of the last refusal, or the empty string; valid until the next call.
    const string& getLastNameFaultDescription() const;
    void setLastNameFaultDescription(const char* fault) { m_fault = fault ? fault : ""; }

  private:
    string m_fault; ///< reason of the last refusal
};

} // namespace cairn
