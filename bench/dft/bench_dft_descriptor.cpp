// Transform descriptors (qor/dft.h) against FFTW plans made with
// FFTW_MEASURE, side by side in one run, complex forward transforms:
//
//   single   one transform, in place and out of place; out of place from
//            256 points also the one-length engine (qor/dft_primitive.h)
//            called directly, to show what the descriptor adds
//   batch    batches as fftw_plan_many_dft takes them: contiguous (stride 1,
//            distance n), vector form (stride = count, distance 1) and
//            stride 3 (distance 3n), out of place
//   threads  two threads against FFTW's two threads (libfftw3_threads), and
//            our two threads against our one
//
// Figures are 5 n log2 n (times the count) / time in GFLOP/s; ratios are the
// other side's time over the descriptor's (above 1: the descriptor is
// faster). The sides are timed in alternating rounds by the wall clock and
// the best sample of each kept. (The thread's processor time is no use here:
// on a virtual machine it sometimes reads short by up to half of a sample
// of some microseconds, and a best-of keeps exactly those samples.)
//
//   bench_dft_descriptor [z|c] [single] [batch] [threads] [quick]
//     z, c:     double or single precision only
//     sections: only those named (default: all three)
//     quick:    fewer sizes (also QOR_BENCH_QUICK=1)
#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "common/bench.h"
#include "qor/dft.h"
#include "qor/dft_primitive.h"

