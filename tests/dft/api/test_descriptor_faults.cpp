// Allocation failures at every request of creation, commit and copy: each
// gives status 1, leaves the caller's handle as it was and gives back
// every block it took.
#include "dft/api/api_test.h"
#include "dft/fault_util.h"

namespace qor::test::dftapi {
namespace {

using node::Fake;
using node::FakeList;

using dft::fail_each_request;

TEST(DftDescriptorFaults, CreateAndCommit) {
  qor_dft_handle const sentinel = sentinel_handle();
  for (std::int64_t precision : {QOR_DFT_SINGLE, QOR_DFT_DOUBLE}) {
    // What commit gives with every request granted.
    int unfaulted;
    {
      Desc d(make_1d(precision, 360));
      unfaulted = qor_dft_commit(d.get());
    }
    const int runs = fail_each_request([&](std::int64_t k) {
      qor_dft_handle h = sentinel;
      const int st = qor_dft_create_1d(&h, precision, QOR_DFT_COMPLEX, 360);
      if (st != QOR_DFT_OK) {
        EXPECT_EQ(st, QOR_DFT_NO_MEMORY) << k;
        EXPECT_EQ(h, sentinel) << k;
        return;
      }
      const int cst = qor_dft_commit(h);
      if (cst != unfaulted) {
        EXPECT_EQ(cst, QOR_DFT_NO_MEMORY) << k;
        EXPECT_FALSE(is_committed(h)) << k;
        EXPECT_EQ(get_array(h, QOR_DFT_LENGTHS, 1)[0], 360);
      }
      EXPECT_EQ(qor_dft_free(&h), QOR_DFT_OK);
    });
    EXPECT_GE(runs, 2) << "creation took fewer requests than expected";
  }
  // Shapes made through the general form.
  const std::int64_t lengths[3] = {5, 6, 7};
  fail_each_request([&](std::int64_t k) {
    qor_dft_handle h = sentinel;
    const int st = qor_dft_create(&h, QOR_DFT_DOUBLE, QOR_DFT_REAL, 3, lengths);
    if (st != QOR_DFT_OK) {
      EXPECT_EQ(st, QOR_DFT_NO_MEMORY) << k;
      EXPECT_EQ(h, sentinel) << k;
      return;
    }
    EXPECT_EQ(qor_dft_free(&h), QOR_DFT_OK);
  });
}

TEST(DftDescriptorFaults, Copy) {
  Fake taker(0);
  FakeList list{&taker};
  qor_dft_handle const sentinel = sentinel_handle();
  for (bool commit : {false, true}) {
    Desc src(make_1d(QOR_DFT_DOUBLE, 64));
    attach(src.get(), list);
    ASSERT_EQ(qor_dft_set_value_text(src.get(), QOR_DFT_DESCRIPTOR_NAME, "kept"), QOR_DFT_OK);
    if (commit) {
      ASSERT_EQ(qor_dft_commit(src.get()), QOR_DFT_OK);
    }
    const int runs = fail_each_request([&](std::int64_t k) {
      qor_dft_handle c = sentinel;
      const int st = qor_dft_copy(src.get(), &c);
      if (st != QOR_DFT_OK) {
        EXPECT_EQ(st, QOR_DFT_NO_MEMORY) << k;
        EXPECT_EQ(c, sentinel) << k;
        return;
      }
      EXPECT_EQ(is_committed(c), commit);
      EXPECT_EQ(qor_dft_free(&c), QOR_DFT_OK);
    });
    EXPECT_GE(runs, 2);
    // The source is unharmed.
    EXPECT_EQ(is_committed(src.get()), commit);
    EXPECT_EQ(get_name(src.get()), "kept");
  }
}

// Under a real backend the commit's own requests fail too; this runs once
// the backends are there.
TEST(DftDescriptorFaults, CommitWithTheBackends) {
  for (std::int64_t n : {64, 1000, 4097}) {
    int unfaulted;
    {
      Desc d(make_1d(QOR_DFT_DOUBLE, n));
      ASSERT_EQ(qor_dft_set_value(d.get(), QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_OK);
      QOR_COMMIT_OR_SKIP(d.get());
      unfaulted = QOR_DFT_OK;
    }
    Desc d(make_1d(QOR_DFT_DOUBLE, n));
    ASSERT_EQ(qor_dft_set_value(d.get(), QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_OK);
    fail_each_request([&](std::int64_t k) {
      const int st = qor_dft_commit(d.get());
      if (st != unfaulted) {
        EXPECT_EQ(st, QOR_DFT_NO_MEMORY) << k;
        EXPECT_FALSE(is_committed(d.get()));
      } else {
        // Uncommit, so that the plan is given back within the run.
        EXPECT_TRUE(is_committed(d.get()));
        ASSERT_EQ(qor_dft_set_value_double(d.get(), QOR_DFT_FORWARD_SCALE, 0.5), QOR_DFT_OK);
        ASSERT_EQ(qor_dft_set_value_double(d.get(), QOR_DFT_FORWARD_SCALE, 1.0), QOR_DFT_OK);
        EXPECT_FALSE(is_committed(d.get()));
      }
    });
  }
}

}  // namespace
}  // namespace qor::test::dftapi
