// The copy of a 3MF package without repeated production UUIDs: the scan of a
// model part on XML written here (which attributes go, what stays byte for
// byte, every truncation a result or a clear error), and the package on
// archives the tests write with libzip and read back the same way (entries
// and their order kept, the size bounds, damaged archives refused).

#include "lumesh/data_exchange/tmf_package_repair.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "support/stl_test_files.h"
#include "support/threemf_package.h"

namespace {

namespace fs = std::filesystem;
using ENTRIES = std::vector<std::pair<std::string, std::string>>;

// Distinct UUIDs, told apart by their last digit.
std::string uuid(int n) {
  return "5e33de11-3ce9-4d42-b647-6f40af0359d" + std::to_string(n);
}

const std::string kDeclareP =
    std::string(" xmlns:p=\"") + threemf_test::kProductionNamespace + "\"";

// The scan with a fresh set of seen values.
std::string drop(const std::string& xml, std::size_t& dropped) {
  std::unordered_set<std::string> seen;
  return drop_repeated_uuids(xml, seen, dropped);
}

// ---- the scan of a model part ------------------------------------------------

TEST(TmfUuidScan, TheFirstKeepsItsUuidAndEveryLaterRepeatLosesTheAttribute) {
  const std::string head = "<?xml version=\"1.0\"?>\n<model" + kDeclareP + "><resources>";
  const std::string xml =
      head + "<object id=\"4\" p:UUID=\"" + uuid(1) + "\" type=\"model\"><components>" +
      "<component p:UUID=\"" + uuid(2) + "\" objectid=\"3\"/></components></object>\n" +
      "<object id=\"5\" p:UUID=\"" + uuid(3) + "\"><components><component p:UUID=\"" + uuid(1) +
      "\" objectid=\"4\"/></components></object></resources>\n" + "<build p:UUID=\"" + uuid(4) +
      "\"><item objectid=\"5\"\n   p:UUID=\"" + uuid(1) + "\"/></build></model>\n";
  const std::string expected =
      head + "<object id=\"4\" p:UUID=\"" + uuid(1) + "\" type=\"model\"><components>" +
      "<component p:UUID=\"" + uuid(2) + "\" objectid=\"3\"/></components></object>\n" +
      "<object id=\"5\" p:UUID=\"" + uuid(3) + "\"><components><component" +
      " objectid=\"4\"/></components></object></resources>\n" + "<build p:UUID=\"" + uuid(4) +
      "\"><item objectid=\"5\"/></build></model>\n";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped), expected);
  EXPECT_EQ(dropped, 2u);
}

TEST(TmfUuidScan, UniqueUuidsLeaveThePartByteForByte) {
  const std::string xml = "<model" + kDeclareP + "><resources><object id=\"1\" p:UUID=\"" +
                          uuid(1) + "\"/><object id=\"2\" p:UUID=\"" + uuid(2) +
                          "\"/></resources><build/></model>";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped), xml);
  EXPECT_EQ(dropped, 0u);
}

TEST(TmfUuidScan, ValuesCompareByTheirDigitsInAnyCase) {
  const std::string first = uuid(7);
  std::string upper = first;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  std::string bare = first;
  std::erase(bare, '-');
  std::string xml = "<model" + kDeclareP + "><a p:UUID=\"" + first + "\"/>";
  for (const std::string& same : {upper, bare, "{" + first + "}", "  " + first + " "}) {
    xml += "<a p:UUID=\"" + same + "\"/>";
  }
  xml += "</model>";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped),
            "<model" + kDeclareP + "><a p:UUID=\"" + first + "\"/><a/><a/><a/><a/></model>");
  EXPECT_EQ(dropped, 4u);
}

TEST(TmfUuidScan, ValuesThatAreNoUuidAreLeftAlone) {
  std::string xml = "<model" + kDeclareP + ">";
  for (const char* value : {"", "zz", "5e33de11-3ce9-4d42-b647-6f40af0359d", "not a uuid at all"}) {
    xml += "<a p:UUID=\"" + std::string(value) + "\"/><b p:UUID=\"" + value + "\"/>";
  }
  xml += "</model>";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped), xml);
  EXPECT_EQ(dropped, 0u);
}

