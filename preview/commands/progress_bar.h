// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>

namespace preview {

/// What is being done, how much of it, and how long the rest will take: on the error stream, while
/// the object lives.
class ProgressBar {
 public:
  explicit ProgressBar(bool visible) : visible_(visible) {}
  ~ProgressBar() {
    if (visible_) std::fputs("\r\033[K", stderr);
  }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(const char* doing, double fraction) {
    if (!visible_) return;
    if (shownFraction_ == 0) {  // until then frames that are there already were passed over
      begin_ = Clock::now();
      from_ = fraction;
    }
    shownFraction_ = fraction;
    constexpr int kMarks = 25;
    const std::string marks(static_cast<std::size_t>(fraction * kMarks), '#');
    char line[128];
    std::snprintf(line, sizeof line, "%-9s [%-*s] %3d %%%s", doing, kMarks, marks.c_str(),
                  static_cast<int>(fraction * 100), timeLeft(fraction).c_str());
    if (shown_ == line) return;
    shown_ = line;
    std::fprintf(stderr, "\r\033[K%s", line);
  }

 private:
  using Clock = std::chrono::steady_clock;

  std::string timeLeft(double fraction) const {
    constexpr double kSoon = 1;  // seconds after which a guess is of use
    const double passed = std::chrono::duration<double>(Clock::now() - begin_).count();
    if (fraction == from_ || passed < kSoon) return "";
    const auto left = std::llround(passed * (1 - fraction) / (fraction - from_));
    constexpr int kMinute = 60;
    return left < kMinute ? ", " + std::to_string(left) + " s left"
                          : ", " + std::to_string((left + kMinute / 2) / kMinute) + " min left";
  }

  bool visible_;
  Clock::time_point begin_;
  double from_ = 0, shownFraction_ = 0;
  std::string shown_;
};

}  // namespace preview
