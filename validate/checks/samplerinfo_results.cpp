// SPDX-License-Identifier: MIT
#include <array>
#include <bit>
#include <cinttypes>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "validate/checks/records.h"
#include "validate/network.h"

namespace validate {

namespace {

constexpr int kGroups = 20, kGroupRows = 100, kPowerRows = 48, kModes = 11;

std::uint32_t seedOf(int row) { return 0x9E3779B9U * static_cast<std::uint32_t>(row + 1); }

/// Random inputs: special values now and then, ordinary ones else. Prints them if it is told to.
class Draw {
 public:
  void begin(int row) { state_ = seedOf(row); }
  bool shows = false;

  float ordinary() { return ordinaryOf(next()); }

  void floats(const char* name, void* numbers, int count) {
    for (int i = 0; i < count; ++i) static_cast<float*>(numbers)[i] = number();
    show(name, static_cast<float*>(numbers), count);
  }

  /// Thirds, so that they are no floats.
  void doubles(const char* name, void* numbers, int count) {
    for (int i = 0; i < count; ++i) {
      static_cast<double*>(numbers)[i] = static_cast<double>(number()) / 3;
    }
    show(name, static_cast<double*>(numbers), count);
  }

  void integer(const char* name, std::int32_t& number, std::uint64_t count) {
    number = static_cast<std::int32_t>(next() % count);
    show(name, number);
  }

  /// One in eight is null.
  template <class Object>
  void object(const char* name, void*& field, Object& object) {
    field = next() % 8 != 0 ? &object : nullptr;
    show(name, std::int32_t{field != nullptr});
  }

  void show(const char* name, const float* numbers, int count) const {
    if (!shows) return;
    std::printf("  %s", name);
    for (int i = 0; i < count; ++i) {
      std::printf("  %08" PRIx32 " %.9g", bitsOf(numbers[i]), static_cast<double>(numbers[i]));
    }
    std::puts("");
  }
  void show(const char* name, const double* numbers, int count) const {
    if (!shows) return;
    std::printf("  %s", name);
    for (int i = 0; i < count; ++i) std::printf("  %a %.17g", numbers[i], numbers[i]);
    std::puts("");
  }

 private:
  void show(const char* name, std::int32_t number) const {
    if (shows) std::printf("  %s  %" PRId32 "\n", name, number);
  }

  std::uint32_t next() {  // the xorshift generator by Marsaglia
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_;
  }

  float number() {
    static constexpr std::uint32_t kCorners[] = {
        0x00000000, 0x80000000, 0x3F800000, 0xBF800000, 0x40000000,  // 0 -0 1 -1 2
        0x3DCCCCCD, 0x3F000000, 0x7F7FFFFF, 0xFF7FFFFF, 0x00000001,  // 0.1 0.5, greatest, least
        0x80000001, 0x00800000, 0x7F800000, 0xFF800000, 0x7FC00000,  // infinities, NaN
        0x501502F9, 0x3F7FFFFF, 0x358637BD, 0x3A83126F, 0x40490FDB,  // 1e10, below 1, 1e-6, ..., pi
    };
    const std::uint32_t choice = next();
    if (choice % 5 != 0) return ordinary();
    return std::bit_cast<float>(kCorners[(choice >> 8) % std::size(kCorners)]);
  }

  std::uint32_t state_ = 0;
};

/// A plugin with inputs, and a host, that can be given a row of random values.
class Sweep {
 public:
  explicit Sweep(void* desc) : plugin_(desc) {
    bool hasMode = false;
    for (const ParameterInfo& info : parametersOf(desc)) {
      const std::string_view name = info.name;
      if (isOutput(info)) {
        outputs_.push_back(
            {plugin_.name() + '.' + info.name, info.name, kindOf(info), -1, name == "power", {}});
      }
      if (isTextureInput(info)) inputs_.push_back({info.name, kindOf(info), Input(kindOf(info))});
      hasMode = hasMode || name == "mode";
    }
    for (int mode = 0; hasMode && mode < kModes; ++mode) {
      outputs_.push_back(
          {plugin_.name() + ".mode=" + text(mode), nullptr, COLOR, mode, mode == 5, {}});
    }
  }

  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    for (int row = 0; row < kGroups * kGroupRows; ++row) {
      drawRow(row, false);
      for (Output& output : outputs_) {
        for (const Question question : {VALUE, BOUNDS, GRADIENT}) {
          float numbers[12];
          const int count = askOutput(output, question, numbers);
          if (output.usesPower && question != GRADIENT) {
            if (row < kPowerRows) {
              lines.push_back(powerLine(output, question, row, {numbers, numbers + count}));
            }
          } else {
            digest(output.digests[question][static_cast<std::size_t>(row / kGroupRows)], numbers,
                   count);
          }
        }
      }
    }
    for (const Output& output : outputs_) {
      for (const Question question : {VALUE, BOUNDS, GRADIENT}) {
        if (output.digests[question][0] != 0) lines.push_back(digestLine(output, question));
      }
    }
    return lines;
  }

