// A STEP file with one edge use made unreadable: the reader skips that entity
// and hands over a wire with a gap. The import must refuse such a file or
// give bodies that pass the checker, and never build a loop that does not
// close (a kernel assertion).

#include <fstream>
#include <string>

#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/sample_bodies.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

class StepImportCorruptTest : public ExchangeTest {};

TEST_F(StepImportCorruptTest, WireWithADroppedEdgeNeverMakesAnOpenLoop) {
  BODY* block = make_bored_block(40, 30, 10, 5, 8);
  write_step({{block, TRANSFORM3(), "block", false, 0, 0, 0}}, path("block.step"));
  block->lose();
  const std::string text = text_of("block.step");
  int corrupted = 0, refused = 0;
  for (std::size_t at = text.find("= ORIENTED_EDGE"); at != std::string::npos;
       at = text.find("= ORIENTED_EDGE", at + 1)) {
    std::string broken = text;
    broken[at] = 'H';
    std::ofstream(path("broken.step"), std::ios::binary) << broken;
    ++corrupted;
    try {
      std::vector<BODY*> bodies = read_step(path("broken.step"));
      for (BODY* b : bodies) {
        EXPECT_TRUE(check_body(b).ok()) << "edge use at " << at;
        b->lose();
      }
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE));
      ++refused;
    }
  }
  EXPECT_GT(corrupted, 10);
  EXPECT_GT(refused, 0);
  EXPECT_EQ(assertions(), 0u);
}

}  // namespace
