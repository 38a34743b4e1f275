// SPDX-License-Identifier: MIT
#include "preview/live/live_renderer.h"

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <iostream>

#include "preview/render/answers.h"
#include "preview/render/band.h"
#include "preview/render/page_data.h"
#include "preview/render/scene_inspection.h"
#include "preview/system/interruption.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds kPatience(10);
constexpr std::chrono::milliseconds kFirstTurn(125);
constexpr std::size_t kFramesToRender = 2;                // anew when the scene changes, unasked
constexpr std::size_t kMostBytes = std::size_t{1} << 28;  // of pictures of further frames

/// How many pixels along each side are one in a quick rendition.
int quickStep(const Image& image) {
  constexpr double kQuickPixels = 4800;
  return static_cast<int>(std::ceil(std::sqrt(image.width / kQuickPixels * image.height)));
}

/// The whole frame, with a sample for every square of `step` pixels.
Band renderQuickly(const Scene& scene, const Frame& frame, const std::vector<Layer>& layers,
                   int step) {
  const int width = (scene.image.width + step - 1) / step;
  const int height = (scene.image.height + step - 1) / step;
  Band band{0, FloatImage(width, height, 1), {}};
  for (const Layer& layer : layers) band.layers.emplace_back(width, height, layer.channels());
  tbb::parallel_for(0, height, [&](int y) {
    for (int x = 0; x < width; ++x) {
      frame.shade((x + 0.5) * step, (y + 0.5) * step, scene.shutter.middle(),
                  [&](const ShadingContext& sc, std::size_t /*object*/) {
                    band.coverage.pixel(x, y)[0] = 1;
                    for (std::size_t i = 0; i < layers.size(); ++i) {
                      const Channels values = layers[i].at(sc);
                      const std::span<float> pixel = band.layers[i].pixel(x, y);
                      std::copy_n(values.begin(), pixel.size(), pixel.begin());
                    }
                  });
    }
  });
  return band;
}

struct Superseded {};

}  // namespace

std::string LiveRenderer::nameOf(const FramePictures& frame, const std::string& picture) {
  return std::to_string(frame.number) + "/" + picture;
}

LiveRenderer::LiveRenderer(std::shared_ptr<Snapshot> snapshot, EventBoard& board, RenderLog* log)
    : board_(board),
      versions_(static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch() /
                                           std::chrono::milliseconds(1))),
      open_(log) {
  // A page that was open before may still show some.
  board_.publish("errors", "render", {{"of", "render"}, {"lines", mistakes_}});
  show(std::move(snapshot));
  thread_ = std::thread([this] { work(); });
}

