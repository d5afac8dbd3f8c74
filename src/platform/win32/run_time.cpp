// Replaces parts of the compiler's run-time library, which differ between compilers, read the
// environment, and import what Windows XP lacks (GetThreadId, from GCC 13 on). Our code runs on one
// thread, so nothing here needs a lock. If a newer library needs another part, the linker reports a
// duplicate definition, or the check of the imports fails.
#include <cxxabi.h>

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

// The library keeps its header right before the exception: 160 bytes on x64, 96 on x86.
constexpr std::size_t kHeader = 256;

// As the C++ ABI defines it.
struct ThrownNow {
  void* caught;
  unsigned int uncaught;
} thrownNow;

// What the standard library throws. Nobody distinguishes its kinds.
class LibraryError : public std::exception {
 public:
  explicit LibraryError(const char* what) : what_(what) {}
  const char* what() const noexcept override { return what_; }

 private:
  const char* what_;  // a literal of the library
};

}  // namespace

// Exceptions. The library's own version sets aside 64 KB for when memory runs out.
namespace __cxxabiv1 {

extern "C" {

void* __cxa_allocate_exception(std::size_t bytes) noexcept {
  char* block = static_cast<char*>(std::calloc(1, kHeader + bytes));
  if (block == nullptr) std::abort();
  return block + kHeader;
}

void __cxa_free_exception(void* thrown) noexcept {
  std::free(static_cast<char*>(thrown) - kHeader);
}

__cxa_eh_globals* __cxa_get_globals() noexcept {
  return reinterpret_cast<__cxa_eh_globals*>(&thrownNow);
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
  return __cxa_get_globals();
}

}  // extern "C"

}  // namespace __cxxabiv1

// The locks around the list of unwind tables.
extern "C" {

struct Once {
  int done;
  long started;
};

void __gthr_win32_mutex_init_function(void* mutex);
int __gthr_win32_mutex_lock(void* mutex);
int __gthr_win32_mutex_unlock(void* mutex);
int __gthr_win32_once(Once* once, void (*run)());

void __gthr_win32_mutex_init_function(void*) {
}

int __gthr_win32_mutex_lock(void*) {
  return 0;
}

int __gthr_win32_mutex_unlock(void*) {
  return 0;
}

int __gthr_win32_once(Once* once, void (*run)()) {
  if (once->done == 0) {
    once->done = 1;
    run();
  }
  return 0;
}

}  // extern "C"

namespace __gnu_cxx {

// The library's own prints the name of an uncaught exception, and needs a name decoder of 60 KB for
// it. Nothing thrown here is uncaught.
void __verbose_terminate_handler();
void __verbose_terminate_handler() {
  std::abort();
}

}  // namespace __gnu_cxx

// The library's own link in every kind of exception, its texts, random numbers and error codes.
namespace std {

void __throw_bad_alloc() {
  throw bad_alloc();
}

void __throw_bad_array_new_length() {
  throw bad_alloc();
}

void __throw_logic_error(const char* what) {
  throw LibraryError(what);
}

void __throw_length_error(const char* what) {
  throw LibraryError(what);
}

void __throw_out_of_range(const char* what) {
  throw LibraryError(what);
}

void __throw_out_of_range_fmt(const char* what, ...) {
  throw LibraryError(what);
}

void __throw_invalid_argument(const char* what) {
  throw LibraryError(what);
}

}  // namespace std