namespace {

using qor::bench::now;

double flops(long n, long count = 1) { return 5.0 * n * std::log2(static_cast<double>(n)) * count * 1e-9; }

// ---- Precisions: FFTW's and the engine's names for double and float ----------

struct Double {
  using Real = double;
  using Plan = fftw_plan;
  using Engine = qor_zups_64fc;
  static constexpr char letter = 'z';
  static constexpr int64_t precision = QOR_DFT_DOUBLE;
  static void* alloc(std::size_t bytes) { return fftw_malloc(bytes); }
  static void release(void* p) { fftw_free(p); }
  static Plan plan_many(int n, int count, Real* in, int stride, int dist, Real* out) {
    return fftw_plan_many_dft(1, &n, count, reinterpret_cast<fftw_complex*>(in), nullptr, stride, dist,
                              reinterpret_cast<fftw_complex*>(out), nullptr, stride, dist, FFTW_FORWARD,
                              FFTW_MEASURE);
  }
  static void execute(Plan p) { fftw_execute(p); }
  static void execute_on(Plan p, Real* in, Real* out) {
    fftw_execute_dft(p, reinterpret_cast<fftw_complex*>(in), reinterpret_cast<fftw_complex*>(out));
  }
  static void destroy(Plan p) { fftw_destroy_plan(p); }
  static void threads(int t) { fftw_plan_with_nthreads(t); }
  static int engine_init(qor_zups_dft_spec** s, int n) {
    return qor_dft_zupsDFXInitAlloc_C_64fc(s, n, QOR_ZUPS_NODIV_BY_ANY, 0);
  }
  static int engine_buffer(const qor_zups_dft_spec* s, int* size) { return qor_dft_zupsDFTGetBufSize_C_64fc(s, size); }
  static int engine_fwd(const Real* in, Real* out, const qor_zups_dft_spec* s, uint8_t* buf) {
    return qor_dft_zupsDFTFwd_CToC_64fc(reinterpret_cast<const Engine*>(in), reinterpret_cast<Engine*>(out), s, buf);
  }
  static void engine_free(qor_zups_dft_spec* s) { qor_dft_zupsDFTFree_C_64fc(s); }
};

struct Single {
  using Real = float;
  using Plan = fftwf_plan;
  using Engine = qor_zups_32fc;
  static constexpr char letter = 'c';
  static constexpr int64_t precision = QOR_DFT_SINGLE;
  static void* alloc(std::size_t bytes) { return fftwf_malloc(bytes); }
  static void release(void* p) { fftwf_free(p); }
  static Plan plan_many(int n, int count, Real* in, int stride, int dist, Real* out) {
    return fftwf_plan_many_dft(1, &n, count, reinterpret_cast<fftwf_complex*>(in), nullptr, stride, dist,
                               reinterpret_cast<fftwf_complex*>(out), nullptr, stride, dist, FFTW_FORWARD,
                               FFTW_MEASURE);
  }
  static void execute(Plan p) { fftwf_execute(p); }
  static void execute_on(Plan p, Real* in, Real* out) {
    fftwf_execute_dft(p, reinterpret_cast<fftwf_complex*>(in), reinterpret_cast<fftwf_complex*>(out));
  }
  static void destroy(Plan p) { fftwf_destroy_plan(p); }
  static void threads(int t) { fftwf_plan_with_nthreads(t); }
  static int engine_init(qor_zups_dft_spec** s, int n) {
    return qor_dft_zupsDFXInitAlloc_C_32fc(s, n, QOR_ZUPS_NODIV_BY_ANY, 0);
  }
  static int engine_buffer(const qor_zups_dft_spec* s, int* size) { return qor_dft_zupsDFTGetBufSize_C_32fc(s, size); }
  static int engine_fwd(const Real* in, Real* out, const qor_zups_dft_spec* s, uint8_t* buf) {
    return qor_dft_zupsDFTFwd_CToC_32fc(reinterpret_cast<const Engine*>(in), reinterpret_cast<Engine*>(out), s, buf);
  }
  static void engine_free(qor_zups_dft_spec* s) { qor_dft_zupsDFTFree_C_32fc(s); }
};

// Complex arrays from FFTW's allocator (its alignment), `count` elements.
template <class P>
struct Array {
  using Real = typename P::Real;
  Real* p = nullptr;
  long count = 0;
  explicit Array(long c) : p(static_cast<Real*>(P::alloc(sizeof(Real) * 2 * std::max(c, 1L)))), count(c) {
    std::memset(p, 0, sizeof(Real) * 2 * std::max(c, 1L));
  }
  ~Array() { P::release(p); }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  void fill() {
    for (long i = 0; i < 2 * count; ++i)
      p[i] = static_cast<Real>(std::sin(0.37 * i) + 0.25 * std::cos(1.91 * i));
  }
};

// Runs `ours` and `theirs` once each into `out` and says so when the two
// results differ beyond rounding: a figure of a wrong transform means nothing.
template <class P, class F, class G>
void agree(const char* what, const Array<P>& out, F ours, G theirs) {
  using Real = typename P::Real;
  ours();
  std::vector<Real> mine(out.p, out.p + 2 * out.count);
  theirs();
  double diff = 0, top = 0;
  for (long i = 0; i < 2 * out.count; ++i) {
    diff = std::max(diff, std::fabs(static_cast<double>(mine[i]) - out.p[i]));
    top = std::max(top, std::fabs(static_cast<double>(out.p[i])));
  }
  const double tolerance = sizeof(Real) == 8 ? 1e-9 : 1e-3;
  if (!(diff <= tolerance * top)) std::printf("  %s: results differ from FFTW's (%.3g of %.3g)\n", what, diff, top);
}

// ---- Timing -------------------------------------------------------------------

// One side of a comparison: `prep` runs before each sample, untimed (in-place
// runs restore their input there), `body` is what is timed.
struct Side {
  Side(std::function<void()> b, std::function<void()> p = {}) : body(std::move(b)), prep(std::move(p)) {}
  std::function<void()> body;
  std::function<void()> prep;
};

// Seconds spent on each side per round: short, so that several rounds
// alternate within a case and the run stays within minutes.
double round_seconds(double work_gflop) { return work_gflop > 0.05 ? 0.06 : 0.035; }
constexpr int kRounds = 5;

// Best time per call of each side, the sides taking turns round by round.
// `calls` is the number of calls one body makes.
std::vector<double> alternate(const std::vector<Side>& sides, long calls, double per_round, double (*clock)()) {
  std::vector<double> best(sides.size(), 1e300);
  for (int r = 0; r < kRounds; ++r) {
    for (std::size_t s = 0; s < sides.size(); ++s) {
      double spent = 0;
      for (int k = 0; k < 2 || spent < per_round; ++k) {
        if (sides[s].prep) sides[s].prep();
        const double t0 = clock();
        sides[s].body();
        const double t = clock() - t0;
        spent += t;
        best[s] = std::min(best[s], t);
        if (k > 100000) break;
      }
    }
  }
  for (double& b : best) b /= static_cast<double>(calls);
  return best;
}

// Calls per timed sample: short transforms run about 16384 elements per
// sample, so that reading the clock is a small part of what is timed.
long calls_for(long elements) { return elements >= 16384 ? 1 : 16384 / elements; }

// ---- Descriptors ---------------------------------------------------------------

struct Layout {
  long n = 1, count = 1, stride = 1, distance = 0;
  long extent() const { return (n - 1) * stride + (count - 1) * distance + 1; }
};

bool check(int status, const char* what) {
  if (status == QOR_DFT_OK) return true;
  std::printf("  %s: %s\n", what, qor_dft_error_message(status));
  return false;
}

// A committed descriptor of the layout, out of place or in place, on at most
// `threads` threads; null (with a message) when it cannot be made.
qor_dft_handle make_descriptor(int64_t precision, const Layout& l, bool in_place, int threads) {
  qor_dft_handle h = nullptr;
  if (!check(qor_dft_create_1d(&h, precision, QOR_DFT_COMPLEX, l.n), "create")) return nullptr;
  const int64_t strides[2] = {0, l.stride};
  bool ok = check(qor_dft_set_value_int(h, QOR_DFT_PLACEMENT, in_place ? QOR_DFT_INPLACE : QOR_DFT_NOT_INPLACE),
                  "placement") &&
            check(qor_dft_set_value_int(h, QOR_DFT_THREAD_LIMIT, threads), "thread limit");
  if (ok && l.count > 1)
    ok = check(qor_dft_set_value_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS, l.count), "count") &&
         check(qor_dft_set_value_int(h, QOR_DFT_INPUT_DISTANCE, l.distance), "input distance") &&
         check(qor_dft_set_value_int(h, QOR_DFT_OUTPUT_DISTANCE, l.distance), "output distance");
  if (ok && l.stride != 1)
    ok = check(qor_dft_set_value_array(h, QOR_DFT_INPUT_STRIDES, strides), "input strides") &&
         check(qor_dft_set_value_array(h, QOR_DFT_OUTPUT_STRIDES, strides), "output strides");
  if (ok) ok = check(qor_dft_commit(h), "commit");
  if (!ok) qor_dft_free(&h);
  return h;
}

