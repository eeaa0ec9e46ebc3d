#include "services/core/last_words.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <system_error>

namespace kor {
namespace {

// Neither the dictionary nor a destructor can be relied on here.
[[noreturn]] void EndWith(const char* sentence) {
  std::fputs(sentence, stderr);
  std::fflush(stderr);
  std::_Exit(1);
}

[[noreturn]] void SayWhatIsLacking() {
  try {
    if (const std::exception_ptr fault = std::current_exception()) std::rethrow_exception(fault);
  } catch (const std::bad_alloc&) {
    EndWith(
        "The program has ended: there is not enough memory for it. Close other programs, or raise "
        "the limit that it runs under.\n");
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::resource_unavailable_try_again)
      EndWith(
          "The program has ended: the system gives it no more threads. Close other programs, or "
          "raise the limit that it runs under.\n");
  } catch (...) { // a crash shall show where it came from
  }
  std::abort();
}

} // namespace

void EndWithASentence() {
  std::set_terminate(SayWhatIsLacking);
}

} // namespace kor
