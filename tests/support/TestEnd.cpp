// A test ends when the worker threads that it has started have ended. The last reference to a pin may be a
// worker's own, which then writes its last lines on its own time: they would stand in the capture of the test
// behind.
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