int plan_threads(qor_dft_handle h) {
  int64_t t = 0;
  qor_dft_get_value_int(h, QOR_DFT_THREAD_LIMIT, &t);
  return static_cast<int>(t);
}

// Planning times, printed at the end: FFTW_MEASURE's share of the run.
double g_fftw_planning = 0, g_qor_commit = 0;

template <class P>
typename P::Plan timed_plan(int n, int count, typename P::Real* in, int stride, int dist, typename P::Real* out) {
  const double t0 = now();
  auto plan = P::plan_many(n, count, in, stride, dist, out);
  g_fftw_planning += now() - t0;
  return plan;
}

template <class P>
qor_dft_handle timed_descriptor(const Layout& l, bool in_place, int threads) {
  const double t0 = now();
  qor_dft_handle h = make_descriptor(P::precision, l, in_place, threads);
  g_qor_commit += now() - t0;
  return h;
}

std::string type_of(char letter) { return std::string(1, letter); }

// ---- One transform ---------------------------------------------------------------

// Out of place: the descriptor, FFTW, and from 256 points the engine.
template <class P>
void single_out_of_place(long n) {
  Array<P> in(n), out(n);
  auto plan = timed_plan<P>(static_cast<int>(n), 1, in.p, 1, static_cast<int>(n), out.p);
  qor_dft_handle h = timed_descriptor<P>(Layout{n, 1, 1, n}, false, 1);
  qor_zups_dft_spec* spec = nullptr;
  std::vector<uint8_t> buf;
  if (n >= 256 && P::engine_init(&spec, static_cast<int>(n)) == 0) {
    int size = 0;
    P::engine_buffer(spec, &size);
    buf.resize(static_cast<std::size_t>(size) + 64);
  }
  in.fill();
  if (h != nullptr && plan != nullptr) {
    const long calls = calls_for(n);
    std::vector<Side> sides;
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) qor_dft_forward_out(h, in.p, out.p);
    }});
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) P::execute(plan);
    }});
    if (spec != nullptr)
      sides.push_back({[&] {
        for (long k = 0; k < calls; ++k) P::engine_fwd(in.p, out.p, spec, buf.data());
      }});
    const auto t = alternate(sides, calls, round_seconds(flops(n)), now);
    agree<P>("out of place", out, [&] { qor_dft_forward_out(h, in.p, out.p); }, [&] { P::execute(plan); });
    qor::bench::Case c;
    c.what = type_of(P::letter) + " fwd out of place";
    c.operation = "fwd out of place";
    c.type = type_of(P::letter);
    c.size = std::to_string(n);
    c.n = static_cast<double>(n);
    qor::bench::report(c, t[0], "GFLOP/s", flops(n), "FFTW", t[1], spec ? "engine" : "", spec ? t[2] : 0);
  }
  if (spec != nullptr) P::engine_free(spec);
  if (h != nullptr) qor_dft_free(&h);
  if (plan != nullptr) P::destroy(plan);
}

