// Seeded random sequences of calls with random, mostly invalid, arguments:
// no call may crash (the sanitizer build runs this too), every status must
// be one the interface names, a failing call must leave the caller's
// handles, outputs and data as they were, and nothing may leak.
#include <random>

#include "dft/api/api_test.h"

namespace qor::test::dftapi {
namespace {

using node::Fake;
using node::FakeList;

enum class Kind { integer, real, array, text, unknown };

// The parameter types as the interface documents them.
Kind kind_of(int param) {
  switch (param) {
    case QOR_DFT_FORWARD_SCALE:
    case QOR_DFT_BACKWARD_SCALE: return Kind::real;
    case QOR_DFT_LENGTHS:
    case QOR_DFT_INPUT_STRIDES:
    case QOR_DFT_OUTPUT_STRIDES:
    case QOR_DFT_FORWARD_STRIDES:
    case QOR_DFT_BACKWARD_STRIDES: return Kind::array;
    case QOR_DFT_DESCRIPTOR_NAME:
    case QOR_DFT_VERSION: return Kind::text;
    default: return param >= 0 && param <= QOR_DFT_VERSION ? Kind::integer : Kind::unknown;
  }
}

constexpr std::int64_t kSentinel = -0x5a5a5a5a5a5a;
constexpr std::size_t kData = 4096;  // reals in each data array

class Caller {
 public:
  explicit Caller(std::uint64_t seed) : rng_(seed), taker_(0), list_{&taker_} {
    for (auto& d : data_) d.assign(kData, 0.5);
  }
  ~Caller() {
    for (qor_dft_handle& h : slots_)
      if (h != nullptr) {
        EXPECT_EQ(qor_dft_free(&h), QOR_DFT_OK);
      }
  }

  void step() {
    switch (pick(0, 11)) {
      case 0: create(); break;
      case 1:
      case 2: set(); break;
      case 3:
      case 4: get(); break;
      case 5: commit(); break;
      case 6:
      case 7: compute(); break;
      case 8: copy(); break;
      case 9: release(); break;
      case 10: attach_fake(); break;
      default: set_geometry(); break;
    }
  }

 private:
  std::int64_t pick(std::int64_t lo, std::int64_t hi) {
    return std::uniform_int_distribution<std::int64_t>(lo, hi)(rng_);
  }
  bool chance(int percent) { return pick(0, 99) < percent; }

  void check(int st, const char* what) {
    EXPECT_TRUE(known_status(st)) << what << " gave " << st;
    ++counts_[known_status(st) ? st : 0];
  }

  // A slot's handle, null, or something that is not a descriptor.
  qor_dft_handle any_handle() {
    const std::int64_t r = pick(0, 9);
    if (r == 0) return nullptr;
    if (r == 1) return reinterpret_cast<qor_dft_handle>(not_a_descriptor_);
    return slots_[pick(0, kSlots - 1)];
  }

  std::int64_t any_int() {
    static const std::int64_t specials[] = {0, 1, 2, 3, -1, 16, 100, INT64_MAX, INT64_MIN, std::int64_t{1} << 31,
                                            -(std::int64_t{1} << 40)};
    if (chance(50)) return pick(29, 58);
    if (chance(50)) return pick(-3, 6);
    return specials[pick(0, std::size(specials) - 1)];
  }
  double any_real() {
    static const double specials[] = {1.0, 0.0, -1.0, 0.5, 1e300, -1e-300, 1.0 / 16};
    return specials[pick(0, std::size(specials) - 1)];
  }
  // Offsets and strides mostly small, now and then wild.
  void any_array(std::int64_t* a) {
    for (int i = 0; i < 4; ++i) a[i] = i == 0 ? pick(0, 20) : pick(-3, 4);
    if (chance(10)) a[pick(0, 3)] = any_int();
  }
  int any_param() { return static_cast<int>(chance(90) ? pick(0, QOR_DFT_VERSION) : pick(-5, 60)); }

  void create() {
    const std::int64_t slot = pick(0, kSlots - 1);
    if (slots_[slot] != nullptr) {
      EXPECT_EQ(qor_dft_free(&slots_[slot]), QOR_DFT_OK);
    }
    const std::int64_t precision = chance(80) ? (chance(50) ? QOR_DFT_SINGLE : QOR_DFT_DOUBLE) : any_int();
    const std::int64_t domain = chance(80) ? QOR_DFT_COMPLEX : (chance(50) ? QOR_DFT_REAL : any_int());
    const std::int64_t rank = chance(70) ? 1 : pick(-1, 3);
    std::int64_t lengths[3];
    for (std::int64_t& l : lengths) l = chance(90) ? pick(1, 16) : pick(-2, 0);
    qor_dft_handle* out = chance(5) ? nullptr : &slots_[slot];
    const int st = chance(50) ? qor_dft_create(out, precision, domain, rank, chance(5) ? nullptr : lengths)
                              : qor_dft_create_1d(out, precision, domain, lengths[0]);
    check(st, "create");
    if (st != QOR_DFT_OK) {
      EXPECT_EQ(slots_[slot], nullptr);
    }
  }

