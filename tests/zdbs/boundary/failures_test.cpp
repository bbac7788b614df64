/** What calls of several threads say when they fail. */
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "kernel/zdbs.h"

namespace zdbs {
namespace {

constexpr int turns = 20000;

std::string messageOf(std::int32_t status) {
    std::string text(400, '\0');
    auto length = static_cast<std::int32_t>(text.size());
    EXPECT_EQ(ZdbMessage(status, text.data(), &length) & 1, 1);
    return text.c_str();
}

TEST(Failures, OfSeveralThreadsAreToldAsAWhole) {
    const std::int32_t ofMode = ZdbLoadStatus(7);
    const std::string first = messageOf(ofMode);
    const std::int32_t ofArgument = ZdbExecuteCcl(nullptr, nullptr);
    const std::string second = messageOf(ofArgument);
    const std::string general = messageOf(ofMode);  // without details: another call failed last
    ASSERT_NE(first, second);
    ASSERT_NE(first, general);
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([] {
            for (int turn = 0; turn < turns; ++turn)
                ZdbLoadStatus(7);
        });
        threads.emplace_back([] {
            for (int turn = 0; turn < turns; ++turn)
                ZdbExecuteCcl(nullptr, nullptr);
        });
    }
    int others = 0;
    for (int turn = 0; turn < turns; ++turn) {
        const std::string text = messageOf(ofMode);
        others += text != first && text != general ? 1 : 0;
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(others, 0);
}

}  // namespace
}  // namespace zdbs
