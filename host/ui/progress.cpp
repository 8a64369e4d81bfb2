#include "host/ui/progress.h"

#include <unistd.h>

#include <limits>
#include <mutex>
#include <utility>

#include "host/base/assertion.h"
#include "host/ui/progress_bar.h"
#include "host/ui/quiet_mode.h"

namespace {

std::mutex g_factory_lock;
PROGRESS_RENDERER_FACTORY g_factory;  // guarded by g_factory_lock; null: default

PROGRESS_RENDERER default_renderer(const std::string& title) {
  PROGRESS_RENDERER_FACTORY factory;
  {
    std::lock_guard<std::mutex> guard(g_factory_lock);
    factory = g_factory;
  }
  // Called unlocked, so that a factory may install another one.
  if (factory) return factory(title);
  if (host_quiet_mode() || ::isatty(STDERR_FILENO) == 0) return nullptr;
  return make_progress_bar_renderer(title, stderr);
}

}  // namespace

PROGRESS::PROGRESS(std::string title) : title_(std::move(title)) {
  renderer_ = default_renderer(title_);
}

PROGRESS::PROGRESS(std::string title, PROGRESS_RENDERER renderer)
    : title_(std::move(title)), renderer_(std::move(renderer)) {}

PROGRESS::~PROGRESS() {
  try {
    finalize();
  } catch (...) {
    // A renderer that fails while the object dies loses its last line only.
  }
}

void PROGRESS::set_max_ticks(long max_ticks) {
  HOST_ASSERT(max_ticks >= 0, "the maximum of a progress indicator must not be negative");
  max_ticks_ = max_ticks < 0 ? 0 : max_ticks;
  redraw_();
}

void PROGRESS::add_ticks(long ticks) {
  if (__builtin_add_overflow(ticks_, ticks, &ticks_)) {
    ticks_ = ticks > 0 ? std::numeric_limits<long>::max() : std::numeric_limits<long>::min();
  }
  redraw_();
}

double PROGRESS::fraction() const {
  if (max_ticks_ <= 0 || ticks_ <= 0) return 0.0;
  if (ticks_ >= max_ticks_) return 1.0;
  return static_cast<double>(ticks_) / static_cast<double>(max_ticks_);
}

int PROGRESS::percent() const {
  if (max_ticks_ <= 0 || ticks_ <= 0) return 0;
  if (ticks_ >= max_ticks_) return 100;
  // 0 < ticks < max here. Exact in integers where 100 * ticks fits.
  if (ticks_ <= std::numeric_limits<long>::max() / 100) {
    return static_cast<int>(ticks_ * 100 / max_ticks_);
  }
  // Else 100 * ticks / max by repeated addition, exact and without overflow:
  // rest + ticks < 2 * max fits an unsigned long.
  const auto t = static_cast<unsigned long>(ticks_);
  const auto m = static_cast<unsigned long>(max_ticks_);
  unsigned long rest = 0;
  int p = 0;
  for (int i = 0; i < 100; ++i) {
    rest += t;
    if (rest >= m) {
      rest -= m;
      ++p;
    }
  }
  return p;
}

void PROGRESS::redraw_() {
  if (finalized_ || !renderer_ || max_ticks_ <= 0) return;
  const int p = percent();
  if (p == drawn_percent_) return;
  drawn_percent_ = p;
  renderer_(p, false);
}

void PROGRESS::finalize() {
  if (finalized_) return;
  finalized_ = true;
  if (renderer_) renderer_(percent(), true);
}

PROGRESS_RENDERER_FACTORY set_progress_renderer_factory(PROGRESS_RENDERER_FACTORY factory) {
  std::lock_guard<std::mutex> guard(g_factory_lock);
  PROGRESS_RENDERER_FACTORY old = std::move(g_factory);
  g_factory = std::move(factory);
  return old;
}