// In place: each sample transforms `calls` copies of the input once, laid
// out 64 bytes apart, restored before the sample (repeated transforms of one
// array would grow without bound). FFTW runs its plan on each copy through
// the new-array call, which the common alignment allows.
template <class P>
void single_in_place(long n) {
  const long calls = calls_for(n);
  const long ld = (n + 7) / 8 * 8;
  Array<P> data(ld * calls), pristine(ld * calls);
  auto plan = timed_plan<P>(static_cast<int>(n), 1, data.p, 1, static_cast<int>(n), data.p);
  qor_dft_handle h = timed_descriptor<P>(Layout{n, 1, 1, n}, true, 1);
  pristine.fill();
  const auto restore = [&] { std::memcpy(data.p, pristine.p, sizeof(*data.p) * 2 * data.count); };
  if (h != nullptr && plan != nullptr) {
    std::vector<Side> sides;
    sides.push_back({[&] {
                       for (long k = 0; k < calls; ++k) qor_dft_forward(h, data.p + 2 * ld * k);
                     },
                     restore});
    sides.push_back({[&] {
                       for (long k = 0; k < calls; ++k) P::execute_on(plan, data.p + 2 * ld * k, data.p + 2 * ld * k);
                     },
                     restore});
    const auto t = alternate(sides, calls, round_seconds(flops(n)), now);
    qor::bench::Case c;
    c.what = type_of(P::letter) + " fwd in place";
    c.operation = "fwd in place";
    c.type = type_of(P::letter);
    c.size = std::to_string(n);
    c.n = static_cast<double>(n);
    qor::bench::report(c, t[0], "GFLOP/s", flops(n), "FFTW", t[1]);
  }
  if (h != nullptr) qor_dft_free(&h);
  if (plan != nullptr) P::destroy(plan);
}

// ---- Batches ------------------------------------------------------------------------