TEST(TmfUuidScan, OnlyAttributesOfTheProductionNamespaceCount) {
  const std::string production = threemf_test::kProductionNamespace;
  const std::string u = uuid(5);
  // q is the production prefix here; p names another namespace; UUID alone
  // is in no namespace.
  const std::string xml = "<model xmlns:q=\"" + production +
                          "\" xmlns:p=\"urn:other\">"
                          "<a q:UUID=\"" +
                          u +
                          "\"/>"
                          "<b p:UUID=\"" +
                          u + "\" UUID=\"" + u +
                          "\"/>"
                          // The element's own declaration counts, even after the attribute.
                          "<c r:UUID=\"" +
                          u + "\" xmlns:r=\"" + production +
                          "\"/>"
                          // r is unbound again after c; q is rebound inside d only.
                          "<d r:UUID=\"" +
                          u + "\" xmlns:q=\"urn:other\"><e q:UUID=\"" + u +
                          "\"/></d>"
                          "<f q:UUID=\"" +
                          u + "\"/></model>";
  const std::string expected = "<model xmlns:q=\"" + production +
                               "\" xmlns:p=\"urn:other\">"
                               "<a q:UUID=\"" +
                               u +
                               "\"/>"
                               "<b p:UUID=\"" +
                               u + "\" UUID=\"" + u +
                               "\"/>"
                               "<c xmlns:r=\"" +
                               production +
                               "\"/>"
                               "<d r:UUID=\"" +
                               u + "\" xmlns:q=\"urn:other\"><e q:UUID=\"" + u +
                               "\"/></d>"
                               "<f/></model>";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped), expected);
  EXPECT_EQ(dropped, 2u);
}

TEST(TmfUuidScan, CommentsCdataInstructionsAndDeclarationsAreNoTags) {
  const std::string u = uuid(3);
  const std::string tag = "<a p:UUID=\"" + u + "\"/>";
  // Quoted text in a declaration may hold '>'.
  const std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE model [<!ENTITY x '" + tag +
                          "'>]><model" + kDeclareP + "><!-- " + tag + " --><![CDATA[" + tag +
                          "]]><?pi " + tag + "?>" + tag + tag + "</model>";
  std::size_t dropped = 0;
  const std::string out = drop(xml, dropped);
  EXPECT_EQ(dropped, 1u);
  EXPECT_EQ(out, xml.substr(0, xml.size() - tag.size() - 8) + "<a/></model>");
}

TEST(TmfUuidScan, SingleQuotesAndBlanksAroundTheEqualsSign) {
  const std::string xml = "<model" + kDeclareP + "><a p:UUID = '" + uuid(1) + "'/><b\tp:UUID\n= '" +
                          uuid(1) + "' id='2'/></model>";
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped),
            "<model" + kDeclareP + "><a p:UUID = '" + uuid(1) + "'/><b id='2'/></model>");
  EXPECT_EQ(dropped, 1u);
}

TEST(TmfUuidScan, OneSetSpansTheModelPartsOfAPackage) {
  std::unordered_set<std::string> seen;
  std::size_t dropped = 0;
  const std::string part = "<model" + kDeclareP + "><a p:UUID=\"" + uuid(9) + "\"/></model>";
  EXPECT_EQ(drop_repeated_uuids(part, seen, dropped), part);
  EXPECT_EQ(drop_repeated_uuids(part, seen, dropped), "<model" + kDeclareP + "><a/></model>");
  EXPECT_EQ(dropped, 1u);
}

TEST(TmfUuidScan, BrokenTagsAreClearErrors) {
  for (const std::string& xml :
       {std::string("<model><a p:UUID=\"x"), std::string("<model><a b>"), std::string("<a b=c/>"),
        std::string("<a / >"), std::string("<!-- open"), std::string("<![CDATA[ open"),
        std::string("<?pi"), std::string("<!DOCTYPE x [ "), std::string("<a"),
        std::string("</a")}) {
    std::size_t dropped = 0;
    EXPECT_THROW(drop(xml, dropped), TMF_PACKAGE_REPAIR_ERROR) << xml;
  }
}

TEST(TmfUuidScan, EveryTruncationIsAResultOrAClearError) {
  const std::string xml =
      threemf_test::production_model(threemf_test::cube_object(1, "p:UUID=\"" + uuid(1) + "\"") +
                                         "<object id=\"2\" type=\"model\" p:UUID='" + uuid(2) +
                                         "'><!-- c --><components>"
                                         "<component objectid=\"1\" p:UUID=\"" +
                                         uuid(1) + "\"/></components></object>",
                                     "<item objectid=\"2\" p:UUID=\"" + uuid(2) + "\"/>");
  std::size_t dropped = 0;
  EXPECT_EQ(drop(xml, dropped).size() + 2 * (std::string(" p:UUID=\"\"").size() + 36), xml.size());
  EXPECT_EQ(dropped, 2u);
  for (std::size_t n = 0; n < xml.size(); ++n) {
    std::size_t count = 0;
    try {
      const std::string out = drop(xml.substr(0, n), count);
      EXPECT_LE(out.size(), n);
    } catch (const TMF_PACKAGE_REPAIR_ERROR& e) {
      EXPECT_NE(std::string(e.what()).find("not well-formed"), std::string::npos);
    }
  }
}

