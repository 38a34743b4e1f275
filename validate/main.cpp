#include <getopt.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "validate/check.h"
#include "validate/checks/records.h"
#include "validate/process.h"
#include "validate/subject.h"

namespace validate {

namespace {

constexpr double kTimeLimit = 240;

constexpr char kHelp[] =
    R"(usage: samplerinfo-validate MODULE [--only PATTERN]... [--seed N] [--seconds S] [--junit FILE]
       samplerinfo-validate --list [--only PATTERN]...

Loads a plugin module as the renderer does and tries everything that a host may do to it. Each check
runs in a process of its own.

  --only PATTERN  the checks whose names match, such as 'loading.*'; can be repeated
  --list          prints the checks and what each of them wants to hold
  --seed N        begins the random numbers elsewhere; a failure names its seed (default 1)
  --seconds S     evaluates for so long, as a soak
  --junit FILE    writes the report as JUnit's XML, too
  --help, --version

The checks samplerinfo.* are what this library promises beyond the contract. They are left out for
other libraries unless --only asks for them. Their records are made with
  --record tables|results               prints the record anew
  --show OUTPUT QUESTION GROUP          prints the inputs and answers behind a digest of the results

Exit code: 0 if everything holds, 1 if a check fails, 2 if the module or the command line cannot be used.
)";

[[noreturn]] void refuse(const std::string& line) {
  std::fprintf(stderr, "samplerinfo-validate: %s\n", line.c_str());
  std::exit(2);
}

bool matches(const char* pattern, const char* name) {
  if (*pattern == '*')
    return matches(pattern + 1, name) || (*name != '\0' && matches(pattern, name + 1));
  if (*pattern == '\0' || *name == '\0') return *pattern == *name;
  return (*pattern == '?' || *pattern == *name) && matches(pattern + 1, name + 1);
}

struct Options {
  std::vector<std::string> only;
  std::string junit, record;
  std::optional<std::string> child;
  bool list = false, show = false;
  std::vector<std::string> rest;
};

template <class Number>
Number numberOf(const char* option, const std::string& value) {
  std::istringstream in(value);
  Number number{};
  if (!(in >> number) || !in.eof() || value.starts_with('-'))
    refuse(std::string(option) + ": \"" + value + "\" is no number");
  return number;
}

Options parse(int argc, char** argv) {
  enum { ONLY = 1000, LIST, SEED, SECONDS, JUNIT, HELP, VERSION, CHILD, RECORD, SHOW };
  const option known[] = {
      {"only", required_argument, nullptr, ONLY},
      {"list", no_argument, nullptr, LIST},
      {"seed", required_argument, nullptr, SEED},
      {"seconds", required_argument, nullptr, SECONDS},
      {"junit", required_argument, nullptr, JUNIT},
      {"help", no_argument, nullptr, HELP},
      {"version", no_argument, nullptr, VERSION},
      {"child", required_argument, nullptr, CHILD},
      {"record", required_argument, nullptr, RECORD},
      {"show", no_argument, nullptr, SHOW},
      {nullptr, 0, nullptr, 0},
  };
  Options options;
  for (int what; (what = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    switch (what) {
      case ONLY:
        options.only.emplace_back(optarg);
        break;
      case LIST:
        options.list = true;
        break;
      case SEED:
        trial.seed = numberOf<std::uint32_t>("--seed", optarg);
        break;
      case SECONDS:
        trial.seconds = numberOf<double>("--seconds", optarg);
        break;
      case JUNIT:
        options.junit = optarg;
        break;
      case CHILD:
        options.child = optarg;
        break;
      case RECORD:
        options.record = optarg;
        break;
      case SHOW:
        options.show = true;
        break;
      case HELP:
        std::fputs(kHelp, stdout);
        std::exit(std::fflush(stdout) != 0);
      case VERSION:
        std::puts("samplerinfo-validate " VALIDATE_VERSION);
        std::exit(std::fflush(stdout) != 0);
      default:
        std::exit(2);  // getopt_long has said why
    }
  }
  options.rest.assign(argv + optind, argv + argc);
  return options;
}

// ---- A child: one check
// --------------------------------------------------------------------------

int runCheck(const std::string& name) {
  for (const Check* check = firstCheck; check != nullptr; check = check->next) {
    if (name != check->name) continue;
    check->run();
    std::puts("\n#held");
    return 0;
  }
  // No check: what comes before the first one.
  note(PluginLibDesc::getLibraryName(library()));
  std::puts("\n#held");
  return 0;
}

struct Outcome {
  bool held = false;
  std::string failure, leftOut;
  std::vector<std::string> notes;
  double seconds = 0;
};

Outcome inChild(const std::string& check) {
  const auto start = std::chrono::steady_clock::now();
  std::ostringstream seconds;
  seconds << trial.seconds;
  const Ending ending = runAgain({trial.module, "--child", check, "--seed",
                                  std::to_string(trial.seed), "--seconds", seconds.str()},
                                 kTimeLimit + 10 * trial.seconds);
  Outcome outcome;
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::istringstream lines(ending.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const std::string::size_type space = line.find(' ');
    const std::string what = line.substr(0, space),
                      rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (what == "#held") outcome.held = true;
    if (what == "#note") outcome.notes.push_back(rest);
    if (what == "#failed") outcome.failure = rest;
    if (what == "#left-out") outcome.leftOut = rest;
  }
  if (!outcome.failure.empty()) return outcome;
  const std::string seed = " (seed " + std::to_string(trial.seed) + ")";
  if (!ending.failure.empty()) {
    outcome.failure = "the process: came " + ending.failure + ", expected its end" + seed;
  } else if (!outcome.held && outcome.leftOut.empty()) {
    outcome.failure =
        "the process: came its end in the middle of the check, expected the whole check" + seed;
  }
  return outcome;
}

// ---- The report
// ----------------------------------------------------------------------------------

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  return result;
}

class JUnit {
 public:
  void add(const Check& check, const Outcome& outcome) {
    const std::string name = check.name, group = name.substr(0, name.find('.'));
    cases_ << "  <testcase classname=\"" << group << "\" name=\"" << name << "\" time=\""
           << outcome.seconds << "\">";
    if (!outcome.failure.empty())
      cases_ << "<failure message=\"" << escaped(outcome.failure) << "\"/>";
    else if (!outcome.leftOut.empty())
      cases_ << "<skipped message=\"" << escaped(outcome.leftOut) << "\"/>";
    if (!outcome.notes.empty()) {
      cases_ << "<system-out>";
      for (const std::string& line : outcome.notes) cases_ << escaped(line) << '\n';
      cases_ << "</system-out>";
    }
    cases_ << "</testcase>\n";
  }

