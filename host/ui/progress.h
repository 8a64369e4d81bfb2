#pragma once
// PROGRESS: how far a long operation has come, as ticks out of a maximum, and
// the drawing of it for the user.
//
// The object calls its renderer with the whole percentage, floor(100 *
// fraction()), only when that percentage differs from the one drawn last, so a
// loop may add one tick per element at the cost of an integer comparison.
// Nothing is drawn while the maximum is 0. finalize() calls the renderer once
// more with `final` set; after it, ticks are still counted but not drawn.
//
// The renderer is chosen at construction: the one given, else the installed
// renderer factory's, else a bar on standard error when standard error is a
// terminal and the host is not in quiet mode, else none.
//
// One object belongs to one operation and is not safe to share between
// threads without a lock.

#include <functional>
#include <string>

// percent is in [0, 100]; final is true for the one call made by finalize().
using PROGRESS_RENDERER = std::function<void(int percent, bool final)>;
// Makes the renderer of a new progress object from its title; may return null.
using PROGRESS_RENDERER_FACTORY = std::function<PROGRESS_RENDERER(const std::string& title)>;

class PROGRESS {
 public:
  explicit PROGRESS(std::string title = "");
  // A null renderer draws nothing.
  PROGRESS(std::string title, PROGRESS_RENDERER renderer);
  // Finalizes if that was not done, so that a bar never stays half drawn.
  ~PROGRESS();
  PROGRESS(const PROGRESS&) = delete;
  PROGRESS& operator=(const PROGRESS&) = delete;

  const std::string& title() const { return title_; }

  // A negative maximum is a caller's mistake: reported and taken as 0.
  void set_max_ticks(long max_ticks);
  // Any count is accepted, also beyond the maximum or negative; the sum
  // saturates at the limits of long instead of overflowing.
  void add_ticks(long ticks);

  long ticks() const { return ticks_; }
  long max_ticks() const { return max_ticks_; }
  // ticks / max_ticks clamped to [0, 1]; 0 while the maximum is 0.
  double fraction() const;
  // floor(100 * ticks / max_ticks), exact, in [0, 100]; 0 while the maximum is 0.
  int percent() const;

  // Idempotent.
  void finalize();
  bool finalized() const { return finalized_; }

 private:
  void redraw_();

  std::string title_;
  PROGRESS_RENDERER renderer_;
  long ticks_ = 0;
  long max_ticks_ = 0;
  int drawn_percent_ = -1;  // -1 until the first drawing
  bool finalized_ = false;
};

// Installs the factory that gives new progress objects their renderer (tests,
// a graphical front end); returns the previous one. Null restores the default
// choice. Safe to call from any thread.
PROGRESS_RENDERER_FACTORY set_progress_renderer_factory(PROGRESS_RENDERER_FACTORY factory);
