// SPDX-License-Identifier: MIT
#include "preview/live/event_board.h"

#include <nlohmann/json.hpp>

namespace preview {

using Json = nlohmann::ordered_json;

void EventBoard::publish(const std::string& event, const std::string& name, const Json& data) {
  std::string text = "event: " + event +
                     "\ndata: " + data.dump(-1, ' ', false, Json::error_handler_t::replace) +
                     "\n\n";
  const std::lock_guard lock(mutex_);
  states_[{event, name}] = {++newest_, std::move(text)};
  isNew_.notify_all();
}

void EventBoard::withdraw(const std::string& event, const std::string& name) {
  const std::lock_guard lock(mutex_);
  states_.erase({event, name});
}

void EventBoard::end() {
  const std::lock_guard lock(mutex_);
  hasEnded_ = true;
  isNew_.notify_all();
}

bool EventBoard::hasEnded() const {
  const std::lock_guard lock(mutex_);
  return hasEnded_;
}

std::string EventBoard::newerThan(std::uint64_t& seen, std::chrono::milliseconds most) const {
  std::unique_lock lock(mutex_);
  isNew_.wait_for(lock, most, [&] { return hasEnded_ || newest_ > seen; });
  std::map<std::uint64_t, const std::string*> newer;
  for (const auto& [thing, state] : states_) {
    if (state.number > seen) newer[state.number] = &state.text;
  }
  std::string texts;
  for (const auto& [number, text] : newer) texts += *text;
  seen = newest_;
  return texts;
}

}  // namespace preview
