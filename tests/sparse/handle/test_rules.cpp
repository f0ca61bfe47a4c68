// The handle's rules as tables of (call, arguments, status, state after):
// the descriptor rule, creation, export, copy, single and full value
// updates, the walk for display, and destruction of every kind of handle.
#include "sparse/handle/handle_test.h"

namespace qor::test::sparse {
namespace {

template <class P> struct HandleRules : ::testing::Test {};
template <class T, class I> struct Pair {
  using type = T;
  using index = I;
};
using Pairs = ::testing::Types<Pair<float, std::int32_t>, Pair<double, std::int64_t>, Pair<c32, std::int32_t>,
                               Pair<c64, std::int64_t>, Pair<double, std::int32_t>, Pair<c64, std::int32_t>>;
TYPED_TEST_SUITE(HandleRules, Pairs);

#define QOR_TEST_TYPES             \
  using T = typename TypeParam::type;  \
  using I = typename TypeParam::index; \
  const Api<T, I>& A = api<T, I>()

// The descriptor rule, from its statement: types up to 26; symmetric,
// Hermitian, triangular and block triangular need a mode and a diagonal,
// diagonal and block diagonal a diagonal; any other type must be general.
bool rule(int type, int mode, int diag) {
  const bool mode_ok = mode >= 40 && mode <= 42, diag_ok = diag == 50 || diag == 51;
  if (type == 21 || type == 22 || type == 23 || type == 25) return mode_ok && diag_ok;
  if (type == 24 || type == 26) return diag_ok;
  return type == 20;
}

TEST(HandleDescriptor, EveryEntryAppliesOneRule) {
  const Api<double, std::int32_t>& A = api<double, std::int32_t>();
  SampleCsr<double, std::int32_t> s;
  for (int type = 0; type <= 130; ++type)
    for (int mode = 38; mode <= 44; ++mode)
      for (int diag = 48; diag <= 53; ++diag) {
        const matrix_descriptor d{type, mode, diag};
        const status want = rule(type, mode, diag) ? ok : invalid_value;
        SCOPED_TRACE(::testing::Message() << type << " " << mode << " " << diag);
        Handle<double, std::int32_t> c, dc;
        ASSERT_EQ(A.copy(s.h.h, d, &c.h), want);
        EXPECT_EQ(c.h != nullptr, want == ok);
        ASSERT_EQ(A.do_copy(s.h.h, d, &dc.h), want);
        EXPECT_EQ(A.set_mv_hint(s.h.h, 10, d, 1), want);
        EXPECT_EQ(A.set_mm_hint(s.h.h, 11, d, 101, 4, 1), want);
        EXPECT_EQ(A.set_sorv_hint(110, s.h.h, d, 1), want);
      }
}

TYPED_TEST(HandleRules, CreateCompressed) {
  QOR_TEST_TYPES;
  auto a = compress<T, I>(sample<T>(), sample_rows, true, 1, false);
  auto g = compress<T, I>(sample<T>(), sample_rows, true, 0, true);
  I* rs = a.start();
  I* re = a.end();
  I* ci = a.indices.data();
  T* v = a.values.data();
  I* grs = g.start();
  I* gre = g.end();
  struct Case {
    const char* what;
    status want;
    i32 base, layout;
    I rows, cols, hint, block;
    I *rs, *re, *ci;
    T* v;
    i32 empty;
    I nnz;
    u32 format;
  };
  const Case cases[] = {
      {"three arrays", ok, 1, 101, 4, 5, -1, 1, rs, re, ci, v, 0, 6, fmt_csr},
      {"four arrays: row lengths", ok, 0, 101, 4, 5, -1, 1, grs, gre, g.indices.data(), g.values.data(), 0, 6, fmt_csr},
      {"hint stands", ok, 1, 101, 4, 5, 17, 1, rs, re, ci, v, 0, 17, fmt_csr},
      {"pattern only", ok, 1, 101, 4, 5, -1, 1, rs, re, ci, nullptr, 0, 6, fmt_csr},
      {"no columns counts 0", ok, 1, 101, 4, 5, -1, 1, rs, re, nullptr, nullptr, 0, 0, fmt_csr},
      {"blocks of 2", ok, 1, 102, 4, 5, -1, 2, rs, re, ci, v, 0, 6, fmt_bsr},
      {"empty allowed", ok, 0, 101, 0, 0, -5, 3, nullptr, nullptr, nullptr, nullptr, 1, -1, fmt_bsr},
      {"empty with hint", ok, 0, 102, 0, 0, 4, 1, nullptr, nullptr, nullptr, nullptr, 1, 4, fmt_csr},
      {"empty needs null arrays", invalid_value, 0, 101, 0, 0, -1, 1, rs, nullptr, nullptr, nullptr, 1, 0, 0},
      {"empty block size", invalid_value, 0, 101, 0, 0, -1, -1, nullptr, nullptr, nullptr, nullptr, 1, 0, 0},
      {"empty not allowed", invalid_value, 0, 101, 0, 0, -1, 1, nullptr, nullptr, nullptr, nullptr, 0, 0, 0},
      {"layout", invalid_value, 0, 100, 4, 5, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"layout", invalid_value, 0, 103, 4, 5, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"base", invalid_value, 2, 101, 4, 5, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"base", invalid_value, -1, 101, 4, 5, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"rows", invalid_value, 1, 101, 0, 5, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"cols", invalid_value, 1, 101, 4, -1, -1, 1, rs, re, ci, v, 0, 0, 0},
      {"block", invalid_value, 1, 101, 4, 5, -1, 0, rs, re, ci, v, 0, 0, 0},
      {"starts", not_initialized, 1, 101, 4, 5, -1, 1, nullptr, re, ci, v, 0, 0, 0},
      {"ends", not_initialized, 1, 101, 4, 5, -1, 1, rs, nullptr, ci, v, 0, 0, 0},
      {"values without columns", not_initialized, 1, 101, 4, 5, -1, 1, rs, re, nullptr, v, 0, 0, 0},
      {"four arrays, nothing stored", not_initialized, 0, 101, 4, 5, -1, 1, grs, gre, nullptr, nullptr, 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Handle<T, I> h;
    ASSERT_EQ(A.create_bsr_internal(&h.h, c.base, c.layout, c.rows, c.cols, c.hint, c.block, c.rs, c.re, c.ci, c.v,
                                    c.empty),
              c.want);
    if (c.want != ok) {
      EXPECT_EQ(h.h, nullptr);
      continue;
    }
    const bsr_x_matrix<I>* m = h.payload();
    EXPECT_EQ(h->format, c.format);
    EXPECT_EQ(h->data_type, type_code<T>);
    EXPECT_EQ(h->memory_hint, 81u);
    EXPECT_EQ(h->reserved_word, 0u);
    EXPECT_EQ(h->requests, nullptr);
    EXPECT_EQ(m->nnz, c.nnz);
    EXPECT_EQ(m->index_base, c.base);
    EXPECT_EQ(m->block_col_major, c.layout == 102 && c.block != 1);
    EXPECT_EQ(m->three_array, c.rs != nullptr && c.re == c.rs + 1);
    EXPECT_EQ(m->owns_arrays, 0);
    EXPECT_EQ(m->copy_if_needed, 1);
    // Adopted, not copied.
    EXPECT_EQ(m->rows_start, c.rs);
    EXPECT_EQ(m->rows_end, c.re);
    EXPECT_EQ(m->col_indx, c.ci);
    EXPECT_EQ(m->values, c.v);
    EXPECT_NE(m->diagonal, nullptr);
    EXPECT_NE(m->optimal, nullptr);
  }
  // The public forms: BSR of block size 1 is CSR; CSC exchanges the
  // dimensions and keeps the user's order in handle and payload.
  Handle<T, I> b, csc, bad;
  ASSERT_EQ(A.create_bsr(&b.h, 1, 102, 4, 5, 1, rs, re, ci, v), ok);
  EXPECT_EQ(b->format, fmt_csr);
  EXPECT_EQ(b.payload()->block_col_major, 0);
  auto cc = compress<T, I>(sample<T>(), sample_cols, false, 0, false);
  ASSERT_EQ(A.create_csc(&csc.h, 0, sample_rows, sample_cols, cc.start(), cc.end(), cc.indices.data(), cc.values.data()),
            ok);
  EXPECT_EQ(csc->format, fmt_csc);
  EXPECT_EQ(std::pair(csc->rows, csc->cols), std::pair(I{sample_rows}, I{sample_cols}));
  EXPECT_EQ(std::pair(csc.payload()->rows, csc.payload()->cols), std::pair(I{sample_rows}, I{sample_cols}));
  EXPECT_EQ(csc.payload()->nnz, 6);
  EXPECT_EQ(picture<T>(csc.h), sample<T>());
  EXPECT_EQ(A.create_csr(nullptr, 0, 4, 5, rs, re, ci, v), not_initialized);
  EXPECT_EQ(A.create_csc(nullptr, 0, 4, 5, rs, re, ci, v), not_initialized);
  EXPECT_EQ(A.create_csr_internal(&bad.h, 0, 0, 0, -1, nullptr, nullptr, nullptr, nullptr, 0), invalid_value);
  EXPECT_EQ(bad.h, nullptr);
}

TYPED_TEST(HandleRules, CreateCoordinate) {
  QOR_TEST_TYPES;
  std::vector<I> r{0, 3, 1}, c{2, 0, 4};
  std::vector<T> v(3, value_of<T>(2));
  struct Case {
    status want;
    i32 base;
    I rows, cols, nnz;
    I *r, *c;
    T* v;
    i32 empty;
  };
  const Case cases[] = {
      {ok, 0, 4, 5, 3, r.data(), c.data(), v.data(), 0},     {ok, 1, 4, 5, 3, r.data(), c.data(), nullptr, 0},
      {ok, 0, 0, 0, 0, nullptr, nullptr, nullptr, 1},         {ok, 0, 3, 2, 0, nullptr, nullptr, nullptr, 1},
      {invalid_value, 0, 4, 5, 0, r.data(), c.data(), v.data(), 0},
      {invalid_value, 2, 4, 5, 3, r.data(), c.data(), v.data(), 0},
      {invalid_value, 0, 0, 5, 3, r.data(), c.data(), v.data(), 0},
      {invalid_value, 0, 4, 0, 3, r.data(), c.data(), v.data(), 0},
      {invalid_value, 0, -1, 5, 0, nullptr, nullptr, nullptr, 1},
      {not_initialized, 0, 4, 5, 3, nullptr, c.data(), v.data(), 0},
      {not_initialized, 0, 4, 5, 3, r.data(), nullptr, v.data(), 0},
  };
  for (const Case& k : cases) {
    Handle<T, I> h;
    ASSERT_EQ(A.create_coo_internal(&h.h, k.base, k.rows, k.cols, k.nnz, k.r, k.c, k.v, k.empty), k.want);
    if (k.want != ok) {
      EXPECT_EQ(h.h, nullptr);
      continue;
    }
    auto* m = static_cast<const coo_matrix<I>*>(h->primary);
    EXPECT_EQ(h->format, fmt_coo);
    EXPECT_EQ(h->memory_hint, 81u);
    EXPECT_EQ(m->nnz, k.nnz);
    EXPECT_EQ(m->flag, 1);
    EXPECT_EQ(m->owns_arrays, 0);
    EXPECT_EQ(m->row_indx, k.r);
    EXPECT_EQ(m->values, k.v);
  }
  EXPECT_EQ(A.create_coo(nullptr, 0, 4, 5, 3, r.data(), c.data(), v.data()), not_initialized);
  Handle<T, I> empty;
  EXPECT_EQ(A.create_coo(&empty.h, 0, 4, 5, 0, r.data(), c.data(), v.data()), invalid_value);
}

TYPED_TEST(HandleRules, ExportGivesTheHandlesOwnArrays) {
  QOR_TEST_TYPES;
  SampleCsr<T, I> s(false, 1);
  i32 base = -7, layout = -7;
  I rows = -7, cols = -7, block = -7, nnz = -7;
  I *rs = nullptr, *re = nullptr, *ci = nullptr;
  T* v = nullptr;
  ASSERT_EQ(A.export_csr(s.h.h, &base, &rows, &cols, &rs, &re, &ci, &v), ok);
  EXPECT_EQ(std::tuple(base, rows, cols, rs, re, ci, v),
            std::tuple(1, I{4}, I{5}, s.a.start(), s.a.end(), s.a.indices.data(), s.a.values.data()));
  ASSERT_EQ(A.export_bsr(s.h.h, &base, &layout, &rows, &cols, &block, &rs, &re, &ci, &v), ok);
  EXPECT_EQ(std::tuple(layout, block), std::tuple(101, I{1}));
  // Wrong format 3, null output 1; nothing written on either path.
  rows = -7;
  EXPECT_EQ(A.export_coo(s.h.h, &base, &rows, &cols, &nnz, &rs, &ci, &v), invalid_value);
  EXPECT_EQ(A.export_csc(s.h.h, &base, &rows, &cols, &rs, &re, &ci, &v), invalid_value);
  EXPECT_EQ(A.export_csr(s.h.h, &base, nullptr, &cols, &rs, &re, &ci, &v), not_initialized);
  EXPECT_EQ(A.export_bsr(s.h.h, &base, &layout, &rows, &cols, &block, &rs, &re, &ci, nullptr), not_initialized);
  EXPECT_EQ(A.export_csr(nullptr, &base, &rows, &cols, &rs, &re, &ci, &v), not_initialized);
  EXPECT_EQ(rows, -7);

  Handle<T, I> b;
  ASSERT_EQ(A.create_bsr(&b.h, 0, 102, 4, 5, 3, s.a.start(), s.a.end(), s.a.indices.data(), s.a.values.data()), ok);
  ASSERT_EQ(A.export_bsr(b.h, &base, &layout, &rows, &cols, &block, &rs, &re, &ci, &v), ok);
  EXPECT_EQ(std::tuple(base, layout, rows, cols, block), std::tuple(0, 102, I{4}, I{5}, I{3}));
  EXPECT_EQ(A.export_csr(b.h, &base, &rows, &cols, &rs, &re, &ci, &v), invalid_value);

  std::vector<I> r{0, 3}, c{2, 0};
  Handle<T, I> coo;
  ASSERT_EQ(A.create_coo(&coo.h, 0, 4, 5, 2, r.data(), c.data(), nullptr), ok);
  ASSERT_EQ(A.export_coo(coo.h, &base, &rows, &cols, &nnz, &rs, &ci, &v), ok);
  EXPECT_EQ(std::tuple(nnz, rs, ci, v), std::tuple(I{2}, r.data(), c.data(), nullptr));
}

// set_value never inserts, addresses in the matrix's base, and finds the
// element by each format's layout (both block layouts included).
TYPED_TEST(HandleRules, SetValueOverwritesOnlyStoredElements) {
  QOR_TEST_TYPES;
  const T x = value_of<T>(42, 7);
  for (int base : {0, 1}) {
    SampleCsr<T, I> csr(true, base);
    auto cc = compress<T, I>(sample<T>(), sample_cols, false, base, false);
    Handle<T, I> csc;
    ASSERT_EQ(A.create_csc(&csc.h, base, 4, 5, cc.start(), cc.end(), cc.indices.data(), cc.values.data()), ok);
    std::vector<I> r, c;
    std::vector<T> v;
    for (const auto& [rc, val] : sample<T>()) {
      r.push_back(static_cast<I>(rc.first + base));
      c.push_back(static_cast<I>(rc.second + base));
      v.push_back(val);
    }
    Handle<T, I> coo;
    ASSERT_EQ(A.create_coo(&coo.h, base, 4, 5, 6, r.data(), c.data(), v.data()), ok);
    for (Handle<T, I>* h : {&csr.h, &csc, &coo}) {
      Picture<T> want = sample<T>();
      for (auto [row, col] : {std::pair{3, 2}, std::pair{0, 0}, std::pair{3, 4}}) {
        ASSERT_EQ(A.set_value(h->h, row + base, col + base, x), ok);
        want[{row, col}] = x;
      }
      const std::pair<int, int> refused[] = {{2, 2}, {1, 0}, {4, 0}, {0, 5}, {-1 - base, 0}};
      for (auto [row, col] : refused) EXPECT_EQ(A.set_value(h->h, row + base, col + base, x), invalid_value);
      EXPECT_EQ(picture<T>(h->h), want);
    }
  }
  // Blocks of 2 over a 2 x 3 block pattern, in both layouts.
  std::vector<I> rs{0, 2, 3}, ci{0, 2, 1};
  for (i32 layout : {101, 102}) {
    std::vector<T> v(12);
    for (int k = 0; k < 12; ++k) v[k] = value_of<T>(k + 1);
    Handle<T, I> b;
    ASSERT_EQ(A.create_bsr(&b.h, 0, layout, 2, 3, 2, rs.data(), rs.data() + 1, ci.data(), v.data()), ok);
    Picture<T> want = picture<T>(b.h);
    ASSERT_EQ(want.size(), 12u);
    ASSERT_EQ(A.set_value(b.h, 1, 4, x), ok);  // block (0, 2), element (1, 0)
    ASSERT_EQ(A.set_value(b.h, 2, 3, x), ok);  // block (1, 1), element (0, 1)
    want[{1, 4}] = want[{2, 3}] = x;
    EXPECT_EQ(picture<T>(b.h), want);
    EXPECT_EQ(A.set_value(b.h, 2, 0, x), invalid_value);  // block (1, 0) is not stored
    EXPECT_EQ(A.set_value(b.h, 4, 0, x), invalid_value);
  }
  SampleCsr<T, I> pattern;
  static_cast<bsr_x_matrix<I>*>(pattern.h->primary)->values = nullptr;
  EXPECT_EQ(A.set_value(pattern.h.h, 0, 0, x), internal_error);
  EXPECT_EQ(A.set_value(nullptr, 0, 0, x), not_initialized);
}

// update_values: all values or none; derived payloads go even when a later
// step refuses; analyses go, the product records stay marked stale.
TYPED_TEST(HandleRules, UpdateValues) {
  QOR_TEST_TYPES;
  const std::int64_t start = live_blocks();
  {
    SampleCsr<T, I> s;
    std::vector<T> fresh(6, value_of<T>(9, 1)), wrong(5);
    std::vector<I> idx(6);
    EXPECT_EQ(A.update_values(s.h.h, 6, idx.data(), nullptr, fresh.data()), not_supported);
    EXPECT_EQ(A.update_values(s.h.h, -1, nullptr, nullptr, fresh.data()), invalid_value);
    EXPECT_EQ(A.update_values(nullptr, 6, nullptr, nullptr, fresh.data()), not_initialized);
    ASSERT_EQ(A.set_mv_hint(s.h.h, 11, matrix_descriptor{20, 0, 0}, 5), ok);
    ASSERT_EQ(A.set_mv_hint(s.h.h, 10, matrix_descriptor{20, 0, 0}, 5), ok);
    ASSERT_EQ(A.optimize(s.h.h), ok);
    ASSERT_NE(s.h->transposed, nullptr);
    EXPECT_EQ(A.update_values(s.h.h, 5, nullptr, nullptr, wrong.data()), invalid_value);
    EXPECT_EQ(s.h->transposed, nullptr);
    // The copy optimize took is library-owned: the values are copied in.
    ASSERT_EQ(s.h.payload()->owns_arrays, 1);
    ASSERT_EQ(A.set_mv_hint(s.h.h, 10, matrix_descriptor{20, 0, 0}, 5), ok);
    optimal_data* o = s.h.payload()->optimal;
    o->product = static_cast<product_data*>(qor_serv_malloc(sizeof(product_data), 64));
    *o->product = product_data{};
    o->esb_mv = static_cast<esb_mv_analysis_data*>(qor_serv_malloc(sizeof(esb_mv_analysis_data), 64));
    *o->esb_mv = esb_mv_analysis_data{};
    o->esb_mv->array[2] = qor_serv_malloc(40, 64);
    ASSERT_EQ(A.update_values(s.h.h, 0, nullptr, nullptr, fresh.data()), ok);
    EXPECT_EQ(o->esb_mv, nullptr);
    EXPECT_EQ(o->product->stale_values, 1);
    EXPECT_EQ(s.h->requests, nullptr);
    EXPECT_EQ(s.h->mv_applied, nullptr);
    EXPECT_NE(s.h.payload()->values, fresh.data());
    Picture<T> want = sample<T>();
    for (auto& [rc, v] : want) v = fresh[0];
    EXPECT_EQ(picture<T>(s.h.h), want);

    // Over the caller's arrays the handle takes the new array itself.
    SampleCsr<T, I> user;
    ASSERT_EQ(A.update_values(user.h.h, 6, nullptr, nullptr, fresh.data()), ok);
    EXPECT_EQ(user.h.payload()->values, fresh.data());
    auto cc = compress<T, I>(sample<T>(), sample_cols, false, 0, false);
    Handle<T, I> csc;
    ASSERT_EQ(A.create_csc(&csc.h, 0, 4, 5, cc.start(), cc.end(), cc.indices.data(), cc.values.data()), ok);
    EXPECT_EQ(A.update_values(csc.h, 6, nullptr, nullptr, fresh.data()), not_supported);
  }
  EXPECT_EQ(live_blocks(), start);
}

// The walk for display against the sample's picture, the same in every
// format: begin, per row a row begin, a value or a zero per column up to
// the largest stored one, a row end; then the end.
template <class T, class I> struct Recorder {
  std::vector<std::tuple<i32, I, I, T>> events;
  static status hear(void* user, i32 event, I, I row, I col, T value) {
    static_cast<Recorder*>(user)->events.emplace_back(event, row, col, value);
    return ok;
  }
};

template <class T, class I> std::vector<std::tuple<i32, I, I, T>> expected_walk(const Picture<T>& p, I rows, I cols) {
  std::vector<std::tuple<i32, I, I, T>> e;
  const I shown = std::min<I>(rows, 72);
  e.emplace_back(0, shown, cols, T(0));
  for (I i = 0; i < shown; ++i) {
    e.emplace_back(1, i, -1, T(0));
    for (I c = 0; c < cols; ++c) {
      auto it = p.find({i, c});
      e.emplace_back(it == p.end() ? 3 : 2, i, c, it == p.end() ? T(0) : it->second);
    }
    e.emplace_back(4, i, -1, T(0));
  }
  e.emplace_back(5, shown, cols, T(0));
  return e;
}

TYPED_TEST(HandleRules, IterateWalksTheFirstRows) {
  QOR_TEST_TYPES;
  SampleCsr<T, I> csr(true, 1);
  auto cc = compress<T, I>(sample<T>(), sample_cols, false, 0, false);
  Handle<T, I> csc, coo, bsr;
  ASSERT_EQ(A.create_csc(&csc.h, 0, 4, 5, cc.start(), cc.end(), cc.indices.data(), cc.values.data()), ok);
  std::vector<I> r{3, 0, 1, 3, 0, 3}, c{4, 3, 1, 0, 0, 2};
  std::vector<T> v;
  for (int k = 0; k < 6; ++k) v.push_back(sample<T>()[{r[k], c[k]}]);
  ASSERT_EQ(A.create_coo(&coo.h, 0, 4, 5, 6, r.data(), c.data(), v.data()), ok);
  for (Handle<T, I>* h : {&csr.h, &csc, &coo}) {
    Recorder<T, I> rec;
    ASSERT_EQ(A.iterate_over_values(h->h, &rec, &Recorder<T, I>::hear), ok);
    EXPECT_EQ(rec.events, expected_walk(sample<T>(), I{4}, I{5})) << h->h->format;
  }
  // 100 rows of one element each on the diagonal: only 72 are walked.
  std::vector<I> rs(101), ci(100);
  std::vector<T> dv(100);
  Picture<T> diag;
  for (int i = 0; i < 100; ++i) {
    rs[i + 1] = i + 1;
    ci[i] = i;
    dv[i] = value_of<T>(i + 1);
    diag[{i, i}] = dv[i];
  }
  Handle<T, I> tall;
  ASSERT_EQ(A.create_csr(&tall.h, 0, 100, 100, rs.data(), rs.data() + 1, ci.data(), dv.data()), ok);
  Recorder<T, I> rec;
  ASSERT_EQ(A.iterate_over_values(tall.h, &rec, &Recorder<T, I>::hear), ok);
  EXPECT_EQ(rec.events, expected_walk(diag, I{100}, I{100}));
  // Blocks of 2 in column layout: the elements of a block by position.
  std::vector<I> brs{0, 1, 2}, bci{1, 0};
  std::vector<T> bv;
  for (int k = 0; k < 8; ++k) bv.push_back(value_of<T>(k + 1));
  ASSERT_EQ(A.create_bsr(&bsr.h, 0, 102, 2, 2, 2, brs.data(), brs.data() + 1, bci.data(), bv.data()), ok);
  Recorder<T, I> brec;
  ASSERT_EQ(A.iterate_over_values(bsr.h, &brec, &Recorder<T, I>::hear), ok);
  EXPECT_EQ(brec.events, expected_walk(picture<T>(bsr.h), I{4}, I{4}));
  EXPECT_EQ(A.iterate_over_values(nullptr, &rec, &Recorder<T, I>::hear), not_initialized);
  EXPECT_EQ(A.do_print_matrix(csr.h.h), ok);
  csr.h->format = 4;
  EXPECT_EQ(A.iterate_over_values(csr.h.h, &rec, &Recorder<T, I>::hear), not_supported);
  EXPECT_EQ(A.do_print_matrix(csr.h.h), not_supported);
  csr.h->format = fmt_csr;
}

// Copies carry the matrix and the carried words in library-owned arrays of
// the same form, and nothing of hints.
TYPED_TEST(HandleRules, CopyKeepsFormAndContents) {
  QOR_TEST_TYPES;
  const std::int64_t start = live_blocks();
  const matrix_descriptor general{20, 0, 0};
  {
    SampleCsr<T, I> three(false, 1), four(true, 0);
    auto cc = compress<T, I>(sample<T>(), sample_cols, false, 1, true);
    Handle<T, I> csc, coo, bsr, empty;
    ASSERT_EQ(A.create_csc(&csc.h, 1, 4, 5, cc.start(), cc.end(), cc.indices.data(), cc.values.data()), ok);
    std::vector<I> r{0, 3}, c{2, 0};
    ASSERT_EQ(A.create_coo(&coo.h, 0, 4, 5, 2, r.data(), c.data(), nullptr), ok);
    std::vector<T> blocks(24);
    for (int k = 0; k < 24; ++k) blocks[k] = value_of<T>(k, 1);
    ASSERT_EQ(A.create_bsr(&bsr.h, 1, 102, 4, 5, 2, three.a.start(), three.a.end(), three.a.indices.data(),
                           blocks.data()),
              ok);
    ASSERT_EQ(A.create_bsr_internal(&empty.h, 0, 101, 0, 0, -1, 1, nullptr, nullptr, nullptr, nullptr, 1), ok);
    three.h->memory_hint = 80;
    three.h->reserved_word = 77;
    three.h.payload()->state_word = 55;
    ASSERT_EQ(A.set_mv_hint(three.h.h, 10, general, 3), ok);
    for (Handle<T, I>* src : {&three.h, &four.h, &csc, &coo, &bsr, &empty}) {
      Handle<T, I> dst;
      ASSERT_EQ(A.copy(src->h, general, &dst.h), ok);
      SCOPED_TRACE(src->h->format);
      EXPECT_EQ(std::tuple(dst->data_type, dst->format, dst->memory_hint, dst->reserved_word, dst->rows, dst->cols),
                std::tuple((*src)->data_type, (*src)->format, (*src)->memory_hint, (*src)->reserved_word,
                           (*src)->rows, (*src)->cols));
      EXPECT_EQ(dst->requests, nullptr);
      if (src->h->format == fmt_coo) {
        auto* m = static_cast<coo_matrix<I>*>(dst->primary);
        EXPECT_EQ(m->owns_arrays, 1);
        EXPECT_EQ(m->values, nullptr);
        EXPECT_EQ(std::vector<I>(m->row_indx, m->row_indx + 2), r);
        continue;
      }
      EXPECT_EQ(dst.payload()->owns_arrays, 1);
      EXPECT_EQ(dst.payload()->three_array, src->payload()->three_array);
      EXPECT_EQ(dst.payload()->state_word, src->payload()->state_word);
      EXPECT_EQ(dst.payload()->block_col_major, src->payload()->block_col_major);
      if (src->payload()->rows_start != nullptr) {
        EXPECT_NE(dst.payload()->rows_start, src->payload()->rows_start);
        EXPECT_EQ(picture<T>(dst.h), picture<T>(src->h));
      }
    }
    Handle<T, I> out;
    EXPECT_EQ(A.copy(nullptr, general, &out.h), not_initialized);
    EXPECT_EQ(A.copy(three.h.h, general, nullptr), not_initialized);
    EXPECT_EQ(A.copy(three.h.h, matrix_descriptor{27, 40, 50}, &out.h), invalid_value);
    three.h->data_type = 4;
    EXPECT_EQ(A.copy(three.h.h, general, &out.h), internal_error);
    three.h->data_type = type_code<T>;
    three.h->format = 4;
    EXPECT_EQ(A.do_copy(three.h.h, general, &out.h), ok);
    three.h->format = fmt_csr;
    EXPECT_EQ(out.h, nullptr);
  }
  EXPECT_EQ(live_blocks(), start);
}

// Destruction releases everything the library owns and nothing else:
// three-array (whose row ends lie inside the row starts), four-array,
// shared and optimised handles; the live count returns to its start.
TYPED_TEST(HandleRules, DestroyReleasesWhatTheLibraryOwns) {
  QOR_TEST_TYPES;
  const matrix_descriptor general{20, 0, 0};
  auto block = [](std::int64_t bytes) { return qor_serv_malloc(bytes, 64); };
  for (bool gaps : {false, true}) {
    SampleCsr<T, I> s(gaps, 0);
    const std::int64_t start = live_blocks();
    sparse_matrix<I>* c = nullptr;
    ASSERT_EQ(A.copy(s.h.h, general, &c), ok);
    ASSERT_EQ(A.set_mv_hint(c, 11, general, 2), ok);
    ASSERT_EQ(A.set_qr_hint(c, 0), ok);
    ASSERT_EQ(A.optimize(c), ok);
    ASSERT_NE(c->transposed, nullptr);
    // Every analysis slot filled, each with its owned arrays.
    auto* m = static_cast<bsr_x_matrix<I>*>(c->primary);
    optimal_data* o = m->optimal;
    auto* sv = static_cast<sv_optimal_data*>(block(sizeof(sv_optimal_data)));
    *sv = sv_optimal_data{};
    for (int w : {1, 2, 5, 7, 8}) sv->word[w] = block(8);
    o->sv_lower = sv;
    o->symgs = static_cast<symgs_optimal_data*>(block(sizeof(symgs_optimal_data)));
    for (void*& a : o->symgs->array) a = block(8);
    o->product = static_cast<product_data*>(block(sizeof(product_data)));
    *o->product = product_data{{block(8), block(8), nullptr, block(8)}, 0};
    o->dia_mv = static_cast<dia_mv_analysis_data*>(block(sizeof(dia_mv_analysis_data)));
    *o->dia_mv = dia_mv_analysis_data{3, {block(8), block(8), block(8), block(8), block(8)}};
    o->up_tri = static_cast<up_tri_from_full_sym_data*>(block(sizeof(up_tri_from_full_sym_data)));
    *o->up_tri = up_tri_from_full_sym_data{0, {block(8), block(8), block(8), block(8), block(8), block(8), block(8)}};
    o->owned[1] = block(8);
    o->owned_last = block(8);
    m->scratch = block(8);
    c->qr->array[3] = block(8);
    EXPECT_EQ(A.destroy(c), ok);
    EXPECT_EQ(live_blocks(), start);
  }
  // Shared arrays stay with whoever shares them.
  SampleCsr<T, I> s;
  const std::int64_t start = live_blocks();
  sparse_matrix<I>* c = nullptr;
  ASSERT_EQ(A.copy(s.h.h, general, &c), ok);
  auto* m = static_cast<bsr_x_matrix<I>*>(c->primary);
  void* arrays[] = {m->rows_start, m->col_indx, m->values};
  m->shared_arrays = 1;
  EXPECT_EQ(A.destroy(c), ok);
  EXPECT_EQ(live_blocks(), start + 3);
  for (void* a : arrays) qor_serv_free(a);
  EXPECT_EQ(A.destroy(nullptr), not_initialized);
  s.h->data_type = 9;
  EXPECT_EQ(A.destroy(s.h.h), internal_error);
  s.h->data_type = type_code<T>;
}

TEST(HandleSmallRoutines, FixedResults) {
  const Api<double, std::int64_t>& A = api<double, std::int64_t>();
  std::int64_t pm[130];
  std::fill(pm, pm + 130, -1);
  ASSERT_EQ(A.ee_init(pm), ok);
  for (int i = 0; i < 128; ++i) EXPECT_EQ(pm[i], i == 1 ? 6 : i == 5 ? 512 : i == 6 ? 1 : 0) << i;
  EXPECT_EQ(pm[128], -1);
  EXPECT_EQ(A.ee_init(nullptr), invalid_value);
  EXPECT_EQ(A.set_verbose_mode(0), not_supported);
  EXPECT_EQ(A.set_verbose_mode(1), not_supported);
  SampleCsr<double, std::int64_t> s;
  std::int64_t info = 0;
  EXPECT_EQ(A.get_error_info(s.h.h, &info), ok);
  EXPECT_EQ(A.get_error_info(nullptr, &info), not_initialized);
  EXPECT_EQ(A.get_error_info(s.h.h, nullptr), not_initialized);
  EXPECT_EQ(A.print_callback(nullptr, 2, 0, 0, 0, 1.0), ok);
  EXPECT_EQ(A.print_indexes_callback(nullptr, 2, 0, 0, 0, 1.0), ok);
  A.void_foo();
}

}  // namespace
}  // namespace qor::test::sparse
