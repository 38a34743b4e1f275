// SPDX-License-Identifier: MIT
#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "validate/check.h"
#include "validate/contract.h"
#include "validate/samplerinfo/records.h"
#include "validate/subject.h"
#include "validate/system/process.h"

namespace validate {

namespace {

double timeLimit = 240;  ///< for a check

constexpr char kHelp[] =
    R"(Usage: samplerinfo-validate MODULE [OPTION]...
  or:  samplerinfo-validate --list [--only PATTERN]...

Loads a plugin module as the renderer does and tries everything that a host may do to it. Each check
runs in a process of its own.

Options:
  --only PATTERN  the checks whose names match, such as 'loading.*'; can be repeated
  --list          prints the checks and what must hold for each
  --seed N        begins the random numbers elsewhere; a failure names its seed (default 1)
  --seconds S     goes on for so long in each check of random networks, and in loading.rounds
  --timeout S     gives each check so long (default 240), and ten times --seconds more
  --junit FILE    writes the report as JUnit's XML, too
  --help, --version

The checks samplerinfo.* are what this library promises beyond the contract. They are skipped for
other libraries unless --only asks for them. Their records are made with
  --record tables|results               prints the record anew

Exit code: 0 if everything passes, 1 if a check fails, 2 if the module or the command line cannot be used.
)";

[[noreturn]] void refuse(const std::string& line) {
  std::fprintf(stderr, "samplerinfo-validate: %s\n", line.c_str());
  std::exit(2);
}

bool matches(const char* pattern, const char* name) {
  if (*pattern == '*') {
    return matches(pattern + 1, name) || (*name != '\0' && matches(pattern, name + 1));
  }
  if (*pattern == '\0' || *name == '\0') return *pattern == *name;
  return (*pattern == '?' || *pattern == *name) && matches(pattern + 1, name + 1);
}

struct Options {
  std::vector<std::string> only;
  std::string junit, record;
  std::optional<std::string> child;
  bool list = false;
  std::vector<std::string> rest;
};

template <class Number>
Number numberOf(const char* option, const std::string& value) {
  std::istringstream in(value);
  Number number{};
  if (!(in >> number) || !in.eof() || value.starts_with('-')) {
    refuse(std::string(option) + ": \"" + value + "\" is no number");
  }
  return number;
}

Options parse(int argc, char** argv) {
  enum { Only = 1000, List, Seed, Seconds, Timeout, Junit, Help, Version, Child, Record };
  const option known[] = {
      {"only", required_argument, nullptr, Only},
      {"list", no_argument, nullptr, List},
      {"seed", required_argument, nullptr, Seed},
      {"seconds", required_argument, nullptr, Seconds},
      {"timeout", required_argument, nullptr, Timeout},
      {"junit", required_argument, nullptr, Junit},
      {"help", no_argument, nullptr, Help},
      {"version", no_argument, nullptr, Version},
      {"child", required_argument, nullptr, Child},
      {"record", required_argument, nullptr, Record},
      {nullptr, 0, nullptr, 0},
  };
  Options options;
  for (int what; (what = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    switch (what) {
      case Only:
        options.only.emplace_back(optarg);
        break;
      case List:
        options.list = true;
        break;
      case Seed:
        trial.seed = numberOf<std::uint32_t>("--seed", optarg);
        break;
      case Seconds:
        trial.seconds = numberOf<double>("--seconds", optarg);
        break;
      case Timeout:
        timeLimit = numberOf<double>("--timeout", optarg);
        break;
      case Junit:
        options.junit = optarg;
        break;
      case Child:
        options.child = optarg;
        break;
      case Record:
        options.record = optarg;
        break;
      case Help:
        std::fputs(kHelp, stdout);
        std::exit(0);
      case Version:
        std::puts("samplerinfo-validate " VALIDATE_VERSION);
        std::exit(0);
      default:
        std::exit(2);  // getopt_long has said why
    }
  }
  options.rest.assign(argv + optind, argv + argc);
  return options;
}

// ---- A child: one check ----

/// What the module is asked at the moment. Allocates nothing: it may be the heap that is broken.
const char* called() {
  static char text[256];
  const auto [operation, of, sample] = calling;
  if (operation == nullptr) return "the check";
  const int length = std::snprintf(text, sizeof text, "%s%s%s", of != nullptr ? of : "",
                                   of != nullptr ? "." : "", operation);
  const auto end = std::min(static_cast<std::size_t>(length), sizeof text - 1);
  if (sample >= 0) std::snprintf(text + end, sizeof text - end, " at sample %d", sample);
  return text;
}

void printCalled() {
  char lines[320];
  const int length = std::snprintf(lines, sizeof lines, "\n#called %s\n#seed %u\n", called(),
                                   static_cast<unsigned>(trial.seed));
  if (write(STDOUT_FILENO, lines, static_cast<std::size_t>(length)) != length) std::_Exit(1);
}

// The instruction that failed, or `abort`, comes again after this and ends the process.
void reportSignal(int signal) {
  std::signal(signal, SIG_DFL);
  printCalled();
  if (signal == SIGTERM) std::_Exit(1);
}

// Comes before the stack is unwound, which would call the module.
[[noreturn]] void reportException() {
  std::string got = "std::terminate";
  try {
    if (std::current_exception() != nullptr) {
      got = "an exception";
      throw;
    }
  } catch (const char* thrown) {
    got = "the exception " + text(thrown);
  } catch (const std::exception& exception) {
    got = "the exception " + text(exception.what());
  } catch (...) {
  }
  failExpectation(called(), got, "its return");
}

int runChild(const std::string& name) {
  std::signal(SIGTERM, reportSignal);
  if (!kSanitized) {  // a sanitizer reports the others
    for (const int signal : {SIGABRT, SIGFPE, SIGILL, SIGSEGV}) std::signal(signal, reportSignal);
  }
  std::set_terminate(reportException);
  std::atexit(printCalled);
  for (const Check* check = firstCheck; check != nullptr; check = check->next) {
    if (name == check->name) check->run();
  }
  // No check: what comes before the first one.
  if (name.empty()) note(PluginLibDesc::getLibraryName(library()));
  std::puts("\n#held");
  return 0;
}

struct Outcome {
  bool held = false;
  std::string failure, skipped;
  std::vector<std::string> notes;
  double seconds = 0;
};

Outcome inChild(const std::string& check) {
  const auto start = std::chrono::steady_clock::now();
  std::ostringstream seconds;
  seconds << trial.seconds;
  const Ending ending = runAgain({trial.module, "--child", check, "--seed",
                                  std::to_string(trial.seed), "--seconds", seconds.str()},
                                 timeLimit + 10 * trial.seconds);
  Outcome outcome;
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::string calledLast = "the check", seed = std::to_string(trial.seed);
  std::istringstream lines(ending.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const std::string::size_type space = line.find(' ');
    const std::string what = line.substr(0, space),
                      rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (what == "#held") outcome.held = true;
    if (what == "#note") outcome.notes.push_back(rest);
    if (what == "#failed") outcome.failure = rest;
    if (what == "#skipped") outcome.skipped = rest;
    if (what == "#called") calledLast = rest;
    if (what == "#seed") seed = rest;
  }
  if (!outcome.failure.empty()) return outcome;
  const bool ended = ending.failure.empty();
  if (ended && (outcome.held || !outcome.skipped.empty())) return outcome;
  outcome.failure = calledLast + ": got " + (ended ? "the end of the process" : ending.failure) +
                    ", expected its return (seed " + seed + ")";
  return outcome;
}

// ---- The report ----

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

/// Written aside, so that there is a whole file or none.
class JUnit {
 public:
  explicit JUnit(std::string path) : path_(std::move(path)) {
    if (path_.empty()) return;
    file_.open(aside());
    expectWritten();
  }

  void add(const Check& check, const Outcome& outcome) {
    const std::string name = check.name, group = name.substr(0, name.find('.'));
    cases_ << "  <testcase classname=\"" << group << "\" name=\"" << name << "\" time=\""
           << outcome.seconds << "\">";
    if (!outcome.failure.empty()) {
      cases_ << "<failure message=\"" << escaped(outcome.failure) << "\"/>";
    } else if (!outcome.skipped.empty()) {
      cases_ << "<skipped message=\"" << escaped(outcome.skipped) << "\"/>";
    }
    if (!outcome.notes.empty()) {
      cases_ << "<system-out>";
      for (const std::string& line : outcome.notes) cases_ << escaped(line) << '\n';
      cases_ << "</system-out>";
    }
    cases_ << "</testcase>\n";
  }

  void finish(int tests, int failures, int skipped) {
    if (path_.empty()) return;
    file_ << R"(<?xml version="1.0" encoding="UTF-8"?>)"
             "\n"
          << R"(<testsuite name="samplerinfo-validate" tests=")" << tests << R"(" failures=")"
          << failures << R"(" errors="0" skipped=")" << skipped << "\">\n"
          << cases_.str() << "</testsuite>\n";
    file_.close();
    expectWritten();
    std::error_code error;
    std::filesystem::rename(aside(), path_, error);
    if (error) refuse(path_ + ": cannot be written");
  }

 private:
  std::string aside() const { return path_ + ".part"; }
  void expectWritten() const {
    if (!file_) refuse(path_ + ": cannot be written");
  }

  std::string path_;
  std::ofstream file_;
  std::ostringstream cases_;
};

bool chosen(const Check& check, const std::vector<std::string>& only) {
  return only.empty() || std::any_of(only.begin(), only.end(), [&](const std::string& pattern) {
           return matches(pattern.c_str(), check.name);
         });
}

int runAll(std::vector<const Check*> checks, const Options& options) {
  const Outcome load = inChild("");
  if (!load.held) {
    refuse(trial.module + ": " + load.failure.substr(0, load.failure.rfind(" (seed")));
  }
  const bool promises = load.notes == std::vector<std::string>{"SamplerInfo"} ||
                        std::ranges::any_of(options.only, [](const std::string& pattern) {
                          return pattern.starts_with("samplerinfo");
                        });

  const auto isPromise = [](const Check* check) { return matches("samplerinfo.*", check->name); };
  const bool erased = !promises && std::erase_if(checks, isPromise) != 0;
  if (checks.empty()) {
    refuse(
        "--only matches promises of another library alone; they are tried if a pattern begins with "
        "samplerinfo");
  }
  if (erased) {
    std::puts("skipped   samplerinfo.*: promises of another library, unless --only asks for them");
  }

  int failed = 0, skipped = 0;
  JUnit junit(options.junit);
  for (const Check* check : checks) {
    const Outcome outcome = inChild(check->name);
    const bool fails = !outcome.failure.empty(), skips = !fails && !outcome.skipped.empty();
    failed += fails;
    skipped += skips;
    const std::string& why = fails ? outcome.failure : outcome.skipped;
    std::printf("%s  %s%s%s\n",
                fails   ? "FAILED  "
                : skips ? "skipped "
                        : "passed  ",
                check->name, why.empty() ? "" : ": ", why.c_str());
    for (const std::string& line : outcome.notes) std::printf("            %s\n", line.c_str());
    std::fflush(stdout);
    junit.add(*check, outcome);
  }
  const int count = static_cast<int>(checks.size());
  std::printf("%d check%s: %d passed, %d failed, %d skipped\n", count, count == 1 ? "" : "s",
              count - failed - skipped, failed, skipped);
  junit.finish(count, failed, skipped);
  return failed != 0;
}

int print(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) std::puts(line.c_str());
  return 0;
}

}  // namespace

int run(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::vector<const Check*> checks;
  for (const Check* check = firstCheck; check != nullptr; check = check->next) {
    if (chosen(*check, options.only)) checks.push_back(check);
  }
  if (checks.empty()) refuse("no check matches the pattern; --list shows their names");
  if (options.list) {
    for (const Check* check : checks) {
      std::printf("%-36s %s\n", check->name, check->sentence);
    }
    return 0;
  }
  if (options.rest.empty()) refuse("which module? --help shows the usage");
  if (options.rest.size() != 1) {
    refuse("\"" + options.rest.back() + "\" is one argument too many");
  }
  trial.module = options.rest[0];
  if (!std::filesystem::is_regular_file(trial.module)) {
    refuse(trial.module + (std::filesystem::exists(trial.module) ? ": no file" : ": no such file"));
  }
  if (options.child) return runChild(*options.child);
  if (options.record == "tables") return print(tableLines());
  if (options.record == "results") return print(resultLines());
  if (!options.record.empty()) {
    refuse("--record: \"" + options.record + "\" is neither tables nor results");
  }
  return runAll(checks, options);
}

}  // namespace validate

int main(int argc, char** argv) {
  const int code = validate::run(argc, argv);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
  validate::refuse("the report cannot be written");
}
