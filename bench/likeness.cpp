// SPDX-License-Identifier: GPL-3.0-or-later
// The likeness of two keys against its cubic definition, best of interleaved rounds: unlike names,
// and names that differ in one character, which is the worst case of the quick method.
#include "audio/likeness.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

namespace {

double Microseconds(auto work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
      .count();
}

float PlainLikeness(std::u32string_view a, std::u32string_view b) {
  uint64_t hits = 0;
  for (size_t n = 1; n <= std::min(a.size(), b.size()); ++n) {
    for (size_t i = 0; i + n <= a.size(); ++i) hits += b.find(a.substr(i, n)) != b.npos;
    for (size_t i = 0; i + n <= b.size(); ++i) hits += a.find(b.substr(i, n)) != a.npos;
  }
  const uint64_t total = a.size() * (a.size() + 1) / 2 + b.size() * (b.size() + 1) / 2;
  return static_cast<float>(hits) / static_cast<float>(total);
}

bool Compare(const char* name, const std::u32string& a, const std::u32string& b) {
  constexpr int kCalls = 50;
  double best = 1e9, plain = 1e9;
  float likeness = 0, plainLikeness = 0;
  for (int round = 0; round < 20; ++round) {
    plain = std::min(plain, Microseconds([&] { plainLikeness = PlainLikeness(a, b); }));
    for (int i = 0; i < 10; ++i)
      best = std::min(best, Microseconds([&] {
                              for (int call = 0; call < kCalls; ++call) {
                                likeness = quill::Likeness(a, b);
                                asm volatile("" : : "m"(likeness) : "memory");
                              }
                            }) / kCalls);
  }
  std::printf("likeness of two keys of %zu, %s: %.3f us, definition %.0f us, ratio 1/%.0f\n",
              a.size(), name, best, plain, plain / best);
  return likeness == plainLikeness;
}

}  // namespace

int main() {
  std::mt19937 random(1);
  bool equal = true;
  for (const size_t length : {60, 300}) {
    std::u32string a(length, U'a'), b(length, U'a');
    for (char32_t& c : a) c = U'a' + random() % 26;
    for (char32_t& c : b) c = U'a' + random() % 26;
    equal &= Compare("unlike", a, b);
    b = a;
    b[length / 2] = U'0';
    equal &= Compare("nearly equal", a, b);
  }
  return equal ? 0 : 1;
}