template <class P>
void batch(const char* form, const Layout& l) {
  Array<P> in(l.extent()), out(l.extent());
  auto plan = timed_plan<P>(static_cast<int>(l.n), static_cast<int>(l.count), in.p, static_cast<int>(l.stride),
                            static_cast<int>(l.distance), out.p);
  qor_dft_handle h = timed_descriptor<P>(l, false, 1);
  in.fill();
  if (h != nullptr && plan != nullptr) {
    const long calls = calls_for(l.n * l.count);
    const double work = flops(l.n, l.count);
    std::vector<Side> sides;
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) qor_dft_forward_out(h, in.p, out.p);
    }});
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) P::execute(plan);
    }});
    const auto t = alternate(sides, calls, round_seconds(work), now);
    agree<P>(form, out, [&] { qor_dft_forward_out(h, in.p, out.p); }, [&] { P::execute(plan); });
    qor::bench::Case c;
    c.operation = std::string("batch ") + form;
    c.what = type_of(P::letter) + " " + c.operation;
    c.type = type_of(P::letter);
    c.size = std::to_string(l.count) + "x" + std::to_string(l.n);
    c.n = static_cast<double>(l.n);
    qor::bench::report(c, t[0], "GFLOP/s", work, "FFTW", t[1]);
  }
  if (h != nullptr) qor_dft_free(&h);
  if (plan != nullptr) P::destroy(plan);
}

// ---- Two threads ------------------------------------------------------------------------

// Our two threads, FFTW's two threads and our one thread, out of place.
template <class P>
void two_threads(const Layout& l) {
  Array<P> in(l.extent()), out(l.extent());
  P::threads(2);
  auto plan = timed_plan<P>(static_cast<int>(l.n), static_cast<int>(l.count), in.p, static_cast<int>(l.stride),
                            static_cast<int>(l.distance), out.p);
  P::threads(1);
  qor_dft_handle h2 = timed_descriptor<P>(l, false, 2);
  qor_dft_handle h1 = timed_descriptor<P>(l, false, 1);
  in.fill();
  if (h1 != nullptr && h2 != nullptr && plan != nullptr) {
    const long calls = calls_for(l.n * l.count);
    const double work = flops(l.n, l.count);
    std::vector<Side> sides;
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) qor_dft_forward_out(h2, in.p, out.p);
    }});
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) P::execute(plan);
    }});
    sides.push_back({[&] {
      for (long k = 0; k < calls; ++k) qor_dft_forward_out(h1, in.p, out.p);
    }});
    const auto t = alternate(sides, calls, round_seconds(work), now);
    agree<P>("two threads", out, [&] { qor_dft_forward_out(h2, in.p, out.p); }, [&] { P::execute(plan); });
    qor::bench::Case c;
    c.operation = l.count > 1 ? "batch contiguous" : "fwd out of place";
    c.what = type_of(P::letter) + " " + c.operation;
    c.type = type_of(P::letter);
    c.size = l.count > 1 ? std::to_string(l.count) + "x" + std::to_string(l.n) : std::to_string(l.n);
    c.n = static_cast<double>(l.n);
    c.threads = 2;
    if (plan_threads(h2) != 2) std::printf("  (the descriptor's plan uses %d thread(s))\n", plan_threads(h2));
    qor::bench::report(c, t[0], "GFLOP/s", work, "FFTW", t[1], "qor 1 thread", t[2]);
  }
  if (h1 != nullptr) qor_dft_free(&h1);
  if (h2 != nullptr) qor_dft_free(&h2);
  if (plan != nullptr) P::destroy(plan);
}

// ---- The run ----------------------------------------------------------------------------

struct Sizes {
  std::vector<long> single;
  std::vector<Layout> batches;  // contiguous and vector form of each
  std::vector<Layout> strided;
  std::vector<Layout> threaded;
};

