// The descriptor interface: statuses of bad arguments, values as set and
// read back, which sets uncommit, copies, and the status texts.
#include <cmath>
#include <iterator>
#include <limits>
#include <set>

#include "dft/api/api_test.h"

namespace qor::test::dftapi {
namespace {

using node::Fake;
using node::FakeList;

// Something that is not a descriptor but may be read like one.
struct alignas(64) NotADescriptor {
  unsigned char bytes[1024];
  NotADescriptor() { std::memset(bytes, 0x5a, sizeof bytes); }
  qor_dft_handle handle() { return reinterpret_cast<qor_dft_handle>(bytes); }
};

TEST(DftDescriptor, CreateChecksItsArguments) {
  qor_dft_handle const sentinel = sentinel_handle();
  const std::int64_t good[2] = {8, 3};
  struct Bad {
    std::int64_t precision, domain, rank;
    std::vector<std::int64_t> lengths;
  };
  const std::int64_t huge = std::int64_t{1} << 40;
  const std::int64_t c = QOR_DFT_COMPLEX, r = QOR_DFT_REAL, sp = QOR_DFT_SINGLE, dp = QOR_DFT_DOUBLE;
  const Bad bad[] = {{34, c, 1, {8}}, {37, c, 1, {8}},  {0, r, 1, {8}},      {dp, 31, 1, {8}},
                     {dp, 34, 1, {8}}, {dp, c, 0, {8}},  {dp, c, -1, {8}},    {dp, c, 1, {0}},
                     {sp, c, 1, {-4}}, {sp, r, 2, {4, 0}}, {dp, c, 2, {huge, huge}}};  // the last overflows
  for (const Bad& b : bad) {
    qor_dft_handle h = sentinel;
    EXPECT_EQ(qor_dft_create(&h, b.precision, b.domain, b.rank, b.lengths.data()), QOR_DFT_BAD_VALUE)
        << b.precision << " " << b.domain << " " << b.rank;
    if (b.rank == 1) {
      EXPECT_EQ(qor_dft_create_1d(&h, b.precision, b.domain, b.lengths[0]), QOR_DFT_BAD_VALUE);
    }
    EXPECT_EQ(h, sentinel);
  }
  qor_dft_handle h = sentinel;
  EXPECT_EQ(qor_dft_create(nullptr, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, 1, good), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_create(&h, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, 1, nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_create_1d(nullptr, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, 8), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(h, sentinel);

  // Every shape may be created; this release commits only some of them.
  AllocWatch watch;
  for (std::int64_t p : {QOR_DFT_SINGLE, QOR_DFT_DOUBLE})
    for (std::int64_t d : {QOR_DFT_COMPLEX, QOR_DFT_REAL})
      for (std::int64_t rank : {1, 2}) {
        Desc desc;
        ASSERT_EQ(qor_dft_create(desc.out(), p, d, rank, good), QOR_DFT_OK);
        EXPECT_EQ(get_int(desc.get(), QOR_DFT_PRECISION), p);
        EXPECT_EQ(get_int(desc.get(), QOR_DFT_FORWARD_DOMAIN), d);
        EXPECT_EQ(get_int(desc.get(), QOR_DFT_RANK), rank);
        EXPECT_EQ(get_array(desc.get(), QOR_DFT_LENGTHS, rank), std::vector<std::int64_t>(good, good + rank));
      }
}

TEST(DftDescriptor, InvalidHandlesAreRefused) {
  NotADescriptor fake;
  std::int64_t iv = 77;
  double dv = 77;
  std::int64_t av[4] = {77, 77, 77, 77};
  char tv[QOR_DFT_VERSION_LENGTH] = "untouched";
  double data[8] = {};
  for (qor_dft_handle h : {static_cast<qor_dft_handle>(nullptr), fake.handle()}) {
    EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_get_value(h, QOR_DFT_PLACEMENT, &iv), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_set_value_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS, 2), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_set_value_double(h, QOR_DFT_FORWARD_SCALE, 2.0), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_set_value_array(h, QOR_DFT_INPUT_STRIDES, av), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_set_value_text(h, QOR_DFT_DESCRIPTOR_NAME, "n"), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_get_value_int(h, QOR_DFT_RANK, &iv), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_get_value_double(h, QOR_DFT_FORWARD_SCALE, &dv), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_get_value_array(h, QOR_DFT_LENGTHS, av), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_get_value_text(h, QOR_DFT_VERSION, tv), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_commit(h), QOR_DFT_INVALID_DESCRIPTOR);
    qor_dft_handle copy = nullptr;
    EXPECT_EQ(qor_dft_copy(h, &copy), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(qor_dft_forward(h, data), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_backward_out(h, data, data + 4), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_forward_split(h, data, data + 4), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(qor_dft_backward_split_out(h, data, data + 2, data + 4, data + 6), QOR_DFT_INVALID_DESCRIPTOR);
    qor_dft_handle held = h;
    EXPECT_EQ(qor_dft_free(&held), QOR_DFT_INVALID_DESCRIPTOR);
    EXPECT_EQ(held, h);
  }
  EXPECT_EQ(qor_dft_free(nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(iv, 77);
  EXPECT_EQ(dv, 77);
  EXPECT_EQ(av[0], 77);
  EXPECT_STREQ(tv, "untouched");
  for (unsigned char b : fake.bytes) ASSERT_EQ(b, 0x5a);

  // A freed handle is cleared, and the null it leaves is refused.
  qor_dft_handle h = make_1d(QOR_DFT_DOUBLE, 8);
  ASSERT_EQ(qor_dft_free(&h), QOR_DFT_OK);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(qor_dft_free(&h), QOR_DFT_INVALID_DESCRIPTOR);
}

TEST(DftDescriptor, UnknownReadOnlyAndMistypedParameters) {
  Desc d(make_1d(QOR_DFT_DOUBLE, 16));
  const std::int64_t array[2] = {0, 1};
  for (int p : {-1, 28, 29, 30, 44, 1000, std::numeric_limits<int>::min()}) {
    std::int64_t v = 5;
    EXPECT_EQ(qor_dft_set_value(d.get(), p, std::int64_t{1}), QOR_DFT_BAD_PARAMETER) << p;
    EXPECT_EQ(qor_dft_get_value(d.get(), p, &v), QOR_DFT_BAD_PARAMETER) << p;
    EXPECT_EQ(qor_dft_set_value_int(d.get(), p, 1), QOR_DFT_BAD_PARAMETER) << p;
    EXPECT_EQ(qor_dft_get_value_int(d.get(), p, &v), QOR_DFT_BAD_PARAMETER) << p;
    EXPECT_EQ(v, 5);
  }
  // Read-only: whatever the value, and through every form.
  EXPECT_EQ(qor_dft_set_value(d.get(), QOR_DFT_FORWARD_DOMAIN, QOR_DFT_COMPLEX), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_PRECISION, QOR_DFT_SINGLE), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_RANK, 1), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_array(d.get(), QOR_DFT_LENGTHS, array), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_COMMIT_STATUS, QOR_DFT_COMMITTED), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value(d.get(), QOR_DFT_VERSION, "9.9"), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(get_int(d.get(), QOR_DFT_PRECISION), QOR_DFT_DOUBLE);
  EXPECT_EQ(get_int(d.get(), QOR_DFT_COMMIT_STATUS), QOR_DFT_UNCOMMITTED);
  // A typed form of another type than the parameter's.
  std::int64_t iv = 5;
  double dv = 5;
  char tv[QOR_DFT_VERSION_LENGTH] = "untouched";
  EXPECT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_FORWARD_SCALE, 2), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_double(d.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, 2.0), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_array(d.get(), QOR_DFT_PLACEMENT, array), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_set_value_text(d.get(), QOR_DFT_INPUT_STRIDES, "x"), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_get_value_int(d.get(), QOR_DFT_BACKWARD_SCALE, &iv), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_get_value_double(d.get(), QOR_DFT_RANK, &dv), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(qor_dft_get_value_text(d.get(), QOR_DFT_LENGTHS, tv), QOR_DFT_BAD_PARAMETER);
  EXPECT_EQ(iv, 5);
  EXPECT_EQ(dv, 5);
  EXPECT_STREQ(tv, "untouched");
  EXPECT_EQ(get_double(d.get(), QOR_DFT_FORWARD_SCALE), 1.0);
  EXPECT_EQ(get_int(d.get(), QOR_DFT_NUMBER_OF_TRANSFORMS), 1);
}

TEST(DftDescriptor, BadValuesLeaveTheValueAlone) {
  Desc d(make_1d(QOR_DFT_SINGLE, 10));
  struct Bad {
    int param;
    std::vector<std::int64_t> values;
  };
  const std::int64_t min = std::numeric_limits<std::int64_t>::min();
  const Bad bad[] = {
      {QOR_DFT_NUMBER_OF_TRANSFORMS, {0, -1, min}},
      {QOR_DFT_COMPLEX_STORAGE, {0, 38, QOR_DFT_COMPLEX_REAL, 41, 43}},
      {QOR_DFT_REAL_STORAGE, {0, QOR_DFT_COMPLEX_COMPLEX, QOR_DFT_COMPLEX_REAL}},
      {QOR_DFT_CONJUGATE_EVEN_STORAGE, {0, QOR_DFT_REAL_REAL, 41}},
      {QOR_DFT_PLACEMENT, {0, 42, 45, 1}},
      {QOR_DFT_ORDERING, {0, 47, 49}},
      {QOR_DFT_TRANSPOSE, {0, 52, 54}},
      {QOR_DFT_PACKED_FORMAT, {0, 53, 58}},
      {QOR_DFT_WORKSPACE, {0, 50, 54}},
      {QOR_DFT_DESTROY_INPUT, {0, 1, 52}},
      {QOR_DFT_THREAD_LIMIT, {-1, std::int64_t{1} << 31, min}},
  };
  for (const Bad& b : bad) {
    const std::int64_t before = get_int(d.get(), b.param);
    for (std::int64_t v : b.values) {
      EXPECT_EQ(qor_dft_set_value_int(d.get(), b.param, v), QOR_DFT_BAD_VALUE) << b.param << " = " << v;
      EXPECT_EQ(qor_dft_set_value(d.get(), b.param, v), QOR_DFT_BAD_VALUE) << b.param << " = " << v;
      EXPECT_EQ(get_int(d.get(), b.param), before) << b.param;
    }
  }
  // Null pointers where a value is read or written.
  EXPECT_EQ(qor_dft_set_value_array(d.get(), QOR_DFT_INPUT_STRIDES, nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_set_value(d.get(), QOR_DFT_OUTPUT_STRIDES, static_cast<std::int64_t*>(nullptr)),
            QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_set_value_text(d.get(), QOR_DFT_DESCRIPTOR_NAME, nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_get_value_int(d.get(), QOR_DFT_RANK, nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_get_value(d.get(), QOR_DFT_FORWARD_SCALE, static_cast<double*>(nullptr)), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_get_value_array(d.get(), QOR_DFT_LENGTHS, nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_EQ(qor_dft_get_value_text(d.get(), QOR_DFT_VERSION, nullptr), QOR_DFT_NULL_ARGUMENT);
}

TEST(DftDescriptor, DefaultsAsDocumented) {
  Desc d(make(QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, {6, 5}));
  const qor_dft_handle h = d.get();
  const std::pair<int, std::int64_t> ints[] = {
      {QOR_DFT_NUMBER_OF_TRANSFORMS, 1},  {QOR_DFT_COMPLEX_STORAGE, QOR_DFT_COMPLEX_COMPLEX},
      {QOR_DFT_CONJUGATE_EVEN_STORAGE, QOR_DFT_COMPLEX_COMPLEX}, {QOR_DFT_PLACEMENT, QOR_DFT_INPLACE},
      {QOR_DFT_PACKED_FORMAT, QOR_DFT_CCE_FORMAT}, {QOR_DFT_WORKSPACE, QOR_DFT_ALLOW},
      {QOR_DFT_DESTROY_INPUT, QOR_DFT_NONE}, {QOR_DFT_THREAD_LIMIT, 0}, {QOR_DFT_INPUT_DISTANCE, 0},
      {QOR_DFT_COMMIT_STATUS, QOR_DFT_UNCOMMITTED}};
  for (auto [param, value] : ints) EXPECT_EQ(get_int(h, param), value) << param;
  EXPECT_EQ(get_double(h, QOR_DFT_FORWARD_SCALE), 1.0);
  EXPECT_EQ(get_double(h, QOR_DFT_BACKWARD_SCALE), 1.0);
  // Packed dimensions, the first the fastest.
  EXPECT_EQ(get_array(h, QOR_DFT_INPUT_STRIDES, 3), (std::vector<std::int64_t>{0, 1, 6}));
  EXPECT_EQ(get_array(h, QOR_DFT_OUTPUT_STRIDES, 3), (std::vector<std::int64_t>{0, 1, 6}));
  EXPECT_EQ(get_array(h, QOR_DFT_FORWARD_STRIDES, 3), (std::vector<std::int64_t>{0, 0, 0}));
  EXPECT_EQ(get_name(h), "");
  char version[QOR_DFT_VERSION_LENGTH];
  std::memset(version, 'x', sizeof version);
  ASSERT_EQ(qor_dft_get_value_text(h, QOR_DFT_VERSION, version), QOR_DFT_OK);
  ASSERT_NE(std::memchr(version, 0, sizeof version), nullptr);
  EXPECT_GT(std::strlen(version), 0u);
}

// Every writable value is set first and read back after, through the other
// form, so that a set that lands on another parameter's word shows.
TEST(DftDescriptor, ValuesRoundTrip) {
  Desc d(make(QOR_DFT_SINGLE, QOR_DFT_COMPLEX, {4, 3}));
  const qor_dft_handle h = d.get();
  const std::pair<int, std::int64_t> ints[] = {
      {QOR_DFT_NUMBER_OF_TRANSFORMS, 5}, {QOR_DFT_COMPLEX_STORAGE, QOR_DFT_REAL_REAL},
      {QOR_DFT_REAL_STORAGE, QOR_DFT_REAL_REAL}, {QOR_DFT_CONJUGATE_EVEN_STORAGE, QOR_DFT_COMPLEX_REAL},
      {QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE}, {QOR_DFT_INPUT_DISTANCE, 40}, {QOR_DFT_OUTPUT_DISTANCE, 44},
      {QOR_DFT_FORWARD_DISTANCE, 48}, {QOR_DFT_BACKWARD_DISTANCE, -52}, {QOR_DFT_ORDERING, QOR_DFT_ORDERED},
      {QOR_DFT_TRANSPOSE, QOR_DFT_NONE}, {QOR_DFT_PACKED_FORMAT, QOR_DFT_PERM_FORMAT},
      {QOR_DFT_WORKSPACE, QOR_DFT_AVOID}, {QOR_DFT_DESTROY_INPUT, QOR_DFT_ALLOW}, {QOR_DFT_THREAD_LIMIT, 3}};
  for (auto [param, value] : ints) ASSERT_EQ(qor_dft_set_value_int(h, param, value), QOR_DFT_OK) << param;
  const int stride_params[4] = {QOR_DFT_INPUT_STRIDES, QOR_DFT_OUTPUT_STRIDES, QOR_DFT_FORWARD_STRIDES,
                                QOR_DFT_BACKWARD_STRIDES};
  const std::int64_t strides[4][3] = {{7, 2, 9}, {8, -1, 10}, {0, 3, 4}, {1, 5, -6}};
  for (int i = 0; i < 4; ++i) ASSERT_EQ(qor_dft_set_value(h, stride_params[i], strides[i]), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_FORWARD_SCALE, 0.25), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value_double(h, QOR_DFT_BACKWARD_SCALE, 1e-300), QOR_DFT_OK);

  for (auto [param, value] : ints) {
    std::int64_t back = -12345;
    ASSERT_EQ(qor_dft_get_value(h, param, &back), QOR_DFT_OK);
    EXPECT_EQ(back, value) << param;
  }
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(get_array(h, stride_params[i], 3), std::vector<std::int64_t>(strides[i], strides[i] + 3)) << i;
  EXPECT_EQ(get_array(h, QOR_DFT_LENGTHS, 2), (std::vector<std::int64_t>{4, 3}));
  double scale = 0;
  ASSERT_EQ(qor_dft_get_value(h, QOR_DFT_BACKWARD_SCALE, &scale), QOR_DFT_OK);
  EXPECT_EQ(scale, 1e-300);
  EXPECT_EQ(get_double(h, QOR_DFT_FORWARD_SCALE), 0.25);

  // Names longer than the limit are cut; the empty name clears it.
  ASSERT_EQ(qor_dft_set_value_text(h, QOR_DFT_DESCRIPTOR_NAME, "rows"), QOR_DFT_OK);
  EXPECT_EQ(get_name(h), "rows");
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_DESCRIPTOR_NAME, "a longer name"), QOR_DFT_OK);
  EXPECT_EQ(get_name(h), std::string("a longer name").substr(0, QOR_DFT_NAME_LENGTH));
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_DESCRIPTOR_NAME, ""), QOR_DFT_OK);
  EXPECT_EQ(get_name(h), "");
}

// With a stand-in backend the descriptor commits; then each value the plan
// depends on uncommits when it changes, and only then.
TEST(DftDescriptor, OnlyChangesThePlanDependsOnUncommit) {
  Fake taker(0);
  FakeList list{&taker};
  Desc d(make_1d(QOR_DFT_DOUBLE, 12));
  const qor_dft_handle h = d.get();
  attach(h, list);
  auto recommit = [&] {
    ASSERT_EQ(qor_dft_commit(h), QOR_DFT_OK);
    ASSERT_TRUE(is_committed(h));
  };
  recommit();
  EXPECT_EQ(taker.commits, 1);
  // Committing a committed descriptor plans nothing again.
  ASSERT_EQ(qor_dft_commit(h), QOR_DFT_OK);
  EXPECT_EQ(taker.commits, 1);

  struct Change {
    int param;
    std::int64_t other;
  };
  const Change changes[] = {
      {QOR_DFT_INPUT_DISTANCE, 12}, {QOR_DFT_OUTPUT_DISTANCE, 16},
      {QOR_DFT_NUMBER_OF_TRANSFORMS, 3}, {QOR_DFT_COMPLEX_STORAGE, QOR_DFT_REAL_REAL},
      {QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE}, {QOR_DFT_PACKED_FORMAT, QOR_DFT_PACK_FORMAT},
      {QOR_DFT_CONJUGATE_EVEN_STORAGE, QOR_DFT_COMPLEX_REAL}, {QOR_DFT_WORKSPACE, QOR_DFT_NONE},
      {QOR_DFT_DESTROY_INPUT, QOR_DFT_ALLOW},
  };
  for (const Change& c : changes) {
    SCOPED_TRACE(c.param);
    const std::int64_t same = get_int(h, c.param);
    ASSERT_EQ(qor_dft_set_value_int(h, c.param, same), QOR_DFT_OK);
    EXPECT_TRUE(is_committed(h)) << "the same value uncommitted";
    ASSERT_EQ(qor_dft_set_value_int(h, c.param, c.other), QOR_DFT_OK);
    EXPECT_FALSE(is_committed(h)) << "a new value kept the plan";
    recommit();
  }
  // Committed, the thread limit reads as the threads the plan was granted,
  // at most the limit set.
  ASSERT_EQ(qor_dft_set_value_int(h, QOR_DFT_THREAD_LIMIT, 1), QOR_DFT_OK);
  EXPECT_FALSE(is_committed(h));
  recommit();
  EXPECT_EQ(get_int(h, QOR_DFT_THREAD_LIMIT), 1);
  ASSERT_EQ(qor_dft_set_value_int(h, QOR_DFT_THREAD_LIMIT, 1), QOR_DFT_OK);
  EXPECT_TRUE(is_committed(h));
  ASSERT_EQ(qor_dft_set_value_int(h, QOR_DFT_THREAD_LIMIT, 0), QOR_DFT_OK);
  EXPECT_FALSE(is_committed(h));
  recommit();

  // Values with a single allowed value never change anything.
  for (int param : {QOR_DFT_ORDERING, QOR_DFT_TRANSPOSE, QOR_DFT_REAL_STORAGE}) {
    ASSERT_EQ(qor_dft_set_value_int(h, param, get_int(h, param)), QOR_DFT_OK);
    EXPECT_TRUE(is_committed(h)) << param;
  }

  // Scales (NaN is never the value already there) and strides: the same
  // value keeps the plan, another one drops it.
  for (int param : {QOR_DFT_FORWARD_SCALE, QOR_DFT_BACKWARD_SCALE, QOR_DFT_INPUT_STRIDES, QOR_DFT_OUTPUT_STRIDES}) {
    const bool scale = param == QOR_DFT_FORWARD_SCALE || param == QOR_DFT_BACKWARD_SCALE;
    const std::vector<std::int64_t> same = scale ? std::vector<std::int64_t>{} : get_array(h, param, 2);
    auto set = [&](int which) {  // 0 the same value, 1 another, 2 NaN
      if (scale) return qor_dft_set_value_double(h, param, which == 0 ? 1.0 : which == 1 ? 0.5 : std::nan(""));
      const std::int64_t other[2] = {same[0] + 1, same[1]};
      return qor_dft_set_value_array(h, param, which == 0 ? same.data() : other);
    };
    for (int which : {0, 1, 2}) {
      if (which == 2 && !scale) break;
      ASSERT_EQ(set(which), QOR_DFT_OK) << param;
      EXPECT_EQ(is_committed(h), which == 0) << param << " " << which;
      ASSERT_EQ(set(0), QOR_DFT_OK);
      recommit();
    }
  }

  // The name is not part of the plan.
  ASSERT_EQ(qor_dft_set_value_text(h, QOR_DFT_DESCRIPTOR_NAME, "renamed"), QOR_DFT_OK);
  EXPECT_TRUE(is_committed(h));
  // A failed set changes nothing either.
  EXPECT_EQ(qor_dft_set_value_int(h, QOR_DFT_PLACEMENT, 0), QOR_DFT_BAD_VALUE);
  EXPECT_TRUE(is_committed(h));
}

// What this release commits, and what it refuses before planning.
TEST(DftDescriptor, CommitScopeAndGeometry) {
  Fake taker(0);
  FakeList list{&taker};
  AllocWatch watch;
  // Several dimensions, the real domain, and forward- or backward-domain
  // geometry (kept but not planned yet).
  const std::int64_t s01[2] = {0, 1};
  for (int i = 0; i < 5; ++i) {
    Desc d(i == 0   ? make(QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, {8, 4})
           : i == 1 ? make(QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, {2, 2, 2})
           : i == 2 ? make(QOR_DFT_SINGLE, QOR_DFT_REAL, {16})
                    : make_1d(QOR_DFT_DOUBLE, 16));
    attach(d.get(), list);
    if (i >= 3) {
      ASSERT_EQ(qor_dft_set_value_array(d.get(), i == 3 ? QOR_DFT_FORWARD_STRIDES : QOR_DFT_BACKWARD_STRIDES, s01),
                QOR_DFT_OK);
    }
    EXPECT_EQ(qor_dft_commit(d.get()), QOR_DFT_UNSUPPORTED) << i;
    EXPECT_FALSE(is_committed(d.get())) << i;
  }
  EXPECT_EQ(taker.commits, 0);

  // Elements before the start of an array are refused: offsets below 0,
  // or negative strides and distances not covered by the offset.
  struct Geometry {
    std::int64_t offset, stride, count, distance;
    bool ok;
  };
  const Geometry cases[] = {
      {0, 1, 1, 0, true},     {-1, 1, 1, 0, false},   {9, -1, 1, 0, true},   {8, -1, 1, 0, false},
      {0, 1, 3, 10, true},    {20, 1, 3, -10, true},  {19, 1, 3, -10, false}, {29, -1, 3, -10, true},
      {std::numeric_limits<std::int64_t>::max(), 1, 1, 0, false},  // beyond any array
  };
  for (const Geometry& g : cases) {
    for (bool input : {true, false}) {
      SCOPED_TRACE(testing::Message() << g.offset << " " << g.stride << " " << g.count << " " << g.distance
                                      << (input ? " input" : " output"));
      Desc d(make_1d(QOR_DFT_SINGLE, 10));
      attach(d.get(), list);
      ASSERT_EQ(qor_dft_set_value(d.get(), QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_OK);
      const std::int64_t s[2] = {g.offset, g.stride};
      ASSERT_EQ(qor_dft_set_value_array(d.get(), input ? QOR_DFT_INPUT_STRIDES : QOR_DFT_OUTPUT_STRIDES, s), QOR_DFT_OK);
      ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, g.count), QOR_DFT_OK);
      ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_INPUT_DISTANCE, input ? g.distance : 10), QOR_DFT_OK);
      ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_OUTPUT_DISTANCE, input ? 10 : g.distance), QOR_DFT_OK);
      EXPECT_EQ(qor_dft_commit(d.get()), g.ok ? QOR_DFT_OK : QOR_DFT_BAD_VALUE);
      EXPECT_EQ(is_committed(d.get()), g.ok);
    }
  }
  // A geometry the planner finds inconsistent: transforms of a batch with
  // no distance between them.
  Desc d(make_1d(QOR_DFT_DOUBLE, 8));
  attach(d.get(), list);
  ASSERT_EQ(qor_dft_set_value_int(d.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, 4), QOR_DFT_OK);
  EXPECT_EQ(qor_dft_commit(d.get()), QOR_DFT_BAD_VALUE);
  EXPECT_FALSE(is_committed(d.get()));
}

