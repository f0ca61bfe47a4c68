// Building specs. GetSize and Init walk the same tree (build_dft and
// build_fft), so the sizes always match what Init carves.
#include "dft/primitive/plan.h"

#include <cmath>
#include <cstring>

#include "dft/primitive/engine_api.h"
#include "frame/services.h"

namespace qor::dft {
namespace {

// Roots of unity: tab[t] = exp(-2 pi i t / n) for t < n, in double. Only
// an eighth of the circle is evaluated when n allows; the rest follows by
// symmetry, so every value is as accurate as the library sine.
void make_roots(double* tab, i64 n) {
  if (n % 8 == 0) {
    const i64 e = n / 8, quarter = 2 * e;
    for (i64 u = 0; u <= e; ++u) {
      double s, c;
      qor_serv_libm_sincospi(2.0 * static_cast<double>(u) / static_cast<double>(n), &s, &c);
      tab[2 * u] = c;
      tab[2 * u + 1] = -s;
    }
    for (i64 t = e + 1; t < n; ++t) {
      const i64 q = t / quarter, r = t % quarter;
      double c, s;
      if (r <= e) {
        c = tab[2 * r];
        s = -tab[2 * r + 1];
      } else {
        c = -tab[2 * (quarter - r) + 1];
        s = tab[2 * (quarter - r)];
      }
      double cq = c, sq = s;
      switch (q) {
        case 1: cq = -s; sq = c; break;
        case 2: cq = -c; sq = -s; break;
        case 3: cq = s; sq = -c; break;
        default: break;
      }
      tab[2 * t] = cq;
      tab[2 * t + 1] = -sq;
    }
    return;
  }
  for (i64 t = 0; 2 * t <= n; ++t) {
    double s, c;
    qor_serv_libm_sincospi(2.0 * static_cast<double>(t) / static_cast<double>(n), &s, &c);
    tab[2 * t] = c;
    tab[2 * t + 1] = -s;
    if (t > 0 && t < n - t) {
      tab[2 * (n - t)] = c;
      tab[2 * (n - t) + 1] = s;
    }
  }
}

constexpr int kConvLengths[31] = {128,  144,  160,  192,  200,  256,  288,  320,  384,  400,  512,
                                  576,  640,  768,  800,  1024, 1152, 1280, 1536, 1600, 2048, 2304,
                                  2560, 3072, 3200, 4096, 4608, 5120, 6144, 6400, 8192};

// Radices with a kernel of their own; others are odd and use a table.
bool has_kernel(int r) {
  switch (r) {
    case 2: case 3: case 4: case 5: case 6: case 7: case 8: case 11: case 13: case 16: case 24:
      return true;
    default:
      return false;
  }
}
bool cheap_last(int r) { return r >= 2 && r <= 7; }

// Columns per block of the grouped steps. A block of `len` rows should
// stay within the first-level cache (4096 double complex elements) when it
// can; longer transforms take the fewest columns that still fill cache lines
// (4 double or 8 single complex), which keeps two blocks in the second level.
i64 block_width(i64 columns, i64 len, int elem_bytes) {
  const i64 budget = 65536 / elem_bytes, least = 64 / elem_bytes;
  if (columns * len <= budget) return columns;
  i64 w = budget / len;
  w = w < least ? least : (w / least) * least;
  return w < columns ? w : columns;
}
// Longest transform run per column block: two blocks of the narrowest
// width fit the second-level cache.
i64 group_length(int elem_bytes) { return (i64{1} << 19) / (4 * i64{elem_bytes}); }

// Records, twiddles and direct tables of a step plan over `count` factors
// of n; base is a table of roots of unity (only read when building) whose
// every bstep-th entry is a root of n. Records before `from` get no
// twiddles: a head runs them.
template <class R>
void build_records(const int* factors, int count, i64 n, Region& sr, const double* base, bool fill, Record* rec,
                   i64 bstep = 1, int from = 0) {
  i64 stride = 1;
  const void* shared_tab[200] = {};
  for (int i = 0; i < count; ++i) {
    const int f = factors[i];
    const i64 rest = n / (stride * f);
    void* tw = nullptr;
    if (rest > 1 && i >= from) {
      // The first record also keeps the per-lane form: real parts twice,
      // then imaginary parts twice.
      const i64 count = i64{f - 1} * rest;
      tw = sr.take((i == 0 ? 3 : 1) * count * 2 * static_cast<i64>(sizeof(R)));
      if (fill) {
        R* t = static_cast<R*>(tw);
        for (int k = 1; k < f; ++k)
          for (i64 p = 0; p < rest; ++p) {
            const i64 idx = p * k * stride * bstep;  // below the base length
            const i64 at = 2 * ((k - 1) * rest + p);
            t[at] = static_cast<R>(base[2 * idx]);
            t[at + 1] = static_cast<R>(base[2 * idx + 1]);
            if (i == 0) {
              t[2 * count + at] = t[2 * count + at + 1] = t[at];
              t[4 * count + at] = t[4 * count + at + 1] = t[at + 1];
            }
          }
      }
    }
    void* direct = nullptr;
    if (!has_kernel(f)) {
      if (f < 200 && shared_tab[f] != nullptr) {
        direct = const_cast<void*>(shared_tab[f]);
      } else {
        direct = sr.take(i64{f} * 2 * static_cast<i64>(sizeof(R)));
        if (fill) {
          R* t = static_cast<R*>(direct);
          const i64 step = n / f * bstep;
          for (int k = 0; k < f; ++k) {
            t[2 * k] = static_cast<R>(base[2 * (k * step)]);
            t[2 * k + 1] = static_cast<R>(base[2 * (k * step) + 1]);
          }
        }
        if (f < 200) shared_tab[f] = direct;
      }
    }
    if (fill) rec[i] = Record{f, static_cast<std::int32_t>(rest), stride, tw, direct};
    stride *= f;
  }
}

// Where the grouped steps start: the first record whose transform length
// (factor times rest) is short enough for a column block in cache. Records
// before it end a level each and run over the whole array.
int group_start(const int* factors, int count, i64 n, int elem_bytes) {
  i64 len = n;
  for (int i = 0; i < count; ++i) {
    if (len <= group_length(elem_bytes)) return i;
    len /= factors[i];
  }
  return count - 1;
}

// Head of a plan whose first g factors run over the whole array: columns
// per block, so that a block of the F-point transform fills about the
// first-level cache.
i64 head_width(i64 F, i64 M, int elem_bytes) {
  const i64 least = 64 / elem_bytes;
  i64 w = (i64{32768} / elem_bytes) / F;
  w = w < least ? least : (w / least) * least;
  return w < M ? w : M;
}

template <class R>
Head* build_head(const int* factors, int g, i64 n, Region& sr, const double* base, bool fill) {
  i64 F = 1;
  for (int i = 0; i < g; ++i) F *= factors[i];
  const i64 M = n / F, b = head_width(F, M, 2 * sizeof(R));
  auto* h = static_cast<Head*>(sr.take(sizeof(Head)));
  build_records<R>(factors, g, F, sr, base, fill, fill ? h->rec : nullptr, M);
  auto* lane = static_cast<R*>(sr.take(F * b * 2 * i64{sizeof(R)}));
  auto* hi = static_cast<R*>(sr.take(F * 2 * i64{sizeof(R)}));
  auto* lo = static_cast<R*>(sr.take(M * 2 * i64{sizeof(R)}));
  if (!fill) return nullptr;
  h->count = g;
  h->F = F;
  h->M = M;
  h->width = b;
  for (i64 k = 0; k < F; ++k)
    for (i64 l = 0; l < b; ++l) {
      lane[2 * (k * b + l)] = static_cast<R>(base[2 * (k * l)]);
      lane[2 * (k * b + l) + 1] = static_cast<R>(base[2 * (k * l) + 1]);
    }
  for (i64 k = 0; k < F; ++k) {
    hi[2 * k] = static_cast<R>(base[2 * (k * M)]);
    hi[2 * k + 1] = static_cast<R>(base[2 * (k * M) + 1]);
  }
  for (i64 l = 0; l < M; ++l) {
    lo[2 * l] = static_cast<R>(base[2 * l]);
    lo[2 * l + 1] = static_cast<R>(base[2 * l + 1]);
  }
  h->lane = lane;
  h->hi = hi;
  h->lo = lo;
  return h;
}

// A head keeps the tables of a long transform small (whole-array records
// would hold several times n twiddles) and its memory traffic down; below
// a million elements the whole-array passes are as fast.
bool use_head(i64 n, int g) { return n >= (i64{1} << 20) && g >= 1 && g <= kMaxHead; }

void set_scale(int flag, i64 n, std::int32_t* fwd, std::int32_t* inv, double* scale) {
  *fwd = flag == 1 || flag == 4;
  *inv = flag == 2 || flag == 4;
  *scale = flag == 4 ? 1.0 / std::sqrt(static_cast<double>(n)) : (flag == 8 ? 1.0 : 1.0 / static_cast<double>(n));
}

// ---- the power-of-two engine ------------------------------------------------
// Block and buffer orders of the large engine, by order 9 to 30.
constexpr std::int8_t tbl_blk_order_64[22] = {6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 7, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8};
constexpr std::int8_t tbl_buf_order_64[22] = {10, 10, 10, 11, 13, 13, 13, 13, 13, 13, 13,
                                              13, 13, 13, 13, 13, 13, 13, 13, 13, 13, 13};
constexpr std::int8_t tbl_blk_order_32[22] = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8};
constexpr std::int8_t tbl_buf_order_32[22] = {10, 10, 14, 14, 14, 14, 14, 14, 14, 14, 14,
                                              14, 14, 14, 14, 14, 14, 14, 14, 14, 14, 14};

// Orders up to which a table of roots is made whole; the large engine
// takes its twiddles from that table and a fine one.
constexpr int kCoarseOrder = 16;

// Stage plan of order e over a table of roots of order base_order: the
// radices, and the twiddles of each stage taken by striding the base.
// Stages whose transforms fit `block_elems` run per block.
template <class R>
void build_stages(int e, Region& sr, const double* base, int base_order, bool fill, Pow2Stages* pl, i64 block_elems,
                  bool rows = true) {
  const StageShape shape = rows ? row_shape<R>() : kColsShape;
  const int count = stage_count(e, shape);
  i64 m = 1;
  int block = 0;
  i64 block_len = 0;
  for (int i = 0; i < count; ++i) {
    const int P = stage_radix(e, i, shape);
    const i64 L = P * m;
    void* tw = nullptr;
    if (i > 0) {
      tw = sr.take((m / 4) * (P - 1) * tw_group<R>() * i64{sizeof(R)});
      if (fill) {
        R* t = static_cast<R*>(tw);
        const int shift = base_order - static_cast<int>(__builtin_ctzll(static_cast<unsigned long long>(L)));
        for (i64 j = 0; j < m; ++j)
          for (int r = 1; r < P; ++r) {
            R* g = t + ((j >> 2) * (P - 1) + (r - 1)) * tw_group<R>();
            const int l = shape == kSplitShape ? split_lane(static_cast<int>(j & 3)) : static_cast<int>(j & 3);
            const double* w = base + 2 * ((j * r) << shift);
            g[tw_cos<R>(l)] = static_cast<R>(w[0]);
            g[tw_sin<R>(l)] = static_cast<R>(w[1]);
            if (sizeof(R) == 4) {
              g[tw_cos<R>(l) + 1] = static_cast<R>(w[0]);
              g[tw_sin<R>(l) + 1] = static_cast<R>(w[1]);
            }
          }
      }
    }
    if (L <= block_elems) {
      block = i + 1;
      block_len = L;
    }
    if (fill) {
      pl->radix[i] = P;
      pl->m[i] = m;
      pl->tw[i] = tw;
    }
    m = L;
  }
  if (block == count) block_len = m;
  if (fill) {
    pl->order = e;
    pl->count = count;
    pl->block = block;
    pl->block_len = block_len;
    pl->first = nullptr;
  }
}

int bit_reverse(i64 v, int bits) {
  int r = 0;
  for (int b = 0; b < bits; ++b) r |= static_cast<int>((v >> b) & 1) << (bits - 1 - b);
  return r;
}

// Fills the plan of an order from 6 up and returns the work size in bytes.
template <class R>
i64 build_pow2(int order, Region& sr, Region& ir, bool fill, FftSpec* s) {
  const i64 n = i64{1} << order, ebytes = 2 * sizeof(R);
  if (order <= kCoarseOrder) {
    auto* base = static_cast<double*>(ir.take(n * 16));
    if (fill) make_roots(base, n);
    auto* pl = static_cast<Pow2Stages*>(sr.take(sizeof(Pow2Stages)));
    build_stages<R>(order, sr, base, order, fill, pl, stage_block_elems<R>());
    const int f = first_order(order, row_shape<R>());
    const i64 groups = n >> f;
    auto* first = static_cast<std::int32_t*>(sr.take(groups * 4));
    if (fill) {
      for (i64 b = 0; b < groups; ++b) first[b] = bit_reverse(b, order - f);
      pl->first = first;
      s->stages = pl;
      s->method = kFftRadix;
    }
    return round64(n * ebytes);
  }
  // The large engine: a coarse table of roots of order 16, a fine table
  // of the first roots of the whole length, levels down to order 16.
  auto* lg = static_cast<Pow2Large*>(sr.take(sizeof(Pow2Large)));
  auto* coarse = static_cast<double*>(sr.take((i64{1} << kCoarseOrder) * 16));
  const int fine_order = order - kCoarseOrder;
  auto* fine = static_cast<double*>(sr.take((i64{1} << fine_order) * 16));
  auto* mid = static_cast<std::int32_t*>(sr.take((n >> 10) * 4));
  if (fill) {
    make_roots(coarse, i64{1} << kCoarseOrder);
    for (i64 i = 0; i < (i64{1} << fine_order); ++i) {
      double sn, cs;
      qor_serv_libm_sincospi(2.0 * static_cast<double>(i) / static_cast<double>(n), &sn, &cs);
      fine[2 * i] = cs;
      fine[2 * i + 1] = -sn;
    }
    for (i64 i = 0; i < (n >> 10); ++i) mid[i] = bit_reverse(i, order - 10);
    lg->fine_order = fine_order;
    lg->coarse = coarse;
    lg->fine = fine;
    lg->mid_rev = mid;
  }
  // w_N'^t for a level of order e, from the two tables.
  auto root = [&](int e, i64 t, double* w) {
    const int cshift = e - kCoarseOrder;
    const double* hc = coarse + 2 * (t >> cshift);
    const double* fc = fine + 2 * ((t & ((i64{1} << cshift) - 1)) << (order - e));
    w[0] = hc[0] * fc[0] - hc[1] * fc[1];
    w[1] = hc[0] * fc[1] + hc[1] * fc[0];
  };
  const bool dbl = sizeof(R) == 8;
  i64 work_elems = 2048;
  int e = order, levels = 0;
  while (e > kCoarseOrder) {
    const int blk = (dbl ? tbl_blk_order_64 : tbl_blk_order_32)[e - 9];
    const int buf = (dbl ? tbl_buf_order_64 : tbl_buf_order_32)[e - 9];
    const i64 rows = i64{1} << blk, cols = (i64{1} << buf) >> blk;
    auto* lane = static_cast<R*>(sr.take(rows * cols * ebytes));
    Pow2Level* lv = fill ? &lg->level[levels] : nullptr;
    build_stages<R>(blk, sr, coarse, kCoarseOrder, fill, fill ? &lv->comb : nullptr, 0, false);
    if (fill) {
      for (i64 t = 0; t < rows; ++t) {
        const i64 sv = bit_reverse(t, blk);
        for (i64 q = 0; q < cols; ++q) {
          double w[2];
          root(e, sv * q, w);
          lane[2 * (t * cols + q)] = static_cast<R>(w[0]);
          lane[2 * (t * cols + q) + 1] = static_cast<R>(w[1]);
        }
      }
      lv->order = e;
      lv->blk = blk;
      lv->buf = buf;
      lv->cols = cols;
      lv->lane = lane;
    }
    if ((i64{1} << buf) > work_elems) work_elems = i64{1} << buf;
    e -= blk;
    ++levels;
  }
  build_stages<R>(e, sr, coarse, kCoarseOrder, fill, fill ? &lg->leaf : nullptr, stage_block_elems<R>());
  if (fill) {
    lg->levels = levels;
    s->large = lg;
    s->method = kFftLarge;
  }
  return round64(work_elems * ebytes);
}

}  // namespace

