// Hints, the optimize loop, the core's copy and transposition, and refused
// allocations at every request of creation, hints, optimize, copy and
// transposition.
#include "dft/fault_util.h"
#include "sparse/handle/handle_test.h"

namespace qor::test::sparse {
namespace {

using D = double;
using I4 = std::int32_t;
constexpr matrix_descriptor general{20, 0, 0};

// An analysis that stands in for the core's: counts its runs, and takes
// effect and reports as told.
struct Stub {
  static inline int runs = 0;
  static inline int effect = 1;
  static inline status result = ok;
  template <class I> static status run(sparse_matrix<I>* h, optimization_request<I>* r, optimize_scratch* s) {
    ++runs;
    EXPECT_NE(s, nullptr);
    EXPECT_NE(h, nullptr);
    r->took_effect = effect;
    return result;
  }
  // Puts the stub into every request that has not run.
  template <class I> static void take_over(sparse_matrix<I>* h) {
    for (auto* r = h->requests; r != nullptr; r = r->next_request)
      if (!r->done) r->optimize = &run<I>;
    runs = 0;
    effect = 1;
    result = ok;
  }
};

// One hint call on a fresh handle of a format: the status, and whether a
// request was recorded.
TEST(HandleHints, ValidityTable) {
  const Api<D, I4>& A = api<D, I4>();
  const Api<c64, I4>& Z = api<c64, I4>();
  SampleCsr<D, I4> s;
  using Fn = std::function<status(sparse_matrix<I4>*)>;
  const matrix_descriptor lower_sym{21, 40, 50}, tri{23, 41, 51}, full_unit_sym{21, 42, 51};
  struct Case {
    const char* what;
    u32 format;
    Fn call;
    status want;
    bool recorded;
  };
  const Case cases[] = {
      {"mv", fmt_csr, [&](auto h) { return A.set_mv_hint(h, 12, lower_sym, 1); }, ok, true},
      {"mv operation", fmt_csr, [&](auto h) { return A.set_mv_hint(h, 13, general, 1); }, invalid_value, false},
      {"mv operation", fmt_csr, [&](auto h) { return A.set_mv_hint(h, 9, general, 1); }, invalid_value, false},
      {"mv calls", fmt_csr, [&](auto h) { return A.set_mv_hint(h, 10, general, 0); }, invalid_value, false},
      {"mv on COO", fmt_coo, [&](auto h) { return A.set_mv_hint(h, 10, general, 1); }, ok, false},
      {"mv on CSC", fmt_csc, [&](auto h) { return A.set_mv_hint(h, 10, general, 1); }, ok, false},
      {"mv on BSR", fmt_bsr, [&](auto h) { return A.set_mv_hint(h, 10, general, 1); }, ok, true},
      {"mv on COO still checks", fmt_coo, [&](auto h) { return A.set_mv_hint(h, 10, general, -3); }, invalid_value,
       false},
      {"dotmv on BSR", fmt_bsr, [&](auto h) { return A.set_dotmv_hint(h, 10, general, 1); }, ok, false},
      {"dotmv", fmt_csr, [&](auto h) { return A.set_dotmv_hint(h, 11, general, 4); }, ok, true},
      {"mm", fmt_csr, [&](auto h) { return A.set_mm_hint(h, 10, general, 102, 8, 1); }, ok, true},
      {"mm layout", fmt_csr, [&](auto h) { return A.set_mm_hint(h, 10, general, 103, 8, 1); }, invalid_value, false},
      {"mm size", fmt_csr, [&](auto h) { return A.set_mm_hint(h, 10, general, 101, 0, 1); }, invalid_value, false},
      {"sv general", fmt_csr, [&](auto h) { return A.set_sv_hint(h, 10, general, 1); }, invalid_value, false},
      {"sv rectangular", fmt_csr, [&](auto h) { return A.set_sv_hint(h, 10, tri, 1); }, invalid_value, false},
      {"sm rectangular", fmt_csr, [&](auto h) { return A.set_sm_hint(h, 10, tri, 101, 2, 1); }, invalid_value, false},
      {"symgs", fmt_csr, [&](auto h) { return A.set_symgs_hint(h, 10, lower_sym, 1); }, ok, true},
      {"symgs on BSR", fmt_bsr, [&](auto h) { return A.set_symgs_hint(h, 10, lower_sym, 1); }, ok, false},
      {"lu smoother", fmt_csr, [&](auto h) { return A.set_lu_smoother_hint(h, 10, general, 1); }, ok, true},
      {"lu smoother type", fmt_csr, [&](auto h) { return A.set_lu_smoother_hint(h, 10, lower_sym, 1); },
       invalid_value, false},
      {"lu smoother transposed", fmt_csr, [&](auto h) { return A.set_lu_smoother_hint(h, 11, general, 1); }, ok,
       false},
      {"lu smoother checks first", fmt_csr, [&](auto h) { return A.set_lu_smoother_hint(h, 14, general, 1); },
       invalid_value, false},
      {"sorv", fmt_csr, [&](auto h) { return A.set_sorv_hint(110, h, full_unit_sym, 1); }, ok, true},
      {"sorv other kind", fmt_csr, [&](auto h) { return A.set_sorv_hint(112, h, full_unit_sym, 1); }, ok, false},
      {"sorv other mode", fmt_csr, [&](auto h) { return A.set_sorv_hint(110, h, lower_sym, 1); }, ok, false},
      {"sorv kind", fmt_csr, [&](auto h) { return A.set_sorv_hint(113, h, full_unit_sym, 1); }, invalid_value, false},
      {"sorv kind", fmt_csr, [&](auto h) { return A.set_sorv_hint(109, h, full_unit_sym, 1); }, invalid_value, false},
      {"memory", fmt_csr, [&](auto h) { return A.set_memory_hint(h, 79); }, invalid_value, false},
      {"memory", fmt_csr, [&](auto h) { return A.set_memory_hint(h, 82); }, invalid_value, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Handle<D, I4> h;
    ASSERT_EQ(A.create_bsr(&h.h, 0, 101, 4, 5, 1, s.a.start(), s.a.end(), s.a.indices.data(), s.a.values.data()), ok);
    h->format = c.format;  // the hints read only the format code
    EXPECT_EQ(c.call(h.h), c.want);
    EXPECT_EQ(h.requests(), c.recorded ? 1 : 0);
    h->format = fmt_csr;
  }
  // Null handles, a square solve with its payload, complex LU smoothers.
  EXPECT_EQ(A.set_mv_hint(nullptr, 10, general, 1), not_initialized);
  EXPECT_EQ(A.set_sorv_hint(110, nullptr, general, 1), not_initialized);
  EXPECT_EQ(A.set_qr_hint(nullptr, 0), not_initialized);
  std::vector<I4> rs{0, 1, 2}, ci{0, 1};
  std::vector<D> v{2, 3};
  Handle<D, I4> sq;
  ASSERT_EQ(A.create_csr(&sq.h, 0, 2, 2, rs.data(), rs.data() + 1, ci.data(), v.data()), ok);
  EXPECT_EQ(A.set_sv_hint(sq.h, 11, tri, 1), ok);
  EXPECT_EQ(A.set_sm_hint(sq.h, 10, tri, 101, 3, 1), ok);  // no CSR analysis: accepted, not recorded
  EXPECT_EQ(sq.requests(), 1);
  const optimization_request<I4>* r = sq->requests;
  EXPECT_EQ(std::tuple(r->operation, r->type, r->mode, r->diag, r->expected_calls, r->applied_list),
            std::tuple(11u, 23u, 41u, 51u, 1, &sq->sv_applied));
  void* payload = sq->primary;
  sq->primary = nullptr;
  EXPECT_EQ(A.set_sv_hint(sq.h, 10, tri, 1), internal_error);
  sq->primary = payload;
  Handle<c64, I4> z;
  std::vector<c64> zv{2.0, 3.0};
  ASSERT_EQ(Z.create_csr(&z.h, 0, 2, 2, rs.data(), rs.data() + 1, ci.data(), zv.data()), ok);
  EXPECT_EQ(Z.set_lu_smoother_hint(z.h, 99, matrix_descriptor{99, 0, 0}, -1), ok);
  EXPECT_EQ(z.requests(), 0);
  // The memory and QR hints write the handle.
  EXPECT_EQ(A.set_memory_hint(sq.h, 80), ok);
  EXPECT_EQ(sq->memory_hint, 80u);
  EXPECT_EQ(A.set_qr_hint(sq.h, 3), ok);
  ASSERT_NE(sq->qr, nullptr);
  EXPECT_EQ(sq->qr->flag, 0);
  EXPECT_EQ(A.set_qr_hint(sq.h, 0), ok);
  EXPECT_EQ(sq->qr->flag, 1);
}

// Before optimize nothing is on a kind's list, so equal hints both record
// and both run; afterwards an equal hint adds nothing and a different one
// runs alone.
TEST(HandleHints, DuplicatesAroundOptimize) {
  const Api<D, I4>& A = api<D, I4>();
  SampleCsr<D, I4> s;
  ASSERT_EQ(A.set_mv_hint(s.h.h, 10, general, 1), ok);
  ASSERT_EQ(A.set_mv_hint(s.h.h, 10, matrix_descriptor{20, 41, 51}, 9), ok);
  EXPECT_EQ(s.h.requests(), 2);
  EXPECT_EQ(s.h->mv_applied, nullptr);
  Stub::take_over(s.h.h);
  ASSERT_EQ(A.optimize(s.h.h), ok);
  EXPECT_EQ(Stub::runs, 2);
  EXPECT_EQ(s.h.applied(s.h->mv_applied), 2);
  ASSERT_EQ(A.set_mv_hint(s.h.h, 10, general, 1), ok);
  EXPECT_EQ(s.h.requests(), 2);
  ASSERT_EQ(A.set_mv_hint(s.h.h, 11, general, 1), ok);
  EXPECT_EQ(s.h.requests(), 3);
  Stub::take_over(s.h.h);
  Stub::result = execution_failed;  // not passed on, not linked, not retried
  ASSERT_EQ(A.optimize(s.h.h), ok);
  EXPECT_EQ(Stub::runs, 1);
  EXPECT_EQ(s.h.applied(s.h->mv_applied), 2);
  ASSERT_EQ(A.optimize(s.h.h), ok);
  EXPECT_EQ(Stub::runs, 1);
  for (auto* r = s.h->requests; r != nullptr; r = r->next_request) EXPECT_EQ(r->done, 1);
}

// Which descriptor fields make two requests equal depends on the type.
TEST(HandleHints, EqualityByType) {
  const Api<D, I4>& A = api<D, I4>();
  std::vector<I4> rs{0, 1, 2}, ci{0, 1};
  std::vector<D> v{2, 3};
  struct Case {
    matrix_descriptor first, second;
    bool equal;
  };
  const Case cases[] = {
      {{20, 40, 50}, {20, 41, 51}, true},  {{26, 40, 50}, {26, 41, 50}, true},  {{26, 40, 50}, {26, 40, 51}, true},
      {{24, 40, 50}, {24, 41, 50}, true},  {{24, 40, 50}, {24, 40, 51}, false}, {{25, 40, 50}, {25, 40, 51}, true},
      {{25, 40, 50}, {25, 41, 50}, false}, {{21, 40, 50}, {21, 41, 50}, false}, {{22, 40, 50}, {22, 40, 51}, false},
      {{23, 42, 51}, {23, 42, 51}, true},  {{21, 40, 50}, {22, 40, 50}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.first.type << " " << c.second.mode << " " << c.second.diag);
    Handle<D, I4> h;
    ASSERT_EQ(A.create_csr(&h.h, 0, 2, 2, rs.data(), rs.data() + 1, ci.data(), v.data()), ok);
    ASSERT_EQ(A.set_mv_hint(h.h, 10, c.first, 1), ok);
    Stub::take_over(h.h);
    ASSERT_EQ(A.optimize(h.h), ok);
    ASSERT_EQ(A.set_mv_hint(h.h, 10, c.second, 1), ok);
    EXPECT_EQ(h.requests(), c.equal ? 1 : 2);
    ASSERT_EQ(A.set_mv_hint(h.h, 11, c.first, 1), ok);  // another operation is never equal
    EXPECT_EQ(h.requests(), c.equal ? 2 : 3);
  }
}

// The private copy and the transposed payload, as the requests and the
// memory hint call for them.
TEST(HandleOptimize, CopyAndTranspositionFollowTheRequests) {
  const Api<D, I4>& A = api<D, I4>();
  struct Case {
    const char* what;
    bool gaps;
    u32 memory;
    std::vector<std::pair<i32, matrix_descriptor>> hints;
    bool copied;
    i32 transposed;  // operation of the transposed payload, 0 for none
  };
  const matrix_descriptor sym{21, 40, 50}, herm{22, 41, 50};
  const Case cases[] = {
      {"non-transposed", false, 81, {{10, general}}, true, 0},
      {"transposed, three arrays", false, 81, {{11, general}}, false, 11},
      {"transposed, four arrays", true, 81, {{11, general}}, true, 11},
      {"conjugate", false, 81, {{12, sym}, {12, general}}, false, 12},
      {"symmetric reads A", false, 81, {{11, sym}, {12, herm}}, false, 0},
      {"no memory", true, 80, {{10, general}, {11, general}}, false, 0},
      {"no requests", true, 81, {}, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    SampleCsr<D, I4> s(c.gaps);
    s.h->memory_hint = c.memory;
    for (auto [op, d] : c.hints) ASSERT_EQ(A.set_mv_hint(s.h.h, op, d, 1), ok);
    Stub::take_over(s.h.h);
    ASSERT_EQ(A.optimize(s.h.h), ok);
    EXPECT_EQ(Stub::runs, static_cast<int>(c.hints.size()));
    const bsr_x_matrix<I4>* m = s.h.payload();
    EXPECT_EQ(m->owns_arrays, c.copied);
    EXPECT_EQ(m->rows_start != s.a.start(), c.copied);
    EXPECT_EQ(picture<D>(s.h.h), sample<D>());
    ASSERT_EQ(s.h->transposed != nullptr, c.transposed != 0);
    if (c.transposed != 0) {
      EXPECT_EQ(s.h->transposed->state_word, c.transposed);
    }
  }
  // A coordinate handle gets its extras and nothing else; a handle without
  // payload is refused after the scratch is made and released.
  std::vector<I4> r{0, 1}, col{1, 0};
  Handle<D, I4> coo;
  ASSERT_EQ(A.create_coo(&coo.h, 0, 2, 2, 2, r.data(), col.data(), nullptr), ok);
  ASSERT_EQ(A.optimize(coo.h), ok);
  EXPECT_NE(static_cast<coo_matrix<I4>*>(coo->primary)->coo_extras, nullptr);
  EXPECT_EQ(coo->transposed, nullptr);
  const std::int64_t live = live_blocks();
  void* payload = coo->primary;
  coo->primary = nullptr;
  EXPECT_EQ(A.optimize(coo.h), internal_error);
  coo->primary = payload;
  EXPECT_EQ(live_blocks(), live);
  EXPECT_EQ(A.optimize(nullptr), not_initialized);
}

// The core's transposition against the transposed picture, in every type,
// compressed form and block layout; operation 12 conjugates.
template <class P> struct Transposition : ::testing::Test {};
template <class T, class I> struct Pair {
  using type = T;
  using index = I;
};
using Pairs = ::testing::Types<Pair<float, std::int32_t>, Pair<double, std::int64_t>, Pair<c32, std::int64_t>,
                               Pair<c64, std::int32_t>>;
TYPED_TEST_SUITE(Transposition, Pairs);

TYPED_TEST(Transposition, BuildsOpOfA) {
  using T = typename TypeParam::type;
  using I = typename TypeParam::index;
  const Api<T, I>& A = api<T, I>();
  for (bool gaps : {false, true})
    for (int base : {0, 1}) {
      SampleCsr<T, I> csr(gaps, base);
      auto cc = compress<T, I>(sample<T>(), sample_cols, false, base, gaps);
      Handle<T, I> csc, bsr_row, bsr_col;
      ASSERT_EQ(A.create_csc(&csc.h, base, 4, 5, cc.start(), cc.end(), cc.indices.data(), cc.values.data()), ok);
      std::vector<T> blocks(csr.a.indices.size() * 9);
      for (std::size_t k = 0; k < blocks.size(); ++k) blocks[k] = value_of<T>(k + 1, k % 4);
      ASSERT_EQ(A.create_bsr(&bsr_row.h, base, 101, 4, 5, 3, csr.a.start(), csr.a.end(), csr.a.indices.data(),
                             blocks.data()),
                ok);
      ASSERT_EQ(A.create_bsr(&bsr_col.h, base, 102, 4, 5, 3, csr.a.start(), csr.a.end(), csr.a.indices.data(),
                             blocks.data()),
                ok);
      for (Handle<T, I>* h : {&csr.h, &csc, &bsr_row, &bsr_col}) {
        SCOPED_TRACE(::testing::Message() << "format " << h->h->format << " gaps " << gaps << " base " << base);
        const Picture<T> a = picture<T>(h->h);
        for (i32 op : {11, 12}) {
          ASSERT_EQ(core_transpose(h->h, op), ok);
          const bsr_x_matrix<I>* t = h->h->transposed;
          ASSERT_NE(t, nullptr);
          EXPECT_EQ(t->state_word, op);
          EXPECT_EQ(t->owns_arrays, 1);
          EXPECT_EQ(t->rows_end, t->rows_start + 1);
          EXPECT_NE(t->optimal, nullptr);
          Picture<T> want;
          for (const auto& [rc, v] : a) want[{rc.second, rc.first}] = op == 12 ? value_of<T>(std::real(v), -std::imag(v)) : v;
          // The transposed payload is row-compressed whatever the source.
          EXPECT_EQ(picture<T>(h->h, true), want);
          // The same operation keeps its payload.
          ASSERT_EQ(core_transpose(h->h, op), ok);
          EXPECT_EQ(h->h->transposed, t);
        }
      }
      EXPECT_EQ(core_transpose(csr.h.h, 10), invalid_value);
      EXPECT_EQ(core_transpose(static_cast<sparse_matrix<I>*>(nullptr), 11), not_initialized);
    }
}

// The core's copy keeps the form and contents; refused, it keeps the
// caller's arrays and withdraws extra memory.
TYPED_TEST(Transposition, CoreCopy) {
  using T = typename TypeParam::type;
  using I = typename TypeParam::index;
  for (bool gaps : {false, true}) {
    SampleCsr<T, I> s(gaps, 1);
    qor_fault_fail_next(QOR_POOL_MALLOC, 1);
    EXPECT_EQ(core_copy(s.h.h), alloc_failed);
    qor_fault_reset();
    EXPECT_EQ(s.h->memory_hint, 80u);
    EXPECT_EQ(s.h.payload()->rows_start, s.a.start());
    EXPECT_EQ(s.h.payload()->owns_arrays, 0);
    ASSERT_EQ(core_copy(s.h.h), ok);
    EXPECT_EQ(s.h.payload()->owns_arrays, 1);
    EXPECT_NE(s.h.payload()->values, s.a.values.data());
    EXPECT_EQ(s.h.payload()->three_array, s.h.payload()->rows_end == s.h.payload()->rows_start + 1);
    EXPECT_EQ(picture<T>(s.h.h), sample<T>());
  }
}

// Refused allocations, at each request in turn until none is refused:
// status 2 or the stated fallback, outputs untouched, nothing leaked.
TEST(HandleFaults, Creation) {
  const Api<c64, std::int64_t>& A = api<c64, std::int64_t>();
  auto a = compress<c64, std::int64_t>(sample<c64>(), sample_rows, true, 0, false);
  std::vector<std::int64_t> r{0, 3}, c{2, 0};
  using H = sparse_matrix<std::int64_t>;
  const std::function<status(H**)> creators[] = {
      [&](H** h) { return A.create_csr(h, 0, 4, 5, a.start(), a.end(), a.indices.data(), a.values.data()); },
      [&](H** h) { return A.create_csc(h, 0, 5, 4, a.start(), a.end(), a.indices.data(), a.values.data()); },
      [&](H** h) { return A.create_bsr(h, 0, 102, 4, 5, 2, a.start(), a.end(), a.indices.data(), a.values.data()); },
      [&](H** h) { return A.create_coo(h, 0, 4, 5, 2, r.data(), c.data(), nullptr); },
  };
  for (const auto& create : creators) {
    const int refused = dft::fail_each_request([&](std::int64_t) {
      H* h = nullptr;
      const status st = create(&h);
      if (st != ok) {
        EXPECT_EQ(st, alloc_failed);
        // A handle already made stays in the output, without payload.
        if (h != nullptr) {
          EXPECT_EQ(h->primary, nullptr);
        }
      } else {
        EXPECT_NE(h->primary, nullptr);
      }
      if (h != nullptr) A.destroy(h);
    });
    EXPECT_GE(refused, 2);
  }
}

TEST(HandleFaults, HintsCopyAndTransposition) {
  const Api<D, I4>& A = api<D, I4>();
  SampleCsr<D, I4> s(true);
  EXPECT_EQ(dft::fail_each_request([&](std::int64_t) {
              const status st = A.set_mv_hint(s.h.h, 10, general, 1);
              EXPECT_EQ(st == ok, s.h.requests() == 1);
              if (st != ok) {
                EXPECT_EQ(st, alloc_failed);
              }
              for (auto* r = s.h->requests; r != nullptr;) {
                auto* next = r->next_request;
                qor_serv_free(r);
                r = next;
              }
              s.h->requests = nullptr;
            }),
            1);
  EXPECT_EQ(dft::fail_each_request([&](std::int64_t k) {
              Handle<D, I4> h;
              qor_fault_reset();
              ASSERT_EQ(A.create_csr(&h.h, 0, 4, 5, s.a.start(), s.a.end(), s.a.indices.data(), s.a.values.data()), ok);
              dft::refuse_from(k);
              const status st = A.set_qr_hint(h.h, 0);
              qor_fault_reset();
              EXPECT_EQ(st == ok, h->qr != nullptr);
              if (st != ok) {
                EXPECT_EQ(st, alloc_failed);
              }
            }),
            1);
  // Copy: the output is written only on success.
  dft::fail_each_request([&](std::int64_t) {
    sparse_matrix<I4>* out = nullptr;
    const status st = A.copy(s.h.h, general, &out);
    if (st != ok) {
      EXPECT_EQ(st, alloc_failed);
      EXPECT_EQ(out, nullptr);
      return;
    }
    EXPECT_EQ(picture<D>(out), sample<D>());
    A.destroy(out);
  });
  // Transposition: refused, the payload of the other operation stays.
  const int refused = dft::fail_each_request([&](std::int64_t k) {
    Handle<D, I4> h;
    qor_fault_reset();
    ASSERT_EQ(A.create_csr(&h.h, 0, 4, 5, s.a.start(), s.a.end(), s.a.indices.data(), s.a.values.data()), ok);
    ASSERT_EQ(core_transpose(h.h, 11), ok);
    bsr_x_matrix<I4>* before = h->transposed;
    dft::refuse_from(k);
    const status st = core_transpose(h.h, 12);
    qor_fault_reset();
    EXPECT_EQ(st == ok, h->transposed != before);
    if (st != ok) {
      EXPECT_EQ(st, alloc_failed);
    }
  });
  EXPECT_GE(refused, 4);
}

// optimize: refused scratch or hub gives 2; a refused copy withdraws extra
// memory and skips the transposition; a refused transposition leaves the
// plain payload. Every run ends with its requests done or not started.
TEST(HandleFaults, Optimize) {
  const Api<D, I4>& A = api<D, I4>();
  for (bool coo : {false, true}) {
    SampleCsr<D, I4> src(true);
    std::vector<I4> r{0, 1}, c{1, 0};
    const int refused = dft::fail_each_request([&](std::int64_t k) {
      Handle<D, I4> h;
      qor_fault_reset();
      if (coo) {
        ASSERT_EQ(A.create_coo(&h.h, 0, 2, 2, 2, r.data(), c.data(), nullptr), ok);
      } else {
        ASSERT_EQ(A.create_csr(&h.h, 0, 4, 5, src.a.start(), src.a.end(), src.a.indices.data(),
                               src.a.values.data()),
                  ok);
      }
      ASSERT_EQ(A.set_mv_hint(h.h, 10, general, 1), ok);
      ASSERT_EQ(A.set_mv_hint(h.h, 11, general, 1), ok);
      Stub::take_over(h.h);
      dft::refuse_from(k);
      const status st = A.optimize(h.h);
      qor_fault_reset();
      if (st != ok) {
        EXPECT_EQ(st, alloc_failed);
        EXPECT_EQ(Stub::runs, 0);
        return;
      }
      EXPECT_EQ(Stub::runs, coo ? 0 : 2);
      if (coo) return;
      const bsr_x_matrix<I4>* m = h.payload();
      EXPECT_EQ(m->owns_arrays == 1, h->memory_hint == 81);
      if (h->memory_hint == 80) {
        EXPECT_EQ(h->transposed, nullptr);
      }
      EXPECT_EQ(picture<D>(h.h), sample<D>());
    });
    EXPECT_GE(refused, coo ? 3 : 8);
  }
}

}  // namespace
}  // namespace qor::test::sparse
