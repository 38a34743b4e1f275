// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>

namespace preview {

/// How much is done, on the error stream while the object lives.
class ProgressBar {
 public:
  explicit ProgressBar(bool visible) : visible_(visible) {}
  ~ProgressBar() {
    if (visible_) std::fputs("\r\033[K", stderr);
  }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(const char* doing, double part) {
    const int percent = static_cast<int>(part * 100);
    if (!visible_ || percent == shown_) return;
    shown_ = percent;
    constexpr int kPercentPerMark = 2;
    const std::string done(static_cast<std::size_t>(percent / kPercentPerMark), '#');
    std::fprintf(stderr, "\r%-9s [%-50s] %3d %%", doing, done.c_str(), percent);
  }

 private:
  bool visible_;
  int shown_ = -1;
};

}  // namespace preview