TEST(DftDescriptor, ComputeChecksHandleCommitFormAndPointers) {
  Fake taker(0);
  FakeList list{&taker};
  double a[64], b[64], c[64], e[64];
  for (auto [placement, split] : {std::pair{QOR_DFT_INPLACE, false}, std::pair{QOR_DFT_NOT_INPLACE, false},
                                  std::pair{QOR_DFT_INPLACE, true}, std::pair{QOR_DFT_NOT_INPLACE, true}}) {
    SCOPED_TRACE(testing::Message() << placement << (split ? " split" : " interleaved"));
    Desc d(make_1d(QOR_DFT_DOUBLE, 8));
    attach(d.get(), list);
    const qor_dft_handle h = d.get();
    ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_PLACEMENT, placement), QOR_DFT_OK);
    ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_COMPLEX_STORAGE, split ? QOR_DFT_REAL_REAL : QOR_DFT_COMPLEX_COMPLEX),
              QOR_DFT_OK);
    // Index of the form that matches: the one forward and one backward
    // call of the eight that may succeed.
    const int match = (split ? 2 : 0) + (placement == QOR_DFT_NOT_INPLACE ? 1 : 0);
    auto calls = [&](double* p, double* q, double* r, double* s) {
      return std::vector<int>{qor_dft_forward(h, p),
                              qor_dft_forward_out(h, p, q),
                              qor_dft_forward_split(h, p, q),
                              qor_dft_forward_split_out(h, p, q, r, s),
                              qor_dft_backward(h, p),
                              qor_dft_backward_out(h, p, q),
                              qor_dft_backward_split(h, p, q),
                              qor_dft_backward_split_out(h, p, q, r, s)};
    };
    for (int st : calls(a, b, c, e)) EXPECT_EQ(st, QOR_DFT_NOT_COMMITTED);
    ASSERT_EQ(qor_dft_commit(h), QOR_DFT_OK);
    const std::vector<int> got = calls(a, b, c, e);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(got[i], i % 4 == match ? QOR_DFT_OK : QOR_DFT_WRONG_FORM) << i;
    // Each pointer the matching form takes may not be null.
    const int pointers = match == 0 ? 1 : match == 3 ? 4 : 2;
    for (int which = 0; which < pointers; ++which) {
      double* p[4] = {a, b, c, e};
      p[which] = nullptr;
      const std::vector<int> st = calls(p[0], p[1], p[2], p[3]);
      EXPECT_EQ(st[match], QOR_DFT_NULL_ARGUMENT) << which;
      EXPECT_EQ(st[match + 4], QOR_DFT_NULL_ARGUMENT) << which;
    }
  }
}

