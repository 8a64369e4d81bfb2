// Names, clashes, system names and path names both ways.

#include <string>

#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "model_fixture.h"

namespace {

class ParcelNamesTest : public ModelTest {};

// The number of a system name such as "p12".
int number_of(const std::string& name) { return std::stoi(name.substr(1)); }

TEST_F(ParcelNamesTest, SystemNamesAreFreshPerKind) {
  const std::string p1 = get_system_name(PARCEL_KIND::part);
  const std::string p2 = get_system_name(PARCEL_KIND::part);
  const std::string a1 = get_system_name(PARCEL_KIND::assembly);
  const std::string c1 = get_system_name(PARCEL_KIND::container);
  EXPECT_EQ(p1[0], 'p');
  EXPECT_EQ(a1[0], 'a');
  EXPECT_EQ(c1[0], 'c');
  EXPECT_EQ(number_of(p2), number_of(p1) + 1);

  // An empty name gives the next system name of the kind.
  NPART3* p = create_npart3();
  EXPECT_EQ(inquire_name(p), "p" + std::to_string(number_of(p2) + 1));
  NASMB3* a = create_nasmb3("");
  EXPECT_EQ(inquire_name(a), "a" + std::to_string(number_of(a1) + 1));
  NCONT* c = create_cont();
  EXPECT_EQ(inquire_name(c).substr(0, 1), "c");
  NPARCEL* i = create_instance(p);
  EXPECT_EQ(inquire_name(i), "p" + std::to_string(number_of(p2) + 2));
  destroy_parcel(i);
  destroy_parcel(p);
  destroy_parcel(a);
  destroy_parcel(c);
}

TEST_F(ParcelNamesTest, ClashesAmongSiblingsGetTheSmallestFreeSuffix) {
  NASMB3* a = create_nasmb3("a");
  NPART3* b0 = create_npart3("bolt");
  NPART3* b1 = create_npart3("bolt");
  NPART3* b2 = create_npart3("bolt");
  ASSERT_EQ(insert_child(a, b0), nullptr);
  ASSERT_EQ(insert_child(a, b1), nullptr);
  ASSERT_EQ(insert_child(a, b2), nullptr);
  EXPECT_EQ(inquire_name(b0), "bolt");
  EXPECT_EQ(inquire_name(b1), "bolt-1");
  EXPECT_EQ(inquire_name(b2), "bolt-2");

  // A freed suffix is taken again; the object's own name is no clash.
  ASSERT_EQ(assign_name(b1, "washer"), nullptr);
  EXPECT_EQ(inquire_name(b1), "washer");
  ASSERT_EQ(assign_name(b1, "bolt"), nullptr);
  EXPECT_EQ(inquire_name(b1), "bolt-1");
  ASSERT_EQ(assign_name(b2, "bolt-2"), nullptr);
  EXPECT_EQ(inquire_name(b2), "bolt-2");

  // The name a sibling would get, without assigning it.
  EXPECT_EQ(get_system_name(a, PARCEL_KIND::part, "bolt"), "bolt-3");
  EXPECT_EQ(get_system_name(a, PARCEL_KIND::part, "nut"), "nut");
  EXPECT_EQ(get_system_name(nullptr, PARCEL_KIND::part, "bolt"), "bolt");

  // Names are per contents: the same name in another assembly is free.
  NASMB3* other = create_nasmb3("other");
  NPART3* b3 = create_npart3("bolt");
  ASSERT_EQ(insert_child(other, b3), nullptr);
  EXPECT_EQ(inquire_name(b3), "bolt");

  // '/' cannot be part of a name; an empty name is a system name.
  ASSERT_EQ(assign_name(b3, "a/b"), nullptr);
  EXPECT_EQ(inquire_name(b3), "a_b");
  ASSERT_EQ(assign_name(b3, ""), nullptr);
  EXPECT_EQ(inquire_name(b3)[0], 'p');
  EXPECT_EQ(assign_name(nullptr, "x"), model_error(MODEL_ERROR::NULL_ARGUMENT));

  destroy_parcel(a);
  destroy_parcel(other);
}

TEST_F(ParcelNamesTest, PathNamesLeadBothWays) {
  NASMB3* a1 = create_nasmb3("a1");
  NASMB3* sub = create_nasmb3("sub");
  NPART3* p2 = create_npart3("p2");
  NPART3* p3 = create_npart3("p3");
  ASSERT_EQ(insert_in_graph(a1), nullptr);
  ASSERT_EQ(insert_child(a1, p2), nullptr);
  ASSERT_EQ(insert_child(a1, sub), nullptr);
  ASSERT_EQ(insert_child(sub, p3), nullptr);

  EXPECT_EQ(inq_obj_pathname(root_parcel()), "/");
  EXPECT_EQ(inq_obj_pathname(a1), "/a1");
  EXPECT_EQ(inq_obj_pathname(p2), "/a1/p2");
  EXPECT_EQ(inq_obj_pathname(p3), "/a1/sub/p3");
  EXPECT_EQ(inq_obj_basename(p3), "p3");
  for (NPARCEL* p : {root_parcel(), static_cast<NPARCEL*>(a1), static_cast<NPARCEL*>(sub),
                     static_cast<NPARCEL*>(p2), static_cast<NPARCEL*>(p3)}) {
    EXPECT_EQ(pathname_to_obj(inq_obj_pathname(p)), p) << inq_obj_pathname(p);
  }
  EXPECT_EQ(pathname_to_obj("/a1/sub/p3/"), p3);
  EXPECT_EQ(pathname_to_obj("/a1/p3"), nullptr);
  EXPECT_EQ(pathname_to_obj("/a1/p2/x"), nullptr);
  EXPECT_EQ(pathname_to_obj("a1"), nullptr);
  EXPECT_EQ(pathname_to_obj(""), nullptr);

  // A second instance of sub: both places lead to the same p3.
  NPARCEL* sub2 = create_instance(sub, "sub2");
  ASSERT_EQ(insert_in_graph(sub2), nullptr);
  EXPECT_EQ(pathname_to_obj("/sub2/p3"), p3);
  EXPECT_EQ(pathname_to_obj(inq_obj_pathname(p3)), p3);

  // Renaming renames the path.
  ASSERT_EQ(assign_name(a1, "top"), nullptr);
  EXPECT_EQ(inq_obj_pathname(p2), "/top/p2");
  EXPECT_EQ(pathname_to_obj("/a1/p2"), nullptr);

  // An object outside the tree below the root has no path name.
  ASSERT_EQ(remove_child(root_parcel(), a1), nullptr);
  EXPECT_EQ(inq_obj_pathname(p2), "");
  // p3 is still below the root through the other instance of sub.
  EXPECT_EQ(inq_obj_pathname(p3), "/sub2/p3");
  EXPECT_EQ(inq_parent(p3), sub2);
  destroy_parcel(a1);
  destroy_parcel(sub2);
}

}  // namespace
