// SPDX-License-Identifier: MIT
// What an answer of the loaded library costs beside the same answer of its twin, the plainest class
// that asks the same inputs and gives the same answers. Time is taken in short blocks of one and
// the other by turns; instructions are counted by callgrind, which this program starts on itself.
// Input textures are constants, whose instructions do not count.

#include <dlfcn.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "bench/network.h"
#include "tests/support/one_sample.h"
#include "tests/twins/answers.h"

namespace {

using namespace bench;
using test::kQuestions;
using test::Question;

// ---- Asking ------------------------------------------------------------------------------------

/// The compiler neither knows where `pointer` points nor drops what is written behind it.
template <class T>
void opaque(T*& pointer) {
  asm volatile("" : "+r"(pointer) : : "memory");
}

/// Asks `times` times.
void repeat(const PluginInterface& texture, Question question, const ShadingContext& sc,
            int times) {
  test::visit(texture, [&](const auto& typed) {
    const auto* asked = &typed;
    using T = decltype(test::value(typed, sc));
    T lo{}, hi{};
    T* result = &lo;
    Vector gradient{};
    Vector* written = &gradient;
    if (question == Question::Value) {
      for (int i = 0; i < times; ++i) {
        opaque(asked);
        *result = test::value(*asked, sc);
        opaque(result);
      }
    }
    if constexpr (requires { typed.getGradient(sc); }) {
      for (int i = 0; question == Question::Bounds && i < times; ++i) {
        opaque(asked);
        test::bounds(*asked, lo, hi);
        opaque(result);
      }
      for (int i = 0; question == Question::Gradient && i < times; ++i) {
        opaque(asked);
        *written = asked->getGradient(sc);
        opaque(written);
      }
    }
  });
}

// ---- Rows --------------------------------------------------------------------------------------

constexpr int kNone = Node::kAbsent;
constexpr int kConst = Node::kConstant;

/// Every output by itself: its inputs all connected, every second one, none.
std::vector<std::vector<Node>> singles() {
  std::vector<std::vector<Node>> result;
  for (const twins::Pair& pair : twins::pairs()) {
    if (pair.setting == "mode" && (pair.setTo < 1 || pair.setTo > 9)) continue;  // all result_a
    std::vector<int> all(pair.inputs.size(), kConst);
    result.push_back({{pair.name(), all}});
    if (all.empty()) continue;
    for (std::size_t i = 1; i < all.size(); i += 2) all[i] = kNone;
    result.push_back({{pair.name(), all}});
    result.push_back({{pair.name(), std::vector<int>(all.size(), kNone)}});
  }
  return result;
}

std::vector<Node> chain(int links) {
  std::vector<Node> nodes = {{"TexFloatOp.sum", {kConst, kConst}}};
  for (int i = 1; i < links; ++i) nodes.push_back({"TexFloatOp.sum", {i - 1, kConst}});
  return nodes;
}

/// A shaded surface with a rim, of twelve outputs of all five plugins.
const std::vector<Node> kMixed = {
    {"TexSampler.facing_ratio", {}},
    {"TexSampler.normal", {}},
    {"TexSampler.rayDirection", {}},
    {"TexVectorOp.dot_product", {1, 2, kNone, 0}},
    {"TexVectorOp.sum", {1, 2, 0, 3}},
    {"TexVectorOp.y", {4, kConst}},
    {"TexFloatOp.product", {3, 5}},
    {"TexFloatOp.max", {6, kConst}},
    {"Float3ToAColor.color (invert 0)", {0, 5, 7, kNone}},
    {"TexAColorOp.sum", {8, kConst, 7, kConst, kNone}},
    {"TexAColorOp.minimum", {9, 8, kNone, 0, kNone}},
    {"TexAColorOp (mode 3)", {10, 9, 0, kConst, kNone}},
};

struct Row {
  std::string name;
  std::shared_ptr<Network> network;
  Question question;
  const ShadingContext* sc;
};

std::string nameOf(const std::vector<Node>& nodes) {
  if (nodes.size() > 1) {
    const bool isChain = nodes[1].pair == nodes[0].pair;
    return (isChain ? "chain of " : "network of ") + std::to_string(nodes.size());
  }
  std::string name = nodes[0].pair;
  const auto absent = std::ranges::count(nodes[0].sources, kNone);
  if (absent != 0) name += ", " + std::to_string(absent) + " absent";
  return name;
}

std::vector<Row> rows(const test::OneSample& still, const test::OneSample& moving,
                      const std::string& only) {
  std::vector<std::vector<Node>> networks = singles();
  for (const int links : {4, 16, 64}) networks.push_back(chain(links));
  networks.push_back(kMixed);
  std::vector<Row> result;
  for (const std::vector<Node>& nodes : networks) {
    const auto network = std::make_shared<Network>(nodes);
    for (const test::OneSample* host : {&still, &moving}) {
      if (host == &moving && !nodes[0].pair.starts_with("TexSampler")) continue;
      for (const Question question : kQuestions) {
        if (test::ask(*network->twinTexture, question, host->sc).numbers.empty()) continue;
        const std::string name = nameOf(nodes) + (host == &moving ? ", moving" : "") + ": " +
                                 test::kQuestionNames[static_cast<int>(question)];
        if (name.find(only) == std::string::npos) continue;
        result.push_back({name, network, question, &host->sc});
      }
    }
  }
  return result;
}

// ---- Time --------------------------------------------------------------------------------------

double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The first or the second one, which is the median.
double quartile(std::vector<double> values, std::size_t which) {
  const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * which / 4);
  std::ranges::nth_element(values, place);
  return *place;
}

