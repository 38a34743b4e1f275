#include "preview/pictures/image_files.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <random>
#include <system_error>

#include "preview/messages/errors.h"
#include "support/bits.h"

namespace {

using preview::FloatImage;
namespace fs = std::filesystem;

/// A folder of its own for each test.
class ImageFiles : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "image_files_test-XXXXXX";
    folder_ = mkdtemp(name.data());
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path path(const std::string& name) const { return folder_ / name; }

 private:
  fs::path folder_;
};

void set(FloatImage& image, int x, int y, std::initializer_list<float> values) {
  std::ranges::copy(values, image.pixel(x, y).begin());
}

std::vector<std::uint8_t> readPng(const fs::path& path, int width, int height) {
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_file(&png, path.c_str()), 0) << png.message;
  EXPECT_EQ(png.format, static_cast<png_uint_32>(PNG_FORMAT_RGB));
  EXPECT_EQ(png.width, static_cast<png_uint_32>(width));
  EXPECT_EQ(png.height, static_cast<png_uint_32>(height));
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(png));
  EXPECT_NE(png_image_finish_read(&png, nullptr, bytes.data(), 0, nullptr), 0) << png.message;
  return bytes;
}

TEST_F(ImageFiles, PngIsClippedAndEncodedAsSrgb) {
  // From the definition of sRGB: the linear values of the codes 1, 10, 11, 128 and 188 are
  // 1 / (12.92 * 255), 0.0030353, 0.0033465, 0.2158605 and 0.5028865.
  FloatImage image(2, 3, 3);
  set(image, 0, 0, {0, 1, 0.0003035F});
  set(image, 1, 0, {0.0030353F, 0.0033465F, 0.2158605F});
  set(image, 0, 1, {0.5028865F, 0.5F, 0.999F});
  set(image, 1, 1, {-0.5F, 1.5F, -0.0F});
  set(image, 0, 2, {test::kInf, -test::kInf, test::kNaN});
  preview::writePng(path("a.png"), image);
  const std::vector<std::uint8_t> expected = {0, 1 * 255, 1, 10,  11, 128, 188, 188, 255,
                                              0, 255,     0, 255, 0,  0,   0,   0,   0};
  EXPECT_EQ(readPng(path("a.png"), 2, 3), expected);
}

TEST_F(ImageFiles, ExrKeepsEveryLayersValues) {
  FloatImage number(3, 2, 1);
  FloatImage vector(3, 2, 3);
  FloatImage color(3, 2, 4);
  set(number, 0, 0, {-1e18F});
  set(number, 2, 1, {test::kNaN});
  set(vector, 1, 0, {1, -2, 3e-39F});
  set(vector, 0, 1, {test::kInf, -test::kInf, -0.0F});
  set(color, 2, 0, {4, 5, 6, 7});
  const preview::ExrLayer layers[] = {
      {"facing.facing_ratio", &number}, {"point", &vector}, {"tint.color", &color}};
  preview::writeExr(path("a.exr"), layers);

  Imf::InputFile file(path("a.exr").c_str());
  std::vector<std::string> names;
  for (auto i = file.header().channels().begin(); i != file.header().channels().end(); ++i) {
    names.emplace_back(i.name());
    EXPECT_EQ(i.channel().type, Imf::FLOAT);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"facing.facing_ratio.Y", "point.B", "point.G",
                                             "point.R", "tint.color.A", "tint.color.B",
                                             "tint.color.G", "tint.color.R"}));
  for (const auto& [name, image] : layers) {
    const std::string letters = image->channels() == 1 ? "Y" : "RGBA";
    for (int c = 0; c < image->channels(); ++c) {
      float values[2][3];
      Imf::FrameBuffer frameBuffer;
      const std::string channel = name + "." + letters[static_cast<std::size_t>(c)];
      SCOPED_TRACE(channel);
      frameBuffer.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values),
                                             sizeof values[0][0], sizeof values[0]));
      file.setFrameBuffer(frameBuffer);
      file.readPixels(0, 1);
      for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) {
          EXPECT_TRUE(test::same(values[y][x], image->pixel(x, y)[static_cast<std::size_t>(c)]));
        }
      }
    }
  }
}

/// The one line with which `write` fails.
template <class Write>
std::string errorOf(Write write) {
  try {
    write();
  } catch (const preview::InputError& error) {
    return error.what();
  }
  return "no error";
}

TEST_F(ImageFiles, ErrorsNameTheFile) {
  const FloatImage image(2, 2, 3);
  const preview::ExrLayer layer = {"a", &image};
  for (const std::string name : {"missing/a.png", "missing/a.exr"}) {
    const std::string error = errorOf([&] {
      if (name.ends_with("png")) preview::writePng(path(name), image);
      if (name.ends_with("exr")) preview::writeExr(path(name), {&layer, 1});
    });
    EXPECT_EQ(error, path(name).string() +
                         ": cannot be written: " + std::generic_category().message(ENOENT));
  }
}

/// While it lives, no file of this process can grow beyond a size, as on a full disk.
class FullDisk {
 public:
  explicit FullDisk(std::uintmax_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {size, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_ = {};
};

FloatImage noiseOf(int height) {
  FloatImage noise(40, height, 3);
  std::mt19937 random(1);
  for (std::size_t i = 0; i < noise.pixels(); ++i) {
    for (float& value : noise.pixel(i)) value = static_cast<float>(random()) / 4294967296.0F;
  }
  return noise;
}

// A small file waits in a buffer until it is closed; a large one fails before.
TEST_F(ImageFiles, NothingStaysOfAFileThatCouldNotBeFinished) {
  const FloatImage small = noiseOf(2);
  const FloatImage large = noiseOf(40);
  const struct {
    const char* name;
    const FloatImage& image;
  } rows[] = {
      {"small.png", small}, {"large.png", large}, {"small.exr", small}, {"large.exr", large}};
  for (const auto& row : rows) {
    const fs::path file = path(row.name);
    const auto write = [&] {
      const preview::ExrLayer layer = {"noise", &row.image};
      if (file.extension() == ".png") preview::writePng(file, row.image);
      if (file.extension() == ".exr") preview::writeExr(file, {&layer, 1});
    };
    write();
    const std::uintmax_t size = fs::file_size(file);
    for (const std::uintmax_t limit : {size / 2, size - 1}) {
      SCOPED_TRACE(testing::Message() << row.name << " cut at " << limit << " of " << size);
      fs::remove(file);
      std::string error;
      {
        const FullDisk fullDisk(limit);
        error = errorOf(write);
      }
      EXPECT_EQ(error.find(file.string() + ": cannot be written: "), 0U) << error;
      EXPECT_FALSE(fs::exists(file));
    }
  }
}

}  // namespace
