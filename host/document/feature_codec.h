#pragma once
// The binary form of a feature in a model file: its options, name and
// memory. Values are tagged (nil, t, integer, real, string, symbol, list);
// lists nest at most kMaxFeatureNesting deep, the limit a feature's memory
// has in the session, so a damaged blob cannot drive the decoder into deep
// recursion. A blob that does not decode throws BLOB_ERROR.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/model/universal_feature.h"

constexpr int kMaxFeatureNesting = 64;

struct FEATURE_RECORD {
  FEATURE_OPTIONS options;
  std::string name;
  FEATURE_MEMORY memory;
};

std::string encode_feature(const FEATURE_RECORD& f);
FEATURE_RECORD decode_feature(std::string_view blob);

// A feature's references as saved: each item's sysid and the sysids of the
// instances of its path, top first.
struct FEATURE_REFERENCE_RECORD {
  std::uint64_t item = 0;
  std::vector<std::uint64_t> path;
  bool operator==(const FEATURE_REFERENCE_RECORD&) const = default;
};

std::string encode_feature_references(const std::vector<FEATURE_REFERENCE_RECORD>& refs);
std::vector<FEATURE_REFERENCE_RECORD> decode_feature_references(std::string_view blob);