LiveRenderer::~LiveRenderer() {
  {
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

void LiveRenderer::show(std::shared_ptr<Snapshot> snapshot) {
  const std::lock_guard lock(mutex_);
  snapshot_.swap(snapshot);
  openNumber_.reset();
  const Frames& range = snapshot_->loaded.scene.frames;
  const auto isThere = [&](const FramePictures& frame) {
    return range.first <= frame.number && frame.number <= range.last;
  };
  const int shown = frames_.empty() ? range.first : frames_.front().number;
  for (FramePictures& frame : frames_) {
    const auto goes = [&](const auto& rendition) {
      return !isThere(frame) || !snapshot_->keys.contains(rendition.first);
    };
    for (const auto& rendition : frame.renditions) {
      if (goes(rendition)) board_.withdraw("picture", nameOf(frame, rendition.first));
    }
    std::erase_if(frame.renditions, goes);
    board_.withdraw("done", std::to_string(frame.number));
  }
  std::erase_if(frames_, std::not_fn(isThere));
  if (frames_.empty()) frames_.push_front({std::clamp(shown, range.first, range.last)});
  std::size_t count = 0;
  for (FramePictures& frame : frames_) {
    frame.isWanted =
        count++ < kFramesToRender || std::ranges::count(waiting_, frame.number, &Wait::frame) > 0;
    frame.isDone = false;
    frame.mistake.clear();
    frame.turn = {};
  }
  changed_.notify_all();
}

Json LiveRenderer::scene() {
  std::unique_lock lock(mutex_);
  await(lock, {frames_.front().number, true}, [&] { return !scene_.is_null(); });
  return scene_;
}

std::shared_ptr<const std::string> LiveRenderer::picture(const std::string& name,
                                                         std::optional<int> asked) {
  std::unique_lock lock(mutex_);
  const int number = asked.value_or(frames_.front().number);
  if (!snapshot_->keys.contains(name) || !want(number)) return nullptr;
  std::shared_ptr<const std::string> png;
  await(lock, {number, true}, [&] {
    const FramePictures* frame = find(number);
    const auto key = snapshot_->keys.find(name);
    if (key == snapshot_->keys.end()) return true;
    if (frame == nullptr || !frame->renditions.contains(name)) return false;
    const Rendition& rendition = frame->renditions.at(name);
    png = rendition.png;
    return frame->isDone || rendition.key == key->second;
  });
  return png;
}

Json LiveRenderer::probe(int x, int y, std::optional<int> asked) {
  std::unique_lock lock(mutex_);
  const int number = asked.value_or(frames_.front().number);
  if (!want(number)) return {};
  await(lock, {number, false}, [&] { return openNumber_ == number; });
  const std::shared_lock isOpen(opening_);
  lock.unlock();
  const Scene& scene = open_.snapshot()->loaded.scene;
  if (x < 0 || y < 0 || x >= scene.image.width || y >= scene.image.height) return {};
  try {
    return answersAt(scene, open_.frame(), number, x, y, open_.textures());
  } catch (...) {  // by what may be unloaded soon
    throw NotYet(textOfThrown());
  }
}

bool LiveRenderer::want(int number) {
  const Frames& range = snapshot_->loaded.scene.frames;
  if (number < range.first || number > range.last) return false;
  const auto known = std::ranges::find(frames_, number, &FramePictures::number);
  if (known == frames_.end()) {
    frames_.push_front({number});
  } else {
    frames_.splice(frames_.begin(), frames_, known);
  }
  frames_.front().isWanted = true;
  changed_.notify_all();
  return true;
}

void LiveRenderer::await(std::unique_lock<std::mutex>& lock, Wait wait,
                         const std::function<bool()>& isThere) {
  if (isThere()) return;
  const auto place = waiting_.insert(waiting_.end(), wait);
  changed_.notify_all();
  const auto mistake = [&] {
    const FramePictures* frame = find(wait.frame);
    return frame != nullptr ? frame->mistake : "the frame is gone";
  };
  // Who came first may have gone long ago.
  const auto isCrowdedOut = [&] {
    return place == waiting_.begin() && waiting_.size() > kMostWaiting;
  };
  changed_.wait_for(lock, kPatience,
                    [&] { return hasEnded_ || isThere() || isCrowdedOut() || !mistake().empty(); });
  waiting_.erase(place);
  changed_.notify_all();
  if (isThere()) return;
  const std::string why = mistake();
  throw NotYet(why.empty() ? "it takes too long, or too much is asked for" : why);
}

LiveRenderer::FramePictures* LiveRenderer::find(int number) {
  const auto found = std::ranges::find(frames_, number, &FramePictures::number);
  return found != frames_.end() ? &*found : nullptr;
}

LiveRenderer::FramePictures* LiveRenderer::nextToRender() {
  if (!waiting_.empty()) {
    FramePictures* frame = find(waiting_.front().frame);
    if (frame == nullptr || !frame->mistake.empty()) return nullptr;  // it waits no longer
    return frame->isDone && openNumber_ == frame->number ? nullptr : frame;
  }
  const auto next = std::ranges::find_if(
      frames_, [](const FramePictures& frame) { return frame.isWanted && !frame.isDone; });
  return next != frames_.end() ? &*next : nullptr;
}

void LiveRenderer::throwIfSuperseded(int number) {
  const std::lock_guard lock(mutex_);
  FramePictures* frame = find(number);
  if (hasEnded_ || snapshot_ != open_.snapshot() || frame == nullptr) throw Superseded();
  if (waiting_.empty() || waiting_.front().frame == number) return;
  // Each picture is missing once. Whoever probes all the time must not keep others from being done.
  if (std::ranges::none_of(waiting_, &Wait::isForPictures)) {
    if (Clock::now() - begun_ < frame->turn) return;
    frame->turn = std::max<Clock::duration>(2 * frame->turn, kFirstTurn);
  }
  throw Superseded();
}

void LiveRenderer::work() {
  for (;;) {
    std::shared_ptr<Snapshot> snapshot;
    int number = 0;
    bool isDone = false;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return hasEnded_ || nextToRender() != nullptr; });
      if (hasEnded_) break;
      const FramePictures* next = nextToRender();
      snapshot = snapshot_;
      number = next->number;
      isDone = next->isDone;
      begun_ = Clock::now();
    }
    std::string mistake;
    try {
      open(snapshot, number);
      if (!isDone) {
        render(number, false);
        render(number, true);
        inspect(number);
      }
    } catch (const Superseded&) {
      continue;
    } catch (...) {
      mistake = textOfThrown();
    }
    const std::lock_guard lock(mutex_);
    if (snapshot_ == snapshot) finish(number, interruption == 0 ? mistake : "");
  }
  const std::unique_lock lock(opening_);
  open_.close();
}