  void set() {
    const qor_dft_handle h = any_handle();
    const int param = any_param();
    std::int64_t array[4];
    any_array(array);
    const char* text = chance(10) ? nullptr : (chance(50) ? "name" : "a name longer than ten bytes");
    int st;
    // The variadic form gets the documented type; the typed forms any.
    switch (pick(0, 4)) {
      case 0: {
        switch (kind_of(param)) {
          case Kind::real: st = qor_dft_set_value(h, param, any_real()); break;
          case Kind::array: st = qor_dft_set_value(h, param, chance(5) ? nullptr : array); break;
          case Kind::text: st = qor_dft_set_value(h, param, text); break;
          default: st = qor_dft_set_value(h, param, any_int()); break;
        }
        break;
      }
      case 1: st = qor_dft_set_value_int(h, param, any_int()); break;
      case 2: st = qor_dft_set_value_double(h, param, any_real()); break;
      case 3: st = qor_dft_set_value_array(h, param, chance(5) ? nullptr : array); break;
      default: st = qor_dft_set_value_text(h, param, text); break;
    }
    check(st, "set");
  }

  // Outputs start as sentinels and must stay so when the call fails.
  void get() {
    const qor_dft_handle h = any_handle();
    const int param = any_param();
    std::int64_t iv = kSentinel;
    double dv = -0.123;
    std::int64_t av[8];
    std::fill(std::begin(av), std::end(av), kSentinel);
    char tv[QOR_DFT_VERSION_LENGTH];
    std::memset(tv, 0x7e, sizeof tv);
    const bool variadic = chance(50);
    const Kind kind = variadic ? kind_of(param) : static_cast<Kind>(pick(0, 3));
    int st;
    switch (kind) {
      case Kind::real: st = variadic ? qor_dft_get_value(h, param, &dv) : qor_dft_get_value_double(h, param, &dv); break;
      case Kind::array: st = variadic ? qor_dft_get_value(h, param, av) : qor_dft_get_value_array(h, param, av); break;
      case Kind::text: st = variadic ? qor_dft_get_value(h, param, tv) : qor_dft_get_value_text(h, param, tv); break;
      default: st = variadic ? qor_dft_get_value(h, param, &iv) : qor_dft_get_value_int(h, param, &iv); break;
    }
    check(st, "get");
    if (st != QOR_DFT_OK) {
      EXPECT_EQ(iv, kSentinel);
      EXPECT_EQ(dv, -0.123);
      for (std::int64_t v : av) EXPECT_EQ(v, kSentinel);
      for (char c : tv) ASSERT_EQ(c, 0x7e);
    }
  }

  void commit() { check(qor_dft_commit(any_handle()), "commit"); }

  // Placement, storage, batch and distances, so that commits succeed now
  // and then with the stand-in backend.
  void set_geometry() {
    const qor_dft_handle h = slots_[pick(0, kSlots - 1)];
    check(qor_dft_set_value_int(h, QOR_DFT_PLACEMENT, chance(50) ? QOR_DFT_INPLACE : QOR_DFT_NOT_INPLACE), "set");
    check(qor_dft_set_value_int(h, QOR_DFT_COMPLEX_STORAGE, chance(50) ? QOR_DFT_REAL_REAL : QOR_DFT_COMPLEX_COMPLEX),
          "set");
    check(qor_dft_set_value_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS, pick(1, 3)), "set");
    check(qor_dft_set_value_int(h, QOR_DFT_INPUT_DISTANCE, pick(16, 40)), "set");
    check(qor_dft_set_value_int(h, QOR_DFT_OUTPUT_DISTANCE, pick(16, 40)), "set");
  }

  // The elements a committed descriptor reaches fit the data arrays, so
  // that a transform that does run stays inside them.
  bool fits(qor_dft_handle h) {
    if (h == nullptr || h == reinterpret_cast<qor_dft_handle>(not_a_descriptor_)) return true;
    std::int64_t rank = 0, count = 0, lengths[3] = {}, dist[2] = {};
    if (qor_dft_get_value_int(h, QOR_DFT_RANK, &rank) != QOR_DFT_OK || rank != 1) return true;
    qor_dft_get_value_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS, &count);
    qor_dft_get_value_array(h, QOR_DFT_LENGTHS, lengths);
    qor_dft_get_value_int(h, QOR_DFT_INPUT_DISTANCE, &dist[0]);
    qor_dft_get_value_int(h, QOR_DFT_OUTPUT_DISTANCE, &dist[1]);
    int side = 0;
    for (int param : {QOR_DFT_INPUT_STRIDES, QOR_DFT_OUTPUT_STRIDES}) {
      std::int64_t s[2] = {};
      qor_dft_get_value_array(h, param, s);
      const __int128 far = static_cast<__int128>(s[0]) + static_cast<__int128>(lengths[0] - 1) * (s[1] < 0 ? -s[1] : s[1]) +
                           static_cast<__int128>(count - 1) * (dist[side] < 0 ? -dist[side] : dist[side]);
      if (far >= static_cast<__int128>(kData / 2)) return false;
      ++side;
    }
    return true;
  }

