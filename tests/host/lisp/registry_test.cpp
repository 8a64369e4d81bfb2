// The user-interface registry as a module uses it: available commands run
// and are enabled per application, the ribbon's tabs, groups and buttons,
// help and toolbox entries, settings, the module controller's toggle,
// events, file types and URLs; removing what was never added does nothing.

#include <string>
#include <vector>

#include "host/ui/output_box.h"
#include "lisp_fixture.h"

namespace {

class RegistryTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    output_box().set_sink([](const std::string&) {});
    output_box().set_error_sink([](const std::string&) {});
  }
  void TearDown() override {
    output_box().set_sink(nullptr);
    output_box().set_error_sink(nullptr);
  }
};

TEST_F(RegistryTest, AvailableCommandsRunTheirActionsWhileEnabled) {
  EXPECT_EQ(run("(tv-define-available-command \"MOD\" \"EXT\" \"MOD-HELLO\" :commandtitle \"Hello\""
                "  :action '(setf *hello* :ran) :update-unknown-commands t)"),
            "(\"MOD\" \"EXT\" \"MOD-HELLO\")");
  run("(defvar *hello* nil)");
  EXPECT_EQ(run("(getf (tv-inq-available-command-data \"MOD\" \"EXT\" \"MOD-HELLO\") :title)"), "\"Hello\"");
  EXPECT_EQ(run("(progn (tv-run-available-command '(\"MOD\" \"EXT\" \"MOD-HELLO\")) *hello*)"), ":RAN");
  run("(tv-disable-application-commands \"MOD\")");
  EXPECT_EQ(run("(getf (tv-inq-available-command-data '(\"MOD\" \"EXT\" \"MOD-HELLO\")) :enabled)"), "NIL");
  EXPECT_EQ(run("(handler-case (tv-run-available-command \"MOD\" \"EXT\" \"MOD-HELLO\") (error () :disabled))"),
            ":DISABLED");
  run("(tv-enable-application-commands \"MOD\")");
  EXPECT_EQ(run("(handler-case (tv-run-available-command \"MOD\" \"EXT\" \"NOPE\") (error () :unknown))"),
            ":UNKNOWN");
  EXPECT_EQ(run("(tv-inq-available-command-data \"MOD\" \"EXT\" \"NOPE\")"), "NIL");
  EXPECT_EQ(run("(handler-case (tv-define-available-command \"MOD\" \"EXT\" \"X\" :ui-behavior :odd)"
                "  (error () :refused))"),
            ":REFUSED");
  // A string action is typed at the input line.
  run("(tv-define-available-command \"MOD\" \"EXT\" \"MOD-LINE\" :action \"(setf *hello* :typed)\")");
  EXPECT_EQ(run("(progn (tv-run-available-command \"MOD\" \"EXT\" \"MOD-LINE\") *hello*)"), ":TYPED");
}

TEST_F(RegistryTest, RibbonTabsGroupsAndControls) {
  run("(tv-fluentui-add-ribbon-tab \"EXTENSIONS\" :title \"Extensions\" :position :end"
      "  :appendutilitiesgroup t)");
  run("(tv-fluentui-add-ribbon-tab \"EXTENSIONS\" :title \"Twice\")");
  EXPECT_EQ(run("(count \"EXTENSIONS\" (getf (ui-registry-state) :tabs)"
                "  :key (lambda (tb) (getf tb :id)) :test #'string=)"),
            "1");
  run("(tv-define-available-command \"MOD\" \"EXT\" \"MOD-A\" :commandtitle \"A\" :action '(+ 1 1))");
  run("(tv-define-available-command \"MOD\" \"EXT\" \"MOD-B\" :commandtitle \"B\" :action '(+ 1 1))");
  run("(tv-fluentui-add-ribbon-group \"MOD\" :title \"Module\" :parent \"EXTENSIONS\")");
  EXPECT_EQ(run("(fluentui-ribbon-group-exist-p \"MOD\" \"EXTENSIONS\")"), "T");
  run("(tv-fluentui-add-ribbon-button :parent '(\"EXTENSIONS\" \"MOD\") :availcmd '(\"MOD\" \"EXT\" \"MOD-A\")"
      "  :largeimage t)");
  run("(tv-fluentui-add-ribbon-split-button :parent '(\"EXTENSIONS\" \"MOD\") :label \"Help\""
      "  :contents '((:availcmd (\"MOD\" \"EXT\" \"MOD-B\"))))");
  EXPECT_EQ(run("(list (fluentui-ribbon-control-exist-p '(\"EXTENSIONS\" \"MOD\" \"MOD-A\"))"
                "      (fluentui-ribbon-control-exist-p '(\"EXTENSIONS\" \"MOD\" \"MOD-B\"))"
                "      (fluentui-ribbon-control-exist-p '(\"EXTENSIONS\" \"MOD\" \"MOD-C\")))"),
            "(T T NIL)");
  const std::string text = run("(with-output-to-string (s) (print-ribbon s))");
  EXPECT_NE(text.find("[Extensions]"), std::string::npos) << text;
  EXPECT_NE(text.find("* A"), std::string::npos) << text;
  EXPECT_NE(text.find("Help (B)"), std::string::npos) << text;
  EXPECT_EQ(run("(handler-case (tv-fluentui-add-ribbon-group \"X\" :parent \"NO-TAB\") (error () :no-tab))"),
            ":NO-TAB");
  EXPECT_EQ(run("(fluentui-destroy-ribbon-group \"MOD\" \"EXTENSIONS\")"), "T");
  EXPECT_EQ(run("(fluentui-destroy-ribbon-group \"MOD\" \"EXTENSIONS\")"), "NIL");
  EXPECT_EQ(run("(fluentui-ribbon-tab-exist-p \"EXTENSIONS\")"), "T");
}

