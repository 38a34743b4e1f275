// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <latch>
#include <thread>
#include <vector>

#include "validate/harness/contract.h"

namespace validate {

constexpr std::size_t kThreads = 16;

/// Runs `body` in 16 threads that begin at once, each with its number, and `meanwhile` in this one.
template <class Body, class Meanwhile>
void runAtOnce(const Body& body, const Meanwhile& meanwhile) {
  std::latch begin(kThreads + 1);
  std::vector<std::jthread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      isOurThread = true;
      begin.count_down();
      while (!begin.try_wait()) std::this_thread::yield();  // MinGW's wait() can miss the last
      body(i);
    });
  }
  begin.count_down();
  meanwhile();
}

}  // namespace validate
