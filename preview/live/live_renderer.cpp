// SPDX-License-Identifier: MIT
#include "preview/live/live_renderer.h"

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "preview/render/answers.h"
#include "preview/render/band.h"
#include "preview/render/page_data.h"
#include "preview/render/scene_inspection.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds kPatience(10);
constexpr std::size_t kFramesToRender = 2;                // anew when the scene changes
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
                      const Channels values = evaluate(*layers[i].texture, layers[i].show, sc);
                      const std::span<float> pixel = band.layers[i].pixel(x, y);
                      std::copy_n(values.begin(), pixel.size(), pixel.begin());
                    }
                  });
    }
  });
  return band;
}

std::string nameOfRendition(int frame, const std::string& picture) {
  return std::to_string(frame) + "/" + picture;
}

}  // namespace

LiveRenderer::LiveRenderer(std::shared_ptr<Look> look, EventBoard& board, RenderLog* log)
    : board_(board),
      log_(log),
      versions_(static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch() /
                                           std::chrono::milliseconds(1))) {
  show(std::move(look));
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

void LiveRenderer::show(std::shared_ptr<Look> look) {
  const std::lock_guard lock(mutex_);
  look_.swap(look);
  openNumber_.reset();
  board_.withdraw("done");
  const Frames& range = look_->loaded.scene.frames;
  std::erase_if(frames_, [&](FramePictures& frame) {
    frame.isDone = false;
    const bool isThere = range.first <= frame.number && frame.number <= range.last;
    std::erase_if(frame.renditions, [&](const auto& rendition) {
      const bool stays = isThere && look_->keys.contains(rendition.first);
      if (!stays) forget(frame, rendition.first);
      return !stays;
    });
    return !isThere;
  });
  if (frames_.empty()) frames_.push_front({range.first});
  changed_.notify_all();
}

Json LiveRenderer::scene() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kPatience, [&] { return hasEnded_ || !scene_.is_null(); });
  return scene_;
}

std::shared_ptr<const std::string> LiveRenderer::picture(const std::string& name,
                                                         std::optional<int> number) {
  std::unique_lock lock(mutex_);
  if (!look_->keys.contains(name) || !ask(number)) return nullptr;
  const auto rendition = [&]() -> const Rendition* {
    const FramePictures* frame = find(*number);
    if (frame == nullptr) return nullptr;
    const auto found = frame->renditions.find(name);
    return found != frame->renditions.end() ? &found->second : nullptr;
  };
  changed_.wait_for(lock, kPatience, [&] {
    const FramePictures* frame = find(*number);
    const auto key = look_->keys.find(name);
    if (hasEnded_ || frame == nullptr || frame->isDone || key == look_->keys.end()) return true;
    const Rendition* found = rendition();
    return found != nullptr && found->key == key->second;
  });
  const Rendition* found = rendition();
  return found != nullptr ? found->png : nullptr;
}

Json LiveRenderer::probe(int x, int y, std::optional<int> number) {
  std::unique_lock lock(mutex_);
  const Image& image = look_->loaded.scene.image;
  if (x < 0 || y < 0 || x >= image.width || y >= image.height || !ask(number)) return {};
  changed_.wait_for(lock, kPatience, [&] { return hasEnded_ || openNumber_ == number; });
  if (openNumber_ != number) return {};
  const std::shared_lock isOpen(opening_);
  lock.unlock();
  return answersAt(openLook_->loaded.scene, *frame_, *number, x, y, textures_);
}

bool LiveRenderer::ask(std::optional<int>& number) {
  const Frames& range = look_->loaded.scene.frames;
  if (!number) number = frames_.front().number;
  if (*number < range.first || *number > range.last) return false;
  const auto known = std::ranges::find(frames_, *number, &FramePictures::number);
  if (known == frames_.end()) {
    frames_.push_front({*number});
  } else {
    frames_.splice(frames_.begin(), frames_, known);
  }
  if (openNumber_ != number) {
    isToSwitch_ = true;
    changed_.notify_all();
  }
  return true;
}

LiveRenderer::FramePictures* LiveRenderer::find(int number) {
  const auto found = std::ranges::find(frames_, number, &FramePictures::number);
  return found != frames_.end() ? &*found : nullptr;
}

LiveRenderer::FramePictures* LiveRenderer::nextToRender() {
  if (isToSwitch_) return &frames_.front();
  std::size_t count = 0;
  for (FramePictures& frame : frames_) {
    if (count++ == kFramesToRender) break;
    if (!frame.isDone) return &frame;
  }
  return nullptr;
}

void LiveRenderer::forget(const FramePictures& frame, const std::string& name) {
  board_.withdraw("picture", nameOfRendition(frame.number, name));
}