int check_flag(int flag) { return (flag == 1 || flag == 2 || flag == 4 || flag == 8) ? kOk : kBadFlag; }

int test_prime_fact(int length, bool real, int* fac) {
  int n = length;
  if (real && n % 2 == 0) n /= 2;
  int cnt = 0;
  while (n % 4 == 0 && n > 1) {
    fac[cnt++] = 4;
    n /= 4;
  }
  if (n % 2 == 0) {
    fac[cnt++] = 4;
    fac[0] = 2;
    n /= 2;
  }
  auto merges_three = [&]() { return cnt >= 1 && fac[0] == 2 && (cnt < 2 || fac[1] != 4); };
  for (int d = 3; d * d <= n;) {
    if (n % d == 0) {
      if (d == 3 && merges_three()) fac[0] = 6;
      else fac[cnt++] = d;
      n /= d;
    } else {
      if (d > 88) return 0;
      d += 2;
    }
  }
  if (cnt == 0) return 0;
  if (n > ((length & 1) ? 90 : 150)) return 0;
  if (n == 3 && merges_three()) fac[0] = 6;
  else if (n > 1) fac[cnt++] = n;
  // First-and-last exchange: fold a leading 4 into the first factor and
  // keep a cheap kernel for the last step.
  if (cnt >= 3 && fac[1] == 4) {
    fac[0] *= 4;
    for (int i = 1; i + 1 < cnt; ++i) fac[i] = fac[i + 1];
    --cnt;
    if (!cheap_last(fac[cnt - 1])) {
      for (int i = cnt - 2; i >= 1; --i)
        if (cheap_last(fac[i])) {
          int t = fac[i];
          fac[i] = fac[cnt - 1];
          fac[cnt - 1] = t;
          break;
        }
    }
  }
  return cnt;
}

