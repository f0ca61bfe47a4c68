// Pieces of the node shared by its files; nothing here is exported.
#pragma once
#include "dft/node/backend.h"
#include "dft/node/node.h"

namespace qor::dfxi {

// ---- Io-tensors ----
status iotensor_create(Iotensor* t, std::int32_t count, dfxi_arena* arena);
void iotensor_destroy(Iotensor* t);
status iotensor_copy(Iotensor* dst, const Iotensor* src, bool mirror, dfxi_arena* arena);
bool iotensor_is_inplace(const Iotensor* t);
void iotensor_sort(Iotensor* t);
void iotensor_remove1(Iotensor* t);
void iotensor_compress(Iotensor* t);
status iotensor_join(Iotensor* dst, const Iotensor* a, const Iotensor* b, dfxi_arena* arena);

// ---- Arena ----
// The first cell of an arena, or null for heap mode.
inline dfxi_cell* first_cell(const dfxi_arena* arena) { return arena != nullptr ? arena->cells[0] : nullptr; }
inline bool arena_mode(const dfxi_arena* arena) { return arena != nullptr && arena->mode == kArenaCaller; }

// ---- Node life ----
extern const dfxi_methods static_methods;
status static_dfxi_commit(dfxi_node* node);
status static_dt_commit(dfxi_node* node);
status static_uncommit(dfxi_node* node);
status static_destroy(dfxi_node* node);
status copy_node(const dfxi_node* node, dfxi_node** out);
status static_planner(dfxi_node* node);
void bless_node_core(dfxi_node* node);

// ---- Threading slots ----
// The table the core's threading layer fills; an empty slot answers as a
// single thread outside any parallel region would.
extern dfxi_threading static_qorapi_entries;
int max_threads(const dfxi_node* node);
int in_parallel(const dfxi_node* node);
std::int64_t plan_mode(const dfxi_node* node);

// True when the arena family of memory methods is the one installed.
bool arena_family();

}  // namespace qor::dfxi

// The core's threading layer (qor_dft_bless_node_thr fills the node's
// threading table) is declared with the core's other threaded entries.
