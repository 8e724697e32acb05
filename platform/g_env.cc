#include "nycert/platform/g_env.h"

#include <mutex>

namespace {

std::mutex g_mutex;  // guards g_env
obd_env* g_env = nullptr;

}  // namespace

extern "C" {

obd_env* g_env_get() {
  std::lock_guard<std::mutex> hold(g_mutex);
  if (!g_env) g_env = obd_env_create();
  return g_env;
}

obd_env* g_env_set(obd_env* env) {
  std::lock_guard<std::mutex> hold(g_mutex);
  obd_env* previous = g_env;
  g_env = env;
  return previous;
}

}  // extern "C"
