#include "cairn/platform/handlers.h"
#include "tests/support/message_model.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Any bytes are random edits of a small level and its state machines. After each batch every message is what a model makes
// from scratch, and at the end the level that its save gives is the same graph.

namespace {

/// Makes choices of bytes; zeros once they are used up.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool empty() const { return m_at == m_end; }
    std::size_t choose(std::size_t below) {
        std::size_t value = next();
        if (below > 256)
            value = value << 8 | next();
        return value % below;
    }

  private:
    std::size_t next() { return empty() ? 0 : *m_at++; }

    const std::uint8_t *m_at, *m_end;
};

void check(const std::string& fault) {
    if (fault.empty())
        return;
    std::fprintf(stderr, "%s\n", fault.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    cairn::setMessageBoxHandler([](const cairn::CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t MACHINES = 6, MOST_EDITS = 500;
    Bytes bytes(data, size);
    cairn::test::MessageModel model(MACHINES, [&](std::size_t below) { return bytes.choose(below); });
    for (std::size_t edits = 0; !bytes.empty() && edits < MOST_EDITS; ++edits) {
        model.edit();
        if (bytes.choose(8) == 0)
            check(model.findFault());
    }
    check(model.findLoadFault(true));
    check(model.findFault());
    check(model.findLoadFault(false));
    return 0;
}