i64 conv_length(i64 length) {
  const i64 need = 2 * length - 1;
  if (length <= 4096) {
    for (int m : kConvLengths)
      if (m >= need) return m;
  }
  i64 m = 1;
  while (m < need) m <<= 1;
  return m;
}

template <class R>
int build_fft(int order, int flag, int hint, bool split, std::uint8_t* spec_mem, std::uint8_t* init_mem,
              Sizes* sizes) {
  if (order < 0 || order > kMaxFftOrder) return kBadOrder;
  if (check_flag(flag) != kOk) return kBadFlag;
  const bool fill = spec_mem != nullptr;
  Region sr{spec_mem, 0}, ir{init_mem, 0};
  const i64 n = i64{1} << order;
  auto* s = static_cast<FftSpec*>(sr.take(sizeof(FftSpec)));
  if (fill) {
    std::memset(static_cast<void*>(s), 0, sizeof(FftSpec));
    s->id = fft_id<R>(split);
    s->order = order;
    set_scale(flag, n, &s->scale_forward_on, &s->scale_inverse_on, &s->scale);
    s->hint = hint;
    s->flag = flag;
    s->split = split;
    s->method = kFftSmall;
  }
  i64 work = 0;
  if (order > 5) work = build_pow2<R>(order, sr, ir, fill, s);
  if (split) work += round64(n * 2 * i64{sizeof(R)});
  sizes->spec = order <= 5 ? i64{sizeof(FftSpec)} : sr.used;
  sizes->init = ir.used;
  sizes->work = work;
  if (fill) s->buffer_size = static_cast<std::int32_t>(work > 0 ? work + 64 : 0);
  return kOk;
}

