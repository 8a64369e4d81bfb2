// The output box, user errors and progress bars as Lisp code uses them.

#include <string>
#include <vector>

#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/values.h"
#include "host/shell/ui_bindings.h"
#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

class UiBindingsTest : public LispTest {
 protected:
  void SetUp() override {
    lines_.clear();
    output_box().set_sink([](const std::string& l) { lines_.push_back("out:" + l); });
    output_box().set_error_sink([](const std::string& l) { lines_.push_back("err:" + l); });
  }
  void TearDown() override {
    output_box().set_sink(nullptr);
    output_box().set_error_sink(nullptr);
  }
  static std::vector<std::string> lines_;
};
std::vector<std::string> UiBindingsTest::lines_;

TEST_F(UiBindingsTest, DisplayWritesLinesToTheOutputBox) {
  EXPECT_EQ(eval("(frame2:display \"Imported 3 parts\")"), "T");
  EXPECT_EQ(eval("(frame2:display '(:a 1))"), "T");
  EXPECT_EQ(eval("(frame2:display :show)"), "T");
  EXPECT_EQ(eval("(frame2:tv-display-error \"The file is gone.\")"), "T");
  ASSERT_EQ(lines_.size(), 3u);
  EXPECT_EQ(lines_[0], "out:Imported 3 parts");
  EXPECT_EQ(lines_[1], "out:(A 1)");
  EXPECT_NE(lines_[2].find("The file is gone."), std::string::npos);
  EXPECT_EQ(lines_[2].rfind("err:", 0), 0u);
}

TEST_F(UiBindingsTest, ProgressBarsCountAndEnd) {
  EXPECT_EQ(eval("(let ((b (frame2:create-progress-bar :title \"Reading\")))"
                 "  (frame2:set-max-progress-ticks b 4)"
                 "  (frame2:add-progress-ticks b 3)"
                 "  (frame2:add-progress-ticks b)"
                 "  (frame2:finalize-progress-bar b)"
                 "  (handler-case (frame2:add-progress-ticks b 1) (error () :finalized)))"),
            ":FINALIZED");
  EXPECT_EQ(eval("(handler-case (frame2:add-progress-ticks 7 1) (type-error () :not-a-bar))"),
            ":NOT-A-BAR");
  EXPECT_EQ(eval("(frame2:add-progress-ticks nil 1)"), "T");  // no bar: nothing to count
  EXPECT_EQ(eval("(handler-case (frame2:create-progress-bar :colour 1) (error () :bad-key))"),
            ":BAD-KEY");
}

}  // namespace

namespace {

TEST_F(UiBindingsTest, ProgressBarsAreFoundByKind) {
  LISP_OUTCOME bar = lisp_eval_string("(frame2:create-progress-bar :title \"Kind\")", "FRAME2");
  ASSERT_TRUE(bar.ok) << bar.error;
  void* p = object_to_NonEntity_ptr(bar.value, "PROGRESS");
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p, object_to_PROGRESS(bar.value));
  EXPECT_EQ(object_to_NonEntity_ptr(lisp_nil(), "PROGRESS"), nullptr);
  EXPECT_THROW(object_to_NonEntity_ptr(make_fixnum(3), "PROGRESS"), LISP_ERROR);
  EXPECT_THROW(object_to_NonEntity_ptr(bar.value, "NO-SUCH-KIND"), LISP_ERROR);
}

}  // namespace
