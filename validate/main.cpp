// SPDX-License-Identifier: MIT
#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "validate/harness/check.h"
#include "validate/harness/contract.h"
#include "validate/samplerinfo/records.h"
#include "validate/subject/subject.h"
#include "validate/system/process.h"

namespace validate {

namespace {

double timeLimit;  ///< for a check

constexpr char kHelp[] =
    R"(Usage: samplerinfo-validate MODULE [OPTION]...
  or:  samplerinfo-validate --list [--only PATTERN]...

Loads a plugin module as the renderer does and tries everything that a host may do to it. Each check
runs in a process of its own.

Options:
  --only PATTERN  the checks whose names or groups match, such as 'loading'; can be repeated
  --list          prints the checks and what must hold for each
  --seed N        begins the random numbers elsewhere; a failure names its seed (default 1)
  --seconds S     goes on for so long in each check of random networks, and in loading.rounds
  --timeout S     gives each check so long (default 240), and ten times --seconds more
  --junit FILE    writes the report as JUnit's XML, too
  --debug CHECK   runs one check in this process, for a debugger
  --help, --version

The checks samplerinfo.* are what this library guarantees beyond the contract. They are skipped for
other libraries unless --only asks for them. Their records are made with
  --record tables|results               prints the record anew

Exit code: 0 if everything passes, 1 if a check fails, 2 if the module or the command line cannot be used.)";

[[noreturn]] void refuse(const std::string& line) {
  std::fprintf(stderr, "samplerinfo-validate: %s\n", line.c_str());
  std::exit(2);
}

/// A name, or that of a group of its own.
bool matches(const char* pattern, const char* name) {
  if (*pattern == '*') {
    return matches(pattern + 1, name) || (*name != '\0' && matches(pattern, name + 1));
  }
  if (*pattern == '\0' && *name == '.') return true;
  if (*pattern == '\0' || *name == '\0') return *pattern == *name;
  return (*pattern == '?' || *pattern == *name) && matches(pattern + 1, name + 1);
}

/// What was given for each option, and, for none, the rest.
using Options = std::map<std::string, std::vector<std::string>>;

/// What was given last, or the same as nothing.
std::string last(Options& options, const char* option, const char* nothing = "") {
  return options[option].empty() ? nothing : options[option].back();
}

template <class Number>
Number numberOf(Options& options, const char* option, const char* nothing) {
  const std::string value = last(options, option, nothing);
  std::istringstream in(value);
  Number number{};
  if (!(in >> number) || !in.eof() || value.starts_with('-')) {
    refuse("--" + std::string(option) + ": \"" + value + "\" is no number");
  }
  return number;
}

Options parse(int argc, char** argv) {
  std::vector<option> known;
  for (const char* name :
       {"only", "seed", "seconds", "timeout", "junit", "debug", "child", "record"}) {
    known.push_back({name, required_argument, nullptr, 0});
  }
  for (const char* name : {"list", "help", "version"}) {
    known.push_back({name, no_argument, nullptr, 0});
  }
  known.push_back({});
  Options options;
  bool areKnown = true;
  for (int index = 0, what; (what = getopt_long(argc, argv, "", known.data(), &index)) != -1;) {
    areKnown &= what == 0;  // or getopt_long has said why not
    const std::string name = known[static_cast<std::size_t>(index)].name;
    if (what == 0) options[name].emplace_back(optarg != nullptr ? optarg : "");
  }
  // Whatever comes, nobody shall take an older report for the new one.
  for (const std::string& report : options["junit"]) unlink(report.c_str());
  if (!areKnown) std::exit(2);
  trial.seed = numberOf<std::uint32_t>(options, "seed", "1");
  trial.seconds = numberOf<double>(options, "seconds", "0");
  timeLimit = numberOf<double>(options, "timeout", "240");
  if (optind < argc) options[""].assign(argv + optind, argv + argc);
  return options;
}

// ---- A child: one check ----

void printCalled() {
  char lines[600];
  const int length =
      std::snprintf(lines, sizeof lines, "\n#called %s\n#seed%s\n", called(), seedText());
  if (write(fileno(reports), lines, static_cast<std::size_t>(length)) != length) std::_Exit(1);
}

// The signal comes again after this and ends the process: on Windows the instruction that failed is
// executed once more.
void reportSignal(int signal) {
  std::signal(signal, SIG_DFL);
  printCalled();
  if (signal == SIGTERM) std::_Exit(1);
  if (!kMicrosoft) std::raise(signal);
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

void reportEnds() {
  std::signal(SIGTERM, reportSignal);
  if (!kSanitized) {  // a sanitizer reports the others
    for (const int signal : {SIGABRT, SIGFPE, SIGILL, SIGSEGV}) std::signal(signal, reportSignal);
  }
  std::set_terminate(reportException);
  std::atexit(printCalled);
}

/// Runs a check or, without a name, what comes before the first one.
int runCheck(const std::vector<const Check*>& checks, const std::string& name) {
  const auto check = std::ranges::find(checks, name, &Check::name);
  if (check != checks.end()) {
    (*check)->run();
  } else if (name.empty()) {
    note(PluginLibDesc::getLibraryName(library()));
  } else {
    refuse("no check is \"" + name + "\"; --list shows their names");
  }
  std::fputs("\n#passed\n", reports);
  calling = {"unloading"};
  return 0;
}

struct Outcome {
  bool passed = false;
  std::string failure, skipped;
  std::vector<std::string> notes;
  double seconds = 0;
};

Outcome inChild(const std::string& check) {
  const auto start = std::chrono::steady_clock::now();
  const Ending ending =
      runAgain({trial.module, "--child", check, "--seed", std::to_string(trial.seed), "--seconds",
                formatted("%.17g", trial.seconds)},
               timeLimit + 10 * trial.seconds);
  Outcome outcome;
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::string calledLast = "the check", seed, printed;
  std::istringstream lines(ending.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const std::string what = line.substr(0, line.find(' ')),
                      rest = line.substr(std::min(line.size(), what.size() + 1));
    if (!line.empty() && !line.starts_with('#')) printed = line.substr(0, 200);
    if (what == "#passed") outcome.passed = true;
    if (what == "#note") outcome.notes.push_back(rest);
    if (what == "#failed") outcome.failure = rest;
    if (what == "#skipped") outcome.skipped = rest;
    if (what == "#called") calledLast = rest;
    if (what == "#seed") seed = line.substr(what.size());
  }
  if (!outcome.failure.empty()) return outcome;
  const bool ended = ending.failure.empty();
  if (ended && (outcome.passed || !outcome.skipped.empty())) return outcome;
  outcome.failure = calledLast + ": got " + (ended ? "the end of the process" : ending.failure) +
                    ", expected its return" + seed;
  if (ending.failure.starts_with("still running")) outcome.failure += "; --timeout gives it longer";
  if (!printed.empty()) outcome.failure += "; it printed last: " + printable(printed);
  return outcome;
}

// ---- The report ----

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : printable(text)) {
    result += std::strchr("&<>\"", c) == nullptr ? std::string(1, c) : formatted("&#%d;", c);
  }
  return result;
}

