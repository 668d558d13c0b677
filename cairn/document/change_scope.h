#pragma once

#include "cairn/document/document.h"

#include <exception>

namespace cairn {

/// Stands around steps of a change that belong together: where an exception leaves it, its document must be discarded.
class CN_ChangeScope {
  public:
    /// Null stands for the document of what belongs to none.
    explicit CN_ChangeScope(CN_Document* document) : m_document(document), m_exceptions(std::uncaught_exceptions()) {}
    ~CN_ChangeScope() {
        if (std::uncaught_exceptions() > m_exceptions && CN_Document::isAlive(m_document))
            m_document->setMustBeDiscarded();
    }
    CN_ChangeScope(const CN_ChangeScope&) = delete;
    CN_ChangeScope& operator=(const CN_ChangeScope&) = delete;

  private:
    CN_Document* m_document; ///< not owned: null for none
    int m_exceptions;        ///< in flight when it was made
};

} // namespace cairn
