// How far the loops go. ROTATE_THOROUGH takes every step of each of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

inline std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// The sanitizers look for other faults, and take a hundred times as long.
inline std::size_t Stride(std::size_t usual) {
  if (Setting("ROTATE_THOROUGH", 0) != 0) return 1;
#ifdef __SANITIZE_ADDRESS__
  return 7 * usual;
#else
  return usual;
#endif
}
