#pragma once
// Model objects made again from a model file, with the sysids they were saved
// with where the entity registry can give them back (ENTITY_REGISTRY::reserve
// must have kept them; otherwise they get fresh ones). Otherwise like
// create_npart3 and create_instance (model_tree.h): outside any tree, the
// identity tm, names with '/' replaced and an empty name made a system name.

#include <cstdint>
#include <memory>
#include <string>

#include "host/model/nparcel.h"

// An instance of new contents of `kind`; the contents ask for
// `contents_sysid`, the instance for `instance_sysid`.
NPARCEL* restore_parcel(PARCEL_KIND kind, const std::string& name, std::uint64_t contents_sysid,
                        std::uint64_t instance_sysid);
// Another instance of the contents of `of` (not the root), asking for `sysid`.
NPARCEL* restore_instance(NPARCEL* of, const std::string& name, std::uint64_t sysid);

struct PART_GRAPHICS;
// Makes the part of `part` (new, without a body) a graphics-only part that
// draws `graphics` (not null); its colour and transparency stay the part's.
void restore_part_graphics(NPARCEL* part, std::shared_ptr<const PART_GRAPHICS> graphics);