/// As JUnit's XML has it.
std::string caseOf(const std::string& name, const Outcome& outcome) {
  std::ostringstream xml;
  xml << "  <testcase classname=\"" << name.substr(0, name.find('.')) << "\" name=\"" << name
      << "\" time=\"" << outcome.seconds << "\">";
  const std::string& why = outcome.failure.empty() ? outcome.skipped : outcome.failure;
  const char* const element = outcome.failure.empty() ? "<skipped" : "<failure";
  if (!why.empty()) xml << element << " message=\"" << escaped(why) << "\"/>";
  xml << "<system-out>";
  for (const std::string& line : outcome.notes) xml << escaped(line) << '\n';
  xml << "</system-out></testcase>\n";
  return xml.str();
}

int runAll(std::vector<const Check*> checks, Options& options) {
  const Outcome load = inChild("");
  if (!load.passed) refuse(trial.module + ": " + load.failure);
  const bool isOurs = load.notes == std::vector<std::string>{"SamplerInfo"} ||
                      std::ranges::any_of(options["only"], [](const std::string& pattern) {
                        return pattern.starts_with("samplerinfo");
                      });

  const auto isGuarantee = [](const Check* check) { return matches("samplerinfo.*", check->name); };
  const bool erased = !isOurs && std::erase_if(checks, isGuarantee) != 0;
  if (checks.empty()) {
    refuse("--only matches SamplerInfo's own checks alone; samplerinfo.* asks for them");
  }
  if (erased) {
    std::puts("skipped   samplerinfo.*: guarantees of SamplerInfo, unless --only asks for them");
  }

  int failed = 0, skipped = 0;
  const std::string report = last(options, "junit"), aside = report + ".part";
  std::ofstream xml;
  if (!report.empty()) xml.open(aside);  // so that there is a whole report or none
  if (!xml) refuse(report + ": cannot be written");
  std::string cases;
  for (const Check* check : checks) {
    const Outcome outcome = inChild(check->name);
    const bool fails = !outcome.failure.empty(), skips = !fails && !outcome.skipped.empty();
    failed += fails;
    skipped += skips;
    const std::string& why = fails ? outcome.failure : outcome.skipped;
    const char* const result = fails ? "FAILED" : skips ? "skipped" : "passed";
    std::printf("%-9s %s%s%s\n", result, check->name, why.empty() ? "" : ": ", why.c_str());
    for (const std::string& line : outcome.notes) std::printf("            %s\n", line.c_str());
    std::fflush(stdout);
    cases += caseOf(check->name, outcome);
  }
  const int count = static_cast<int>(checks.size());
  std::printf("%d check%s: %d passed, %d failed, %d skipped\n", count, count == 1 ? "" : "s",
              count - failed - skipped, failed, skipped);
  if (report.empty()) return failed != 0;
  xml << R"(<?xml version="1.0" encoding="UTF-8"?>)"
      << "\n"
      << R"(<testsuite name="samplerinfo-validate" tests=")" << count << R"(" failures=")" << failed
      << R"(" errors="0" skipped=")" << skipped << "\">\n"
      << cases << "</testsuite>\n";
  xml.close();
  std::error_code error;
  if (xml) std::filesystem::rename(aside, report, error);
  if (xml && !error) return failed != 0;
  unlink(aside.c_str());
  refuse(report + ": cannot be written");
}

