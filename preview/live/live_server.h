// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <future>
#include <memory>
#include <string>

#include "preview/live/event_board.h"
#include "preview/live/live_renderer.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace preview {

/// Gives browsers on this machine the page, its pictures and answers of textures:
///   /  /scene.json  /NAME.png?frame=N  /probe?x=X&y=Y&frame=N  /events
/// Nothing in an address leads to a file, and nothing that is asked for changes any.
class LiveServer {
 public:
  /// Serves on that port, or on any free one for 0, while the object lives. Throws `InputError` if
  /// it cannot. The others outlive the object.
  LiveServer(int port, LiveRenderer& renderer, EventBoard& board);
  ~LiveServer();
  LiveServer(const LiveServer&) = delete;
  LiveServer& operator=(const LiveServer&) = delete;

  int port() const { return port_; }

 private:
  void answer(const httplib::Request& request, httplib::Response& response);
  void give(const httplib::Request& request, httplib::Response& response);
  void sendEvents(httplib::Response& response);

  LiveRenderer& renderer_;
  EventBoard& board_;
  std::unique_ptr<httplib::Server> server_;
  int port_;
  std::atomic<int> streams_ = 0;
  std::future<bool> serving_;  ///< until then
};

}  // namespace preview