  bool show(const std::string& name, Question question, int group) {
    for (const Output& output : outputs_) {
      if (output.name != name) continue;
      for (int row = group * kGroupRows; row < (group + 1) * kGroupRows; ++row) {
        drawRow(row, true);
        float numbers[12];
        draw_.show(kQuestionNames[question], numbers, askOutput(output, question, numbers));
      }
      return true;
    }
    return false;
  }

 private:
  struct ConnectedInput {
    const char* name;
    TextureKind kind;
    Input texture;
  };
  struct Output {
    std::string name;
    const char* parameter;  ///< null: the plugin's own texture in a mode
    TextureKind kind;
    std::int32_t mode;
    bool usesPower;
    std::array<std::array<std::uint64_t, kGroups>, QUESTIONS> digests;
  };

  void drawRow(int row, bool show) {
    draw_.begin(row);
    if (show) std::printf("row %d, seed %08" PRIx32 "\n", row, seedOf(row));
    draw_.shows = show && inputs_.empty();  // without inputs a plugin answers from the context
    drawContext();
    draw_.shows = show;
    drawInputs();
  }

  /// Ray time and image coordinates stay ordinary: the latter become integers.
  void drawContext() {
    QuorFrameData& frame = host_.frameData;
    ShadingContext& sc = host_.sc;
    HostSurface& surface = host_.surface;
    draw_.doubles("frameTime", &frame.frameTime, 1);
    draw_.floats("worldToCamera", &frame.worldToCamera, 9);
    draw_.doubles("worldToCamera.offset", &frame.worldToCamera.offset, 3);
    draw_.floats("cameraToWorld", &frame.cameraToWorld, 9);
    draw_.doubles("cameraToWorld.offset", &frame.cameraToWorld.offset, 3);
    draw_.integer("imageHeight", frame.imageHeight, 4096);
    draw_.doubles("worldOffset", &frame.worldOffset, 3);
    draw_.integer("cameraMoving", host_.services.cameraMoving, 2);
    draw_.floats("scene.lo", &host_.scene.lo, 3);
    draw_.floats("scene.hi", &host_.scene.hi, 3);
    draw_.floats("surface.a", &surface.a, 3);
    draw_.floats("surface.b", &surface.b, 3);
    draw_.floats("surface.c", &surface.c, 3);
    draw_.floats("surface.uvw", &surface.uvw, 3);
    draw_.integer("surface.materialId", surface.materialId, std::uint64_t{1} << 32);
    draw_.object("object", sc.object, host_.object);
    draw_.object("surface", sc.surface, surface);
    draw_.floats("rayDirection", &sc.rayDirection, 3);
    sc.rayTime = static_cast<double>(draw_.ordinary()) / 3;
    sc.imageX = static_cast<double>(draw_.ordinary()) * 100;
    sc.imageY = static_cast<double>(draw_.ordinary()) * 100;
    draw_.show("rayTime, imageX, imageY", &sc.rayTime, 3);
    draw_.doubles("shadingPoint", &sc.shadingPoint, 3);
    draw_.floats("normal", &sc.normal, 3);
    draw_.floats("geometricNormal", &sc.geometricNormal, 3);
    draw_.integer("backfacing", sc.backfacing, 3);
  }

  void drawInputs() {
    for (ConnectedInput& input : inputs_) {
      draw_.floats(input.name, input.texture.numbers, 3 * kWidths[input.kind] + 3);
      void* connected = nullptr;
      draw_.object("  connected", connected, input.texture);
      plugin_.connect(input.name, connected);
    }
    std::int32_t invert = 0;
    draw_.integer("invert", invert, 2);
    plugin_.set("invert", KIND_BOOLEAN, invert);
  }

  /// In a new frame.
  int askOutput(const Output& output, Question question, float* numbers) {
    plugin_.set("mode", KIND_INTEGER, output.mode);
    plugin_.beginFrame();
    void* const texture = output.parameter != nullptr
                              ? plugin_.texture(output.parameter)
                              : PluginBase::getInterface(plugin_.object(), EXT_TEXTURE);
    return ask(texture, output.kind, question, host_.sc, numbers);
  }

