#include "cairn/foundation/system.h"
#include "cairn/platform/handlers.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

TEST(Handlers, BoxesAndLogArriveUnchanged) {
    const test::ProcessStateGuard state;
    AfxMessageBox("first");
    AfxMessageBox(CString(std::string_view("a\0b", 3)), MB_ICONEXCLAMATION | MB_TASKMODAL);
    F_System::verbose("%d of %s\n", 1, "two");
    F_System::verbose("no line end");
    EXPECT_EQ(state.boxes(), (std::vector<test::ShownBox>{{"first", 0}, {std::string("a\0b", 3), 0x2030}}));
    EXPECT_EQ(state.log(), "1 of two\nno line end");
}

TEST(Handlers, TheEndOfTheProcessNeverReturns) {
    const test::ProcessStateGuard state;
    EXPECT_EQ(test::failureText([] { terminateAfterMessage("bad index"); }), "the process was ended");
    setProcessEndHandler([](int) {});
    EXPECT_EQ(test::failureText([] { terminateAfterMessage("bad index"); }), "bad index");
}

TEST(HandlersDeathTest, DefaultsAreALineOnStandardErrorAndExitCode0) {
    EXPECT_EXIT(
        {
            AfxMessageBox("Something is wrong");
            terminateAfterMessage("unused");
        },
        testing::ExitedWithCode(0), "^Something is wrong\n$");
}

TEST(Handlers, AHandlerMayReplaceItself) {
    const test::ProcessStateGuard state;
    int shown = 0;
    setMessageBoxHandler([counted = &shown](const CString&, unsigned) {
        setMessageBoxHandler([](const CString&, unsigned) {});
        ++*counted;
    });
    AfxMessageBox("one");
    AfxMessageBox("two");
    EXPECT_EQ(shown, 1);
}

} // namespace
} // namespace cairn
