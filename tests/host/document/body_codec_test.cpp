// Bodies through their encoding: entity by entity the same, sysids kept, and
// every damaged blob refused without leaving an entity behind.

#include "host/document/body_codec.h"

#include "host/document/byte_codec.h"
#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/ops/body_checker.h"
#include "tests/host/document/model_file_fixture.h"

using model_file_test::describe;

namespace {

class BodyCodecTest : public ModelFileFixture {
 protected:
  // Encodes, loses the body, decodes into the freed sysids; the copy must
  // describe as the original did, sysids included.
  void round_trip(BODY* body) {
    const std::vector<std::string> before = describe(body);
    const std::string blob = encode_body(*body);
    body->lose();
    HISTORY::instance().forget();
    for (std::uint64_t s : body_sysids(blob)) EXPECT_TRUE(ENTITY_REGISTRY::instance().reserve(s));
    BODY* copy = decode_body(blob);
    for (std::uint64_t s : body_sysids(blob)) ENTITY_REGISTRY::instance().release(s);
    EXPECT_TRUE(check_body(copy).ok());
    EXPECT_EQ(describe(copy), before);
    EXPECT_EQ(encode_body(*copy), blob) << "a second save writes the same bytes";
    copy->lose();
  }
};

TEST_F(BodyCodecTest, TriangleCubeComesBackEntityByEntity) {
  round_trip(make_triangle_cube(10.0));
}

TEST_F(BodyCodecTest, CylinderFacesWithBridgesComeBack) {
  round_trip(make_bored_block(20, 30, 10, 4, 24));
}

TEST_F(BodyCodecTest, PerforatedPlateComesBack) {
  round_trip(make_perforated_plate(3, 2, 10, 2, 3, 16));
}

TEST_F(BodyCodecTest, SubshellsFaceColoursTransformAndMarkerComeBack) {
  BODY* body = make_triangle_torus(8, 6, 50, 10);
  SHELL* shell = body->shell(0);
  // Two facet sets, one inside the other, and colours on a few faces.
  auto* outer = new SUBSHELL();
  auto* inner = new SUBSHELL();
  shell->add_subshell(outer);
  outer->add_subshell(inner);
  std::vector<FACE*> faces;
  for (FACE* f = shell->first_face(); f != nullptr; f = f->next_in_shell()) faces.push_back(f);
  for (int i = 0; i < 10; ++i) outer->add_face(faces[static_cast<std::size_t>(i)]);
  for (int i = 10; i < 14; ++i) inner->add_face(faces[static_cast<std::size_t>(i)]);
  faces[3]->set_color(0.25, 0.5, 1.0);
  faces[20]->set_color(1.0, 0.0, 0.125);
  faces[20]->set_transparency(0.5);
  body->set_transform(TRANSFORM3::rotation(POSITION3(1, 2, 3), VECTOR3(0, 0, 1), 0.3) *
                      TRANSFORM3::translation(VECTOR3(5, -6, 7)));
  body->add_attribute(std::make_shared<FACE_PART_ATT>(L"Tür"));
  round_trip(body);
}

TEST_F(BodyCodecTest, AMeshBodyTakesLessThanSixtyFourBytesAFacet) {
  BODY* body = make_triangle_torus(100, 50, 100, 30);
  const std::string blob = encode_body(*body);
  EXPECT_LT(blob.size(), 64u * 10000u);
  body->lose();
}

TEST_F(BodyCodecTest, EveryTruncationIsRefusedAndLeavesNothing) {
  BODY* body = make_bored_block(20, 30, 10, 4, 8);
  const std::string blob = encode_body(*body);
  body->lose();
  HISTORY::instance().forget();
  const std::uint64_t entities = ENTITY::registered_count();
  for (std::size_t n = 0; n < blob.size(); ++n) {
    EXPECT_THROW(decode_body(std::string_view(blob.data(), n)), std::exception) << "length " << n;
    HISTORY::instance().forget();
    ASSERT_EQ(ENTITY::registered_count(), entities) << "length " << n;
  }
}

TEST_F(BodyCodecTest, FlippedBytesGiveAnErrorOrAValidBody) {
  BODY* body = make_bored_block(20, 30, 10, 4, 8);
  const std::string blob = encode_body(*body);
  body->lose();
  HISTORY::instance().forget();
  const std::uint64_t entities = ENTITY::registered_count();
  for (std::size_t i = 0; i < blob.size(); ++i) {
    for (unsigned char bit : {0x01, 0x80}) {
      std::string bad = blob;
      bad[i] = static_cast<char>(bad[i] ^ bit);
      try {
        BODY* b = decode_body(bad);
        EXPECT_TRUE(check_body(b).ok()) << "byte " << i;
        b->lose();
      } catch (const std::exception&) {
      }
      HISTORY::instance().forget();
      ASSERT_EQ(ENTITY::registered_count(), entities) << "byte " << i;
    }
  }
}

TEST_F(BodyCodecTest, GarbageIsNotABody) {
  EXPECT_THROW(decode_body("solid cube\nfacet normal 0 0 1\n"), BLOB_ERROR);
  EXPECT_THROW(decode_body(""), BLOB_ERROR);
  EXPECT_THROW(body_sysids("LMXB\x07"), BLOB_ERROR);
}

TEST_F(BodyCodecTest, ALiveSysidIsNotTakenTwice) {
  BODY* body = make_triangle_cube(1.0);
  const std::string blob = encode_body(*body);
  // The original is still alive: nothing can be reserved, the copy gets
  // fresh sysids and both bodies stay valid.
  for (std::uint64_t s : body_sysids(blob)) EXPECT_FALSE(ENTITY_REGISTRY::instance().reserve(s));
  BODY* copy = decode_body(blob);
  EXPECT_NE(copy->sysid(), body->sysid());
  EXPECT_EQ(describe(copy, false), describe(body, false));
  EXPECT_EQ(ENTITY::lookup(body->sysid()), body);
  copy->lose();
  body->lose();
}

}  // namespace

namespace {

// A length that counts its own byte must not let a read run past the end.
TEST(ByteReader, ALengthIsCheckedAgainstWhatFollowsIt) {
  BYTE_READER ok(
      std::string_view("\x03"
                       "abc",
                       4));
  EXPECT_EQ(ok.bytes(), "abc");
  EXPECT_TRUE(ok.at_end());
  BYTE_READER over(
      std::string_view("\x04"
                       "abc",
                       4));
  EXPECT_THROW(over.bytes(), BLOB_ERROR);
  BYTE_READER endless(std::string_view("\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01", 11));
  EXPECT_THROW(endless.varint(), BLOB_ERROR);
}

}  // namespace
