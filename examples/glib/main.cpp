// A host with a GLib main loop, on a terminal:  glib_host [HOST:PORT CA-FILE]
// The library's main queue is a source of the loop, like the person's input and the signals that end
// programs.
#include <glib-unix.h>

#include <csignal>
#include <string>

#include "Shop.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace {

struct Host {
  Shop& shop;
  GMainLoop* loop;
};

/// The queue's descriptor is readable while tasks wait.
gboolean onMainQueue(gint, GIOCondition, gpointer shop) {
  static_cast<Shop*>(shop)->mainQueue().runPending();
  return G_SOURCE_CONTINUE;
}

gboolean onSignal(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

gboolean onInput(GIOChannel* input, GIOCondition, gpointer data) {
  const auto* host = static_cast<Host*>(data);
  gchar* line = nullptr;
  gsize end = 0;
  const bool hasLine = g_io_channel_read_line(input, &line, nullptr, &end, nullptr) == G_IO_STATUS_NORMAL;
  const bool goesOn = hasLine && host->shop.handleLine(std::string(line, end));
  g_free(line);
  if (!goesOn) g_main_loop_quit(host->loop);
  return goesOn ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  Shop shop(argc > 2 ? argv[1] : "", argc > 2 ? argv[2] : "");
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  Host host{shop, loop};
  GIOChannel* const input = g_io_channel_unix_new(0);
  g_unix_fd_add(shop.mainQueue().descriptor(), G_IO_IN, onMainQueue, &shop);
  g_io_add_watch(input, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onInput, &host);
  g_unix_signal_add(SIGTERM, onSignal, loop);
  g_unix_signal_add(SIGINT, onSignal, loop);
  g_main_loop_run(loop);

  g_io_channel_unref(input);
  g_main_loop_unref(loop);
}
