// Progress and break handling shared by every facet reader.

#include "lumesh/data_exchange/facet_reader.h"

#include <cmath>

#include "host/ui/break_status.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"

FACET_READER::FACET_READER(PROGRESS* const progress) : progress_(progress) {}

FACET_READER::~FACET_READER() {
  if (progress_ != nullptr && 100 - progress_ticks_ > 0) {
    progress_->add_ticks(100 - progress_ticks_);
    progress_ticks_ = 100;
  }
}

void FACET_READER::update_progress(double fraction) {
  ++update_count_;
  if (progress_ != nullptr) {
    // The whole percent reached, truncated toward zero. A fraction outside
    // [0, 1] (or NaN) cannot come from a consistent file position; it is
    // clamped so that the conversion stays defined and ticks stay <= 100.
    double scaled = fraction * -100.0;
    if (!(scaled <= 0.0)) scaled = 0.0;
    if (scaled < -100.0) scaled = -100.0;
    const int target = -static_cast<int>(scaled);
    const int delta = target - progress_ticks_;
    if (delta > 0) {
      progress_ticks_ += delta;
      progress_->add_ticks(delta);
    }
  }
  if (BREAK_STATUS::mState != 0 && BREAK_STATUS::get_doer()) {
    sModule.get_error_info(MSG_CANCELLED)->throw_error();
  }
}
