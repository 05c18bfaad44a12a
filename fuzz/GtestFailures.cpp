#include "GtestFailures.h"

#include <gtest/gtest.h>

#include "Expect.h"

namespace {

class Findings : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (result.failed()) Expect(false, result.message());
    }
};

}  // namespace

void FailuresAreFindings() {
    static int count = 1;
    static char name[] = "fuzz";
    static char* arguments[] = {name, nullptr};
    ::testing::InitGoogleTest(&count, arguments);
    ::testing::TestEventListeners& listeners = ::testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new Findings);
}
