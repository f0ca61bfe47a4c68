// Seeded random calls with mostly bad arguments: null pointers, codes out
// of range, rectangular matrices under square-only kinds, leading
// dimensions too small, calls of another element type, BSR handles. No
// call may crash (the sanitizer build runs this too), every status must be
// one the interface names, and a call that fails must leave the caller's
// vectors, matrices and handle variables as they were.
#include <memory>

#include "sparse/api/sparse_api_test.h"

namespace qor::test::sparse {
namespace {

class caller {
 public:
  explicit caller(std::uint64_t seed) : gen_(seed) {
    // Square, rectangular, blocked and coordinate handles of double type,
    // and one of float type.
    square_ = random_matrix({12, 12, 0.3, false, true, {2}, seed});
    wide_ = random_matrix({7, 15, 0.3, false, false, {}, seed + 1});
    handles_.push_back(std::make_unique<handle<double, std::int32_t>>(square_, 12, 12, form::csr3, 1));
    handles_.push_back(std::make_unique<handle<double, std::int32_t>>(wide_, 7, 15, form::csr4, 0));
    handles_.push_back(std::make_unique<handle<double, std::int32_t>>(square_, 12, 12, form::coo, 0));
    handles_.push_back(std::make_unique<handle<double, std::int32_t>>(wide_, 7, 15, form::csc3, 1));
    handles_.push_back(std::make_unique<handle<double, std::int32_t>>(square_, 12, 12, form::bsr, 0));
    qor_sparse_handle f = nullptr;
    fs_ = compress<float, std::int32_t>(square_, 12, false, false, 0, 1);
    EXPECT_EQ(qor_sparse_s_create_csr(&f, 0, 12, 12, fs_.start.data(), fs_.start.data() + 1, fs_.index.data(),
                                      fs_.values.data()),
              QOR_SPARSE_OK);
    float_handle_ = f;
    data_.assign(4096, 0.25);
  }
  ~caller() { EXPECT_EQ(qor_sparse_destroy(float_handle_), QOR_SPARSE_OK); }

  void step() {
    const int op = pick({QOR_SPARSE_OP_N, QOR_SPARSE_OP_T, QOR_SPARSE_OP_C, 9, 13, -1, 0});
    const qor_sparse_descr d = {pick({20, 21, 22, 23, 24, 25, 26, 19, 27, 0, 130}), pick({40, 41, 42, 39, 43, 0}),
                                pick({50, 51, 49, 52, 0})};
    qor_sparse_handle h = pick_handle();
    double* x = chance(0.1) ? nullptr : data_.data();
    std::vector<double> out(2048, -7.0);
    double* y = chance(0.1) ? nullptr : out.data();
    const std::vector<double> before = out;
    int st = 0;
    double dot = -3.0;
    switch (gen_() % 5) {
      case 0:
        st = qor_sparse_d_mv(op, 1.5, h, d, x, 0.5, y);
        break;
      case 1:
        st = qor_sparse_d_dotmv(op, 1.5, h, d, x, 0.0, y, chance(0.1) ? nullptr : &dot);
        break;
      case 2: {
        const int layout = pick({QOR_SPARSE_ROW_MAJOR, QOR_SPARSE_COLUMN_MAJOR, 100, 103});
        const std::int32_t columns = static_cast<std::int32_t>(pick({-1, 0, 1, 3, 8}));
        const std::int32_t ldb = static_cast<std::int32_t>(pick({-1, 0, 1, 3, 8, 12, 15, 16}));
        const std::int32_t ldc = static_cast<std::int32_t>(pick({-1, 0, 1, 3, 8, 12, 15, 16}));
        st = qor_sparse_d_mm(op, 1.5, h, d, layout, x, columns, ldb, 0.0, y, ldc);
        break;
      }
      case 3: {
        // Another element type's routine on a double handle, or a double
        // routine on the float handle.
        if (chance(0.5)) {
          qor_complex16 a{1, 0}, b{0, 0};
          st =
              qor_sparse_z_mv(op, a, h, d, reinterpret_cast<qor_complex16*>(x), b, reinterpret_cast<qor_complex16*>(y));
        } else {
          st = qor_sparse_d_mv(op, 1.0, float_handle_, d, x, 0.0, y);
        }
        if (h != nullptr && d.type == 20 && (op >= 10 && op <= 12) && x != nullptr && y != nullptr) {
          EXPECT_EQ(st, QOR_SPARSE_NOT_SUPPORTED);
        }
        break;
      }
      default: {
        qor_sparse_handle made = reinterpret_cast<qor_sparse_handle>(&marker_);
        const int hint = pick({QOR_SPARSE_OP_N, QOR_SPARSE_OP_T, 7});
        st = qor_sparse_convert_csr(h, hint, chance(0.2) ? nullptr : &made);
        if (st == QOR_SPARSE_OK) {
          EXPECT_EQ(qor_sparse_destroy(made), QOR_SPARSE_OK);
        } else {
          EXPECT_EQ(made, reinterpret_cast<qor_sparse_handle>(&marker_));
        }
        break;
      }
    }
    EXPECT_GE(st, 0);
    EXPECT_LE(st, 6);
    EXPECT_NE(st, 4);
    if (st != QOR_SPARSE_OK) {
      EXPECT_TRUE(same_bits(out, before)) << "status " << st;
      EXPECT_EQ(dot, -3.0);
    }
    ++statuses_[st >= 0 && st <= 6 ? st : 4];
  }

  const int* statuses() const { return statuses_; }

 private:
  int pick(std::initializer_list<int> v) { return v.begin()[gen_() % v.size()]; }
  bool chance(double p) { return std::uniform_real_distribution<double>(0, 1)(gen_) < p; }
  qor_sparse_handle pick_handle() {
    if (chance(0.05)) return nullptr;
    return handles_[gen_() % handles_.size()]->get();
  }

  std::mt19937_64 gen_;
  std::vector<element> square_, wide_;
  std::vector<std::unique_ptr<handle<double, std::int32_t>>> handles_;
  stored<float, std::int32_t> fs_;
  qor_sparse_handle float_handle_ = nullptr;
  std::vector<double> data_;
  int statuses_[7] = {};
  char marker_ = 0;
};

TEST(Random, BadArgumentsAreReported) {
  for (std::uint64_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    AllocWatch watch;
    caller c(seed);
    for (int i = 0; i < 3000; ++i) c.step();
    // The sequence reaches every kind of outcome.
    for (int st : {QOR_SPARSE_OK, QOR_SPARSE_NULL_ARGUMENT, QOR_SPARSE_BAD_VALUE, QOR_SPARSE_NOT_SUPPORTED})
      EXPECT_GT(c.statuses()[st], 0) << "status " << st;
  }
}

}  // namespace
}  // namespace qor::test::sparse
