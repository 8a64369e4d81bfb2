#include "host/model/model_checkpoint.h"

#include <iterator>
#include <map>

#include "host/kernel/history/history.h"

namespace {

std::map<int, HISTORY::STATE_ID>& checkpoints() {
  static std::map<int, HISTORY::STATE_ID> table;
  return table;
}
int g_last_id = 0;

}  // namespace

int tv_set_model_checkpoint() {
  const int id = ++g_last_id;
  checkpoints()[id] = HISTORY::instance().note_state();
  return id;
}

bool tv_return_to_model_checkpoint(int id) {
  auto& table = checkpoints();
  const auto it = table.find(id);
  if (it == table.end()) return false;
  const HISTORY::STATE_ID state = it->second;
  if (!HISTORY::instance().recover_state(state)) {
    table.erase(it);
    return false;
  }
  // States after this one are cut by the next change.
  for (auto later = table.begin(); later != table.end();) {
    later = later->second > state ? table.erase(later) : std::next(later);
  }
  return true;
}
