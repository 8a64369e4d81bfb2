// The user's documents as Lisp code uses them: persistent data, customization
// files, the language of texts, and lightweight parts made from stored
// graphics. Every bad input is a Lisp error with a clear text, after which
// the session goes on.

#include "host/document/user_folders.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "host/ui/output_box.h"
#include "tests/host/document/document_fixture.h"
#include "tests/host/lisp/lisp_fixture.h"

namespace {

class DocumentBindingsTest : public LispTest {
 protected:
  void SetUp() override {
    scratch_ = make_scratch_folder();
    env_.set("APPDATA", scratch_ + "/appdata");
    env_.set("TMPDIR", scratch_ + "/tmp");
    std::filesystem::create_directories(scratch_ + "/tmp");
    env_.unset("TVCORPCUSTOMIZEDIR");
    env_.unset("TVSITECUSTOMIZEDIR");
    user_ = host_user_folder();
  }
  void TearDown() override {
    eval("(loop while (frame2:xdbik-finalize))");
    HISTORY::instance().forget();
    std::error_code ec;
    std::filesystem::remove_all(scratch_, ec);
  }
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  // The report of the error that `form` signals, or "no error".
  static std::string error_text(const std::string& form) {
    return run("(handler-case (progn " + form + " \"no error\") (error (e) (princ-to-string e)))");
  }
  // Binds the Lisp variable FRAME2::<name> to a handle of the parcel.
  static void bind(const char* name, NPARCEL* p) {
    LAOBJ* sym = intern_symbol(name, find_package("FRAME2"), false);
    LISP_OUTCOME o = lisp_apply(hcl_find_symbol("SET", "COMMON-LISP"), make_list({sym, make_ptr(p)}));
    ASSERT_TRUE(o.ok) << o.error;
  }

