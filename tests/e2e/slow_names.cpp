// Preloaded into a program: the name "slow" is looked up for ever, as when a name server is gone.
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

#include <cstring>

extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** found) {
  while (node != nullptr && std::strcmp(node, "slow") == 0)
    pause();
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
  return next(node, service, hints, found);
}
