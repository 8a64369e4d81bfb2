#pragma once
// The module's entry points that the host calls by name, and the
// initialisation functions of its subsystems, called in a fixed order.

#include <cstdint>

#include "host/lisp/laobj.h"

extern "C" void init_load_init();
extern "C" void load_customization();

void core_initialize(LAOBJ* package);
void tv_doc_initialize();
void config_initialize();
void resources_initialize();
void resmap_initialize();
void mfgeo_intialize();
void reverse_engineering_lisp_initialize();
void mf_data_exchange_initialize();
void mf_data_import_initialize();
void mf_data_export_initialize();
void mesh_analysis_lisp_initialize();

// How often init_load_init completed (0 until the first start-up succeeded).
std::int32_t lumesh_load_counter();

// Objects that every native function taking a progress object needs: the
// symbol PROGRESS of the host's frame2 package and the keyword :PROGRESS.
LAOBJ* progress_symbol();
LAOBJ* progress_keyword();