// ---- the package ------------------------------------------------------------------

// The entries of an archive in memory, in order; a directory with empty data.
ENTRIES read_archive(const std::vector<std::uint8_t>& bytes) {
  ENTRIES entries;
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
  zip_t* archive = source != nullptr ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
  zip_error_fini(&error);
  if (archive == nullptr) {
    if (source != nullptr) zip_source_free(source);
    ADD_FAILURE() << "not a zip archive";
    return entries;
  }
  const zip_int64_t count = zip_get_num_entries(archive, 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    zip_stat_t stat;
    zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat);
    std::string data(static_cast<std::size_t>(stat.size), '\0');
    zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
    if (file == nullptr ||
        zip_fread(file, data.data(), data.size()) != static_cast<zip_int64_t>(data.size())) {
      ADD_FAILURE() << "cannot read " << stat.name;
    }
    if (file != nullptr) zip_fclose(file);
    entries.emplace_back(stat.name, data);
  }
  zip_discard(archive);
  return entries;
}

std::string read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void write_file(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void put32(std::string& bytes, std::size_t at, std::uint32_t value) {
  for (int k = 0; k < 4; ++k) bytes[at + k] = static_cast<char>((value >> (8 * k)) & 0xFF);
}

std::uint16_t get16(const std::string& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                    (static_cast<unsigned char>(bytes[at + 1]) << 8));
}

// Overwrites a 32-bit field of the entry `name` in the archive at path, in
// its local header (at local_offset) and in the central directory (at
// central_offset): what a damaged or hostile archive would state.
void patch_entry(const fs::path& path, const std::string& name, std::size_t local_offset,
                 std::size_t central_offset, std::uint32_t value) {
  std::string bytes = read_file(path);
  int patched = 0;
  for (std::size_t at = 0; at + 46 <= bytes.size(); ++at) {
    if (bytes.compare(at, 4, "PK\x03\x04") == 0 && bytes.compare(at + 30, name.size(), name) == 0 &&
        get16(bytes, at + 26) == name.size()) {
      put32(bytes, at + local_offset, value);
      ++patched;
    } else if (bytes.compare(at, 4, "PK\x01\x02") == 0 && get16(bytes, at + 28) == name.size() &&
               bytes.compare(at + 46, name.size(), name) == 0) {
      put32(bytes, at + central_offset, value);
      ++patched;
    }
  }
  ASSERT_EQ(patched, 2) << name;
  write_file(path, bytes);
}
// The offsets of the fields in the local header and the central directory.
constexpr std::size_t kLocalCrc = 14, kCentralCrc = 16;
constexpr std::size_t kLocalSize = 22, kCentralSize = 24;

class TmfPackageRepair : public ::testing::Test {
 protected:
  // A package whose model repeats one UUID on a component.
  static std::string repeating_model() {
    return threemf_test::production_model(
        threemf_test::cube_object(1, "p:UUID=\"" + uuid(1) + "\"") +
            "<object id=\"2\" type=\"model\" p:UUID=\"" + uuid(2) +
            "\"><components>"
            "<component objectid=\"1\" p:UUID=\"" +
            uuid(2) + "\"/></components></object>",
        "<item objectid=\"2\" p:UUID=\"" + uuid(3) + "\"/>");
  }
  static ENTRIES package(const std::string& model_xml) {
    return {{"[Content_Types].xml", threemf_test::kContentTypes},
            {"_rels/.rels", threemf_test::kRelationships},
            {"3D/3dmodel.model", model_xml}};
  }
  fs::path write(const std::string& name, const ENTRIES& entries) {
    const fs::path file = dir_.path() / name;
    EXPECT_TRUE(threemf_test::write_entries(file, entries));
    return file;
  }
  static std::string repair_error(const fs::path& file) {
    try {
      repair_repeated_uuids(file.string());
    } catch (const TMF_PACKAGE_REPAIR_ERROR& e) {
      return e.what();
    }
    ADD_FAILURE() << "repaired " << file;
    return "";
  }

