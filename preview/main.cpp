// SPDX-License-Identifier: MIT
#include <csignal>
#include <iostream>
#include <new>

#include "preview/commands/options.h"
#include "preview/diagnostics/suggestion.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"

namespace {

using namespace preview;

int fail(const std::string& prefix, const std::string& what, int exitCode) {
  constexpr std::size_t kWithItsPlace = 300;
  // Written at once, as several of these programs may share the stream.
  std::cerr << prefix + ": " + oneLine(what, kWithItsPlace) + "\n";
  return exitCode;
}

/// Refuses a command line that has none, or something else in the place of the command.
void checkCommand(const CLI::App& program, const CLI::ParseError& error) {
  const std::vector<std::string> words = program.remaining();
  std::vector<std::string> commands;
  std::string all;
  for (const CLI::App* command : program.get_subcommands({})) {
    commands.push_back(command->get_name());
    all += (all.empty() ? "" : ", ") + command->get_name();
  }
  if (words.empty()) {
    if (error.get_name() != "RequiredError" || !program.get_subcommands().empty()) return;
    throw InputError(unexpected("none", "a command: " + all));
  }
  if (words[0].starts_with("-")) {
    throw InputError(unexpected("\"" + shortened(words[0]) + "\"", "a command"));
  }
  throw InputError(unknown("no command", words[0], commands));
}

int run(int argc, char** argv, Session& session) {
  CLI::App program("Renders, shows, checks, probes and lists the textures of a plugin library.",
                   kProgram);
  program.require_subcommand(1);
  program.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return oneLine(failed->get_name() + ": " + error.what()) + "\n";
  });
  program.set_version_flag("--version", std::string(kProgram) + " " PREVIEW_VERSION);
  program.footer(
      "Exit codes: 0 all is well; 1 the machine failed, or the plugin library did; 2 a command\n"
      "line, scene, plugin library or folder that cannot be used; 3 warnings, with check "
      "--strict;\n"
      "128 and the number of a signal, of which an interrupted render dies.");
  addPlugins(program, session);
  for (const auto add : {addRender, addView, addCheck, addProbe, addList}) add(program, session);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() != 0) checkCommand(program, e);
    if (program.exit(e) != 0) return kExitBadInput;
  }
  if (!std::cout.flush()) throw std::runtime_error("the output cannot be written");
  return session.exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that grows beyond the limit fails as on a full disk
  Session session;
  try {
    return run(argc, argv, session);
  } catch (const SceneError& e) {
    const std::string position = positionText(session.diagnostics.positionOf(e));
    return fail(shownPath(session.scene) + position, e.what(), kExitBadInput);
  } catch (const InputError& e) {
    return fail(kProgram, e.what(), kExitBadInput);
  } catch (const std::bad_alloc&) {
    return fail(kProgram, "out of memory; the peak was " + memoryText(peakMemory()), 1);
  } catch (...) {
    fail(kProgram, textOfThrown(), 1);
    if (interruption != 0) {  // a shell ends its loop only if the program dies of the signal
      std::signal(interruption, SIG_DFL);
      std::raise(interruption);
    }
    return 1;
  }
}
