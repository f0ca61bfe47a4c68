// Descriptors under concurrent callers: one committed descriptor computed
// by several threads at once gives each the bits of a lone caller, and
// descriptors created, committed, used and freed on many threads at once
// all work and leak nothing.
#include <atomic>
#include <cmath>
#include <iterator>
#include <thread>
#include <vector>

#include "dft/api/api_test.h"
#include "dft/dft_util.h"

namespace qor::test::dftapi {
namespace {

// Starts `threads` threads on body(t) together and joins them.
template <class F> void run_together(int threads, F body) {
  std::atomic<int> ready{0};
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t)
    pool.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < threads) std::this_thread::yield();
      body(t);
    });
  for (auto& th : pool) th.join();
}

template <class R> std::vector<R> random_data(std::int64_t values, std::uint64_t seed) {
  Rng rng(seed);
  std::vector<R> v(static_cast<std::size_t>(values));
  for (auto& e : v) e = static_cast<R>(rng.next());
  return v;
}

// A descriptor's forward and backward transforms of one caller's data, in
// place, several times over.
template <class R> std::vector<R> forward_backward(qor_dft_handle h, std::vector<R> x, int rounds, bool* ok) {
  for (int r = 0; r < rounds; ++r)
    *ok = *ok && qor_dft_forward(h, x.data()) == QOR_DFT_OK && qor_dft_backward(h, x.data()) == QOR_DFT_OK;
  return x;
}

// Four callers share a committed descriptor, each with its own data; each
// must get what it gets alone. The lengths take the small, the default,
// the four-step and the convolution roads. Each caller computes on its own
// thread (the four-step road's teams under concurrent callers are tested
// with that road).
template <class R> void shared_descriptor(std::int64_t precision) {
  constexpr int kThreads = 4, kRounds = 3;
  struct Shape {
    std::int64_t length, batch, stride;
  };
  for (const Shape s : {Shape{64, 40, 1}, Shape{5000, 2, 1}, Shape{std::int64_t{1} << 16, 1, 1}, Shape{1009, 2, 2}}) {
    SCOPED_TRACE(::testing::Message() << "L " << s.length << " batch " << s.batch << " stride " << s.stride);
    Desc d(make_1d(precision, s.length));
    const std::int64_t strides[2] = {0, s.stride};
    ASSERT_EQ(qor_dft_set_value_array(d.get(), QOR_DFT_INPUT_STRIDES, strides), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, s.batch), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_INPUT_DISTANCE, s.length * s.stride), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_OUTPUT_DISTANCE, s.length * s.stride), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value_double(d.get(), QOR_DFT_BACKWARD_SCALE, 0.5), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_THREAD_LIMIT, 1), QOR_DFT_OK);
    QOR_COMMIT_OR_SKIP(d.get());
    const std::int64_t values = 2 * s.length * s.stride * s.batch;
    std::vector<std::vector<R>> input(kThreads), alone(kThreads), together(kThreads);
    bool ok = true;
    for (int t = 0; t < kThreads; ++t) {
      input[t] = random_data<R>(values, 100 + t);
      alone[t] = forward_backward(d.get(), input[t], kRounds, &ok);
    }
    ASSERT_TRUE(ok);
    bool oks[kThreads] = {true, true, true, true};
    run_together(kThreads, [&](int t) { together[t] = forward_backward(d.get(), input[t], kRounds, &oks[t]); });
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_TRUE(oks[t]) << "thread " << t;
      EXPECT_TRUE(together[t] == alone[t]) << "thread " << t;
    }
    // The lone results are right: each round trip scales the transforms'
    // elements by L/2 and leaves the gaps between them.
    std::vector<R> want = input[0];
    const double gain = std::pow(static_cast<double>(s.length) / 2, kRounds);
    for (std::size_t i = 0; i < want.size(); ++i)
      if (i / 2 % s.stride == 0) want[i] = static_cast<R>(want[i] * gain);
    EXPECT_LE(dft::rel_error(alone[0], want), kRounds * 4 * dft::tolerance<R>(s.length));
  }
}

TEST(DftDescriptorThreads, OneDescriptorComputedByFourThreads) {
  AllocWatch watch;
  shared_descriptor<double>(QOR_DFT_DOUBLE);
  shared_descriptor<float>(QOR_DFT_SINGLE);
}

// Eight threads create, commit, use and free descriptors of both
// precisions and several lengths at once; every handle must commit and
// give the round trip, and every block must come back.
TEST(DftDescriptorThreads, CreateCommitFreeOnManyThreads) {
  constexpr int kThreads = 8, kEach = 12;
  const std::int64_t lengths[] = {16, 100, 1009, 4096};
  {
    Desc probe(make_1d(QOR_DFT_DOUBLE, 16));
    QOR_COMMIT_OR_SKIP(probe.get());
  }
  AllocWatch watch;
  std::atomic<int> failures{0}, worked{0};
  run_together(kThreads, [&](int t) {
    for (int i = 0; i < kEach; ++i) {
      const std::int64_t L = lengths[(t + i) % std::size(lengths)];
      const bool dbl = (t + i) % 2 == 0;
      qor_dft_handle h = nullptr;
      bool good = qor_dft_create_1d(&h, dbl ? QOR_DFT_DOUBLE : QOR_DFT_SINGLE, QOR_DFT_COMPLEX, L) == QOR_DFT_OK &&
                  qor_dft_set_value_double(h, QOR_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(L)) == QOR_DFT_OK &&
                  qor_dft_commit(h) == QOR_DFT_OK;
      if (good) {
        const std::uint64_t seed = static_cast<std::uint64_t>(t * kEach + i);
        double err;
        if (dbl) {
          const std::vector<double> x = random_data<double>(2 * L, seed);
          err = dft::rel_error(forward_backward(h, x, 1, &good), x) / dft::tolerance<double>(L);
        } else {
          const std::vector<float> x = random_data<float>(2 * L, seed);
          err = dft::rel_error(forward_backward(h, x, 1, &good), x) / dft::tolerance<float>(L);
        }
        good = good && err <= 2;
      }
      if (h != nullptr) good = qor_dft_free(&h) == QOR_DFT_OK && good;
      (good ? worked : failures).fetch_add(1);
    }
  });
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(worked.load(), kThreads * kEach);
}

}  // namespace
}  // namespace qor::test::dftapi