  stl_test::SCRATCH_DIR dir_{"tmfrepair_"};
};

TEST_F(TmfPackageRepair, RepeatsGoAndEveryEntryStaysInItsPlace) {
  std::string thumbnail = "\x89PNG\r\n\x1a\n";
  thumbnail += std::string("\0\0\0\rIHDR", 8) + std::string(300, '\x7f');
  // A second model part, named in capitals, that repeats a UUID of the first.
  const std::string other = "<model" + kDeclareP + "><resources><object id=\"7\" p:UUID=\"" +
                            uuid(1) + "\"/></resources></model>";
  ENTRIES entries = package(repeating_model());
  entries.emplace_back("Metadata/", "");
  entries.emplace_back("Metadata/thumbnail.png", thumbnail);
  entries.emplace_back("3D/Other.MODEL", other);
  const fs::path file = write("repeat.3mf", entries);

  const TMF_REPAIRED_PACKAGE repaired = repair_repeated_uuids(file.string());
  EXPECT_EQ(repaired.dropped_count, 2u);
  const ENTRIES back = read_archive(repaired.bytes);
  ASSERT_EQ(back.size(), entries.size());
  for (std::size_t i = 0; i < back.size(); ++i) EXPECT_EQ(back[i].first, entries[i].first);
  std::string model = repeating_model();
  const std::string repeat = " p:UUID=\"" + uuid(2) + "\"/></components>";
  model.replace(model.find(repeat), repeat.size(), "/></components>");
  EXPECT_EQ(back[2].second, model);
  EXPECT_EQ(back[0].second, entries[0].second);
  EXPECT_EQ(back[1].second, entries[1].second);
  EXPECT_EQ(back[4].second, thumbnail);
  EXPECT_EQ(back[5].second,
            "<model" + kDeclareP + "><resources><object id=\"7\"/></resources></model>");
}

TEST_F(TmfPackageRepair, NothingRepeatedMakesNoArchive) {
  std::string unique = repeating_model();
  const std::string repeat = "objectid=\"1\" p:UUID=\"" + uuid(2) + "\"";
  unique.replace(unique.find(repeat), repeat.size(), "objectid=\"1\" p:UUID=\"" + uuid(4) + "\"");
  const TMF_REPAIRED_PACKAGE repaired =
      repair_repeated_uuids(write("unique.3mf", package(unique)).string());
  EXPECT_EQ(repaired.dropped_count, 0u);
  EXPECT_TRUE(repaired.bytes.empty());
}

TEST_F(TmfPackageRepair, WhatIsNoZipArchiveIsAClearError) {
  EXPECT_NE(repair_error(dir_.write("text.3mf", "this is not a zip file")).find("zip archive"),
            std::string::npos);
  EXPECT_NE(repair_error(dir_.path() / "missing.3mf").find("zip archive"), std::string::npos);
  EXPECT_NE(repair_error(dir_.write("empty.3mf", "")).find("3MF package repair"),
            std::string::npos);
  EXPECT_THROW(repair_repeated_uuids(std::string("a\0b", 3)), TMF_PACKAGE_REPAIR_ERROR);
}

TEST_F(TmfPackageRepair, AnEntryStatingMoreThanTheBoundIsRefusedUnread) {
  const fs::path file = write("bomb.3mf", package(repeating_model()));
  patch_entry(file, "3D/3dmodel.model", kLocalSize, kCentralSize, 0xF0000000u);
  const std::string why = repair_error(file);
  EXPECT_NE(why.find("3D/3dmodel.model"), std::string::npos) << why;
  EXPECT_NE(why.find("more than the 1073741824 allowed"), std::string::npos) << why;
}

TEST_F(TmfPackageRepair, AnEntryYieldingMoreThanItStatesIsRefused) {
  const fs::path file = write("liar.3mf", package(repeating_model()));
  patch_entry(file, "3D/3dmodel.model", kLocalSize, kCentralSize, 100);
  EXPECT_NE(repair_error(file).find("3D/3dmodel.model"), std::string::npos);
}

TEST_F(TmfPackageRepair, AnEntryFailingItsChecksumIsRefused) {
  ENTRIES entries = package(repeating_model());
  entries.emplace_back("Metadata/thumbnail.png", std::string(500, 'x'));
  const fs::path file = write("crc.3mf", entries);
  patch_entry(file, "Metadata/thumbnail.png", kLocalCrc, kCentralCrc, 0x12345678u);
  EXPECT_NE(repair_error(file).find("Metadata/thumbnail.png"), std::string::npos);
}

}  // namespace
