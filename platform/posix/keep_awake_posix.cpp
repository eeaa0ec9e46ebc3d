#include "platform/keep_awake.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

namespace kor {

namespace {

constexpr int kAtMost = 5000; // milliseconds that the service may take for its answer

} // namespace

// The login service hands out a descriptor: the system stays awake until it is closed.
struct KeepAwake::Hold {
  ~Hold() {
    if (descriptor >= 0) close(descriptor);
  }
  int descriptor = -1;
};

KeepAwake::KeepAwake() = default;
KeepAwake::~KeepAwake() = default;

void KeepAwake::Set(bool awake) {
  if (awake == (hold != nullptr)) return;
  hold = awake ? std::make_shared<Hold>() : nullptr;
  if (!hold) return;
  GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (!bus) return;
  // The answer may come after the transfer: it then finds nobody, and the descriptor is closed.
  auto* const asker = new std::weak_ptr<Hold>(hold);
  const auto onAnswer = [](GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<std::weak_ptr<Hold>> waiting(static_cast<std::weak_ptr<Hold>*>(data));
    GUnixFDList* descriptors = nullptr;
    GVariant* const answer = g_dbus_connection_call_with_unix_fd_list_finish(
        G_DBUS_CONNECTION(source), &descriptors, result, nullptr);
    if (!answer) return;
    const int descriptor = g_unix_fd_list_get(descriptors, 0, nullptr);
    const auto held = waiting->lock();
    if (held)
      held->descriptor = descriptor;
    else if (descriptor >= 0)
      close(descriptor);
    g_object_unref(descriptors);
    g_variant_unref(answer);
  };
  g_dbus_connection_call_with_unix_fd_list(
      bus, "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
      "Inhibit", g_variant_new("(ssss)", "sleep:idle", "ncedl", "A transfer is running", "block"),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, kAtMost, nullptr, nullptr, onAnswer, asker);
  g_object_unref(bus);
}

} // namespace kor
