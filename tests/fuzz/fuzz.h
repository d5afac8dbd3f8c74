// One harness a file: any bytes in, no crash, no sanitizer report, no broken invariant out.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string AsText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what.c_str());
  std::abort();
}
