#include "preview/render.h"

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <mutex>

#include "preview/world/sampling.h"

namespace preview {

namespace {

constexpr int kTileSize = 32;  // pixels

struct Tile {
  int x0, y0, x1, y1;
};

std::vector<Tile> tilesOf(const Image& image) {
  std::vector<Tile> tiles;
  for (int y = 0; y < image.height; y += kTileSize) {
    for (int x = 0; x < image.width; x += kTileSize) {
      tiles.push_back(
          {x, y, std::min(x + kTileSize, image.width), std::min(y + kTileSize, image.height)});
    }
  }
  return tiles;
}

using Sums = std::vector<std::array<double, std::tuple_size_v<Channels>>>;

/// Adds the samples of a pixel; returns how many of them see anything.
int addSamples(const Scene& scene, const Frame& frame, const std::vector<LayerSource>& sources,
               int x, int y, Sums& sums) {
  int seen = 0;
  for (int index = 0; index < scene.image.samples; ++index) {
    const Sample sample = sampleOf(x, y, index);
    const Shutter& shutter = scene.shutter;
    const double time = shutter.open + (shutter.close - shutter.open) * sample.time;
    const auto add = [&](const ShadingContext& sc, std::size_t /*object*/) {
      for (std::size_t i = 0; i < sources.size(); ++i) {
        const Channels values = evaluate(*sources[i].texture, sources[i].show, sc);
        for (std::size_t c = 0; c < values.size(); ++c) sums[i][c] += values[c];
      }
    };
    if (frame.shade(x + sample.x, y + sample.y, time, add)) ++seen;
  }
  return seen;
}

void renderTile(const Scene& scene, const Frame& frame, const std::vector<LayerSource>& sources,
                const Tile& tile, Film& film) {
  Sums sums(sources.size());
  for (int y = tile.y0; y < tile.y1; ++y) {
    for (int x = tile.x0; x < tile.x1; ++x) {
      sums.assign(sources.size(), {});
      const int seen = addSamples(scene, frame, sources, x, y, sums);
      if (seen == 0) continue;
      film.coverage.pixel(x, y)[0] =
          static_cast<float>(seen) / static_cast<float>(scene.image.samples);
      for (std::size_t i = 0; i < sources.size(); ++i) {
        const std::span<float> pixel = film.layers[i].pixel(x, y);
        for (std::size_t c = 0; c < pixel.size(); ++c) {
          pixel[c] = static_cast<float>(sums[i][c] / seen);
        }
      }
    }
  }
}

}  // namespace

Film renderFrame(const Scene& scene, const Frame& frame, const std::vector<LayerSource>& sources,
                 const std::function<void(double)>& progress) {
  const Image& image = scene.image;
  Film film{FloatImage(image.width, image.height, 1), {}};
  for (const LayerSource& source : sources) {
    film.layers.emplace_back(image.width, image.height, channelCount(*source.texture, source.show));
  }

  const std::vector<Tile> tiles = tilesOf(image);
  std::mutex mutex;
  std::size_t done = 0;
  tbb::parallel_for(std::size_t{0}, tiles.size(), [&](std::size_t i) {
    renderTile(scene, frame, sources, tiles[i], film);
    const std::lock_guard lock(mutex);
    ++done;
    progress(static_cast<double>(done) / static_cast<double>(tiles.size()));
  });
  return film;
}

}  // namespace preview
