#include "tests/fuzz/Finding.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace Fuzz {

namespace {

/// Children are made to see how they end: libFuzzer is not to take that for an end of its own.
void endPlainly() { std::signal(SIGABRT, SIG_DFL); }

}  // namespace

void found(const std::string& text) {
  std::cerr << "FINDING: " << text << std::endl;
  std::abort();
}

void requirePrintable(std::string_view text, std::string_view what, bool isBlock) {
  for (const char character : text) {
    const bool isPrintable = character >= ' ' && character <= '~';
    if (isPrintable || (isBlock && character == '\n')) continue;
    found(std::string(what) + " holds the byte " +
          std::to_string(static_cast<unsigned char>(character)) + ": " + std::string(text));
  }
}

}  // namespace Fuzz

/// What libFuzzer calls once, before all else.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  static_cast<void>(argc);
  static_cast<void>(argv);
  GTEST_FLAG_SET(throw_on_failure, true);
  return pthread_atfork(nullptr, nullptr, Fuzz::endPlainly);
}