/// Nanoseconds per answer, of the library and of the twin.
std::pair<double, double> nanosecondsOf(const Row& row) {
  constexpr int kRounds = 41;
  constexpr double kBlock = 20e-6;
  int answers = 16;
  for (;;) {  // as many as fill a block
    const double start = threadSeconds();
    repeat(*row.network->libraryTexture, row.question, *row.sc, answers);
    if (threadSeconds() - start > kBlock || answers > 1 << 20) break;
    answers *= 2;
  }
  std::vector<double> library, twin;
  for (int round = 0; round < kRounds; ++round) {
    for (const bool ofTwin : {round % 2 != 0, round % 2 == 0}) {
      const PluginInterface& texture =
          ofTwin ? *row.network->twinTexture : *row.network->libraryTexture;
      const double start = threadSeconds();
      repeat(texture, row.question, *row.sc, answers);
      (ofTwin ? twin : library).push_back((threadSeconds() - start) / answers * 1e9);
    }
  }
  return {quartile(library, 1), quartile(twin, 1)};
}

// ---- Instructions ------------------------------------------------------------------------------

constexpr int kCounted = 256;

/// Under callgrind: a dump per row and side.
void runCounted(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    for (const PluginInterface* texture : {row.network->libraryTexture, row.network->twinTexture}) {
      repeat(*texture, row.question, *row.sc, 1);  // symbols are resolved, planes computed
      CALLGRIND_START_INSTRUMENTATION;
      CALLGRIND_ZERO_STATS;
      repeat(*texture, row.question, *row.sc, kCounted);
      CALLGRIND_DUMP_STATS;
      CALLGRIND_STOP_INSTRUMENTATION;
    }
  }
}

/// Instructions per answer that one dump has in the library and in the twins.
double instructionsIn(const std::filesystem::path& dump) {
  std::ifstream in(dump);
  double sum = 0;
  bool counts = false, isCallee = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("ob=")) {
      counts = line.ends_with("SamplerInfo.so") || line.ends_with("libtwins.so");
    }
    if (!line.empty() && std::isdigit(static_cast<unsigned char>(line[0])) != 0) {
      if (counts && !isCallee) sum += std::strtod(line.c_str() + line.find(' '), nullptr);
      isCallee = false;
    }
    if (line.starts_with("calls=")) isCallee = true;  // the next line is the callee's
  }
  return sum / kCounted;
}

