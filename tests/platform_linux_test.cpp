// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "frame/platform.h"

namespace {

bool isWaiting(int signal) {
  sigset_t waiting;
  sigpending(&waiting);
  return sigismember(&waiting, signal) == 1;
}

TEST(PlatformLinux, DebugOutputThatNobodyReadsDoesNoHarm) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  const int standardError = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);

  samplerinfo::platform::debugOutput("for nobody");  // SIGPIPE would end the process

  // A thread that has the signal blocked and waiting keeps it so, and gets no other.
  sigset_t brokenPipe;
  sigset_t before;
  sigset_t after;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
  EXPECT_EQ(sigismember(&before, SIGPIPE), 0) << "left blocked";
  samplerinfo::platform::debugOutput("for nobody");
  EXPECT_FALSE(isWaiting(SIGPIPE));
  raise(SIGPIPE);
  samplerinfo::platform::debugOutput("for nobody");
  EXPECT_TRUE(isWaiting(SIGPIPE));
  int taken = 0;
  sigwait(&brokenPipe, &taken);
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(sigismember(&after, SIGPIPE), 1);

  dup2(standardError, STDERR_FILENO);
  close(standardError);
}

}  // namespace
