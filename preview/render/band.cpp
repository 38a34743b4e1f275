// SPDX-License-Identifier: MIT
#include "preview/render/band.h"

#include <oneapi/tbb/blocked_range2d.h>
#include <oneapi/tbb/parallel_for.h>

#include <mutex>

#include "preview/world/sampling.h"

namespace preview {

namespace {

using Tile = tbb::blocked_range2d<int>;

using Sums = std::vector<std::array<double, std::tuple_size_v<Channels>>>;

/// Adds the samples of a pixel; returns how many of them see anything.
int addSamples(const Scene& scene, const Frame& frame, const std::vector<Layer>& layers, int x,
               int y, Sums& sums) {
  int seen = 0;
  for (int index = 0; index < scene.image.samples; ++index) {
    const Sample sample = sampleOf(x, y, index);
    const Shutter& shutter = scene.shutter;
    const double time = shutter.open + (shutter.close - shutter.open) * sample.time;
    const auto add = [&](const ShadingContext& sc, std::size_t /*object*/) {
      for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].isInteger && seen > 0) continue;
        const Channels values = layers[i].at(sc);
        for (std::size_t c = 0; c < values.size(); ++c) sums[i][c] += values[c];
      }
    };
    if (frame.shade(x + sample.x, y + sample.y, time, add)) ++seen;
  }
  return seen;
}

void renderTile(const Scene& scene, const Frame& frame, const std::vector<Layer>& layers,
                const Tile& tile, Band& band) {
  Sums sums(layers.size());
  for (int row = tile.rows().begin(); row < tile.rows().end(); ++row) {
    for (int x = tile.cols().begin(); x < tile.cols().end(); ++x) {
      sums.assign(layers.size(), {});
      const int seen = addSamples(scene, frame, layers, x, band.firstRow + row, sums);
      if (seen == 0) continue;
      band.coverage.pixel(x, row)[0] =
          static_cast<float>(seen) / static_cast<float>(scene.image.samples);
      for (std::size_t i = 0; i < layers.size(); ++i) {
        const std::span<float> pixel = band.layers[i].pixel(x, row);
        const int summed = layers[i].isInteger ? 1 : seen;
        for (std::size_t c = 0; c < pixel.size(); ++c) {
          pixel[c] = static_cast<float>(sums[i][c] / summed);
        }
      }
    }
  }
}

}  // namespace

Band renderRows(const Scene& scene, const Frame& frame, const std::vector<Layer>& layers,
                int firstRow, int rows, const std::function<void(double)>& progress) {
  const int width = scene.image.width;
  Band band{firstRow, FloatImage(width, rows, 1), {}};
  for (const Layer& layer : layers) {
    band.layers.emplace_back(width, rows, layer.channels());
  }

  std::mutex mutex;
  std::size_t done = 0;  // pixels
  const auto render = [&](const Tile& tile) {
    renderTile(scene, frame, layers, tile, band);
    const std::lock_guard lock(mutex);
    done += tile.rows().size() * tile.cols().size();
    progress(static_cast<double>(done) / static_cast<double>(band.coverage.pixels()));
  };
  tbb::parallel_for(Tile(0, rows, kTileSize, 0, width, kTileSize), render,
                    tbb::simple_partitioner());
  return band;
}

}  // namespace preview
