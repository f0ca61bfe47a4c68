// Helpers of the node tests: the kernel library's node entries bound by
// name, nodes that free themselves, fake backends that record their calls,
// and a guard that fills threading slots for one test.
#pragma once
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "common/testing.h"
#include "dft/node/api.h"
#include "dft/node/backend.h"
#include "frame/services.h"

namespace qor::test::node {

// The entries of the loaded kernel library, looked up once by name.
#define QOR_NODE_ENTRIES(X)                                                                                 \
  X(mem_methods_init, qor_dft_def_dfxi_mem_methods_init) X(create_node, qor_dft_def_dfxi_create_node)      \
  X(create_dc1d, qor_dft_def_dfxi_create_dc1d) X(create_sc1d, qor_dft_def_dfxi_create_sc1d)                \
  X(set_bkdlist_dc1d, qor_dft_def_dfxi_set_bkdlist_dc1d) X(set_bkdlist_sc1d, qor_dft_def_dfxi_set_bkdlist_sc1d) \
  X(get_size_dc1d, qor_dft_def_dfxi_get_size_dc1d) X(get_size_sc1d, qor_dft_def_dfxi_get_size_sc1d)        \
  X(get_size_dcsp1d, qor_dft_def_dfxi_get_size_dcsp1d) X(get_size_scsp1d, qor_dft_def_dfxi_get_size_scsp1d) \
  X(init_dc1d, qor_dft_def_dfxi_init_dc1d) X(init_sc1d, qor_dft_def_dfxi_init_sc1d)                        \
  X(init_dcsp1d, qor_dft_def_dfxi_init_dcsp1d) X(init_scsp1d, qor_dft_def_dfxi_init_scsp1d)                \
  X(can_scale, qor_dft_def_zup_can_scale) X(version_string, qor_dft_def_dfxi_get_version_string)           \
  X(verbose, qor_dft_def_dfxi_verbose) X(malloc, dfxi_malloc) X(calloc, dfxi_calloc)                       \
  X(allocate, dfxi_allocate) X(free, dfxi_free) X(deallocate, dfxi_deallocate)

// Functions are bound as pointers to functions; the memory-method slots
// as pointers to the slot variables.
struct Api {
#define QOR_NODE_FIELD(field, name) decltype(&name) field;
  QOR_NODE_ENTRIES(QOR_NODE_FIELD)
#undef QOR_NODE_FIELD
};

inline const Api& api() {
  static const Api a = [] {
    Api r{};
    void* h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
#define QOR_NODE_BIND(field, name) \
  r.field = h != nullptr ? reinterpret_cast<decltype(&name)>(dlsym(h, #name)) : nullptr;
    QOR_NODE_ENTRIES(QOR_NODE_BIND)
#undef QOR_NODE_BIND
    return r;
  }();
  return a;
}

// A heap node that destroys itself.
class Node {
 public:
  Node() = default;
  explicit Node(dfxi_node* p) : p_(p) {}
  ~Node() { reset(); }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  void reset(dfxi_node* p = nullptr) {
    if (p_ != nullptr) p_->methods->destroy(p_);
    p_ = p;
  }
  dfxi_node* get() const { return p_; }
  dfxi_node* operator->() const { return p_; }
  const dfxi_methods& m() const { return *p_->methods; }

 private:
  dfxi_node* p_ = nullptr;
};

inline dfxi_node* make_dc1d(std::int64_t length) {
  dfxi_node* p = nullptr;
  EXPECT_EQ(api().create_dc1d(&p, length, nullptr), 0u);
  return p;
}

inline dfxi_node* make(std::int32_t precision, std::int32_t domain, std::vector<std::int64_t> lengths) {
  dfxi_node* p = nullptr;
  EXPECT_EQ(api().create_node(&p, precision, domain, static_cast<std::int64_t>(lengths.size()), lengths.data(),
                              nullptr),
            0u);
  return p;
}

// Calls one of the node's array setters with the given words; it must
// accept them.
inline void set(const Node& n, std::uint32_t (*method)(dfxi_node*, const std::int64_t*), std::vector<std::int64_t> v) {
  ASSERT_EQ(method(n.get(), v.data()), 0u);
}

// A fake backend: declines, takes the node, or fails with a chosen status,
// and counts its calls. It takes a node the way a real backend does: it
// lets a previous owner go, then stores itself, the entries and the status.
struct Fake {
  dfxi_backend obj;  // first, so that the object's address is the fake's
  std::uint32_t answer;
  int commits = 0, detaches = 0;
  explicit Fake(std::uint32_t a) : obj{&commit, &detach, nullptr}, answer(a) {}

  static std::uint32_t compute(dfxi_node*, void*, void*, void*, void*) { return 0; }
  static std::uint32_t commit(const dfxi_backend* self, dfxi_node* node) {
    auto* f = reinterpret_cast<Fake*>(const_cast<dfxi_backend*>(self));
    ++f->commits;
    if (f->answer != 0) return f->answer;
    if (node->bkd != nullptr && (node->bkd != self || node->bkd_data != nullptr)) node->uncommit(node);
    node->bkd = self;
    node->compute_forward = compute;
    node->compute_backward = compute;
    node->commit_status = 30;
    node->nbuffers = node->placement == 43 ? 1 : 2;
    return 0;
  }
  static std::uint32_t detach(const dfxi_backend* self, dfxi_node* node, int) {
    auto* f = reinterpret_cast<Fake*>(const_cast<dfxi_backend*>(self));
    ++f->detaches;
    if (node->bkd != self) return 7;
    node->compute_forward = nullptr;
    node->compute_backward = nullptr;
    node->commit_status = 31;
    return 0;
  }
};

// A null-terminated list of fakes, kept alive by the test.
struct FakeList {
  std::vector<const dfxi_backend*> list;
  explicit FakeList(std::initializer_list<Fake*> fakes) {
    for (Fake* f : fakes) list.push_back(&f->obj);
    list.push_back(nullptr);
  }
  const dfxi_backend* const* get() const { return list.data(); }
};

// Fills threading slots for the life of the guard and restores them after.
class Slots {
 public:
  explicit Slots(dfxi_threading* table) : table_(table), saved_(*table) {}
  ~Slots() { *table_ = saved_; }
  dfxi_threading* operator->() const { return table_; }

 private:
  dfxi_threading* table_;
  dfxi_threading saved_;
};

}  // namespace qor::test::node