  void compute() {
    const qor_dft_handle h = any_handle();
    if (!fits(h)) return;
    void* p[4];
    for (int i = 0; i < 4; ++i) p[i] = chance(5) ? nullptr : data_[i].data();
    std::vector<double> before[4];
    for (int i = 0; i < 4; ++i) before[i] = data_[i];
    const bool forward = chance(50);
    int st;
    switch (pick(0, 3)) {
      case 0: st = forward ? qor_dft_forward(h, p[0]) : qor_dft_backward(h, p[0]); break;
      case 1: st = forward ? qor_dft_forward_out(h, p[0], p[1]) : qor_dft_backward_out(h, p[0], p[1]); break;
      case 2: st = forward ? qor_dft_forward_split(h, p[0], p[1]) : qor_dft_backward_split(h, p[0], p[1]); break;
      default:
        st = forward ? qor_dft_forward_split_out(h, p[0], p[1], p[2], p[3])
                     : qor_dft_backward_split_out(h, p[0], p[1], p[2], p[3]);
        break;
    }
    check(st, "compute");
    if (st != QOR_DFT_OK) {
      for (int i = 0; i < 4; ++i) EXPECT_EQ(data_[i], before[i]) << "a failed transform changed array " << i;
    }
    // Keep the values tame for the next transforms.
    for (auto& d : data_) std::fill(d.begin(), d.end(), 0.5);
  }

  void copy() {
    const qor_dft_handle src = any_handle();
    const std::int64_t slot = pick(0, kSlots - 1);
    if (slots_[slot] != nullptr && slots_[slot] != src) {
      EXPECT_EQ(qor_dft_free(&slots_[slot]), QOR_DFT_OK);
    }
    if (slots_[slot] == src && src != nullptr) return;
    qor_dft_handle out = reinterpret_cast<qor_dft_handle>(&out);
    const qor_dft_handle sentinel = out;
    const int st = qor_dft_copy(src, chance(5) ? nullptr : &out);
    check(st, "copy");
    if (st == QOR_DFT_OK) {
      slots_[slot] = out;
    } else {
      EXPECT_EQ(out, sentinel);
    }
  }

  void release() {
    const std::int64_t slot = pick(0, kSlots - 1);
    const bool was_valid = slots_[slot] != nullptr;
    const int st = qor_dft_free(chance(5) ? nullptr : &slots_[slot]);
    check(st, "free");
    if (st == QOR_DFT_OK) {
      EXPECT_EQ(slots_[slot], nullptr);
    }
    if (st != QOR_DFT_OK && was_valid) {
      EXPECT_NE(slots_[slot], nullptr);
    }
  }

  void attach_fake() {
    const qor_dft_handle h = slots_[pick(0, kSlots - 1)];
    if (h != nullptr) attach(h, list_);
  }

  static constexpr int kSlots = 6;
  std::mt19937_64 rng_;
  Fake taker_;
  FakeList list_;
  qor_dft_handle slots_[kSlots] = {};
  alignas(64) unsigned char not_a_descriptor_[1024] = {};
  std::vector<double> data_[4];

 public:
  std::int64_t counts_[16] = {};
};

TEST(DftDescriptorRandom, BadArgumentsAreReportedNeverHarmful) {
  AllocWatch watch;
  std::int64_t counts[16] = {};
  for (std::uint64_t seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Caller caller(seed);
    for (int i = 0; i < 5000 && !HasFatalFailure(); ++i) caller.step();
    for (int s = 0; s < 16; ++s) counts[s] += caller.counts_[s];
  }
  // The sequences reach the statuses they are meant to provoke.
  for (int st : {QOR_DFT_OK, QOR_DFT_INVALID_DESCRIPTOR, QOR_DFT_BAD_VALUE, QOR_DFT_BAD_PARAMETER,
                 QOR_DFT_NOT_COMMITTED, QOR_DFT_NULL_ARGUMENT, QOR_DFT_WRONG_FORM})
    EXPECT_GT(counts[st], 0) << "status " << st << " never came up";
}

}  // namespace
}  // namespace qor::test::dftapi