Sizes sizes_for(bool quick) {
  Sizes s;
  for (int e = quick ? 8 : 6; e <= (quick ? 20 : 22); e += quick ? 4 : 1) s.single.push_back(1L << e);
  for (long n : quick ? std::vector<long>{1000L, 100000L, 97L, 10007L}
                      : std::vector<long>{1000L, 1536L, 100000L, 59049L, 97L, 10007L, 1000003L})
    s.single.push_back(n);
  const auto contiguous = [](long count, long n) { return Layout{n, count, 1, n}; };
  if (quick) {
    s.batches = {contiguous(1000, 64), contiguous(1000, 1024)};
    s.strided = {Layout{1000, 1000, 3, 3000}};
    s.threaded = {contiguous(1000, 1024), Layout{1L << 20, 1, 1, 1L << 20}};
  } else {
    s.batches = {contiguous(1000, 16), contiguous(1000, 64), contiguous(1000, 256), contiguous(1000, 1024),
                 contiguous(64, 65536)};
    s.strided = {Layout{1024, 1000, 3, 3 * 1024}, Layout{1000, 1000, 3, 3000}};
    s.threaded = {contiguous(1000, 1024), contiguous(64, 65536), Layout{1L << 20, 1, 1, 1L << 20},
                  Layout{1L << 22, 1, 1, 1L << 22}};
  }
  return s;
}

template <class P>
void run(const Sizes& s, bool do_single, bool do_batch, bool do_threads) {
  if (do_single) {
    for (long n : s.single) {
      single_in_place<P>(n);
      single_out_of_place<P>(n);
    }
  }
  if (do_batch) {
    for (const Layout& l : s.batches) {
      batch<P>("contiguous", l);
      batch<P>("vector", Layout{l.n, l.count, l.count, 1});
    }
    for (const Layout& l : s.strided) batch<P>("stride 3", l);
  }
  if (do_threads)
    for (const Layout& l : s.threaded) two_threads<P>(l);
}

}  // namespace

int main(int argc, char** argv) {
  bool z = true, c = true;
  bool single = false, batches = false, threads = false;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "z" || a == "c") {
      z = a == "z";
      c = !z;
    } else if (a == "single") {
      single = true;
    } else if (a == "batch") {
      batches = true;
    } else if (a == "threads") {
      threads = true;
    } else if (a != "quick") {
      std::fprintf(stderr, "usage: %s [z|c] [single] [batch] [threads] [quick]\n", argv[0]);
      return 2;
    }
  }
  if (!single && !batches && !threads) single = batches = threads = true;
  const bool quick = qor::bench::quick_requested(argc, argv);
  const double start = now();
  // Rows go to dft_descriptor.jsonl, beside bench_dft's dft.jsonl.
  qor::bench::begin("dft_descriptor", quick);
  fftw_init_threads();
  fftwf_init_threads();
  const auto& m = qor::bench::machine();
  std::printf("%s; qor path %s, %d-bit %s; %d thread(s) available\n", m.processor.c_str(), m.path.c_str(),
              m.vector_bits, m.isa.c_str(), m.max_threads);
  std::printf("peer FFTW: %s (%s), plans by FFTW_MEASURE, two threads through libfftw3_threads\n", fftw_version,
              fftw_cc);
  qor::bench::record_peer("FFTW", fftw_version, fftw_cc, "plans by FFTW_MEASURE; two threads by libfftw3_threads");
  std::printf("descriptors (qor/dft.h), complex forward; GFLOP/s = 5 n log2 n x count / time; ratio = other time / "
              "descriptor time; engine = the one-length engine called directly\n");
  const Sizes s = sizes_for(quick);
  if (z) run<Double>(s, single, batches, threads);
  if (c) run<Single>(s, single, batches, threads);
  std::printf("run %.0f s: FFTW_MEASURE planning %.1f s, descriptor commits %.2f s\n", now() - start,
              g_fftw_planning, g_qor_commit);
  return 0;
}
