// SIGINT and SIGTERM end the application at once, as on a Mac. GNUstep's display server has handlers of its own for
// them, which terminate the application from inside the signal: mostly without effect, and early in the launch in an
// abort or a deadlock in Xlib. The C library's call is replaced, because the handlers are set before any code of the
// application runs that could take them back.

#include <dlfcn.h>

#include <csignal>

using Handler = void (*)(int);

extern "C" Handler signal(int number, Handler handler) noexcept {
  static const auto original = reinterpret_cast<Handler (*)(int, Handler)>(dlsym(RTLD_NEXT, "signal"));
  return original(number, number == SIGINT || number == SIGTERM ? SIG_DFL : handler);
}