  /// FNV-1a, of words instead of bytes.
  static void digest(std::uint64_t& digest, const float* numbers, int count) {
    if (count != 0 && digest == 0) digest = 0xCBF29CE484222325;
    for (int i = 0; i < count; ++i) digest = (digest ^ bitsOf(numbers[i])) * 0x100000001B3;
  }

  static std::string powerLine(const Output& output, Question question, int row,
                               const std::vector<float>& numbers) {
    std::string line = output.name + ' ' + kQuestionNames[question] + ' ' + text(row);
    for (const float number : numbers) line += formatted(" %08" PRIx32, bitsOf(number));
    return line;
  }
  static std::string digestLine(const Output& output, Question question) {
    std::string line = output.name + ' ' + kQuestionNames[question];
    for (const std::uint64_t digest : output.digests[question]) {
      line += formatted(" %08" PRIx32, static_cast<std::uint32_t>(digest ^ digest >> 32));
    }
    return line;
  }

  Instance plugin_;
  Host host_;
  Draw draw_;
  std::vector<ConnectedInput> inputs_;
  std::vector<Output> outputs_;
};

// ---- The comparison ----

constexpr std::string_view kRecord[] = {
#include "results.inc"
};

/// Position of a number among all floats, so that neighbours differ by 1.
std::int64_t positionOf(const std::string& bits) {
  const unsigned long number = std::strtoul(bits.c_str(), nullptr, 16);
  return (number & 0x80000000) != 0 ? -static_cast<std::int64_t>(number & 0x7FFFFFFF)
                                    : static_cast<std::int64_t>(number);
}

/// An output, a question, the row of a power, and the numbers behind them.
struct Line {
  std::string key;
  int row = -1;
  std::vector<std::string> numbers;

  explicit Line(std::string_view line) {
    std::istringstream words{std::string(line)};
    std::string question;
    words >> key >> question;
    key += ' ' + question;
    for (std::string word; words >> word;) {
      if (word.size() < 8) {
        row = std::atoi(word.c_str());
      } else {
        numbers.push_back(word);
      }
    }
  }
};

// All systems have to agree to the bit, but `powf` may differ in the last place.
void compare(const Line& line, const Line& recorded) {
  expect("output and question", line.key, recorded.key);
  expect(line.key + ": row", line.row, recorded.row);
  for (std::size_t i = 0; i < line.numbers.size() && i < recorded.numbers.size(); ++i) {
    const std::int64_t distance = positionOf(line.numbers[i]) - positionOf(recorded.numbers[i]);
    if (std::abs(distance) <= (line.row >= 0 ? 1 : 0)) continue;
    const int row = line.row >= 0 ? line.row : static_cast<int>(i) * kGroupRows;
    failExpectation(line.key + ", group " + text(row / kGroupRows) + ", from row " + text(row) +
                        formatted(" with seed %08" PRIx32, seedOf(row)),
                    line.numbers[i], recorded.numbers[i]);
  }
  expect(line.key + ": how many numbers", static_cast<std::int32_t>(line.numbers.size()),
         static_cast<std::int32_t>(recorded.numbers.size()));
}

CHECK("samplerinfo.results",
      "every output answers 2000 rows of random inputs as recorded, to the bit; powers 48 rows, to "
      "the last place") {
  expectRecorded(resultLines());
}

}  // namespace

void expectRecorded(const std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < lines.size() || i < std::size(kRecord); ++i) {
    compare(Line(i < lines.size() ? lines[i] : "no more"),
            Line(i < std::size(kRecord) ? kRecord[i] : "no more"));
  }
}

std::vector<std::string> resultLines() {
  std::vector<std::string> all;
  for (void* desc : descriptors()) {
    for (std::string& line : Sweep(desc).lines()) all.push_back(std::move(line));
  }
  return all;
}

bool showResults(const std::string& output, const std::string& question, const std::string& group) {
  if (group.empty() || group.size() > 2 ||
      group.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  for (const Question each : {VALUE, BOUNDS, GRADIENT}) {
    if (question != kQuestionNames[each] || std::stoi(group) >= kGroups) continue;
    for (void* desc : descriptors()) {
      if (Sweep(desc).show(output, each, std::stoi(group))) return true;
    }
  }
  return false;
}

}  // namespace validate
