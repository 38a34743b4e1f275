// SPDX-License-Identifier: MIT
#include "preview/live/live_server.h"

#include <httplib.h>

#include <charconv>
#include <chrono>

#include "preview/diagnostics/errors.h"
#include "preview/pictures/page.h"
#include "preview/render/answers.h"

namespace preview {

namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kAddress = "127.0.0.1";
constexpr std::size_t kLongestTarget = 1024;  // bytes
constexpr std::time_t kSeconds = 1;           // in which a connection must ask for something
constexpr int kMostStreams = 16;              // each holds a thread
constexpr std::size_t kThreads = kMostStreams + LiveRenderer::kMostWaiting + 8;

void refuse(Response& response, int status, const std::string& why) {
  response.status = status;
  response.set_content(why + "\n", "text/plain");
}

/// Not compressed: it would take longer than the way.
void send(Response& response, const char* type, const std::shared_ptr<const std::string>& content) {
  response.set_content_provider(
      content->size(), type,
      [content](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        return sink.write(content->data() + offset, length);
      });
}
void send(Response& response, const char* type, std::string content) {
  send(response, type, std::make_shared<const std::string>(std::move(content)));
}

/// A whole number that is given with a request; false if something else is.
bool readNumber(const Request& request, const char* name, std::optional<int>& number) {
  if (!request.has_param(name)) return true;
  const std::string text = request.get_param_value(name);
  const char* end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number.emplace());
  return error == std::errc() && behind == end;
}

}  // namespace

LiveServer::LiveServer(int port, LiveRenderer& renderer, EventBoard& board)
    : renderer_(renderer), board_(board), server_(std::make_unique<httplib::Server>()) {
  server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_->set_socket_options([](socket_t socket) {  // the default shares the port
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  server_->set_tcp_nodelay(true);
  server_->set_keep_alive_max_count(1);  // an idle connection would hold a thread
  server_->set_keep_alive_timeout(kSeconds);
  server_->set_read_timeout(kSeconds);
  server_->set_default_headers(
      {{"Cache-Control", "no-store"},
       {"Content-Security-Policy",
        "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src "
        "'self'; "
        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
       {"Cross-Origin-Resource-Policy", "same-origin"},
       {"X-Content-Type-Options", "nosniff"}});
  server_->set_pre_routing_handler([this](const Request& request, Response& response) {
    answer(request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
  port_ = port == 0                               ? server_->bind_to_any_port(kAddress)
          : server_->bind_to_port(kAddress, port) ? port
                                                  : -1;
  if (port_ < 0) {
    throw InputError("--port: " + std::to_string(port) +
                     " is in use, or may not be used; 0 takes any");
  }
  serving_ = std::async(std::launch::async, [this] { return server_->listen_after_bind(); });
}

LiveServer::~LiveServer() {
  board_.end();
  // It can be stopped once it runs, unless it has ended by itself.
  constexpr std::chrono::milliseconds kLook(1);
  while (!server_->is_running() && serving_.wait_for(kLook) == std::future_status::timeout) {
  }
  server_->stop();
}

void LiveServer::answer(const Request& request, Response& response) {
  const std::string host = request.get_header_value("Host");
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  const std::string origin = request.get_header_value("Origin");
  const auto isNamed = [&](const std::string& name) {
    constexpr int kDefault = 80;  // browsers leave it out
    return host == name + ":" + std::to_string(port_) || (host == name && port_ == kDefault);
  };
  if (!(isNamed(kAddress) || isNamed("localhost")) ||
      !(site.empty() || site == "same-origin" || site == "none") ||
      !(origin.empty() || origin == "http://" + host)) {
    return refuse(response, 403, "only for this server's own pages");
  }
  if (request.method != "GET") {
    response.set_header("Allow", "GET");
    return refuse(response, 405, "only GET");
  }
  if (request.target.size() > kLongestTarget) return refuse(response, 414, "too long");
  // The server would ask for bytes behind the end of what it sends.
  if (request.has_header("Range")) return refuse(response, 416, "no ranges");

  try {
    give(request, response);
  } catch (const LiveRenderer::NotYet& e) {
    response.set_header("Retry-After", "1");
    if (request.path == "/") response.set_header("Refresh", "1; url=/");
    refuse(response, 503, e.what());
  }
}

void LiveServer::give(const Request& request, Response& response) {
  const std::string& path = request.path;
  std::optional<int> frame, x, y;
  if (!readNumber(request, "frame", frame) || !readNumber(request, "x", x) ||
      !readNumber(request, "y", y)) {
    return refuse(response, 400, "frame, x and y are whole numbers");
  }
  if (path == "/") {
    send(response, "text/html; charset=utf-8", pageText(renderer_.scene(), true));
  } else if (path == "/scene.json") {
    send(response, "application/json", jsonText(renderer_.scene()));
  } else if (path == "/events") {
    sendEvents(response);
  } else if (path == "/probe") {
    if (!x || !y) return refuse(response, 400, "x and y are missing");
    const nlohmann::ordered_json answers = renderer_.probe(*x, *y, frame);
    if (answers.is_null()) return refuse(response, 404, "no such pixel");
    send(response, "application/json", jsonText(answers));
  } else if (path.ends_with(".png")) {
    const std::string name = path.substr(1, path.size() - std::string_view("/.png").size());
    const std::shared_ptr<const std::string> picture = renderer_.picture(name, frame);
    if (picture == nullptr) return refuse(response, 404, "no such picture");
    send(response, "image/png", picture);
  } else {
    refuse(response, 404, "not found");
  }
}

void LiveServer::sendEvents(Response& response) {
  if (++streams_ > kMostStreams) {
    --streams_;
    return refuse(response, 503, "too many pages are open");
  }
  response.set_chunked_content_provider(
      "text/event-stream",
      [this, seen = std::uint64_t{0}](std::size_t /*offset*/, httplib::DataSink& sink) mutable {
        constexpr std::chrono::milliseconds kLook(500);  // whether the page is still there
        const std::string news = board_.newerThan(seen, kLook);
        if (board_.hasEnded() || !sink.is_writable()) return false;
        return news.empty() || sink.write(news.data(), news.size());
      },
      [this](bool /*success*/) { --streams_; });
}

}  // namespace preview
