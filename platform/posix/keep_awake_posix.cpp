#include "platform/keep_awake.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

namespace kor {

namespace {

constexpr int kAtMost = 5000; // milliseconds that the service may take for its answer

template <class Object> using Owned = std::unique_ptr<Object, decltype(&g_object_unref)>;

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

// An answer may come after the transfer has ended. It then finds nobody, and the descriptor is
// closed.
struct KeepAwake::Asker {
  std::weak_ptr<Hold> waiting;

  static std::unique_ptr<Asker> Take(gpointer data) {
    return std::unique_ptr<Asker>(static_cast<Asker*>(data));
  }
  static void OnBus(GObject*, GAsyncResult* result, gpointer data) {
    auto asker = Take(data);
    const Owned<GDBusConnection> bus(g_bus_get_finish(result, nullptr), g_object_unref);
    if (!bus || asker->waiting.expired()) return;
    g_dbus_connection_call_with_unix_fd_list(
        bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
        "org.freedesktop.login1.Manager", "Inhibit",
        g_variant_new("(ssss)", "sleep:idle", "ncedl", "A transfer is running", "block"),
        G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, kAtMost, nullptr, nullptr, OnAnswer,
        asker.release());
  }
  static void OnAnswer(GObject* source, GAsyncResult* result, gpointer data) {
    const auto asker = Take(data);
    GUnixFDList* descriptors = nullptr;
    GVariant* const answer = g_dbus_connection_call_with_unix_fd_list_finish(
        G_DBUS_CONNECTION(source), &descriptors, result, nullptr);
    if (!answer) return;
    const Owned<GUnixFDList> given(descriptors, g_object_unref);
    const int descriptor = g_unix_fd_list_get(descriptors, 0, nullptr);
    const auto held = asker->waiting.lock();
    if (held)
      held->descriptor = descriptor;
    else if (descriptor >= 0)
      close(descriptor);
    g_variant_unref(answer);
  }
};

void KeepAwake::Set(bool awake) {
  if (awake == (hold != nullptr)) return;
  hold = awake ? std::make_shared<Hold>() : nullptr;
  if (hold) g_bus_get(G_BUS_TYPE_SYSTEM, nullptr, Asker::OnBus, new Asker{hold});
}

} // namespace kor
