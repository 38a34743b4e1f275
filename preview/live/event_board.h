// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>

namespace preview {

/// What readers are to know: the newest state of each thing alone, so that its length does not grow
/// with time, and who was away misses nothing that still holds. [any thread]
class EventBoard {
 public:
  /// Replaces what was said of the same thing, which an event and a name identify.
  void publish(const std::string& event, const std::string& name,
               const nlohmann::ordered_json& data);
  void withdraw(const std::string& event, const std::string& name = {});

  /// Wakes all readers, for good.
  void end();
  bool hasEnded() const;

  /// All states that are newer than `seen`, in their order, as an event stream has them; waits for
  /// one, up to `most`. `seen`, 0 at first, becomes the newest.
  std::string newerThan(std::uint64_t& seen, std::chrono::milliseconds most) const;

 private:
  struct State {
    std::uint64_t number;
    std::string text;
  };

  mutable std::mutex mutex_;
  mutable std::condition_variable isNew_;
  std::map<std::pair<std::string, std::string>, State> states_;
  std::uint64_t newest_ = 0;
  bool hasEnded_ = false;
};

}  // namespace preview