void LiveRenderer::finish(int number, const std::string& mistake) {
  FramePictures* done = find(number);
  if (done == nullptr) return;
  done->isDone = true;
  if (!mistake.empty()) {
    done->mistake = shownPath(snapshot_->loaded.scene.file) + ": error: " + mistake;
  }
  std::set<std::string> mistakes;
  for (const FramePictures& frame : frames_) {
    if (!frame.mistake.empty()) mistakes.insert(frame.mistake);
  }
  if (mistakes != mistakes_) {
    for (const std::string& line : mistakes) {
      if (!mistakes_.contains(line)) std::cerr << line + "\n";
    }
    mistakes_.swap(mistakes);
    board_.publish("errors", "render", {{"of", "render"}, {"lines", mistakes_}});
  }
  changed_.notify_all();
}

void LiveRenderer::open(const std::shared_ptr<Snapshot>& snapshot, int number) {
  {
    const std::lock_guard lock(mutex_);
    if (open_.snapshot() == snapshot && openNumber_ == number) return;
    openNumber_.reset();
  }
  const std::shared_ptr<Snapshot> former = open_.snapshot();  // goes when it is not locked any more
  if (former != snapshot) isAnnounced_ = false;
  {
    const std::unique_lock lock(opening_);
    open_.open(snapshot, number);
  }
  Json scene = isAnnounced_ ? Json() : pageData(snapshot->loaded);
  const std::lock_guard lock(mutex_);
  if (!std::exchange(isAnnounced_, true)) {
    scene["version"] = ++versions_;
    board_.publish("scene", "", scene);
    scene_ = std::move(scene);
  }
  if (snapshot_ == snapshot) openNumber_ = number;
  changed_.notify_all();
}