/// Starts this program under callgrind; the instructions of each row, of the library and the twin.
std::vector<std::pair<double, double>> countInstructions(std::size_t rows) {
  const auto folder =
      std::filesystem::temp_directory_path() / ("samplerinfo-bench-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const std::string out = (folder / "counts").string();
  const std::string command =
      "valgrind -q --tool=callgrind --instr-atstart=no --compress-strings=no --compress-pos=no "
      "--callgrind-out-file='" +
      out + "' '" + std::filesystem::read_symlink("/proc/self/exe").string() + "' --counted";
  const bool failed = std::system(command.c_str()) != 0;
  std::vector<std::pair<double, double>> counts(rows);
  for (std::size_t row = 0; !failed && row < rows; ++row) {
    counts[row] = {instructionsIn(out + "." + std::to_string(2 * row + 1)),
                   instructionsIn(out + "." + std::to_string(2 * row + 2))};
  }
  std::filesystem::remove_all(folder);
  if (failed) throw std::runtime_error("valgrind failed");
  return counts;
}

// ---- What is not a row -------------------------------------------------------------------------

/// Nanoseconds of one `action`, the lower quartile of many.
template <class Action>
double timeOf(int rounds, Action action) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) {
    const double start = threadSeconds();
    action();
    times.push_back((threadSeconds() - start) * 1e9);
  }
  return quartile(std::move(times), 1);
}