TEST_F(RegistryTest, HelpToolboxAndSettingsTolerateRemovingWhatIsNotThere) {
  EXPECT_EQ(run("(tv-fluentui-remove-help-button :availcmd '(\"M\" \"G\" \"C\"))"), "NIL");
  EXPECT_EQ(run("(remove-mfc-toolbox-button \"Never\")"), "NIL");
  EXPECT_EQ(run("(tv-unregister-settings \"NOGROUP\" :itemname \"X\")"), "NIL");
  run("(tv-fluentui-add-help-button :availcmd '(\"M\" \"G\" \"DOCS\"))");
  run("(add-mfc-toolbox-button \"Measure\" \"LMX_MEASURE\")");
  run("(tv-register-settings \"EXT\" :submenutitle \"Extensions\""
      "  :settings '((:itemname \"MOD-SETTINGS\" :application \"MOD\" :group \"EXT\" :cmd \"MOD-SETTINGS\")))");
  EXPECT_EQ(run("(let ((s (ui-registry-state)))"
                "  (list (getf s :help) (getf s :toolbox)"
                "        (length (getf (cdr (assoc \"EXT\" (getf s :settings) :test #'equal)) :settings))))"),
            "(((\"M\" \"G\" \"DOCS\")) (\"Measure\") 1)");
  EXPECT_EQ(run("(tv-unregister-settings \"EXT\" :itemname \"MOD-SETTINGS\")"), "T");
  EXPECT_EQ(run("(remove-mfc-toolbox-button \"Measure\")"), "T");
  EXPECT_EQ(run("(tv-fluentui-remove-help-button :availcmd '(\"M\" \"G\" \"DOCS\"))"), "T");
}

TEST_F(RegistryTest, ModuleControllerToggleAndActivationEvent) {
  run("(defvar *active* nil)");
  run("(tv-insert-module-controller-button \"MOD\" \"EXTENSION-MODULES\" :moduletitle \"Mod\""
      "  :activationfunction '(setf *active* t) :deactivationfunction '(setf *active* nil))");
  EXPECT_EQ(run("(eq (tv-get-module-controller-button \"MOD\")"
                "    (tv-insert-module-controller-button \"MOD\" \"OTHER\"))"),
            "T");
  // A click toggles and calls back; :callaction nil only shows the state.
  run("(press-module-controller-button \"MOD\")");
  EXPECT_EQ(run("(list *active* (controller-button-on (tv-get-module-controller-button \"MOD\")))"), "(T T)");
  run("(tv-reset-togglebutton (tv-get-module-controller-button \"MOD\") :callaction nil)");
  EXPECT_EQ(run("(list *active* (controller-button-on (tv-get-module-controller-button \"MOD\")))"), "(T NIL)");
  run("(press-module-controller-button \"MOD\")");
  run("(press-module-controller-button \"MOD\")");
  EXPECT_EQ(run("*active*"), "NIL");
  EXPECT_EQ(run("(handler-case (press-module-controller-button \"NONE\") (error () :none))"), ":NONE");
  // Events reach every subscriber; one that fails does not stop the others.
  run("(defvar *seen* nil)");
  run("(tv-subscribe-event *module-activation-event* (lambda (m) (push m *seen*)))");
  run("(tv-subscribe-event *module-activation-event* (lambda (m) (error \"broken ~A\" m)))");
  EXPECT_EQ(run("(process-event *module-activation-event* \"MOD\")"), "1");
  EXPECT_EQ(run("*seen*"), "(\"MOD\")");
  EXPECT_EQ(run("(process-event :nobody-listens)"), "0");
}

TEST_F(RegistryTest, FileTypesLoadThroughTheirCommands) {
  run("(defvar *loaded* nil)");
  run("(define-dialog \"LOAD_TEST_DATA\" :variables '((:test_file :type :string :must t))"
      "  :action (lambda () (setf *loaded* (dialog-value :test_file))))");
  run("(tv-register-file-type :td :title \"Test Data\" :patterns '(\"*.tdat\" \"*.td2\")"
      "  :in-cmd \"LOAD_TEST_DATA\" :in-cmd-file-token :test_file :in-enable-form '(not *block*))");
  run("(defvar *block* nil)");
  EXPECT_EQ(run("(list (tv-file-type-of \"a/b/part.TDAT\") (tv-file-type-of \"part.stl\"))"), "(:TD NIL)");
  run("(tv-load-file-by-type \"/data/part.td2\")");
  EXPECT_EQ(run("*loaded*"), "\"/data/part.td2\"");
  run("(setf *block* t)");
  EXPECT_EQ(run("(handler-case (tv-load-file-by-type \"x.tdat\") (error () :disabled))"), ":DISABLED");
  EXPECT_EQ(run("(handler-case (tv-load-file-by-type \"x.unknown\") (error () :no-type))"), ":NO-TYPE");
  EXPECT_EQ(run("(handler-case (tv-save-file-by-type \"x.tdat\") (error () :cannot-save))"), ":CANNOT-SAVE");
  EXPECT_EQ(run("(handler-case (tv-register-file-type :bad) (error () :refused))"), ":REFUSED");
}

TEST_F(RegistryTest, UrlsAreShownAndKept) {
  std::vector<std::string> lines;
  output_box().set_sink([&](const std::string& l) { lines.push_back(l); });
  run("(tv-display-url \"file:///tmp/help.html#top\")");
  output_box().set_sink([](const std::string&) {});
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "Open file:///tmp/help.html#top");
  EXPECT_EQ(run("(first *displayed-urls*)"), "\"file:///tmp/help.html#top\"");
  EXPECT_EQ(run("(handler-case (tv-display-url 5) (error () :refused))"), ":REFUSED");
}

}  // namespace
