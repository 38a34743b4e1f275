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

  /// Of the work this fraction was there already and takes no time.
  void skip(double fraction) { skipped_ += fraction; }

  void show(const char* doing, double fraction) {
    if (!visible_) return;
    if (fraction == 0) begin_ = Clock::now();
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
    constexpr double kLittle = 1e-6;
    const double done = fraction - skipped_;
    if (done < kLittle || passed < kSoon) return "";
    const auto left = std::llround(passed * (1 - fraction) / done);
    constexpr int kMinute = 60;
    return left < kMinute ? ", " + std::to_string(left) + " s left"
                          : ", " + std::to_string((left + kMinute / 2) / kMinute) + " min left";
  }

  bool visible_;
  Clock::time_point begin_;
  double skipped_ = 0;
  std::string shown_;
};

}  // namespace preview
