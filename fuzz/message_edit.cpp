#include "cairn/platform/handlers.h"
#include "fuzz/support/bytes.h"
#include "tests/support/message_model.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Any bytes are random edits of a small level and its state machines. After each batch every message is what a model makes
// from scratch, and at the end the level that its save gives is the same graph.

namespace {

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
    cairn::fuzz::Bytes bytes(data, size);
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