void LiveRenderer::throwIfSuperseded() {
  const std::lock_guard lock(mutex_);
  if (hasEnded_ || isToSwitch_ || look_ != openLook_) throw Superseded();
}

void LiveRenderer::work() {
  std::string said;
  for (;;) {
    std::shared_ptr<Look> look;
    int number = 0;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return hasEnded_ || nextToRender() != nullptr; });
      if (hasEnded_) break;
      look = look_;
      number = nextToRender()->number;
      isToSwitch_ = false;
    }
    std::string mistake;
    try {
      board_.withdraw("done");
      open(look, number);
      render(number, false);
      render(number, true);
      inspect(number);
    } catch (const Superseded&) {
      continue;
    } catch (const std::exception& e) {
      mistake = e.what();
    } catch (...) {  // the library's own, whose text is gone with it
      mistake = "the plugin library threw an exception";
    }
    const std::lock_guard lock(mutex_);
    if (look_ != look) continue;
    if (FramePictures* frame = find(number)) frame->isDone = true;
    if (mistake != said) {
      said = mistake;
      const Json lines = mistake.empty() ? Json::array() : Json::array({mistake});
      board_.publish("errors", "render", {{"of", "render"}, {"lines", lines}});
    }
    changed_.notify_all();
  }
  const std::unique_lock lock(opening_);
  close();
  if (openLook_ != nullptr) openLook_->loaded.network.renderEnd();
}

void LiveRenderer::open(const std::shared_ptr<Look>& look, int number) {
  {
    const std::lock_guard lock(mutex_);
    if (openLook_ == look && openNumber_ == number) return;
    openNumber_.reset();
  }
  const std::shared_ptr<Look> former = openLook_;  // goes when it is not locked any more
  LoadedScene& loaded = look->loaded;
  {
    const std::unique_lock lock(opening_);
    close();
    if (former != look) {
      if (former != nullptr) former->loaded.network.renderEnd();
      textures_ = expectationsOf(loaded.network, loaded.scene.nodes);
      openLook_ = look;
      loaded.network.renderBegin();
    }
    frame_.emplace(loaded.scene, *loaded.geometry, number, log_);
    loaded.network.frameBegin();
  }
  Json scene = former != look ? pageData(loaded) : Json();
  const std::lock_guard lock(mutex_);
  if (former != look) {
    scene["version"] = ++versions_;
    board_.publish("scene", "", scene);
    scene_ = std::move(scene);
  }
  if (look_ == look) openNumber_ = number;
  changed_.notify_all();
}

void LiveRenderer::close() {
  if (!frame_) return;
  openLook_->loaded.network.frameEnd();
  frame_.reset();
}

/// Renders what is not as it is in the look that is open.
void LiveRenderer::render(int number, bool isFinal) {
  const Scene& scene = openLook_->loaded.scene;
  const RenderPlan& plan = openLook_->loaded.plan;
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
                           known->second.key == openLook_->keys.at(known->first) &&
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
    const Band band = isFinal ? renderRows(scene, *frame_, layers, row, rows,
                                           [&](double /*fraction*/) { throwIfSuperseded(); })
                              : renderQuickly(scene, *frame_, layers, step);
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
  if (frame == nullptr || !look_->keys.contains(picture.name)) return;
  frame->renditions[picture.name] = {openLook_->keys.at(picture.name), isFinal,
                                     std::make_shared<const std::string>(std::move(png))};
  Json said = {{"frame", number}, {"name", picture.name}, {"version", ++versions_}};
  if (isFinal) said["numbers"] = pageNumbers(numbers);
  board_.publish("picture", nameOfRendition(number, picture.name), said);

  std::size_t sum = 0, count = 0;
  std::erase_if(frames_, [&](const FramePictures& one) {
    for (const auto& [name, rendition] : one.renditions) sum += rendition.png->size();
    if (++count <= kFramesToRender || sum <= kMostBytes) return false;
    for (const auto& [name, rendition] : one.renditions) forget(one, name);
    return true;
  });
  changed_.notify_all();
}

/// Says what `check` says of the frame that is open.
void LiveRenderer::inspect(int number) {
  SceneInspection inspection(openLook_->loaded);
  inspection.inspectFrame(*frame_, number, [&] { throwIfSuperseded(); });
  Json warnings = Json::array();
  for (const auto& [what, isNote] : inspection.remarks()) {
    if (isNote) continue;
    warnings.push_back(
        openLook_->diagnostics.lineOf(openLook_->loaded.scene.file, "warning", what));
  }
  const std::lock_guard lock(mutex_);
  if (look_ == openLook_) board_.publish("done", "", {{"frame", number}, {"warnings", warnings}});
}

}  // namespace preview