  // Written aside, so that there is a whole file or none.
  void write(const std::string& path, int tests, int failures, int skipped) const {
    const std::string aside = path + ".part";
    std::ofstream file(aside);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"samplerinfo-validate\" "
            "tests=\""
         << tests << "\" failures=\"" << failures << "\" errors=\"0\" skipped=\"" << skipped
         << "\">\n"
         << cases_.str() << "</testsuite>\n";
    file.close();
    std::error_code error;
    if (file) std::filesystem::rename(aside, path, error);
    if (!file || error) refuse(path + ": cannot be written");
  }

 private:
  std::ostringstream cases_;
};

bool chosen(const Check& check, const std::vector<std::string>& only) {
  return only.empty() || std::any_of(only.begin(), only.end(), [&](const std::string& pattern) {
           return matches(pattern.c_str(), check.name);
         });
}

int runAll(const std::vector<const Check*>& checks, const Options& options) {
  const Outcome load = inChild("");
  if (!load.held) refuse(trial.module + ": " + load.failure);
  const bool promises =
      !options.only.empty() || load.notes == std::vector<std::string>{"SamplerInfo"};

  int failed = 0, leftOut = 0;
  JUnit junit;
  for (const Check* check : checks) {
    Outcome outcome;
    if (!promises && matches("samplerinfo.*", check->name)) {
      outcome.leftOut = "another library, and --only does not ask for it";
    } else {
      outcome = inChild(check->name);
    }
    const bool fails = !outcome.failure.empty(), skips = !fails && !outcome.leftOut.empty();
    failed += fails;
    leftOut += skips;
    const std::string& why = fails ? outcome.failure : outcome.leftOut;
    std::printf("%s  %s%s%s\n",
                fails   ? "FAILED  "
                : skips ? "left out"
                        : "holds   ",
                check->name, why.empty() ? "" : ": ", why.c_str());
    for (const std::string& line : outcome.notes) std::printf("            %s\n", line.c_str());
    std::fflush(stdout);
    junit.add(*check, outcome);
  }
  const int count = static_cast<int>(checks.size());
  std::printf("%d checks: %d hold, %d failed, %d left out\n", count, count - failed - leftOut,
              failed, leftOut);
  if (!options.junit.empty()) junit.write(options.junit, count, failed, leftOut);
  return failed != 0;
}

int print(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) std::puts(line.c_str());
  return std::fflush(stdout) != 0;
}

int run(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::vector<const Check*> checks;
  for (const Check* check = firstCheck; check != nullptr; check = check->next) {
    if (chosen(*check, options.only)) checks.push_back(check);
  }
  if (checks.empty()) refuse("no check matches the pattern; --list shows their names");
  if (options.list) {
    for (const Check* check : checks) std::printf("%-36s %s\n", check->name, check->promise);
    return std::fflush(stdout) != 0;
  }
  if (options.rest.empty()) refuse("which module? --help shows the usage");
  if (options.rest.size() != (options.show ? 4 : 1))
    refuse("\"" + options.rest.back() + "\" is one argument too many");
  trial.module = options.rest[0];
  if (!std::filesystem::is_regular_file(trial.module)) refuse(trial.module + ": no such file");
  if (options.child) return runCheck(*options.child);
  if (options.record == "tables") return print(tableLines());
  if (options.record == "results") return print(resultLines());
  if (!options.record.empty())
    refuse("--record: \"" + options.record + "\" is neither tables nor results");
  if (options.show) {
    if (showResults(options.rest[1], options.rest[2], options.rest[3])) return 0;
    refuse("--show: no such output, question (value, bounds, gradient) or group (0 to 19)");
  }
  return runAll(checks, options);
}

}  // namespace

}  // namespace validate

int main(int argc, char** argv) { return validate::run(argc, argv); }
