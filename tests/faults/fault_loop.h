#pragma once

#include "cairn/foundation/exception.h"
#include "tests/support/allocation_faults.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

namespace cairn::test {

/// What came of work whose allocations failed one after the other.
struct FaultCounts {
    std::size_t points = 0;    ///< allocations that failed, a run of the work each
    std::size_t survived = 0;  ///< runs that did without
    std::size_t discarded = 0; ///< runs after which the document had to be discarded

    FaultCounts& operator+=(const FaultCounts& other) {
        points += other.points;
        survived += other.survived;
        discarded += other.discarded;
        return *this;
    }
    std::string text() const {
        return fmt::format("{} points, {} done without the memory, {} documents to be discarded", points, survived,
                           discarded);
    }
};

/// Which allocations fail.
enum class FaultChoice {
    SOME, ///< the first ones, then ever fewer
    ALL,
};

/// Runs `work` and says whether it ended for want of memory; other exceptions fail the test.
template <class Work> bool runsOutOfMemory(Work&& work) {
    try {
        work();
        return false;
    } catch (F_MemoryException_Allocation* e) {
        const F_ExceptionGuard guard(e);
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        ADD_FAILURE() << "no exception about memory: " << e->getErrorMessage();
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& e) {
        ADD_FAILURE() << "no exception about memory: " << e.what();
    }
    return true;
}

/// Lets the allocations of `work` fail, each once and each with all that follow, up to where the work comes to its end. Before
/// each run `prepare` makes what is worked on (a smart pointer), and after it `check` gets that, and whether the work failed,
/// and counts what it finds. Whatever is there must be gone again then, but for `lost` allocations where memory does not come
/// back: what others' code loses.
template <class Prepare, class Work, class Check>
FaultCounts forEachFault(FaultChoice choice, Prepare&& prepare, Work&& work, Check&& check, std::int64_t lost = 0) {
    constexpr std::size_t DENSE = 24; // up to here every one
    FaultCounts counts;
    const auto runOne = [&](std::size_t number, bool fromThenOn) {
        auto subject = prepare();
        bool failed = false, struck = false;
        {
            const AllocationFault fault(number, fromThenOn);
            failed = runsOutOfMemory([&] { work(*subject); });
            struck = AllocationFault::hasStruck();
        }
        EXPECT_TRUE(struck || !failed);
        counts.survived += struck && !failed;
        check(*subject, failed, counts);
        return struck;
    };
    for (int i = 0; i < 2; ++i) // what is made once in a process
        runOne(0, false);
    counts = {};
    for (const bool fromThenOn : {false, true}) {
        bool struck = true;
        for (std::size_t number = 1; struck;
             number += choice == FaultChoice::ALL || number < DENSE ? 1 : 1 + number / 8) {
            SCOPED_TRACE(fmt::format("allocation {}{}", number, fromThenOn ? " and all behind it" : ""));
            std::int64_t before = liveAllocations();
            struck = runOne(number, fromThenOn);
            if (liveAllocations() > before) { // a leak grows, what is made once does not
                before = liveAllocations();
                const FaultCounts once = counts;
                runOne(number, fromThenOn);
                counts = once;
                EXPECT_LE(liveAllocations(), before + (fromThenOn ? lost : 0)) << "a leak";
            }
            counts.points += struck;
            if (testing::Test::HasFailure())
                return counts;
        }
    }
    return counts;
}

} // namespace cairn::test
