// Runs every suite with a listener that fails the program when a test leaves
// tracked blocks or resources behind, naming where they were made.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"

namespace {

class LeakListener : public testing::EmptyTestEventListener {
public:
    void OnTestStart(const testing::TestInfo&) override { TrackedFailAllocationAfter(-1); }

    void OnTestEnd(const testing::TestInfo& test) override
    {
        TrackedFailAllocationAfter(-1);
        size_t blocks = TrackedLiveBlocks();
        size_t resources = TrackedLiveResources();
        if (blocks == 0 && resources == 0)
            return;
        leaked_ = true;
        std::fprintf(stderr, "LEAK: %s.%s left %zu tracked blocks and %zu resources\n%s", test.test_suite_name(),
                     test.name(), blocks, resources, DescribeLiveTracked(20).c_str());
    }

    bool leaked() const { return leaked_; }

private:
    bool leaked_ = false;
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    auto* listener = new LeakListener;  // owned by gtest once appended
    testing::UnitTest::GetInstance()->listeners().Append(listener);
    int result = RUN_ALL_TESTS();
    if (listener->leaked()) {
        std::fprintf(stderr, "FAILED: tracked memory or resources leaked (see LEAK lines above)\n");
        return 1;
    }
    return result;
}