/// How many times faster `threads` threads answer than one.
double scaling(const PluginInterface& texture, const ShadingContext& sc, unsigned threads) {
  const auto answersOf = [&](unsigned count) {
    std::atomic<bool> stop = false;
    std::atomic<long> answers = 0;
    std::vector<std::thread> running;
    for (unsigned i = 0; i < count; ++i) {
      running.emplace_back([&] {
        long own = 0;
        for (; !stop; own += 1000) repeat(texture, Question::Value, sc, 1000);
        answers += own;
      });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    stop = true;
    for (std::thread& thread : running) thread.join();
    return static_cast<double>(answers);
  };
  const double one = answersOf(1);
  return answersOf(threads) / one;
}

/// Nanoseconds to load the library, enumerate its plugins and unload it; nobody else has it loaded.
double loadingTime() {
  return timeOf(21, [] {
    void* const module = dlopen(SAMPLERINFO_MODULE, RTLD_NOW | RTLD_LOCAL);
    const auto getLibDesc = reinterpret_cast<PluginLibDesc* (*)()>(dlsym(module, "getLibDesc"));
    if (getLibDesc()->enumPluginDescs(nullptr) == 0 || dlclose(module) != 0) std::abort();
  });
}

void printExtras(const test::OneSample& still, double loading) {
  const auto mixed = std::make_shared<Network>(kMixed);
  Network planes(std::vector<Node>{{"TexSampler.cameraNearClipPlane", {}}});
  std::printf("\nload, enumerate, unload     %9.3f ms\n", loading * 1e-6);
  std::printf("frameBegin of 12 plugins    %9.0f ns\n", timeOf(1001, [&] { mixed->frameBegin(); }));
  std::printf("a frame's first plane       %9.0f ns\n", timeOf(1001, [&] {
                planes.frameBegin();
                repeat(*planes.libraryTexture, Question::Value, still.sc, 1);
              }));
  std::printf("2 threads, network of 12    %9.2f times one; the twin %.2f\n",
              scaling(*mixed->libraryTexture, still.sc, 2),
              scaling(*mixed->twinTexture, still.sc, 2));
}

// ---- The table ---------------------------------------------------------------------------------

struct Figures {
  double instructions, twinInstructions;
  double nanoseconds, twinNanoseconds;
  double instructionRatio, timeRatio;
};

void printTable(const std::vector<Row>& table, const std::vector<Figures>& figures) {
  std::vector<std::size_t> order(table.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::ranges::sort(order, std::greater{}, [&](std::size_t i) { return figures[i].timeRatio; });
  std::printf("%-52s %28s %28s\n", "", "instructions, twin's, ratio", "ns, twin's, ratio");
  for (const std::size_t i : order) {
    const Figures& f = figures[i];
    std::printf("%-52s %10.1f %10.1f %6.2f %10.2f %10.2f %6.2f\n", table[i].name.c_str(),
                f.instructions, f.twinInstructions, f.instructionRatio, f.nanoseconds,
                f.twinNanoseconds, f.timeRatio);
  }
  const auto above = [&](double Figures::*figure, double bar) {
    return std::ranges::count_if(figures, [=](const Figures& f) { return f.*figure > bar; });
  };
  for (const auto& [what, figure] : {std::pair{"instructions", &Figures::instructionRatio},
                                     std::pair{"time", &Figures::timeRatio}}) {
    std::vector<double> ratios;
    std::ranges::transform(figures, std::back_inserter(ratios), figure);
    std::printf("%-13s %zu rows, %td above 1.10, %td above 1.25, median %.2f, worst %.2f\n", what,
                ratios.size(), above(figure, 1.1), above(figure, 1.25), quartile(ratios, 2),
                std::ranges::max(ratios));
  }
}

/// The plugin or the network of a row, and its question.
std::string groupOf(const std::string& row) {
  const std::size_t end = std::min({row.find('.'), row.find(','), row.find(':'), row.find(" (")});
  const bool byMode = row.starts_with("TexAColorOp") && row[end] != '.';
  return row.substr(0, end) + (byMode ? " by mode" : "") + row.substr(row.rfind(':'));
}

void printMedians(const std::vector<Row>& table, const std::vector<Figures>& figures) {
  std::map<std::string, std::pair<std::vector<double>, std::vector<double>>> groups;
  for (std::size_t i = 0; i < table.size(); ++i) {
    auto& [library, twin] = groups[groupOf(table[i].name)];
    library.push_back(figures[i].nanoseconds);
    twin.push_back(figures[i].twinNanoseconds);
  }
  std::printf("\n%-52s %28s\n", "medians", "ns, twin's");
  for (const auto& [group, times] : groups) {
    std::printf("%-52s %17.2f %10.2f\n", group.c_str(), quartile(times.first, 2),
                quartile(times.second, 2));
  }
}

void printJson(const std::vector<Row>& table, const std::vector<Figures>& figures) {
  auto json = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < table.size(); ++i) {
    const Figures& f = figures[i];
    json.push_back({{"name", table[i].name},
                    {"instructions", f.instructions},
                    {"twin_instructions", f.twinInstructions},
                    {"ns", f.nanoseconds},
                    {"twin_ns", f.twinNanoseconds}});
  }
  std::printf("%s\n", json.dump(1).c_str());
}

/// How many rows have other bits than their twins; each is named.
int differences(const std::vector<Row>& table) {
  int count = 0;
  for (const Row& row : table) {
    if (test::ask(*row.network->libraryTexture, row.question, *row.sc) ==
        test::ask(*row.network->twinTexture, row.question, *row.sc)) {
      continue;
    }
    std::fprintf(stderr, "%s: the twin answers otherwise\n", row.name.c_str());
    ++count;
  }
  return count;
}

constexpr const char* kOnly = "SAMPLERINFO_BENCH_ONLY";

int run(int argc, char** argv) {
  CLI::App app("Measures every output of the library against its twin.");
  std::string only;
  bool check = false;
  bool counted = false;
  bool json = false;
  app.add_option("--only", only, "Rows whose names contain this")->envname(kOnly);
  app.add_flag("--check", check, "Compare the answers and measure nothing");
  app.add_flag("--json", json, "Print the rows as JSON");
  app.add_flag("--counted", counted, "What callgrind is started on")->group("");
  CLI11_PARSE(app, argc, argv);

  const double loading = loadingTime();
  const test::OneSample still(false);
  const test::OneSample moving(true);
  const std::vector<Row> table = rows(still, moving, only);
  if (table.empty()) throw std::runtime_error("no row's name contains \"" + only + "\"");
  if (counted) {
    runCounted(table);
    return 0;
  }
  if (differences(table) != 0) return 1;
  if (check) return 0;

  setenv(kOnly, only.c_str(), 1);  // for the run under callgrind
  const auto counts = countInstructions(table.size());
  std::vector<Figures> figures;
  figures.reserve(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    // Noise only ever adds: of three runs each side's best counts.
    auto [time, twinTime] = nanosecondsOf(table[i]);
    for (int again = 0; again < 2; ++again) {
      const auto next = nanosecondsOf(table[i]);
      time = std::min(time, next.first);
      twinTime = std::min(twinTime, next.second);
    }
    const auto [instructions, twinInstructions] = counts[i];
    figures.push_back({instructions, twinInstructions, time, twinTime,
                       instructions / twinInstructions, time / twinTime});
  }
  if (json) {
    printJson(table, figures);
  } else {
    printTable(table, figures);
    printMedians(table, figures);
    printExtras(still, loading);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "samplerinfo-bench: %s\n", error.what());
    return 1;
  }
}
