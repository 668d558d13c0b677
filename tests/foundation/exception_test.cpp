#include "cairn/foundation/exception.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace cairn {
namespace {

TEST(Exception, StandardFailuresBecomeFoundationOnes) {
    EXPECT_EQ(F_withFoundationExceptions([] { return 7; }), 7);
    EXPECT_THROW(
        {
            try {
                F_withFoundationExceptions([] { throw std::bad_alloc(); });
            } catch (F_MemoryException_Allocation* e) {
                const F_ExceptionGuard guard(e);
                EXPECT_EQ(e->getErrorMessage(), "Out of system memory resources");
                throw 1;
            }
        },
        int);
    EXPECT_EQ(test::failureText([] { F_withFoundationExceptions([] { throw std::out_of_range("too far"); }); }),
              "too far");
    EXPECT_EQ(test::failureText([] { F_withFoundationExceptions([] { throw new F_Exception("as it was"); }); }),
              "as it was");
    EXPECT_THROW(F_withFoundationExceptions([] { throw 5; }), int);
}

TEST(Exception, ShowsItsTextInABoxOfTheGivenStyle) {
    const test::ProcessStateGuard state;
    F_Exception("broken").show(MB_SYSTEMMODAL);
    EXPECT_EQ(state.boxes(), (std::vector<test::ShownBox>{{"broken", 0x1000}}));
}

} // namespace
} // namespace cairn