TEST(DftDescriptor, CopyCarriesTheConfiguration) {
  Fake taker(0);
  FakeList list{&taker};
  AllocWatch watch;
  Desc src(make_1d(QOR_DFT_SINGLE, 24));
  const qor_dft_handle h = src.get();
  attach(h, list);
  for (auto [param, value] : {std::pair{QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE}, {QOR_DFT_NUMBER_OF_TRANSFORMS, 3},
                               {QOR_DFT_INPUT_DISTANCE, 30}, {QOR_DFT_OUTPUT_DISTANCE, 25},
                               {QOR_DFT_DESTROY_INPUT, QOR_DFT_ALLOW}, {QOR_DFT_WORKSPACE, QOR_DFT_AVOID},
                               {QOR_DFT_THREAD_LIMIT, 2}})
    ASSERT_EQ(qor_dft_set_value_int(h, param, value), QOR_DFT_OK) << param;
  const std::int64_t strides[2] = {5, 1};
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_INPUT_STRIDES, strides), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_FORWARD_SCALE, 0.5), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(h, QOR_DFT_DESCRIPTOR_NAME, "source"), QOR_DFT_OK);

  auto same_values = [&](qor_dft_handle c) {
    for (int p : {QOR_DFT_FORWARD_DOMAIN, QOR_DFT_PRECISION, QOR_DFT_RANK, QOR_DFT_NUMBER_OF_TRANSFORMS,
                  QOR_DFT_COMPLEX_STORAGE, QOR_DFT_PLACEMENT, QOR_DFT_INPUT_DISTANCE, QOR_DFT_OUTPUT_DISTANCE,
                  QOR_DFT_DESTROY_INPUT, QOR_DFT_WORKSPACE, QOR_DFT_ORDERING, QOR_DFT_PACKED_FORMAT,
                  QOR_DFT_COMMIT_STATUS})
      EXPECT_EQ(get_int(c, p), get_int(h, p)) << p;
    for (int p : {QOR_DFT_INPUT_STRIDES, QOR_DFT_OUTPUT_STRIDES, QOR_DFT_LENGTHS})
      EXPECT_EQ(get_array(c, p, 2), get_array(h, p, 2)) << p;
    EXPECT_EQ(get_double(c, QOR_DFT_FORWARD_SCALE), 0.5);
    EXPECT_EQ(get_name(c), "source");
  };

  // Uncommitted: the copy is uncommitted and independent.
  {
    Desc copy;
    ASSERT_EQ(qor_dft_copy(h, copy.out()), QOR_DFT_OK);
    ASSERT_NE(copy.get(), h);
    same_values(copy.get());
    EXPECT_EQ(get_int(copy.get(), QOR_DFT_THREAD_LIMIT), 2);
    ASSERT_EQ(qor_dft_set_value(copy.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, std::int64_t{2}), QOR_DFT_OK);
    EXPECT_EQ(get_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS), 3);
  }
  EXPECT_EQ(taker.commits, 0);

  // Committed: the copy is planned afresh and computes on its own.
  ASSERT_EQ(qor_dft_commit(h), QOR_DFT_OK);
  ASSERT_EQ(taker.commits, 1);
  qor_dft_handle copy = nullptr;
  ASSERT_EQ(qor_dft_copy(h, &copy), QOR_DFT_OK);
  EXPECT_EQ(taker.commits, 2);
  EXPECT_TRUE(is_committed(copy));
  same_values(copy);
  src.reset();
  float in[200] = {}, out[200] = {};
  EXPECT_EQ(qor_dft_forward_out(copy, in, out), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_free(&copy), QOR_DFT_OK);

  // A copy whose plan fails is not handed out.
  Fake refuser(QOR_DFT_BAD_VALUE);
  FakeList refusing{&refuser};
  Desc other(make_1d(QOR_DFT_DOUBLE, 8));
  attach(other.get(), list);
  ASSERT_EQ(qor_dft_commit(other.get()), QOR_DFT_OK);
  attach(other.get(), refusing);
  qor_dft_handle const sentinel = reinterpret_cast<qor_dft_handle>(&refuser);
  qor_dft_handle failed = sentinel;
  EXPECT_EQ(qor_dft_copy(other.get(), &failed), QOR_DFT_BAD_VALUE);
  EXPECT_EQ(failed, sentinel);
  EXPECT_EQ(qor_dft_copy(other.get(), nullptr), QOR_DFT_NULL_ARGUMENT);
  EXPECT_TRUE(is_committed(other.get()));
}