int print(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) std::puts(line.c_str());
  return 0;
}

}  // namespace

int run(int argc, char** argv) {
  isOurThread = true;
  Options options = parse(argc, argv);
  if (options.contains("help")) return print({kHelp});
  if (options.contains("version")) return print({"samplerinfo-validate " VALIDATE_VERSION});
  const std::vector<std::string>& only = options["only"];
  std::vector<const Check*> checks;
  std::vector<std::string> unmatched = only;
  for (const Check* check = firstCheck; check != nullptr; check = check->next) {
    const auto chooses = [check](const std::string& pattern) {
      return matches(pattern.c_str(), check->name);
    };
    if (only.empty() || std::ranges::any_of(only, chooses)) checks.push_back(check);
    std::erase_if(unmatched, chooses);
  }
  if (!unmatched.empty()) {
    refuse("no check matches \"" + unmatched[0] + "\"; --list shows their names");
  }
  if (options.contains("list")) {
    for (const Check* check : checks) {
      std::printf("%-36s %s\n", check->name, check->sentence);
    }
    return 0;
  }
  const std::vector<std::string>& modules = options[""];
  if (modules.empty()) refuse("which module? --help shows the usage");
  if (modules.size() != 1) refuse("\"" + modules.back() + "\" is one argument too many");
  trial.module = modules[0];
  if (!std::filesystem::is_regular_file(trial.module)) {
    refuse(trial.module + (std::filesystem::exists(trial.module) ? ": no file" : ": no such file"));
  }
  if (options.contains("debug")) return runCheck(checks, last(options, "debug"));
  if (options.contains("child")) {
    reportEnds();
    return runCheck(checks, last(options, "child"));
  }
  const std::string record = last(options, "record");
  if (record == "tables") return print(tableLines());
  if (record == "results") return print(resultLines());
  if (!record.empty()) refuse("--record: \"" + record + "\" is neither tables nor results");
  return runAll(checks, options);
}

}  // namespace validate

int main(int argc, char** argv) {
  const int code = validate::run(argc, argv);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
  validate::refuse("the report cannot be written");
}
