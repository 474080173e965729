// A test ends only after the worker threads that it has started. A worker that holds the last reference to
// its pin writes more trace lines later, which would appear in the capture of the next test.
#include <gtest/gtest.h>

#include "support/WorkerThreads.h"

namespace
{

class TestEnd : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo&) override
    {
        EXPECT_TRUE(WaitForWorkers()) << "a worker thread of the test is still running";
    }
};

const bool g_bListens = (testing::UnitTest::GetInstance()->listeners().Append(new TestEnd), true);

} // namespace