// In verbose mode a successful commit reports the transform in one line;
// a failed one and a quiet mode report nothing.
TEST(DftDescriptor, VerboseLineAfterCommit) {
  Fake taker(0), refuser(QOR_DFT_BAD_VALUE);
  FakeList list{&taker}, refusing{&refuser};
  const int mode = qor_get_verbose();
  auto lines = [](const MessageCapture& capture) {
    int n = 0;
    for (const auto& e : capture.entries()) n += e.text.find("FFT(") != std::string::npos;
    return n;
  };
  {
    MessageCapture capture;
    qor_set_verbose(1);
    Desc d(make_1d(QOR_DFT_SINGLE, 20));
    attach(d.get(), refusing);
    EXPECT_EQ(qor_dft_commit(d.get()), QOR_DFT_BAD_VALUE);
    EXPECT_EQ(lines(capture), 0);
    attach(d.get(), list);
    ASSERT_EQ(qor_dft_commit(d.get()), QOR_DFT_OK);
    EXPECT_EQ(lines(capture), 1);
    // Nothing new was planned, so nothing is reported.
    ASSERT_EQ(qor_dft_commit(d.get()), QOR_DFT_OK);
    EXPECT_EQ(lines(capture), 1);
    bool names_it = false;
    int calls = 0;
    for (const auto& e : capture.entries()) {
      names_it |= e.text.find("FFT(sci20") != std::string::npos;
      calls += e.kind == QOR_MSG_VERBOSE && e.routine == "qor_dft_commit";
    }
    EXPECT_TRUE(names_it) << "single, complex, in place, length 20";
    // Each public call reports itself as well.
    EXPECT_EQ(calls, 3);
    qor_set_verbose(0);
    ASSERT_EQ(qor_dft_set_value(d.get(), QOR_DFT_FORWARD_SCALE, 0.5), QOR_DFT_OK);
    const std::size_t seen = capture.entries().size();
    ASSERT_EQ(qor_dft_commit(d.get()), QOR_DFT_OK);
    EXPECT_EQ(capture.entries().size(), seen);
  }
  qor_set_verbose(mode);
}