  std::string scratch_;
  std::string user_;
  SCOPED_ENV env_;
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// --- persistent data ---

TEST_F(DocumentBindingsTest, PersistentRecordsByApplicationKeyAndSubkey) {
  EXPECT_EQ(run("(tv-get-persistent-data \"LUMESH\" \"LMX_SETTINGS\" :subkey :values)"), "NIL");
  EXPECT_EQ(run("(tv-set-persistent-data \"LUMESH\" \"LMX_SETTINGS\" '(:merge t :face_limit 1000 :name \"plate \\\"A\\\"\") :subkey :values)"),
            "(:MERGE T :FACE_LIMIT 1000 :NAME \"plate \\\"A\\\"\")");
  EXPECT_EQ(run("(tv-get-persistent-data \"LUMESH\" \"LMX_SETTINGS\" :subkey :values)"),
            "(:MERGE T :FACE_LIMIT 1000 :NAME \"plate \\\"A\\\"\")");
  // Without the subkey, under another key type or application: other records.
  EXPECT_EQ(run("(tv-get-persistent-data \"LUMESH\" \"LMX_SETTINGS\")"), "NIL");
  EXPECT_EQ(run("(tv-get-persistent-data \"LUMESH\" :lmx_settings :subkey :values)"), "NIL");
  EXPECT_EQ(run("(tv-get-persistent-data \"OTHER\" \"LMX_SETTINGS\" :subkey :values)"), "NIL");
  // Values of every readable kind come back equal, symbols with their package.
  EXPECT_EQ(run("(progn (tv-set-persistent-data \"LUMESH\" 'k2::key '(:a 1.5d0 :b (1 2 \"x\") :c frame2::root-parcel :d 3/4))"
                " (equal (tv-get-persistent-data \"LUMESH\" 'k2::key)"
                "        '(:a 1.5d0 :b (1 2 \"x\") :c frame2::root-parcel :d 3/4)))"),
            "T");
  // NIL removes the record.
  EXPECT_EQ(run("(tv-set-persistent-data \"LUMESH\" \"LMX_SETTINGS\" nil :subkey :values)"), "NIL");
  EXPECT_EQ(run("(tv-get-persistent-data \"LUMESH\" \"LMX_SETTINGS\" :subkey :values)"), "NIL");
  EXPECT_TRUE(std::filesystem::exists(user_ + "/persistent_data.sqlite"));
}

TEST_F(DocumentBindingsTest, OnlyReadablePropertyListsAreStored) {
  EXPECT_EQ(run("(handler-case (tv-set-persistent-data \"A\" \"K\" '(:a 1 :b)) (type-error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (tv-set-persistent-data \"A\" \"K\" 5) (type-error () :refused))"), ":REFUSED");
  EXPECT_TRUE(contains(error_text("(tv-set-persistent-data \"A\" \"K\" (list :table (make-hash-table)))"),
                       "has no printed form that reads back"));
  EXPECT_EQ(run("(tv-get-persistent-data \"A\" \"K\")"), "NIL");
}

TEST_F(DocumentBindingsTest, AStoredRecordThatIsNoPropertyListIsAnErrorNamingTheFile) {
  const std::string file = user_ + "/persistent_data.sqlite";
  // Records written by something else than tv-set-persistent-data.
  run("(%persistent-data-set \"\\\"A\\\"\" \"\\\"LIST\\\"\" \"\" \"(1 2 3)\")");
  run("(%persistent-data-set \"\\\"A\\\"\" \"\\\"OPEN\\\"\" \"\" \"(:a (1 2\")");
  run("(%persistent-data-set \"\\\"A\\\"\" \"\\\"EVAL\\\"\" \"\" \"#.(defparameter cl-user::*evaluated* t)\")");
  run("(%persistent-data-set \"\\\"A\\\"\" \"\\\"MORE\\\"\" \"\" \"(:a 1) (:b 2)\")");
  const std::string list = error_text("(tv-get-persistent-data \"A\" \"LIST\")");
  EXPECT_TRUE(contains(list, file) && contains(list, "not a property list")) << list;
  const std::string open = error_text("(tv-get-persistent-data \"A\" \"OPEN\")");
  EXPECT_TRUE(contains(open, file) && contains(open, "can't be read")) << open;
  // The reader never evaluates what a record holds.
  const std::string evaluated = error_text("(tv-get-persistent-data \"A\" \"EVAL\")");
  EXPECT_TRUE(contains(evaluated, file)) << evaluated;
  EXPECT_EQ(run("(boundp 'cl-user::*evaluated*)"), "NIL");
  EXPECT_TRUE(contains(error_text("(tv-get-persistent-data \"A\" \"MORE\")"), "text after its value"));
  // The session goes on, and the good records are there.
  EXPECT_EQ(run("(progn (tv-set-persistent-data \"A\" \"GOOD\" '(:x 1)) (tv-get-persistent-data \"A\" \"GOOD\"))"),
            "(:X 1)");
}

TEST_F(DocumentBindingsTest, ACorruptStoreIsAnErrorNamingTheFileAndIsKept) {
  const std::string file = user_ + "/persistent_data.sqlite";
  write_text(file, "this is no database, just text that a crash or a person left here\n");
  const std::string got = error_text("(tv-get-persistent-data \"A\" \"K\")");
  EXPECT_TRUE(contains(got, file)) << got;
  EXPECT_TRUE(contains(error_text("(tv-set-persistent-data \"A\" \"K\" '(:a 1))"), file));
  EXPECT_EQ(read_bytes(file), "this is no database, just text that a crash or a person left here\n");
  EXPECT_EQ(run("(+ 1 2)"), "3");
}

TEST_F(DocumentBindingsTest, AnUnwritableUserFolderIsAnErrorNamingIt) {
  write_text(scratch_ + "/blocked", "x");
  env_.set("APPDATA", scratch_ + "/blocked");
  const std::string got = error_text("(tv-set-persistent-data \"A\" \"K\" '(:a 1))");
  EXPECT_TRUE(contains(got, scratch_ + "/blocked")) << got;
  EXPECT_EQ(run("(tv-get-persistent-data \"A\" \"K\")"), "NIL");
}

// --- customization files ---

class CustomizationTest : public DocumentBindingsTest {
 protected:
  void SetUp() override {
    DocumentBindingsTest::SetUp();
    corp_ = scratch_ + "/corp";
    site_ = scratch_ + "/site";
    env_.set("TVCORPCUSTOMIZEDIR", corp_);
    env_.set("TVSITECUSTOMIZEDIR", site_);
    run("(defpackage \"CUSTOMIZED\" (:use \"COMMON-LISP\"))");
    run("(progn (defparameter customized::*trace* nil) (defparameter customized::*limit* 100))");
  }
  static std::string load(const std::string& which = ":all") {
    return run("(handler-case (length (tv-load-customization-file \"customize.lsp\" :application \"CUSTOMIZED\""
               " :which " + which + " :order :tv-corp-site-user))"
               " (customization-error (e) (princ-to-string e)))");
  }
  static std::string trace() { return eval("(reverse customized::*trace*)"); }
  std::string corp_, site_;
};

TEST_F(CustomizationTest, CorporateThenSiteThenUserSoTheUserHasTheLastWord) {
  write_text(corp_ + "/CUSTOMIZED/customize.lsp", "(push :corp *trace*) (setq *limit* 1)");
  write_text(site_ + "/CUSTOMIZED/customize.lsp", ";; the site\n(push :site *trace*)\n(setq *limit* 2)\n");
  write_text(user_ + "/CUSTOMIZED/customize.lsp", "(push :user *trace*) (setq *limit* 3)");
  EXPECT_EQ(load(), "3");
  EXPECT_EQ(trace(), "(:CORP :SITE :USER)");
  EXPECT_EQ(eval("customized::*limit*"), "3");
  // One level alone, and the other order.
  run("(setq customized::*trace* nil)");
  EXPECT_EQ(load(":site"), "1");
  EXPECT_EQ(trace(), "(:SITE)");
  run("(setq customized::*trace* nil)");
  EXPECT_EQ(run("(length (tv-load-customization-file \"customize.lsp\" :application \"CUSTOMIZED\""
                " :order :tv-user-site-corp))"),
            "3");
  EXPECT_EQ(trace(), "(:USER :SITE :CORP)");
  // No files at all: nothing loaded, no error.
  EXPECT_EQ(run("(tv-load-customization-file \"customize.lsp\" :application \"NOBODY\")"), "NIL");
  EXPECT_TRUE(contains(error_text("(tv-load-customization-file \"customize.lsp\" :which :everything)"),
                       ":EVERYTHING"));
}

TEST_F(CustomizationTest, ALispErrorStopsItsFileAndTheRestLoads) {
  write_text(corp_ + "/CUSTOMIZED/customize.lsp", "(push :corp *trace*)");
  write_text(site_ + "/CUSTOMIZED/customize.lsp", "(push :site *trace*)\n\n(push (car 5) *trace*)\n(push :after *trace*)\n");
  write_text(user_ + "/CUSTOMIZED/customize.lsp", "(push :user *trace*)");
  const std::string got = load();
  EXPECT_TRUE(contains(got, "Customization file '" + site_ + "/CUSTOMIZED/customize.lsp', line 3")) << got;
  EXPECT_TRUE(contains(got, "CAR")) << got;
  EXPECT_EQ(trace(), "(:CORP :SITE :USER)");
  EXPECT_EQ(run("(+ 1 2)"), "3");
}

TEST_F(CustomizationTest, AnUnbalancedParenthesisIsAnErrorNamingFileAndLine) {
  write_text(corp_ + "/CUSTOMIZED/customize.lsp", "(push :corp *trace*)\n(push :open *trace*\n");
  write_text(site_ + "/CUSTOMIZED/customize.lsp", "(push :site *trace*))\n");
  write_text(user_ + "/CUSTOMIZED/customize.lsp", "(push :user *trace*)");
  const std::string got = load();
  EXPECT_TRUE(contains(got, corp_ + "/CUSTOMIZED/customize.lsp', line 2: the form that begins there is not closed"))
      << got;
  EXPECT_TRUE(contains(got, site_ + "/CUSTOMIZED/customize.lsp', line 1")) << got;
  EXPECT_EQ(trace(), "(:CORP :SITE :USER)");
  // The condition lists every failed file.
  EXPECT_EQ(run("(handler-case (tv-load-customization-file \"customize.lsp\" :application \"CUSTOMIZED\")"
                " (customization-error (e) (length (customization-error-failures e))))"),
            "2");
}

TEST_F(CustomizationTest, FilesAreReadInTheApplicationsPackageAndSeeTheirOwnPath) {
  write_text(user_ + "/CUSTOMIZED/customize.lsp",
             "(push (package-name *package*) *trace*) (push (namestring *load-truename*) *trace*)");
  EXPECT_EQ(load(), "1");
  EXPECT_EQ(trace(), "(\"CUSTOMIZED\" \"" + user_ + "/CUSTOMIZED/customize.lsp\")");
  EXPECT_EQ(run("(package-name *package*)"), "\"FRAME2\"");
  // IN-PACKAGE holds for the rest of its file only.
  write_text(user_ + "/CUSTOMIZED/customize.lsp",
             "(in-package \"COMMON-LISP-USER\") (defparameter *from-customization* (package-name *package*))");
  EXPECT_EQ(load(), "1");
  EXPECT_EQ(eval("cl-user::*from-customization*"), "\"COMMON-LISP-USER\"");
  EXPECT_EQ(run("(package-name *package*)"), "\"FRAME2\"");
}

TEST_F(CustomizationTest, NothingOutsideTheUsersFoldersIsWritten) {
  write_text(corp_ + "/CUSTOMIZED/customize.lsp", "(push :corp *trace*)");
  write_text(site_ + "/CUSTOMIZED/customize.lsp", "(push (car 5) *trace*)");
  write_text(user_ + "/CUSTOMIZED/customize.lsp", "(push :user *trace*)");
  env_.set("HOME", scratch_ + "/home");
  env_.set("XDG_CONFIG_HOME", scratch_ + "/xdg");
  std::filesystem::create_directories(scratch_ + "/home");
  const auto before = snapshot(scratch_);
  load();
  run("(tv-set-persistent-data \"CUSTOMIZED\" \"SETTINGS\" '(:a 1) :subkey :values)");
  run("(tv-get-persistent-data \"CUSTOMIZED\" \"SETTINGS\" :subkey :values)");
  auto after = snapshot(scratch_);
  // Only the user folder changed: the store appeared there.
  for (auto it = after.begin(); it != after.end();) {
    it = it->first.rfind(user_, 0) == 0 ? after.erase(it) : std::next(it);
  }
  auto kept = before;
  for (auto it = kept.begin(); it != kept.end();) {
    it = it->first.rfind(user_, 0) == 0 ? kept.erase(it) : std::next(it);
  }
  EXPECT_EQ(after, kept);
  EXPECT_TRUE(std::filesystem::exists(user_ + "/persistent_data.sqlite"));
}

// --- texts in the user's language ---

TEST_F(DocumentBindingsTest, MultiLanguageStrings) {
  EXPECT_EQ(run("(tv-multi-lang-string \"lmx_resources\")"), "\"lmx_resources\"");
  EXPECT_EQ(run("(tv-inq-language)"), "\"en\"");
  EXPECT_EQ(run("(let ((*tv-language* \"de\")) (tv-multi-lang-string \"lmx_resources\"))"), "\"lmx_resources_de\"");
  EXPECT_EQ(run("(let ((*tv-language* \"de\")) (tv-multi-lang-string '(:en \"Open\" :de \"Oeffnen\")))"),
            "\"Oeffnen\"");
  EXPECT_EQ(run("(let ((*tv-language* \"fr\")) (tv-multi-lang-string '(:de \"Oeffnen\" :en \"Open\")))"), "\"Open\"");
  EXPECT_EQ(run("(tv-multi-lang-string '(:de \"Oeffnen\"))"), "\"Oeffnen\"");
  EXPECT_EQ(run("(handler-case (tv-multi-lang-string 5) (type-error () :refused))"), ":REFUSED");
}

// --- lightweight parts ---

TEST_F(DocumentBindingsTest, APartBecomesALightweightPartThroughItsGraphicsFile) {
  NPART3* full = create_npart3("block");
  ASSERT_EQ(add_body_to_part(full, make_bored_block(10, 8, 4, 1, 12)), nullptr);
  ASSERT_EQ(insert_in_graph(full), nullptr);
  bind("*FULL*", full);
  // Colour and transparency set before the conversion show in the stored graphics.
  ASSERT_EQ(run("(progn (set-part-color *full* 0.25 0.5 1.0) (set-part-transparency *full* 0.25)"
                " (xdbik-initialize *xdbik-access-string*)"
                " (defparameter *dir* (inquire-temporary-directory))"
                " (defparameter *dummy* (inquire-unique-filename *dir*))"
                " (defparameter *graphics* (inquire-unique-filename *dir*))"
                " (defparameter *light* (inquire-unique-filename *dir* :extension \".tvpc\"))"
                " (tv-db-open-dummy-file *dummy*)"
                " (tv-db-generate-dummy 12345 \"P\" \"block\" 1)"
                " (tv-db-close-dummy-file)"
                " (list (handler-case (tv-db-store-graphics (root-parcel-sel-item) *graphics*)"
                "         (k2:module-error () :not-a-part))"
                "       (tv-db-store-graphics (make-sel_item :item *full* :path (list *full*) :type :part) *graphics*)"
                "       (tv-db-join-lightweight-file *dummy* *graphics* *light*)))"),
            "(:NOT-A-PART T T)");
  EXPECT_EQ(run("*dir*"), "\"" + scratch_ + "/tmp/\"");
  EXPECT_EQ(run("(string= \".tvpc\" *light* :start2 (- (length *light*) 5))"), "T");
  ASSERT_EQ(run("(progn (defparameter *loaded* (first (%load-graphics-file *light*))) (xdbik-finalize))"), "T");
  EXPECT_EQ(run("(list (inquire-name *loaded*) (tv-graphics-only-part-p *loaded*) (tv-graphics-only-part-p *full*)"
                " (get-part-body *loaded*) (tv-inq-obj-pathname *loaded*))"),
            "(\"block-1\" T NIL NIL \"/block-1\")");
  // It draws what the full part drew, with the same box and colours.
  EXPECT_EQ(run("(let ((a (tv-inq-part-graphics *full*)) (b (tv-inq-part-graphics *loaded*)))"
                " (list (equal (getf a :triangles) (getf b :triangles)) (> (getf b :triangles) 0)"
                "       (getf b :color) (getf b :transparency) (getf b :graphics-only) (getf a :graphics-only)))"),
            "(T T (0.25d0 0.5d0 1.0d0) 0.25d0 T NIL)");
  EXPECT_EQ(run("(let ((box (getf (tv-inq-part-graphics *loaded*) :box)))"
                " (list (k2::gpnt3d-x (first box)) (k2::gpnt3d-z (second box))))"),
            "(0.0d0 4.0d0)");
  // No modelling operation takes it for a solid.
  const std::string refused = error_text("(add-body-to-part *loaded* (get-part-body *full*))");
  EXPECT_TRUE(contains(refused, "lightweight part")) << refused;
  EXPECT_EQ(run("(tv-graphics-only-part-p *full*)"), "NIL");
  EXPECT_EQ(run("(progn (destroy-parcel *loaded*) (destroy-parcel *full*))"), "T");
}

TEST_F(DocumentBindingsTest, StoringOutsideASessionOrOfNothingToDraw) {
  NPART3* empty = create_npart3("empty");
  bind("*EMPTY*", empty);
  EXPECT_TRUE(contains(error_text("(tv-db-store-graphics *empty* \"/tmp/x\")"), "xdbik-initialize"));
  EXPECT_TRUE(contains(error_text("(tv-db-open-dummy-file \"/tmp/x\")"), "xdbik-initialize"));
  EXPECT_TRUE(contains(error_text("(xdbik-initialize \"nonsense\")"), "access string"));
  EXPECT_EQ(run("(progn (xdbik-initialize *xdbik-access-string*)"
                " (tv-db-store-graphics *empty* (inquire-unique-filename)))"),
            "NIL");
  const auto recent = output_box().recent(1);
  ASSERT_FALSE(recent.empty());
  EXPECT_TRUE(contains(recent.back(), "nothing to draw")) << recent.back();
  EXPECT_EQ(run("(list (xdbik-finalize) (xdbik-finalize))"), "(T NIL)");
  EXPECT_EQ(run("(destroy-parcel *empty*)"), "T");
}

TEST_F(DocumentBindingsTest, AGarbageGraphicsFileIsAnErrorNamingItAndTheModelStays) {
  const std::string path = scratch_ + "/garbage.tvpc";
  write_text(path, "LMXGRAPH and then nothing that makes sense");
  const int children = inq_num_children(root_parcel());
  const std::string got = error_text("(%load-graphics-file \"" + path + "\")");
  EXPECT_TRUE(contains(got, path) && contains(got, "not a valid graphics file")) << got;
  EXPECT_TRUE(contains(error_text("(%load-graphics-file \"" + scratch_ + "/missing.tvpc\")"), "can't be opened"));
  EXPECT_EQ(inq_num_children(root_parcel()), children);
  EXPECT_EQ(run("(+ 1 2)"), "3");
}

}  // namespace
