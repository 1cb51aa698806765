#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/foundation.hpp"

namespace quillmark::contract {

/// The main thread's queues, which a test has served.
class MainQueueSubject {
 public:
  virtual ~MainQueueSubject() = default;
  virtual MainQueue &queue() = 0;
  virtual void serve() = 0;
};

using MakeMainQueueSubject = std::unique_ptr<MainQueueSubject> (*)();

class MainQueueContract : public testing::TestWithParam<MakeMainQueueSubject> {
 protected:
  using Work = std::function<void()>;

  /// Once for each way to hand work over.
  void eachWay(const std::function<void(const std::function<void(Work)> &handOver)> &test) {
    for (const auto way : {&MainQueue::dispatchAsync, &MainQueue::addOperation}) {
      test([&](Work work) { (subject_->queue().*way)(std::move(work)); });
    }
  }

  std::unique_ptr<MainQueueSubject> subject_ = GetParam()();
};

TEST_P(MainQueueContract, WorkOfTheMainThreadNeverRunsInsideTheCall) {
  eachWay([&](const auto &handOver) {
    bool ran = false;
    handOver([&] { ran = true; });
    EXPECT_FALSE(ran);
    subject_->serve();
    EXPECT_TRUE(ran);
  });
}

TEST_P(MainQueueContract, WorkOfAnotherThreadWaitsForTheMainThread) {
  eachWay([&](const auto &handOver) {
    std::thread::id ranOn;
    std::thread([&] { handOver([&] { ranOn = std::this_thread::get_id(); }); }).join();
    EXPECT_EQ(ranOn, std::thread::id());
    subject_->serve();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
  });
}

TEST_P(MainQueueContract, WorkRunsInOrderAndWhatItHandsOverRunsBehindAllThatWaits) {
  eachWay([&](const auto &handOver) {
    std::vector<int> order;
    handOver([&] {
      handOver([&] { order.push_back(3); });
      order.push_back(1);
    });
    handOver([&] { order.push_back(2); });
    subject_->serve();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  });
}

TEST_P(MainQueueContract, WorkIsLetGoOfAsSoonAsItHasRun) {
  eachWay([&](const auto &handOver) {
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> weak = held;
    handOver([held] {});
    held.reset();
    EXPECT_FALSE(weak.expired());
    handOver([&] { EXPECT_TRUE(weak.expired()); });
    subject_->serve();
    EXPECT_TRUE(weak.expired());
  });
}

}  // namespace quillmark::contract