TEST(DftDescriptor, StatusTexts) {
  const int known[] = {QOR_DFT_OK,           QOR_DFT_NO_MEMORY,     QOR_DFT_INVALID_DESCRIPTOR, QOR_DFT_BAD_VALUE,
                       QOR_DFT_BAD_PARAMETER, QOR_DFT_BAD_FORMAT,    QOR_DFT_UNSUPPORTED,        QOR_DFT_NOT_COMMITTED,
                       QOR_DFT_LENGTH_LIMIT,  QOR_DFT_NULL_ARGUMENT, QOR_DFT_WRONG_FORM};
  std::set<std::string> texts;
  for (int st : known) {
    const char* t = qor_dft_error_message(st);
    ASSERT_NE(t, nullptr);
    EXPECT_GT(std::strlen(t), 0u) << st;
    EXPECT_LT(std::strlen(t), 80u) << st;
    texts.insert(t);
    for (int other : known) EXPECT_EQ(qor_dft_error_class(st, other), st == other ? 1 : 0) << st << " " << other;
  }
  EXPECT_EQ(texts.size(), std::size(known)) << "two statuses share a text";
  for (int st : {-1, 5, 12, 100, 1 << 30}) {
    const char* t = qor_dft_error_message(st);
    ASSERT_NE(t, nullptr);
    EXPECT_LT(std::strlen(t), 80u);
    EXPECT_EQ(texts.count(t), 0u) << st;
    EXPECT_EQ(qor_dft_error_class(st, st), 0);
  }
}

}  // namespace
}  // namespace qor::test::dftapi