/// Renders what is not as it is in the snapshot that is open.
void LiveRenderer::render(int number, bool isFinal) {
  const Scene& scene = open_.snapshot()->loaded.scene;
  const RenderPlan& plan = open_.snapshot()->loaded.plan;
  const Image& image = scene.image;
  const int step = isFinal ? 1 : quickStep(image);
  if (!isFinal && step == 1 && image.samples == 1) return;
  std::vector<std::size_t> pictures;
  {
    const std::lock_guard lock(mutex_);
    const FramePictures* frame = find(number);
    if (frame == nullptr) throw Superseded();
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
      const auto known = frame->renditions.find(plan.pictures[i].name);
      const bool isThere = known != frame->renditions.end() &&
                           known->second.key == open_.snapshot()->keys.at(known->first) &&
                           (known->second.isFinal || !isFinal);
      if (!isThere) pictures.push_back(i);
    }
  }
  if (pictures.empty()) return;
  std::vector<Layer> layers;
  std::map<std::size_t, std::size_t> places;  // of the plan's layers among these
  for (const std::size_t i : pictures) {
    const std::size_t layer = plan.layerOfPicture[i];
    if (places.emplace(layer, layers.size()).second) layers.push_back(plan.layers[layer]);
  }

  std::vector<std::unique_ptr<EncodedPicture>> encoded(pictures.size());
  std::vector<std::string> bytes(pictures.size());
  const int rowsAtATime = isFinal ? plan.rowsAtATime : image.height;
  for (int row = 0; row < image.height; row += rowsAtATime) {
    const int rows = std::min(rowsAtATime, image.height - row);
    const Band band = isFinal ? renderRows(scene, open_.frame(), layers, row, rows,
                                           [&](double /*fraction*/) { throwIfSuperseded(number); })
                              : renderQuickly(scene, open_.frame(), layers, step);
    tbb::parallel_for(std::size_t{0}, pictures.size(), [&](std::size_t i) {
      const Picture& picture = plan.pictures[pictures[i]];
      const std::size_t layer = plan.layerOfPicture[pictures[i]];
      if (row == 0) {
        encoded[i] = std::make_unique<EncodedPicture>((image.width + step - 1) / step,
                                                      (image.height + step - 1) / step,
                                                      plan.layers[layer], picture.isLinear);
      }
      bytes[i] += encoded[i]->add(picture, plan.layers[layer], band.layers[places.at(layer)],
                                  band.coverage, row);
      if (row + rows < image.height) return;
      keep(number, picture, isFinal, std::move(bytes[i]), encoded[i]->numbers);
    });
  }
}

void LiveRenderer::keep(int number, const Picture& picture, bool isFinal, std::string png,
                        const PictureNumbers& numbers) {
  const std::lock_guard lock(mutex_);
  FramePictures* frame = find(number);
  if (frame == nullptr || !snapshot_->keys.contains(picture.name)) return;
  frame->renditions[picture.name] = {open_.snapshot()->keys.at(picture.name), isFinal,
                                     std::make_shared<const std::string>(std::move(png))};
  Json said = {{"frame", number}, {"name", picture.name}, {"version", ++versions_}};
  if (isFinal) said["numbers"] = pageNumbers(numbers);
  board_.publish("picture", nameOf(*frame, picture.name), said);

  evict();
  changed_.notify_all();
}

void LiveRenderer::evict() {
  std::size_t bytes = 0, count = 0;
  for (auto frame = frames_.begin(); frame != frames_.end();) {
    for (const auto& [name, rendition] : frame->renditions) bytes += rendition.png->size();
    if (++count <= kFramesToRender || bytes <= kMostBytes) {
      ++frame;
      continue;
    }
    for (const auto& [name, rendition] : frame->renditions) {
      board_.withdraw("picture", nameOf(*frame, name));
    }
    board_.withdraw("done", std::to_string(frame->number));
    frame = frames_.erase(frame);
  }
}

/// Says what `check` says of the frame that is open.
void LiveRenderer::inspect(int number) {
  SceneInspection inspection(open_.snapshot()->loaded);
  inspection.inspectFrame(open_.frame(), number, [&] { throwIfSuperseded(number); });
  Json warnings = Json::array();
  for (const auto& [what, isNote] : inspection.remarks()) {
    if (isNote) continue;
    warnings.push_back(
        open_.snapshot()->diagnostics.lineOf(open_.snapshot()->loaded.scene.file, "warning", what));
  }
  const std::lock_guard lock(mutex_);
  if (snapshot_ != open_.snapshot()) return;
  board_.publish("done", std::to_string(number), {{"frame", number}, {"warnings", warnings}});
}

}  // namespace preview