template <class R>
int build_dft(int length, int flag, int hint, bool split, std::uint8_t* spec_mem, std::uint8_t* init_mem,
              Sizes* sizes) {
  if (length < 1) return kBadSize;
  if (check_flag(flag) != kOk) return kBadFlag;
  const bool fill = spec_mem != nullptr;
  const i64 L = length;
  const i64 ebytes = 2 * sizeof(R);
  Region sr{spec_mem, 0}, ir{init_mem, 0};
  auto* s = static_cast<DftSpec*>(sr.take(sizeof(DftSpec)));
  i64 work = 0;
  if (fill) {
    std::memset(static_cast<void*>(s), 0, sizeof(DftSpec));
    s->id = dft_id<R>(split);
    s->length = length;
    set_scale(flag, L, &s->scale_forward_on, &s->scale_inverse_on, &s->scale);
    s->hint = hint;
    s->flag = flag;
    s->split = split;
    s->method = kSmall;
  }
  auto finish = [&](int status) {
    if (split && L > 16) work += round64(L * ebytes);
    sizes->spec = sr.used;
    sizes->init = ir.used;
    sizes->work = work;
    if (fill && status == kOk) s->buffer_size = static_cast<std::int32_t>(work > 0 ? work + 64 : 0);
    return status;
  };
  if (L <= 16) return finish(kOk);

  if ((L & (L - 1)) == 0) {
    int order = 0;
    while ((i64{1} << order) < L) ++order;
    // Orders above the FFT family's limit fail as the nested plan does.
    Sizes fs;
    std::uint8_t* fmem = static_cast<std::uint8_t*>(sr.take(0));
    if (const int st = build_fft<R>(order, 8, hint, false, nullptr, nullptr, &fs); st != kOk) return finish(st);
    sr.take(fs.spec);
    std::uint8_t* fi = static_cast<std::uint8_t*>(ir.take(fs.init));
    if (fill) {
      build_fft<R>(order, 8, hint, false, fmem, fi, &fs);
      s->is_pow2 = 1;
      s->method = kPow2;
      s->fft_spec = fmem;
    }
    work = fs.work;
    return finish(kOk);
  }
  if (L > kMaxDftLength) return finish(kBadSize);

  auto* base = static_cast<double*>(ir.take(L * 16));
  if (fill) make_roots(base, L);

  int fac[40];
  const int count = test_prime_fact(length, false, fac);
  if (count > 0) {
    if (count > kMaxRecords) return finish(kBadSize);
    const int g = group_start(fac, count, L, static_cast<int>(ebytes));
    const bool head = use_head(L, g);
    build_records<R>(fac, count, L, sr, base, fill, fill ? s->rec : nullptr, 1, head ? g : 0);
    Head* h = head ? build_head<R>(fac, g, L, sr, base, fill) : nullptr;
    i64 stride = 1;
    for (int i = 0; i < g; ++i) stride *= fac[i];
    const i64 width = block_width(stride, L / stride, static_cast<int>(ebytes));
    if (g > 0) work += round64(L * ebytes);
    if (count - g >= 2) work += 2 * round64(width * (L / stride) * ebytes);
    if (head) work += 2 * round64(head_width(stride, L / stride, static_cast<int>(ebytes)) * stride * ebytes);
    if (fill) {
      s->prime_fact_on = 1;
      s->last_index = count - 1;
      s->method = kPrimeFact;
      s->group = g;
      s->width = width;
      s->head = h;
    }
    return finish(kOk);
  }
  if (L <= kMaxDirect) {
    void* tab = sr.take(L * ebytes);
    if (fill) {
      R* t = static_cast<R*>(tab);
      for (i64 k = 0; k < 2 * L; ++k) t[k] = static_cast<R>(base[k]);
      s->direct_table = tab;
      s->method = kDirect;
    }
    work = round64(L * ebytes);
    return finish(kOk);
  }
  if (L > kMaxConvLength) return finish(kBadSize);

  // Bluestein.
  const i64 M = conv_length(L);
  auto* chirp = static_cast<R*>(sr.take(L * ebytes));
  auto* filter = static_cast<R*>(sr.take(M * ebytes));
  Sizes ns;
  build_dft<R>(static_cast<int>(M), 8, hint, false, nullptr, nullptr, &ns);
  std::uint8_t* nmem = static_cast<std::uint8_t*>(sr.take(ns.spec));
  std::uint8_t* ninit = static_cast<std::uint8_t*>(ir.take(ns.init));
  auto* base2 = static_cast<double*>(ir.take(2 * L * 16));
  auto* b = static_cast<R*>(ir.take(M * ebytes));
  auto* bwork = static_cast<R*>(ir.take(ns.work));
  work = round64(M * ebytes) + ns.work;
  if (fill) {
    build_dft<R>(static_cast<int>(M), 8, hint, false, nmem, ninit, &ns);
    make_roots(base2, 2 * L);
    i64 idx = 0;
    for (i64 j = 0; j < L; ++j) {
      chirp[2 * j] = static_cast<R>(base2[2 * idx]);
      chirp[2 * j + 1] = static_cast<R>(base2[2 * idx + 1]);
      idx += 2 * j + 1;
      if (idx >= 2 * L) idx -= 2 * L;
    }
    std::memset(static_cast<void*>(b), 0, static_cast<std::size_t>(M * ebytes));
    for (i64 j = 0; j < L; ++j) {
      b[2 * j] = chirp[2 * j];
      b[2 * j + 1] = -chirp[2 * j + 1];
      if (j > 0) {
        b[2 * (M - j)] = chirp[2 * j];
        b[2 * (M - j) + 1] = -chirp[2 * j + 1];
      }
    }
    qor::base::exec_dft<R>(reinterpret_cast<const DftSpec*>(nmem), b, b, bwork, false);
    const R inv_m = static_cast<R>(1.0 / static_cast<double>(M));
    for (i64 k = 0; k < 2 * M; ++k) filter[k] = b[k] * inv_m;
    s->conv_length = static_cast<std::int32_t>(M);
    s->chirp = chirp;
    s->filter = filter;
    s->fft_spec = nmem;
    s->method = kConv;
  }
  return finish(kOk);
}

template int build_dft<float>(int, int, int, bool, std::uint8_t*, std::uint8_t*, Sizes*);
template int build_dft<double>(int, int, int, bool, std::uint8_t*, std::uint8_t*, Sizes*);
template int build_fft<float>(int, int, int, bool, std::uint8_t*, std::uint8_t*, Sizes*);
template int build_fft<double>(int, int, int, bool, std::uint8_t*, std::uint8_t*, Sizes*);

}  // namespace qor::dft
